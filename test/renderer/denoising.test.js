'use strict';

// The denoiser on demand: an image that comes from any thread, and does not hold that thread.

const test = require('node:test');
const assert = require('assert');
const {Worker} = require('worker_threads');
const {kiln, recorder, entry, open, collected, ABRUPT} = require('./common');
const {paths, forceGc, sleep, collect, runChild} = require('../helpers');

const renderer = open();
const {handle} = recorder.live().handles[0];
const ENTRY = entry('denoiseNow');
const IMAGE = {width: 4, height: 3};

test.beforeEach(() => recorder.clear());

const denoised = (...more) => new Promise((resolve) => {
  assert.strictEqual(renderer.denoiseNow(function (...got) {
    assert.strictEqual(this, renderer);
    resolve(got);
  }, ...more), true);
});

test('without a callback the request has none', () => {
  for (const [result, expected] of [[0, false], [1, true], [-1, true]]) {
    recorder.once(ENTRY, result);
    assert.strictEqual(renderer.denoiseNow(), expected);
    const call = recorder.last(ENTRY);
    assert.strictEqual(call.onJsThread, true);
    assert.deepStrictEqual(call.arg.request,
      {completion: 0n, renderer: handle, user: null, pending: null, blocking: 1, reserved: 0});
    assert.strictEqual(call.bytes('request').length, 40);
  }
});

test('with a callback the request carries a completion', async () => {
  for (const [more, blocking] of [[[], 1], [[true], 1], [[false], 0], [[false, 'ignored'], 0]]) {
    recorder.once(ENTRY, {result: 1, complete: {image: IMAGE}});
    await denoised(...more);
    const {request} = recorder.last(ENTRY).arg;
    assert.ok(request.completion !== 0n && request.user !== null);
    assert.deepStrictEqual([request.renderer, request.pending, request.blocking], [handle, null, blocking]);
  }
});

test('the callback gets the image, which is its own, or null', async () => {
  for (const sameThread of [false, true]) {
    for (const delay of [0, 20]) {
      recorder.once(ENTRY, {result: -1, complete: {image: IMAGE, delay, sameThread}});
      const [image, ...rest] = await denoised(false);
      assert.ok(image instanceof kiln.KilnImage);
      assert.deepStrictEqual([image.width, image.height, image.x, image.host, rest.length], [4, 3, undefined, undefined, 0]);
      image.close();
      recorder.once(ENTRY, {result: 1, complete: {delay, sameThread}});
      assert.deepStrictEqual(await denoised(), [null]);
    }
  }
  await collect(() => recorder.liveCounts().blocks === 0);
});

test('the callback comes on a later turn, also when the completion comes during the call', async () => {
  recorder.once(ENTRY, {result: 1, complete: {sameThread: true}});
  let returned = false;
  const late = new Promise((resolve) => renderer.denoiseNow(() => resolve(returned)));
  returned = true;
  assert.strictEqual(await late, true);
});

test('several requests at once', async () => {
  recorder.once(ENTRY, {result: 1, complete: {image: IMAGE, delay: 5}}, 20);
  const images = await Promise.all(Array.from({length: 20}, () => denoised(false)));
  assert.strictEqual(new Set(images.map(([image]) => image)).size, 20);
});

test('the renderer and the callback stay alive until the completion', async () => {
  let image;
  (() => {
    const own = open();
    recorder.once(ENTRY, {result: 1, complete: {image: IMAGE, delay: 50}});
    own.denoiseNow(function (got) { image = [this instanceof kiln.KilnRenderer, got]; this.close(); }, false);
  })();
  while (!image) {
    forceGc();
    await sleep(5);
  }
  assert.strictEqual(image[0], true);
  image[1].close();
});

test('a refused request calls nobody, and its image is given back', async () => {
  recorder.once(ENTRY, 0, 2);
  assert.strictEqual(renderer.denoiseNow(() => assert.fail('called')), false);
  assert.strictEqual(renderer.denoiseNow(() => assert.fail('called'), false), false);
  for (const complete of [{image: IMAGE, sameThread: true}, {sameThread: true}, {image: IMAGE, delay: 20}]) {
    recorder.once(ENTRY, {result: 0, complete});
    assert.strictEqual(renderer.denoiseNow(() => assert.fail('called'), false), false);
    await sleep(40);
  }
  await collect(() => recorder.liveCounts().blocks === 0);
});

