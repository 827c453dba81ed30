'use strict';

// getCropped: its range, and negative sizes.
const test = require('node:test');
const assert = require('assert');
const {recorder} = require('../helpers');
const {KilnImage, throwsTypeError, handleOf, isFreed} = require('./image-helpers');

const ENTRY = 'KilnImage_crop';
const image = new KilnImage(10, 6);

test('the region crosses, and the crop is an image of its own', () => {
  const crop = image.getCropped(1, 2, 3, 4);
  const call = recorder.last(ENTRY);
  assert.deepStrictEqual(call.args, [handleOf(image), 1, 2, 3, 4]);
  assert.strictEqual(call.onJsThread, true);
  assert(crop instanceof KilnImage);
  assert.deepStrictEqual([crop.width, crop.height], [3, 4]);
  assert.deepStrictEqual(['x', 'y', 'host'].filter((key) => key in crop), []);
  crop.close();
  assert(isFreed(call.resultBits));
});

test('four arguments are required', () => {
  for (const args of [[], [0], [0, 0], [0, 0, 1]]) {
    throwsTypeError(() => image.getCropped(...args), 'x and y coordinates, width and height should be passed');
  }
});

test('the region must lie in the image', () => {
  recorder.clear();
  for (const region of [[-1, 0, 1, 1], [0, -1, 1, 1], [0, 0, 0, 5], [0, 0, 5, 0], [0, 0, 11, 1], [0, 0, 1, 7],
    [10, 0, 1, 1], [0, 6, 1, 1], [5, 0, 6, 1], [0, 0, -11, 1], [5, 0, -6, 1], [0, 3, 1, -4], [undefined, 0, NaN, 1],
    [2 ** 31 - 1, 0, 2 ** 31 - 1, 1], [0, 2 ** 31 - 1, 1, 2 ** 31 - 1], [0, 0, -(2 ** 31), 1], [1, 1, 1, -(2 ** 31)]]) {
    throwsTypeError(() => image.getCropped(...region), 'Arguments out of range');
  }
  assert.strictEqual(recorder.count(ENTRY), 0);
});

test('the whole image and its edges are inside', () => {
  for (const region of [[0, 0, 10, 6], [9, 5, 1, 1], [0, 5, 10, 1]]) {
    assert(image.getCropped(...region) instanceof KilnImage);
    assert.deepStrictEqual(recorder.last(ENTRY).args.slice(1), region);
  }
});

test('negative sizes pass the test by their absolute value and reach the SDK as they are', () => {
  recorder.answer(ENTRY, {result: {width: 5, height: 5}});
  for (const region of [[0, 0, -5, 5], [0, 0, 5, -6], [5, 1, -5, -5]]) {
    assert.strictEqual(image.getCropped(...region).width, 5);
    assert.deepStrictEqual(recorder.last(ENTRY).args.slice(1), region);
  }
  recorder.reset(ENTRY);
});

test('arguments are converted to integers; one that can not be ends the call', () => {
  image.getCropped('1', 2.9, {valueOf: () => 3}, true);
  assert.deepStrictEqual(recorder.last(ENTRY).args.slice(1), [1, 2, 3, 1]);
  recorder.clear();
  for (let i = 0; i < 4; i++) {
    const region = [0, 0, 1, 1];
    region[i] = {valueOf() { throw new RangeError('mine'); }};
    assert.throws(() => image.getCropped(...region), RangeError);
  }
  assert.strictEqual(recorder.count(ENTRY), 0);
});

test('no image from the SDK is undefined', () => {
  recorder.once(ENTRY, null);
  assert.strictEqual(image.getCropped(0, 0, 1, 1), undefined);
});
