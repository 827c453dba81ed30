// A plugin's properties against a loop in C++ over the same entry points, the cost of handing lists over, and the
// table of the plugin objects.
'use strict';

const path = require('path');
const { kiln, limits } = require('./measured_sdk.js');
const { compare, report, reportFigure } = require('./measure.js');

const { bare } = require(path.join(process.env.KILN_BENCH_DIR, 'bare_interceptor.node'));
const lookup = require(path.join(process.env.KILN_BENCH_DIR, 'plugin_lookup.node'));

const MANY = 1000000;
// Long enough for several collections.
const WITH_GARBAGE = { microseconds: 20000 };

const renderer = new kiln.KilnRenderer({ enableFrameBuffer: false });
const plugin = renderer.plugins.measured;
const vector = new kiln.Vector(1, 2, 3);

function readInt(count) {
  let sum = 0;
  for (let i = 0; i < count; i++) sum += plugin.subdivs;
  globalThis.sum = sum;
}
function readDouble(count) {
  let sum = 0;
  for (let i = 0; i < count; i++) sum += plugin.intensity;
  globalThis.sum = sum;
}
function readVector(count) {
  let last;
  for (let i = 0; i < count; i++) last = plugin.direction;
  globalThis.last = last;
}
function writeInt(count) {
  for (let i = 0; i < count; i++) plugin.subdivs = i;
}
function writeVector(count) {
  for (let i = 0; i < count; i++) plugin.direction = vector;
}
function readBare(count) {
  let sum = 0;
  for (let i = 0; i < count; i++) sum += bare.subdivs;
  globalThis.sum = sum;
}
function writeBare(count) {
  for (let i = 0; i < count; i++) bare.subdivs = i;
}

if (plugin.subdivs !== 8 || plugin.intensity !== 30.5 || plugin.direction.z !== 3) throw new Error('The plugin is not readable.');

const loop = 'a loop in C++';
const get = (name) => (count) => limits.getLoop(name, count);
const set = (name, isVector) => (count) => limits.setLoop(name, count, isVector);
report('properties: reading an int', loop, compare(readInt, get('subdivs')), { atMost: 1.45 });
report('properties: reading a double', loop, compare(readDouble, get('intensity')), { atMost: 1.45 });
report('properties: reading a vector', loop, compare(readVector, get('direction'), WITH_GARBAGE), { atMost: 2.3 });
report('properties: writing an int', loop, compare(writeInt, set('subdivs', 0)), { atMost: 1.45 });
report('properties: writing a vector', loop, compare(writeVector, set('direction', 1)), { atMost: 1.8 });

// Nothing that is asked for by name can cost less: the host's own share of each of the ratios above.
report("properties: the host's call alone, reading", loop, compare(readBare, get('subdivs')));
report("properties: the host's call alone, writing", loop, compare(writeBare, set('subdivs', 0)));

// At least 0 keeps small lists off the copy, so that both lists take the same way.
renderer.maxTypedListsCopyByteSize = 0;
const large = new Float32Array(10 * 1024 * 1024);
const small = new Float32Array(1024);
const hand = (list) => (count) => {
  for (let i = 0; i < count; i++) plugin.points = list;
};
report('properties: a list of 40 MB by pointer', 'one of 4 KB', compare(hand(large), hand(small)), { atMost: 1.5 });

function objects(count) {
  return Array.from({ length: count }, () => ({}));
}

for (const [count, bound] of [[100, undefined], [MANY, { atMost: 1 / 8 }]]) {
  globalThis.held = objects(count);
  lookup.fill(globalThis.held);
  report(`properties: look-up among ${count} plugins`, 'std::map', compare(lookup.findInCache, lookup.findInMap), bound);
}
lookup.fill([]);

function residentAfterCollection() {
  global.gc();
  global.gc();
  return process.memoryUsage().rss;
}

globalThis.held = new Array(MANY).fill(null);
limits.setNextPlugin(2);
const before = residentAfterCollection();
for (let i = 0; i < MANY; i++) globalThis.held[i] = plugin.next;
reportFigure('properties: memory of a plugin object', (residentAfterCollection() - before) / MANY, 'bytes', { atMost: 200 });
renderer.close();
