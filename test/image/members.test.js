'use strict';

// The face of the class, gamma, the changes of pixels, and what every member does on a closed image.
const test = require('node:test');
const assert = require('assert');
const {recorder} = require('../helpers');
const {kiln, KilnImage, throwsError, handleOf, closedImage} = require('./image-helpers');

const METHODS = ['close', 'save', 'compress', 'getDownscaled', 'getDownscaledCropped', 'getFitIn', 'getFitOut', 'getCutIn',
  'saveSync', 'compressSync', 'getDownscaledSync', 'getDownscaledCroppedSync', 'getFitInSync', 'getFitOutSync',
  'getCutInSync', 'getCropped', 'draw', 'addColor', 'changeExposure', 'changeContrast', 'changeGamma', 'changeSRGB',
  'makeNegative', 'getPixelData', 'toBitmapData', 'toIntList'];
const CLOSED = 'This image is already closed.';

test('methods stand on the prototype, in order, read-only', () => {
  assert.strictEqual(KilnImage.name, 'KilnImage');
  assert.deepStrictEqual(Object.keys(KilnImage.prototype), METHODS);
  for (const name of METHODS) {
    const {value, writable, enumerable, configurable} = Object.getOwnPropertyDescriptor(KilnImage.prototype, name);
    assert.deepStrictEqual([typeof value, writable, enumerable, configurable], ['function', false, true, false], name);
    assert.strictEqual(value.name, name);
  }
});

test('statics stand on the constructor, read-only', () => {
  for (const name of ['createFromBuffer', 'createFromBufferSync']) {
    const {value, writable, configurable} = Object.getOwnPropertyDescriptor(KilnImage, name);
    assert.deepStrictEqual([typeof value, writable, configurable], ['function', false, false], name);
    assert.strictEqual(name in KilnImage.prototype, false);
  }
});

test('a foreign receiver is refused', () => {
  const image = new KilnImage(1, 1);
  for (const name of METHODS) {
    for (const receiver of [{}, null, undefined, 5, Object.create(image), new Proxy(image, {}), KilnImage.prototype,
      new kiln.Color()]) {
      assert.throws(() => KilnImage.prototype[name].call(receiver), /^TypeError: Illegal invocation$/, name);
    }
  }
});

test('gamma is an own property that can not be deleted', () => {
  const image = new KilnImage(1, 1);
  const {enumerable, configurable} = Object.getOwnPropertyDescriptor(image, 'gamma');
  assert.deepStrictEqual([enumerable, configurable], [true, false]);
  assert.throws(() => { delete image.gamma; }, TypeError);
});

test('gamma reads and writes as a 32-bit float', () => {
  const image = new KilnImage(1, 1);
  assert.strictEqual(image.gamma, 1);
  image.gamma = 2.2;
  assert.strictEqual(recorder.last('KilnImage_setGamma').arg.gamma, Math.fround(2.2));
  assert.strictEqual(recorder.last('KilnImage_setGamma').arg.image, handleOf(image));
  assert.strictEqual(image.gamma, Math.fround(2.2));
  image.gamma = '1.5';
  assert.strictEqual(image.gamma, 1.5);
  image.gamma = 1e300;
  assert.strictEqual(recorder.last('KilnImage_setGamma').arg.gamma, Infinity);
  image.gamma = undefined;
  assert(Number.isNaN(recorder.last('KilnImage_setGamma').arg.gamma));
});

test('a gamma that the SDK refuses is an Error', () => {
  const image = new KilnImage(1, 1);
  recorder.once('KilnImage_setGamma', 0);
  throwsError(() => { image.gamma = -1; }, 'Wrong gamma value passed.');
});

test('a gamma that can not be converted does not cross', () => {
  const image = new KilnImage(1, 1);
  recorder.clear();
  assert.throws(() => { image.gamma = {valueOf() { throw new RangeError('mine'); }}; }, RangeError);
  assert.throws(() => { image.gamma = Symbol('s'); }, TypeError);
  assert.deepStrictEqual(recorder.names(), []);
});

const FLOAT_CHANGES = [['changeExposure', 'exposure'], ['changeContrast', 'contrast'], ['changeGamma', 'gamma']];
for (const [method, parameter] of FLOAT_CHANGES) {
  const entry = `KilnImage_${method}`;

  test(`${method} passes a 32-bit float and answers a boolean`, () => {
    const image = new KilnImage(1, 1);
    for (const [result, expected] of [[0, false], [1, true], [-1, true], [256, true]]) {
      recorder.once(entry, result);
      assert.strictEqual(image[method](0.1), expected);
    }
    const call = recorder.last(entry);
    assert.strictEqual(call.arg[parameter], Math.fround(0.1));
    assert.strictEqual(call.arg.image, handleOf(image));
    assert.strictEqual(call.onJsThread, true);
    image[method]('-3.5');
    assert.strictEqual(recorder.last(entry).arg[parameter], -3.5);
    image[method](null);
    assert.strictEqual(recorder.last(entry).arg[parameter], 0);
  });

  test(`${method} without an argument passes NaN`, () => {
    const image = new KilnImage(1, 1);
    for (const args of [[], [undefined], [{}], ['x']]) {
      image[method](...args);
      assert(Number.isNaN(recorder.last(entry).arg[parameter]));
    }
  });

  test(`${method} with an argument that can not be converted does not cross`, () => {
    const image = new KilnImage(1, 1);
    recorder.clear();
    assert.throws(() => image[method]({valueOf() { throw new RangeError('mine'); }}), RangeError);
    assert.throws(() => image[method](1n), TypeError);
    assert.deepStrictEqual(recorder.names(), []);
  });
}

