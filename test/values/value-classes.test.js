'use strict';

// What all five value classes have in common.
const test = require('node:test');
const assert = require('assert');
const util = require('util');
const {loadNative, forceGc} = require('../helpers');

const kiln = loadNative();
const {Vector, Matrix, Transform, Color, AColor} = kiln;
const inspect = Symbol.for('nodejs.util.inspect.custom');

const MEMBERS = {
  Vector: ['toString', 'add', 'sub', 'mul', 'div', 'dot', 'cross', 'crossMatrix', 'length', 'lengthSqr', 'normalize',
    'rotate', 'negative'],
  Matrix: ['toString', 'mul', 'mulVector', 'div', 'sub', 'add', 'cross', 'negative', 'orthogonal', 'orthonormal',
    'transpose', 'inverse', 'withoutScale', 'rotate', 'replaceRow', 'replaceColumn', 'addDiagonal', 'addTranspose'],
  Transform: ['toString', 'add', 'sub', 'div', 'mul', 'mulVector', 'negative', 'inverse', 'transformVector',
    'replaceMatrix', 'replaceOffset'],
  Color: ['toString', 'add', 'sub', 'mul', 'div', 'getClosestTemperature', 'getClosestTemperatureAndColor', 'toSRGB',
    'fromSRGB'],
  AColor: ['toString', 'add', 'sub', 'mul', 'div', 'toSRGB', 'fromSRGB'],
};
const ACCESSORS = {
  Vector: ['x', 'y', 'z'], Matrix: ['column0', 'column1', 'column2'], Transform: ['matrix', 'offset'],
  Color: ['r', 'g', 'b'], AColor: ['r', 'g', 'b', 'a'],
};

for (const name of Object.keys(MEMBERS)) {
  const Class = kiln[name];

  test(`${name}: members, their order and attributes`, () => {
    const present = Object.getOwnPropertyNames(Class.prototype).filter((key) => MEMBERS[name].includes(key));
    assert.deepStrictEqual(present, MEMBERS[name]);
    for (const key of MEMBERS[name]) {
      const {writable, enumerable, configurable, value} = Object.getOwnPropertyDescriptor(Class.prototype, key);
      assert.deepStrictEqual([writable, enumerable, configurable], [false, true, false], key);
      assert.strictEqual(value.name, key);
    }
    const own = Object.getOwnPropertyDescriptor(Class.prototype, inspect);
    assert.deepStrictEqual([own.writable, own.enumerable, own.configurable], [false, name === 'Matrix', false]);
    assert.strictEqual(own.value, Class.prototype.toString);
  });

  test(`${name}: components are keys that can neither be written nor deleted`, () => {
    const value = new Class();
    assert.deepStrictEqual(Object.keys(value), ACCESSORS[name]);
    for (const key of ACCESSORS[name]) {
      const before = value[key];
      value[key] = 5;
      assert.deepStrictEqual(value[key], before);
      assert.throws(() => { delete value[key]; }, TypeError);
    }
  });

  test(`${name}: called without new it makes an instance too`, () => {
    const value = Class(1, 2, 3);
    assert(value instanceof Class);
    assert.strictEqual(String(value), String(new Class(1, 2, 3)));
  });

  test(`${name}: a foreign receiver is refused`, () => {
    for (const receiver of [{}, null, 5, Class.prototype, name === 'Vector' ? new Color() : new Vector(),
      Object.create(new Class())]) {
      assert.throws(() => Class.prototype.toString.call(receiver), TypeError);
    }
  });

  test(`${name}: a subclass is one, and its operations give the base class`, () => {
    class Sub extends Class {}
    const value = new Sub(1, 2, 3);
    assert(value instanceof Sub);
    const other = name === 'AColor' ? new Color(1, 1, 1) : new Class(1, 2, 3);
    assert.strictEqual(Object.getPrototypeOf(value.add(other)), Class.prototype);
  });

  test(`${name}: inspection prints the text`, () => {
    const value = new Class(1, 2, 3);
    assert.strictEqual(util.inspect(value), String(value));
    assert(util.inspect({value}).includes(String(value)));
  });

  test(`${name}: an index behind the last throws`, () => {
    const value = new Class();
    const count = {Vector: 3, Matrix: 3, Transform: 4, Color: 3, AColor: 4}[name];
    for (let i = 0; i < count; i++) assert.notStrictEqual(value[i], undefined);
    for (const index of [count, count + 1, 4294967294]) {
      assert.throws(() => value[index], {name: 'Error', message: 'Index out of range'});
    }
    assert.strictEqual(value[-1], undefined);
    if (name !== 'Vector') assert.strictEqual(value.length, undefined);
  });
}

test('values do not need the library', () => {
  kiln.close();
  assert.strictEqual(String(new Vector(1, 2, 3).add(new Vector(1, 1, 1))), 'Vector(2, 3, 4)');
  assert.strictEqual(String(new Color(1, 2, 3).mul(2)), 'Color(2, 4, 6)');
});

test('%g prints six digits', () => {
  assert.strictEqual(String(new Vector(1 / 3, 1e10, -0)), 'Vector(0.333333, 1e+10, -0)');
  assert.strictEqual(String(new AColor(NaN, Infinity, 1e-7, 123456789)), 'AColor(nan, inf, 1e-07, 1.23457e+08)');
});

// Random bits in the fields must mean nothing to the collector, whatever it does meanwhile.
test('any bits survive any collection', () => {
  const bits = new BigUint64Array(3);
  const doubles = new Float64Array(bits.buffer);
  let seed = 0x9E3779B97F4A7C15n;
  const next = () => {
    seed = (seed * 6364136223846793005n + 1442695040888963407n) & 0xFFFFFFFFFFFFFFFFn;
    return seed;
  };
  const kept = [];
  for (let round = 0; round < 40; round++) {
    for (let i = 0; i < 500; i++) {
      for (let j = 0; j < 3; j++) bits[j] = next();
      const expected = Array.from(doubles);
      const vector = new Vector(...expected);
      new Transform(new Matrix(vector, vector, vector), vector);
      if (i % 10 === 0) kept.push([vector, expected]);
    }
    forceGc();
  }
  for (const [vector, expected] of kept) assert.deepStrictEqual([vector.x, vector.y, vector.z], expected);
});

test('a getter that throws in an array ends the construction', () => {
  const array = [1, 2, 3];
  Object.defineProperty(array, 1, {get() { throw new EvalError('element'); }});
  for (const Class of [Vector, Color, AColor]) assert.throws(() => new Class(array), EvalError);
  assert.throws(() => new Matrix(array, array, array), EvalError);
  assert.throws(() => new Transform(array, array, array, array), EvalError);
});
