'use strict';

// The properties of a plugin: by name on the object, by getValue and setValue, as text, bytes and keyframes.
const test = require('node:test');
const assert = require('assert');
const {
  kiln, recorder, entry, READ, open, newId, pluginOf, refOf, call, answerValue, assertNothingHeld, closeAtEnd,
  encodeStream, collect,
} = require('./common');
const {decodeStream} = require('../helpers');

const OMITTED = 0xFFFFFFFFFFFFFFFEn;
const DIRECT = 0xFFFFFFFFFFFFFFFFn;
const STORE = entry('setPropertyBytesValueAtTimeByID');
const STORE_TEXT = entry('setPropertyValueAtTimeByID');

const renderer = open();
const {handle} = recorder.live().handles[0];
const id = newId();
const plugin = pluginOf(renderer, id);
const ref = refOf(plugin, 2);

const lastTimeBits = (name) => {
  const {bits, row} = recorder.last(name);
  return bits[row.parameters.findIndex((one) => one.name === 'time')];
};

test('a read asks the SDK with the direct time and gives the block back', () => {
  for (const object of [plugin, ref]) {
    answerValue({type: 'int', value: 42});
    recorder.clear();
    assert.strictEqual(object.someProperty, 42);
    assert.deepStrictEqual(recorder.names(), [READ]);
    assert.deepStrictEqual(recorder.last(READ).args.slice(0, 3), [handle, id, 'someProperty']);
    assert.strictEqual(lastTimeBits(READ), DIRECT);
    assertNothingHeld();
  }
});

test('values of all kinds come out of a read', () => {
  answerValue({type: 'string', value: 'größe'});
  assert.strictEqual(plugin.x, 'größe');
  answerValue({type: 'boolean', value: true});
  assert.strictEqual(plugin.x, true);
  answerValue({type: 'vector', value: [1, 2, 3]});
  assert.ok(plugin.x instanceof kiln.Vector);
  const other = newId();
  answerValue({type: 'plugin', value: other});
  const first = plugin.x;
  assert.strictEqual(first.getIntegerID(), Number(other));
  answerValue({type: 'plugin', value: other});
  assert.strictEqual(plugin.x, first);
  assertNothingHeld();
});

test('an unknown key falls through to the prototype chain', () => {
  assert.strictEqual(plugin.unknown, undefined);
  assert.strictEqual(typeof plugin.getName, 'function');
  assert.strictEqual(plugin.getName, kiln.Plugin.prototype.getName);
  assert.strictEqual(plugin.hasOwnProperty('unknown'), false);
  assert.strictEqual(plugin.constructor, kiln.Plugin);
  assert.strictEqual('unknown' in plugin, false);
  answerValue({type: 'int', value: 1});
  assert.strictEqual('known' in plugin, true);
});

test('a property called like a member hides it for reads', () => {
  answerValue({type: 'int', value: 7});
  assert.strictEqual(plugin.getName, 7);
  assert.strictEqual(typeof plugin.getName, 'function');
});

test('symbols and indices: symbols never reach the SDK, indices neither', () => {
  recorder.clear();
  assert.strictEqual(plugin[Symbol('x')], undefined);
  assert.strictEqual(plugin[Symbol.iterator], undefined);
  assert.strictEqual(plugin[0], undefined);
  assert.deepStrictEqual(recorder.names(), []);
});

test('keys of every length and alphabet, more than any table holds, reach the SDK as they are', () => {
  const keys = ['', 'a', 'größe', '日本語', '😀', 'x'.repeat(127), 'x'.repeat(128),
    'x'.repeat(129), 'y'.repeat(5000),
    '__proto__', 'constructor'];
  for (let i = 0; i < 5000; ++i) keys.push(`key${i}`);
  for (const key of [...keys, ...keys.slice(0, 50)]) {
    void plugin[key];
    assert.strictEqual(recorder.last(READ).arg.property, key);
    if (recorder.count(READ) > 200) recorder.clear();
  }
});

test('an assignment is taken over, whatever the SDK says', () => {
  recorder.clear();
  for (const status of [0, 1]) {
    recorder.once(STORE, status);
    assert.strictEqual(plugin.x = 5, 5);
    const {args} = recorder.last(STORE);
    assert.deepStrictEqual(args.slice(0, 3), [handle, id, 'x']);
    assert.strictEqual(lastTimeBits(STORE), DIRECT);
    assert.deepStrictEqual(args[3].value, 5);
    assert.strictEqual(args[5], 1);
  }
  assert.strictEqual(plugin.x, undefined);
  assert.deepStrictEqual(Object.getOwnPropertyNames(plugin), []);
  plugin.x = 'text';
  assert.deepStrictEqual(recorder.last(STORE_TEXT).args.slice(0, 4), [handle, id, 'x', 'text']);
  assert.strictEqual(lastTimeBits(STORE_TEXT), DIRECT);
  renderer.autoCommit = false;
  ref.x = 5;
  assert.strictEqual(recorder.last(STORE).args[5], 0);
  renderer.autoCommit = true;
});

