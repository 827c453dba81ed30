'use strict';

// toIntList: types, sizes, and the memory that the SDK fills.
const test = require('node:test');
const assert = require('assert');
const {recorder} = require('../helpers');
const {KilnImage, throwsTypeError, handleOf, setUpLists} = require('./image-helpers');

const ENTRY = 'KilnImage_toIntList';
const UNKNOWN = "Unknown type. Supported types are 'bgra' ('bgra_byte') (default), 'bgr' ('bgr_byte'), 'rgba16' " +
  "('rgba_16bit'), 'rgba32' ('rgba_float')";

function crossed(width, height, ...args) {
  const list = new KilnImage(width, height).toIntList(...args);
  const {arg} = recorder.last(ENTRY);
  assert.strictEqual(arg.size, BigInt(list.length * 4));
  return [arg.type, list.length];
}

test('names, without regard to case', () => {
  for (const [name, type, elements] of [['bgra', 0, 6], ['bgra_byte', 0, 6], ['BGRA', 0, 6], ['rgba32', 1, 24],
    ['rgba_float', 1, 24], ['RGBA_Float', 1, 24], ['rgba16', 3, 12], ['rgba_16bit', 3, 12], ['bgr', 4, 5],
    ['bgr_byte', 4, 5], ['Bgr_Byte', 4, 5]]) {
    assert.deepStrictEqual(crossed(3, 2, name), [type, elements], name);
  }
});

test('a number is the code as it stands; one without a name has one element a pixel', () => {
  for (const [type, elements] of [[0, 6], [1, 24], [2, 6], [3, 12], [4, 5], [5, 6], [2 ** 31 - 1, 6]]) {
    assert.deepStrictEqual(crossed(3, 2, type), [type, elements]);
  }
});

test('anything else is type 0', () => {
  for (const args of [[], [undefined], [null], [{}], [true], [-1], [1.5], [NaN], [-(2 ** 31)], [2 ** 32],
    [Object('bgr')], [Symbol('s')]]) {
    assert.deepStrictEqual(crossed(3, 2, ...args), [0, 6]);
  }
});

test('unknown names, and codes that are negative as 32-bit integers', () => {
  const image = new KilnImage(1, 1);
  recorder.clear();
  for (const type of ['', 'rgb', 'bgra ', 'bgrabyte', 'rgba', 2 ** 31, 2 ** 32 - 1]) {
    throwsTypeError(() => image.toIntList(type), UNKNOWN);
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('three bytes a pixel fill whole elements', () => {
  for (const [width, height, elements] of [[1, 1, 1], [2, 1, 2], [3, 1, 3], [4, 1, 3], [5, 1, 4], [7, 1, 6], [4, 4, 12]]) {
    assert.deepStrictEqual(crossed(width, height, 'bgr'), [4, elements]);
  }
});

test('the result is a plain Int32Array over memory that the SDK filled', () => {
  setUpLists();
  const image = new KilnImage(2, 1);
  recorder.once(ENTRY, {result: 0, out: {destination: Int32Array.of(-5, 0x7fffffff)}});
  const list = image.toIntList();
  assert.strictEqual(Object.getPrototypeOf(list), Int32Array.prototype);
  assert.deepStrictEqual(Array.from(list), [-5, 0x7fffffff]);
  assert.deepStrictEqual([list.byteOffset, list.buffer.byteLength], [0, 8]);
  const call = recorder.last(ENTRY);
  assert.strictEqual(call.onJsThread, true);
  assert.strictEqual(call.arg.image, handleOf(image));
  image.close();
  assert.strictEqual(list[0], -5);
});

test('a failure of the SDK is undefined', () => {
  for (const result of [1, -1]) {
    recorder.once(ENTRY, result);
    assert.strictEqual(new KilnImage(2, 1).toIntList(), undefined);
  }
});

test('a size that no list can have is no list', () => {
  const image = new KilnImage(2, 1);
  recorder.once('KilnImage_getSize', {out: {width: 2 ** 31 - 1, height: 2 ** 31 - 1}});
  assert.strictEqual(image.toIntList('rgba32'), undefined);
  for (const [width, height] of [[-1, 1], [1, -1], [-5, -5], [-(2 ** 31), 2 ** 31 - 1]]) {
    recorder.once('KilnImage_getSize', {out: {width, height}});
    assert.strictEqual(image.toIntList().length, 0);
  }
});

test('the size is the one that the SDK tells', () => {
  const image = new KilnImage(2, 1);
  recorder.once('KilnImage_getSize', {out: {width: 10, height: 3}});
  image.width = 1000;
  assert.strictEqual(image.toIntList().length, 30);
  recorder.once('KilnImage_getSize', {out: {width: 0, height: 0}});
  assert.strictEqual(image.toIntList().length, 0);
});
