'use strict';

// createFromBuffer and createFromBufferSync.
const test = require('node:test');
const assert = require('assert');
const {MessageChannel, receiveMessageOnPort} = require('worker_threads');
const {recorder, paths, until, forceGc, collect, sleep} = require('../helpers');
const {kiln, KilnImage, throwsError, throwsTypeError, handleOf, job} = require('./image-helpers');

const BAD_TYPE = 'Argument 1 (imageType) should be \'bmp, \'png\' or \'jpeg\'';
const PNG = 'KilnImage_createFromPng';
const TYPES = [['bmp', 'KilnImage_createFromBmp'], ['BMP', 'KilnImage_createFromBmp'], ['png', PNG], ['Png', PNG],
  ['jpg', 'KilnImage_createFromJpeg'], ['jpeg', 'KilnImage_createFromJpeg'], ['JPEG', 'KilnImage_createFromJpeg'],
  [{toString: () => 'png'}, PNG]];
const bytes = Buffer.from('some bytes');
const renderer = new kiln.KilnRenderer();
const other = new kiln.KilnRenderer();
const rendererHandles = recorder.live().handles.map((one) => one.handle);

const decode = (...args) => job((done) => KilnImage.createFromBuffer(...args, done));

test('the type chooses the entry point, in both forms', async () => {
  for (const [type, entry] of TYPES) {
    recorder.clear();
    recorder.once(entry, {result: {width: 5, height: 4}}, 2);
    const sync = KilnImage.createFromBufferSync(bytes, type);
    assert.strictEqual(recorder.last(entry).onJsThread, true);
    const {args} = await decode(bytes, type);
    const late = recorder.last(entry);
    assert.strictEqual(late.onJsThread, false);
    assert.deepStrictEqual([late.arg.size, late.arg.renderer], [10n, 0n]);
    assert.strictEqual(args.length, 2);
    assert.strictEqual(args[0], null);
    for (const image of [sync, args[1]]) {
      assert(image instanceof KilnImage);
      assert.deepStrictEqual([image.width, image.height], [5, 4]);
      assert.deepStrictEqual(['x', 'y', 'host'].filter((key) => key in image), []);
    }
    assert.strictEqual(handleOf(args[1]), late.resultBits);
  }
});

test('the bytes that the SDK sees are the Buffer\'s own, from its place on', async () => {
  const gate = recorder.gate('bytes');
  recorder.once(PNG, {gate, result: {width: 1, height: 1}});
  const view = new Uint8Array(Buffer.from('0123456789').buffer, 0, 8).slice().subarray(3, 6);
  const pending = decode(view, 'png');
  await until(() => gate.waiting() === 1);
  view.set(Buffer.from('new'));
  gate.open();
  await pending;
  const {arg, bits} = recorder.last(PNG);
  assert.strictEqual(arg.size, 3n);
  assert.strictEqual(String(recorder.read(bits[0], 3)), 'new', 'nothing was copied');
});

test('too few arguments', () => {
  for (const args of [[], [bytes], [bytes, 'png']]) {
    throwsTypeError(() => KilnImage.createFromBuffer(...args),
      'A Buffer, an image type string and a callback function should be passed');
  }
  for (const args of [[], [bytes]]) {
    throwsTypeError(() => KilnImage.createFromBufferSync(...args), 'A Buffer and an image type string should be passed');
  }
});

