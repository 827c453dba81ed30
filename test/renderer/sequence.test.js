'use strict';

// Frame sequences: how frames are told, and how their end is waited for.

const test = require('node:test');
const assert = require('assert');
const {recorder, entry, open, collected} = require('./common');

const NAME = entry('renderSequence');
const renderer = open();
const {handle} = recorder.live().handles[0];

test.beforeEach(() => {
  recorder.reset();
  recorder.clear();
});

// The records that reach the SDK, as [start, end, step].
function frames(...args) {
  recorder.clear();
  assert.strictEqual(renderer.renderSequence(...args), undefined);
  const call = recorder.last(NAME);
  assert.deepStrictEqual([call.args[0], call.onJsThread], [handle, true]);
  const runs = call.arg.sequences || [];
  assert.strictEqual(call.arg.count, runs.length);
  return runs.map(({start, end, step}) => [start, end, step]);
}

test('without frames the list is empty', () => {
  for (const args of [[], [[]], [[], [[], [[]]]]]) {
    assert.deepStrictEqual(frames(...args), []);
    assert.strictEqual(recorder.last(NAME).bits[1], 0n);
  }
});

test('numbers, ranges and arrays to any depth', () => {
  assert.deepStrictEqual(frames(1, [2, [3]], {start: 4, end: 8, step: 2}), [[1, 1, 0], [2, 2, 0], [3, 3, 0], [4, 8, 2]]);
  assert.deepStrictEqual(frames({start: 4, end: 8}), [[4, 8, 1]]);
  assert.deepStrictEqual(frames({start: 4, step: 2}), [[4, 4, 0]]);
  assert.deepStrictEqual(frames({start: 4}), [[4, 4, 0]]);
  assert.deepStrictEqual(frames({end: 9}), [[9, 9, 0]]);
  assert.deepStrictEqual(frames({end: 9, step: 3}), [[9, 9, 0]]);
  assert.deepStrictEqual(frames({start: 8, end: 4, step: -2}), [[8, 4, -2]]);
  assert.deepStrictEqual(frames({start: 1, end: 2, step: 0}), [[1, 2, 0]]);
  assert.deepStrictEqual(frames({}), [[0, 0, 0]]);
  assert.deepStrictEqual(frames({step: 3}), [[0, 0, 0]]);
  assert.deepStrictEqual(frames([[[[[[5]]]]]], -5), [[5, 5, 0], [-5, -5, 0]]);
  const many = Array.from({length: 5000}, (_, i) => i);
  assert.deepStrictEqual(frames(...many, many), [...many, ...many].map((i) => [i, i, 0]));
});

test('everything is converted to 32 bits', () => {
  assert.deepStrictEqual(frames('7', 2.9, -2.9, null, undefined, true, NaN, 2 ** 32 + 3, 'x'),
    [[7, 7, 0], [2, 2, 0], [-2, -2, 0], [0, 0, 0], [0, 0, 0], [1, 1, 0], [0, 0, 0], [3, 3, 0], [0, 0, 0]]);
  assert.deepStrictEqual(frames({start: '1', end: 2.5, step: null}), [[1, 2, 0]]);
  assert.deepStrictEqual(frames({start: undefined, end: undefined, step: undefined}), [[0, 0, 0]]);
  assert.deepStrictEqual(frames([1, , 3]), [[1, 1, 0], [0, 0, 0], [3, 3, 0]]);  // eslint-disable-line no-sparse-arrays
  assert.deepStrictEqual(frames(Object.assign(() => {}, {start: 3})), [[3, 3, 0]]);
  assert.deepStrictEqual(frames(new Int32Array([4])), [[0, 0, 0]]);
});

test('keys that are inherited do not count', () => {
  assert.deepStrictEqual(frames(Object.create({start: 5, end: 6})), [[0, 0, 0]]);
  assert.deepStrictEqual(frames(Object.assign(Object.create({end: 6}), {start: 5})), [[5, 5, 0]]);
  assert.deepStrictEqual(frames({get start() { return 5; }, get end() { return 6; }}), [[5, 6, 1]]);
});

test('what throws leaves the SDK alone', () => {
  const no = {valueOf() { throw new RangeError('no'); }};
  for (const key of ['start', 'end', 'step']) {
    for (const value of [{get [key]() { throw new RangeError('no'); }}, {[key]: no}]) {
      const range = Object.defineProperties({start: 1, end: 2}, Object.getOwnPropertyDescriptors(value));
      assert.throws(() => renderer.renderSequence(1, range, 2), {name: 'RangeError', message: 'no'});
    }
  }
  const array = [1];
  Object.defineProperty(array, 1, {get() { throw new RangeError('no'); }});
  assert.throws(() => renderer.renderSequence(array), {name: 'RangeError', message: 'no'});
  for (const value of [Symbol('x'), 3n, [Symbol('x')], {start: Symbol('x')}]) {
    assert.throws(() => renderer.renderSequence(value), TypeError);
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('arrays without an end are a RangeError, and very deep ones are no harm', () => {
  const circle = [1];
  circle.push(circle);
  assert.throws(() => renderer.renderSequence(circle), RangeError);
  let deep = [7];
  for (let i = 0; i < 1e6; ++i) deep = [deep];
  assert.throws(() => renderer.renderSequence(deep), RangeError);
  assert.deepStrictEqual(recorder.names(), []);
  assert.deepStrictEqual(frames(1), [[1, 1, 0]]);
});

test('an array that grows while it is read is read as it was', () => {
  const array = [1, {get start() { array.push(9); return 2; }}];
  assert.deepStrictEqual(frames(array), [[1, 1, 0], [2, 2, 0]]);
});

test('a frame that closes the renderer leaves a null handle', () => {
  const own = open();
  recorder.clear();
  own.renderSequence({get start() { own.close(); return 1; }});
  const call = recorder.last(NAME);
  assert.deepStrictEqual([call.args[0], call.stale, call.arg.count], [0n, false, 1]);
});

test('continueSequence goes on, on this thread', () => {
  recorder.answer(entry('continueSequence'), 5);
  assert.strictEqual(renderer.continueSequence(1), undefined);
  const call = recorder.last(entry('continueSequence'));
  assert.deepStrictEqual([call.args, call.onJsThread], [[handle], true]);
});

test('waitForSequenceEnd waits on the pool, with the timeout of argument 0', async () => {
  const waited = (...args) => new Promise((resolve) => {
    renderer.waitForSequenceEnd(...args.map((one) => one === 'cb' ? (...given) => resolve(given) : one));
  });
  for (const [args, timeout, result, expected] of [[['cb'], -1, 1, true], [[500, 'cb'], 500, 0, false], [['cb', 500], 0, -1, true],
    [['x', 'cb'], -1, 0, false]]) {
    recorder.answer(entry('waitSequenceEnd'), result);
    assert.deepStrictEqual(await waited(...args), [expected]);
    const call = recorder.last(entry('waitSequenceEnd'));
    assert.deepStrictEqual([call.args, call.onJsThread], [[handle, timeout], false]);
  }
  const message = 'Argument 0 or 1 must be a callback function and should be passed';
  for (const args of [[], [5], [5, 5, () => {}]]) {
    assert.throws(() => renderer.waitForSequenceEnd(...args), {name: 'Error', message});
  }
  const callback = Object.assign(() => {}, {valueOf() { throw new RangeError('no'); }});
  assert.throws(() => renderer.waitForSequenceEnd(callback, 5), {name: 'RangeError', message: 'no'});
});

test('nothing is left', async () => {
  renderer.close();
  await collected();
});
