'use strict';

// renderer.plugins: a live view of the scene by name, iterable, and callable for a view of one class.
const test = require('node:test');
const assert = require('assert');
const {
  kiln, recorder, entry, open, newId, pluginOf, refOf, call, assertNothingHeld, closeAtEnd, collect, attributesOf,
} = require('./common');

const NONE = 2n ** 64n - 1n;
const IDS = entry('getPluginIDsOfType');
const STORE = entry('setPropertyBytesValueAtTime');
const DIRECT = 0xFFFFFFFFFFFFFFFFn;

const renderer = open();
const {handle} = recorder.live().handles[0];
const {plugins} = renderer;
recorder.answer(entry('getPluginID'), NONE);
recorder.answer(entry('pluginClassExists'), {text: 'Some'});

const block = (ids) => Buffer.from(new BigUint64Array(ids).buffer);
const answerIds = (ids) => recorder.once(IDS, {result: block(ids), out: {count: ids.length}});

test('it is a property of the renderer that nobody can replace', () => {
  assert.deepStrictEqual(attributesOf(renderer, 'plugins'), {writable: false, enumerable: true, configurable: true});
  const own = Object.getOwnPropertyNames(renderer);
  assert.deepStrictEqual(own.filter((name) => ['plugins', 'classes', 'classCategories'].includes(name)),
    ['plugins', 'classes', 'classCategories']);
  assert.throws(() => { renderer.plugins = 5; }, TypeError);
  assert.strictEqual(typeof plugins, 'function');
  const length = Object.getOwnPropertyDescriptor(plugins, 'length');
  assert.deepStrictEqual([length.enumerable, length.configurable], [false, false]);
  const values = Object.getOwnPropertyDescriptor(plugins, Symbol.iterator);
  assert.strictEqual(values.enumerable, false);
  assert.strictEqual(values.value.name, 'values');
});

test('a name gives its plugin', () => {
  const id = newId();
  recorder.once(entry('getPluginID'), id);
  const plugin = plugins.lamp;
  assert.deepStrictEqual(recorder.last(entry('getPluginID')).args, [handle, 'lamp']);
  assert.strictEqual(plugin.getIntegerID(), Number(id));
  recorder.once(entry('getPluginID'), id);
  assert.strictEqual(plugins['größe@|_'], plugin);
  assert.strictEqual(recorder.last(entry('getPluginID')).args[1], 'größe@|_');
});

test('an unknown name gives what the normal lookup gives', () => {
  assert.strictEqual(plugins.unknown, undefined);
  assert.strictEqual('unknown' in plugins, false);
  assert.strictEqual(plugins.hasOwnProperty, Object.prototype.hasOwnProperty);
  recorder.clear();
  assert.strictEqual(plugins[Symbol('x')], undefined);
  assert.strictEqual(plugins[5], undefined);
  assert.deepStrictEqual(recorder.names(), []);
});

test('length is the SDK\'s count, and a plugin of that name hides it', () => {
  recorder.answer(entry('getPluginsCountOfType'), 12);
  assert.strictEqual(plugins.length, 12);
  assert.deepStrictEqual(recorder.last(entry('getPluginsCountOfType')).args, [handle, null]);
  recorder.once(entry('getPluginID'), newId());
  assert.ok(plugins.length instanceof kiln.Plugin);
  recorder.reset(entry('getPluginsCountOfType'));
  assert.strictEqual(plugins.length, 0);
});

test('the keys are the names of the plugins in the view', () => {
  answerIds([3n, 4n, 5n]);
  for (const name of ['a', 'größe', 'c']) recorder.once(entry('getPluginName'), name);
  assert.deepStrictEqual(Object.keys(plugins), ['a', 'größe', 'c']);
  assert.deepStrictEqual(recorder.calls(entry('getPluginName')).slice(-3).map((one) => one.args[1]), [3n, 4n, 5n]);
  assert.deepStrictEqual(Object.keys(plugins), []);
  recorder.once(IDS, {result: null, out: {count: 5}});
  assert.deepStrictEqual(Object.keys(plugins), []);
  // A name that is none ends the list.
  answerIds([3n, 4n, 5n]);
  for (const name of ['a', null, 'c']) recorder.once(entry('getPluginName'), name);
  assert.deepStrictEqual(Object.keys(plugins), ['a']);
  recorder.reset(entry('getPluginName'));
  assertNothingHeld();
});