test('a value that can\'t be converted throws, and the SDK is not called', () => {
  recorder.clear();
  for (const bad of [() => {}, Symbol('x'), new Map(), [1, new Map()]]) {
    assert.throws(() => { plugin.x = bad; }, {name: 'Error', message: 'Error in data'}, String(bad));
    assert.throws(() => call(plugin, 'setValue', 'x', bad), {name: 'Error', message: 'Error in data'});
  }
  assert.strictEqual(recorder.count(STORE), 0);
});

test('getValue takes a time, and gives undefined for an unknown property', () => {
  for (const [time, bits] of [[undefined, OMITTED], ['now', OMITTED], [null, OMITTED], [new Number(1), OMITTED],
    [1.5, 0x3FF8000000000000n], [0, 0n], [-Infinity, 0xFFF0000000000000n]]) {
    answerValue({type: 'int', value: 3});
    assert.strictEqual(call(plugin, 'getValue', 'x', time), 3);
    assert.deepStrictEqual(recorder.last(READ).args.slice(0, 3), [handle, id, 'x']);
    assert.strictEqual(lastTimeBits(READ), bits);
  }
  answerValue({type: 'int', value: 3});
  assert.strictEqual(call(plugin, 'getValue', 'x'), 3);
  assert.strictEqual(lastTimeBits(READ), OMITTED);
  assert.strictEqual(call(plugin, 'getValue', 'getName'), undefined);
  assert.strictEqual(call(plugin, 'getValue'), undefined);
  call(plugin, 'getValue', 5);
  assert.strictEqual(recorder.last(READ).arg.property, '5');
  assert.throws(() => call(plugin, 'getValue', Symbol('x')), TypeError);
  assertNothingHeld();
});

test('setValue takes a time and answers whether the SDK took the value', () => {
  for (const [args, bits] of [[['x', 1], OMITTED], [['x', 1, 'now'], OMITTED], [['x', 1, undefined], OMITTED],
    [['x', 1, 2], 0x4000000000000000n]]) {
    assert.strictEqual(call(plugin, 'setValue', ...args), true);
    assert.strictEqual(lastTimeBits(STORE), bits);
    recorder.once(STORE, -1);
    assert.strictEqual(call(plugin, 'setValue', ...args), false);
  }
  recorder.clear();
  assert.strictEqual(call(plugin, 'setValue', 'x'), undefined);
  assert.strictEqual(call(plugin, 'setValue'), undefined);
  assert.strictEqual(recorder.count(STORE), 0);
});

test('the keys are the property names of the class', () => {
  recorder.answer(entry('getPropertyNamesByID'), ['b', 'a', 'größe', 'getName']);
  recorder.clear();
  assert.deepStrictEqual(Object.keys(plugin), ['b', 'a', 'größe', 'getName']);
  assert.deepStrictEqual(recorder.last(entry('getPropertyNamesByID')).args, [handle, id]);
  const seen = [];
  // The engine looks whether a key that is listed is there.
  recorder.answer(READ, {out: {stream: encodeStream({type: 'int', value: 1}), size: 8}});
  for (const key in ref) seen.push(key);
  recorder.reset(READ);
  assert.deepStrictEqual(seen, ['b', 'a', 'größe', 'getName']);
  recorder.answer(entry('getPropertyNamesByID'), []);
  assert.deepStrictEqual(Object.keys(plugin), []);
  recorder.answer(entry('getPropertyNamesByID'), null);
  assert.deepStrictEqual(Object.keys(plugin), []);
  recorder.reset(entry('getPropertyNamesByID'));
  assertNothingHeld();
});

test('a name that no string can be made of leaves the keys away and still releases the vector', () => {
  recorder.answer(entry('getPropertyNamesByID'), ['a', 'b']);
  recorder.answer('getVectorElement', null);
  assert.deepStrictEqual(Object.keys(plugin), []);
  recorder.reset('getVectorElement');
  recorder.reset(entry('getPropertyNamesByID'));
  assertNothingHeld();
});

test('getValueAsString is the SDK\'s text, or an empty one', () => {
  recorder.once(entry('getPropertyValueByID'), 'Color(1, 0, 0)');
  assert.strictEqual(call(plugin, 'getValueAsString', 'color'), 'Color(1, 0, 0)');
  assert.deepStrictEqual(recorder.last(entry('getPropertyValueByID')).args.slice(0, 3), [handle, id, 'color']);
  assert.strictEqual(lastTimeBits(entry('getPropertyValueByID')), DIRECT);
  recorder.once(entry('getPropertyValueByID'), null);
  assert.strictEqual(call(plugin, 'getValueAsString', 'color'), '');
  assert.strictEqual(call(plugin, 'getValueAsString'), undefined);
  assertNothingHeld();
});

