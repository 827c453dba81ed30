'use strict';

// The forms of the constructor: what is checked, in which order, and what crosses.
const test = require('node:test');
const assert = require('assert');
const {recorder, runChild, collect, forceGc} = require('../helpers');
const {kiln, KilnImage, throwsError, throwsTypeError, handleOf, closedImage, isFreed, job} =
  require('./image-helpers');

test('a size makes an image: create, size and memory size cross in this order', () => {
  recorder.clear();
  const image = new KilnImage(4, 3);
  assert.deepStrictEqual(recorder.names(), ['KilnImage_create', 'KilnImage_getSize', 'KilnImage_getMemorySize']);
  const [create] = recorder.calls('KilnImage_create');
  assert.deepStrictEqual(create.args, [4, 3]);
  assert.strictEqual(create.onJsThread, true);
  assert.strictEqual(handleOf(image), create.resultBits);
  assert(image instanceof KilnImage);
});

test('width and height are what the SDK says, plain properties that may be written', () => {
  recorder.once('KilnImage_getSize', {out: {width: 70, height: 80}});
  const image = new KilnImage(4, 3);
  for (const [key, value] of [['width', 70], ['height', 80]]) {
    assert.deepStrictEqual(Object.getOwnPropertyDescriptor(image, key),
      {value, writable: true, enumerable: true, configurable: true});
  }
  image.width = 'mine';
  assert.strictEqual(image.width, 'mine');
  assert.strictEqual(image.getCropped(0, 0, 4, 3).width, 4, 'only informative');
  for (const key of ['x', 'y', 'host']) assert.strictEqual(key in image, false);
});

test('without new it is an instance all the same', () => {
  recorder.clear();
  const image = KilnImage(4, 4);
  assert(image instanceof KilnImage);
  assert.strictEqual(image.width, 4);
  assert.strictEqual(recorder.count('KilnImage_create'), 1);
  assert(KilnImage(image) instanceof KilnImage);
  throwsTypeError(() => KilnImage(), 'Undefined value passed as an argument to KilnImage constructor');
});

test('a subclass is an image', () => {
  class Mine extends KilnImage {}
  const image = new Mine(2, 2);
  assert(image instanceof Mine && image instanceof KilnImage);
  assert.strictEqual(new KilnImage(image).width, 2);
  assert.strictEqual(image.makeNegative(), false);
});

test('sizes are integers by conversion', () => {
  for (const [width, height, expected] of [['5', 2.9, [5, 2]], [true, {valueOf: () => 7}, [1, 7]],
    [2 ** 32 + 3, [6], [3, 6]]]) {
    recorder.clear();
    new KilnImage(width, height);
    assert.deepStrictEqual(recorder.last('KilnImage_create').args, expected);
  }
});

