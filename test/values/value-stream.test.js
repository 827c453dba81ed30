'use strict';

// What crosses the boundary when a property is written, and what becomes of what comes back.
const test = require('node:test');
const assert = require('assert');
const {loadNative, recorder, encodeStream, forceGc, until, sleep} = require('../helpers');

const kiln = loadNative();
const {Vector, Matrix, Transform, Color, AColor} = kiln;

class IntList extends Int32Array {}
class FloatList extends Float32Array {}
class VectorList extends Float32Array {}
class ColorList extends Float32Array {}
kiln.setupKilnTypesInternal(Float32Array.prototype, IntList.prototype, FloatList.prototype, VectorList.prototype,
  ColorList.prototype);

const renderer = new kiln.KilnRenderer({enableFrameBuffer: false});
recorder.answer('Kiln_KilnRenderer_getPluginID', 77n);
const plugin = renderer.plugins.some;
const SET = 'Kiln_KilnRenderer_setPropertyBytesValueAtTimeByID';
const ALL_ONES = 0xFFFFFFFFFFFFFFFFn;

// The stream that an assignment makes.
function written(value) {
  assert.strictEqual(plugin.setValue('p', value), true);
  return recorder.last(SET).arg.stream;
}

// The recorder answers for every property, the members' names too.
const {getValue} = kiln.Plugin.prototype;

// What a read makes of a stream.
function read(stream) {
  recorder.answer('Kiln_getPropertyByteArrayByID', {result: 0, out: {stream: Buffer.isBuffer(stream)
    ? stream : encodeStream(stream)}});
  const value = getValue.call(plugin, 'p');
  recorder.reset('Kiln_getPropertyByteArrayByID');
  return value;
}

const is = (value, tag, expected) => {
  const stream = written(value);
  assert.strictEqual(stream.tag, tag);
  if (expected !== undefined) assert.deepStrictEqual(stream.value, expected);
  return stream;
};

test('scalars', () => {
  is(true, 3, 1);
  is(false, 3, 0);
  is(1, 0, 1);
  is(-2147483648, 0, -2147483648);
  is(1.5, 2, 1.5);
  is(2147483648, 2, 2147483648);
  is(-0, 2, -0);
  is(new Number(3), 2, 3);
  for (const nothing of [null, undefined]) assert.strictEqual(written(nothing).tag, 10);
  assert.strictEqual(recorder.last(SET).bytes('stream').readBigUInt64LE(4), ALL_ONES);
});

test('texts of three and four bytes take one and two words', () => {
  for (const [text, words] of [['', 1], ['abc', 1], ['abcd', 2], ['größe 日本', 4]]) {
    is([text], 12);
    const bytes = recorder.last(SET).bytes('stream').subarray(8);
    const utf8 = Buffer.from(text);
    assert.strictEqual(bytes.readUInt32LE(0), 9);
    assert.strictEqual(bytes.readUInt32LE(4), utf8.length);
    assert(bytes.subarray(8, 8 + utf8.length).equals(utf8));
    assert(bytes.subarray(8 + utf8.length, 8 + 4 * words).every((byte) => byte === 0));
    assert.strictEqual(bytes.length, 8 + 4 * words);
  }
  is(new String('object'), 9, 'object');
});

test('a primitive text goes as a text', () => {
  plugin.setValue('p', '1 0 0', 2.5);
  const {property, value, time, auto_commit: commit} = recorder.last('Kiln_KilnRenderer_setPropertyValueAtTimeByID').arg;
  assert.deepStrictEqual([property, value, time, commit], ['p', '1 0 0', 2.5, 1]);
});

test('values are narrowed, but for the offset of a transform', () => {
  const f = Math.fround;
  is(new Vector(0.1, 2, 3), 4, [f(0.1), 2, 3]);
  is(new Color(0.1, 2, 3), 5, [f(0.1), 2, 3]);
  is(new AColor(0.1, 2, 3, 0.7), 6, [f(0.1), 2, 3, f(0.7)]);
  is(new Matrix(1, 2, 3, 4, 5, 6, 7, 8, 0.1), 7, [1, 2, 3, 4, 5, 6, 7, 8, f(0.1)]);
  is(new Transform(1, 2, 3, 4, 5, 6, 7, 8, 0.1, 0.1, 1e10 + 1, 3), 28);
  const bytes = recorder.last(SET).bytes('stream');
  assert.strictEqual(bytes.length, 64);
  assert.deepStrictEqual([40, 48, 56].map((at) => bytes.readDoubleLE(at)), [0.1, 1e10 + 1, 3]);
  assert.strictEqual(bytes.readFloatLE(36), f(0.1));
});

