'use strict';

// The members of Plugin: what each asks the SDK, and what it answers for a plugin that is no more.
const test = require('node:test');
const assert = require('assert');
const util = require('util');
const {
  kiln, recorder, entry, READ, open, newId, pluginOf, classOf, refOf, call, attributesOf, HIDDEN, closeAtEnd,
  encodeStream,
} = require('./common');
const {runChild} = require('../helpers');

const {Plugin} = kiln;
const MEMBERS = ['deleteThis', 'getIntegerID', 'getName', 'setName', 'toString', 'getType', 'getClass', 'getRenderer',
  'getMeta', 'getValue', 'setValue', 'getValueAsString', 'getValueAsBinaryBuffer', 'isPropertyAnimated',
  'getKeyframeTimes', 'replaceWith', 'getOutputName', 'getReference', 'getPlugin', 'isValid'];
const INSPECT = Symbol.for('nodejs.util.inspect.custom');

const renderer = open();
const {handle} = recorder.live().handles[0];

test('the members are methods of the prototype that nobody can change or list', () => {
  const own = Object.getOwnPropertyNames(Plugin.prototype).filter((name) => name !== 'constructor');
  assert.deepStrictEqual(own.sort(), [...MEMBERS].sort());
  for (const name of [...MEMBERS, INSPECT]) assert.deepStrictEqual(attributesOf(Plugin.prototype, name), HIDDEN);
  assert.deepStrictEqual(Object.keys(Plugin.prototype), []);
  assert.strictEqual(Plugin.name, 'Plugin');
  assert.strictEqual(Plugin.prototype.getName.name, 'getName');
});

test('a receiver that is no Plugin is refused by the engine', () => {
  for (const name of [...MEMBERS, INSPECT]) {
    for (const receiver of [{}, undefined, null, 5, renderer, Object.create(pluginOf(renderer)), new Proxy(
      pluginOf(renderer), {}), Plugin.prototype]) {
      assert.throws(() => Plugin.prototype[name].call(receiver), TypeError, `${String(name)}`);
    }
  }
});

test('an object that JavaScript makes has empty fields, and its members answer nothing', () => {
  recorder.clear();
  for (const made of [new Plugin(), new kiln.PluginRef(), Reflect.construct(Plugin, []),
    new (class extends Plugin {})()]) {
    for (const name of MEMBERS) {
      const expected = ['isValid', 'setValue'].includes(name) ? false : undefined;
      assert.strictEqual(made[name]('a', 'b'), expected, name);
      assert.strictEqual(made[name](), expected, name);
    }
    assert.strictEqual(made.anything, undefined);
    made.anything = 5;
    assert.strictEqual(made.anything, undefined);
    assert.deepStrictEqual(Object.keys(made), []);
    util.inspect(made);
  }
  assert.deepStrictEqual(recorder.names(), []);
  const plugin = pluginOf(renderer);
  assert.strictEqual(call(plugin, 'replaceWith', new Plugin()), true);
  assert.strictEqual(recorder.last(entry('replacePluginByID')).args[2], 0n);
});

test('getIntegerID is a Number, also above 2^53 and 2^63', () => {
  for (const id of [1n, 0xFFFFFFFFn, 1n << 32n, 2n ** 53n - 1n, 2n ** 53n, 2n ** 63n, 2n ** 64n - 2n,
    0x8000000000000400n, 0xDEADBEEFCAFEF00Dn]) {
    assert.strictEqual(pluginOf(renderer, id).getIntegerID(), Number(id));
  }
});

test('getName, toString and getType are the SDK\'s texts, and null is undefined', () => {
  const id = newId();
  const plugin = pluginOf(renderer, id);
  for (const [name, asked] of [['getName', 'getPluginName'], ['toString', 'getPluginName'],
    ['getType', 'getPluginTypeByID']]) {
    recorder.answer(entry(asked), 'größe 日本');
    assert.strictEqual(plugin[name](), 'größe 日本');
    assert.deepStrictEqual(recorder.last(entry(asked)).args, [handle, id]);
    recorder.answer(entry(asked), '');
    assert.strictEqual(plugin[name](), '');
    recorder.answer(entry(asked), null);
    assert.strictEqual(plugin[name](), undefined);
  }
});

