'use strict';

// The members that make a smaller or cut image, as jobs and at once.
const test = require('node:test');
const assert = require('assert');
const {recorder, until, forceGc, collect, sleep} = require('../helpers');
const {KilnImage, throwsTypeError, handleOf, isFreed, job} = require('./image-helpers');

const NEEDS_CALLBACK = 'Argument 0 (imageWidth: Integer), argument 1 (imageHeight: Integer) and argument 2 ' +
  '(callback function) should be passed';
const NEEDS_SIZE = 'Argument 0 (imageWidth: Integer) and argument 1 (imageHeight: Integer) should be passed';
const TOO_LARGE = 'Argument 0 (imageWidth: Integer) and argument 1 (imageHeight: Integer) must be greater than 0 but ' +
  'not greater than the source image';
const NOT_POSITIVE = 'Argument 0 (imageWidth: Integer) and argument 1 (imageHeight: Integer) must be greater than 0';
const CROP_NEEDS = 'Source image region x, y, width and height, destination image desired width and height and a ' +
  'callback function should be passed';
const CROP_SYNC_NEEDS = 'Source image region x, y, width and height, destination image desired width and height ' +
  'should be passed';
const METHODS = [['getDownscaled', 'KilnImage_downscale'], ['getFitIn', 'KilnImage_fitIn'],
  ['getFitOut', 'KilnImage_fitOut'], ['getCutIn', 'KilnImage_cutIn']];
const FITTING = METHODS.slice(1);
const image = new KilnImage(10, 6);

for (const [method, entry] of METHODS) {
  test(`${method} crosses on a pool thread, its twin on the JavaScript thread`, async () => {
    recorder.clear();
    const sync = image[`${method}Sync`](4, 3);
    const first = recorder.last(entry);
    assert.deepStrictEqual(first.args, [handleOf(image), 4, 3]);
    assert.strictEqual(first.onJsThread, true);
    const {self, args} = await job((done) => assert.strictEqual(image[method](4, 3, done), undefined));
    const second = recorder.last(entry);
    assert.deepStrictEqual(second.args, first.args);
    assert.strictEqual(second.onJsThread, false);
    assert.strictEqual(self, image);
    assert.strictEqual(args.length, 1);
    for (const [made, call] of [[sync, first], [args[0], second]]) {
      assert(made instanceof KilnImage);
      assert.deepStrictEqual([made.width, made.height], [4, 3]);
      assert.deepStrictEqual(['x', 'y', 'host'].filter((key) => key in made), []);
      assert.strictEqual(handleOf(made), call.resultBits);
      made.close();
      assert(isFreed(call.resultBits));
    }
  });

  test(`${method}: no image from the SDK is null, and undefined of the twin`, async () => {
    recorder.once(entry, null, 2);
    assert.strictEqual(image[`${method}Sync`](4, 3), undefined);
    assert.deepStrictEqual((await job((done) => image[method](4, 3, done))).args, [null]);
  });

  test(`${method}: what is required`, () => {
    recorder.clear();
    for (const args of [[], [4], [4, 3], [4, 3, null], [4, 3, {}, () => {}], [() => {}]]) {
      throwsTypeError(() => image[method](...args), NEEDS_CALLBACK);
    }
    for (const args of [[], [4]]) throwsTypeError(() => image[`${method}Sync`](...args), NEEDS_SIZE);
    assert.deepStrictEqual(recorder.names(), []);
  });

  test(`${method}: a conversion that throws ends the call with its exception`, () => {
    const bad = {valueOf() { throw new RangeError('mine'); }};
    recorder.clear();
    for (const args of [[bad, 1], [1, bad]]) {
      assert.throws(() => image[method](...args, () => {}), RangeError);
      assert.throws(() => image[`${method}Sync`](...args), RangeError);
    }
    assert.deepStrictEqual(recorder.names(), []);
  });

  test(`${method}: sizes are integers by conversion`, async () => {
    image[`${method}Sync`]('4', 3.9);
    assert.deepStrictEqual(recorder.last(entry).args.slice(1), [4, 3]);
    await job((done) => image[method](true, {valueOf: () => 2}, done));
    assert.deepStrictEqual(recorder.last(entry).args.slice(1), [1, 2]);
  });
}

test('getDownscaled: the range is that of the image, in both forms', async () => {
  recorder.clear();
  for (const size of [[0, 1], [1, 0], [-1, 1], [1, -1], [11, 1], [1, 7], [undefined, 1], ['x', 1], [2 ** 31, 1]]) {
    throwsTypeError(() => image.getDownscaled(...size, () => {}), TOO_LARGE);
    throwsTypeError(() => image.getDownscaledSync(...size), TOO_LARGE);
  }
  assert.strictEqual(recorder.count('KilnImage_downscale'), 0);
  for (const size of [[1, 1], [10, 6]]) {
    assert.strictEqual(image.getDownscaledSync(...size).width, size[0]);
    assert.strictEqual((await job((done) => image.getDownscaled(...size, done))).args[0].height, size[1]);
  }
});

for (const [method, entry] of FITTING) {
  test(`${method}: the SDK decides about the range of the job, the twin wants positive sizes`, async () => {
    for (const size of [[0, 0], [-5, 1], [1, -2147483648], [100, 200]]) {
      recorder.once(entry, null);
      await job((done) => image[method](...size, done));
      assert.deepStrictEqual(recorder.last(entry).args.slice(1), size);
    }
    recorder.clear();
    for (const size of [[0, 0], [0, 1], [1, 0], [-5, 1], [1, -5], [NaN, 1]]) {
      throwsTypeError(() => image[`${method}Sync`](...size), NOT_POSITIVE);
    }
    assert.deepStrictEqual(recorder.names(), []);
    assert.strictEqual(image[`${method}Sync`](100, 200).width, 100);
  });
}

