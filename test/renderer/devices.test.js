'use strict';

// The lists of devices, and the choice among them.

const test = require('node:test');
const assert = require('assert');
const {recorder, entry, open, collected} = require('./common');

const renderer = open();
const {handle} = recorder.live().handles[0];

test.beforeEach(() => recorder.clear());

const DEVICE = {name: 'Gerät', kind: 2, totalMemoryMB: 0xFFFFFFFF, numConnectedDisplays: 1, frequencyMHz: 3200, gigaFlops: 51,
  ccMajor: 8, ccMinor: 6, rtCoreVersion: 2, useForRendering: 1, useLowPriority: 0, useForDenoising: 0x80000000, isSupported: 7};
const KEYS = ['name', 'useForRendering', 'useForDenoising', 'useLowPriority', 'isSupported', 'type', 'totalMemoryMB',
  'numConnectedDisplays', 'frequencyMHz', 'gigaFlops', 'ccMajor', 'ccMinor', 'rtCoreVersion'];

for (const kind of ['CUDA', 'Optix', 'Denoiser']) {
  const list = entry(`getDeviceList${kind}`);
  const choose = entry(`setDeviceList${kind}`);
  const get = `getComputeDevices${kind}`;
  const set = `setComputeDevices${kind}`;
  const answered = (devices, count = devices.length) => {
    recorder.once(list, {result: devices, out: {count}});
    const result = renderer[get]();
    assert.strictEqual(recorder.liveCounts().blocks, 0, 'the list is given back');
    return result;
  };

  test(`${get} makes an object of each entry`, () => {
    const [first, second] = answered([DEVICE, {...DEVICE, name: 'b', useLowPriority: 1, useForRendering: 0}]);
    assert.deepStrictEqual(Object.keys(first), KEYS);
    assert.deepStrictEqual(first, {name: 'Gerät', useForRendering: true, useForDenoising: true, useLowPriority: false,
      isSupported: true, type: 'CPU', totalMemoryMB: 0xFFFFFFFF, numConnectedDisplays: 1, frequencyMHz: 3200, gigaFlops: 51,
      ccMajor: 8, ccMinor: 6, rtCoreVersion: 2});
    assert.deepStrictEqual([second.name, second.useLowPriority, second.useForRendering], ['b', true, false]);
    const {args, onJsThread} = recorder.last(list);
    assert.deepStrictEqual([args[0], args[2], onJsThread], [handle, 112, true]);
  });

  test(`${get} names the kinds of devices`, () => {
    const kinds = [[2, 'CPU'], [4, 'GPU'], [8, 'Accelerator'], [0, 'unknown'], [6, 'unknown'], [0xFFFFFFFF, 'unknown']];
    assert.deepStrictEqual(answered(kinds.map(([code]) => ({...DEVICE, kind: code}))).map((one) => one.type),
      kinds.map(([, text]) => text));
  });

  test(`${get} survives an empty list, none, and a count that lies`, () => {
    assert.deepStrictEqual(answered([]), []);
    recorder.once(list, {result: null, out: {count: 3}});
    assert.deepStrictEqual(renderer[get](), []);
    assert.deepStrictEqual(answered([DEVICE], -1), []);
    assert.strictEqual(answered([{...DEVICE, name: null}])[0].name, undefined);
  });

  test(`${set} passes the IDs`, () => {
    for (const [ids, ...passed] of [[[]], [[0], 0], [[3, 1, 2], 3, 1, 2], [['7', 2.9, -1, null], 7, 2, -1, 0],
      [[2 ** 32 + 1, NaN, undefined, {}], 1, 0, 0, 0], [[, 4], 0, 4]]) {
      recorder.once(choose, 0);
      assert.strictEqual(renderer[set](ids), true);
      const call = recorder.last(choose);
      assert.deepStrictEqual([call.args[0], call.arg.count, call.onJsThread], [handle, passed.length, true]);
      const bytes = passed.length > 0 ? new Uint8Array(call.bytes('ids')) : new Uint8Array();
      assert.deepStrictEqual([...new Int32Array(bytes.buffer)], passed);
    }
  });

  test(`${set} is true for the SDK's 0 alone`, () => {
    for (const [result, expected] of [[0, true], [1, false], [-1, false]]) {
      recorder.once(choose, result);
      assert.strictEqual(renderer[set]([0]), expected);
    }
  });

  test(`${set} wants exactly one array`, () => {
    for (const args of [[], [0], ['0'], [null], [{length: 1}], [new Int32Array(1)], [[0], 1], [[0], undefined]]) {
      assert.throws(() => renderer[set](...args),
        {name: 'Error', message: 'Argument 0 must be an array of integer device IDs'});
    }
    assert.deepStrictEqual(recorder.names(), []);
  });

  test(`${set}: an ID that can't be converted is 0, and its exception is thrown behind the call`, () => {
    const fails = {valueOf() { throw new RangeError('no'); }};
    assert.throws(() => renderer[set]([5, fails, 6]), {name: 'RangeError', message: 'no'});
    assert.deepStrictEqual([...recorder.last(choose).arg.ids], [5, 0, 6]);
    assert.throws(() => renderer[set]([Symbol('x')]), TypeError);
  });

  test(`${set}: an element that can't be read ends the call`, () => {
    const ids = Object.defineProperty([1, 2], 1, {get() { throw new RangeError('no'); }});
    assert.throws(() => renderer[set](ids), {name: 'RangeError', message: 'no'});
    assert.deepStrictEqual(recorder.names(), []);
  });

  test(`${set} of a renderer that an ID closes passes null`, () => {
    const own = open();
    recorder.clear();
    own[set]([{valueOf() { own.close(); return 1; }}]);
    const call = recorder.last(choose);
    assert.deepStrictEqual([call.args[0], call.stale], [0n, false]);
    own[get]();
    assert.strictEqual(recorder.last(list).args[0], 0n);
  });
}

