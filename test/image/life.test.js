'use strict';

// The life of an image's memory: adopted once, given back once, and never to a library that is gone.
const test = require('node:test');
const assert = require('assert');
const path = require('path');
const {Worker} = require('worker_threads');
const {recorder, paths, runChild, until, collect, forceGc} = require('../helpers');
const {kiln, KilnImage, copying, throwsTypeError, handleOf, isFreed} = require('./image-helpers');

const sanitized = Boolean(process.env.KILN_SANITIZER);

test('close gives the block back at once, and only once', () => {
  const image = new KilnImage(4, 4);
  const handle = handleOf(image);
  recorder.clear();
  assert.strictEqual(image.close(), undefined);
  assert.deepStrictEqual(recorder.calls('C_memory_free').map((call) => call.bits[0]), [handle]);
  assert.strictEqual(recorder.last('C_memory_free').onJsThread, true);
  for (let i = 0; i < 3; i++) assert.strictEqual(image.close(), undefined);
  assert.strictEqual(recorder.count('C_memory_free'), 1);
});

test('the collector gives the block back once', async () => {
  const handles = (() => [1, 2, 3].map((size) => handleOf(new KilnImage(size, size))))();
  await collect(() => handles.every(isFreed));
  recorder.check();
});

test('every failing way to an image gives back what it made', async () => {
  const before = recorder.liveCounts().blocks;
  recorder.once('KilnImage_clone', null);
  recorder.once('KilnImage_create', null);
  throwsTypeError(() => new KilnImage(1, 1), 'Cannot create KilnImage');
  Object.defineProperty(KilnImage.prototype, 'width', {configurable: true, set() { throw new RangeError('mine'); }});
  try {
    recorder.answer('KilnImage_createFromPng', {result: {width: 1, height: 1}});
    assert.throws(() => new KilnImage(1, 1), RangeError);
    assert.throws(() => new KilnImage(Buffer.from('x'), 'png'), RangeError);
    assert.throws(() => KilnImage.createFromBufferSync(Buffer.from('x'), 'png'), RangeError);
  } finally {
    delete KilnImage.prototype.width;
    recorder.reset();
  }
  await collect(() => recorder.liveCounts().blocks === before);
  recorder.check();
});

test('a job whose image can not be made tells of the exception and gives the block back', async () => {
  const child = await runChild(({loadNative, recorder: own, until: wait}) => {
    const k = loadNative();
    Object.defineProperty(k.KilnImage.prototype, 'width', {set() { throw new RangeError('mine'); }});
    own.once('KilnImage_createFromPng', {result: {width: 1, height: 1}});
    process.on('uncaughtException', (error) => console.log(error.message));
    k.KilnImage.createFromBuffer(Buffer.from('x'), 'png', () => console.log('called'));
    wait(() => own.count('C_memory_free') === 1).then(() => console.log(own.liveCounts().blocks));
  });
  assert.strictEqual(child.stdout, 'mine\n0\n', child.stderr);
});

test('under protection neither lists nor members touch a block that was given back',
  {skip: sanitized && 'the recorder\'s protection and the sanitizer\'s memory exclude each other'}, async () => {
    const child = await runChild(({loadNative, recorder: own, forceGc}) => {
      own.protect();
      const {KilnImage: Image} = loadNative();
      const image = new Image(8, 8);
      const list = image.getPixelData();
      list[0] = 1;
      const crop = image.getCropped(0, 0, 2, 2);
      image.close();
      for (const name of Object.keys(Image.prototype)) {
        try {
          image[name]('png', 1, 1, 1, 1, 1, () => {});
        } catch (error) {
          if (error.message !== 'This image is already closed.') throw error;
        }
      }
      forceGc();
      crop.getPixelData()[0] = 1;
      list[0] = 2;
      console.log('alive', list[0]);
    });
    // A copied list keeps its own memory, a shared one has none left.
    assert.match(child.stdout, /^alive (2|undefined)\n$/, child.stderr);
    assert.deepStrictEqual([child.code, child.signal], [0, null]);
  });

test('close with a job in flight takes the memory; nothing of the add-on touches it again',
  {skip: sanitized && 'the recorder\'s protection and the sanitizer\'s memory exclude each other'}, async () => {
    const child = await runChild(async ({loadNative, recorder: own, forceGc, until: wait}) => {
      own.protect();
      const {KilnImage: Image} = loadNative();
      for (const [entry, start] of [
        ['KilnImage_compressToPng', (image, done) => image.compress('png', done)],
        ['KilnImage_compressToPngFile', (image, done) => image.save('a.png', done)],
        ['KilnImage_fitIn', (image, done) => image.getFitIn(1, 1, done)],
        ['KilnImage_crop_downscale', (image, done) => image.getDownscaledCropped(0, 0, 2, 2, 1, 1, done)],
      ]) {
        const gate = own.gate(entry);
        // An answer of its own: the recorder does not look at the image again either.
        own.once(entry, {gate, result: 0});
        const image = new Image(4, 4);
        const frees = own.count('C_memory_free');
        const done = new Promise((resolve) => start(image, (...args) => resolve(args.length)));
        await wait(() => gate.waiting() === 1);
        image.close();
        if (own.count('C_memory_free') !== frees + 1) throw new Error('the block was not given back by close');
        forceGc();
        gate.open();
        console.log(entry, await done);
        forceGc();
        if (own.count('C_memory_free') !== frees + 1) throw new Error('the block was given back twice');
      }
    });
    assert.strictEqual(child.stdout, 'KilnImage_compressToPng 2\nKilnImage_compressToPngFile 1\nKilnImage_fitIn 1\n' +
      'KilnImage_crop_downscale 1\n', child.stderr);
    assert.deepStrictEqual([child.code, child.signal], [0, null]);
  });

