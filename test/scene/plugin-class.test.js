'use strict';

// Class: making plugins, finding them, and what the SDK says about a class.
const test = require('node:test');
const assert = require('assert');
const util = require('util');
const {
  kiln, recorder, entry, open, newId, classOf, pluginOf, call, assertNothingHeld, closeAtEnd, collect, forceGc,
  attributesOf, HIDDEN,
} = require('./common');

const {Class} = kiln;
const IDS = entry('getPluginIDsOfType');
const INSPECT = Symbol.for('nodejs.util.inspect.custom');
const MEMBERS = ['getName', 'getRenderer', 'getMeta', 'getDescription', 'getDeprecation', 'getGPUSupport',
  'getInstances', 'getInstanceOrCreate', 'getCategories', 'toString'];

const renderer = open();
const {handle} = recorder.live().handles[0];
const some = classOf(renderer, 'Some');
const answerIds = (ids) => recorder.once(IDS, {
  result: Buffer.from(new BigUint64Array(ids).buffer), out: {count: ids.length},
});

test('the members are methods of the prototype', () => {
  const own = Object.getOwnPropertyNames(Class.prototype).filter((name) => name !== 'constructor');
  assert.deepStrictEqual(own.sort(), [...MEMBERS].sort());
  for (const name of MEMBERS) {
    const fixed = ['getName', 'getRenderer', 'toString'].includes(name);
    assert.deepStrictEqual(attributesOf(Class.prototype, name), {...HIDDEN, configurable: !fixed}, name);
  }
  assert.deepStrictEqual(attributesOf(Class.prototype, INSPECT), HIDDEN);
  assert.strictEqual(Class.name, 'Class');
  for (const name of [...MEMBERS, INSPECT]) {
    for (const receiver of [{}, undefined, renderer, pluginOf(renderer)]) {
      assert.throws(() => Class.prototype[name].call(receiver), TypeError);
    }
  }
});

test('a class is one object while it is reachable', async () => {
  assert.ok(some instanceof Class);
  recorder.clear();
  for (const step of [() => {}, forceGc]) {
    step();
    assert.strictEqual(renderer.classes.Some, some);
  }
  // It is found without the SDK, whether or not the class is still there.
  assert.deepStrictEqual(recorder.names(), []);
  let weak = (() => new WeakRef(classOf(renderer, 'Fleeting')))();
  await collect(() => weak.deref() === undefined);
  recorder.clear();
  assert.ok(classOf(renderer, 'Fleeting') instanceof Class);
  assert.strictEqual(recorder.count(entry('pluginClassExists')), 1);
  weak = null;
});

test('many classes come and go', async () => {
  for (let round = 0; round < 5; ++round) {
    (() => {
      const classes = [];
      for (let i = 0; i < 500; ++i) classes.push(classOf(renderer, `Class${i}`));
      classes.forEach((one, i) => assert.strictEqual(one.getName(), `Class${i}`));
      for (let i = 0; i < 500; ++i) assert.strictEqual(renderer.classes[`Class${i}`], classes[i]);
    })();
    recorder.reset(entry('pluginClassExists'));
    forceGc();
    await new Promise(setImmediate);
  }
});

test('its name is that which the SDK gave', () => {
  recorder.once(entry('pluginClassExists'), {text: 'größe'});
  const one = renderer.classes.alias;
  assert.strictEqual(one.getName(), 'größe');
  assert.strictEqual(one.toString(), 'größe');
  assert.strictEqual(`${one}`, 'größe');
  assert.strictEqual(one.getRenderer(), renderer);
  assert.strictEqual(renderer.classes['größe'], one);
});

