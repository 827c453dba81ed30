// When the package takes its own engine: only when the search bound nothing and nobody named a library.
'use strict';

const assert = require('assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const { test } = require('node:test');
const { engineFolder, libraryName, useEngineIfNothingBound } = require('../../lib/engine.js');
const { runScript } = require('./program.js');

const NOT_FOUND = 'Error loading SDK Library. [no such file (2)] (libKilnSDKLibrary.so)';
const engineFile = path.join(engineFolder(), libraryName());

/** The add-on as the rule sees it: a text, and a wish for a path. */
function fakeNative(text) {
  const native = { asked: [], getSDKLibraryErrorString: () => text };
  native.setSDKLibraryPath = (...args) => native.asked.push(args) > 0;
  return native;
}

function withEnvironment(variables, work) {
  const before = {};
  for (const name of ['KILN_ENGKIT_BIN', 'KILN_SDK', 'KILN_BUILD_DIR']) {
    before[name] = process.env[name];
    if (name in variables) process.env[name] = variables[name];
    else delete process.env[name];
  }
  try {
    return work();
  } finally {
    for (const [name, value] of Object.entries(before)) {
      if (value === undefined) delete process.env[name];
      else process.env[name] = value;
    }
  }
}

test('the engine is taken, with one argument, when the search bound nothing', () => {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kiln-'));
  fs.writeFileSync(path.join(folder, libraryName()), '');
  const native = fakeNative(NOT_FOUND);
  withEnvironment({ KILN_BUILD_DIR: folder }, () => {
    assert.strictEqual(useEngineIfNothingBound(native), true);
    assert.deepStrictEqual(native.asked, [[folder]]);
  });
  fs.rmSync(folder, { recursive: true });
});

test('a bound library stays, and so does one that lacks entry points', () => {
  for (const text of ['SDK library loaded correctly (a.so)', 'Incorrect SDK library loaded! Number of missing functions: 3. (a.so)', '']) {
    const native = fakeNative(text);
    assert.strictEqual(withEnvironment({}, () => useEngineIfNothingBound(native)), false, text);
    assert.deepStrictEqual(native.asked, [], text);
  }
});

test('a library that somebody named is never replaced', () => {
  for (const name of ['KILN_ENGKIT_BIN', 'KILN_SDK']) {
    const native = fakeNative(NOT_FOUND);
    assert.strictEqual(withEnvironment({ [name]: '/nowhere' }, () => useEngineIfNothingBound(native)), false, name);
    assert.deepStrictEqual(native.asked, [], name);
  }
});

test('without the engine the text of the search stays', () => {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kiln-'));
  const native = fakeNative(NOT_FOUND);
  withEnvironment({ KILN_BUILD_DIR: folder }, () => assert.strictEqual(useEngineIfNothingBound(native), false));
  assert.deepStrictEqual(native.asked, []);
  fs.rmSync(folder, { recursive: true });
});

test('a plain require works with the engine', async () => {
  const result = await runScript('console.log(kiln.getAPIVersion()); console.log(kiln.getSDKLibraryErrorString())');
  assert.strictEqual(result.code, 0, result.stderr);
  const [version, text] = result.stdout.trim().split('\n');
  assert.match(version, /^\d+\.\d\d\.\d\d$/);
  assert.ok(text.startsWith('SDK library loaded correctly') && text.includes(engineFile), text);
});

test('a named folder without a library is reported, not hidden', async () => {
  const script = `console.log(kiln.getSDKLibraryErrorString());
    try { kiln.getAPIVersion(); } catch (error) { console.log(error.message === kiln.getSDKLibraryErrorString()); }`;
  const empty = fs.mkdtempSync(path.join(os.tmpdir(), 'kiln-empty-'));
  const result = await runScript(script, { env: { KILN_ENGKIT_BIN: empty } });
  fs.rmdirSync(empty);
  assert.strictEqual(result.code, 0, result.stderr);
  const [text, same] = result.stdout.trim().split('\n');
  assert.ok(text.startsWith('Error loading SDK Library.'), text);
  assert.strictEqual(same, 'true');
});

test('the engine works in a worker too, alone and beside the main thread', async () => {
  const script = `const { Worker } = require('worker_threads');
    const source = "const kiln = require('./lib/index.js'); require('worker_threads').parentPort.postMessage(kiln.getAPIVersion())";
    const worker = new Worker(source, { eval: true });
    worker.on('message', (version) => console.log(version === kiln.getAPIVersion()));
    worker.on('error', (error) => { console.log(error.message); process.exitCode = 1; });`;
  const result = await runScript(script);
  assert.strictEqual(result.stdout.trim(), 'true', result.stderr);
  assert.strictEqual(result.code, 0);
});

test('a missing add-on is one sentence that says what to do', async () => {
  const result = await runScript('', { env: { KILN_BUILD_DIR: os.tmpdir() } });
  assert.notStrictEqual(result.code, 0);
  assert.match(result.stderr, /Kiln\.node does not exist: build it with "npm run build"/);
});
