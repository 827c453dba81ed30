'use strict';

// deletePlugins and deletePluginsSync: how plugins are named, and what is forgotten of them.

const test = require('node:test');
const assert = require('assert');
const {until} = require('../helpers');
const {kiln, recorder, entry, open, collected} = require('./common');

const NAME = entry('deletePluginsByID');
const NO_PLUGINS = 'An array of strings/plugins or multiple strings/plugins and a callback function should be passed';
const NO_CALLBACK = 'A callback function must be passed as last argument';
const NO_PLUGINS_SYNC = 'An array of strings/plugins or multiple strings/plugins should be passed';
const UNKNOWN = 2n ** 64n - 1n;

let renderer = open();
const {handle} = recorder.live().handles[0];

// A plugin object with that ID.
function plugin(id, own = renderer) {
  recorder.once(entry('getPluginID'), id);
  return own.plugins[`p${id}`];
}

// Both forms: [the IDs and the commit flag that reached the SDK, the answer].
async function both(...plugins) {
  recorder.clear();
  const answer = await new Promise((resolve) => renderer.deletePlugins(...plugins, function (...got) {
    assert.strictEqual(this, renderer);
    resolve(got);
  }));
  const first = recorder.last(NAME);
  const second = renderer.deletePluginsSync(...plugins);
  const last = recorder.last(NAME);
  assert.deepStrictEqual(answer, [second]);
  assert.deepStrictEqual([first.onJsThread, last.onJsThread], [false, true]);
  assert.deepStrictEqual(first.args, last.args);
  assert.strictEqual(first.args[0], handle);
  return {ids: first.args[1] || [], count: first.arg.count, commit: first.arg.auto_commit, answer: second};
}

test.beforeEach(() => {
  recorder.reset();
  recorder.clear();
  recorder.answer(entry('getPluginID'), UNKNOWN);
});

test('plugins are named by strings and by objects, in a run or in one array', async () => {
  const [a, b] = [plugin(7n), plugin(2n ** 40n)];
  for (const [args, ids] of [[[a], [7n]], [[a, b], [7n, 2n ** 40n]], [[[a, b]], [7n, 2n ** 40n]], [[[]], []], [[a, a], [7n, 7n]]]) {
    const got = await both(...args);
    assert.deepStrictEqual([got.ids, got.count], [ids, ids.length]);
  }
  recorder.answer(entry('getPluginID'), 9n);
  const got = await both('größe', [a][0], '');
  assert.deepStrictEqual(got.ids, [9n, 7n, 9n]);
  const names = recorder.calls(entry('getPluginID')).map((call) => [call.args[0], call.args[1]]);
  assert.deepStrictEqual(names.slice(0, 2), [[handle, 'größe'], [handle, '']]);
  recorder.answer(entry('getPluginID'), UNKNOWN);
  assert.deepStrictEqual((await both('nobody')).ids, [UNKNOWN]);
});

test('autoCommit decides whether the SDK commits', async () => {
  assert.strictEqual((await both('a')).commit, 1);
  renderer.autoCommit = false;
  assert.strictEqual((await both('a')).commit, 0);
  renderer.autoCommit = true;
});

test('the answer is true for 0 alone', async () => {
  for (const [result, expected] of [[0, true], [1, false], [-1, false], [7, false]]) {
    recorder.answer(NAME, result);
    assert.strictEqual((await both('a')).answer, expected);
  }
});

test('what has been deleted is a new object, unless the SDK failed', async () => {
  for (const sync of [false, true]) {
    for (const [result, forgotten] of [[0, true], [1, true], [-1, false]]) {
      recorder.answer(NAME, result);
      const [a, b] = [plugin(7n), plugin(8n)];
      if (sync) {
        renderer.deletePluginsSync(a);
      } else {
        await new Promise((resolve) => renderer.deletePlugins(a, resolve));
      }
      assert.deepStrictEqual([plugin(7n) !== a, plugin(8n) !== b], [forgotten, false]);
    }
  }
});

