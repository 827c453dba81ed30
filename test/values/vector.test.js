'use strict';

// The arithmetic of Vector, to the last bit.
const test = require('node:test');
const assert = require('assert');
const {loadNative, runChild} = require('../helpers');

const {Vector, Matrix, Transform} = loadNative();

const parts = (v) => [v.x, v.y, v.z];
const same = (v, expected) => assert.deepStrictEqual(parts(v), expected);
const A = [0.1, -2.7, 1e3 / 7];
const B = [-3.3, 1 / 3, 0.7];
const a = new Vector(...A);
const b = new Vector(...B);
const cross = ([x, y, z], [u, v, w]) => [y * w - z * v, u * z - x * w, x * v - u * y];
const sqr = ([x, y, z]) => x * x + y * y + z * z;
const scaled = (v, n) => v.map((c) => c * n);
const M = [1, 2, 3, 4, 5, 6, 7, 8, 10.5];
const m = new Matrix(...M);

test('construction', () => {
  same(new Vector(), [0, 0, 0]);
  same(new Vector(1), [0, 0, 0]);
  same(new Vector(1, 2), [0, 0, 0]);
  same(new Vector(1, 2, 3, 4), [1, 2, 3]);
  same(new Vector('1', null, true), [1, 0, 1]);
  same(new Vector([1, 2]), [0, 0, 0]);
  same(new Vector([1, 2, 3, 4]), [1, 2, 3]);
  same(new Vector(a), A);
  same(new Vector({x: 1, y: 2, z: 3}), [0, 0, 0]);
  assert(Number.isNaN(new Vector(undefined, 1, 2).x));
});

test('by components', () => {
  same(a.add(b), A.map((c, i) => c + B[i]));
  same(a.sub(b), A.map((c, i) => c - B[i]));
  same(a.mul(b), A.map((c, i) => c * B[i]));
  same(a.mul(1.7), scaled(A, 1.7));
  same(a.div(b), A.map((c, i) => c / B[i]));
  same(a.div(3), scaled(A, 1 / 3));
  same(new Vector(1, -1, 0).div(0), [Infinity, -Infinity, NaN]);
  same(a.div(new Vector(0, 1, 0)), [Infinity, -2.7, Infinity]);
  same(a.negative(), A.map((c) => -c));
  same(a, A);
});

test('products', () => {
  assert.strictEqual(a.dot(b), A[1] * B[1] + A[0] * B[0] + A[2] * B[2]);
  same(a.cross(b), cross(A, B));
  const c = [1.5, 2.5, -0.1];
  const mixed = (A[2] * B[0] - A[0] * B[2]) * c[1] + (A[1] * B[2] - A[2] * B[1]) * c[0] +
    (A[0] * B[1] - A[1] * B[0]) * c[2];
  assert.strictEqual(Vector.mixed(a, b, new Vector(...c)), mixed);
  const [x, y, z] = A;
  same(a.mul(m), [0, 3, 6].map((i) => M[i] * x + M[i + 1] * y + M[i + 2] * z));
  const crossed = a.crossMatrix(m);
  [0, 1, 2].forEach((i) => same(crossed[i], cross(A, M.slice(3 * i, 3 * i + 3))));
});

test('lengths', () => {
  assert.strictEqual(a.lengthSqr(), sqr(A));
  assert.strictEqual(a.length(), Math.sqrt(sqr(A)));
  same(a.normalize(), scaled(A, 1 / Math.sqrt(sqr(A))));
  same(new Vector(0, 0, 0).normalize(), [0, 0, 0]);
  same(new Vector(1e-16, 0, 0).normalize(), [1e-16, 0, 0]);
});

test('rotate keeps the length', () => {
  const r = cross(B, A).map((c, i) => c + A[i]);
  same(a.rotate(b), scaled(r, Math.sqrt(sqr(A) / sqr(r))));
  same(new Vector(0, 0, 0).rotate(b), [0, 0, 0]);
  same(new Vector(1e-9, 0, 0).rotate(new Vector(0, 0, 0)), [1e-9, 0, 0]);
});

test('a transform adds its offset first, and says that it is deprecated, each time', async () => {
  const t = new Transform(m, new Vector(1, 2, 3));
  const child = await runChild(({paths}) => {
    const {Vector, Matrix, Transform} = require(paths.native);
    const t = new Transform(new Matrix(2), new Vector(1, 2, 3));
    console.log(String(new Vector(1, 1, 1).mul(t)), String(new Vector(1, 1, 1).mul(t)), String(t.mulVector(new Vector(1, 1, 1))));
  });
  assert.strictEqual(child.stdout.trim(), 'Vector(4, 6, 8) Vector(4, 6, 8) Vector(3, 4, 5)');
  const line = "The Vector.mul(Transform) function is deprecated. It doesn't do what you want. " +
    'Please use Transform.mulVector(Vector) instead.\n';
  assert.strictEqual(child.stderr, line + line);
  assert.strictEqual(t.offset.x, 1);
});

test('wrong arguments', () => {
  const cases = {
    add: 'Argument 0 (Vector) should be passed',
    sub: 'Argument 0 (Vector) should be passed',
    mul: 'Argument 0 (Vector or Matrix or Transform or Number) should be passed',
    div: 'Argument 0 (Number or Vector) should be passed',
    dot: 'Argument 0 (v: Vector) should be passed',
    cross: 'Argument 0 (v: Vector) should be passed',
    crossMatrix: 'Argument 0 (m: Matrix) should be passed',
    rotate: 'Argument 0 (v: Vector) should be passed',
  };
  for (const name of Object.keys(cases)) {
    for (const value of [undefined, null, 'x', {}, [1, 2, 3], Object.create(a), new Proxy(a, {})]) {
      assert.throws(() => a[name](value), {name: 'Error', message: cases[name]});
    }
  }
  for (const name of ['mul', 'div']) assert.throws(() => a[name](new Number(2)), {message: cases[name]});
  assert.throws(() => a.add(1), {message: cases.add});
  assert.throws(() => a.div(m), {message: cases.div});
  const message =
    'Argument 0 (v0: Vector), Argument 1 (v1: Vector) and Argument 2 (v2: Vector) should be passed';
  assert.throws(() => Vector.mixed(a, b), {name: 'Error', message});
  assert.throws(() => Vector.mixed(a, b, [1, 2, 3]), {name: 'Error', message});
});
