'use strict';

// renderer.classes: the classes that the SDK knows, by name and iterable.
const test = require('node:test');
const assert = require('assert');
const {
  kiln, recorder, entry, open, classOf, pluginOf, assertNothingHeld, closeAtEnd, collect, attributesOf,
} = require('./common');

const NAMES = entry('getPluginClassNames');
const renderer = open();
const {handle} = recorder.live().handles[0];
const {classes} = renderer;

test('it is a property of the renderer that nobody can replace', () => {
  assert.deepStrictEqual(attributesOf(renderer, 'classes'), {writable: false, enumerable: true, configurable: true});
  const length = Object.getOwnPropertyDescriptor(classes, 'length');
  assert.deepStrictEqual([length.enumerable, length.configurable], [false, false]);
  const values = Object.getOwnPropertyDescriptor(classes, Symbol.iterator);
  assert.deepStrictEqual([values.enumerable, values.value.name], [false, 'values']);
  assert.strictEqual(typeof classes, 'object');
  assert.throws(() => classes('Some'), TypeError);
});

test('a name gives its class, and an unknown one what the normal lookup gives', () => {
  recorder.once(entry('pluginClassExists'), {text: 'LightSphere'});
  const one = classes.LightSphere;
  assert.ok(one instanceof kiln.Class);
  assert.deepStrictEqual(recorder.last(entry('pluginClassExists')).args, [handle, 'LightSphere']);
  recorder.answer(entry('pluginClassExists'), null);
  assert.strictEqual(classes.LightSphere, one);
  assert.strictEqual(classes.NoSuchClass, undefined);
  assert.strictEqual('NoSuchClass' in classes, false);
  assert.strictEqual(classes.toString, Object.prototype.toString);
  recorder.reset(entry('pluginClassExists'));
});

test('length and keys', () => {
  recorder.once(entry('getPluginClassNamesCount'), 18);
  recorder.answer(entry('pluginClassExists'), null);
  assert.strictEqual(classes.length, 18);
  assert.deepStrictEqual(recorder.last(entry('getPluginClassNamesCount')).args, [handle]);
  recorder.once(NAMES, ['B', 'A', 'größe']);
  assert.deepStrictEqual(Object.keys(classes), ['B', 'A', 'größe']);
  recorder.once(NAMES, null);
  assert.deepStrictEqual(Object.keys(classes), []);
  recorder.reset(entry('pluginClassExists'));
  assertNothingHeld();
});

test('a walk gives the classes of its beginning and releases the names at its end', () => {
  const [a, b] = [classOf(renderer, 'A'), classOf(renderer, 'B')];
  recorder.answer(entry('pluginClassExists'), null);
  recorder.once(NAMES, ['A', 'Gone', 'B', 'Gone too']);
  const iterator = classes[Symbol.iterator]();
  assert.strictEqual(iterator[Symbol.iterator], undefined);
  assert.strictEqual(iterator.constructor.name, 'Classes Iterator');
  assert.deepStrictEqual(attributesOf(Object.getPrototypeOf(iterator), 'next'),
    {writable: false, enumerable: true, configurable: false});
  const step = iterator.next();
  assert.deepStrictEqual(Object.keys(step), ['value', 'done']);
  assert.strictEqual(step.value, a);
  assert.strictEqual(step.done, false);
  assert.strictEqual(iterator.next().value, b);
  assert.strictEqual(recorder.live().vectors, 1);
  for (let i = 0; i < 3; ++i) {
    assert.deepStrictEqual(iterator.next(), {done: true});
    assertNothingHeld();
  }
  for (const nothing of [[], null]) {
    recorder.once(NAMES, nothing);
    assert.deepStrictEqual([...classes], []);
  }
  recorder.reset(entry('pluginClassExists'));
  assertNothingHeld();
});

test('an abandoned walk gives its names back when it is collected', async () => {
  (() => {
    for (let i = 0; i < 50; ++i) {
      recorder.once(NAMES, ['A', 'B']);
      classes[Symbol.iterator]().next();
    }
    assert.strictEqual(recorder.live().vectors, 50);
  })();
  await collect(() => recorder.live().vectors === 0);
});

test('a closed renderer has no classes, and a walk over it is left to the collector', async () => {
  const other = open();
  recorder.once(NAMES, ['A', 'B']);
  let iterator = other.classes[Symbol.iterator]();
  other.close();
  recorder.clear();
  assert.strictEqual(other.classes.length, 0);
  assert.deepStrictEqual(Object.keys(other.classes), []);
  assert.strictEqual(other.classes.A, undefined);
  assert.strictEqual(other.classes[Symbol.iterator](), undefined);
  assert.deepStrictEqual(iterator.next(), {done: true});
  assert.deepStrictEqual(recorder.names(), []);
  assert.strictEqual(recorder.live().vectors, 1);
  iterator = null;
  await collect(() => recorder.live().vectors === 0);
});

test('foreign receivers are refused', () => {
  recorder.once(NAMES, []);
  const iterator = classes[Symbol.iterator]();
  for (const receiver of [{}, null, undefined, renderer, renderer.plugins, Buffer.alloc(8), pluginOf(renderer)]) {
    assert.throws(() => classes[Symbol.iterator].call(receiver), TypeError);
    assert.throws(() => iterator.next.call(receiver), TypeError);
  }
  assert.throws(() => iterator.next.call(renderer.plugins[Symbol.iterator]()), TypeError);
  iterator.next();
});

closeAtEnd(renderer);
