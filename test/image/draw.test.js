'use strict';

// draw: its forms, the place of the source, and the modes.
const test = require('node:test');
const assert = require('assert');
const {recorder} = require('../helpers');
const {KilnImage, throwsError, throwsTypeError, handleOf, closedImage} = require('./image-helpers');

const ENTRY = 'KilnImage_drawImage';
const image = new KilnImage(8, 8);

function place(...args) {
  image.draw(...args);
  const {x, y, mode} = recorder.last(ENTRY).arg;
  return [x, y, mode];
}

test('both handles cross, and the answer is a boolean', () => {
  const source = new KilnImage(2, 2);
  for (const [result, expected] of [[0, false], [1, true], [-3, true]]) {
    recorder.once(ENTRY, result);
    assert.strictEqual(image.draw(source), expected);
  }
  const call = recorder.last(ENTRY);
  assert.deepStrictEqual([call.arg.image, call.arg.source], [handleOf(image), handleOf(source)]);
  assert.strictEqual(call.onJsThread, true);
  image.draw(image, 1, 2);
  assert.strictEqual(recorder.last(ENTRY).arg.source, handleOf(image));
});

test('a source must be an image, and open', () => {
  recorder.clear();
  for (const args of [[], [undefined], [null], [{}], [5], [Object.create(image)], [new Proxy(image, {})]]) {
    throwsTypeError(() => image.draw(...args), 'Argument 0 (KilnImage) should be passed');
  }
  throwsTypeError(() => image.draw(closedImage()), 'The passed image is already closed.');
  throwsTypeError(() => image.draw(closedImage(), Symbol('never read'), 0), 'The passed image is already closed.');
  throwsError(() => closedImage().draw(), 'This image is already closed.');
  assert.strictEqual(recorder.count(ENTRY), 0);
});

test('with fewer than three arguments the source says where, or 0, 0', () => {
  const source = new KilnImage(2, 2);
  assert.deepStrictEqual(place(source), [0, 0, 0]);
  source.x = 5;
  source.y = '6';
  assert.deepStrictEqual(place(source), [5, 6, 0]);
  assert.deepStrictEqual(place(source, 100), [5, 6, 0], 'a second argument alone is not looked at');
  source.x = -2.9;
  delete source.y;
  assert.deepStrictEqual(place(source), [-2, 0, 0]);
});

test('a place that can not be read does not cross', () => {
  recorder.clear();
  const bad = {valueOf() { throw new RangeError('mine'); }};
  for (const key of ['x', 'y']) {
    const source = new KilnImage(2, 2);
    source[key] = bad;
    assert.throws(() => image.draw(source), RangeError);
    Object.defineProperty(source, key, {get() { throw new SyntaxError('mine'); }});
    assert.throws(() => image.draw(source), SyntaxError);
  }
  const source = new KilnImage(2, 2);
  assert.throws(() => image.draw(source, bad, 0), RangeError);
  assert.throws(() => image.draw(source, 0, bad), RangeError);
  assert.throws(() => image.draw(source, 0, 0, {toString() { throw new RangeError('mine'); }}), RangeError);
  assert.throws(() => image.draw(source, 0, 0, Symbol('s')), TypeError);
  assert.strictEqual(recorder.count(ENTRY), 0);
});

test('with three arguments the place is theirs, in integers', () => {
  const source = new KilnImage(2, 2);
  source.x = 50;
  assert.deepStrictEqual(place(source, 3, 4), [3, 4, 0]);
  assert.deepStrictEqual(place(source, '-3', 4.9), [-3, 4, 0]);
  assert.deepStrictEqual(place(source, undefined, null), [0, 0, 0]);
});

test('modes', () => {
  const source = new KilnImage(2, 2);
  for (const [mode, expected] of [['copy', 0], ['COPY', 0], ['blend', 1], ['Blend', 1], ['BLENDER', 1], ['blend mode', 1],
    ['blen', 0], ['red', 0], ['', 0], [' blend', 0], [7, 7], [0, 0], [-1, -1], [1.5, 0], [2 ** 31, 0], [undefined, 0],
    [null, 0], [true, 0], [{toString: () => 'bLeNd!'}, 1], [['blend', 1], 1]]) {
    assert.deepStrictEqual(place(source, 1, 2, mode), [1, 2, expected], String(mode));
  }
});

test('regression: a source that is closed by its own place left its handle in use', () => {
  const source = new KilnImage(2, 2);
  Object.defineProperty(source, 'x', {get() {
    this.close();
    return 0;
  }});
  recorder.clear();
  throwsTypeError(() => image.draw(source), 'The passed image is already closed.');
  assert.strictEqual(recorder.count(ENTRY), 0);
});
