'use strict';

// The JSON-like printer.
const test = require('node:test');
const assert = require('assert');
const {loadNative} = require('../helpers');

const kiln = loadNative();
const {stringify} = kiln;

test('arrays', () => {
  assert.strictEqual(stringify([]), '[]');
  assert.strictEqual(stringify(['a', 1, null]), '["a", 1, null]');
  assert.strictEqual(stringify([[1], [[]]]), '[[1], [[]]]');
  assert.strictEqual(stringify(new Array(2)), '[null, null]');
});

test('strings are quoted and not escaped', () => {
  assert.strictEqual(stringify('say "a"\n'), '"say "a"\n"');
  assert.strictEqual(stringify(new String('b')), '"b"');
});

test('nothing is null, and everything else its own text', () => {
  assert.strictEqual(stringify(), 'null');
  assert.strictEqual(stringify(undefined), 'null');
  assert.strictEqual(stringify(null), 'null');
  assert.strictEqual(stringify(true), 'true');
  assert.strictEqual(stringify({toString: () => 'mine'}), 'mine');
});

test('typed arrays print as lists, with the limit of the second argument', () => {
  assert.strictEqual(stringify(new Int32Array([1, -2])), 'IntList(1, -2)');
  assert.strictEqual(stringify([new Int32Array(20)], 5), '[IntList(0, 0, 0, 0, 0, ... 15 more items)]');
  assert.strictEqual(stringify(new Float64Array([1.5, 2])), '1.5,2');
});

test('what throws stays thrown', () => {
  const bad = {toString() { throw new RangeError('bad'); }};
  assert.throws(() => stringify(bad), RangeError);
  assert.throws(() => stringify([1, bad]), RangeError);
  const array = [1];
  Object.defineProperty(array, 0, {get() { throw new EvalError('element'); }});
  assert.throws(() => stringify(array), EvalError);
});

test('elements go through the exported function with its receiver, not through a replacement', () => {
  const original = kiln.stringify;
  kiln.stringify = () => 'replaced';
  assert.strictEqual(original([1]), '[1]');
  kiln.stringify = original;
});

test('an array within itself ends with the stack, not with the process', () => {
  const array = [];
  array.push(array);
  assert.throws(() => stringify(array), RangeError);
});
