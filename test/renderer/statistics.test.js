'use strict';

// The statistics of an interactive render, read out of the SDK's packed record.

const test = require('node:test');
const assert = require('assert');
const {recorder, entry, open, collected} = require('./common');

const renderer = open();
const {handle} = recorder.live().handles[0];
const ENTRY = entry('getRTStatistics');
const COUNTERS = ['Textures', 'Geometry', 'Environment', 'Pinned', 'Misc', 'Lights', 'LightCache', 'Hair', 'Particles',
  'VolumeGrid', 'Total'];
const HEAD = {pathsPerSecond: 1234567.5, elapsedTicks: 0xFFFFFFFF, sampleLevel: -3, numPasses: 7, currentNoiseThreshold: 0.25};

function answered(statistics, result = 1) {
  recorder.once(ENTRY, {result, out: {statistics}});
  const object = renderer.getInteractiveStatistics();
  assert.strictEqual(recorder.liveCounts().blocks, 0, 'the record is given back');
  return object;
}

test('an object in the record\'s order', () => {
  const devices = [{name: 'Gerät 0', utilization: 0.5, freeMem: 1024.5, totalMem: 2048}, {name: '', utilization: NaN}];
  const counters = COUNTERS.map((_, i) => 2n ** BigInt(6 * i));
  const object = answered({...HEAD, devices, counters});
  assert.deepStrictEqual(Object.keys(object), ['pathsPerSecond', 'elapsedTicks', 'sampleLevel', 'numPasses',
    'currentNoiseThreshold', 'computeDevices', 'computeDevicesMemUsage']);
  assert.deepStrictEqual(object, {
    ...HEAD,
    computeDevices: [devices[0], {name: '', utilization: NaN, freeMem: 0, totalMem: 0}],
    computeDevicesMemUsage: Object.fromEntries(COUNTERS.map((name, i) => [name, 2 ** (6 * i)])),
  });
  assert.deepStrictEqual(Object.keys(object.computeDevices[0]), ['name', 'utilization', 'freeMem', 'totalMem']);
  assert.deepStrictEqual(Object.keys(object.computeDevicesMemUsage), COUNTERS);
  assert.deepStrictEqual(Object.getOwnPropertyDescriptor(object, 'sampleLevel'),
    {value: -3, writable: true, enumerable: true, configurable: true});
  const {args, onJsThread} = recorder.last(ENTRY);
  assert.deepStrictEqual([args[0], onJsThread], [handle, true]);
});

test('counters are unsigned', () => {
  const {computeDevicesMemUsage} = answered({...HEAD, counters: [2n ** 64n - 1n, 2n ** 63n, 2n ** 53n - 1n]});
  assert.deepStrictEqual(Object.values(computeDevicesMemUsage).slice(0, 4), [2 ** 64, 2 ** 63, 2 ** 53 - 1, 0]);
});

test('any number of devices', () => {
  for (const count of [0, 1, 3, 100]) {
    const devices = Array.from({length: count}, (_, i) => ({name: `${i}`, utilization: i, freeMem: -1 - i, totalMem: i / 2}));
    const object = answered({...HEAD, devices, counters: COUNTERS.map((_, i) => i)});
    assert.deepStrictEqual(object.computeDevices, devices);
    assert.strictEqual(object.computeDevicesMemUsage.Total, 10);
  }
});

test('null when the SDK answers 0 or no record', () => {
  assert.strictEqual(answered({...HEAD}, 0), null);
  assert.strictEqual(answered(null), null);
  recorder.reset();
  assert.strictEqual(renderer.getInteractiveStatistics(), null);
});

test('a record without a sensible count of devices, or a device without a name, is survived', () => {
  assert.deepStrictEqual(answered({...HEAD, device_count: -5}).computeDevices, []);
  assert.deepStrictEqual(answered({...HEAD, devices: [{name: null}]}).computeDevices[0].name, undefined);
});

test('a closed renderer passes null', () => {
  const own = open();
  own.close();
  recorder.clear();
  assert.strictEqual(own.getInteractiveStatistics(), null);
  assert.deepStrictEqual(recorder.last(ENTRY).args[0], 0n);
});

test('nothing is left', async () => {
  renderer.close();
  await collected();
});