test('a callback that throws is an uncaught exception', async () => {
  const {code, stdout, stderr} = await runChild((helpers) => {
    const kiln = helpers.loadNative();
    kiln.enableFrameBuffer(false);
    process.once('uncaughtException', (error) => console.log(error.message));
    helpers.recorder.once('Kiln_KilnRenderer_denoiseNow', {result: 1, complete: {image: {width: 4, height: 3}}});
    const renderer = new kiln.KilnRenderer();
    renderer.denoiseNow(function (image) {
      image.close();
      this.close();
      throw new Error('mine');
    });
  });
  assert.deepStrictEqual([code, stdout], [0, 'mine\n'], stderr);
});

test('the arguments are looked at before anything is made', () => {
  for (const args of [[5], [null], [undefined], ['x'], [true], [{}], [5, 5]]) {
    assert.throws(() => renderer.denoiseNow(...args), {name: 'Error', message: 'First argument must be a function'});
  }
  for (const second of [undefined, null, 0, 'true', new Boolean(true)]) {
    assert.throws(() => renderer.denoiseNow(() => {}, second), {name: 'Error', message: 'Second argument must be boolean'});
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('a renderer that is closed under way still tells of its image; a closed one passes null', async () => {
  const own = open();
  recorder.once(ENTRY, {result: 1, complete: {image: IMAGE, delay: 20}});
  const pending = new Promise((resolve) => own.denoiseNow(resolve, false));
  own.close();
  (await pending).close();
  recorder.once(ENTRY, 0);
  assert.strictEqual(own.denoiseNow(() => assert.fail('called')), false);
  const call = recorder.last(ENTRY);
  assert.deepStrictEqual([call.args[0], call.arg.request.renderer], [0n, 0n]);
});

test('a worker that ends before the completion, and one that ends behind it', async () => {
  for (const delay of [0, 100]) {
    recorder.once(ENTRY, {result: 1, complete: {image: IMAGE, delay}});
    const worker = new Worker(`
      const kiln = require(${JSON.stringify(paths.native)});
      kiln.enableFrameBuffer(false);
      const renderer = new kiln.KilnRenderer();
      renderer.denoiseNow(() => {}, false);
      require('worker_threads').parentPort.postMessage('asked');
      ${delay === 0 ? '' : 'for (;;) {}'}
    `, {eval: true});
    await new Promise((resolve) => worker.once('message', resolve));
    await worker.terminate();
    await sleep(delay + 20);
    await collect(() => recorder.liveCounts().blocks === 0);
  }
  recorder.check();
});

test('a process may exit while the denoiser works', async () => {
  const {code, signal, stderr} = await runChild((helpers) => {
    const kiln = helpers.loadNative();
    kiln.enableFrameBuffer(false);
    const {recorder} = helpers;
    recorder.once('Kiln_KilnRenderer_denoiseNow', {result: 1, complete: {image: {width: 4, height: 3}, delay: 10}}, 50);
    const renderer = new kiln.KilnRenderer();
    for (let i = 0; i < 50; ++i) renderer.denoiseNow(() => {}, false);
    setTimeout(() => process.exit(7), 5);
  }, {env: ABRUPT});
  assert.deepStrictEqual([code, signal], [7, null], stderr);
});

test('the process stays as long as the denoiser works', async () => {
  const {code, stdout, stderr} = await runChild((helpers) => {
    const kiln = helpers.loadNative();
    kiln.enableFrameBuffer(false);
    helpers.recorder.once('Kiln_KilnRenderer_denoiseNow', {result: 1, complete: {delay: 50}});
    const renderer = new kiln.KilnRenderer();
    renderer.denoiseNow((image) => console.log('image', image), false);
    renderer.close();
  });
  assert.deepStrictEqual([code, stdout], [0, 'image null\n'], stderr);
});

test('nothing is left', async () => {
  renderer.close();
  await collected();
});