test('nothing is given to a library that is gone', async () => {
  let image = new KilnImage(4, 4);
  let dropped = new KilnImage(2, 2);
  recorder.once('KilnImage_compressToPng', {result: 3n, out: {data: Buffer.from('abc')}});
  let bytes = image.compressSync('png');
  const handle = handleOf(image);
  const other = handleOf(dropped);
  recorder.clear();
  kiln.close();
  image.close();
  dropped = null;
  image = null;
  assert.strictEqual(String(bytes), 'abc');
  bytes = null;
  for (let i = 0; i < 5; i++) {
    forceGc();
    await new Promise(setImmediate);
  }
  assert.strictEqual(recorder.count('C_memory_free'), 0);
  assert(!isFreed(handle) && !isFreed(other), 'what it made is left alone');
  assert.strictEqual(kiln.setSDKLibraryPath(paths.recorderDir, true), true);
  recorder.check();
});

test('regression: blocks of one library went to the next', async () => {
  const image = new KilnImage(4, 4);
  const handle = handleOf(image);
  kiln.close();
  assert.strictEqual(kiln.setSDKLibraryPath(paths.recorderDir, true), true);
  recorder.clear();
  image.close();
  assert.strictEqual(recorder.count('C_memory_free'), 0);
  assert.strictEqual(isFreed(handle), false);
  const next = new KilnImage(1, 1);
  next.close();
  assert.strictEqual(recorder.count('C_memory_free'), 1, 'the next one gets its own');
});

test('adopting takes the same time whatever the size', {skip: copying}, () => {
  const image = new KilnImage(2048, 2048);
  const handle = handleOf(image);
  const list = image.getPixelData();
  list[list.length - 1] = 5;
  assert.strictEqual(recorder.read(handle + BigInt(list.byteOffset + list.byteLength - 4), 4).readFloatLE(0), 5);
  assert.strictEqual(list.buffer.byteLength, 64 + 2048 * 2048 * 16);
  image.close();
});

test('the collector sees the size: of 2,000 images of 8 MB in one synchronous loop most are gone before the end',
  {skip: sanitized && 'sanitizers keep freed memory'}, async () => {
    const child = await runChild(({loadNative, recorder: own}) => {
      const k = loadNative();
      own.countOnly();
      let most = 0;
      for (let i = 0; i < 2000; i++) {
        new k.KilnImage(1024, 512);
        if (i % 20 === 0) most = Math.max(most, own.liveCounts().bytes);
      }
      console.log(JSON.stringify({most: most / 2 ** 20, rss: process.memoryUsage().rss / 2 ** 20}));
    }, {timeout: 60000});
    assert.strictEqual(child.code, 0, child.stderr);
    const {most, rss} = JSON.parse(child.stdout);
    // How far behind the collector is depends on the cores that are free for its threads; 16 GB if it saw nothing.
    assert(most < 4096, `${most} MB were live at once`);
    assert(rss < 4096, `${rss} MB resident`);
  });

test('a worker that ends gives back the blocks of its images', async () => {
  const before = recorder.liveCounts().blocks;
  const worker = new Worker(`
    const {parentPort, workerData} = require('worker_threads');
    const {KilnImage} = require(workerData);
    global.images = Array.from({length: 20}, () => new KilnImage(4, 4));
    parentPort.postMessage(global.images.length);
    setInterval(() => {}, 1000);
  `, {eval: true, workerData: paths.native});
  await new Promise((resolve, reject) => {
    worker.once('message', resolve);
    worker.once('error', reject);
  });
  assert(recorder.liveCounts().blocks >= before + 20);
  await worker.terminate();
  await until(() => recorder.liveCounts().blocks <= before);
  recorder.check();
});

test('a worker that ends with jobs under way gives everything back', async () => {
  for (let i = 0; i < 5; i++) {
    const before = recorder.liveCounts().blocks;
    const gate = recorder.gate('worker');
    recorder.once('KilnImage_compressToPng', {gate, result: 9n, out: {data: Buffer.alloc(9)}}, 4);
    recorder.once('KilnImage_fitIn', {gate}, 4);
    const worker = new Worker(`
      const {parentPort, workerData} = require('worker_threads');
      const {KilnImage} = require(workerData);
      const image = new KilnImage(4, 4);
      for (let i = 0; i < 4; i++) {
        image.compress('png', i % 2 ? () => {} : null);
        image.getFitIn(2, 2, () => {});
      }
      parentPort.postMessage(0);
    `, {eval: true, workerData: paths.native});
    await new Promise((resolve, reject) => {
      worker.once('message', resolve);
      worker.once('error', reject);
    });
    await until(() => gate.waiting() > 0);
    const end = worker.terminate();
    gate.open();
    await end;
    await until(() => recorder.liveCounts().blocks <= before);
    recorder.reset();
  }
  recorder.check();
});

test('a process ends with images and jobs of every kind left over', async () => {
  for (const ending of ['', 'process.exit(0)']) {
    const file = path.join(__dirname, 'image-helpers.js');
    const child = await runChild((helpers, [modulePath, last]) => {
      const {KilnImage: Image} = require(modulePath);
      const image = new Image(4, 4);
      image.getPixelData();
      for (let i = 0; i < 8; i++) image.compress('png');
      image.save('nowhere.png');
      image.getCutIn(1, 1, () => {});
      Image.createFromBuffer(Buffer.from('x'), 'png', () => {});
      if (last) setTimeout(() => process.exit(0), 1);
    }, {args: [[file, ending]], env: {ASAN_OPTIONS: `${process.env.ASAN_OPTIONS || ''}:detect_leaks=0`}});
    assert.deepStrictEqual([child.code, child.signal, child.timedOut], [0, null, false], child.stderr);
  }
});