const CROP = 'KilnImage_crop_downscale';

test('getDownscaledCropped crosses with the region and the size', async () => {
  recorder.clear();
  const sync = image.getDownscaledCroppedSync(1, 2, 6, 4, 3, 2, () => assert.fail('it is never called'));
  const first = recorder.last(CROP);
  assert.deepStrictEqual(first.args, [handleOf(image), 1, 2, 6, 4, 3, 2]);
  assert.strictEqual(first.onJsThread, true);
  const {self, args} = await job((done) => {
    assert.strictEqual(image.getDownscaledCropped(1, 2, 6, 4, 3, 2, done), undefined);
  });
  const second = recorder.last(CROP);
  assert.deepStrictEqual(second.args, first.args);
  assert.strictEqual(second.onJsThread, false);
  assert.strictEqual(self, image);
  assert.strictEqual(args.length, 1);
  for (const made of [sync, args[0]]) assert.deepStrictEqual([made.width, made.height], [3, 2]);
});

test('getDownscaledCropped and its twin want seven arguments, the last a function', () => {
  for (const args of [[], [0, 0, 1, 1, 1, 1], [0, 0, 1, 1, 1, 1, null], [0, 0, 1, 1, 1, 1, 1, () => {}]]) {
    throwsTypeError(() => image.getDownscaledCropped(...args), CROP_NEEDS);
    throwsTypeError(() => image.getDownscaledCroppedSync(...args), CROP_SYNC_NEEDS);
  }
});

test('the range of getDownscaledCropped', () => {
  recorder.clear();
  for (const args of [[-1, 0, 1, 1, 1, 1], [0, -1, 1, 1, 1, 1], [0, 0, 0, 1, 1, 1], [0, 0, 1, 0, 1, 1], [0, 0, 1, 1, 0, 1],
    [0, 0, 1, 1, 1, 0], [0, 0, -1, 1, 1, 1], [0, 0, 1, 1, -1, 1], [5, 0, 6, 1, 1, 1], [0, 3, 1, 4, 1, 1],
    [0, 0, 2, 2, 3, 1], [0, 0, 2, 2, 1, 3], [2 ** 31 - 1, 0, 2 ** 31 - 1, 1, 1, 1]]) {
    throwsTypeError(() => image.getDownscaledCropped(...args, () => {}), 'Arguments out of range');
    throwsTypeError(() => image.getDownscaledCroppedSync(...args, () => {}), 'Arguments out of range');
  }
  assert.strictEqual(recorder.count(CROP), 0);
  const bad = {valueOf() { throw new RangeError('mine'); }};
  for (let i = 0; i < 6; i++) {
    const args = [0, 0, 1, 1, 1, 1, () => {}];
    args[i] = bad;
    assert.throws(() => image.getDownscaledCropped(...args), RangeError);
    assert.throws(() => image.getDownscaledCroppedSync(...args), RangeError);
  }
});

test('a destination of the whole image is a copy; one of the whole region alone is none', async () => {
  recorder.clear();
  assert.strictEqual(image.getDownscaledCroppedSync(0, 0, 10, 6, 10, 6, () => {}).width, 10);
  const {args} = await job((done) => image.getDownscaledCropped(0, 0, 10, 6, 10, 6, done));
  assert.strictEqual(args[0].height, 6);
  assert.deepStrictEqual(recorder.calls('KilnImage_clone').map((call) => call.onJsThread), [true, false]);
  assert.strictEqual(recorder.count(CROP), 0);
  for (const region of [[2, 1, 4, 4, 4, 4], [0, 0, 10, 6, 10, 5], [0, 0, 10, 6, 9, 6]]) {
    image.getDownscaledCroppedSync(...region, () => {});
    assert.deepStrictEqual(recorder.last(CROP).args.slice(1), region);
  }
  assert.strictEqual(recorder.count('KilnImage_clone'), 2);
});

test('getDownscaledCropped: no image from the SDK is null, and undefined of the twin', async () => {
  recorder.once(CROP, null, 2);
  assert.strictEqual(image.getDownscaledCroppedSync(0, 0, 2, 2, 1, 1, () => {}), undefined);
  assert.deepStrictEqual((await job((done) => image.getDownscaledCropped(0, 0, 2, 2, 1, 1, done))).args, [null]);
});

test('an image that was dropped stays until its job is done', async () => {
  for (const [start, entry] of [[(one, done) => one.getFitIn(1, 1, done), 'KilnImage_fitIn'],
    [(one, done) => one.getDownscaledCropped(0, 0, 2, 2, 1, 1, done), CROP]]) {
    const gate = recorder.gate(entry);
    recorder.once(entry, {gate});
    let dropped = new KilnImage(4, 4);
    const handle = handleOf(dropped);
    const pending = job((done) => start(dropped, (made) => done(made.width)));
    dropped = null;
    await until(() => gate.waiting() === 1);
    for (let i = 0; i < 3; i++) {
      forceGc();
      await sleep(1);
    }
    assert.strictEqual(isFreed(handle), false);
    gate.open();
    assert.deepStrictEqual((await pending).args, [1]);
    await collect(() => isFreed(handle));
  }
});
