'use strict';

// Two threads at the state of the library: one sets its path, the other asks how it went and calls it.
const test = require('node:test');
const assert = require('assert');
const path = require('path');
const {Worker} = require('worker_threads');
const {loadNative, paths} = require('../helpers');

const missing = require('../recorder/missing.json').names;

const kiln = loadNative();

const script = `
  const {workerData, parentPort} = require('worker_threads');
  const {native, missing} = workerData;
  const kiln = require(native);
  parentPort.postMessage('ready');
  const texts = new Set();
  for (let i = 0; i < 3000; i++) {
    texts.add(kiln.getSDKLibraryErrorString());
    for (const name of kiln.getSDKLibraryMissingFunctions()) if (!missing.includes(name)) throw new Error(name);
  }
  parentPort.postMessage([...texts]);`;

test('a worker asks for the outcome while this thread loads again and again', async () => {
  const worker = new Worker(script, {eval: true, workerData: {native: paths.native, missing}});
  let texts = null;
  const ended = new Promise((resolve, reject) => worker.once('exit', resolve).once('error', reject));
  await new Promise((resolve) => worker.once('message', resolve));
  worker.once('message', (message) => {
    texts = message;
  });
  const none = path.join(paths.recorderDir, 'none');
  for (let i = 0; texts === null && i < 10000; i++) {
    assert.strictEqual(kiln.setSDKLibraryPath(i % 2 === 0 ? none : paths.partialDir), false);
    await new Promise((resolve) => setImmediate(resolve));
  }
  assert.strictEqual(await ended, 0);
  assert.ok(texts.length > 0);
  for (const text of texts) assert.match(text, /^(SDK library loaded|Incorrect SDK library|Error loading SDK)/);
  assert.strictEqual(kiln.setSDKLibraryPath(paths.recorderDir), true);
});

test('a path with a toString of its own may ask for the outcome of the last load', () => {
  let asked = '';
  const directory = {
    toString() {
      asked = kiln.getSDKLibraryErrorString();
      assert.strictEqual(kiln.setSDKLibraryPath(paths.recorderDir), true);
      return paths.recorderDir;
    },
  };
  assert.strictEqual(kiln.setSDKLibraryPath(directory), true);
  assert.match(asked, /^SDK library loaded correctly/);
});
