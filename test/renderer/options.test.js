'use strict';

// The options of a renderer: what each form of the constructor's argument sends, and what `options` reports.

const test = require('node:test');
const assert = require('assert');
const {kiln, recorder, entry, open, collected} = require('./common');

const DEFAULTS = 0x20B;
const BITS = {
  enableFrameBuffer: 0, showFrameBuffer: 1, useDefaultKvwTheme: 3, showKvwButtonInteractiveStart: 4, previewRenderer: 5,
  allowInvalidCharactersInPluginNames: 6, hideToSceneButton: 8, useKvwLog: 9, enableKvwPlugins: 10,
};

// The record that `create` got, or null.
function created(...args) {
  recorder.clear();
  new kiln.KilnRenderer(...args).close();
  const call = recorder.last(entry('create'));
  assert.strictEqual(call.before.error, 0n);
  return call.arg.options && {...call.arg.options, bytes: call.bytes('options')};
}

function reported(record) {
  recorder.once(entry('getRenderOptions'), record);
  const renderer = open();
  const {options} = renderer;
  renderer.close();
  return options;
}

test('no options are a null pointer', () => {
  for (const args of [[], [undefined], [null], [null, {}]]) assert.strictEqual(created(...args), null);
});

test('an object, and anything that is no options, is the record with its defaults', () => {
  const bytes = Buffer.alloc(32);
  bytes.writeUInt32LE(DEFAULTS, 12);
  for (const argument of [{}, [], () => {}, 'x', 'maya', 5, 0, '', true, false, Symbol('x'), 7n]) {
    assert.deepStrictEqual(created(argument).bytes, bytes);
  }
});

test('each flag is set and cleared by any value', () => {
  for (const [key, bit] of Object.entries(BITS)) {
    for (const value of [true, 1, 'no', {}, [], -1]) {
      assert.strictEqual(created({[key]: value}).flags, DEFAULTS | 1 << bit, key);
    }
    for (const value of [false, 0, '', null, undefined, NaN, 0n]) {
      assert.strictEqual(created({[key]: value}).flags, DEFAULTS & ~(1 << bit), key);
    }
  }
  const all = Object.fromEntries(Object.keys(BITS).map((key) => [key, true]));
  assert.strictEqual(created(all).flags, 0x77B);
});

test('unknown keys and the reserved bits have no effect', () => {
  assert.strictEqual(created({flags: 0, enableframebuffer: false, foo: 1}).flags, DEFAULTS);
});

test('texts are converted and copied, null and undefined leave them out', () => {
  for (const key of ['pluginLibraryPath', 'kvwLanguage']) {
    for (const [value, text] of [['größe 日本', 'größe 日本'], ['', ''], [5, '5'], [{toString: () => 'made'}, 'made'],
      [new String('boxed'), 'boxed'], ['x'.repeat(100000), 'x'.repeat(100000)], ['a\ud800', 'a\ufffd']]) {
      assert.strictEqual(created({[key]: value})[key], text);
    }
    for (const value of [null, undefined]) assert.strictEqual(created({[key]: value})[key], null);
    assert.strictEqual(created({[key]: 'x'})[key === 'kvwLanguage' ? 'pluginLibraryPath' : 'kvwLanguage'], null);
  }
});

test('the draw style is a number or one of four names in any case', () => {
  for (const [value, style] of [['standalone', 1], ['3dsmax', 2], ['3dsMaxQt', 3], ['MAYA', 4], ['Maya', 4], ['auto', 0],
    ['nonsense', 0], ['', 0], [null, 0], [undefined, 0], [3, 3], [77, 77], [-1, -1], [2.9, 2], [NaN, 0],
    [2 ** 32 + 1, 1], [true, 0], ['1', 0], [new String('maya'), 4], [{toString: () => 'MaYa'}, 4], [['maya'], 4],
    [Symbol('maya'), 0], ['maya\0', 0], ['mayaa', 0]]) {
    assert.strictEqual(created({kvwDrawStyle: value}).kvwDrawStyle, style, String(value));
  }
});

test('inherited keys count', () => {
  const {flags, kvwLanguage} = created(Object.create({previewRenderer: true, kvwLanguage: 'de'}));
  assert.deepStrictEqual([flags, kvwLanguage], [DEFAULTS | 32, 'de']);
});

test('keys are asked for in their order, and read only when present', () => {
  const seen = [];
  created(new Proxy({}, {
    has(_, key) {
      seen.push(`has ${String(key)}`);
      return key === 'useKvwLog';
    },
    get(_, key) {
      seen.push(`get ${String(key)}`);
      return false;
    },
  }));
  const order = ['pluginLibraryPath', 'kvwDrawStyle', 'enableFrameBuffer', 'showFrameBuffer', 'useDefaultKvwTheme',
    'showKvwButtonInteractiveStart', 'previewRenderer', 'allowInvalidCharactersInPluginNames', 'hideToSceneButton',
    'useKvwLog', 'enableKvwPlugins', 'kvwLanguage'];
  assert.deepStrictEqual(seen.filter((one) => one.startsWith('has')).map((one) => one.slice(4)), order);
  assert.deepStrictEqual(seen.filter((one) => one.startsWith('get')), ['get useKvwLog']);
});

