'use strict';

// The arithmetic of Color and AColor, and what the SDK computes for them.
const test = require('node:test');
const assert = require('assert');
const {loadNative, recorder} = require('../helpers');

const kiln = loadNative();
const {Color, AColor, Matrix, Vector} = kiln;

const rgb = (c) => [c.r, c.g, c.b];
const rgba = (c) => [c.r, c.g, c.b, c.a];
const same = (c, expected) => assert.deepStrictEqual(expected.length === 4 ? rgba(c) : rgb(c), expected);
const error = (message) => ({name: 'Error', message});

test('construction of a Color', () => {
  same(new Color(), [0, 0, 0]);
  same(new Color(1), [0, 0, 0]);
  same(new Color(1, 2), [0, 0, 0]);
  same(new Color(1, 2, 3, 4), [1, 2, 3]);
  same(new Color([1, 2]), [0, 0, 0]);
  same(new Color([1, 2, 3, 4]), [1, 2, 3]);
  same(new Color(new Color(1, 2, 3)), [1, 2, 3]);
  same(new Color(new AColor(1, 2, 3, 4)), [1, 2, 3]);
  same(new Color(new Vector(1, 2, 3)), [0, 0, 0]);
});

test('construction of an AColor', () => {
  same(new AColor(), [0, 0, 0, 1]);
  same(new AColor(1, 2, 3), [1, 2, 3, 1]);
  same(new AColor(1, 2, 3, 0.5), [1, 2, 3, 0.5]);
  same(new AColor([1, 2]), [0, 0, 0, 1]);
  same(new AColor([1, 2, 3]), [1, 2, 3, 1]);
  same(new AColor([1, 2, 3, 0.25]), [1, 2, 3, 0.25]);
  same(new AColor(new AColor(1, 2, 3, 4)), [1, 2, 3, 4]);
  same(new AColor(new Color(1, 2, 3)), [1, 2, 3, 1]);
  same(new AColor(new Color(1, 2, 3), 0.5), [1, 2, 3, 0.5]);
  assert(!(new AColor() instanceof Color));
});

test('arithmetic', () => {
  const a = new Color(0.1, 0.2, 1 / 3);
  const b = new Color(3, 0, -0.7);
  same(a.add(b), [0.1 + 3, 0.2, 1 / 3 - 0.7]);
  same(a.sub(b), [0.1 - 3, 0.2, 1 / 3 + 0.7]);
  same(a.mul(b), [0.1 * 3, 0, (1 / 3) * -0.7]);
  same(a.mul(0.3), [0.1 * 0.3, 0.2 * 0.3, (1 / 3) * 0.3]);
  same(a.div(b), [0.1 / 3, Infinity, 1 / 3 / -0.7]);
  same(a.div(3), [0.1 * (1 / 3), 0.2 * (1 / 3), (1 / 3) * (1 / 3)]);
  same(new Color(1, 1, 1).div(0), [Infinity, Infinity, Infinity]);
  const c = new AColor(0.1, 0.2, 0.3, 0.5);
  same(c.mul(new AColor(2, 3, 4, 0.5)), [0.1 * 2, 0.2 * 3, 0.3 * 4, 0.25]);
  same(c.mul(3), [0.1 * 3, 0.2 * 3, 0.3 * 3, 1.5]);
  same(c.div(new AColor(2, 4, 0, 2)), [0.05, 0.05, Infinity, 0.25]);
  same(c.div(4), [0.1 * 0.25, 0.2 * 0.25, 0.3 * 0.25, 0.125]);
});

test('an AColor takes a Color for sums, and refuses its own kind', () => {
  const c = new AColor(1, 2, 3, 0.5);
  same(c.add(new Color(1, 1, 1)), [2, 3, 4, 0.5]);
  same(c.sub(new Color(1, 1, 1)), [0, 1, 2, 0.5]);
  for (const name of ['add', 'sub']) {
    for (const value of [c, 1, undefined]) {
      assert.throws(() => c[name](value), error('Argument 0 (AColor) should be passed'));
    }
  }
});

test('wrong arguments', () => {
  const a = new Color(1, 2, 3);
  for (const name of ['add', 'sub']) {
    for (const value of [1, undefined, new AColor()]) {
      assert.throws(() => a[name](value), error('Argument 0 (Color) should be passed'));
    }
  }
  for (const name of ['mul', 'div']) {
    for (const value of ['2', undefined, {}, new Number(2), new AColor()]) {
      assert.throws(() => a[name](value), error('Argument 0 (Color or Number) should be passed'));
    }
    assert.throws(() => new AColor()[name](a), error('Argument 0 (AColor or Number) should be passed'));
  }
});