test('a call makes a plugin', () => {
  const name = entry('newPlugin');
  for (const [args, passed] of [[[], null], [['lamp'], 'lamp'], [['lamp', 5], 'lamp'], [[5], '5'],
    [[undefined], 'undefined'], [[null], 'null'], [['größe@|_'], 'größe@|_'], [[''], '']]) {
    const id = newId();
    recorder.once(name, {result: 0, out: {plugin: id}});
    const plugin = some(...args);
    assert.strictEqual(plugin.getIntegerID(), Number(id));
    assert.deepStrictEqual(recorder.last(name).args.slice(0, 4), [handle, passed, 'Some', 1]);
  }
  renderer.autoCommit = false;
  recorder.once(name, {result: 0, out: {plugin: newId()}});
  some();
  assert.strictEqual(recorder.last(name).args[3], 0);
  renderer.autoCommit = true;
  recorder.once(name, {result: 0, out: {plugin: 0n}});
  assert.strictEqual(some(), null);
  const id = newId();
  recorder.once(name, {result: 0, out: {plugin: id}});
  assert.strictEqual(new some('lamp').getIntegerID(), Number(id));
  assert.throws(() => some(Symbol('x')), TypeError);
});

test('a plugin that can\'t be made is an error by the status', () => {
  for (const [status, message] of [[-2, 'Plugin with the same name already exists.'],
    [-3, 'Invalid plugin name. Allowed characters are A-Z a-z 0-9 @ | _'], [-1, 'Plugin creation error'],
    [1, 'Plugin creation error'], [-4, 'Plugin creation error']]) {
    recorder.once(entry('newPlugin'), status);
    assert.throws(() => some('x'), {name: 'Error', message});
    recorder.once(entry('newPlugin'), status);
    assert.throws(() => call(some, 'getInstanceOrCreate', 'x'), {name: 'Error', message});
  }
  assertNothingHeld();
});

test('getInstanceOrCreate takes the last instance, and makes one only when there is none', () => {
  const [a, b] = [newId(), newId()];
  recorder.clear();
  answerIds([a, b]);
  assert.strictEqual(some.getInstanceOrCreate('x'), pluginOf(renderer, b));
  assert.deepStrictEqual(recorder.last(IDS).args.slice(0, 2), [handle, 'Some']);
  assert.strictEqual(recorder.count(entry('newPlugin')), 0);
  for (const [args, passed] of [[['x'], 'x'], [[], null]]) {
    const id = newId();
    recorder.once(entry('newPlugin'), {result: 0, out: {plugin: id}});
    assert.strictEqual(some.getInstanceOrCreate(...args).getIntegerID(), Number(id));
    assert.strictEqual(recorder.last(entry('newPlugin')).args[1], passed);
  }
  assertNothingHeld();
});

test('getInstances is a list in the SDK\'s order', () => {
  const ids = [newId(), newId(), newId()];
  answerIds(ids);
  const list = some.getInstances();
  assert.ok(Array.isArray(list));
  assert.deepStrictEqual(list.map((one) => one.getIntegerID()), ids.map(Number));
  assert.deepStrictEqual(some.getInstances(), []);
  // The walk stays at an ID that is none.
  answerIds([ids[0], 0n, ids[2]]);
  assert.deepStrictEqual(some.getInstances().map((one) => one.getIntegerID()), [Number(ids[0])]);
  assertNothingHeld();
});

test('texts about the class', () => {
  recorder.once(entry('getPluginDescription'), 'what it is');
  assert.strictEqual(some.getDescription(), 'what it is');
  assert.deepStrictEqual(recorder.last(entry('getPluginDescription')).args, [handle, 'Some']);
  recorder.once(entry('getPluginDescription'), '');
  assert.strictEqual(some.getDescription(), '');
  recorder.once(entry('getPluginDescription'), null);
  assert.strictEqual(some.getDescription(), null);
  recorder.once(entry('getPluginDeprecation'), 'use another');
  assert.strictEqual(some.getDeprecation(), 'use another');
  assert.strictEqual(some.getDeprecation(), null);
  assert.deepStrictEqual(recorder.last(entry('getPluginDeprecation')).args, [handle, 'Some']);
  for (const [code, text] of [[0, 'Full'], [1, 'Partial'], [2, 'Bake'], [3, 'None'], [4, 'Unknown'], [-1, 'Unknown']]) {
    recorder.once(entry('getPluginGpuSupport'), code);
    assert.strictEqual(some.getGPUSupport(), text);
  }
  assertNothingHeld();
});