test('plugins and their outputs', () => {
  recorder.answer('Kiln_KilnRenderer_getPropertyIndexFromNameByID', 3);
  const ref = plugin.getReference('out');
  is(plugin, 10);
  assert.strictEqual(recorder.last(SET).bytes('stream').readBigUInt64LE(4), 77n);
  is(ref, 210);
  const bytes = recorder.last(SET).bytes('stream');
  assert.deepStrictEqual([bytes.readBigUInt64LE(4), bytes.readUInt32LE(12), bytes.length], [77n, 3, 16]);
});

test('what is no value is refused, and the SDK is not asked', () => {
  const before = recorder.count(SET);
  for (const value of [{}, Symbol('s'), 5n, () => {}, new Date(), [1, {}], [[Symbol('s')]], new Map(),
    Object(true), Object(5n), new DataView(new ArrayBuffer(8)), new ArrayBuffer(8), new Proxy([1], {})]) {
    assert.throws(() => plugin.setValue('p', value), {name: 'Error', message: 'Error in data'});
    assert.throws(() => { plugin.p = value; }, {name: 'Error', message: 'Error in data'});
  }
  assert.strictEqual(recorder.count(SET), before);
});

test('a pending exception is the one that is thrown', () => {
  const array = [1];
  Object.defineProperty(array, 0, {get() { throw new RangeError('element'); }});
  assert.throws(() => plugin.setValue('p', array), RangeError);
  const typed = [1];
  typed._type = {toString() { throw new EvalError('type'); }};
  assert.throws(() => plugin.setValue('p', typed), EvalError);
});

test('typed arrays choose their form by size', () => {
  const forms = [
    [Float32Array, 101, 2001], [FloatList, 101, 2001], [Int32Array, 100, 2000], [Uint32Array, 100, 2000],
    [VectorList, 104, 2004], [ColorList, 105, 2005],
  ];
  for (const [Type, inline, borrowed] of forms) {
    is(new Type(0), inline);
    is(new Type(3), inline);
    is(new Type(6), borrowed);
  }
  is(new Float32Array(4), 101, [0, 0, 0, 0]);
  is(new Float32Array(5), 2001, [0, 0, 0, 0, 0]);
  is(new Float64Array(2), 102, [0, 0]);
  is(new Float64Array(3), 2002, [0, 0, 0]);
});

test('above the limit the SDK keeps the memory, and gives it back once', async () => {
  assert.strictEqual(renderer.maxTypedListsCopyByteSize, -1);
  renderer.maxTypedListsCopyByteSize = 0;
  is(new Float32Array(0), 101);
  for (const [Type, tag] of [[Float32Array, 3001], [Int32Array, 3000], [VectorList, 3004], [ColorList, 3005]]) {
    is(new Type(3), tag);
  }
  is(new Float64Array(3), 2002, [0, 0, 0]);
  renderer.maxTypedListsCopyByteSize = 20;
  is(new Float32Array(5), 2001);
  is(new Float32Array(6), 3001);
  renderer.maxTypedListsCopyByteSize = 4;
  is(new Float32Array(1), 101);
  is(new Float32Array(2), 3001);
  renderer.maxTypedListsCopyByteSize = 0;
  recorder.answer(SET, {result: 0, keep: true});
  let weak;
  (() => {
    const list = Float32Array.from({length: 6}, (_, i) => i);
    weak = typeof WeakRef === 'function' ? new WeakRef(list.buffer) : null;
    is(list, 3001, [0, 1, 2, 3, 4, 5]);
  })();
  assert.strictEqual(recorder.live().kept, 1);
  await sleep(0);
  forceGc();
  if (weak) assert(weak.deref(), 'the memory is held');
  recorder.reset(SET);
  await recorder.releaseKept({thread: true});
  assert.strictEqual(recorder.live().kept, 0);
  await until(() => {
    forceGc();
    return !weak || !weak.deref();
  });
  renderer.maxTypedListsCopyByteSize = -1;
});

test('a remainder of a triple does not cross', () => {
  const stream = is(VectorList.from([1, 2, 3, 4, 5, 6, 7]), 2004);
  assert.strictEqual(recorder.last(SET).bytes('stream').readUInt32LE(4), 2);
  assert(stream.value.length <= 6);
  is(VectorList.from([1, 2, 3, 4]), 104);
  assert.strictEqual(recorder.last(SET).bytes('stream').length, 8 + 12);
});

test('a view in the middle of its buffer points there', () => {
  is(new Float32Array(Float32Array.from({length: 20}, (_, i) => i).buffer, 8, 6), 2001, [2, 3, 4, 5, 6, 7]);
});