test('the sRGB curve', () => {
  const to = (c) => (c > 0.0031308 ? Math.pow(c, 0.4166666666666667) * 1.055 - 0.055 : c * 12.92);
  const from = (c) => (c >= 0.04045
    ? Math.pow(c * 0.9478672985781991 + 0.05213270142180095, 2.4) : c * 0.07739938080495357);
  const near = (actual, expected) => actual.forEach((c, i) =>
    assert(Math.abs(c - expected[i]) <= 4e-16 * Math.max(1, Math.abs(expected[i])), `${c} ${expected[i]}`));
  for (const values of [[0.0031308, 0.0031309, 0.5], [0.04045, 0.04044, 1], [-0.5, 2, 0], [0.2, 0.7, 1.5]]) {
    near(rgb(new Color(...values).toSRGB()), values.map(to));
    near(rgb(new Color(...values).fromSRGB()), values.map(from));
    near(rgba(new AColor(...values, 0.3).toSRGB()), [...values.map(to), 0.3]);
    near(rgba(new AColor(...values, 0.3).fromSRGB()), [...values.map(from), 0.3]);
  }
  assert.strictEqual(new Color(0.0031308, 0, 0).toSRGB().r, 0.0031308 * 12.92);
  assert.notStrictEqual(new Color(0.04045, 0, 0).fromSRGB().r, 0.04045 * 0.07739938080495357);
});

test('colour spaces are constants', () => {
  for (const [name, value] of [['COLOR_SPACE_CIE', 0], ['COLOR_SPACE_SRGB', 1], ['COLOR_SPACE_ACEScg', 2]]) {
    const {writable, configurable, enumerable} = Object.getOwnPropertyDescriptor(Color, name);
    assert.deepStrictEqual([Color[name], writable, configurable, enumerable], [value, false, false, true]);
  }
});

test('a black body is a colour', () => {
  recorder.answer('Kiln_getBlackBodyColorRGB', {result: 1, out: {rgb: [1, 0.5, 0.25]}});
  same(Color.fromTemperature(6500.3), [1, 0.5, 0.25]);
  let {kelvin, space} = recorder.last('Kiln_getBlackBodyColorRGB').arg;
  assert.deepStrictEqual([kelvin, space], [Math.fround(6500.3), 1]);
  Color.fromTemperature(1000, 2);
  ({kelvin, space} = recorder.last('Kiln_getBlackBodyColorRGB').arg);
  assert.deepStrictEqual([kelvin, space], [1000, 2]);
  recorder.answer('Kiln_getBlackBodyColorRGB', 0);
  assert.throws(() => Color.fromTemperature(1000, 7), error('rgbColorSpace value out of range'));
  assert.throws(() => Color.fromTemperature(), error(
    'Argument 0 (double - temperature in Kelvin) and Argument 1 (rgbColorSpace - constant) should be passed'));
  assert.throws(() => Color.fromTemperature('6500'), error('Argument 0 should be a number.'));
  assert.throws(() => Color.fromTemperature(6500, 1.5), error('Argument 1 should be an integer.'));
  assert.throws(() => Color.fromTemperature(6500, undefined), error('Argument 1 should be an integer.'));
});

test('the closest temperature, with and without its colour', () => {
  const color = new Color(1, 0.9, 0.8);
  recorder.answer('Kiln_getBlackBodyClosestTemperature', {result: 5000, out: {closest_rgb: [1, 0.75, 0.5]}});
  assert.deepStrictEqual(Object.keys(color.getClosestTemperatureAndColor()), ['temperature', 'color']);
  const {temperature, color: closest} = color.getClosestTemperatureAndColor(0);
  assert.strictEqual(temperature, 5000);
  same(closest, [1, 0.75, 0.5]);
  assert.strictEqual(recorder.last('Kiln_getBlackBodyClosestTemperature').arg.space, 0);
  recorder.answer('Kiln_getBlackBodyClosestTemperature', {result: 4000});
  assert.strictEqual(color.getClosestTemperature(), 4000);
  const call = recorder.last('Kiln_getBlackBodyClosestTemperature');
  assert.strictEqual(call.arg.space, 1);
  assert(!call.arg.closest_rgb, 'no room for a colour that nobody wants');
  recorder.answer('Kiln_getBlackBodyClosestTemperature', {result: NaN});
  assert.strictEqual(new Color(NaN, 0, 0).getClosestTemperature(), NaN, 'only a negative answer is a failure');
  assert.strictEqual(new Color(NaN, 0, 0).getClosestTemperatureAndColor().temperature, NaN);
  recorder.answer('Kiln_getBlackBodyClosestTemperature', {result: -1});
  for (const name of ['getClosestTemperature', 'getClosestTemperatureAndColor']) {
    assert.throws(() => color[name](9), error('rgbColorSpace value out of range'));
    assert.throws(() => color[name]('1'), error('Argument 0 should be an integer.'));
  }
});

test('a matrix between colour spaces', () => {
  recorder.answer('Kiln_getRGBtoRGBMatrix', {result: 0, out: {matrix: [1, 2, 3, 4, 5, 6, 7, 8, 9]}});
  const matrix = Color.getRGBToRGBMatrix(1, 2);
  assert(matrix instanceof Matrix);
  assert.strictEqual(String(matrix), 'Matrix(Vector(1, 2, 3), Vector(4, 5, 6), Vector(7, 8, 9))');
  const {source, destination} = recorder.last('Kiln_getRGBtoRGBMatrix').arg;
  assert.deepStrictEqual([source, destination], [1, 2]);
  assert.throws(() => Color.getRGBToRGBMatrix(), error(
    'Argument 0 (srcRgbColorSpace - constant) and Argument 1 (dstRgbColorSpace - constant) should be passed'));
  assert.throws(() => Color.getRGBToRGBMatrix('1', 2), error('Argument 0 should be an integer.'));
  assert.throws(() => Color.getRGBToRGBMatrix(1), error('Argument 1 should be an integer.'));
});
