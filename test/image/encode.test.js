'use strict';

// compress and compressSync: arguments, what crosses, threads, and whose the bytes are.
const test = require('node:test');
const assert = require('assert');
const {recorder, until, collect, forceGc, mustCall, sleep} = require('../helpers');
const {kiln, KilnImage, copying, throwsTypeError, handleOf, isFreed, job} = require('./image-helpers');

const ENTRIES = {bmp: 'KilnImage_convertToBmp', png: 'KilnImage_compressToPng', jpeg: 'KilnImage_compressToJpeg'};
const image = new KilnImage(4, 3);
const renderer = new kiln.KilnRenderer();
const other = new kiln.KilnRenderer();
const rendererHandles = recorder.live().handles.map((one) => one.handle);

// The call that a compression made, by both forms; the job form gets the arguments with its callback behind them.
async function crossed(entry, ...args) {
  recorder.clear();
  image.compressSync(...args);
  const sync = recorder.last(entry);
  assert.strictEqual(sync.onJsThread, true);
  await job((done) => assert.strictEqual(image.compress(...args, done), undefined));
  const late = recorder.last(entry);
  assert.strictEqual(late.onJsThread, false);
  const {data: ours, ...expected} = sync.arg;
  const {data: theirs, ...actual} = late.arg;
  assert.deepStrictEqual(actual, expected, 'the two forms agree');
  assert(ours !== 0n && theirs !== 0n);
  assert.strictEqual(recorder.count(entry), 2);
  return late.arg;
}

test('bmp takes two flags', async () => {
  for (const [args, first, second] of [[[], 0, 0], [[true], 1, 0], [[false, true], 0, 1], [[true, true], 1, 1],
    [[1, true], 0, 0], [[true, 1], 1, 0]]) {
    const arg = await crossed(ENTRIES.bmp, 'bmp', ...args);
    assert.deepStrictEqual([arg.first_flag, arg.second_flag], [first, second], String(args));
  }
});

test('png takes a flag and a depth in either order', async () => {
  for (const [args, flags] of [[[], 0], [[true], 1], [[false], 0], [[true, 16], 3], [[16, true], 3], [[16], 2],
    [[16, false], 2], [[false, 16], 2], [[true, 8], 1], [[8, true], 1], [[16.5], 2], [[17], 0], [[-16], 0], [['16'], 0],
    [[true, '16'], 1], [[NaN], 0]]) {
    assert.strictEqual((await crossed(ENTRIES.png, 'png', ...args)).flags, flags, String(args));
  }
});

test('jpeg takes a quality', async () => {
  for (const [args, quality] of [[[], 0], [[85], 85], [[85.9], 85], [[-1], -1], [[2 ** 32 + 7], 7], [['85'], 0], [[true], 0],
    [[NaN], 0]]) {
    assert.strictEqual((await crossed(ENTRIES.jpeg, 'jpeg', ...args)).quality, quality, String(args));
  }
});

test('types without regard to case', async () => {
  for (const [type, entry] of [['BMP', ENTRIES.bmp], ['Png', ENTRIES.png], ['jpg', ENTRIES.jpeg], ['JPG', ENTRIES.jpeg],
    ['JpEg', ENTRIES.jpeg]]) {
    const arg = await crossed(entry, type);
    assert.deepStrictEqual([arg.image, arg.renderer], [handleOf(image), 0n]);
  }
});

