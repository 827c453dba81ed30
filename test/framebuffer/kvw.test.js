'use strict';

// renderer.kvw: what crosses to the SDK, member by member.
const test = require('node:test');
const assert = require('assert');
const {kiln, recorder, entry, open, collected} = require('../renderer/common');
const {forceGc} = require('../helpers');

const renderer = open();
const {handle} = recorder.live().handles[0];
const {kvw} = renderer;
const fails = {valueOf() { throw new RangeError('mine'); }, toString() { throw new RangeError('mine'); }};
const descriptor = (object, name) => {
  const {writable, enumerable, configurable} = Object.getOwnPropertyDescriptor(object, name);
  return [writable, enumerable, configurable];
};

// The arguments of the calls behind the handle that `work` makes; the calls are those of the one entry point.
function calls(name, work) {
  recorder.clear();
  work();
  assert.deepStrictEqual([...new Set(recorder.names())], [entry(name)]);
  return recorder.calls(entry(name)).map(({args}) => {
    assert.strictEqual(args[0], handle);
    return args.slice(1);
  });
}

function untouched(work) {
  recorder.clear();
  work();
  assert.deepStrictEqual(recorder.names(), []);
}

const FUNCTIONS = ['getState', 'setState', 'resetState', 'getPersistentState', 'setPersistentState', 'getSettings', 'setSettings',
  'getLayers', 'setLayers', 'loadColorCorrectionsPreset', 'saveColorCorrectionsPreset', 'setTitlePrefix', 'setProjectPath',
  'fillSettingsKVW', 'applySettingsKVW', 'loadImage', 'loadImageSync', 'enableProgressBar', 'setProgressText', 'setProgressValue',
  'setProgressTextAndValue', 'saveImage', 'saveImageSync', 'clearImage', 'logMessage'];
const ACCESSORS = ['shown', 'interactivity', 'position', 'size', 'alwaysOnTop', 'confirmClearImage'];

test('members, their order and attributes', () => {
  assert.deepStrictEqual(descriptor(renderer, 'kvw'), [false, true, true]);
  assert.deepStrictEqual(Object.keys(kvw), [...ACCESSORS, ...FUNCTIONS]);
  for (const name of FUNCTIONS) {
    assert.deepStrictEqual(descriptor(kvw, name), [false, true, false], name);
    assert.strictEqual(kvw[name].name, name);
  }
  for (const name of ACCESSORS) assert.deepStrictEqual(descriptor(kvw, name).slice(1), [true, false], name);
  assert.deepStrictEqual(descriptor(kvw, '_renderer'), [false, false, false]);
  assert.strictEqual(kvw._renderer, renderer);
  assert.strictEqual(Object.getPrototypeOf(kvw), Object.prototype);
});

for (const [name, getter, setter] of [
  ['shown', 'isFrameBufferShown', 'showFrameBuffer'],
  ['interactivity', 'isKVWInteractivityEnabled', 'enableKVWInteractivity'],
  ['alwaysOnTop', null, 'setKvwAlwaysOnTop'],
  ['confirmClearImage', 'isKVWConfirmationEnabled', 'enableKVWConfirmation'],
]) {
  test(name, () => {
    for (const [result, expected] of [[1, true], [0, false], [-1, true]]) {
      if (!getter) break;
      recorder.once(entry(getter), result);
      assert.strictEqual(kvw[name], expected);
    }
    const rest = name === 'shown' ? [0] : [];
    for (const [value, word] of [[true, 1], [false, 0], ['x', 1], [null, 0], [{}, 1]]) {
      assert.deepStrictEqual(calls(setter, () => { kvw[name] = value; }), [[word, ...rest]]);
    }
    if (!getter) assert.strictEqual(kvw[name], undefined);
  });
}