test('a call gives a view of one class, a new one each time', () => {
  assert.strictEqual(plugins(), undefined);
  recorder.once(entry('pluginClassExists'), null);
  assert.strictEqual(plugins('NoSuchClass'), undefined);
  const view = plugins('Some', 'ignored');
  assert.deepStrictEqual(recorder.last(entry('pluginClassExists')).args, [handle, 'Some']);
  assert.strictEqual(typeof view, 'function');
  assert.notStrictEqual(plugins('Some'), view);
  plugins(5);
  assert.strictEqual(recorder.last(entry('pluginClassExists')).args[1], '5');
  assert.throws(() => plugins(Symbol('x')), TypeError);
  void view.length;
  assert.deepStrictEqual(recorder.last(entry('getPluginsCountOfType')).args, [handle, 'Some']);
  Object.keys(view);
  assert.strictEqual(recorder.last(IDS).args[1], 'Some');
  void [...view];
  assert.strictEqual(recorder.last(IDS).args[1], 'Some');
  // By name it reaches every plugin of the scene.
  const id = newId();
  recorder.once(entry('getPluginID'), id);
  assert.strictEqual(view.ofAnotherClass.getIntegerID(), Number(id));
  // A view of a view is of the class alone.
  const other = view('Other');
  void other.length;
  assert.strictEqual(recorder.last(entry('getPluginsCountOfType')).args[1], 'Other');
});

test('an assignment sets the properties of the named plugin', () => {
  recorder.clear();
  const source = Object.create({inherited: 1});
  Object.assign(source, {a: 2, b: 'text', 7: true});
  Object.defineProperty(source, 'hidden', {value: 1, enumerable: false});
  source[Symbol('x')] = 1;
  assert.strictEqual(plugins.foo = source, source);
  const streams = recorder.calls(STORE);
  assert.deepStrictEqual(streams.map((one) => [one.args[0], one.args[1], one.args[2], one.args[3].value, one.args[5]]),
    [[handle, 'foo', '7', 1, 1], [handle, 'foo', 'a', 2, 1], [handle, 'foo', 'inherited', 1, 1]]);
  for (const one of streams) assert.strictEqual(one.bits[4], DIRECT);
  assert.deepStrictEqual(recorder.last(entry('setPropertyValueAtTime')).args.slice(1, 4), ['foo', 'b', 'text']);
  assert.strictEqual(recorder.count(entry('getPluginID')), 0);
});

test('the status of an assignment is ignored', () => {
  recorder.answer(STORE, -1);
  const source = {a: 1};
  assert.strictEqual(plugins.nobody = source, source);
  assert.strictEqual(plugins.nobody, undefined);
  recorder.reset(STORE);
});

test('a value that can\'t be converted throws, and the others are assigned all the same', () => {
  recorder.clear();
  assert.throws(() => { plugins.foo = {a: [1, new Map()], b: 2, c: new Map(), d: 3}; }, {
    name: 'Error', message: 'Error in data',
  });
  assert.deepStrictEqual(recorder.calls(STORE).map((one) => one.arg.property), ['b', 'd']);
});

test('a read that fails ends the assignment', () => {
  recorder.clear();
  assert.throws(() => { plugins.foo = {a: 1, get b() { throw new RangeError('mine'); }, c: 2}; }, /mine/);
  assert.deepStrictEqual(recorder.calls(STORE).map((one) => one.arg.property), ['a']);
  const traps = {ownKeys() { throw new RangeError('keys'); }};
  assert.throws(() => { plugins.foo = new Proxy({}, traps); }, /keys/);
});

test('values that are no objects', () => {
  recorder.clear();
  for (const value of [5, true, 1n, Symbol('x'), '']) {
    plugins.foo = value;
    assert.strictEqual(plugins.foo, undefined);
  }
  assert.strictEqual(recorder.count(STORE), 0);
  for (const value of [null, undefined]) assert.throws(() => { plugins.foo = value; }, TypeError);
  plugins.foo = 'ab';
  assert.deepStrictEqual(recorder.calls(entry('setPropertyValueAtTime')).map((one) => one.args.slice(1, 4)),
    [['foo', '0', 'a'], ['foo', '1', 'b']]);
});

test('an assignment whose getter closes the renderer asks a closed one nothing', () => {
  const other = open();
  recorder.clear();
  other.plugins.foo = {get a() { other.close(); return 1; }, b: 2};
  assert.strictEqual(recorder.calls().filter((one) => one.stale).length, 0);
  assert.strictEqual(recorder.count(STORE), 0);
  recorder.check();
});

test('delete takes the plugin from the scene, and leaves the ID in its objects', () => {
  const id = newId();
  const plugin = pluginOf(renderer, id);
  const ref = refOf(plugin, 1);
  recorder.once(entry('getPluginID'), id);
  assert.strictEqual(delete plugins.lamp, true);
  assert.deepStrictEqual(recorder.last(entry('deletePluginByID')).args, [handle, id, 1]);
  assert.strictEqual(call(plugin, 'getIntegerID'), Number(id));
  recorder.once(entry('pluginExistsByID'), 0);
  assert.strictEqual(plugin.isValid(), false);
  assert.strictEqual(plugin.getName(), undefined);
  const again = pluginOf(renderer, id);
  assert.notStrictEqual(again, plugin);
  assert.notStrictEqual(refOf(again, 1), ref);
});

