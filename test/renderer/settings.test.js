'use strict';

// What is set for renders to come, and members whose whole work is one call: what they pass, and the sense of what
// comes back.

const test = require('node:test');
const assert = require('assert');
const {recorder, entry, open, collected} = require('./common');

const renderer = open();
const {handle} = recorder.live().handles[0];

test.beforeEach(() => {
  recorder.reset();
  recorder.clear();
});

// What the SDK was called with behind the handle, and what the member answered.
function call(method, name, ...args) {
  recorder.clear();
  const answer = renderer[method](...args);
  const last = recorder.last(entry(name));
  assert.deepStrictEqual([last.args[0], last.onJsThread], [handle, true]);
  return [last.args.slice(1), answer];
}

// Member, entry point, its fixed arguments, whether true is the SDK's 0.
for (const [method, name, fixed, zero] of [
  ['pause', 'pauseRT', [1], false], ['resume', 'pauseRT', [0], false], ['clearScene', 'clearScene', [], true],
  ['updateLightingAnalysis', 'updateLightingAnalysis', [], false], ['serializeScene', 'serializeScene', [], true],
]) {
  test(`${method} answers whether the SDK's result is ${zero ? '' : 'not '}0`, () => {
    for (const result of [0, 1, -1, 256]) {
      recorder.answer(entry(name), result);
      assert.deepStrictEqual(call(method, name, 'ignored'), [fixed, (result === 0) === zero]);
    }
  });
}

test('getChangeIndex answers an unsigned number', () => {
  for (const [index, expected] of [[0n, 0], [2n ** 32n, 2 ** 32], [2n ** 63n, 2 ** 63], [2n ** 64n - 1n, 2 ** 64]]) {
    recorder.answer(entry('getChangeIndex'), index);
    assert.deepStrictEqual(call('getChangeIndex', 'getChangeIndex'), [[], expected]);
  }
});