for (const [name, keys, others] of [['position', ['x', 'y'], ['width', 'height']], ['size', ['width', 'height'], ['x', 'y']]]) {
  const GET = entry('getKvwPositionAndSize');
  const SET = entry('setKvwPositionAndSize');
  const rect = {x: 1, y: -2, width: 3, height: 4};
  const answer = (times = 1) => recorder.once(GET, {result: 1, out: {rect}}, times);

  test(`${name} reads its two fields`, () => {
    answer();
    assert.deepStrictEqual(kvw[name], Object.fromEntries(keys.map((key) => [key, rect[key]])));
    recorder.once(GET, 0);
    assert.strictEqual(kvw[name], undefined);
  });

  test(`writing ${name} keeps the other two`, () => {
    answer();
    kvw[name] = {[keys[0]]: 100.9, [keys[1]]: '200', [others[0]]: 5};
    assert.deepStrictEqual(recorder.last(SET).args[1], {...rect, [keys[0]]: 100, [keys[1]]: 200});
    answer();
    kvw[name] = Object.create({[keys[0]]: 7});
    assert.deepStrictEqual(recorder.last(SET).args[1], {...rect, [keys[0]]: 7, [keys[1]]: 0});
  });

  test(`what can't be read leaves ${name} alone`, () => {
    recorder.clear();
    recorder.once(GET, 0);
    kvw[name] = {};
    answer(4);
    for (const value of [null, undefined]) assert.throws(() => { kvw[name] = value; }, TypeError);
    assert.throws(() => { kvw[name] = {[keys[0]]: fails}; }, RangeError);
    assert.throws(() => { kvw[name] = {get [keys[1]]() { throw new RangeError('mine'); }}; }, RangeError);
    assert.strictEqual(recorder.count(SET), 0);
  });
}

for (const [name, getter, setter, kinds] of [
  ['State', 'getKvwState', 'setKvwState', true], ['PersistentState', 'getKvwPersistentState', 'setKvwPersistentState', false],
]) {
  test(`get${name} adopts the block`, async () => {
    recorder.once(entry(getter), {result: 3n, out: {state: Buffer.from('abc')}});
    assert.strictEqual(kvw[`get${name}`]().toString(), 'abc');
    for (const [size, state] of [[0n, Buffer.from('abc')], [3n, null], [0n, null]]) {
      recorder.once(entry(getter), {result: size, out: {state}});
      assert.strictEqual(kvw[`get${name}`](), undefined);
    }
    for (let i = 0; i < 100 && recorder.live().blocks.length > 0; ++i) {
      forceGc();
      await new Promise(setImmediate);
    }
    assert.strictEqual(recorder.live().blocks.length, 0);
  });

  test(`set${name} takes a Buffer and nothing else`, () => {
    const [args] = calls(setter, () => kvw[`set${name}`](Buffer.from('state'), 'main'));
    assert.strictEqual(recorder.last(entry(setter)).bytes('state').toString(), 'state');
    assert.strictEqual(args[1], 5n);
    if (kinds) assert.strictEqual(args[2], 1);
    for (const value of [5, 'text', {}, null, undefined]) untouched(() => kvw[`set${name}`](value));
  });
}

test('the kinds of state', () => {
  for (const [args, kind] of [[['main'], 1], [['MAIN'], 1], [['history'], 2], [['History'], 2], [['other'], -1], [[], -1], [[5], -1],
    [[undefined], -1]]) {
    recorder.once(entry('getKvwState'), 0n);
    assert.strictEqual(calls('getKvwState', () => kvw.getState(...args))[0][1], kind);
    assert.strictEqual(calls('setKvwState', () => kvw.setState(Buffer.alloc(1), ...args))[0][2], kind);
  }
  untouched(() => assert.throws(() => kvw.getState(fails), RangeError));
  untouched(() => assert.throws(() => kvw.setState(Buffer.alloc(1), fails), RangeError));
});

