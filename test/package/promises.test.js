// The promise forms on the engine: how each settles, and that util.promisify gives the same.
'use strict';

const assert = require('assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const util = require('util');
const { after, test } = require('node:test');
const kiln = require('../../lib/index.js');
const { interfaceBody, readDeclarations } = require('../helpers/declarations.js');
const { ROOT } = require('./program.js');

const ROOM = path.join(ROOT, 'examples', 'room.toml');
const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kiln-promises-'));
after(() => fs.rmSync(folder, { recursive: true }));

async function withRenderer(work) {
  const renderer = await kiln.promises.createKilnRenderer({ enableFrameBuffer: false });
  try {
    return await work(renderer);
  } finally {
    await renderer.promises.close();
  }
}

/** A renderer that has rendered a small picture. */
async function rendered(renderer) {
  kiln.setEnvVar('KILN_RENDER_SAMPLES', '1');
  await renderer.promises.load(ROOM);
  renderer.size = { width: 40, height: 30 };
  await renderer.promises.start();
  assert.strictEqual(await renderer.promises.waitForRenderEnd(), true);
  return renderer.getImage();
}

test('a render from end to end', () =>
  withRenderer(async (renderer) => {
    const image = await rendered(renderer);
    assert.strictEqual(renderer.state, 'idleDone');
    assert.deepStrictEqual([image.width, image.height], [40, 30]);
    const file = path.join(folder, 'a.png');
    assert.strictEqual(await image.promises.save(file), undefined);
    const bytes = await image.promises.compress('png');
    assert.ok(Buffer.isBuffer(bytes) && bytes.equals(fs.readFileSync(file)));
    const again = await kiln.promises.createImageFromBuffer(bytes, 'png');
    assert.deepStrictEqual([again.width, again.height], [40, 30]);
    for (const [name, ...args] of [['getDownscaled', 20, 15], ['getDownscaledCropped', 0, 0, 40, 30, 20, 15], ['getFitIn', 20, 15]]) {
      const small = await image.promises[name](...args);
      assert.ok(small instanceof kiln.KilnImage, name);
      assert.deepStrictEqual([small.width, small.height], [20, 15], name);
      small.close();
    }
    image.close();
    again.close();
  }));

test('failures reject with the error of the callback', () =>
  withRenderer(async (renderer) => {
    await assert.rejects(renderer.promises.load(path.join(folder, 'nowhere.toml')), Error);
    await assert.rejects(renderer.promises.loadAsText('[a]\nclass = "Nothing"'), /line 2/);
    await assert.rejects(renderer.promises.start(), Error);
    await assert.rejects(kiln.promises.createImageFromBuffer(Buffer.from('no'), 'png'), /Image decompression error/);
    const image = new kiln.KilnImage(4, 4);
    await assert.rejects(image.promises.save(path.join(folder, 'no', 'x.png')), /Error saving image to file/);
    await assert.rejects(image.promises.getFitIn(0, 0), /getFitIn failed/);
    image.close();
  }));

test('arguments that the member refuses reject too', () =>
  withRenderer(async (renderer) => {
    await assert.rejects(renderer.promises.load(), /Argument 0 \(fileName: string\) should be passed/);
    await assert.rejects(new kiln.KilnImage(2, 2).promises.save('a'), TypeError);
  }));

test('a timeout resolves to false', () =>
  withRenderer(async (renderer) => {
    await renderer.promises.load(ROOM);
    kiln.setEnvVar('KILN_RENDER_SAMPLES', '4096');
    await renderer.promises.start();
    assert.strictEqual(await renderer.promises.waitForRenderEnd(1), false);
    await renderer.promises.stop();
    assert.strictEqual(await renderer.promises.waitForRenderEnd(10000), true);
    kiln.setEnvVar('KILN_RENDER_SAMPLES', null);
  }));

/** An add-on whose renderers are of the class. */
function addOnWith(KilnRenderer) {
  return { KilnRenderer, KilnServer: class {}, KilnImage: class { static createFromBuffer() {} } };
}

test('the callback stands where the member looks for it', async () => {
  const { setupPromises } = require('../../lib/promises.js');
  class Stub {}
  const calls = [];
  const answers = (...results) => function (...args) {
    calls.push(args.map((arg) => (typeof arg === 'function' ? 'callback' : arg)));
    args.find((arg) => typeof arg === 'function')(...results);
  };
  Stub.prototype.pickPlugin = answers('plugin');
  Stub.prototype.pickPlugins = answers(['pick']);
  Stub.prototype.denoiseNow = answers('image');
  setupPromises(addOnWith(Stub));
  const stub = new Stub();
  assert.strictEqual(await stub.promises.pickPlugin(1, 2, 100), 'plugin');
  assert.deepStrictEqual(await stub.promises.pickPlugins(1, 2, 5), ['pick']);
  assert.strictEqual(await stub.promises.denoiseNow(false), 'image');
  assert.deepStrictEqual(calls, [[1, 2, 'callback', 100], [1, 2, 5, 'callback'], ['callback', false]]);
});

test('the callback of append stands between the files and the flag', async () => {
  const { setupPromises } = require('../../lib/promises.js');
  const calls = [];
  class Stub {}
  Stub.prototype.append = function (...args) {
    calls.push(args.map((arg) => (typeof arg === 'function' ? 'callback' : arg)));
    args.find((arg) => typeof arg === 'function')(null);
  };
  setupPromises(addOnWith(Stub));
  const stub = new Stub();
  for (const args of [['a'], ['a', 'b', true], [['a', 'b']], [['a'], true]]) await stub.promises.append(...args);
  assert.deepStrictEqual(calls, [['a', 'callback'], ['a', 'b', 'callback', true], [['a', 'b'], 'callback'], [['a'], 'callback', true]]);
});

test('work that did not begin rejects', async () => {
  const { setupPromises } = require('../../lib/promises.js');
  class Stub {}
  Stub.prototype.denoiseNow = () => false;
  setupPromises(addOnWith(Stub));
  await assert.rejects(new Stub().promises.denoiseNow(), /denoiseNow failed: it could not begin\./);
});

test('the declarations have exactly the promise forms', () =>
  withRenderer(async (renderer) => {
    const text = readDeclarations();
    const declared = (name) => [...interfaceBody(text, name).matchAll(/^ {2}(\w+)\(/gm)].map(([, member]) => member).sort();
    assert.deepStrictEqual(Object.keys(renderer.promises).sort(), declared('RendererPromises'));
    assert.deepStrictEqual(Object.keys(new kiln.KilnImage(1, 1).promises).sort(), declared('ImagePromises'));
  }));

test('util.promisify gives the same forms', () =>
  withRenderer(async (renderer) => {
    await util.promisify(renderer.loadAsText).call(renderer, fs.readFileSync(ROOM, 'utf8'));
    assert.strictEqual(await util.promisify(renderer.waitForRenderEnd).call(renderer, 1000), true);
    const image = new kiln.KilnImage(8, 8);
    const half = await util.promisify(image.getDownscaled).call(image, 4, 4);
    assert.strictEqual(half.width, 4);
    const other = await util.promisify(kiln.createKilnRenderer)({ enableFrameBuffer: false });
    await util.promisify(other.close).call(other);
  }));

test('closing by promise any number of times closes once', async () => {
  const renderer = await kiln.promises.createKilnRenderer();
  const first = renderer.promises.close();
  assert.strictEqual(renderer.promises.close(), first);
  await first;
  await renderer.promises.close();
});