test('the objects of the IDs 0, 1 and all ones are kept', () => {
  const one = plugin(1n);
  recorder.answer(entry('getPluginID'), 1n);
  renderer.deletePluginsSync('p1', 'p1');
  assert.strictEqual(renderer.plugins.p1, one);
});

test('the callback gets a plugin that is already forgotten', async () => {
  const a = plugin(7n);
  await new Promise((resolve) => renderer.deletePlugins(a, () => {
    assert.notStrictEqual(plugin(7n), a);
    resolve();
  }));
});

test('deletePlugins refuses what is not plugins and a callback', () => {
  const [a, call] = [plugin(7n), () => {}];
  recorder.clear();
  for (const args of [[], ['a'], [call], [['a']], [a], ['a', 'b'], ['a', a], [5, call], ['a', 5, call], [['a', 5], call],
    [['a'], 'b', call], [call, call], ['a', call, call], ['a', call, 5], [null, call], [{}, call], [[a, [a]], call],
    [new String('a'), call], [new kiln.Plugin(), call], [[null], call]]) {
    assert.throws(() => renderer.deletePlugins(...args), {name: 'Error', message: NO_PLUGINS});
  }
  for (const args of [['a', 5], ['a', null], ['a', {}], [['a'], 5], [[], undefined], ['a', 'b', undefined]]) {
    assert.throws(() => renderer.deletePlugins(...args), {name: 'Error', message: NO_CALLBACK});
  }
  assert.strictEqual(recorder.count(NAME), 0);
});

test('deletePluginsSync refuses everything else', () => {
  const a = plugin(7n);
  recorder.clear();
  for (const args of [[], [5], ['a', 5], [5, 'a'], [['a', 5]], [['a'], 'b'], ['a', () => {}], [['a'], () => {}], [null], [{}],
    [new String('a')], [a, {}], [[undefined]], [new kiln.Plugin()]]) {
    assert.throws(() => renderer.deletePluginsSync(...args), {name: 'Error', message: NO_PLUGINS_SYNC});
  }
  assert.strictEqual(recorder.count(NAME), 0);
});

test('a plugin of another renderer is none', () => {
  const other = open();
  const foreign = plugin(7n, other);
  assert.throws(() => renderer.deletePluginsSync(foreign), {message: NO_PLUGINS_SYNC});
  assert.throws(() => renderer.deletePlugins([foreign], () => {}), {message: NO_PLUGINS});
  assert.strictEqual(other.deletePluginsSync(foreign), true);
  other.close();
});

test('an element that can\'t be read is its own exception', () => {
  const array = ['a'];
  Object.defineProperty(array, 1, {get() { throw new RangeError('no'); }});
  assert.throws(() => renderer.deletePlugins(array, () => {}), {name: 'RangeError', message: 'no'});
  assert.throws(() => renderer.deletePlugins(array, 5), {name: 'RangeError', message: 'no'});
  assert.throws(() => renderer.deletePluginsSync(array), {name: 'RangeError', message: 'no'});
  assert.strictEqual(recorder.count(NAME), 0);
});

test('a job that is queued before a close works with the handle of then', async () => {
  const own = open();
  const gate = recorder.gate('delete');
  recorder.once(NAME, {gate});
  const a = plugin(7n, own);
  const done = new Promise((resolve) => own.deletePlugins(a, resolve));
  await until(() => gate.waiting() === 1);
  own.close();
  gate.open();
  assert.strictEqual(await done, true);
  gate.close();
  recorder.clear();
  assert.throws(() => own.deletePluginsSync(5), {message: NO_PLUGINS_SYNC});
  own.deletePluginsSync('a');
  assert.strictEqual(recorder.last(NAME).args[0], 0n);
});

test('nothing is left', async () => {
  renderer.close();
  renderer = null;
  await collected();
});
