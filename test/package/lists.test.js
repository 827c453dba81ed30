// The list classes: typed arrays by themselves, and prototypes that the add-on gets in the right order.
'use strict';

const assert = require('assert');
const { test } = require('node:test');
const util = require('util');
const kiln = require('../../lib/index.js');
const { IntList, FloatList, VectorList, ColorList, setupLists } = require('../../lib/lists.js');

test('the add-on gets the root and the four prototypes', () => {
  const calls = [];
  setupLists({ ...kiln, setupKilnTypesInternal: (...args) => calls.push(args) });
  assert.strictEqual(calls.length, 1);
  const [root, ...prototypes] = calls[0];
  assert.strictEqual(root, Float32Array.prototype);
  assert.deepStrictEqual(prototypes.map((one) => one.constructor), [IntList, FloatList, VectorList, ColorList]);
});

test('the root lies above every float list and not above the int list', () => {
  for (const List of [FloatList, VectorList, ColorList]) {
    assert.ok(Object.prototype.isPrototypeOf.call(Float32Array.prototype, List.prototype), List.name);
  }
  assert.ok(!Object.prototype.isPrototypeOf.call(Float32Array.prototype, IntList.prototype));
});

test('a swapped prototype makes a list of a typed array, with the methods of both', () => {
  const list = Object.setPrototypeOf(new Float32Array([1, 2, 3, 4, 5, 6]), VectorList.prototype);
  assert.ok(list instanceof VectorList && list instanceof Float32Array);
  const half = list.slice(0, 3);
  assert.ok(half instanceof VectorList);
  assert.deepStrictEqual([...half], [1, 2, 3]);
  assert.deepStrictEqual([...list.map((value) => value * 2)], [2, 4, 6, 8, 10, 12]);
});

test('vectors and colours are flattened', () => {
  assert.deepStrictEqual([...new VectorList([[1, 2, 3], { x: 4, y: 5, z: 6 }])], [1, 2, 3, 4, 5, 6]);
  assert.deepStrictEqual([...new ColorList([{ r: 0.5, g: 0.25, b: 0 }, [1, 1, 1]])], [0.5, 0.25, 0, 1, 1, 1]);
});

test('the arguments of a typed array go through', () => {
  const bytes = new ArrayBuffer(24);
  assert.strictEqual(new VectorList().length, 0);
  assert.strictEqual(new VectorList(6).length, 6);
  assert.deepStrictEqual([...new ColorList([1, 2, 3])], [1, 2, 3]);
  assert.deepStrictEqual([...new VectorList([])], []);
  assert.strictEqual(new VectorList(bytes, 12, 3).byteOffset, 12);
  assert.deepStrictEqual([...VectorList.from([7, 8, 9])], [7, 8, 9]);
  assert.deepStrictEqual([...ColorList.of(1, 0, 1)], [1, 0, 1]);
});

test('lists print as the values of a scene do', () => {
  assert.strictEqual(String(new IntList([1, -2])), 'IntList(1, -2)');
  assert.strictEqual(`${new FloatList([0.5])}`, 'FloatList(0.5)');
  assert.strictEqual(String(new VectorList([[1, 2, 3]])), 'VectorList(Vector(1, 2, 3))');
  assert.strictEqual(util.inspect({ tint: new ColorList([[1, 0, 0.5]]) }), '{ tint: ColorList(Color(1, 0, 0.5)) }');
  const long = new VectorList(300);
  assert.match(util.inspect(long, { maxArrayLength: 2 }), /^VectorList\(Vector\(0, 0, 0\), Vector\(0, 0, 0\), \.\.\. 98 more items\)$/);
  assert.ok(!util.inspect(long, { maxArrayLength: null }).includes('more items'));
  assert.match(new IntList(20).toString(3), /17 more items/);
});

test('the add-on knows the lists by their prototypes', () => {
  class Path extends VectorList {}
  assert.strictEqual(kiln.isVectorList(new VectorList(3)), true);
  assert.strictEqual(kiln.isVectorList(new Path(3)), true);
  assert.strictEqual(kiln.isVectorList(new ColorList(3)), false);
  assert.strictEqual(kiln.isVectorList(new Float32Array(3)), false);
  assert.strictEqual(kiln.isColorList(new ColorList(3)), true);
  assert.strictEqual(kiln.isColorList(new FloatList(3)), false);
});
