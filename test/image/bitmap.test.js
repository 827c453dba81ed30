'use strict';

// toBitmapData: how its options cross, and whose the bytes are.
const test = require('node:test');
const assert = require('assert');
const {recorder, collect} = require('../helpers');
const {KilnImage, copying, handleOf, isFreed} = require('./image-helpers');

const ENTRY = 'KilnImage_toBitmapData';

function options(...args) {
  new KilnImage(1, 1).toBitmapData(...args);
  const {flags, stride, alpha} = recorder.last(ENTRY).arg;
  return [flags, stride, alpha];
}

test('without options: no flags, no stride, alpha -1', () => {
  for (const args of [[], [undefined], [null], [5], ['reverseY'], [{}], [[]], [() => {}]]) {
    assert.deepStrictEqual(options(...args), [0, 0, -1]);
  }
});

test('each key has its bit, all of them together too', () => {
  assert.deepStrictEqual(options({swapChannels: true}), [1, 0, -1]);
  assert.deepStrictEqual(options({reverseY: 1}), [2, 0, -1]);
  assert.deepStrictEqual(options({preserveAlpha: 'yes'}), [4, 0, -1]);
  assert.deepStrictEqual(options({preserveAlpha: true, swapChannels: true, reverseY: true}), [7, 0, -1]);
  assert.deepStrictEqual(options({preserveAlpha: 0, swapChannels: '', reverseY: null}), [0, 0, -1]);
});

test('stride and alphaValue are 32-bit integers', () => {
  assert.deepStrictEqual(options({stride: 64, alphaValue: 128}), [0, 64, 128]);
  assert.deepStrictEqual(options({stride: '12', alphaValue: 3.9}), [0, 12, 3]);
  assert.deepStrictEqual(options({stride: 2 ** 32 + 1, alphaValue: undefined}), [0, 1, 0]);
});

test('inherited keys count', () => {
  assert.deepStrictEqual(options(Object.create({reverseY: true, stride: 8})), [2, 8, -1]);
});

test('keys are asked for in their order, and read only where they are', () => {
  const log = [];
  const object = {reverseY: true, alphaValue: 7};
  options(new Proxy(object, {
    has(target, key) {
      log.push(`has ${String(key)}`);
      return key in target;
    },
    get(target, key) {
      log.push(`get ${String(key)}`);
      return target[key];
    },
  }));
  assert.deepStrictEqual(log, ['has preserveAlpha', 'has swapChannels', 'has reverseY', 'get reverseY', 'has stride',
    'has alphaValue', 'get alphaValue']);
});

test('a question that throws ends the call with its exception', () => {
  const image = new KilnImage(1, 1);
  recorder.clear();
  for (const key of ['preserveAlpha', 'swapChannels', 'reverseY', 'stride', 'alphaValue']) {
    assert.throws(() => image.toBitmapData(new Proxy({}, {
      has(target, one) {
        if (one === key) throw new RangeError('mine');
        return false;
      },
    })), RangeError);
    assert.throws(() => image.toBitmapData({get [key]() { throw new RangeError('mine'); }}), RangeError);
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('a number that can not be converted is its default; the exception is told', async () => {
  const bad = {valueOf() { throw new RangeError('mine'); }};
  const image = new KilnImage(1, 1);
  for (const [key, expected] of [['stride', [0, 0, 9]], ['alphaValue', [0, 5, -1]]]) {
    recorder.clear();
    recorder.once(ENTRY, {result: 2n, out: {data: Buffer.from('ab')}});
    assert.throws(() => image.toBitmapData({stride: 5, alphaValue: 9, [key]: bad}), RangeError);
    const {flags, stride, alpha} = recorder.last(ENTRY).arg;
    assert.deepStrictEqual([flags, stride, alpha], expected);
  }
  await collect(() => recorder.live().blocks.every((block) => block.size !== 2));
});

test('the bytes are a Uint8ClampedArray of the size that the SDK tells', () => {
  const image = new KilnImage(2, 1);
  recorder.once(ENTRY, {result: 8n, out: {data: Buffer.from([1, 2, 3, 4, 5, 6, 7, 255])}});
  const data = image.toBitmapData();
  assert.strictEqual(Object.getPrototypeOf(data), Uint8ClampedArray.prototype);
  assert.deepStrictEqual(Array.from(data), [1, 2, 3, 4, 5, 6, 7, 255]);
  assert.deepStrictEqual([data.byteOffset, data.buffer.byteLength], [0, 8]);
  const call = recorder.last(ENTRY);
  assert.strictEqual(call.onJsThread, true);
  assert.strictEqual(call.arg.image, handleOf(image));
});

test('the array owns the SDK\'s memory and gives it back once', async () => {
  const image = new KilnImage(2, 1);
  const before = recorder.live().blocks.map((block) => block.address);
  recorder.once(ENTRY, {result: 100n, out: {data: Buffer.alloc(100, 7)}});
  let data = image.toBitmapData();
  const made = recorder.live().blocks.filter((block) => !before.includes(block.address));
  assert.strictEqual(made.length, copying ? 0 : 1, 'a copy is given back at once');
  image.close();
  assert.strictEqual(data[99], 7, 'its memory is not the image\'s');
  if (copying) return;
  data = null;
  await collect(() => isFreed(made[0].address));
  recorder.check();
});

test('no data is undefined', () => {
  recorder.once(ENTRY, {result: 100n, out: {data: null}});
  assert.strictEqual(new KilnImage(1, 1).toBitmapData(), undefined, 'a size alone is no data');
  recorder.once(ENTRY, {result: 0n});
  assert.strictEqual(new KilnImage(1, 1).toBitmapData(), undefined);
});
