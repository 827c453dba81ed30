'use strict';

// PluginRef: a plugin seen through one of its outputs.
const test = require('node:test');
const assert = require('assert');
const util = require('util');
const {
  kiln, recorder, entry, open, newId, pluginOf, refOf, call, answerValue, attributesOf, HIDDEN, closeAtEnd,
} = require('./common');

const {Plugin, PluginRef} = kiln;
const renderer = open();
const {handle} = recorder.live().handles[0];
const INSPECT = Symbol.for('nodejs.util.inspect.custom');

test('it is a subclass with one member of its own', () => {
  assert.strictEqual(Object.getPrototypeOf(PluginRef.prototype), Plugin.prototype);
  assert.deepStrictEqual(Object.getOwnPropertyNames(PluginRef.prototype).sort(), ['constructor', 'toString']);
  assert.deepStrictEqual(attributesOf(PluginRef.prototype, 'toString'), HIDDEN);
  assert.strictEqual(PluginRef.name, 'PluginRef');
  const plugin = pluginOf(renderer);
  const ref = refOf(plugin, 1);
  assert.ok(ref instanceof PluginRef && ref instanceof Plugin);
  assert.ok(!(plugin instanceof PluginRef));
  assert.throws(() => PluginRef.prototype.toString.call(plugin), TypeError);
});

test('it leads to its plugin and to the other outputs', () => {
  const plugin = pluginOf(renderer);
  const ref = refOf(plugin, 1);
  assert.strictEqual(ref.getPlugin(), plugin);
  assert.strictEqual(refOf(ref, 1), ref);
  assert.strictEqual(refOf(ref, 0), plugin);
  const other = refOf(ref, 2);
  assert.notStrictEqual(other, ref);
  assert.strictEqual(refOf(plugin, 2), other);
  assert.strictEqual(ref.getReference(), ref);
});

test('a stream with an output gives the same object', () => {
  const id = newId();
  const plugin = pluginOf(renderer, id);
  const ref = refOf(plugin, 3);
  answerValue({type: 'pluginOutput', value: id, output: 3});
  assert.strictEqual(plugin.x, ref);
  answerValue({type: 'pluginOutput', value: id, output: 0});
  assert.strictEqual(plugin.x, plugin);
  answerValue({type: 'pluginOutput', value: id, output: -1});
  assert.strictEqual(plugin.x, plugin);
});

test('its name is the plugin\'s; its text has the output\'s name behind it', () => {
  const id = newId();
  const ref = refOf(pluginOf(renderer, id), 3);
  recorder.answer(entry('getPluginName'), 'lamp');
  recorder.answer(entry('getPropertyNameFromIndexByID'), 'out');
  assert.strictEqual(ref.getName(), 'lamp');
  assert.strictEqual(ref.getOutputName(), 'out');
  assert.deepStrictEqual(recorder.last(entry('getPropertyNameFromIndexByID')).args, [handle, id, 3]);
  assert.strictEqual(ref.toString(), 'lamp::out');
  assert.strictEqual(`${ref}`, 'lamp::out');
  recorder.answer(entry('getPropertyNameFromIndexByID'), null);
  assert.strictEqual(ref.getOutputName(), undefined);
  assert.strictEqual(ref.toString(), 'lamp');
  recorder.answer(entry('getPluginName'), null);
  assert.strictEqual(ref.toString(), undefined);
  recorder.reset();
});

test('its inspection is a text at every depth', () => {
  const ref = refOf(pluginOf(renderer), 1);
  recorder.answer(entry('getPluginName'), 'lamp');
  recorder.answer(entry('getPluginTypeByID'), 'Light');
  recorder.answer(entry('getPropertyNameFromIndexByID'), 'out');
  assert.strictEqual(ref[INSPECT](2), 'lamp::out');
  assert.strictEqual(ref[INSPECT](null), 'lamp::out');
  assert.strictEqual(ref[INSPECT](1), 'Plugin Light lamp::out');
  assert.strictEqual(util.inspect(ref), 'lamp::out');
  recorder.reset();
});

test('deleting through it deletes the plugin, whose own object keeps its ID', () => {
  const id = newId();
  const plugin = pluginOf(renderer, id);
  const ref = refOf(plugin, 1);
  assert.strictEqual(call(ref, 'deleteThis'), true);
  assert.deepStrictEqual(recorder.last(entry('deletePluginByID')).args, [handle, id, 1]);
  assert.strictEqual(ref.getIntegerID(), undefined);
  assert.strictEqual(plugin.getIntegerID(), Number(id));
  assert.notStrictEqual(pluginOf(renderer, id), plugin);
});

closeAtEnd(renderer);