test('other typed arrays inside an array are empty lists', () => {
  for (const Type of [Int16Array, Uint8Array, Uint8ClampedArray, BigInt64Array]) {
    const stream = written([new Type(4)]);
    assert.deepStrictEqual([stream.tag, stream.value.length, stream.value[0].tag], [12, 1, 12]);
    assert.deepStrictEqual(stream.value[0].value, []);
  }
});

test('bytes are taken for a stream', () => {
  const stream = Buffer.alloc(8);
  stream.writeInt32LE(42, 4);
  is(stream, 0, 42);
  is(new Int8Array(stream.buffer, stream.byteOffset, 8), 0, 42);
});

test('arrays with a type', () => {
  is([], 12, []);
  const typed = (type, ...elements) => Object.assign(elements, {_type: type});
  is(typed('IntList', 1, 'abc', 2.9, null), 100, [1, 0, 2, 0]);
  is(typed('FLOATLIST', 0.1, '2'), 101, [Math.fround(0.1), 2]);
  is(typed('vectorlist', new Vector(1, 2, 3)), 104, [1, 2, 3]);
  is(typed('ColorList', new Color(1, 2, 3)), 105, [1, 2, 3]);
  is(typed('VectorList'), 104, []);
  is(typed('nonsense', 1), 12);
  is(typed(null, 1), 12);
  for (const bad of [typed('VectorList', new Color()), typed('ColorList', new Vector()), typed('VectorList', [1, 2, 3])]) {
    assert.throws(() => plugin.setValue('p', bad), {message: 'Error in data'});
  }
});

test('nested and long lists', () => {
  const stream = written([1, [2.5, ['text', [true]]], null]);
  assert.deepStrictEqual(stream.value.map((element) => element.tag), [0, 12, 10]);
  const long = Array.from({length: 1000}, (_, i) => i);
  assert.strictEqual(written(long).value.length, 1000);
  const circle = [];
  circle.push(circle);
  assert.throws(() => plugin.setValue('p', circle), RangeError);
});

test('the times are passed bit for bit', () => {
  const bits = () => {
    const call = recorder.last(SET);
    return call.bits[recorder.row(SET).parameters.findIndex(({name}) => name === 'time')];
  };
  plugin.setValue('p', 1);
  assert.strictEqual(bits(), 0xFFFFFFFFFFFFFFFEn);
  plugin.setValue('p', 1, 'now');
  assert.strictEqual(bits(), 0xFFFFFFFFFFFFFFFEn);
  plugin.p = 1;
  assert.strictEqual(bits(), 0xFFFFFFFFFFFFFFFFn);
  plugin.setValue('p', 1, 2);
  assert.strictEqual(bits(), 0x4000000000000000n);
});

test('scalars come back', () => {
  assert.strictEqual(read({type: 'int', value: -5}), -5);
  assert.strictEqual(read({type: 'float', value: 0.5}), 0.5);
  assert.strictEqual(read({type: 'double', value: 0.1}), 0.1);
  assert.strictEqual(read({type: 'boolean', value: 7}), true);
  assert.strictEqual(read({type: 'boolean', value: 0}), false);
  for (const text of ['', 'abc', 'abcd', 'größe']) assert.strictEqual(read({type: 'string', value: text}), text);
});

test('values come back as their classes', () => {
  const cases = [
    [{type: 'vector', value: [1, 2, 3]}, Vector, 'Vector(1, 2, 3)'],
    [{type: 'color', value: [1, 2, 3]}, Color, 'Color(1, 2, 3)'],
    [{type: 'acolor', value: [1, 2, 3, 4]}, AColor, 'AColor(1, 2, 3, 4)'],
    [{type: 'matrix', value: [1, 2, 3, 4, 5, 6, 7, 8, 9]}, Matrix,
      'Matrix(Vector(1, 2, 3), Vector(4, 5, 6), Vector(7, 8, 9))'],
    [{type: 'transformFloat', value: [1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12]}, Transform,
      'Transform(Matrix(Vector(1, 2, 3), Vector(4, 5, 6), Vector(7, 8, 9)), Vector(10, 11, 12))'],
    [{type: 'transform', value: [1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12]}, Transform,
      'Transform(Matrix(Vector(1, 2, 3), Vector(4, 5, 6), Vector(7, 8, 9)), Vector(10, 11, 12))'],
  ];
  for (const [stream, Class, text] of cases) {
    const value = read(stream);
    assert(value instanceof Class);
    assert.strictEqual(String(value), text);
  }
});