test('changeSRGB: no argument is true, otherwise its truth', () => {
  const image = new KilnImage(1, 1);
  for (const [args, flag] of [[[], 1], [[undefined], 0], [[false], 0], [[0], 0], [[''], 0], [[NaN], 0], [[null], 0],
    [[true], 1], [['false'], 1], [[{}], 1], [[Symbol('s')], 1]]) {
    recorder.once('KilnImage_changeSRGB', flag);
    assert.strictEqual(image.changeSRGB(...args), flag === 1);
    assert.strictEqual(recorder.last('KilnImage_changeSRGB').arg.flag, flag);
  }
});

test('makeNegative', () => {
  const image = new KilnImage(1, 1);
  for (const [result, expected] of [[0, false], [1, true], [2, true]]) {
    recorder.once('KilnImage_makeNegative', result);
    assert.strictEqual(image.makeNegative(), expected);
  }
  assert.strictEqual(recorder.last('KilnImage_makeNegative').arg.image, handleOf(image));
});

test('addColor adds a Color narrowed to floats', () => {
  const image = new KilnImage(1, 1);
  recorder.once('KilnImage_addColor', 3);
  assert.strictEqual(image.addColor(new kiln.Color(0.1, -2, 1e10)), true);
  const call = recorder.last('KilnImage_addColor');
  assert.deepStrictEqual(call.arg.color, {red: Math.fround(0.1), green: -2, blue: 1e10});
  assert.strictEqual(call.bytes('color').length, 12);
  assert.strictEqual(call.arg.image, handleOf(image));
});

test('addColor multiplies an AColor by its alpha in double precision', () => {
  const image = new KilnImage(1, 1);
  for (const [r, g, b, a] of [[0.1, 0.7, 16777217, 0.3], [1, 2, 3, 0], [1e-40, 5, -5, 1e10]]) {
    image.addColor(new kiln.AColor(r, g, b, a));
    assert.deepStrictEqual(recorder.last('KilnImage_addColor').arg.color,
      {red: Math.fround(r * a), green: Math.fround(g * a), blue: Math.fround(b * a)});
  }
});

test('addColor of an object that is no colour is black, of anything else no call', () => {
  const image = new KilnImage(1, 1);
  recorder.clear();
  for (const args of [[], [1], ['red'], [null], [undefined], [true], [Symbol('s')]]) {
    assert.strictEqual(image.addColor(...args), undefined);
  }
  assert.deepStrictEqual(recorder.names(), []);
  for (const value of [{}, {r: 1, g: 1, b: 1}, [1, 2, 3], () => {}, new kiln.Vector(1, 2, 3), image]) {
    assert.strictEqual(image.addColor(value), false);
    assert.deepStrictEqual(recorder.last('KilnImage_addColor').arg.color, {red: 0, green: 0, blue: 0});
  }
  assert.strictEqual(recorder.count('KilnImage_addColor'), 6);
});

test('a closed image refuses every member, before it looks at an argument', () => {
  const image = closedImage();
  recorder.clear();
  for (const name of METHODS.filter((one) => one !== 'close')) throwsError(() => image[name](), CLOSED);
  throwsError(() => image.gamma, CLOSED);
  throwsError(() => { image.gamma = Symbol('never read'); }, CLOSED);
  throwsError(() => image.changeGamma(Symbol('never read')), CLOSED);
  assert.deepStrictEqual(recorder.names(), []);
});

test('a closed image still tells its size', () => {
  const image = closedImage();
  assert.deepStrictEqual([image.width, image.height], [4, 3]);
});

test('regression: an argument whose conversion closes the image left the handle in use', () => {
  const cases = {
    changeExposure: (image, closing) => image.changeExposure(closing),
    changeContrast: (image, closing) => image.changeContrast(closing),
    changeGamma: (image, closing) => image.changeGamma(closing),
    gamma: (image, closing) => { image.gamma = closing; },
    getCropped: (image, closing) => image.getCropped(0, 0, 1, closing),
    draw: (image, closing) => image.draw(new KilnImage(1, 1), 0, closing),
    drawMode: (image, closing) => image.draw(new KilnImage(1, 1), 0, 0, {toString: () => closing.valueOf()}),
    toBitmapData: (image, closing) => image.toBitmapData({stride: closing}),
    getDownscaled: (image, closing) => image.getDownscaled(1, closing, () => {}),
    getDownscaledSync: (image, closing) => image.getDownscaledSync(1, closing),
    getFitIn: (image, closing) => image.getFitIn(1, closing, () => {}),
    getFitInSync: (image, closing) => image.getFitInSync(closing, 1),
    getDownscaledCropped: (image, closing) => image.getDownscaledCropped(0, 0, 1, 1, 1, closing, () => {}),
    getDownscaledCroppedSync: (image, closing) => image.getDownscaledCroppedSync(0, 0, 1, 1, closing, 1, () => {}),
  };
  for (const [name, call] of Object.entries(cases)) {
    const image = new KilnImage(4, 4);
    recorder.clear();
    throwsError(() => call(image, {valueOf() {
      image.close();
      return 1;
    }}), CLOSED);
    assert.deepStrictEqual(recorder.calls().filter((one) => one.stale).map((one) => one.name), [], name);
    assert.deepStrictEqual(recorder.names().filter((one) => !/create|getSize|getMemorySize/.test(one)), [], name);
  }
});
