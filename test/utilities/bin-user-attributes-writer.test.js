'use strict';

// The binary form of user attributes, byte by byte.
const test = require('node:test');
const assert = require('assert');
const util = require('util');
const {loadNative, forceGc} = require('../helpers');

const kiln = loadNative({library: null});
const {BinUserAttributesWriter, Vector, Color, AColor} = kiln;
const lists = [class Root extends Int32Array {}, class IntList extends Int32Array {}, class FloatList {}, class VectorList {}, class ColorList {}];
kiln.setupKilnTypesInternal(...lists.map((list) => list.prototype));

const float = (value) => [...Buffer.from(new Float32Array([value]).buffer)];
const text = (bytes) => bytes.map((byte) => `${byte.toString(16).toUpperCase().padStart(2, '0')} `).join('');

// What add('a', value) writes behind the name.
const CASES = [
  [5, [0x80, 5]],
  [-128, [0x80, 0x80]],
  [127, [0x80, 0x7F]],
  [128, [0x00, 0x80, 0, 0, 0]],
  [-129, [0x00, 0x7F, 0xFF, 0xFF, 0xFF]],
  [1000, [0x00, 0xE8, 3, 0, 0]],
  [2.0, [0x80, 2]],
  [1.5, [0x01, ...float(1.5)]],
  [2.0000001, [0x81, 2]],
  [-0, [0x81, 0]],
  [2 ** 31, [0x01, ...float(2 ** 31)]],
  [NaN, [0x01, ...float(NaN)]],
  [Infinity, [0x01, ...float(Infinity)]],
  ['é', [0x04, 0xC3, 0xA9, 0]],
  ['', [0x04, 0]],
  [new Vector(1, 2, 3), [0xE2, 1, 2, 3]],
  [new Vector(0.5, 2, -3), [0x62, ...float(0.5), 2, 0xFD]],
  [new Vector(128, -129, 0.25), [0x02, ...float(128), ...float(-129), ...float(0.25)]],
  [new AColor(1, 0, 0.5, 1), [0xD3, 1, 0, ...float(0.5), 1]],
  [new AColor(0.5, 0.5, 0.5, 0), [0x13, ...float(0.5), ...float(0.5), ...float(0.5), 0]],
  [new Color(0.5, 1, 0), [0x73, ...float(0.5), 1, 0, 1]],
];

test('each kind of value has its own bytes', () => {
  for (const [value, bytes] of CASES) {
    const writer = new BinUserAttributesWriter();
    assert.strictEqual(writer.add('a', value), true);
    assert.strictEqual(writer.toString(), `61 00 ${text(bytes)}00`, String(value));
  }
});

test('a value of another kind is refused and nothing is written', () => {
  const writer = new BinUserAttributesWriter();
  for (const value of [{}, [], null, undefined, true, 5n, Symbol('x'), () => {}, new String('a')]) {
    assert.strictEqual(writer.add('a', value), false);
  }
  assert.strictEqual(writer.toString(), '00');
});

test('anything but a string and a value is an error', () => {
  const writer = new BinUserAttributesWriter();
  const message = 'Expected exactly 2 arguments - a string and an object to serialize';
  for (const args of [[], ['a'], [5, 5], [new String('a'), 5], [null, 5]]) {
    assert.throws(() => writer.add(...args), {name: 'Error', message});
  }
  assert.strictEqual(writer.add('a', 5, 'more'), true);
});

test('entries follow each other, and the printed form leaves the writer as it is', () => {
  const writer = new BinUserAttributesWriter();
  writer.add('größe', 5);
  writer.add('b', 'x');
  const expected = '67 72 C3 B6 C3 9F 65 00 80 05 62 00 04 78 00 00';
  assert.strictEqual(String(writer), expected);
  assert.strictEqual(String(writer), expected);
  assert.strictEqual(util.inspect(writer), expected);
});

test('toIntList gives whole words and starts the writer anew', () => {
  const writer = new BinUserAttributesWriter();
  const empty = writer.toIntList();
  assert.strictEqual(Object.getPrototypeOf(empty), lists[1].prototype);
  assert.deepStrictEqual([...new Int32Array(empty.buffer)], [0]);
  writer.add('a', 5);
  const list = writer.toIntList();
  assert.deepStrictEqual([...new Uint8Array(list.buffer)], [0x61, 0, 0x80, 5, 0, 0, 0, 0]);
  assert.strictEqual(writer.toString(), '00');
  // Six bytes and the end fill seven of eight; seven and the end fill all.
  writer.add('ab', 1000);
  assert.strictEqual(writer.toIntList().byteLength, 12);
  writer.add('a', 1000);
  assert.strictEqual(writer.toIntList().byteLength, 8);
});

test('many entries', () => {
  const writer = new BinUserAttributesWriter();
  for (let i = 0; i < 10000; ++i) writer.add('name', 1.5);
  assert.strictEqual(writer.toIntList().byteLength, 100004);
});

test('called without new it makes an instance too; its members refuse others', () => {
  const writer = BinUserAttributesWriter();
  assert(writer instanceof BinUserAttributesWriter);
  assert.throws(() => writer.add.call({}, 'a', 5), TypeError);
  for (const name of ['add', 'toIntList', 'toString']) {
    const {writable, enumerable, configurable} = Object.getOwnPropertyDescriptor(BinUserAttributesWriter.prototype, name);
    assert.deepStrictEqual([writable, enumerable, configurable], [false, true, false]);
  }
  const own = Object.getOwnPropertyDescriptor(BinUserAttributesWriter.prototype, util.inspect.custom);
  assert.deepStrictEqual([own.writable, own.enumerable, own.configurable], [false, false, false]);
});

test('writers are collected', () => {
  for (let i = 0; i < 10000; ++i) new BinUserAttributesWriter().add('name', 'value'.repeat(20));
  forceGc();
});
