// The add-on bound to the measuring library, and the limits beside it. Both are one library in the process.
'use strict';

const path = require('path');

const folder = process.env.KILN_BENCH_DIR;
if (!folder) throw new Error('Start the benchmarks with "npm run bench".');
process.env.KILN_ENGKIT_BIN = path.join(folder, 'sdk');

const kiln = require('..');
const limits = require(path.join(folder, 'limits.node'));

const state = kiln.getSDKLibraryErrorString();
if (!state.startsWith('SDK library loaded correctly')) throw new Error(state);

module.exports = { kiln, limits };