for (const name of ['Settings', 'Layers']) {
  const GET = entry(`getKvw${name}`);
  const SET = entry(`setKvw${name}`);

  test(`get${name} parses the document and lets the SDK's text go`, () => {
    recorder.clear();
    recorder.once(GET, {text: '{"größe": [1, 2]}'});
    assert.deepStrictEqual(kvw[`get${name}`](), {größe: [1, 2]});
    assert.deepStrictEqual(recorder.names(), [GET, GET]);
    recorder.once(GET, {result: null});
    assert.strictEqual(kvw[`get${name}`](), undefined);
    recorder.once(GET, {text: 'no json'});
    assert.throws(() => kvw[`get${name}`](), SyntaxError);
  });

  test(`set${name} hands an object over as a document`, () => {
    for (const [result, expected] of [[0, true], [1, false], [-1, false]]) {
      recorder.once(SET, result);
      assert.strictEqual(kvw[`set${name}`]({größe: [1]}), expected);
      assert.strictEqual(recorder.last(SET).args[1], '{"größe":[1]}');
    }
    const cycle = {};
    cycle.self = cycle;
    untouched(() => {
      for (const value of ['text', 5, null, undefined, cycle, {toJSON() { throw new Error('no'); }}]) {
        assert.strictEqual(kvw[`set${name}`](value), false);
      }
    });
  });
}

test('members with a text', () => {
  for (const [member, name] of [['loadColorCorrectionsPreset', 'loadKvwColorCorrectionsPreset'],
    ['saveColorCorrectionsPreset', 'saveKvwColorCorrectionsPreset'], ['setTitlePrefix', 'setKvwTitlePrefix'],
    ['setProjectPath', 'setKvwProjectPath'], ['loadImageSync', 'loadKvwImage']]) {
    for (const [result, expected] of [[1, true], [0, false], [-1, true]]) {
      recorder.once(entry(name), result);
      assert.strictEqual(kvw[member]('größe'), expected);
      assert.deepStrictEqual(recorder.last(entry(name)).args, [handle, 'größe']);
    }
    assert.deepStrictEqual(calls(name, () => kvw[member]()), [['undefined']]);
    untouched(() => assert.throws(() => kvw[member](fails), RangeError));
  }
  assert.deepStrictEqual(calls('setKvwProgressText', () => assert.strictEqual(kvw.setProgressText(5), undefined)), [['5']]);
});

test('members without an argument', () => {
  assert.deepStrictEqual(calls('resetKvwState', () => assert.strictEqual(kvw.resetState(), undefined)), [[]]);
  assert.deepStrictEqual(calls('clearKvwImage', () => assert.strictEqual(kvw.clearImage(), undefined)), [[]]);
  for (const [result, expected] of [[1, true], [0, false]]) {
    recorder.once(entry('applySettingsKVW'), result);
    assert.strictEqual(kvw.applySettingsKVW(), expected);
  }
});

test('fillSettingsKVW says whether edits are committed', () => {
  for (const [autoCommit, word] of [[true, 1], [false, 0]]) {
    renderer.autoCommit = autoCommit;
    assert.deepStrictEqual(calls('fillSettingsKVW', () => kvw.fillSettingsKVW('file')), [['file', word]]);
    assert.deepStrictEqual(calls('fillSettingsKVW', () => kvw.fillSettingsKVW()), [[null, word]]);
  }
  recorder.once(entry('fillSettingsKVW'), 1);
  assert.strictEqual(kvw.fillSettingsKVW(), true);
  untouched(() => assert.throws(() => kvw.fillSettingsKVW(fails), RangeError));
});

test('the progress bar', () => {
  for (const [args, word] of [[[], 1], [[true], 1], [[false], 0], [[undefined], 0]]) {
    assert.deepStrictEqual(calls('enableKvwProgressBar', () => kvw.enableProgressBar(...args)), [[word]]);
  }
  for (const [args, value] of [[[], -1], [[0.5], 0.5], [['0.25'], 0.25], [[undefined], NaN]]) {
    assert.deepStrictEqual(calls('setKvwProgressValue', () => kvw.setProgressValue(...args)), [[value]]);
  }
  untouched(() => assert.throws(() => kvw.setProgressValue(fails), RangeError));
  for (const args of [['a', 0.5], [0.5, 'a'], ['x', 3, 'a', 0.5], [{}, 0.5, null, 'a']]) {
    assert.deepStrictEqual(calls('setKvwProgressTextAndValue', () => kvw.setProgressTextAndValue(...args)), [['a', 0.5]]);
  }
  const message = 'Expected exactly 2 arguments - a string and a number between 0 and 1';
  untouched(() => {
    for (const args of [[], ['a'], [5], [new String('a'), 5]]) {
      assert.throws(() => kvw.setProgressTextAndValue(...args), {name: 'Error', message});
    }
  });
});