test('lists come back as copies with their prototypes', () => {
  const cases = [['intList', [1, -2], IntList], ['booleanList', [1, 0], IntList], ['floatList', [0.5, 1], FloatList],
    ['vectorList', [1, 2, 3, 4, 5, 6], VectorList], ['colorList', [1, 2, 3], ColorList]];
  for (const [type, value, Class] of cases) {
    const list = read({type, value});
    assert(list instanceof Class, type);
    assert.deepStrictEqual(Array.from(list), value);
  }
  assert.deepStrictEqual(read({type: 'list', value: [{type: 'int', value: 1}, {type: 'string', value: 'a'}]}), [1, 'a']);
});

const words = (...values) => {
  const bytes = Buffer.alloc(4 * values.length);
  values.forEach((value, i) => bytes.writeUInt32LE(value >>> 0, 4 * i));
  return bytes;
};

test('an unknown tag is undefined, and a list goes on at the wrong word', () => {
  assert.strictEqual(read(words(999, 3)), undefined);
  assert.deepStrictEqual(read(words(12, 2, 999, 0, 0, 5)), [undefined, 5]);
});

test('a text by its pointer', () => {
  for (const value of ['', 'far', 'größe 日本', 'x'.repeat(5000)]) {
    assert.strictEqual(read({type: 'stringPointer', value}), value);
    assert.deepStrictEqual(read({type: 'list', value: [{type: 'stringPointer', value}, {type: 'int', value: 5}]}), [value, 5]);
  }
  assert.strictEqual(read(words(200, 0, 0)), undefined);
});

test('a string list, as the SDK writes it', () => {
  const texts = ['abc', 'abcd', '', 'größe', 'abcdefgh'];
  assert.deepStrictEqual(read({type: 'stringList', value: texts}), texts);
  assert.deepStrictEqual(read({type: 'list', value: [{type: 'stringList', value: texts}, {type: 'int', value: 5}]}),
    [texts, 5]);
  assert.deepStrictEqual(read(words(109, 0)), []);
  assert.deepStrictEqual(read(words(109, 2, 1, 0x61, 0)), ['a', '']);
});

test('plugins come back as the one object of their ID', () => {
  assert.strictEqual(read(words(10, 77, 0)), plugin);
  assert.strictEqual(read(words(10, 0, 0)), null);
  assert.strictEqual(read(words(10, 0xFFFFFFFF, 0xFFFFFFFF)), null);
  const ref = read(words(210, 77, 0, 2));
  assert(ref instanceof kiln.PluginRef);
  assert.strictEqual(read(words(210, 77, 0, 2)), ref);
  assert.strictEqual(read(words(210, 77, 0, 0)), plugin);
});

test('a stream that ends early is undefined', () => {
  const answer = (bytes, size) => {
    recorder.answer('Kiln_getPropertyByteArrayByID', {result: 0, out: {stream: bytes, size}});
    const value = getValue.call(plugin, 'p');
    recorder.reset('Kiln_getPropertyByteArrayByID');
    return value;
  };
  for (const bytes of [words(4, 0, 0), words(9, 100, 0x61), words(101, 1000, 0), words(12, 5, 0, 1), words(104, 0x50000000),
    words(109, 7, 1, 0x61), words(28, 0, 0, 0), words(12, 0xFFFFFFFF), words(10, 1)]) {
    assert.strictEqual(answer(bytes, bytes.length), undefined);
  }
  const deep = Buffer.alloc(800000);
  for (let i = 0; i < 200000; i++) deep.writeUInt32LE(i % 2 ? 1 : 12, 4 * i);
  assert.strictEqual(answer(deep, deep.length), undefined);
});

test('random streams do nothing worse than to be no value', () => {
  let seed = 12345;
  const next = () => {
    seed = (Math.imul(seed, 1103515245) + 12345) >>> 0;
    return seed;
  };
  const TAGS = [0, 1, 2, 3, 4, 5, 6, 7, 8, 28, 9, 10, 12, 100, 101, 103, 104, 105, 109, 210, 102, 999];
  for (let round = 0; round < 500; round++) {
    const count = 1 + (next() >>> 8) % 40;
    const bytes = words(...Array.from({length: count}, () => ((next() >>> 16) % 3 ? TAGS[(next() >>> 16) % TAGS.length]
      : next())));
    recorder.answer('Kiln_getPropertyByteArrayByID', {result: 0, out: {stream: bytes, size: bytes.length}});
    getValue.call(plugin, 'p');
    if (round % 100 === 0) forceGc();
  }
  recorder.reset('Kiln_getPropertyByteArrayByID');
});

test('nothing of a stream stays behind', async () => {
  await until(() => recorder.live().blocks.length === 0);
  renderer.close();
});
