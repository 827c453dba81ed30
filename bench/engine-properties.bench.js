// A plugin's properties where the embedded engine is the SDK, which is what most people run.
'use strict';

const path = require('path');

const folder = process.env.KILN_BUILD_DIR;
if (!folder) throw new Error('Start the benchmarks with "npm run bench".');
process.env.KILN_ENGKIT_BIN = folder;

const kiln = require('..');
const limits = require(path.join(process.env.KILN_BENCH_DIR, 'limits.node'));
const { libraryName } = require('../lib/engine.js');
const { compare, report } = require('./measure.js');

// Long enough for several collections.
const WITH_GARBAGE = { microseconds: 20000 };
const CLASS = 'TextureBitmap';

const renderer = new kiln.KilnRenderer({ enableFrameBuffer: false });
const plugin = renderer.classes[CLASS]('measured');
const vector = new kiln.Vector(1, 2, 3);
if (!limits.useLibrary(path.join(folder, libraryName()), CLASS)) throw new Error('The engine can not be called for the limit.');
if (typeof plugin.wrapU !== 'number' || !(plugin.uvScale instanceof kiln.Vector)) throw new Error('The plugin is not readable.');

function readInt(count) {
  let sum = 0;
  for (let i = 0; i < count; i++) sum += plugin.wrapU;
  globalThis.sum = sum;
}
function readNumber(count) {
  let sum = 0;
  for (let i = 0; i < count; i++) sum += plugin.uvRotation;
  globalThis.sum = sum;
}
function readVector(count) {
  let last;
  for (let i = 0; i < count; i++) last = plugin.uvScale;
  globalThis.last = last;
}
function writeInt(count) {
  for (let i = 0; i < count; i++) plugin.wrapU = i;
}
function writeVector(count) {
  for (let i = 0; i < count; i++) plugin.uvScale = vector;
}

const loop = 'a loop in C++';
const get = (name) => (count) => limits.getLoop(name, count);
const set = (name, isVector) => (count) => limits.setLoop(name, count, isVector);
report('engine-properties: reading an int', loop, compare(readInt, get('wrapU')), { atMost: 1.45 });
report('engine-properties: reading a number', loop, compare(readNumber, get('uvRotation')), { atMost: 1.45 });
report('engine-properties: reading a vector', loop, compare(readVector, get('uvScale'), WITH_GARBAGE), { atMost: 2.3 });
report('engine-properties: writing an int', loop, compare(writeInt, set('wrapU', 0)), { atMost: 1.45 });
report('engine-properties: writing a vector', loop, compare(writeVector, set('uvScale', 1)), { atMost: 1.8 });
renderer.close();