test('faults of the source, in order, in both forms', () => {
  recorder.clear();
  for (const method of ['createFromBuffer', 'createFromBufferSync']) {
    for (const source of [undefined, null, 'text', {}, [1, 2], new ArrayBuffer(4), 5]) {
      throwsTypeError(() => KilnImage[method](source, 'nonsense', () => {}), 'Argument 0 (Buffer) should be passed');
    }
    for (const type of [undefined, null, '', 'tiff', 'exr', 'gif', 'png ', 7]) {
      throwsTypeError(() => KilnImage[method](bytes, type, null), BAD_TYPE);
    }
    assert.throws(() => KilnImage[method](bytes, Symbol('s'), () => {}), TypeError);
    assert.throws(() => KilnImage[method](bytes, {toString() { throw new RangeError('mine'); }}, () => {}), RangeError);
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('a callback is required', () => {
  recorder.clear();
  for (const rest of [[null], [undefined], [renderer], ['x', {}, 5]]) {
    throwsTypeError(() => KilnImage.createFromBuffer(bytes, 'png', ...rest), 'A callback function is required');
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('the job form finds renderer and callback everywhere behind; the last of each wins', async () => {
  const seen = async (...args) => {
    await job((done) => KilnImage.createFromBuffer(...args.map((one) => (one === 'done' ? done : one))));
    return recorder.last(PNG).arg.renderer;
  };
  const never = () => assert.fail('this one was overruled');
  assert.strictEqual(await seen(bytes, 'png', 'done', renderer), rendererHandles[0]);
  assert.strictEqual(await seen(bytes, 'png', renderer, null, never, other, 5, 'done'), rendererHandles[1]);
  assert.strictEqual(await seen(bytes, 'png', {}, 'done'), 0n);
});

test('the other form takes a renderer as argument 2 alone', () => {
  const seen = (...rest) => {
    recorder.once(PNG, {result: {width: 1, height: 1}});
    KilnImage.createFromBufferSync(bytes, 'png', ...rest);
    return recorder.last(PNG).arg.renderer;
  };
  assert.strictEqual(seen(), 0n);
  assert.strictEqual(seen(renderer), rendererHandles[0]);
  assert.strictEqual(seen(null, renderer), 0n);
  assert.strictEqual(seen({}), 0n);
});

test('bytes that are no image', async () => {
  throwsError(() => KilnImage.createFromBufferSync(bytes, 'png'), 'Image decompression error');
  const {args} = await decode(bytes, 'png');
  assert.strictEqual(args.length, 2);
  assert.strictEqual(args[0].constructor, Error);
  assert.strictEqual(args[0].message, 'Image decompression error');
  assert.strictEqual(args[1], null);
});

test('the receiver of the call is the receiver of the callback', async () => {
  assert.strictEqual((await decode(bytes, 'png')).self, KilnImage);
  const mine = {};
  assert.strictEqual((await job((done) => KilnImage.createFromBuffer.call(mine, bytes, 'png', done))).self, mine);
  for (const odd of [Object.create(null), new Proxy({}, {}), new Proxy(function f() {}, {}), Object(5), new Map()]) {
    assert.strictEqual((await job((done) => KilnImage.createFromBuffer.call(odd, bytes, 'png', done))).self, odd);
  }
  await job((done) => KilnImage.createFromBuffer.call(undefined, bytes, 'png', done));
});

test('a callback that is a proxy is called', async () => {
  await job((done) => KilnImage.createFromBuffer(bytes, 'png', new Proxy(done, {})));
});

test('a Buffer and a renderer that were dropped stay until the job is done', async () => {
  const gate = recorder.gate('dropped');
  const before = recorder.live().handles.length;
  recorder.once(PNG, {gate, result: {width: 1, height: 1}});
  let buffer = Buffer.alloc(1 << 20, 9);
  let dropped = new kiln.KilnRenderer();
  const memory = new WeakRef(buffer.buffer);
  const pending = decode(buffer, 'png', dropped);
  buffer = null;
  dropped = null;
  await until(() => gate.waiting() === 1);
  for (let i = 0; i < 3; i++) {
    forceGc();
    await sleep(1);
  }
  const [data] = recorder.last(PNG).bits;
  assert.strictEqual(recorder.read(data + BigInt((1 << 20) - 1), 1)[0], 9);
  assert.strictEqual(recorder.live().handles.length, before + 1);
  gate.open();
  await pending;
  await collect(() => memory.deref() === undefined && recorder.live().handles.length === before);
});

test('regression: bytes that were moved away under a job were freed under it', async () => {
  const gate = recorder.gate('moved');
  recorder.once(PNG, {gate, result: {width: 1, height: 1}});
  const memory = new ArrayBuffer(1 << 20);
  new Uint8Array(memory).fill(5);
  const pending = decode(Buffer.from(memory), 'png');
  await until(() => gate.waiting() === 1);
  const {port1, port2} = new MessageChannel();
  port1.postMessage(memory, [memory]);
  receiveMessageOnPort(port2);
  port1.close();
  assert.strictEqual(memory.byteLength, 0);
  for (let i = 0; i < 3; i++) {
    forceGc();
    await sleep(5);
  }
  const [data] = recorder.last(PNG).bits;
  assert.strictEqual(recorder.read(data + BigInt((1 << 20) - 1), 1)[0], 5);
  gate.open();
  await pending;
});

test('a library that is not bound is told first', () => {
  kiln.close();
  try {
    for (const method of ['createFromBuffer', 'createFromBufferSync']) {
      assert.throws(() => KilnImage[method](), (error) => {
        assert.strictEqual(error.constructor, Error);
        assert.strictEqual(error.message, kiln.getSDKLibraryErrorString());
        return true;
      });
    }
  } finally {
    assert.strictEqual(kiln.setSDKLibraryPath(paths.recorderDir, true), true);
  }
});

// An open renderer keeps the process alive.
test('the renderers close', () => {
  for (const one of [renderer, other]) one.close();
  recorder.check();
});