test('getValueAsBinaryBuffer is a Buffer over the SDK\'s block, which goes with it', async () => {
  const memory = encodeStream({type: 'vector', value: [1, 2, 3]});
  answerValue({type: 'vector', value: [1, 2, 3]});
  let buffer = call(plugin, 'getValueAsBinaryBuffer', 'x');
  assert.ok(Buffer.isBuffer(buffer));
  assert.ok(buffer.equals(memory.bytes));
  assert.strictEqual(lastTimeBits(READ), DIRECT);
  assert.strictEqual(recorder.live().blocks.length, 1);
  // The bytes go back as they are, and are not looked at.
  recorder.clear();
  assert.strictEqual(call(plugin, 'setValue', 'x', buffer), true);
  const stored = recorder.last(STORE);
  assert.deepStrictEqual(decodeStream(stored.bytes('stream')).value, [1, 2, 3]);
  buffer = null;
  await collect(() => recorder.live().blocks.length === 0);
  assert.strictEqual(call(plugin, 'getValueAsBinaryBuffer', 'x'), undefined);
  assert.strictEqual(call(plugin, 'getValueAsBinaryBuffer'), undefined);
  recorder.once(READ, {out: {stream: Buffer.alloc(4), size: 0}});
  assert.strictEqual(call(plugin, 'getValueAsBinaryBuffer', 'x').length, 0);
  recorder.once(READ, {out: {stream: Buffer.alloc(4), size: -5}});
  assert.strictEqual(call(plugin, 'getValueAsBinaryBuffer', 'x').length, 0);
  await collect(() => recorder.live().blocks.length === 0);
});

test('isPropertyAnimated is undefined for an unknown property', () => {
  recorder.clear();
  for (const [exists, animated, expected] of [[0, 1, undefined], [1, 0, false], [1, 1, true], [2, -1, true]]) {
    recorder.once(entry('propertyExistsByID'), exists);
    recorder.answer(entry('isPropertyAnimatedByID'), animated);
    assert.strictEqual(call(plugin, 'isPropertyAnimated', 'x'), expected);
    assert.deepStrictEqual(recorder.last(entry('propertyExistsByID')).args, [handle, id, 'x']);
  }
  assert.strictEqual(recorder.count(entry('isPropertyAnimatedByID')), 3);
  assert.strictEqual(call(plugin, 'isPropertyAnimated'), undefined);
});

test('getKeyframeTimes is a list over the SDK\'s block', async () => {
  const name = entry('getPropertyKeyframeTimesByID');
  const times = (list) => Buffer.from(Float64Array.from(list).buffer);
  recorder.once(name, {result: 3, out: {times: times([0.5, 1, -2])}});
  let list = call(plugin, 'getKeyframeTimes', 'x');
  assert.ok(list instanceof Float64Array);
  assert.deepStrictEqual([...list], [0.5, 1, -2]);
  assert.deepStrictEqual(recorder.last(name).args.slice(0, 3), [handle, id, 'x']);
  assert.strictEqual(recorder.live().blocks.length, 1);
  list = null;
  await collect(() => recorder.live().blocks.length === 0);
  recorder.once(name, {result: 0, out: {times: null}});
  assert.deepStrictEqual([...call(plugin, 'getKeyframeTimes', 'x')], []);
  recorder.once(name, {result: 0, out: {times: times([1])}});
  assert.deepStrictEqual([...call(plugin, 'getKeyframeTimes', 'x')], []);
  for (const count of [-1, -(2 ** 31)]) {
    recorder.once(name, count);
    assert.strictEqual(call(plugin, 'getKeyframeTimes', 'x'), undefined);
  }
  assert.throws(() => call(plugin, 'getKeyframeTimes'), {
    name: 'Error', message: 'Argument 0 (propertyName) should be passed',
  });
  await collect(() => recorder.live().blocks.length === 0);
});

test('a value that ends in the middle is no value, and falls through', () => {
  recorder.once(READ, {out: {stream: Buffer.from([4, 0, 0, 0, 1, 2, 3, 4]), size: 8}});
  assert.strictEqual(plugin.getName, kiln.Plugin.prototype.getName);
  assertNothingHeld();
});

test('a getter that is reached while a value is written may write properties itself', () => {
  const tricky = [1, 2];
  Object.defineProperty(tricky, 0, {
    get() {
      for (let i = 0; i < 3000; ++i) plugin[`other${i}`] = i;
      return 1;
    },
  });
  plugin.outer = tricky;
  assert.strictEqual(recorder.last(STORE).arg.property, 'outer');
  recorder.clear();
});

test('a plugin and its output are written as what they are', () => {
  const other = pluginOf(renderer, newId());
  plugin.x = other;
  assert.strictEqual(recorder.last(STORE).args[3].type, 'plugin');
  plugin.x = refOf(other, 5);
  const written = recorder.last(STORE).args[3];
  assert.strictEqual(written.type, 'pluginOutput');
});

closeAtEnd(renderer);