test('setName answers whether the SDK took the name', () => {
  const id = newId();
  const plugin = pluginOf(renderer, id);
  for (const [status, expected] of [[0, true], [1, false], [-2, false]]) {
    recorder.once(entry('renamePluginByID'), status);
    assert.strictEqual(plugin.setName('newName'), expected);
    assert.deepStrictEqual(recorder.last(entry('renamePluginByID')).args, [handle, id, 'newName']);
  }
  plugin.setName(5);
  assert.strictEqual(recorder.last(entry('renamePluginByID')).args[2], '5');
  recorder.clear();
  assert.strictEqual(plugin.setName(), undefined);
  assert.throws(() => plugin.setName(Symbol('x')), TypeError);
  assert.throws(() => plugin.setName({toString() { throw new RangeError('mine'); }}), /mine/);
  assert.strictEqual(recorder.count(entry('renamePluginByID')), 0);
});

test('a conversion that closes the renderer ends the member', () => {
  for (const name of ['setName', 'getValue', 'getValueAsString', 'getValueAsBinaryBuffer', 'isPropertyAnimated',
    'getKeyframeTimes', 'getReference', 'setValue']) {
    const other = open();
    const plugin = pluginOf(other);
    recorder.clear();
    const argument = {toString() { other.close(); return 'x'; }};
    const expected = name === 'setValue' ? false : undefined;
    assert.strictEqual(call(plugin, name, argument, 1), expected);
    assert.strictEqual(recorder.calls().filter((one) => one.stale).length, 0);
  }
  recorder.check();
});

test('getClass is the one object of the plugin\'s class', () => {
  const plugin = pluginOf(renderer);
  recorder.answer(entry('getPluginTypeByID'), 'LightSphere');
  recorder.once(entry('pluginClassExists'), {text: 'LightSphere'});
  const first = plugin.getClass();
  assert.ok(first instanceof kiln.Class);
  assert.strictEqual(first.getName(), 'LightSphere');
  assert.strictEqual(plugin.getClass(), first);
  assert.strictEqual(classOf(renderer, 'LightSphere'), first);
  recorder.reset(entry('pluginClassExists'));
  recorder.answer(entry('getPluginTypeByID'), null);
  assert.strictEqual(plugin.getClass(), undefined);
  recorder.answer(entry('getPluginTypeByID'), 'Unknown');
  recorder.once(entry('pluginClassExists'), null);
  assert.strictEqual(plugin.getClass(), undefined);
  recorder.reset(entry('getPluginTypeByID'));
  recorder.reset(entry('pluginClassExists'));
});

test('getRenderer is the renderer, also of a closed one', () => {
  const other = open();
  const plugin = pluginOf(other);
  assert.strictEqual(plugin.getRenderer(), other);
  other.close();
  assert.strictEqual(plugin.getRenderer(), other);
});

test('isValid asks the SDK, but not for an ID that is none', () => {
  const id = newId();
  const plugin = pluginOf(renderer, id);
  for (const [answer, expected] of [[0, false], [1, true], [-1, true]]) {
    recorder.once(entry('pluginExistsByID'), answer);
    assert.strictEqual(plugin.isValid(), expected);
    assert.deepStrictEqual(recorder.last(entry('pluginExistsByID')).args, [handle, id]);
  }
  recorder.clear();
  recorder.answer(entry('pluginExistsByID'), 1);
  assert.strictEqual(pluginOf(renderer, 0n).isValid(), false);
  assert.strictEqual(recorder.count(entry('pluginExistsByID')), 0);
  recorder.reset(entry('pluginExistsByID'));
});