test('types that there are not', () => {
  recorder.clear();
  for (const method of ['compress', 'compressSync']) {
    for (const args of [[], [undefined], [null], [5], [Object('png')], [() => {}]]) {
      throwsTypeError(() => image[method](...args), "Argument 0 (compression type: 'bmp', 'png' or 'jpeg') should be passed");
    }
    for (const type of ['', 'tiff', 'tif', 'exr', 'gif', 'png ', 'pn']) {
      throwsTypeError(() => image[method](type, () => {}), "Argument 0 (compression type: string) should be 'png' or 'jpeg'");
    }
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('a renderer directly behind the options crosses in both forms', async () => {
  for (const [entry, args] of [[ENTRIES.bmp, ['bmp']], [ENTRIES.bmp, ['bmp', true]], [ENTRIES.bmp, ['bmp', true, false]],
    [ENTRIES.png, ['png']], [ENTRIES.png, ['png', 16]], [ENTRIES.png, ['png', true, 16]], [ENTRIES.jpeg, ['jpg']],
    [ENTRIES.jpeg, ['jpg', 50]]]) {
    assert.strictEqual((await crossed(entry, ...args, renderer)).renderer, rendererHandles[0], String(args));
  }
});

test('the job form looks for a renderer and a callback everywhere behind; the last of each wins', async () => {
  const renderers = async (...args) => {
    await job((done) => image.compress(...args.map((one) => (one === 'done' ? done : one))));
    return recorder.last(ENTRIES.png).arg.renderer;
  };
  const never = () => assert.fail('this one was overruled');
  assert.strictEqual(await renderers('png', 'done', renderer), rendererHandles[0]);
  assert.strictEqual(await renderers('png', 'x', {}, renderer, null, 'done', 5), rendererHandles[0]);
  assert.strictEqual(await renderers('png', renderer, never, other, 'done'), rendererHandles[1]);
  assert.strictEqual(await renderers('png', 'done', 16), 0n);
  assert.strictEqual(recorder.last(ENTRIES.png).arg.flags, 0, 'an option behind the rest is skipped');
});

test('compressSync looks for a renderer only directly behind the options', () => {
  for (const args of [['png', {}, renderer], ['png', null, renderer], ['png', true, 16, 'x', renderer], ['jpg', 'x', renderer]]) {
    image.compressSync(...args);
    assert.strictEqual(recorder.last(ENTRIES[args[0] === 'jpg' ? 'jpeg' : 'png']).arg.renderer, 0n);
  }
});

test('the callback gets null and a Buffer, with the image as its receiver, on a later turn', async () => {
  recorder.once(ENTRIES.png, {result: 5n, out: {data: Buffer.from('bytes')}});
  let returned = false;
  const pending = job((done) => image.compress('png', (...args) => {
    assert(returned);
    done(...args);
  }));
  returned = true;
  const {args} = await pending;
  assert.strictEqual(args.length, 2);
  assert.strictEqual(args[0], null);
  assert(Buffer.isBuffer(args[1]));
  assert.strictEqual(String(args[1]), 'bytes');
  recorder.once(ENTRIES.png, {result: 5n, out: {data: Buffer.from('bytes')}});
  assert.strictEqual((await job((done) => image.compress('png', done))).self, image);
});

test('a failure is an Error and null', async () => {
  const {args} = await job((done) => image.compress('jpeg', done));
  assert.strictEqual(args.length, 2);
  assert.strictEqual(args[0].constructor, Error);
  assert.strictEqual(args[0].message, 'Image compression error');
  assert.strictEqual(args[1], null);
});

test('a size without data is a failure', async () => {
  recorder.once(ENTRIES.png, {result: 100n, out: {data: null}}, 2);
  assert.strictEqual(image.compressSync('png'), undefined);
  const {args: [error, buffer]} = await job((done) => image.compress('png', done));
  assert.deepStrictEqual([error.message, buffer], ['Image compression error', null]);
});

test('compressSync answers a Buffer, or undefined', () => {
  for (const type of ['bmp', 'png', 'jpeg']) {
    recorder.once(ENTRIES[type], {result: 4n, out: {data: Buffer.from('data')}});
    const buffer = image.compressSync(type);
    assert(Buffer.isBuffer(buffer));
    assert.strictEqual(String(buffer), 'data');
    assert.strictEqual(image.compressSync(type), undefined);
  }
});

test('Buffers own the SDK\'s memory and give it back once', async () => {
  const made = () => recorder.live().blocks.filter((block) => block.size === 777).map((block) => block.address);
  recorder.once(ENTRIES.png, {result: 777n, out: {data: Buffer.alloc(777, 1)}}, 2);
  let blocks;
  const look = (...buffers) => {
    blocks = made();
    for (const buffer of buffers) assert.deepStrictEqual([buffer.length, buffer[776]], [777, 1]);
  };
  await new Promise((resolve, reject) => {
    const first = image.compressSync('png');
    image.compress('png', (error, second) => {
      try {
        look(first, second);
        resolve();
      } catch (failure) {
        reject(failure);
      }
    });
  });
  assert.strictEqual(blocks.length, copying ? 0 : 2, 'a copy is given back at once');
  await collect(() => made().length === 0);
  assert(blocks.every(isFreed));
  recorder.check();
});

test('without a callback the bytes are given back, and a failure goes unnoticed', async () => {
  const before = recorder.liveCounts();
  recorder.once(ENTRIES.png, {result: 100n, out: {data: Buffer.alloc(100)}}, 3);
  recorder.clear();
  for (const args of [[], [null], ['no function']]) image.compress('png', ...args);
  image.compress('jpeg');
  await until(() => recorder.count(ENTRIES.png) === 3 && recorder.count(ENTRIES.jpeg) === 1);
  await until(() => recorder.liveCounts().blocks === before.blocks);
  recorder.check();
});

test('a job runs while the thread that queued it goes on', async () => {
  const gate = recorder.gate('compress');
  recorder.once(ENTRIES.png, {gate, result: 1n, out: {data: Buffer.from('x')}});
  const called = mustCall();
  const pending = job((done) => image.compress('png', (...args) => {
    called();
    done(...args);
  }));
  await until(() => gate.waiting() === 1);
  await sleep(5);
  assert.strictEqual(image.makeNegative(), false);
  gate.open();
  assert.strictEqual(String((await pending).args[1]), 'x');
});

test('an image that was dropped stays until its job is done', async () => {
  const gate = recorder.gate('dropped');
  recorder.once(ENTRIES.png, {gate, result: 1n, out: {data: Buffer.from('x')}});
  let dropped = new KilnImage(2, 2);
  const handle = handleOf(dropped);
  const pending = job((done) => dropped.compress('png', (error, buffer) => done(String(buffer))));
  dropped = null;
  await until(() => gate.waiting() === 1);
  for (let i = 0; i < 3; i++) {
    forceGc();
    await sleep(1);
  }
  assert.strictEqual(isFreed(handle), false);
  gate.open();
  assert.deepStrictEqual((await pending).args, ['x']);
  assert.strictEqual(recorder.last(ENTRIES.png).stale, false);
  await collect(() => isFreed(handle));
});

test('a renderer that was dropped stays until the job that uses it is done', async () => {
  const gate = recorder.gate('renderer');
  const before = recorder.live().handles.length;
  recorder.once(ENTRIES.png, {gate, result: 1n, out: {data: Buffer.from('x')}});
  let dropped = new kiln.KilnRenderer();
  const pending = job((done) => image.compress('png', dropped, done));
  dropped = null;
  await until(() => gate.waiting() === 1);
  for (let i = 0; i < 3; i++) {
    forceGc();
    await sleep(1);
  }
  assert.strictEqual(recorder.live().handles.length, before + 1);
  gate.open();
  await pending;
  await collect(() => recorder.live().handles.length === before);
});

// An open renderer keeps the process alive.
test('the renderers close', () => {
  for (const one of [renderer, other]) one.close();
  recorder.check();
});
