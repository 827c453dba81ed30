'use strict';

// getMeta of a class and of an instance.
const test = require('node:test');
const assert = require('assert');
const {
  kiln, recorder, entry, open, newId, pluginOf, classOf, call, assertNothingHeld, closeAtEnd, encodeStream,
} = require('./common');

const util = (name) => `Kiln_PluginUtils_getProperty${name}`;
const KEYS = ['name', 'aliases', 'type', 'defaultValue', 'description', 'deprecation', 'GPUSupport', 'elementsCount'];
const message = 'Argument 0 (propertyName) should be a string or no arguments should be passed';
const DEFINITION = 4096n;

const renderer = open();
const {handle} = recorder.live().handles[0];
const id = newId();
const plugin = pluginOf(renderer, id);
const some = classOf(renderer, 'Some');
recorder.answer(entry('getPluginTypeByID'), 'Some');

function describe() {
  recorder.answer(entry('getPropertyDefinitionFromClass'), {bits: DEFINITION});
  recorder.answer(entry('getPropertyDefinitionByID'), {bits: DEFINITION});
  recorder.answer(util('Name'), 'intensity');
  recorder.answer(util('Aliases'), 'a,b');
  recorder.answer(util('Type'), 1);
  recorder.answer(util('DefaultValue'), {result: 1, out: {stream: encodeStream({type: 'double', value: 2.5})}});
  recorder.answer(util('Description'), 'how bright');
  recorder.answer(util('Deprecation'), 'no more');
  recorder.answer(util('GpuSupport'), 1);
  recorder.answer(util('ElementsCount'), 3);
  recorder.answer(entry('getPropertyElementsCountByID'), 7);
  recorder.answer(entry('getPropertyTypeByID'), 101);
}
describe();

const WHOLE = {
  name: 'intensity', aliases: ['a', 'b'], type: 'float', defaultValue: 2.5, description: 'how bright',
  deprecation: 'no more', GPUSupport: 'Partial', elementsCount: 3,
};
const ofClass = (...args) => {
  const {getMeta} = kiln.Class.prototype;
  return getMeta.apply(some, args);
};
const ofPlugin = (...args) => call(plugin, 'getMeta', ...args);

test('a property of a class has eight keys, in their order', () => {
  recorder.clear();
  const meta = ofClass('intensity');
  assert.deepStrictEqual(meta, WHOLE);
  assert.deepStrictEqual(Object.keys(meta), KEYS);
  assert.deepStrictEqual(recorder.last(entry('getPropertyDefinitionFromClass')).args, [handle, 'Some', 'intensity']);
  for (const name of ['Name', 'Aliases', 'Type', 'Description', 'Deprecation', 'ElementsCount']) {
    assert.deepStrictEqual(recorder.last(util(name)).args, [DEFINITION]);
  }
  assert.deepStrictEqual(recorder.last(util('GpuSupport')).args, [handle, 'Some', DEFINITION]);
  assert.notStrictEqual(ofClass('intensity'), meta);
  for (const key of KEYS) {
    assert.deepStrictEqual(Object.getOwnPropertyDescriptor(meta, key),
      {value: meta[key], writable: true, enumerable: true, configurable: true});
  }
  assertNothingHeld();
});

test('an instance adds its own count and its type at run time, which comes last', () => {
  const meta = ofPlugin('intensity');
  assert.deepStrictEqual(meta, {...WHOLE, elementsCount: 7, runtimeType: 'List<float>'});
  assert.deepStrictEqual(Object.keys(meta), [...KEYS, 'runtimeType']);
  assert.deepStrictEqual(recorder.last(entry('getPropertyDefinitionByID')).args, [handle, id, 'intensity']);
  assert.deepStrictEqual(recorder.last(entry('getPropertyElementsCountByID')).args, [handle, id, 'intensity']);
  assert.deepStrictEqual(recorder.last(entry('getPropertyTypeByID')).args, [handle, id, 'intensity']);
  for (const [own, definition, expected] of [[-1, 3, 3], [0, 3, 0], [5, -1, 5], [-1, -1, undefined]]) {
    recorder.answer(entry('getPropertyElementsCountByID'), own);
    recorder.answer(util('ElementsCount'), definition);
    const one = ofPlugin('intensity');
    assert.strictEqual(one.elementsCount, expected);
    assert.strictEqual('elementsCount' in one, expected !== undefined);
    assert.strictEqual(Object.keys(one).pop(), 'runtimeType');
  }
  describe();
});

test('what is absent', () => {
  for (const name of ['Aliases', 'Description', 'Deprecation']) recorder.answer(util(name), null);
  recorder.answer(util('DefaultValue'), 0);
  recorder.answer(util('ElementsCount'), -1);
  assert.deepStrictEqual(ofClass('x'), {
    name: 'intensity', aliases: [], type: 'float', defaultValue: undefined, description: '', deprecation: null,
    GPUSupport: 'Partial',
  });
  assert.strictEqual('elementsCount' in ofClass('x'), false);
  recorder.answer(util('Aliases'), '');
  recorder.answer(util('Description'), '');
  recorder.answer(util('Deprecation'), '');
  recorder.answer(util('ElementsCount'), 0);
  assert.deepStrictEqual(ofClass('x'), {
    name: 'intensity', aliases: [], type: 'float', defaultValue: undefined, description: '', deprecation: '',
    GPUSupport: 'Partial', elementsCount: 0,
  });
  describe();
});