test('logMessage', () => {
  for (const [args, level] of [[[1, 'b'], 1], [['b', 3], 3], [[1, 'a', 'b'], 1], [[0, 'b', 2], 2], [[3.9, 'b'], 3], [[-0.5, 'b'], 0]]) {
    assert.deepStrictEqual(calls('logKvwMessage', () => kvw.logMessage(...args)), [[level, 'b']]);
  }
  untouched(() => {
    for (const args of [[4, 'a'], ['a', -1], [-1], [1, 'a', 4]]) {
      assert.throws(() => kvw.logMessage(...args), {name: 'Error', message: 'Log level must be one of kiln.LOGLEVEL_* constants.'});
    }
    for (const args of [[], ['a'], [1], ['1', 'a']]) {
      assert.throws(() => kvw.logMessage(...args), {name: 'Error', message: 'Expected exactly 2 arguments - a log level and a string'});
    }
  });
});

const done = (start) => new Promise((resolve) => start(function (...args) { resolve([this, ...args]); }));

test('loadImage reports to its callback', async () => {
  const LOAD = entry('loadKvwImage');
  for (const args of [(callback) => ['file', callback], (callback) => [callback, 'file'], (callback) => ['x', 5, 'file', () => {}, callback]]) {
    recorder.once(LOAD, 1);
    const [self, ...rest] = await done((callback) => kvw.loadImage(...args(callback)));
    assert.strictEqual(self, renderer);
    assert.deepStrictEqual(rest, [null]);
    const call = recorder.last(LOAD);
    assert.deepStrictEqual([call.args, call.onJsThread], [[handle, 'file'], false]);
  }
  recorder.once(LOAD, 0);
  const [, error] = await done((callback) => kvw.loadImage('file', callback));
  assert.strictEqual(error.message, 'Error loading image.');
  untouched(() => assert.throws(() => kvw.loadImage(() => {}), {name: 'Error', message: 'A file name (string) should be passed'}));
});

const SAVE = entry('saveKvwToFile');

test('saveImage reports to its callback', async () => {
  for (const args of [(callback) => ['file', callback], (callback) => ['file', null, callback], (callback) => ['file', undefined, callback],
    (callback) => ['file', callback, () => assert.fail()]]) {
    recorder.once(SAVE, 0);
    const [self, ...rest] = await done((callback) => kvw.saveImage(...args(callback)));
    assert.strictEqual(self, renderer);
    assert.deepStrictEqual(rest, [null]);
    const call = recorder.last(SAVE);
    assert.deepStrictEqual([call.args, call.onJsThread], [[handle, 'file', null], false]);
  }
  recorder.once(SAVE, 1);
  const [, error] = await done((callback) => kvw.saveImage('file', {}, callback));
  assert.strictEqual(error.message, 'Error saving image to file');
  assert.deepStrictEqual(recorder.last(SAVE).args[2], {flags: 0, compressionType: 0, bitsPerChannel: 32});
});

test('saveImageSync gives whether it was saved', () => {
  for (const [result, expected] of [[0, true], [1, false]]) {
    recorder.once(SAVE, result);
    assert.strictEqual(kvw.saveImageSync('file'), expected);
    assert.deepStrictEqual(recorder.last(SAVE).args, [handle, 'file', null]);
  }
});

test('a name that is no string', () => {
  for (const member of ['saveImage', 'saveImageSync']) {
    for (const args of [[], [5], [null], [new String('a')]]) {
      untouched(() => assert.throws(() => kvw[member](...args), {name: 'Error', message: 'Argument 0 (fileName: string) should be passed'}));
    }
  }
});

