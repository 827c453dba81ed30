'use strict';

// Finding, binding and swapping the SDK library.
const test = require('node:test');
const assert = require('assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const {loadNative, recorder, runChild, paths, makeBrokenLibraries} = require('../helpers');

const missing = require('../recorder/missing.json').names;

const kiln = loadNative();
const {libraryName} = paths;
const temporary = fs.mkdtempSync(path.join(os.tmpdir(), 'kiln-library-'));
process.on('exit', () => fs.rmSync(temporary, {recursive: true, force: true}));

const bindRecorder = () => assert.strictEqual(kiln.setSDKLibraryPath(paths.recorderDir, true), true);

test('a library in the directory of KILN_ENGKIT_BIN is bound at require', () => {
  assert.strictEqual(kiln.getSDKLibraryErrorString(), `SDK library loaded correctly (${paths.recorderLibrary})`);
  assert.deepStrictEqual(kiln.getSDKLibraryMissingFunctions(), []);
  assert.strictEqual(recorder.count('Kiln_incrementModuleReferenceCounter'), 1);
});

test('KILN_SDK names the folder above bin, and comes second', async () => {
  const root = path.join(temporary, 'root');
  fs.mkdirSync(path.join(root, 'bin'), {recursive: true});
  for (const file of fs.readdirSync(paths.recorderDir)) {
    fs.copyFileSync(path.join(paths.recorderDir, file), path.join(root, 'bin', file));
  }
  const env = {KILN_SDK: `${root}//`, KILN_ENGKIT_BIN: path.join(temporary, 'nothing')};
  const child = await runChild(({paths: {native}}) => console.log(require(native).getSDKLibraryErrorString()), {env});
  assert.strictEqual(child.stdout.trim(), `SDK library loaded correctly (${root}/bin/${libraryName})`);
});

test('KILN_ENGKIT_BIN comes first, and a partial library does not end the search', async () => {
  const search = (env) => runChild(({paths: {native}}) => console.log(require(native).getSDKLibraryErrorString()), {env});
  const both = await search({KILN_ENGKIT_BIN: `${paths.recorderDir}\\/`, KILN_SDK: path.join(temporary, 'root')});
  assert.strictEqual(both.stdout.trim(), `SDK library loaded correctly (${paths.recorderLibrary})`);
  const second = await search({KILN_ENGKIT_BIN: paths.partialDir, KILN_SDK: path.join(temporary, 'root')});
  const root = path.join(temporary, 'root', 'bin', libraryName);
  assert.strictEqual(second.stdout.trim(), `SDK library loaded correctly (${root})`);
  // Neither directory is left behind for the last step, which asks the system.
  const neither = await search({KILN_ENGKIT_BIN: paths.partialDir, KILN_SDK: path.join(temporary, 'nothing')});
  assert.match(neither.stdout.trim(), /^Error loading SDK Library\. \[.+\] \(libKilnSDKLibrary\.(so|dylib)\)$/);
});

test('without a library require works, every export exists, and a call says why it fails', async () => {
  const child = await runChild(({paths: {native}}) => {
    const k = require(native);
    const text = k.getSDKLibraryErrorString();
    const calls = ['getAPIVersion', 'getKilnVersion', 'getKilnVersionDetails', 'getMaterialLibraryPath', 'isDR2',
      'createKilnRenderer', 'createKilnServer', 'enableFrameBuffer', 'encodeScannedMaterialParams', 'setEnvVar',
      'getEnvVar', 'checkDRHost', 'checkDRHostSync'].map((name) => () => k[name]());
    const color = new k.Color(1, 1, 1);
    calls.push(() => new k.KilnRenderer(), () => new k.KilnServer(), () => new k.ScannedMaterialInfo(),
      () => new k.KilnImage(4, 4), () => k.KilnImage.createFromBuffer(), () => k.KilnImage.createFromBufferSync(),
      () => k.Color.fromTemperature(), () => k.Color.getRGBToRGBMatrix(), () => color.getClosestTemperature('x'),
      () => color.getClosestTemperatureAndColor('x'));
    for (const call of calls) {
      try {
        call();
        console.log('no error');
      } catch (error) {
        console.log(error.constructor === Error && error.message === text);
      }
    }
    console.log(text);
  }, {env: {KILN_ENGKIT_BIN: undefined, KILN_SDK: undefined}});
  const lines = child.stdout.trim().split('\n');
  assert.deepStrictEqual(lines.slice(0, -1), Array(23).fill('true'), child.stdout + child.stderr);
  assert.match(lines[23], /^Error loading SDK Library\. \[.*libKilnSDKLibrary.*\] \(libKilnSDKLibrary\.(so|dylib)\)$/);
});

test('a partial library is refused with the count and the names, in sweep order', () => {
  assert.strictEqual(kiln.setSDKLibraryPath(paths.partialDir), false);
  const names = kiln.getSDKLibraryMissingFunctions();
  const order = recorder.rows.map((row) => row.name).filter((name) => names.includes(name));
  assert.deepStrictEqual(names, order);
  assert.deepStrictEqual([...names].sort(), [...missing].sort());
  const text = kiln.getSDKLibraryErrorString();
  assert(text.startsWith(`Incorrect SDK library loaded! Number of missing functions: ${names.length}. [`), text);
  assert(text.endsWith(`] (${path.join(paths.partialDir, libraryName)})`), text);
  assert.throws(() => kiln.getAPIVersion(), new RegExp('Incorrect SDK library loaded!'));
  bindRecorder();
});

test('a partial library is used when it is forced, and a missing entry point answers nothing', () => {
  assert.strictEqual(kiln.setSDKLibraryPath(paths.partialDir, true), false);
  assert.doesNotThrow(() => kiln.getAPIVersion());
  bindRecorder();
});

test('setSDKLibraryPath wants a path', () => {
  assert.throws(() => kiln.setSDKLibraryPath(), {name: 'Error', message: 'Argument 0 (path: string) should be passed'});
});

test('with a second argument other than true nothing is loaded until the first guarded call', () => {
  for (const load of [false, 1, 'true', undefined, {}]) {
    assert.strictEqual(kiln.setSDKLibraryPath(path.join(temporary, 'nowhere'), load), true);
    assert.throws(() => kiln.getAPIVersion(), /^Error: Error loading SDK Library\. \[.*nowhere/);
  }
  bindRecorder();
});

test('trailing slashes of every kind are stripped, and an empty path is the default', () => {
  assert.strictEqual(kiln.setSDKLibraryPath(`${paths.recorderDir}/\\//\\`), true);
  assert.strictEqual(kiln.getSDKLibraryErrorString(), `SDK library loaded correctly (${paths.recorderLibrary})`);
  for (const nothing of ['', '///', '\\/', null, undefined]) {
    assert.strictEqual(kiln.setSDKLibraryPath(nothing), false);
    assert(kiln.getSDKLibraryErrorString().endsWith(`(${libraryName})`));
  }
  bindRecorder();
});

test('a path that throws when it is converted changes nothing else', () => {
  const path = {toString() { throw new RangeError('no text'); }};
  assert.throws(() => kiln.setSDKLibraryPath(path), RangeError);
  assert.strictEqual(kiln.setSDKLibraryPath(paths.recorderDir), true);
});

test('the library can not be swapped under a live renderer, unless the caller says so', () => {
  const renderer = new kiln.KilnRenderer();
  assert.throws(() => kiln.setSDKLibraryPath(paths.recorderDir), {
    name: 'Error', message: 'Cannot set a new path now. SDKLibrary is currently being used.',
  });
  renderer.close();
  assert.strictEqual(kiln.setSDKLibraryPath(paths.recorderDir), true);
  const second = new kiln.KilnRenderer();
  bindRecorder();
  second.close();
});

test('close forgets the library, the text and the path, twice as well as once', () => {
  kiln.close();
  kiln.close();
  assert.strictEqual(kiln.getSDKLibraryErrorString(), '');
  assert.deepStrictEqual(kiln.getSDKLibraryMissingFunctions(), []);
  assert.throws(() => kiln.getAPIVersion(), (error) => error.message.endsWith(`(${libraryName})`));
  bindRecorder();
});

test('objects of a library that is gone are closed, collected and left at the end without it', async () => {
  const runs = {
    close: (k, helpers, objects) => objects().forEach((one) => one.close()),
    callback: async (k, helpers, objects) => {
      const [renderer, server] = objects();
      for (const one of [renderer, server]) await new Promise((resolve) => one.close(resolve));
    },
    collect: async (k, helpers, objects) => {
      (() => objects())();
      for (let i = 0; i < 3; i++) {
        await helpers.sleep(1);
        helpers.forceGc();
      }
    },
    exit: (k, helpers, objects) => {
      globalThis.kept = objects();
      setTimeout(() => process.exit(), 1);
    },
    // The next library knows nothing of the handles of this one.
    reload: (k, helpers, objects) => {
      const made = objects();
      k.setSDKLibraryPath(helpers.paths.recorderDir, true);
      made.forEach((one) => one.close());
      helpers.recorder.check();
    },
  };
  for (const [name, run] of Object.entries(runs)) {
    const child = await runChild((helpers, source) => {
      const k = helpers.loadNative();
      k.enableFrameBuffer(false);
      return eval(source)(k, helpers, () => {
        const made = [new k.KilnRenderer(), new k.KilnServer(), new k.ScannedMaterialInfo('a')];
        k.close();
        return made;
      });
    }, {args: [String(run)]});
    assert.deepStrictEqual([child.code, child.signal, child.stderr], [0, null, ''], name);
  }
});

test('what is no library, or only a part of one, is an error and never a signal', async () => {
  const broken = makeBrokenLibraries(path.join(temporary, 'broken'));
  assert(broken.length >= 10);
  for (const {name, directory} of broken) {
    assert.strictEqual(kiln.setSDKLibraryPath(directory), false, name);
    assert.match(kiln.getSDKLibraryErrorString(), /^Error loading SDK Library\. \[.+\] \(.+\)$/);
  }
  bindRecorder();
});