test('bucketRenderNearest takes two numbers', () => {
  assert.deepStrictEqual(call('bucketRenderNearest', 'bucketRenderNearest', 3.9, -4), [[3, -4], undefined]);
  assert.deepStrictEqual(call('bucketRenderNearest', 'bucketRenderNearest', NaN, 2 ** 32 + 1, 'x'), [[0, 1], undefined]);
  const message = 'Argument 0 and argument 1 (x,y coordinates: numbers) should be passed';
  recorder.clear();
  for (const args of [[], [1], ['1', 2], [1, '2'], [1, null], [undefined, 1], [[1], 2], [1n, 2n], [new Number(1), 2]]) {
    assert.throws(() => renderer.bucketRenderNearest(...args), {name: 'Error', message});
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('setImprovedDefaultSettings reads a level', () => {
  const level = (...args) => call('setImprovedDefaultSettings', 'setImprovedDefaults', ...args)[0][0];
  ['draft', 'low', 'medium', 'high', 'veryHigh'].forEach((name, number) => {
    for (const spelling of [name, name.toUpperCase(), name.toLowerCase(), new String(name), {toString: () => name}, [name]]) {
      assert.strictEqual(level(spelling), number);
    }
  });
  for (const other of ['', 'best', 'veryhigh ', undefined, null, {}, true, [], Symbol('low'), 3n]) assert.strictEqual(level(other), 2);
  assert.strictEqual(level(), 2);
  assert.strictEqual(level({toString() { throw new Error('no'); }}), 2);
  for (const [number, expected] of [[0, 0], [4, 4], [77, 77], [-1, -1], [1.9, 1], [NaN, 0], [2 ** 32 + 3, 3]]) {
    assert.strictEqual(level(number), expected);
  }
  for (const [result, expected] of [[0, false], [1, true], [-1, true]]) {
    recorder.answer(entry('setImprovedDefaults'), result);
    assert.strictEqual(renderer.setImprovedDefaultSettings('low'), expected);
  }
});

for (const [method, message] of [['setInteractiveSampleLevel', 'Argument 0 (number - max sample level) should be passed'],
  ['setInteractiveTimeout', 'Argument 0 (number - timeout) should be passed']]) {
  test(`${method} takes what converts to a number`, () => {
    for (const [value, expected] of [[5, 5], ['6', 6], [-1.5, -1], [null, 0], [undefined, 0], [{}, 0], [true, 1], [2 ** 32, 0]]) {
      assert.deepStrictEqual(call(method, method, value), [[expected], true]);
    }
    recorder.answer(entry(method), 1);
    assert.deepStrictEqual(call(method, method, 1), [[1], false]);
    recorder.answer(entry(method), -1);
    assert.deepStrictEqual(call(method, method, 1), [[1], false]);
    recorder.clear();
    assert.throws(() => renderer[method](), {name: 'Error', message});
    assert.throws(() => renderer[method]({valueOf() { throw new RangeError('no'); }}), {name: 'RangeError', message: 'no'});
    assert.throws(() => renderer[method](3n), TypeError);
    assert.throws(() => renderer[method](Symbol('x')), TypeError);
    assert.deepStrictEqual(recorder.names(), []);
  });
}

// Member, entry point, message, [value, what the SDK gets] of the numbers, [the SDK's result, the answer].
for (const [method, name, message, values, answers] of [
  ['setInteractiveNoiseThreshold', 'setInteractiveNoiseThreshold', 'Argument 0 (number - noise threshold) should be passed',
    [[0.5, 0.5], [0.1, Math.fround(0.1)], [1e300, Infinity], [-0, -0], [NaN, NaN]], [[0, true], [1, false], [-1, false]]],
  ['setProgressiveImageUpdateDifference', 'setRTImageUpdateDifference', 'Argument 0 (difference: number) should be passed',
    [[0.25, 0.25], [0.1, Math.fround(0.1)], [-1e300, -Infinity]], [[0.1, Math.fround(0.1)], [0, 0], [-2, -2]]],
  ['setProgressiveImageUpdateTimeout', 'setRTImageUpdateTimeout', 'Argument 0 (timeout: number) should be passed',
    [[5, 5n], [2.9, 2n], [-2.9, -2n], [2 ** 40, 2n ** 40n], [NaN, 0n], [Infinity, 2n ** 63n - 1n], [-Infinity, -(2n ** 63n)]],
    [[0, 0], [7, 7], [-7, -7]]],
  ['clearAllPropertyValuesUpToTime', 'clearAllFrameValuesUpToTime', 'Argument 0 (time: number) should be passed',
    [[1.5, 1.5], [-0, -0], [NaN, NaN], [Infinity, Infinity]], [[0, true], [1, false], [-1, false]]],
]) {
  test(`${method} takes a number`, () => {
    for (const [value, expected] of values) assert.deepStrictEqual(call(method, name, value)[0], [expected]);
    for (const [result, expected] of answers) {
      recorder.answer(entry(name), result);
      assert.strictEqual(renderer[method](1), expected);
    }
    recorder.clear();
    for (const args of [[], [undefined], [null], ['1'], [{}], [[1]], [true], [1n], [new Number(1)], [() => 1]]) {
      assert.throws(() => renderer[method](...args), {name: 'Error', message});
    }
    assert.deepStrictEqual(recorder.names(), []);
  });
}

const CATEGORIES = ['Bitmap', 'BSDF', 'Geometric_object', 'Geometry_source', 'Light', 'Material', 'Render_channel', 'Render_view',
  'Settings', 'Texture', 'Texture_float', 'Texture_int', 'Texture_matrix', 'Texture_transform', 'Texture_vector', 'UVWGen',
  'Volumetric'];

test('clearPropertyValuesUpToTime makes a mask of the categories', () => {
  const mask = (list) => call('clearPropertyValuesUpToTime', 'clearFrameValuesUpToTime', 1.5, list)[0];
  CATEGORIES.forEach((name, bit) => {
    for (const spelling of [name, name.toLowerCase(), name.toUpperCase()]) assert.deepStrictEqual(mask([spelling]), [1.5, 1n << BigInt(bit)]);
  });
  assert.deepStrictEqual(mask(CATEGORIES), [1.5, 2n ** 17n - 1n]);
  assert.deepStrictEqual(mask([]), [1.5, 0n]);
  assert.deepStrictEqual(mask(['light', 'nonsense', 7]), [1.5, 16n]);
  assert.deepStrictEqual(mask(['light', 'Light', '', ' light', new String('bsdf'), null, , {}]), [1.5, 16n]);  // eslint-disable-line no-sparse-arrays
  for (const [result, expected] of [[0, true], [1, false], [-1, false]]) {
    recorder.answer(entry('clearFrameValuesUpToTime'), result);
    assert.strictEqual(renderer.clearPropertyValuesUpToTime(1, []), expected);
  }
});

test('clearPropertyValuesUpToTime tells what is wrong with its arguments', () => {
  const two = 'Two arguments should be passed: (1)time and (2)array of plugin category names.';
  for (const args of [[], [1], [[]], [1, [], 2]]) {
    assert.throws(() => renderer.clearPropertyValuesUpToTime(...args), {name: 'Error', message: two});
  }
  for (const time of [undefined, '1', null, []]) {
    assert.throws(() => renderer.clearPropertyValuesUpToTime(time, []),
      {name: 'Error', message: 'Argument 0 (time: number) should be passed.'});
  }
  for (const list of [undefined, 'light', {}, {length: 1, 0: 'light'}, 5]) {
    assert.throws(() => renderer.clearPropertyValuesUpToTime(1, list),
      {name: 'Error', message: 'Argument 1 (categories: string[]) should be passed.'});
  }
  const list = [];
  Object.defineProperty(list, 0, {get() { throw new RangeError('no'); }});
  assert.throws(() => renderer.clearPropertyValuesUpToTime(1, list), {name: 'RangeError', message: 'no'});
  assert.deepStrictEqual(recorder.names(), []);
});

test('the members of a closed renderer pass a null handle', () => {
  const own = open();
  own.close();
  recorder.clear();
  own.pause();
  own.resume();
  own.updateLightingAnalysis();
  own.getChangeIndex();
  own.continueSequence();
  own.bucketRenderNearest(1, 2);
  own.setImprovedDefaultSettings();
  own.setInteractiveSampleLevel(1);
  own.setInteractiveTimeout(1);
  own.setInteractiveNoiseThreshold(1);
  own.setProgressiveImageUpdateDifference(1);
  own.setProgressiveImageUpdateTimeout(1);
  own.clearAllPropertyValuesUpToTime(1);
  own.clearPropertyValuesUpToTime(1, ['Light']);
  own.serializeScene();
  own.renderSequence(1);
  own.exportSync('a');
  const calls = recorder.calls();
  assert.deepStrictEqual([calls.length, calls.every((one) => one.args[0] === 0n && !one.stale)], [17, true]);
});

test('a conversion that closes the renderer leaves a null handle', () => {
  for (const method of ['setInteractiveSampleLevel', 'setInteractiveTimeout', 'setImprovedDefaultSettings']) {
    const own = open();
    recorder.clear();
    own[method]({valueOf() { own.close(); return 1; }, toString() { own.close(); return 'low'; }});
    assert.deepStrictEqual([recorder.calls().pop().args[0], recorder.calls().pop().stale], [0n, false]);
  }
});

test('nothing is left', async () => {
  renderer.close();
  await collected();
});
