// The value classes against plain arrays of numbers, which make a new array for each result as those make an object.
'use strict';

const kiln = require('..');
const { compare, report } = require('./measure.js');

// Long enough for several collections: what objects cost is paid there.
const SLICES = { microseconds: 20000 };
const RING = 64;

// gl-matrix's vec3.add(vec3.create(), a, b) and mat3.multiply(mat3.create(), a, b).
function addArrays(out, a, b) {
  out[0] = a[0] + b[0];
  out[1] = a[1] + b[1];
  out[2] = a[2] + b[2];
  return out;
}

function multiplyArrays(out, a, b) {
  const a00 = a[0], a01 = a[1], a02 = a[2];
  const a10 = a[3], a11 = a[4], a12 = a[5];
  const a20 = a[6], a21 = a[7], a22 = a[8];
  const b00 = b[0], b01 = b[1], b02 = b[2];
  const b10 = b[3], b11 = b[4], b12 = b[5];
  const b20 = b[6], b21 = b[7], b22 = b[8];
  out[0] = b00 * a00 + b01 * a10 + b02 * a20;
  out[1] = b00 * a01 + b01 * a11 + b02 * a21;
  out[2] = b00 * a02 + b01 * a12 + b02 * a22;
  out[3] = b10 * a00 + b11 * a10 + b12 * a20;
  out[4] = b10 * a01 + b11 * a11 + b12 * a21;
  out[5] = b10 * a02 + b11 * a12 + b12 * a22;
  out[6] = b20 * a00 + b21 * a10 + b22 * a20;
  out[7] = b20 * a01 + b21 * a11 + b22 * a21;
  out[8] = b20 * a02 + b21 * a12 + b22 * a22;
  return out;
}

const a = new kiln.Vector(1, 2, 3);
const b = new kiln.Vector(0.5, 0.25, 0.125);
const arrayA = new Float32Array([1, 2, 3]);
const arrayB = new Float32Array([0.5, 0.25, 0.125]);
const m = new kiln.Matrix(new kiln.Vector(1, 2, 3), new kiln.Vector(4, 5, 6), new kiln.Vector(7, 8, 10));
const arrayM = new Float32Array([1, 2, 3, 4, 5, 6, 7, 8, 10]);

// Results are kept for a while, so that none is left out.
globalThis.ring = new Array(RING).fill(null);
const { ring } = globalThis;

function addVectors(count) {
  for (let i = 0; i < count; i++) ring[i & (RING - 1)] = a.add(b);
}
function addPlain(count) {
  for (let i = 0; i < count; i++) ring[i & (RING - 1)] = addArrays(new Float32Array(3), arrayA, arrayB);
}
function multiplyMatrices(count) {
  for (let i = 0; i < count; i++) ring[i & (RING - 1)] = m.mul(m);
}
function multiplyPlain(count) {
  for (let i = 0; i < count; i++) ring[i & (RING - 1)] = multiplyArrays(new Float32Array(9), arrayM, arrayM);
}
function readComponents(count) {
  let sum = 0;
  for (let i = 0; i < count; i++) sum += a.x;
  globalThis.sum = sum;
}

if (a.add(b).x !== 1.5 || !(m.mul(m) instanceof kiln.Matrix)) throw new Error('The value classes do not compute.');
report('values: Vector.add', 'add() of new arrays', compare(addVectors, addPlain, SLICES), { atMost: 2.2 });
report('values: Matrix.mul', 'multiply() of new arrays', compare(multiplyMatrices, multiplyPlain, SLICES), { atMost: 3.2 });
report('values: Vector.x', 'add() of new arrays', compare(readComponents, addPlain, SLICES));
