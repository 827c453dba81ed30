'use strict';

// Picking: the nearest plugin at a pixel, and all along the ray.

const test = require('node:test');
const assert = require('assert');
const {Worker} = require('worker_threads');
const {kiln, recorder, entry, open, collected} = require('./common');
const {paths, forceGc, runChild} = require('../helpers');

const renderer = open();
const {handle} = recorder.live().handles[0];
const ONE = entry('pickPluginByXY');
const ALL = entry('pickPluginsByXY');
const NO_PLACE = {name: 'Error', message: 'Argument 0 and argument 1 (x,y coordinates: numbers) should be passed'};

// Calls a member with 'cb' replaced by a callback; resolves to what that gets.
const called = (method, ...args) => new Promise((resolve) => {
  function callback(...got) {
    assert.strictEqual(this, renderer);
    resolve(got);
  }
  assert.strictEqual(renderer[method](...args.map((one) => one === 'cb' ? callback : one)), undefined);
});

test.beforeEach(() => recorder.clear());

test('all four members want two numbers first', () => {
  for (const method of ['pickPlugin', 'pickPluginSync', 'pickPlugins', 'pickPluginsSync']) {
    for (const args of [[], [1], ['1', 2, () => {}], [1, '2', () => {}], [1, null, () => {}], [{}, 1, () => {}], [1n, 1],
      [new Number(1), 2, () => {}]]) {
      assert.throws(() => renderer[method](...args), NO_PLACE);
    }
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('pickPlugin passes whole pixels and its timeout, on the pool', async () => {
  for (const [args, ...passed] of [[[1, 2, 'cb'], 1, 2, -1], [[1, 2, 'cb', 100], 1, 2, 100], [[1.5, 2.5, 'cb'], 1, 2, -1],
    [[-1.9, 2 ** 32 + 3, 'cb', 2.9], -1, 3, 2], [[NaN, Infinity, 'cb', '100'], 0, 0, -1], [[1, 2, 'cb', null], 1, 2, -1],
    [[1, 2, 'x', 'cb'], 1, 2, -1], [[1, 2, null, 'cb'], 1, 2, -1], [[1, 2, 'cb', () => {}], 1, 2, -1]]) {
    recorder.clear();
    assert.deepStrictEqual(await called('pickPlugin', ...args), [null]);
    const {args: got, onJsThread} = recorder.last(ONE);
    assert.deepStrictEqual([got, onJsThread], [[handle, ...passed], false]);
  }
});

test('a timeout in front of the callback is read from the callback', async () => {
  await called('pickPlugin', 1, 2, 100, 'cb');
  assert.strictEqual(recorder.last(ONE).arg.timeout, 0);
  const picked = (callback) => new Promise((resolve) => {
    const done = Object.assign(() => resolve(recorder.last(ONE).arg.timeout), callback);
    renderer.pickPlugin(1, 2, 100, done);
  });
  assert.strictEqual(await picked({valueOf: () => 7}), 7);
});

test('when the callback can\'t be read as a timeout the pick waits without one, and the exception is thrown', async () => {
  await new Promise((resolve) => {
    const callback = Object.assign(resolve, {valueOf() { throw new RangeError('no'); }});
    assert.throws(() => renderer.pickPlugin(1, 2, 100, callback), {name: 'RangeError', message: 'no'});
  });
  assert.strictEqual(recorder.last(ONE).arg.timeout, -1);
});

test('pickPlugin wants a callback', () => {
  const message = 'Argument 2 or 3 (a callback function) should be passed';
  for (const args of [[], [5], [5, 5], [{}, null], [5, 5, () => {}]]) {
    assert.throws(() => renderer.pickPlugin(1, 2, ...args), {name: 'Error', message});
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('pickPlugin and pickPluginSync give the one object of a plugin, or null', async () => {
  for (const id of [0n, 2n ** 64n - 1n]) {
    recorder.answer(ONE, id);
    assert.deepStrictEqual(await called('pickPlugin', 1, 2, 'cb'), [null]);
    assert.strictEqual(renderer.pickPluginSync(1, 2), null);
  }
  recorder.answer(ONE, 0x100000007n);
  const [plugin] = await called('pickPlugin', 1, 2, 'cb');
  assert.ok(plugin instanceof kiln.Plugin);
  assert.strictEqual(plugin.getIntegerID(), 0x100000007);
  assert.strictEqual(renderer.pickPluginSync(1, 2), plugin);
  recorder.reset();
});

test('pickPluginSync', () => {
  for (const [args, ...passed] of [[[1, 2], 1, 2, -1], [[1.5, 2.5, 100], 1, 2, 100], [[1, 2, '100'], 1, 2, -1],
    [[1, 2, () => {}], 1, 2, -1], [[1, 2, -7.5, 5], 1, 2, -7]]) {
    recorder.clear();
    assert.strictEqual(renderer.pickPluginSync(...args), null);
    const {args: got, onJsThread} = recorder.last(ONE);
    assert.deepStrictEqual([got, onJsThread], [[handle, ...passed], true]);
  }
});

test('pickPlugins finds its callback in three places, and its numbers around it', async () => {
  for (const [args, timeout, maxResults] of [[['cb'], -1, 0], [['cb', 3], -1, 3], [['cb', 3, 100], 100, 3],
    [['cb', null, 100], 100, 0], [[3, 'cb'], -1, 3], [[3, 'cb', 100], 100, 3], [['3', 'cb', '100'], -1, 0],
    [[3, 100, 'cb'], 100, 3], [[null, 100, 'cb'], 100, 0], [[3, {}, 'cb'], -1, 3], [['cb', 2.9, -1.5], -1, 2]]) {
    recorder.clear();
    assert.deepStrictEqual(await called('pickPlugins', 1.5, 2.5, ...args), [[]]);
    const {args: got, onJsThread} = recorder.last(ALL);
    assert.deepStrictEqual([got.slice(0, 5), onJsThread], [[handle, 1.5, 2.5, timeout, maxResults], false]);
  }
});

test('of several functions pickPlugins calls the first', async () => {
  const never = () => assert.fail('another');
  await called('pickPlugins', 1, 2, 'cb', never, never);
  await called('pickPlugins', 1, 2, 5, 'cb', never);
});

test('pickPlugins wants a callback', () => {
  const message = 'Argument 2, 3 or 4 (a callback function) should be passed';
  for (const args of [[], [5, 5, 5], [{}, null], [5, 5, 5, () => {}]]) {
    assert.throws(() => renderer.pickPlugins(1, 2, ...args), {name: 'Error', message});
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('pickPluginsSync takes one number for both its limits', () => {
  for (const [args, timeout, maxResults] of [[[], -1, 0], [[5], 5, 5], [[5, 7], 5, 5], [['5'], -1, 0], [[2.9], 2, 2],
    [[null, 7], -1, 0]]) {
    recorder.clear();
    assert.deepStrictEqual(renderer.pickPluginsSync(0.25, -3.5, ...args), []);
    const {args: got, onJsThread} = recorder.last(ALL);
    assert.deepStrictEqual([got.slice(0, 5), onJsThread], [[handle, 0.25, -3.5, timeout, maxResults], true]);
  }
});

const PICKS = [{plugin: 0x100000007n, distance: 1.5, mtl_id: 0}, {plugin: 0n, distance: -0.25, mtl_id: -7},
  {plugin: 0x100000007n, distance: 1e300, mtl_id: 0x7FFFFFFF}];

async function eachWay(answer, check) {
  recorder.once(ALL, answer);
  check(renderer.pickPluginsSync(1, 2));
  recorder.once(ALL, answer);
  const got = await called('pickPlugins', 1, 2, 'cb');
  assert.strictEqual(got.length, 1);
  check(got[0]);
  assert.strictEqual(recorder.liveCounts().blocks, 0, 'the record is given back');
}

test('a list of picks', async () => {
  await eachWay({result: 3, out: {result: PICKS}}, (picks) => {
    assert.ok(Array.isArray(picks));
    assert.strictEqual(picks.length, 3);
    assert.deepStrictEqual(picks.map((one) => Object.keys(one)), Array(3).fill(['plugin', 'distance', 'mtlID']));
    assert.deepStrictEqual(picks.map((one) => [one.distance, one.mtlID]), [[1.5, 0], [-0.25, -7], [1e300, 0x7FFFFFFF]]);
    assert.ok(picks[0].plugin instanceof kiln.Plugin);
    assert.strictEqual(picks[0].plugin.getIntegerID(), 0x100000007);
    assert.strictEqual(picks[0].plugin, picks[2].plugin);
    assert.strictEqual(picks[1].plugin, null);
    assert.strictEqual(picks[0].toString, picks[1].toString, 'one function for the array');
    assert.deepStrictEqual({...Object.getOwnPropertyDescriptor(picks[0], 'toString'), value: 0},
      {value: 0, writable: true, enumerable: false, configurable: true});
    assert.deepStrictEqual(Object.getOwnPropertyDescriptor(picks[0], 'distance'),
      {value: 1.5, writable: true, enumerable: true, configurable: true});
  });
});

test('nothing found, a failure, and a failure with a record give an empty array', async () => {
  for (const answer of [{result: 0, out: {result: null}}, {result: 0, out: {result: []}}, {result: -1, out: {result: null}},
    {result: -1, out: {result: PICKS}}, {result: 5, out: {result: null}}]) {
    await eachWay(answer, (picks) => assert.deepStrictEqual(picks, []));
  }
});

test('a pick as text', () => {
  recorder.once(ALL, {result: 1, out: {result: [{plugin: 0x100000007n, distance: 1.5, mtl_id: 0}]}});
  const [pick] = renderer.pickPluginsSync(1, 2);
  recorder.answer(entry('getPluginName'), 'Böx');
  assert.strictEqual(String(pick), '{plugin: Böx, mtlID: 0, distance: 1.5}');
  assert.strictEqual(pick.toString.call({plugin: 1, mtlID: [2, 3], distance: null}), '{plugin: 1, mtlID: 2,3, distance: null}');
  assert.strictEqual(pick.toString.call({}), '{plugin: undefined, mtlID: undefined, distance: undefined}');
  assert.strictEqual(pick.toString.call('x'), '{plugin: undefined, mtlID: undefined, distance: undefined}');
  for (const key of ['plugin', 'mtlID', 'distance']) {
    assert.throws(() => pick.toString.call({get [key]() { throw new RangeError(key); }}), {name: 'RangeError', message: key});
    assert.throws(() => pick.toString.call({[key]: Symbol('x')}), TypeError);
  }
  assert.throws(() => new pick.toString(), TypeError);
  recorder.reset();
});

test('what stands on Object.prototype does not get in the way of a pick', () => {
  recorder.once(ALL, {result: 1, out: {result: [PICKS[0]]}});
  Object.defineProperty(Object.prototype, 'distance', {configurable: true, set() { throw new Error('no'); }});
  try {
    assert.strictEqual(renderer.pickPluginsSync(1, 2)[0].distance, 1.5);
  } finally {
    delete Object.prototype.distance;
  }
});

test('a pick runs beside the loop, and keeps the renderer and what it found alive', async () => {
  const gate = recorder.gate('pick');
  recorder.once(ALL, {result: 1, out: {result: [PICKS[0]]}, gate: 'pick'});
  const pending = called('pickPlugins', 1, 2, 'cb');
  for (let i = 0; i < 5; ++i) {
    forceGc();
    await new Promise(setImmediate);
  }
  assert.strictEqual(gate.waiting(), 1);
  gate.open();
  const [[pick]] = await pending;
  forceGc();
  assert.strictEqual(pick.plugin.getIntegerID(), 0x100000007);
  gate.open();
});

test('a callback that throws is an uncaught exception, and the record is given back', async () => {
  const {code, stdout, stderr} = await runChild((helpers) => {
    const kiln = helpers.loadNative();
    kiln.enableFrameBuffer(false);
    const {recorder} = helpers;
    const renderer = new kiln.KilnRenderer();
    process.once('uncaughtException', (error) => {
      console.log(error.message, recorder.liveCounts().blocks);
      renderer.close();
    });
    recorder.once('Kiln_KilnRenderer_pickPluginsByXY', {result: 1, out: {result: [{plugin: 5n, distance: 1, mtl_id: 0}]}});
    renderer.pickPlugins(1, 2, () => { throw new Error('mine'); });
  });
  assert.deepStrictEqual([code, stdout], [0, 'mine 0\n'], stderr);
});

test('a closed renderer passes null and finds nothing', async () => {
  const own = open();
  own.close();
  recorder.clear();
  assert.strictEqual(own.pickPluginSync(1, 2), null);
  assert.deepStrictEqual(own.pickPluginsSync(1, 2), []);
  assert.strictEqual(await new Promise((resolve) => own.pickPlugin(1, 2, resolve)), null);
  assert.deepStrictEqual(await new Promise((resolve) => own.pickPlugins(1, 2, resolve)), []);
  for (const call of recorder.calls()) assert.deepStrictEqual([call.args[0], call.stale], [0n, false]);
});

test('a worker that ends while a pick runs gives the record back', async () => {
  const gate = recorder.gate('worker');
  recorder.once(ALL, {result: 1, out: {result: PICKS}, gate: 'worker'});
  const worker = new Worker(`
    const kiln = require(${JSON.stringify(paths.native)});
    kiln.enableFrameBuffer(false);
    const renderer = new kiln.KilnRenderer();
    renderer.pickPlugins(1, 2, () => process.abort());
    require('worker_threads').parentPort.postMessage('queued');
  `, {eval: true});
  await new Promise((resolve) => worker.once('message', resolve));
  while (gate.waiting() === 0) await new Promise(setImmediate);
  const ended = worker.terminate();
  setTimeout(() => gate.open(), 20);
  await ended;
  gate.open();
  assert.strictEqual(recorder.liveCounts().blocks, 0);
});

test('nothing is left', async () => {
  renderer.close();
  await collected();
});