test('aliases are the pieces between the commas, as they stand', () => {
  for (const [text, expected] of [['a', ['a']], ['a,b,c', ['a', 'b', 'c']], ['a, b ', ['a', ' b ']], [',', ['', '']],
    ['a,,b', ['a', '', 'b']], [',a', ['', 'a']], ['a,', ['a', '']], ['größe,日本', ['größe', '日本']]]) {
    recorder.answer(util('Aliases'), text);
    assert.deepStrictEqual(ofClass('x').aliases, expected);
  }
  describe();
});

test('GPU support has the property\'s own table', () => {
  for (const [code, text] of [[0, 'Full'], [1, 'Partial'], [2, 'None'], [3, 'Unknown'], [-1, 'Unknown']]) {
    recorder.answer(util('GpuSupport'), code);
    assert.strictEqual(ofClass('x').GPUSupport, text);
  }
  describe();
});

test('default values: lists, nothing, and plugins, which no renderer can be told for', () => {
  for (const [value, expected] of [[{type: 'string', value: 'x'}, 'x'], [{type: 'boolean', value: true}, true],
    [{type: 'plugin', value: 77n}, undefined]]) {
    recorder.answer(util('DefaultValue'), {result: 1, out: {stream: encodeStream(value)}});
    const meta = ofPlugin('x');
    assert.strictEqual(meta.defaultValue, expected);
    assert.ok('defaultValue' in meta);
    assertNothingHeld();
  }
  recorder.answer(util('DefaultValue'), {result: 1, out: {stream: null}});
  assert.strictEqual(ofClass('x').defaultValue, undefined);
  recorder.answer(util('DefaultValue'), {result: 0, out: {stream: encodeStream({type: 'int', value: 1})}});
  assert.strictEqual(ofClass('x').defaultValue, undefined);
  assertNothingHeld();
  describe();
});

test('a name that no string can be made of leaves the object empty', () => {
  recorder.answer(util('Name'), null);
  assert.deepStrictEqual(ofClass('x'), {});
  assert.deepStrictEqual(ofPlugin('x'), {});
  describe();
});

test('without an argument there is one object per name, in the SDK\'s order', () => {
  const names = ['b', 'a', '7', '__proto__', 'größe'];
  recorder.answer(entry('getClassPropertyNames'), names);
  recorder.answer(entry('getPropertyNamesByID'), names);
  recorder.clear();
  const all = ofClass();
  assert.deepStrictEqual(Object.keys(all), ['7', 'b', 'a', '__proto__', 'größe']);
  assert.strictEqual(Object.getPrototypeOf(all), Object.prototype);
  assert.deepStrictEqual(all.a, WHOLE);
  assert.deepStrictEqual(recorder.calls(entry('getPropertyDefinitionFromClass')).map((one) => one.args[2]), names);
  const own = ofPlugin();
  assert.deepStrictEqual(own.a, {...WHOLE, elementsCount: 7, runtimeType: 'List<float>'});
  assert.deepStrictEqual(recorder.calls(entry('getPropertyDefinitionByID')).map((one) => one.args[2]), names);
  for (const name of ['getClassPropertyNames', 'getPropertyNamesByID']) recorder.answer(entry(name), []);
  assert.deepStrictEqual([ofClass(), ofPlugin()], [{}, {}]);
  for (const name of ['getClassPropertyNames', 'getPropertyNamesByID']) recorder.answer(entry(name), null);
  assert.deepStrictEqual([ofClass(), ofPlugin()], [undefined, undefined]);
  assertNothingHeld();
});

test('an unknown property is undefined; an argument that is no string is an error', () => {
  recorder.answer(entry('getPropertyDefinitionFromClass'), null);
  recorder.answer(entry('getPropertyDefinitionByID'), null);
  assert.strictEqual(ofClass('unknown'), undefined);
  assert.strictEqual(ofPlugin('unknown'), undefined);
  for (const argument of [5, undefined, null, {}, new String('x'), Symbol('x'), ['x']]) {
    assert.throws(() => ofClass(argument), {name: 'Error', message});
    assert.throws(() => ofPlugin(argument), {name: 'Error', message});
  }
  describe();
});

const TYPES = {
  0: 'int', 1: 'float', 2: 'double', 3: 'boolean', 4: 'Vector', 5: 'Color', 6: 'AColor', 7: 'Matrix', 8: 'Transform',
  9: 'String', 10: 'Plugin', 11: 'Texture', 12: 'List<Object>', 13: 'TextureFloat', 14: 'TextureInt',
  15: 'TextureVector', 16: 'TextureMatrix', 17: 'TextureTransform', 100: 'List<int>', 101: 'List<float>',
  103: 'List<boolean>', 104: 'List<Vector>', 105: 'List<Color>', 109: 'List<String>', 110: 'List<Plugin>',
  111: 'List<Texture>', 113: 'List<TextureFloat>', 116: 'List<TextureMatrix>', 117: 'List<TextureTransform>',
  1000: 'OutputTexture', 1001: 'OutputTextureFloat', 1002: 'OutputTextureInt', 1003: 'OutputTextureVector',
  1004: 'OutputTextureMatrix', 1005: 'OutputTextureTransform', 10000: 'Unspecified',
};

test('every type has its name, and every other code is an Object', () => {
  const codes = [...Array.from({length: 130}, (_, i) => i - 1), 999, 1006, 2000, 9999, 10001, -(2 ** 31)];
  for (const code of [...codes, ...Object.keys(TYPES).map(Number)]) {
    const name = TYPES[code] || 'Object';
    recorder.answer(util('Type'), code);
    recorder.answer(entry('getPropertyTypeByID'), code);
    const meta = ofPlugin('x');
    assert.deepStrictEqual([meta.type, meta.runtimeType], [name, name]);
  }
  describe();
});

closeAtEnd(renderer);