test('deleteThis takes the ID from the object that was deleted', () => {
  const id = newId();
  const plugin = pluginOf(renderer, id);
  const ref = refOf(plugin, 3);
  recorder.clear();
  assert.strictEqual(plugin.deleteThis(), true);
  assert.deepStrictEqual(recorder.last(entry('deletePluginByID')).args, [handle, id, 1]);
  recorder.clear();
  for (const name of MEMBERS.filter((one) => !['getMeta', 'getPlugin', 'getRenderer'].includes(one))) {
    const expected = ['isValid', 'setValue'].includes(name) ? false : undefined;
    assert.strictEqual(plugin[name]('x', 1), expected, name);
  }
  plugin.x = 5;
  assert.deepStrictEqual(Object.keys(plugin), []);
  assert.deepStrictEqual(recorder.names(), []);
  assert.throws(() => plugin.getMeta(), {
    name: 'Error', message: 'Argument 0 (propertyName) should be a string or no arguments should be passed',
  });
  assert.throws(() => plugin.getMeta('x'), /^Error: Argument 0 \(propertyName\)/);
  assert.strictEqual(plugin.getPlugin().isValid(), false);
  assert.strictEqual(plugin.getPlugin(), plugin.getPlugin());
  // Another object of the same plugin keeps its ID, which nothing is known of.
  assert.strictEqual(ref.getIntegerID(), Number(id));
  recorder.once(entry('pluginExistsByID'), 0);
  assert.strictEqual(ref.isValid(), false);
  // And the cache has forgotten both.
  const again = pluginOf(renderer, id);
  assert.notStrictEqual(again, plugin);
  assert.notStrictEqual(refOf(again, 3), ref);
});

test('a delete that fails leaves the ID, and new lookups make new objects', () => {
  const id = newId();
  const plugin = pluginOf(renderer, id);
  renderer.autoCommit = false;
  recorder.once(entry('deletePluginByID'), 1);
  assert.strictEqual(plugin.deleteThis(), false);
  assert.strictEqual(recorder.last(entry('deletePluginByID')).args[2], 0);
  renderer.autoCommit = true;
  assert.strictEqual(plugin.getIntegerID(), Number(id));
  assert.notStrictEqual(pluginOf(renderer, id), plugin);
});

test('replaceWith takes a plugin, a name, or nothing', () => {
  const id = newId();
  const plugin = pluginOf(renderer, id);
  const target = pluginOf(renderer);
  const passed = () => recorder.last(entry('replacePluginByID')).args;
  for (const nothing of [null, undefined]) {
    assert.strictEqual(plugin.replaceWith(nothing), true);
    assert.deepStrictEqual(passed(), [handle, id, 2n ** 64n - 1n, 1]);
  }
  assert.strictEqual(plugin.replaceWith(target), true);
  assert.strictEqual(Number(passed()[2]), target.getIntegerID());
  plugin.replaceWith(refOf(target, 2));
  assert.strictEqual(Number(passed()[2]), target.getIntegerID());
  for (const name of ['lamp', new String('lamp')]) {
    recorder.once(entry('getPluginID'), 77n);
    assert.strictEqual(plugin.replaceWith(name), true);
    assert.deepStrictEqual(recorder.last(entry('getPluginID')).args, [handle, 'lamp']);
    assert.strictEqual(passed()[2], 77n);
  }
  renderer.autoCommit = false;
  recorder.once(entry('replacePluginByID'), -1);
  assert.strictEqual(plugin.replaceWith(target), false);
  assert.strictEqual(passed()[3], 0);
  renderer.autoCommit = true;
});

test('replaceWith refuses everything else', () => {
  const plugin = pluginOf(renderer);
  const message = 'One argument, plugin instance, plugin name or null is expected.';
  recorder.clear();
  for (const args of [[], [null, null], [5], [true], [{}], [[]], [renderer], [Symbol('x')], [plugin, 1]]) {
    assert.throws(() => plugin.replaceWith(...args), {name: 'Error', message});
  }
  for (const id of [0n, 2n ** 64n - 1n]) {
    recorder.once(entry('getPluginID'), id);
    assert.throws(() => plugin.replaceWith('lamp'), {
      name: 'Error', message: 'No plugin with the given name in the scene.',
    });
  }
  assert.strictEqual(recorder.count(entry('replacePluginByID')), 0);
  // The plugin is looked at before the arguments.
  plugin.deleteThis();
  assert.strictEqual(plugin.replaceWith(), undefined);
});