const LOW = 0x80000000 | 0;

for (const kind of ['CUDA', 'Optix']) {
  const choose = entry(`setDeviceList${kind}`);
  const set = `setComputeDevices${kind}`;

  test(`${set} takes pairs with a priority`, () => {
    for (const [ids, ...passed] of [[[0, [1, true]], 0, LOW | 1], [[[2, false], [3, 'x'], [4, 0]], 2, LOW | 3, 4],
      [[['5', {}]], LOW | 5], [[[-1, true]], -1], [[[undefined, true]], LOW]]) {
      assert.strictEqual(renderer[set](ids), true);
      assert.deepStrictEqual([...recorder.last(choose).arg.ids], passed);
    }
    const bytes = (renderer[set]([0, [1, true]]), recorder.last(choose).bytes('ids'));
    assert.deepStrictEqual(bytes, Buffer.from([0, 0, 0, 0, 1, 0, 0, 0x80]));
  });

  test(`${set} wants two elements in a pair`, () => {
    const message = 'Each sub-array must consist of exactly 2 elements - an index (device ID) and a boolean for low priority';
    for (const ids of [[[1]], [[]], [0, [1, true, 2]], [[1, true], [2]]]) {
      assert.throws(() => renderer[set](ids), {name: 'Error', message});
    }
    for (const key of [0, 1]) {
      const pair = Object.defineProperty([1, true], key, {get() { throw new RangeError('no'); }});
      assert.throws(() => renderer[set]([0, pair]), {name: 'RangeError'});
    }
    assert.deepStrictEqual(recorder.names(), []);
  });
}

test('the denoiser takes no pairs', () => {
  assert.strictEqual(renderer.setComputeDevicesDenoiser([[3, true], [7], []]), true);
  assert.deepStrictEqual([...recorder.last(entry('setDeviceListDenoiser')).arg.ids], [0, 7, 0], 'as arrays convert');
});

test('setComputeDevicesEnvironmentVariable is true for the SDK\'s 0', () => {
  for (const [result, expected] of [[0, true], [1, false], [-1, false]]) {
    recorder.once(entry('setGPUDevicesEnvironmentVariable'), result);
    assert.strictEqual(renderer.setComputeDevicesEnvironmentVariable('ignored'), expected);
    assert.deepStrictEqual(recorder.last(entry('setGPUDevicesEnvironmentVariable')).args, [handle]);
  }
});

test('nothing is left', async () => {
  renderer.close();
  await collected();
});
