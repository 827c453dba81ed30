// The list classes: typed arrays by themselves, and prototypes that the add-on gets in the right order.
'use strict';

const assert = require('assert');
const { test } = require('node:test');
const { IntList, FloatList, VectorList, ColorList, setupLists } = require('../../lib/lists.js');

test('the add-on gets the root and the four prototypes', () => {
  const calls = [];
  setupLists({ setupKilnTypesInternal: (...args) => calls.push(args) });
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
