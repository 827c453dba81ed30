'use strict';

// The arithmetic of Matrix, and the objects of its columns.
const test = require('node:test');
const assert = require('assert');
const {loadNative} = require('../helpers');

const {Vector, Matrix} = loadNative();

const parts = (m) => [0, 1, 2].flatMap((i) => [m[i].x, m[i].y, m[i].z]);
const same = (m, expected) => assert.deepStrictEqual(parts(m), expected);
const M = [1.1, -2, 3, 0.4, 5, -6.6, 7, 8, 10.5];
const N = [0.3, 1, -1, 2, 1 / 3, 9, -4, 0.1, 1];
const m = new Matrix(...M);
const n = new Matrix(...N);
const V = [0.5, -1.5, 2.25];
const v = new Vector(...V);
const columns = (e) => [e.slice(0, 3), e.slice(3, 6), e.slice(6, 9)];
const mulVector = (e, [x, y, z]) => [0, 1, 2].map((r) => e[r] * x + e[3 + r] * y + e[6 + r] * z);
const cross = ([x, y, z], [u, w, t]) => [y * t - z * w, u * z - x * t, x * w - u * y];
const length = ([x, y, z]) => Math.sqrt(x * x + y * y + z * z);
const normalized = (c) => (length(c) > 1e-15 ? c.map((e) => e * (1 / length(c))) : c);
const ZERO = Array(9).fill(0);
const diagonal = (x, y, z) => [x, 0, 0, 0, y, 0, 0, 0, z];

test('construction', () => {
  same(new Matrix(), ZERO);
  same(new Matrix(2), diagonal(2, 2, 2));
  same(new Matrix(new Number(2)), diagonal(2, 2, 2));
  same(new Matrix(1, 2), diagonal(1, 1, 1));
  same(new Matrix(v), diagonal(...V));
  same(new Matrix(m), M);
  same(new Matrix('2'), ZERO);
  same(new Matrix(...M, 11), M);
  same(new Matrix(1, 2, 3), ZERO);
  same(new Matrix(1, 2, 3, 4, 5, 6, 7, 8), ZERO);
  same(new Matrix(v, [1, 2, 3], {}), [...V, 1, 2, 3, 0, 0, 0]);
  assert(Number.isNaN(parts(new Matrix([1, 2], v, v))[2]));
});

test('columns are made once, and given ones are kept', () => {
  assert.strictEqual(m.column0, m.column0);
  assert.strictEqual(m[1], m.column1);
  const w = new Vector(1, 1, 1);
  const made = new Matrix(v, w, [1, 2, 3]);
  assert.strictEqual(made.column0, v);
  assert.strictEqual(made.column1, w);
  assert.strictEqual(new Matrix(made).column1, w);
  const replaced = made.replaceColumn(2, v);
  assert.strictEqual(replaced.column2, v);
  assert.strictEqual(replaced.column1, w);
  assert.notStrictEqual(made.replaceRow(0, v).column1, w);
});

test('products', () => {
  same(m.mul(n), columns(N).flatMap((c) => mulVector(M, c)));
  same(m.mul(1.5), M.map((e) => e * 1.5));
  same(m.mul(new Number(1.5)), M.map((e) => e * 1.5));
  const product = m.mulVector(v);
  assert.deepStrictEqual([product.x, product.y, product.z], mulVector(M, V));
  same(m.div(3), M.map((e) => e * (1 / 3)));
  same(m.div(0), M.map((e) => e * Infinity));
  same(m.cross(v), columns(M).flatMap((c) => cross(c, V)));
  same(Matrix.outerProduct(v, new Vector(1, 2, 3)), V.flatMap((c) => [1, 2, 3].map((e) => e * c)));
});

test('sums', () => {
  same(m.add(n), M.map((e, i) => e + N[i]));
  same(m.sub(n), M.map((e, i) => e - N[i]));
  same(m.negative(), M.map((e) => -e));
  same(m.addDiagonal(v), M.map((e, i) => (i % 4 === 0 ? e + V[i / 4] : e)));
  same(m.addTranspose(n), M.map((e, i) => e + N[3 * (i % 3) + Math.floor(i / 3)]));
  same(m.transpose(), M.map((_, i) => M[3 * (i % 3) + Math.floor(i / 3)]));
});