const saved = (options) => {
  kvw.saveImageSync('file', options);
  return recorder.last(SAVE).args[2];
};

test('every key of the options', () => {
  ['multipleFiles', 'skipAlpha', 'frameNumber', 'noAlpha', 'singleChannel', 'skipRGB', 'writeIntegerIDs', 'velocityZeroBased',
    'multiChannel', 'applyColorCorrections'].forEach((key, bit) => {
    for (const [value, flags] of [[true, 1 << bit], ['x', 1 << bit], [false, 0], [null, 0], [undefined, 0]]) {
      assert.deepStrictEqual(saved({[key]: value}), {flags, compressionType: 0, bitsPerChannel: 32});
    }
    assert.strictEqual(saved(Object.create({[key]: 1})).flags, 1 << bit);
  });
  assert.strictEqual(saved({bitsPerChannel: '16'}).bitsPerChannel, 16);
  assert.strictEqual(saved({bitsPerChannel: undefined}).bitsPerChannel, 0);
  assert.deepStrictEqual(saved(5), {flags: 0, compressionType: 0, bitsPerChannel: 32});
});

test('every compression', () => {
  for (const [value, names] of [[1, ['noCompression', 'NO_COMPRESSION']], [2, ['runLength', 'RUN_LENGTH']],
    [3, ['zipScanline', 'ZIP_SCANLINE']], [4, ['zipBlock', 'ZIP_BLOCK', 'zip_block']], [5, ['PIZ', 'piz']], [6, ['PXR24']], [7, ['b44']],
    [8, ['b44a']], [9, ['dwaa']], [10, ['dwab', 'DWAB']], [0, ['other', '', null, undefined, {}]], [77, [77, 77.9]]]) {
    for (const name of names) assert.strictEqual(saved({compressionType: name}).compressionType, value, String(name));
  }
});

test('an option that can\'t be read ends the call', async () => {
  for (const options of [{bitsPerChannel: fails}, {compressionType: fails}, {compressionType: Symbol('x')}, {get skipAlpha() { throw new TypeError(); }},
    new Proxy({}, {has() { throw new TypeError(); }})]) {
    untouched(() => assert.throws(() => kvw.saveImageSync('file', options), Error));
    untouched(() => assert.throws(() => kvw.saveImage('file', options, () => assert.fail()), Error));
  }
  const read = [];
  const options = new Proxy({bitsPerChannel: fails, compressionType: 1}, {get(target, key) { read.push(key); return target[key]; }});
  assert.throws(() => kvw.saveImageSync('file', options), RangeError);
  assert.deepStrictEqual(read, ['bitsPerChannel']);
});

test('a job keeps the renderer', async () => {
  const gate = recorder.gate('save');
  recorder.once(SAVE, {result: 0, gate});
  const ended = done((callback) => { new kiln.KilnRenderer().kvw.saveImage('file', callback); });
  forceGc();
  gate.open();
  await ended;
  await new Promise(setImmediate);
});

test('a foreign object is refused', () => {
  for (const receiver of [{}, renderer, null, 5]) {
    assert.throws(() => kvw.clearImage.call(receiver), TypeError);
    assert.throws(() => kvw.saveImageSync.call({_renderer: {}}, 'file'), TypeError);
  }
  recorder.clear();
  kvw.clearImage.call({_renderer: renderer});
  assert.strictEqual(recorder.last(entry('clearKvwImage')).args[0], handle);
  assert.throws(() => kvw.clearImage.call({get _renderer() { throw new RangeError('mine'); }}), RangeError);
});

test('after close the SDK gets no handle', async () => {
  renderer.close();
  recorder.clear();
  kvw.clearImage();
  kvw.shown = true;
  kvw.setTitlePrefix('a');
  for (const name of recorder.names()) assert.strictEqual(recorder.last(name).args[0], 0n);
  await collected();
});