test('delete of an unknown name, or one that the SDK refuses, is false', () => {
  'use strict';
  recorder.clear();
  for (const id of [0n, NONE]) {
    recorder.once(entry('getPluginID'), id);
    assert.strictEqual(Reflect.deleteProperty(plugins, 'unknown'), false);
  }
  assert.strictEqual(recorder.count(entry('deletePluginByID')), 0);
  const id = newId();
  const plugin = pluginOf(renderer, id);
  recorder.once(entry('getPluginID'), id);
  recorder.once(entry('deletePluginByID'), 1);
  assert.strictEqual(Reflect.deleteProperty(plugins, 'lamp'), false);
  assert.notStrictEqual(pluginOf(renderer, id), plugin);
});

test('a walk visits the plugins of its beginning', () => {
  const ids = [newId(), newId(), newId()];
  answerIds(ids);
  const iterator = plugins[Symbol.iterator]();
  assert.deepStrictEqual(recorder.last(IDS).args.slice(0, 2), [handle, null]);
  assert.strictEqual(iterator[Symbol.iterator], undefined);
  assert.strictEqual(Object.prototype.toString.call(iterator), '[object Object]');
  assert.strictEqual(iterator.constructor.name, 'Plugins Iterator');
  const prototype = Object.getPrototypeOf(iterator);
  assert.deepStrictEqual(attributesOf(prototype, 'next'), {writable: false, enumerable: true, configurable: false});
  recorder.clear();
  for (const id of ids) {
    const step = iterator.next();
    assert.deepStrictEqual(Object.keys(step), ['value', 'done']);
    assert.strictEqual(step.value, pluginOf(renderer, id));
    assert.strictEqual(step.done, false);
  }
  assert.strictEqual(recorder.live().blocks.length, 1);
  assert.strictEqual(recorder.count(IDS), 0);
  for (let i = 0; i < 3; ++i) {
    assert.deepStrictEqual(iterator.next(), {done: true});
    assertNothingHeld();
  }
  assert.deepStrictEqual([...plugins], []);
});

test('a walk over nothing gives its block back at the first step', () => {
  recorder.once(IDS, {result: Buffer.alloc(8), out: {count: 0}});
  const iterator = plugins[Symbol.iterator]();
  assert.strictEqual(recorder.live().blocks.length, 1);
  assert.deepStrictEqual(iterator.next(), {done: true});
  assertNothingHeld();
});

test('what is no ID is left out of a walk', () => {
  const id = newId();
  answerIds([0n, NONE, id, 0n]);
  assert.deepStrictEqual([...plugins], [pluginOf(renderer, id)]);
  answerIds([0n, NONE]);
  assert.deepStrictEqual([...plugins], []);
  assertNothingHeld();
});

test('an abandoned walk gives its block back when it is collected', async () => {
  (() => {
    // Held until they have been counted: a collection may come at any moment.
    const walks = Array.from({length: 100}, () => {
      answerIds([newId(), newId()]);
      const walk = plugins[Symbol.iterator]();
      walk.next();
      return walk;
    });
    assert.strictEqual(recorder.live().blocks.length, walks.length);
  })();
  await collect(() => recorder.live().blocks.length === 0);
});

test('foreign receivers are refused', () => {
  answerIds([]);
  const iterator = plugins[Symbol.iterator]();
  for (const receiver of [{}, null, undefined, 5, renderer, renderer.classes, plugins, Buffer.alloc(8),
    new Uint8Array(4),
    new Proxy(plugins, {}), Object.create(plugins), pluginOf(renderer)]) {
    if (receiver !== plugins) assert.throws(() => plugins[Symbol.iterator].call(receiver), TypeError);
    assert.throws(() => iterator.next.call(receiver), TypeError);
  }
  const made = new iterator.constructor();
  assert.deepStrictEqual(made.next(), {done: true});
  iterator.next();
});

test('a closed renderer has no plugins', () => {
  const other = open();
  const view = other.plugins('Some');
  answerIds([newId(), newId()]);
  const iterator = other.plugins[Symbol.iterator]();
  other.close();
  recorder.clear();
  for (const one of [other.plugins, view]) {
    assert.strictEqual(one.length, 0);
    assert.deepStrictEqual(Object.keys(one), []);
    assert.strictEqual(one.lamp, undefined);
    assert.strictEqual(Reflect.deleteProperty(one, 'lamp'), false);
    assert.strictEqual(one[Symbol.iterator](), undefined);
    assert.strictEqual(one('Some'), undefined);
    one.lamp = {a: 1};
  }
  assert.deepStrictEqual(recorder.names(), []);
  // What was begun goes on: nothing of it needs the renderer.
  assert.ok(iterator.next().value instanceof kiln.Plugin);
  assert.ok(iterator.next().value instanceof kiln.Plugin);
  assert.deepStrictEqual(iterator.next(), {done: true});
  assertNothingHeld();
});

closeAtEnd(renderer);