test('faults of the size, in order', () => {
  recorder.clear();
  throwsTypeError(() => new KilnImage(), 'Undefined value passed as an argument to KilnImage constructor');
  throwsTypeError(() => new KilnImage(null), 'Undefined value passed as an argument to KilnImage constructor');
  throwsTypeError(() => new KilnImage(undefined, 5), 'Undefined value passed as an argument to KilnImage constructor');
  throwsTypeError(() => new KilnImage(10), 'Arguments 0 and 1 (image width and height) should be passed');
  throwsTypeError(() => new KilnImage('png'), 'Arguments 0 and 1 (image width and height) should be passed');
  throwsTypeError(() => new KilnImage(10, undefined), 'The second argument to KilnImage constructor is undefined');
  for (const [width, height] of [[0, 10], [10, 0], [-1, 10], [10, -1], [10, null], [NaN, 1], ['a', 1], [{}, {}],
    [0.9, 1], [2 ** 31, 1], [Infinity, 1]]) {
    throwsTypeError(() => new KilnImage(width, height), 'Image width and height must be greater than 0');
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('a conversion that throws ends the construction with its own exception', () => {
  recorder.clear();
  const bad = {valueOf() { throw new RangeError('mine'); }};
  assert.throws(() => new KilnImage(bad, 1), RangeError);
  assert.throws(() => new KilnImage(1, bad), RangeError);
  assert.throws(() => new KilnImage(Symbol('s'), 1), TypeError);
  assert.throws(() => new KilnImage(1n, 1), TypeError);
  assert.deepStrictEqual(recorder.names(), []);
});

test('an SDK that makes no image', () => {
  recorder.once('KilnImage_create', null);
  throwsTypeError(() => new KilnImage(4, 4), 'Cannot create KilnImage');
});

test('compressed bytes: the type chooses the entry point, without regard to case, with no renderer', () => {
  const bytes = Buffer.from('some bytes');
  for (const [type, format] of [['jpg', 'Jpeg'], ['jpeg', 'Jpeg'], ['JPeG', 'Jpeg'], ['png', 'Png'], ['PNG', 'Png'],
    ['bmp', 'Bmp'], ['Bmp', 'Bmp'], [{toString: () => 'png'}, 'Png']]) {
    const name = `KilnImage_createFrom${format}`;
    recorder.clear();
    recorder.once(name, {result: {width: 6, height: 5}});
    const image = new KilnImage(bytes, type);
    assert.deepStrictEqual([image.width, image.height], [6, 5]);
    assert.deepStrictEqual(recorder.names(), [name, 'KilnImage_getSize', 'KilnImage_getMemorySize']);
    const call = recorder.last(name);
    assert.strictEqual(call.arg.renderer, 0n);
    assert.strictEqual(call.arg.size, 10n);
    assert.strictEqual(call.onJsThread, true);
  }
});

test('views of every kind are bytes, from their own place on', () => {
  const memory = new Uint8Array([1, 2, 3, 4, 5, 6, 7, 8]).buffer;
  for (const view of [new Uint8Array(memory, 2, 3), new DataView(memory, 2, 3), Buffer.from(memory, 2, 3)]) {
    recorder.once('KilnImage_createFromPng', {result: {width: 1, height: 1}});
    new KilnImage(view, 'png');
    const {arg} = recorder.last('KilnImage_createFromPng');
    assert.strictEqual(arg.size, 3n);
  }
  recorder.once('KilnImage_createFromPng', {result: {width: 1, height: 1}});
  new KilnImage(Buffer.alloc(0), 'png');
  assert.strictEqual(recorder.last('KilnImage_createFromPng').arg.size, 0n);
});

test('faults of compressed bytes', () => {
  recorder.clear();
  const bytes = Buffer.from('x');
  for (const type of [undefined, null, '', 'tiff', 'exr', 'pngx', ' png', 5]) {
    throwsTypeError(() => new KilnImage(bytes, type), 'Invalid type string');
  }
  throwsTypeError(() => new KilnImage(bytes), 'Invalid type string');
  assert.throws(() => new KilnImage(bytes, Symbol('s')), TypeError);
  assert.throws(() => new KilnImage(bytes, {toString() { throw new RangeError('mine'); }}), RangeError);
  assert.deepStrictEqual(recorder.names(), []);
  for (const [type, format] of [['jpg', 'Jpeg'], ['png', 'Png'], ['bmp', 'Bmp']]) {
    recorder.once(`KilnImage_createFrom${format}`, null);
    throwsTypeError(() => new KilnImage(bytes, type), 'Cannot create KilnImage');
  }
});

test('the bytes are not kept', async () => {
  recorder.once('KilnImage_createFromPng', {result: {width: 1, height: 1}});
  let bytes = Buffer.alloc(1 << 20);
  const gone = new WeakRef(bytes.buffer);
  const image = new KilnImage(bytes, 'png');
  bytes = null;
  await collect(() => gone.deref() === undefined);
  assert.strictEqual(image.width, 1);
});

test('an image makes a copy', () => {
  const source = new KilnImage(5, 2);
  recorder.clear();
  const copy = new KilnImage(source, 'whatever', 7);
  assert.deepStrictEqual(recorder.names(), ['KilnImage_clone', 'KilnImage_getSize', 'KilnImage_getMemorySize']);
  const {arg, resultBits} = recorder.last('KilnImage_clone');
  assert.strictEqual(arg.image, handleOf(source));
  assert.strictEqual(handleOf(copy), resultBits);
  assert.notStrictEqual(handleOf(copy), handleOf(source));
  source.close();
  assert.strictEqual(copy.makeNegative(), false);
  assert.deepStrictEqual([copy.width, copy.height], [5, 2]);
});

test('faults of a copy', () => {
  recorder.clear();
  throwsTypeError(() => new KilnImage(closedImage()), 'The passed image is already closed');
  assert.strictEqual(recorder.count('KilnImage_clone'), 0);
  recorder.once('KilnImage_clone', null);
  throwsTypeError(() => new KilnImage(new KilnImage(1, 1)), 'Cannot copy KilnImage');
  throwsTypeError(() => new KilnImage(Object.create(new KilnImage(1, 1))),
    'Arguments 0 and 1 (image width and height) should be passed');
});

test('an image with a place and a host is the add-on\'s own: a crop has neither', () => {
  const image = new KilnImage(4, 4).getCropped(1, 1, 2, 2);
  assert.deepStrictEqual(Object.keys(image), ['gamma', 'width', 'height']);
});

test('regression: a setter on the prototype that throws cost the block twice', async () => {
  Object.defineProperty(KilnImage.prototype, 'height', {configurable: true, set() { throw new RangeError('mine'); }});
  try {
    const before = recorder.liveCounts().blocks;
    assert.throws(() => new KilnImage(3, 3), RangeError);
    assert.strictEqual(recorder.liveCounts().blocks, before, 'the block was given back');
    recorder.once('KilnImage_createFromPng', {result: {width: 1, height: 1}});
    assert.throws(() => KilnImage.createFromBufferSync(Buffer.from('x'), 'png'), RangeError);
    assert.strictEqual(recorder.liveCounts().blocks, before);
  } finally {
    delete KilnImage.prototype.height;
  }
  forceGc();
  recorder.check();
});

test('a library that is not bound is told first', async () => {
  const child = await runChild(({loadNative}) => {
    const k = loadNative({library: '/nowhere'});
    for (const call of [() => new k.KilnImage(), () => k.KilnImage(), () => new k.KilnImage(0, 0)]) {
      try {
        call();
      } catch (error) {
        console.log(error.constructor.name, error.message === k.getSDKLibraryErrorString());
      }
    }
  });
  assert.strictEqual(child.stdout, 'Error true\nError true\nError true\n', child.stderr);
});

test('wrapping a handle of another form', async () => {
  recorder.once('KilnImage_createFromJpeg', {result: {width: 9, height: 8}});
  const {args: [error, image]} = await job((done) => KilnImage.createFromBuffer(Buffer.from('x'), 'jpg', done));
  assert.strictEqual(error, null);
  assert.strictEqual(handleOf(image), recorder.last('KilnImage_createFromJpeg').resultBits);
  image.close();
  assert(isFreed(recorder.last('KilnImage_createFromJpeg').resultBits));
  assert(kiln.KilnImage === KilnImage);
});