test('getCategories has an object for each bit', () => {
  recorder.answer(entry('getPluginClassCategories'), 0n);
  assert.strictEqual(some.getCategories(), undefined);
  recorder.answer(entry('getPluginClassCategories'), 1n << 16n | 1n << 4n | 1n << 40n | 1n);
  const categories = some.getCategories();
  assert.deepStrictEqual(Object.keys(categories), ['Bitmap', 'Light', 'Volumetric']);
  assert.ok(categories.Light instanceof kiln.Category);
  assert.strictEqual(categories.Light.getName(), 'Light');
  assert.notStrictEqual(some.getCategories().Light, categories.Light);
  recorder.answer(entry('getPluginClassCategories'), 1n << 17n);
  assert.deepStrictEqual(some.getCategories(), {});
  recorder.reset(entry('getPluginClassCategories'));
});

test('a property of the class is its description, and hides a member of its name', () => {
  recorder.once(entry('getPropertyDefinitionFromClass'), {bits: 64n});
  recorder.answer('Kiln_PluginUtils_getPropertyName', 'intensity');
  const meta = some.intensity;
  assert.strictEqual(meta.name, 'intensity');
  assert.deepStrictEqual(recorder.last(entry('getPropertyDefinitionFromClass')).args, [handle, 'Some', 'intensity']);
  recorder.once(entry('getPropertyDefinitionFromClass'), {bits: 64n});
  assert.strictEqual(some.getMeta.name, 'intensity');
  recorder.reset('Kiln_PluginUtils_getPropertyName');
  assert.strictEqual(typeof some.getMeta, 'function');
  assert.strictEqual(some.unknown, undefined);
  recorder.once(entry('getClassPropertyNames'), ['b', 'a']);
  assert.deepStrictEqual(Object.keys(some), ['b', 'a']);
  assert.deepStrictEqual(recorder.last(entry('getClassPropertyNames')).args, [handle, 'Some']);
  recorder.once(entry('getClassPropertyNames'), null);
  assert.deepStrictEqual(Object.keys(some), []);
  assertNothingHeld();
});

test('the inspection is a text below the surface', () => {
  assert.strictEqual(some[INSPECT](1), 'Class Some');
  assert.strictEqual(some[INSPECT](), 'Class Some');
  assert.strictEqual(some[INSPECT](2), some);
  assert.strictEqual(some[INSPECT](null), some);
  util.inspect(some);
});

test('an object that JavaScript makes has empty fields', () => {
  const made = new Class();
  for (const name of MEMBERS) {
    const expected = ['getDescription', 'getDeprecation'].includes(name) ? null : undefined;
    assert.strictEqual(made[name]('x'), expected, name);
  }
  assert.strictEqual(made('x'), undefined);
  assert.deepStrictEqual(Object.keys(made), []);
  made[INSPECT](0);
});

test('a closed renderer answers nothing', () => {
  const other = open();
  const one = classOf(other, 'Some');
  other.close();
  recorder.clear();
  for (const name of MEMBERS) {
    if (name === 'getRenderer') continue;
    const expected = ['getDescription', 'getDeprecation'].includes(name) ? null : undefined;
    assert.strictEqual(one[name](5), expected, name);
  }
  assert.strictEqual(one.getRenderer(), other);
  assert.deepStrictEqual(Object.keys(one), []);
  assert.deepStrictEqual(recorder.names(), []);
  assert.strictEqual(other.classes.Some, undefined);
  assert.strictEqual(one[INSPECT](0), 'Class Some');
  // Making a plugin is left to the SDK to refuse.
  recorder.once(entry('newPlugin'), -1);
  assert.throws(() => one('x'), /^Error: Plugin creation error$/);
  assert.strictEqual(recorder.last(entry('newPlugin')).args[0], 0n);
});

closeAtEnd(renderer);