test('a key that throws leaves its field alone', () => {
  const fails = {get: () => { throw new Error('no'); }, enumerable: true};
  const keys = [...Object.keys(BITS), 'pluginLibraryPath', 'kvwLanguage', 'kvwDrawStyle'];
  for (const key of keys) {
    const {flags, kvwDrawStyle, pluginLibraryPath, kvwLanguage} = created(Object.defineProperty({}, key, fails));
    assert.deepStrictEqual([flags, kvwDrawStyle, pluginLibraryPath, kvwLanguage], [DEFAULTS, 0, null, null]);
  }
  const proxy = new Proxy({}, {has() { throw new Error('no'); }});
  assert.strictEqual(created(proxy).flags, DEFAULTS);
  const text = {toString() { throw new Error('no'); }};
  assert.strictEqual(created({pluginLibraryPath: text, kvwLanguage: 'de'}).pluginLibraryPath, null);
  assert.strictEqual(created({pluginLibraryPath: text, kvwLanguage: 'de'}).kvwLanguage, 'de');
});

test('a failed creation throws the SDK\'s text, or a text of its own', () => {
  for (const [error, text, message] of [[3, 'No license', 'No license'], [0, 'No license', 'Instantiation error.'],
    [7, null, 'Instantiation error.']]) {
    recorder.once(entry('create'), {result: null, out: {error: BigInt(error)}}, 3);
    recorder.answer('Kiln_getErrorTextStringFromErrorCode', text);
    recorder.clear();
    for (const make of [() => new kiln.KilnRenderer(), () => kiln.KilnRenderer({}), () => new kiln.KilnRenderer('x')]) {
      assert.throws(make, {name: 'Error', message});
    }
    assert.strictEqual(recorder.names().filter((name) => name.includes('set')).length, 0);
    if (error !== 0) assert.strictEqual(recorder.last('Kiln_getErrorTextStringFromErrorCode').args[0], error);
  }
  recorder.reset();
});

test('a call without new makes the same call with it', () => {
  for (const args of [[], [{previewRenderer: 1}], [5], [null, 1, 2]]) {
    recorder.clear();
    const renderer = kiln.KilnRenderer(...args);
    assert.ok(renderer instanceof kiln.KilnRenderer);
    const bytes = recorder.last(entry('create')).bytes('options');
    renderer.close();
    assert.strictEqual(recorder.count(entry('create')), 1);
    new kiln.KilnRenderer(...args).close();
    assert.deepStrictEqual(recorder.last(entry('create')).bytes('options'), bytes);
  }
});

test('options are reported under their keys in order', () => {
  const keys = ['kvwDrawStyle', ...Object.keys(BITS).filter((key) => key !== 'enableKvwPlugins'), 'pluginLibraryPath',
    'kvwLanguage'];
  const none = reported({flags: 0});
  assert.deepStrictEqual(Object.keys(none), keys);
  assert.deepStrictEqual(none, {
    kvwDrawStyle: 'auto', enableFrameBuffer: false, showFrameBuffer: false, useDefaultKvwTheme: false,
    showKvwButtonInteractiveStart: false, previewRenderer: false, allowInvalidCharactersInPluginNames: false,
    hideToSceneButton: false, useKvwLog: false, pluginLibraryPath: undefined, kvwLanguage: undefined,
  });
  const full = reported({flags: 0xFFFFFFFF, pluginLibraryPath: '/p/größe', kvwLanguage: '', kvwDrawStyle: 2});
  assert.ok(keys.slice(1, -2).every((key) => full[key] === true));
  assert.deepStrictEqual([full.kvwDrawStyle, full.pluginLibraryPath, full.kvwLanguage], ['3dsMax', '/p/größe', '']);
});

test('each bit is reported under its key alone', () => {
  for (const [key, bit] of Object.entries(BITS)) {
    const options = reported({flags: 1 << bit});
    const on = Object.keys(options).filter((one) => options[one] === true);
    assert.deepStrictEqual(on, key === 'enableKvwPlugins' ? [] : [key]);
  }
  for (const bit of [2, 7, 11, 31]) {
    const options = reported({flags: 1 << bit >>> 0});
    assert.ok(Object.values(options).every((value) => value !== true));
  }
});

test('the draw style is reported in its own spelling', () => {
  for (const [style, text] of [[0, 'auto'], [1, 'standalone'], [2, '3dsMax'], [3, '3dsMaxQt'], [4, 'maya'], [5, 'auto'],
    [-1, 'auto'], [0x7FFFFFFF, 'auto'], [-0x80000000, 'auto']]) {
    assert.strictEqual(reported({kvwDrawStyle: style}).kvwDrawStyle, text);
  }
});

test('the reported record is given back as one block, and no record is no options', () => {
  const before = recorder.live().freed;
  reported({flags: 0, kvwLanguage: 'de'});
  assert.strictEqual(recorder.live().freed, before + 1);
  assert.strictEqual(reported(null), undefined);
  const renderer = open();
  recorder.answer(entry('getRenderOptions'), {flags: 3});
  assert.notStrictEqual(renderer.options, renderer.options);
  renderer.options = {flags: 0};
  assert.strictEqual(renderer.options.enableFrameBuffer, true);
  recorder.reset();
  renderer.close();
});

test('what was set comes back in the spelling of the report', () => {
  for (const [style, text] of [['MAYA', 'maya'], ['auto', 'auto'], ['nonsense', 'auto'], ['3DSMAXQT', '3dsMaxQt']]) {
    const {kvwDrawStyle, flags} = created({kvwDrawStyle: style});
    assert.strictEqual(reported({kvwDrawStyle, flags}).kvwDrawStyle, text);
  }
});

test('nothing is left', collected);
