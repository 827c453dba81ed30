'use strict';

// getPixelData: a list over the image's own memory.
const test = require('node:test');
const assert = require('assert');
const {recorder, forceGc, collect} = require('../helpers');
const {KilnImage, copying, handleOf, setUpLists, isFreed} = require('./image-helpers');

const HEAD = 64;  // the recorder's pixels begin behind a head

test('before the lists are set up the result is a plain Float32Array', () => {
  const list = new KilnImage(2, 1).getPixelData();
  assert.strictEqual(Object.getPrototypeOf(list), Float32Array.prototype);
});

test('four floats a pixel, as a FloatList', () => {
  const {FloatList} = setUpLists();
  const image = new KilnImage(3, 2);
  recorder.clear();
  const list = image.getPixelData();
  assert.strictEqual(list.length, 24);
  assert.strictEqual(Object.getPrototypeOf(list), FloatList.prototype);
  assert(list instanceof Float32Array);
  const [call] = recorder.calls();
  assert.strictEqual(call.name, 'KilnImage_getPixelDataPointerAndPixelCount');
  assert.strictEqual(call.onJsThread, true);
  assert.strictEqual(call.arg.image, handleOf(image));
});

test('the values are those of the SDK\'s pixels', () => {
  const image = new KilnImage(2, 1);
  recorder.write(handleOf(image) + BigInt(HEAD), Buffer.from(Float32Array.of(1, 2, 3, 4, 5, 6, 7, 8).buffer));
  assert.deepStrictEqual(Array.from(image.getPixelData()), [1, 2, 3, 4, 5, 6, 7, 8]);
});

test('a write is seen by a second list and in the SDK\'s block', {skip: copying}, () => {
  const image = new KilnImage(2, 2);
  const first = image.getPixelData();
  const second = image.getPixelData();
  assert.notStrictEqual(first, second);
  assert.strictEqual(first.buffer, second.buffer);
  assert.strictEqual(first.byteOffset, HEAD);
  first[5] = 0.75;
  assert.strictEqual(second[5], 0.75);
  assert.strictEqual(recorder.read(handleOf(image) + BigInt(HEAD + 20), 4).readFloatLE(0), 0.75);
  recorder.write(handleOf(image) + BigInt(HEAD), Buffer.from(Float32Array.of(9).buffer));
  assert.deepStrictEqual([first[0], second[0]], [9, 9]);
});

test('the buffer is the whole block', {skip: copying}, () => {
  const {buffer} = new KilnImage(2, 2).getPixelData();
  assert.strictEqual(buffer.byteLength, HEAD + 4 * 16);
});

test('the offset and the length follow from what the SDK answers', {skip: copying}, () => {
  const image = new KilnImage(4, 4);
  recorder.once('KilnImage_getPixelDataPointerAndPixelCount', {result: handleOf(image) + 32n, out: {count: 3n}});
  const list = image.getPixelData();
  assert.deepStrictEqual([list.byteOffset, list.length], [32, 12]);
});

test('lists of the copying form are separate copies', {skip: !copying && 'this form shares the memory'}, () => {
  const image = new KilnImage(2, 2);
  const list = image.getPixelData();
  list[5] = 0.75;
  assert.strictEqual(image.getPixelData()[5], 0);
  assert.strictEqual(list.byteLength, list.buffer.byteLength);
  image.close();
  assert.strictEqual(list[5], 0.75);
});

test('after close every list is empty', {skip: copying}, () => {
  const image = new KilnImage(2, 2);
  const lists = [image.getPixelData(), image.getPixelData(), new Uint8Array(image.getPixelData().buffer)];
  image.close();
  for (const list of lists) assert.deepStrictEqual([list.length, list.byteLength, list.byteOffset], [0, 0, 0]);
  assert.strictEqual(lists[0][0], undefined);
  lists[0][0] = 1;
  assert.strictEqual(lists[0].buffer.byteLength, 0);
});

test('a list keeps the memory of an image that nobody else keeps', {skip: copying}, async () => {
  let image = new KilnImage(2, 2);
  const handle = handleOf(image);
  let list = image.getPixelData();
  list[0] = 7;
  image = null;
  for (let i = 0; i < 3; i++) {
    forceGc();
    await new Promise(setImmediate);
  }
  assert.strictEqual(isFreed(handle), false);
  assert.strictEqual(list[0], 7);
  list = null;
  await collect(() => isFreed(handle));
});

test('memory that was moved to another owner closes the image', {skip: copying}, async () => {
  const {MessageChannel, receiveMessageOnPort} = require('worker_threads');
  const image = new KilnImage(2, 2);
  const handle = handleOf(image);
  const list = image.getPixelData();
  list[0] = 3;
  const {port1, port2} = new MessageChannel();
  let moved;
  try {
    port1.postMessage(list.buffer, [list.buffer]);
    moved = receiveMessageOnPort(port2).message;
  } catch (error) {
    assert.strictEqual(error.name, 'DataCloneError');  // Node.js 16 moves no memory that it did not allocate
    assert.strictEqual(list[0], 3);
    return;
  } finally {
    port1.close();
  }
  assert.strictEqual(list.length, 0);
  assert.throws(() => image.makeNegative(), {name: 'Error', message: 'This image is already closed.'});
  image.close();
  assert.strictEqual(new Float32Array(moved, HEAD, 1)[0], 3);
  assert.strictEqual(isFreed(handle), false);
  moved = null;
  await collect(() => isFreed(handle));
});

test('pixels that do not lie in the block give nothing', () => {
  const image = new KilnImage(2, 2);
  for (const [offset, count] of [[HEAD, 5n], [HEAD + 16, 4n], [0, 1000n], [-64, 2n], [HEAD + 64, 1n], [HEAD + 1, 1n],
    [HEAD, 1n << 60n], [HEAD, 1n << 62n], [HEAD, (1n << 64n) - 1n], [HEAD + 68, 0n]]) {
    recorder.once('KilnImage_getPixelDataPointerAndPixelCount', {
      result: handleOf(image) + BigInt(offset), out: {count},
    });
    assert.strictEqual(image.getPixelData(), undefined, `${offset} ${count}`);
  }
  recorder.once('KilnImage_getPixelDataPointerAndPixelCount', {result: handleOf(image) + 64n + 64n, out: {count: 0n}});
  assert.strictEqual(image.getPixelData().length, 0);
  assert.strictEqual(image.getPixelData().length, 16);
});

test('pixels that are nowhere give nothing', () => {
  recorder.once('KilnImage_getPixelDataPointerAndPixelCount', {result: null, out: {count: 0n}});
  assert.strictEqual(new KilnImage(2, 2).getPixelData(), undefined);
});
