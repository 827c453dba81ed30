// What require() of the add-on costs against an add-on that does nothing, in fresh processes and without an SDK.
'use strict';

const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawnSync } = require('child_process');
const { paired, report } = require('./measure.js');

const PAIRS = 15;
const CHILD = `
const before = process.cpuUsage();
require(process.argv[1]);
const { user, system } = process.cpuUsage(before);
process.stdout.write(String(user + system));`;

function requireTime(file, empty) {
  const env = { ...process.env, KILN_ENGKIT_BIN: empty, KILN_SDK: '' };
  const result = spawnSync(process.execPath, ['-e', CHILD, file], { env, encoding: 'utf8' });
  if (result.status !== 0) throw new Error(`${file} could not be loaded: ${result.stderr}`);
  return Number(result.stdout);
}

const addon = path.join(process.env.KILN_BUILD_DIR, 'Kiln.node');
const minimal = path.join(process.env.KILN_BENCH_DIR, 'minimal_addon.node');
const empty = fs.mkdtempSync(path.join(os.tmpdir(), 'kiln-bench-'));
try {
  requireTime(addon, empty);
  const works = [];
  const limits = [requireTime(minimal, empty)];
  for (let i = 0; i < PAIRS; i++) {
    works.push(requireTime(addon, empty));
    limits.push(requireTime(minimal, empty));
  }
  report('load: require()', 'a minimal add-on', paired(works, limits), { atMost: 1.5 });
} finally {
  fs.rmdirSync(empty);
}