test('getReference gives the output of that name, and the plugin itself for none', () => {
  const id = newId();
  const plugin = pluginOf(renderer, id);
  assert.strictEqual(plugin.getReference(), plugin);
  recorder.once(entry('getPropertyIndexFromNameByID'), 4);
  const ref = plugin.getReference('out');
  assert.deepStrictEqual(recorder.last(entry('getPropertyIndexFromNameByID')).args, [handle, id, 'out']);
  assert.ok(ref instanceof kiln.PluginRef);
  recorder.once(entry('getPropertyIndexFromNameByID'), 4);
  assert.strictEqual(plugin.getReference('out'), ref);
  recorder.once(entry('getPropertyIndexFromNameByID'), 0);
  assert.strictEqual(plugin.getReference('self'), plugin);
  for (const index of [-1, -(2 ** 31)]) {
    recorder.once(entry('getPropertyIndexFromNameByID'), index);
    assert.strictEqual(plugin.getReference('nonexistent'), undefined);
  }
  recorder.once(entry('getPropertyIndexFromNameByID'), 2 ** 31 - 1);
  const last = plugin.getReference('last');
  last.getOutputName();
  assert.strictEqual(recorder.last(entry('getPropertyNameFromIndexByID')).args[2], 2 ** 31 - 1);
  assert.strictEqual(plugin.getPlugin(), plugin);
  assert.strictEqual(plugin.getOutputName(), null);
});

test('after the renderer is closed nothing is asked any more', () => {
  const other = open();
  const plugin = pluginOf(other);
  const ref = refOf(plugin, 1);
  other.close();
  recorder.clear();
  for (const object of [plugin, ref]) {
    for (const name of MEMBERS.filter((one) => !['getPlugin', 'getRenderer'].includes(one))) {
      const expected = ['isValid', 'setValue'].includes(name) ? false : undefined;
      assert.strictEqual(object[name]('x', 1), expected, name);
      assert.strictEqual(object[name](), expected, name);
    }
    object.x = 5;
    assert.strictEqual(object.x, undefined);
    assert.deepStrictEqual(Object.keys(object), []);
  }
  assert.deepStrictEqual(recorder.names(), []);
  // A plugin is found all the same; the old object was let go.
  const again = ref.getPlugin();
  assert.ok(again instanceof Plugin);
  assert.strictEqual(ref.getPlugin(), again);
  assert.notStrictEqual(again, plugin);
});

test('the inspection is the object itself near the surface, a text below', () => {
  const plugin = pluginOf(renderer);
  recorder.answer(entry('getPluginTypeByID'), 'Light');
  recorder.answer(entry('getPluginName'), 'lamp');
  for (const depth of [2, 3, 100, null, 2.9]) assert.strictEqual(plugin[INSPECT](depth), plugin);
  for (const depth of [1, 0, -1, 1.9, NaN, undefined, '5', {}, true, 2 ** 32]) {
    assert.strictEqual(plugin[INSPECT](depth), 'Plugin Light lamp');
  }
  recorder.answer(entry('getPluginTypeByID'), null);
  assert.strictEqual(plugin[INSPECT](0), 'Plugin lamp');
  recorder.answer(entry('getPluginName'), null);
  assert.strictEqual(plugin[INSPECT](0), 'Plugin');
  recorder.answer(entry('getPluginTypeByID'), 'Light');
  assert.strictEqual(plugin[INSPECT](0), 'Plugin Light');
  recorder.answer(entry('getPluginName'), 'lamp');
  recorder.answer(entry('getPropertyNamesByID'), ['a']);
  recorder.answer(READ, {out: {stream: encodeStream({type: 'int', value: 77}), size: 8}});
  assert.match(util.inspect(plugin), /a\W*: 77/);
  recorder.reset(READ);
  assert.match(util.inspect({one: {two: {three: plugin}}}), /Plugin Light lamp|\[Object\]/);
  recorder.reset();
});

test('a library that goes away takes no blocks with it', async () => {
  const {code, stderr} = await runChild((helpers) => {
    const kiln = helpers.loadNative();
    kiln.enableFrameBuffer(false);
    const r = new kiln.KilnRenderer();
    globalThis.iterators = [r.plugins[Symbol.iterator](), r.classes[Symbol.iterator]()];
    const c = r.classes.LightSphere;
    r.close();
    kiln.close();
    if (c) String(c);
    globalThis.iterators = null;
    helpers.forceGc();
  });
  assert.deepStrictEqual([code, stderr], [0, '']);
});

closeAtEnd(renderer);
