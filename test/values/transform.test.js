'use strict';

// The arithmetic of Transform, and the objects of its parts.
const test = require('node:test');
const assert = require('assert');
const {loadNative} = require('../helpers');

const {Vector, Matrix, Transform} = loadNative();

const triple = (v) => [v.x, v.y, v.z];
const parts = (t) => [0, 1, 2, 3].flatMap((i) => triple(t[i]));
const same = (t, expected) => assert.deepStrictEqual(parts(t), expected);
const T = [1.1, -2, 3, 0.4, 5, -6.6, 7, 8, 10.5, 0.25, -1 / 3, 4];
const U = [0.3, 1, -1, 2, 1 / 3, 9, -4, 0.1, 1, 5, 6, 7.7];
const t = new Transform(...T);
const u = new Transform(...U);
const v = new Vector(0.5, -1.5, 2.25);
const matrixOf = (e) => new Matrix(...e.slice(0, 9));
const offsetOf = (e) => new Vector(...e.slice(9));
const ZERO = Array(12).fill(0);

test('construction', () => {
  same(new Transform(), ZERO);
  same(new Transform(...T, 5), T);
  same(new Transform(1), ZERO);
  same(new Transform(matrixOf(T)), ZERO);
  same(new Transform(t), T);
  same(new Transform(t, 1), T);
  same(new Transform(matrixOf(T), [1]), [...T.slice(0, 9), 1, 0, 0]);
  same(new Transform(matrixOf(T), 'x', 3), [...T.slice(0, 9), 0, 0, 0]);
  same(new Transform([1], v, {}, [1, 2, 3, 4]), [1, 0, 0, ...triple(v), 0, 0, 0, 1, 2, 3]);
  same(new Transform(v, v, v, v, 1, 2, 3, 4, 5, 6, 7), [...triple(v), ...triple(v), ...triple(v), ...triple(v)]);
});

test('parts are made once, and given ones are kept', () => {
  assert.strictEqual(t.matrix, t.matrix);
  assert.strictEqual(t[3], t.offset);
  assert.strictEqual(t[1], t.matrix.column1);
  const m = matrixOf(T);
  const made = new Transform(m, v);
  assert.strictEqual(made.matrix, m);
  assert.strictEqual(made.offset, v);
  assert.strictEqual(new Transform(made).matrix, m);
  const other = new Matrix(2);
  const replaced = made.replaceMatrix(other);
  assert.strictEqual(replaced.matrix, other);
  assert.strictEqual(replaced.offset, v);
  const w = new Vector(1, 2, 3);
  const moved = made.replaceOffset(w);
  assert.strictEqual(moved.offset, w);
  assert.strictEqual(moved.matrix, m);
  same(moved, [...T.slice(0, 9), 1, 2, 3]);
  assert.notStrictEqual(new Transform(v, v, v, v).offset, v);
});

test('by elements', () => {
  same(t.add(u), T.map((e, i) => e + U[i]));
  same(t.sub(u), T.map((e, i) => e - U[i]));
  same(t.mul(1.5), T.map((e) => e * 1.5));
  same(t.mul(new Number(1.5)), T.map((e) => e * 1.5));
  same(t.div(3), T.map((e) => e * (1 / 3)));
  same(t.negative(), T.map((e) => -e));
});

test('composition, points and directions', () => {
  const [M, N] = [matrixOf(T), matrixOf(U)];
  const offset = M.mulVector(offsetOf(U)).add(offsetOf(T));
  same(t.mul(u), [...[0, 1, 2].flatMap((i) => triple(M.mul(N)[i])), ...triple(offset)]);
  assert.deepStrictEqual(triple(t.mulVector(v)), triple(M.mulVector(v).add(offsetOf(T))));
  assert.deepStrictEqual(triple(t.transformVector(v)), triple(M.mulVector(v)));
  assert.deepStrictEqual(triple(new Transform().mulVector(v)), [0, 0, 0]);
});

test('inverse', () => {
  const inverse = matrixOf(T).inverse();
  same(t.inverse(), [...[0, 1, 2].flatMap((i) => triple(inverse[i])), ...triple(inverse.mulVector(offsetOf(T)).negative())]);
  parts(t.inverse().mul(t)).forEach((e, i) => assert(Math.abs(e - (i < 9 && i % 4 === 0 ? 1 : 0)) < 1e-12));
  parts(new Transform(new Matrix(0), v).inverse()).forEach((e) => assert(e === 0));
});

test('wrong arguments', () => {
  const cases = {
    add: 'Argument 0 (Transform) should be passed',
    sub: 'Argument 0 (Transform) should be passed',
    div: 'Argument 0 (Number) should be passed',
    mul: 'Argument 0 (Transform or Number) should be passed',
    mulVector: 'Argument 0 (Vector) should be passed',
    transformVector: 'Argument 0 (Vector) should be passed',
    replaceMatrix: 'Argument 0 (Matrix) should be passed',
    replaceOffset: 'Argument 0 (Vector) should be passed',
  };
  for (const name of Object.keys(cases)) {
    for (const value of [undefined, 'x', {}, [1, 2, 3]]) {
      assert.throws(() => t[name](value), {name: 'Error', message: cases[name]}, name);
    }
  }
});

test('a text', () => {
  assert.strictEqual(String(new Transform(new Matrix(1), new Vector(1, 2, 3.5))),
    'Transform(Matrix(Vector(1, 0, 0), Vector(0, 1, 0), Vector(0, 0, 1)), Vector(1, 2, 3.5))');
});