test('inverse', () => {
  const e = M;
  const d = (e[2] * e[3] - e[0] * e[5]) * e[7] + (e[1] * e[5] - e[2] * e[4]) * e[6] +
    (e[0] * e[4] - e[1] * e[3]) * e[8];
  const k = 1 / d;
  same(m.inverse(), [(e[8] * e[4] - e[7] * e[5]) * k, (e[2] * e[7] - e[1] * e[8]) * k, (e[1] * e[5] - e[2] * e[4]) * k,
    (e[6] * e[5] - e[8] * e[3]) * k, (e[0] * e[8] - e[2] * e[6]) * k, (e[2] * e[3] - e[0] * e[5]) * k,
    (e[7] * e[3] - e[6] * e[4]) * k, (e[1] * e[6] - e[0] * e[7]) * k, (e[0] * e[4] - e[1] * e[3]) * k]);
  parts(m.inverse().mul(m)).forEach((c, i) => assert(Math.abs(c - (i % 4 === 0 ? 1 : 0)) < 1e-12));
  same(new Matrix(1, 2, 3, 2, 4, 6, 7, 8, 9).inverse(), ZERO);
  same(new Matrix(NaN).inverse(), ZERO);
});

test('frames', () => {
  const [c0, c1, c2] = columns(M);
  const n0 = normalized(c0);
  const w = normalized(cross(c2, c0));
  same(m.orthonormal(), [...n0, ...w, ...cross(n0, w)]);
  const scale = (c, l) => c.map((e) => e * l);
  same(m.orthogonal(), [...scale(n0, length(c0)), ...scale(w, length(c1)), ...scale(cross(n0, w), length(c2))]);
  same(m.withoutScale(), columns(M).flatMap(normalized));
  const turned = m.rotate(v);
  [0, 1, 2].forEach((i) => assert.strictEqual(String(turned[i]), String(m[i].rotate(v))));
});

test('rotations', () => {
  const angle = 0.7;
  const [c, s] = [Math.cos(angle), Math.sin(angle)];
  same(Matrix.makeRotationMatrixX(angle), [1, 0, 0, 0, c, s, 0, -s, c]);
  same(Matrix.makeRotationMatrixY(angle), [c, 0, -s, 0, 1, 0, s, 0, c]);
  same(Matrix.makeRotationMatrixZ(new Number(angle)), [c, s, 0, -s, c, 0, 0, 0, 1]);
});

test('replacing', () => {
  same(m.replaceColumn(1.9, v), [...M.slice(0, 3), ...V, ...M.slice(6)]);
  same(m.replaceColumn(-0.5, v), [...V, ...M.slice(3)]);
  same(m.replaceRow(new Number(2), v), [M[0], M[1], V[0], M[3], M[4], V[1], M[6], M[7], V[2]]);
  for (const index of [3, -1, 1e20, NaN, -Infinity]) {
    assert.throws(() => m.replaceColumn(index, v), {name: 'Error', message: 'Index out of range'});
    assert.throws(() => m.replaceRow(index, v), {name: 'Error', message: 'Index out of range'});
  }
});

test('wrong arguments', () => {
  const cases = {
    mul: 'Argument 0 (Matrix or Number) should be passed',
    mulVector: 'Argument 0 (Vector) should be passed',
    div: 'Argument 0 (Number) should be passed',
    sub: 'Argument 0 (Matrix) should be passed',
    add: 'Argument 0 (Matrix) should be passed',
    cross: 'Argument 0 (Vector) should be passed',
    rotate: 'Argument 0 (axis: Vector) should be passed',
    addDiagonal: 'Argument 0 (diag: Vector) should be passed',
    addTranspose: 'Argument 0 (transpose: Matrix) should be passed',
    replaceRow: 'Argument 0 (index: Number) and Argument 1 (row: Vector) should be passed',
    replaceColumn: 'Argument 0 (index: Number) and Argument 1 (column: Vector) should be passed',
  };
  for (const name of Object.keys(cases)) {
    for (const value of [undefined, 'x', {}, [1, 2, 3]]) {
      assert.throws(() => m[name](value), {name: 'Error', message: cases[name]}, name);
    }
  }
  assert.throws(() => m.replaceRow(0), {message: cases.replaceRow});
  assert.throws(() => m.mul(v), {message: cases.mul});
  for (const axis of 'XYZ') {
    assert.throws(() => Matrix[`makeRotationMatrix${axis}`]('1'), {message: 'Argument 0 (angle: Number) should be passed'});
  }
  assert.throws(() => Matrix.outerProduct(v), {message: 'Argument 0 (Vector) and Argument 1 (Vector) should be passed'});
});

test('a text', () => {
  assert.strictEqual(String(new Matrix(...[1, 2, 3, 4, 5, 6, 7, 8, 9.5])),
    'Matrix(Vector(1, 2, 3), Vector(4, 5, 6), Vector(7, 8, 9.5))');
});
