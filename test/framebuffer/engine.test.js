'use strict';

// The window on the engine, which has no screen: what it remembers, what it saves and loads.

const test = require('node:test');
const assert = require('assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const {execFileSync} = require('child_process');
const {paths} = require('../helpers');

const missing = !fs.existsSync(paths.engine) && 'the engine is not built';
delete process.env.KILN_SDK;
process.env.KILN_ENGKIT_BIN = paths.build;
const kiln = missing ? {} : require('../../lib');

const WIDTH = 24;
const HEIGHT = 16;

async function opened(body) {
  const renderer = new kiln.KilnRenderer({enableFrameBuffer: false});
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kiln-kvw-'));
  try {
    await body(renderer.kvw, renderer, (name) => path.join(folder, name));
  } finally {
    await renderer.promises.close();
    fs.rmSync(folder, {recursive: true});
  }
}

const on = (name, body) => test(name, {skip: missing}, () => opened(body));

async function render(renderer, types) {
  await renderer.promises.load(path.join(paths.root, 'examples', 'room.toml'));
  renderer.size = {width: WIDTH, height: HEIGHT};
  renderer.plugins.sampler.samples = 2;
  for (const type of types) renderer.renderElements.add(type);
  await renderer.promises.start();
  await renderer.promises.waitForRenderEnd();
}

// {channel: type} and the compression, from the header of an OpenEXR file.
function readExr(file) {
  const bytes = fs.readFileSync(file);
  assert.strictEqual(bytes.readUInt32LE(0), 0x01312f76);
  const text = (from) => bytes.toString('latin1', from, bytes.indexOf(0, from));
  const channels = {};
  let compression;
  for (let at = 8; bytes[at] !== 0;) {
    const name = text(at);
    at += name.length + 1;
    at += text(at).length + 1;
    const size = bytes.readInt32LE(at);
    at += 4;
    if (name === 'compression') compression = bytes[at];
    if (name === 'channels') {
      for (let i = at; bytes[i] !== 0; i += 16) {
        const channel = text(i);
        i += channel.length + 1;
        channels[channel] = ['uint', 'half', 'float'][bytes.readInt32LE(i)];
      }
    }
    at += size;
  }
  return {channels, compression};
}

on('a window without a screen is never shown, and keeps what it is told', (kvw) => {
  kvw.shown = true;
  assert.strictEqual(kvw.shown, false);
  kvw.size = {width: 320, height: 200};
  kvw.position = {x: -7, y: 9};
  assert.deepStrictEqual([kvw.size, kvw.position], [{width: 320, height: 200}, {x: -7, y: 9}]);
  kvw.size = {width: 640};
  assert.deepStrictEqual(kvw.size, {width: 320, height: 200});
  for (const name of ['interactivity', 'confirmClearImage']) {
    assert.strictEqual(kvw[name], true);
    kvw[name] = false;
    assert.strictEqual(kvw[name], false);
  }
  kvw.alwaysOnTop = true;
  assert.strictEqual(kvw.alwaysOnTop, undefined);
  assert.strictEqual(kvw.getSettings().window.alwaysOnTop, true);
});

on('settings and layers are documents', (kvw) => {
  assert.strictEqual(kvw.setSettings({mine: [1, {a: 'b'}], title: {prefix: 'p'}}), true);
  assert.strictEqual(kvw.setTitlePrefix('q'), true);
  assert.strictEqual(kvw.setProjectPath('/somewhere'), true);
  kvw.enableProgressBar();
  kvw.setProgressTextAndValue('half', 0.5);
  const settings = kvw.getSettings();
  assert.deepStrictEqual([settings.mine, settings.title], [[1, {a: 'b'}], {prefix: 'q', projectPath: '/somewhere'}]);
  assert.deepStrictEqual(settings.progress, {enabled: true, text: 'half', value: 0.5});
  assert.strictEqual(kvw.setSettings({window: {width: -1}}), false);
  assert.strictEqual(kvw.setSettings('text'), false);
  assert.deepStrictEqual(kvw.getSettings(), settings);

  assert.strictEqual(kvw.setLayers({layers: [{type: 'exposure', exposure: 1}]}), true);
  assert.deepStrictEqual(kvw.getLayers().layers,
    [{type: 'exposure', name: 'Exposure', enabled: true, opacity: 1, exposure: 1, contrast: 1}]);
  assert.strictEqual(kvw.setLayers({layers: 5}), false);
});

on('states go from one renderer and one process to another', async (kvw, renderer, file) => {
  kvw.setSettings({mine: 5});
  kvw.size = {width: 321, height: 200};
  const state = kvw.getPersistentState();
  fs.writeFileSync(file('state'), state);
  const script = `
    const kiln = require(${JSON.stringify(path.join(paths.root, 'lib'))});
    const renderer = new kiln.KilnRenderer({enableFrameBuffer: false});
    renderer.kvw.setPersistentState(require('fs').readFileSync(${JSON.stringify(file('state'))}));
    console.log(JSON.stringify([renderer.kvw.size, renderer.kvw.getSettings().mine]));
    renderer.close();`;
  const answer = execFileSync(process.execPath, ['-e', script], {encoding: 'utf8'});
  assert.deepStrictEqual(JSON.parse(answer), [{width: 321, height: 200}, 5]);

  kvw.resetState();
  assert.strictEqual(kvw.getSettings().mine, undefined);
  const damaged = Buffer.from(state);
  damaged[damaged.length - 1] ^= 1;
  kvw.setPersistentState(damaged);
  kvw.setState(state, 'main');
  assert.strictEqual(kvw.getSettings().mine, undefined);
  kvw.setPersistentState(state);
  assert.strictEqual(kvw.getSettings().mine, 5);
  for (const kind of ['main', 'history']) assert.ok(Buffer.isBuffer(kvw.getState(kind)));
  for (const kind of ['other', undefined]) assert.strictEqual(kvw.getState(kind), undefined);
});

on('corrections and settings go through files and the scene', (kvw, renderer, file) => {
  kvw.setLayers({layers: [{type: 'gamma', gamma: 2}]});
  const layers = kvw.getLayers();
  assert.strictEqual(kvw.saveColorCorrectionsPreset(file('preset.json')), true);
  assert.strictEqual(kvw.fillSettingsKVW(), true);
  kvw.resetState();
  assert.strictEqual(kvw.loadColorCorrectionsPreset(file('preset.json')), true);
  assert.deepStrictEqual(kvw.getLayers(), layers);
  kvw.resetState();
  assert.strictEqual(kvw.applySettingsKVW(), true);
  assert.deepStrictEqual(kvw.getLayers(), layers);
  assert.strictEqual(kvw.loadColorCorrectionsPreset(file('none')), false);
  assert.strictEqual(kvw.fillSettingsKVW(file('none')), false);
});

on('messages come out as events', async (kvw, renderer) => {
  const message = new Promise((resolve) => renderer.on('logMessage', (text, level) => resolve([text, level])));
  kvw.logMessage(1, 'a word');
  assert.deepStrictEqual(await message, ['a word', 1]);
});

on('without a render there is nothing to save', async (kvw, renderer, file) => {
  assert.strictEqual(kvw.saveImageSync(file('a.exr')), false);
  const error = await new Promise((resolve) => kvw.saveImage(file('a.exr'), resolve));
  assert.strictEqual(error.message, 'Error saving image to file');
  assert.strictEqual(fs.existsSync(file('a.exr')), false);
});

on('a render is saved with its elements', async (kvw, renderer, file) => {
  await render(renderer, ['z_depth', 'normals', 'node_id', 'diffuse']);
  const error = await new Promise((resolve) => kvw.saveImage(file('all.exr'),
    {multiChannel: true, writeIntegerIDs: true, bitsPerChannel: 16, compressionType: 'ZIP_SCANLINE'}, resolve));
  assert.strictEqual(error, null);
  const layer = (name, letters) => Object.fromEntries([...letters].map((letter) => [`${name}.${letter}`, 'half']));
  assert.deepStrictEqual(readExr(file('all.exr')), {
    channels: {A: 'half', B: 'half', G: 'half', R: 'half', ...layer('diffuse', 'RGB'), 'node_id.Y': 'uint',
      ...layer('normals', 'XYZ'), ...layer('z_depth', 'Y')},
    compression: 2,
  });
  ['noCompression', 'runLength', 'zipScanline', 'zipBlock', 'PIZ', 'PXR24', 'b44', 'b44a', 'dwaa', 'dwab'].forEach((name, i) => {
    assert.strictEqual(kvw.saveImageSync(file(`${name}.exr`), {compressionType: name, noAlpha: true}), true, name);
    assert.deepStrictEqual(readExr(file(`${name}.exr`)), {channels: {B: 'float', G: 'float', R: 'float'}, compression: i});
  });
  renderer.frame = 12;
  assert.strictEqual(kvw.saveImageSync(file('many.png'), {multipleFiles: true, frameNumber: true, bitsPerChannel: 8}), true);
  assert.deepStrictEqual(fs.readdirSync(path.dirname(file('x'))).filter((name) => name.startsWith('many')).sort(),
    ['many.0012.alpha.png', 'many.0012.diffuse.png', 'many.0012.node_id.exr', 'many.0012.normals.exr', 'many.0012.png',
      'many.0012.z_depth.exr']);
  assert.strictEqual(kvw.saveImageSync(file('a.png'), {multiChannel: true}), false);
  assert.strictEqual(kvw.saveImageSync(file('a.exr'), {bitsPerChannel: 12}), false);
});

on('a picture that is loaded is what is shown', async (kvw, renderer, file) => {
  await render(renderer, []);
  assert.strictEqual(kvw.saveImageSync(file('a.png'), {bitsPerChannel: 16}), true);
  kvw.clearImage();
  assert.strictEqual(kvw.saveImageSync(file('none.png')), false);
  assert.strictEqual(kvw.loadImageSync(file('a.png')), true);
  assert.strictEqual(kvw.saveImageSync(file('b.png'), {bitsPerChannel: 16}), true);
  const wanted = fs.readFileSync(file('a.png'));
  assert.strictEqual(fs.readFileSync(file('b.png')).readUInt32BE(16), wanted.readUInt32BE(16));
  const error = await new Promise((resolve) => kvw.loadImage(file('nothing.png'), resolve));
  assert.strictEqual(error.message, 'Error loading image.');
  assert.strictEqual(await new Promise((resolve) => kvw.loadImage(file('a.png'), resolve)), null);
});
