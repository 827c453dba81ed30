'use strict';

// Recognising and printing lists.
const test = require('node:test');
const assert = require('assert');
const {loadNative} = require('../helpers');

const kiln = loadNative();

class IntList extends Int32Array {}
class FloatList extends Float32Array {}
class VectorList extends Float32Array {}
class ColorList extends Float32Array {}
const setUp = () => kiln.setupKilnTypesInternal(Float32Array.prototype, IntList.prototype, FloatList.prototype,
  VectorList.prototype, ColorList.prototype);

test('before the set-up nothing is a list', () => {
  assert.strictEqual(kiln.isVectorList(new VectorList(3)), false);
  assert.strictEqual(kiln.typedListToString(new VectorList(3)), 'FloatList(0, 0, 0)');
});

test('the set-up wants exactly five arguments', () => {
  for (const count of [0, 4, 6]) {
    assert.throws(() => kiln.setupKilnTypesInternal(...Array(count).fill({})), {
      name: 'Error', message: 'Error: Broken SDK build!',
    });
  }
  assert.strictEqual(setUp(), undefined);
  assert.throws(() => kiln.setupKilnTypesInternal({}, {}, {}, {}), /Broken/);
  assert.strictEqual(kiln.isVectorList(new VectorList(3)), true, 'the fields keep what they held');
});

test('lists are recognised by their prototypes', () => {
  class Sub extends VectorList {}
  assert.strictEqual(kiln.isVectorList(new VectorList(3)), true);
  assert.strictEqual(kiln.isVectorList(new Sub(3)), true);
  assert.strictEqual(kiln.isColorList(new ColorList(3)), true);
  for (const value of [new ColorList(3), new FloatList(3), new Float32Array(3), [], 5, null, undefined,
    Object.create(VectorList.prototype), new Proxy(new VectorList(3), {})]) {
    assert.strictEqual(kiln.isVectorList(value), false);
  }
  assert.strictEqual(kiln.isVectorList(), false);
  assert.strictEqual(kiln.isColorList(new VectorList(3)), false);
});

test('a root that lies on no chain, and a chain through a proxy, end with false', () => {
  kiln.setupKilnTypesInternal({}, IntList.prototype, FloatList.prototype, VectorList.prototype, ColorList.prototype);
  assert.strictEqual(kiln.isVectorList(new Float32Array(3)), false);
  const array = new Float32Array(3);
  Object.setPrototypeOf(array, new Proxy({}, {getPrototypeOf() { throw new Error('asked'); }}));
  assert.strictEqual(kiln.isVectorList(array), false);
  Object.setPrototypeOf(array, null);
  assert.strictEqual(kiln.isVectorList(array), false);
  setUp();
});

test('a list of numbers is not cut for a rest of one to three', () => {
  const list = (count) => Int32Array.from({length: count}, (_, i) => i);
  assert.strictEqual(kiln.intListToString(list(8), 5), 'IntList(0, 1, 2, 3, 4, 5, 6, 7)');
  assert.strictEqual(kiln.intListToString(list(9), 5), 'IntList(0, 1, 2, 3, 4, ... 4 more items)');
  assert.strictEqual(kiln.intListToString(list(0)), 'IntList()');
  assert.strictEqual(kiln.intListToString(list(3), 0), 'IntList(0, 1, 2)');
  assert.strictEqual(kiln.intListToString(list(3), -1), 'IntList(0, 1, 2)');
});

test('the limit is converted to an integer', () => {
  const list = Int32Array.from({length: 9}, (_, i) => i);
  const cut = 'IntList(0, 1, 2, 3, 4, ... 4 more items)';
  for (const limit of ['5', 5.9, {valueOf: () => 5}, 2 ** 32 + 5]) assert.strictEqual(kiln.intListToString(list, limit), cut);
  for (const limit of [undefined, null, 'x', NaN, Infinity, -(2 ** 31), 9]) {
    assert.strictEqual(kiln.intListToString(list, limit), 'IntList(0, 1, 2, 3, 4, 5, 6, 7, 8)');
  }
});

test('a list of triples is cut for a rest of one', () => {
  const list = new VectorList(18);
  assert(kiln.vectorListToString(list, 5).endsWith('Vector(0, 0, 0), ... 1 more items)'));
  assert.strictEqual(kiln.vectorListToString(new VectorList([1, 2.5, 1e10])), 'VectorList(Vector(1, 2.5, 1e+10))');
  assert.strictEqual(kiln.colorListToString(new ColorList([1, 0.1, 0])), 'ColorList(Color(1, 0.1, 0))');
});

test('bytes are read as they are', () => {
  const bytes = new Uint8Array(13);
  assert.strictEqual(kiln.floatListToString(bytes), 'FloatList(0, 0, 0)');
  assert.strictEqual(kiln.vectorListToString(bytes), 'VectorList(Vector(0, 0, 0))');
  assert.strictEqual(kiln.intListToString(new Float32Array([1])), 'IntList(1065353216)');
  assert.strictEqual(kiln.floatListToString(new DataView(new Float32Array([0, 1.5]).buffer, 4)), 'FloatList(1.5)');
  assert.strictEqual(kiln.floatListToString(new Float32Array([3.4028234e38, -0, NaN, Infinity])),
    'FloatList(3.402823e+38, -0, nan, inf)');
  for (const value of [5, 'x', null, [], {}, new ArrayBuffer(8)]) {
    assert.strictEqual(kiln.intListToString(value), undefined);
  }
  assert.strictEqual(kiln.intListToString(), undefined);
});

test('typedListToString picks the form by the kind', () => {
  const printed = [new Uint32Array([4294967295]), new IntList([1]), new VectorList(3), new ColorList(3),
    new FloatList([0.5]), new Float64Array([1, 2]), 'text'].map((list) => kiln.typedListToString(list));
  assert.deepStrictEqual(printed, ['IntList(-1)', 'IntList(1)', 'VectorList(Vector(0, 0, 0))',
    'ColorList(Color(0, 0, 0))', 'FloatList(0.5)', '1,2', 'text']);
  assert.throws(() => kiln.typedListToString({toString() { throw new RangeError('no'); }}), RangeError);
});

test('a list of millions prints no more than its limit', () => {
  assert.strictEqual(kiln.floatListToString(new Float32Array(4e6), 2), 'FloatList(0, 0, ... 3999998 more items)');
});

test('a detached list is empty', () => {
  const list = new Float32Array(3);
  structuredCloneOrSkip(list.buffer);
  assert.strictEqual(kiln.floatListToString(list), list.length ? 'FloatList(0, 0, 0)' : 'FloatList()');
});

function structuredCloneOrSkip(buffer) {
  const {MessageChannel} = require('worker_threads');
  const {port1} = new MessageChannel();
  port1.postMessage(null, [buffer]);
  port1.close();
}
