'use strict';

const test = require('node:test');
const assert = require('assert');
const {kiln, recorder, entry, open, newId, pluginOf, attributesOf, closeAtEnd} = require('../scene/common');

const {Util} = kiln;
const CHILDREN = 'Util_getChildPlugins';
const PARENTS = 'Util_getParentPlugins';
const INTENSITY = 'Util_getIESPrescribedIntensity';
const PROPERTY = entry('getPropertyNameFromIndexByID');
const renderer = open();
const {handle} = recorder.live().handles[0];
const id = newId();
const plugin = pluginOf(renderer, id);

const answer = (name, links, count = links ? links.length : 0) => recorder.once(name, {result: count, out: {links}});

test('three functions that nobody can replace', () => {
  assert.deepStrictEqual(Object.keys(Util), ['getChildPlugins', 'getParentPlugins', 'getIESPrescribedIntensity']);
  for (const name of Object.keys(Util)) {
    assert.deepStrictEqual(attributesOf(Util, name), {writable: false, enumerable: true, configurable: false});
  }
});

test('the flag of getChildPlugins is asked for and converted; getParentPlugins has none', () => {
  for (const [flag, word] of [[true, 1], [false, 0], ['x', 1], [undefined, 0], [{}, 1]]) {
    answer(CHILDREN, null);
    assert.deepStrictEqual(Util.getChildPlugins(plugin, flag), []);
    assert.deepStrictEqual(recorder.last(CHILDREN).args.slice(0, 3), [handle, id, word]);
  }
  answer(PARENTS, null);
  assert.deepStrictEqual(Util.getParentPlugins(plugin, true), []);
  assert.deepStrictEqual(recorder.last(PARENTS).args.slice(0, 3), [handle, id, 0]);
});

test('a link tells the holder, the property and the target with its output', () => {
  const holder = newId();
  const target = newId();
  recorder.once(PROPERTY, {text: 'größe'});
  recorder.once(PROPERTY, {result: null});
  answer(CHILDREN, [{to: target, from: holder, output_index: 2, property_index: 7}, {to: target, from: holder, property_index: 8}]);
  const links = Util.getChildPlugins(plugin, true);
  assert.deepStrictEqual(recorder.calls(PROPERTY).slice(-2).map((call) => call.args), [[handle, holder, 7], [handle, holder, 8]]);
  assert.deepStrictEqual(links.map((link) => Object.keys(link)),
    [['fromPlugin', 'fromProperty', 'toPlugin'], ['fromPlugin', 'fromProperty', 'toPlugin']]);
  assert.strictEqual(links[0].fromPlugin, links[1].fromPlugin);
  assert.strictEqual(links[0].fromPlugin.getIntegerID(), Number(holder));
  assert.deepStrictEqual(links.map((link) => link.fromProperty), ['größe', '']);
  assert.ok(links[0].toPlugin instanceof kiln.PluginRef);
  assert.ok(!(links[1].toPlugin instanceof kiln.PluginRef));
  assert.strictEqual(links[1].toPlugin.getIntegerID(), Number(target));
});

test('an id that is no plugin is null', () => {
  answer(PARENTS, [{to: 0n, from: 2n ** 64n - 1n}]);
  const [{fromPlugin, toPlugin}] = Util.getParentPlugins(plugin);
  assert.deepStrictEqual([fromPlugin, toPlugin], [null, null]);
});

test('a count without links is an array of that length, and a negative one is empty', () => {
  answer(CHILDREN, null, 3);
  const links = Util.getChildPlugins(plugin, false);
  assert.strictEqual(links.length, 3);
  assert.deepStrictEqual(Object.keys(links), []);
  answer(CHILDREN, null, -1);
  assert.deepStrictEqual(Util.getChildPlugins(plugin, false), []);
});

test('the block goes back', () => {
  answer(CHILDREN, [{to: 5n, from: 6n}]);
  Util.getChildPlugins(plugin, false);
  assert.deepStrictEqual(recorder.live().blocks, []);
});

test('arguments', () => {
  for (const args of [[], [plugin], [{}, true], ['name', true]]) {
    assert.throws(() => Util.getChildPlugins(...args),
      {name: 'Error', message: 'Argument 0 must be a Plugin. Argument 1 is a boolean.'});
  }
  for (const args of [[], [{}], [null]]) {
    assert.throws(() => Util.getParentPlugins(...args), {name: 'Error', message: 'Argument 0 must be a Plugin.'});
  }
});

test('the intensity of a light file', () => {
  for (const [args, name] of [[['a.ies'], 'a.ies'], [[], null], [[5], '5'], [[Symbol('x')], null]]) {
    recorder.once(INTENSITY, 1234.5);
    assert.strictEqual(Util.getIESPrescribedIntensity(...args), 1234.5);
    assert.strictEqual(recorder.last(INTENSITY).args[0], name);
  }
});

test('plugins of a closed renderer, and objects that are none, have no links', () => {
  recorder.clear();
  assert.strictEqual(Util.getChildPlugins(new kiln.Plugin(), true), undefined);
  renderer.close();
  assert.strictEqual(Util.getChildPlugins(plugin, true), undefined);
  assert.strictEqual(Util.getParentPlugins(plugin), undefined);
  assert.deepStrictEqual(recorder.names().filter((name) => name.startsWith('Util_')), []);
});

closeAtEnd(renderer);
