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

test('lists are made from elements of any kind and any iterable', () => {
  const numbers = [1, 2, 3, 4, 5, 6];
  const points = [new kiln.Vector(1, 2, 3), new Float32Array([4, 5, 6])];
  assert.deepStrictEqual([...new VectorList(points)], numbers);
  assert.deepStrictEqual([...new VectorList(new Set(points))], numbers);
  assert.deepStrictEqual([...VectorList.from(points)], numbers);
  assert.deepStrictEqual([...VectorList.from([1, 4], (first) => [first, first + 1, first + 2])], numbers);
  assert.deepStrictEqual([...VectorList.from(new VectorList(points).elements(), (v) => v.mul(2))], numbers.map((n) => n * 2));
  assert.deepStrictEqual([...ColorList.from([new kiln.Color(1, 0.5, 0), new kiln.AColor(0, 0, 1, 0.5)])], [1, 0.5, 0, 0, 0, 1]);
  assert.deepStrictEqual([...VectorList.from([1, 2, 3], (value) => value * 2)], [2, 4, 6]);
  assert.ok(VectorList.from([]) instanceof VectorList);
  class Path extends VectorList {}
  assert.ok(Path.from([[1, 2, 3]]) instanceof Path);
});

test('what is no element is refused with its place', () => {
  const place = (index) => ({ name: 'TypeError', message: `Element ${index} must be [x, y, z] or {x, y, z}, of numbers.` });
  assert.throws(() => new VectorList([[1, 2, 3], [1, 2]]), place(1));
  assert.throws(() => new VectorList([[1, 2, 3], 4]), place(1));
  assert.throws(() => new VectorList([{ x: 1, y: 2 }]), place(0));
  assert.throws(() => new VectorList([null]), place(0));
  assert.throws(() => new VectorList([['1', '2', '3']]), place(0));
  assert.throws(() => new ColorList([{ x: 1, y: 2, z: 3 }]), { message: 'Element 0 must be [r, g, b] or {r, g, b}, of numbers.' });
});

test('elements are counted, read and written by their index', () => {
  const list = new VectorList([[1, 2, 3], [4, 5, 6]]);
  assert.deepStrictEqual([list.count, list.length], [2, 6]);
  assert.ok(list.get(1) instanceof kiln.Vector);
  assert.strictEqual(String(list.get(1)), 'Vector(4, 5, 6)');
  for (const index of [-1, 2, 0.5, NaN, '0', undefined]) assert.strictEqual(list.get(index), undefined);
  assert.strictEqual(list.set(0, list.get(1).mul(2)), undefined);
  list.set(1, [7, 8, 9]);
  assert.deepStrictEqual([...list], [8, 10, 12, 7, 8, 9]);
  for (const index of [-1, 2, 0.5, NaN]) assert.throws(() => list.set(index, [0, 0, 0]), RangeError);
  assert.throws(() => list.set(2, [0, 0, 0]), { message: 'There is no element 2: the list has 2.' });
  assert.throws(() => list.set(0, 5), TypeError);
  assert.throws(() => list.set(0), TypeError);
  assert.deepStrictEqual([...list], [8, 10, 12, 7, 8, 9]);
  const tints = new ColorList(6);
  tints.set(1, { r: 0.5, g: 0.25, b: 1 });
  assert.strictEqual(String(tints.get(1)), 'Color(0.5, 0.25, 1)');
});

test('set with numbers stays what typed arrays have', () => {
  const list = new VectorList(6);
  list.set([1, 2, 3], 3);
  list.set(new Float32Array([9]));
  assert.deepStrictEqual([...list], [9, 0, 0, 1, 2, 3]);
  assert.throws(() => list.set([1, 2], 5), RangeError);
});

test('elements are walked and become arrays; a rest that makes no element is left out', () => {
  const list = new ColorList([1, 0, 0, 0, 1, 0, 0.5]);
  assert.strictEqual(list.count, 2);
  assert.deepStrictEqual(Array.from(list.elements(), String), ['Color(1, 0, 0)', 'Color(0, 1, 0)']);
  assert.ok(Array.isArray(list.toArray()));
  assert.deepStrictEqual(list.toArray().map(String), ['Color(1, 0, 0)', 'Color(0, 1, 0)']);
  assert.deepStrictEqual(new IntList([1, -2]).toArray(), [1, -2]);
  assert.deepStrictEqual([new FloatList([0.5]).toArray(), new FloatList(4).count], [[0.5], 4]);
});

test('the members of lists are not enumerable', () => {
  for (const List of [IntList, FloatList, VectorList, ColorList]) assert.deepStrictEqual(Object.keys(List.prototype), []);
});

test('lists of a scene have the members too', () => {
  const renderer = new kiln.KilnRenderer({ enableFrameBuffer: false });
  const mesh = renderer.classes.GeomStaticMesh('mesh');
  mesh.vertices = VectorList.from([0, 1, 2], (x) => new kiln.Vector(x, 0, 0));
  assert.strictEqual(mesh.vertices.count, 3);
  assert.strictEqual(String(mesh.vertices.get(2)), 'Vector(2, 0, 0)');
  renderer.close();
});
