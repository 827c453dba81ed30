'use strict';

// Construction, close in its two forms, collection: which calls they make, in which order, and what they leave.

const test = require('node:test');
const assert = require('assert');
const {forceGc, collect, sleep, runChild, paths} = require('../helpers');
const {kiln, recorder, KINDS, CLEARED, entry, setter, open, turn, collected} = require('./common');

const {KilnRenderer} = kiln;
const IN_USE = 'Cannot set a new path now. SDKLibrary is currently being used.';
const isCounted = () => {
  try {
    kiln.setSDKLibraryPath(paths.recorderDir);
    return false;
  } catch (error) {
    assert.strictEqual(error.message, IN_USE);
    return true;
  }
};
const named = (callback) => new Promise((resolve) => callback(resolve));

test.beforeEach(() => recorder.clear());

test('construction keeps images and buckets, then registers the callbacks that are always on', () => {
  const renderer = new KilnRenderer();
  const handle = recorder.live().handles[0].handle;
  const calls = recorder.calls();
  assert.deepStrictEqual(calls.map((call) => call.name), [entry('create'), entry('setKeepRTframesInCallback'),
    entry('setKeepBucketsInCallback'), setter('KvwContextMenuSelected'),
    setter('LightMixTransferToScene'), setter('UploadToCollaboration')]);
  assert.deepStrictEqual(calls[1].args, [handle, 1]);
  assert.deepStrictEqual(calls[2].args, [handle, 1]);
  for (const {arg} of calls.slice(3)) {
    assert.strictEqual(arg.renderer, handle);
    assert.notStrictEqual(arg.callback.function, 0n);
    assert.notStrictEqual(arg.callback.user_data, 0n);
    assert.deepStrictEqual(arg.callback.reserved, [0n, 0n]);
  }
  assert.notStrictEqual(calls[3].arg.callback.user_data, calls[4].arg.callback.user_data);
  assert.ok(calls.every((call) => call.onJsThread && call.done));
  renderer.close();
});

test('no other callback is on before the switch turns it on', () => {
  const renderer = new KilnRenderer();
  for (const {setter: name} of KINDS) assert.strictEqual(recorder.isRegistered(name), false, name);
  renderer.close();
});

test('the callbacks that are always on have ports of their own, and so has the switch', () => {
  const renderer = open();
  turn(renderer, 0, true);
  turn(renderer, 7, true);
  const stems = ['StateChanged', 'Progress', 'KvwContextMenuSelected', 'LightMixTransferToScene',
    'UploadToCollaboration'];
  const users = stems.map((stem) => recorder.last(setter(stem)).arg.callback.user_data);
  assert.strictEqual(users[0], users[1]);
  assert.strictEqual(new Set(users).size, 4);
  renderer.close();
});

test('a plain close clears the callbacks in order, then releases on this thread', () => {
  const renderer = open();
  const {handle} = recorder.live().handles[0];
  for (const {kind} of KINDS) turn(renderer, kind, true);
  recorder.clear();
  assert.strictEqual(renderer.close(), undefined);
  const calls = recorder.calls();
  assert.deepStrictEqual(calls.map((call) => call.name), [...CLEARED, entry('release')]);
  for (const call of calls) {
    assert.strictEqual(call.args[0], handle);
    if (call.name !== entry('release')) assert.strictEqual(call.args[1], null);
    assert.ok(call.onJsThread);
  }
  assert.strictEqual(recorder.last(setter('DumpMessage')).arg.min_level, 0);
});

test('teardown leaves the callback of the interactive start alone', () => {
  const renderer = open();
  turn(renderer, 10, true);
  recorder.clear();
  renderer.close();
  assert.strictEqual(recorder.count(setter('RenderInteractiveStart')), 0);
});

test('a second plain close does nothing', () => {
  const renderer = open();
  renderer.close();
  recorder.clear();
  renderer.close();
  renderer.close(null);
  renderer.close({});
  renderer.close('callback');
  assert.deepStrictEqual(recorder.names(), []);
});

test('anything but a function as the argument of close is a plain close', () => {
  for (const argument of [undefined, null, 1, 'x', {}, []]) {
    const renderer = open();
    recorder.clear();
    renderer.close(argument);
    assert.strictEqual(recorder.count(entry('release')), 1);
    assert.ok(recorder.last(entry('release')).onJsThread);
  }
});

test('close with a callback releases on the pool, clears nothing, and calls back without arguments', async () => {
  const renderer = open();
  turn(renderer, 0, true);
  recorder.clear();
  let late = false;
  const [self, args] = await new Promise((resolve) => {
    assert.strictEqual(renderer.close(function (...given) {
      assert.ok(late);
      resolve([this, given]);
    }), undefined);
    late = true;
  });
  assert.strictEqual(self, renderer);
  assert.deepStrictEqual(args, []);
  assert.deepStrictEqual(recorder.names(), [entry('release')]);
  assert.strictEqual(recorder.last(entry('release')).onJsThread, false);
});

test('the handle stays until a release on the pool has returned', async () => {
  const renderer = open();
  const gate = recorder.gate('release');
  recorder.once(entry('release'), {gate});
  const closed = named((done) => renderer.close(done));
  renderer.clearScene();
  assert.notStrictEqual(recorder.last(entry('clearScene')).args[0], 0n);
  gate.open();
  await closed;
  renderer.clearScene();
  assert.strictEqual(recorder.last(entry('clearScene')).args[0], 0n);
  gate.close();
});

test('close lets go of the objects that were handed out at once, with a callback too', async () => {
  recorder.answer(entry('getPluginID'), 7n);
  recorder.answer(entry('pluginClassExists'), {text: 'Some'});
  for (const callback of [false, true]) {
    const renderer = open();
    const plugin = renderer.plugins.a;
    const some = renderer.classes.Some;
    assert.deepStrictEqual([renderer.plugins.a === plugin, renderer.classes.Some === some], [true, true]);
    const gate = recorder.gate('release');
    if (callback) recorder.once(entry('release'), {gate});
    const closed = callback ? named((done) => renderer.close(done)) : renderer.close();
    assert.deepStrictEqual([renderer.plugins.a === plugin, renderer.classes.Some === some], [false, false]);
    gate.open();
    await closed;
    gate.close();
  }
  recorder.reset();
});

test('renderers that are collected before their classes are released too', async () => {
  await collected();
  recorder.answer(entry('pluginClassExists'), {text: 'Some'});
  recorder.clear();
  (() => {
    // Enough of them that some stand in front of their classes in the collector's list.
    for (let i = 0; i < 300; ++i) void open().classes.Some;
  })();
  recorder.reset();
  await collect(() => recorder.count(entry('release')) === 300);
  await collected();
});

test('events that come of a release on the pool are delivered', async () => {
  const renderer = open();
  turn(renderer, 0, true);
  turn(renderer, 4, true);
  recorder.once(entry('release'), {
    raise: [[setter('StateChanged'), {first: 6, second: 1}], [setter('DumpMessage'), {message: 'end', level: 2}]],
  });
  await named((done) => renderer.close(done));
  assert.deepStrictEqual(renderer.events.map((one) => one[0]).sort(), ['logMessage', 'stateChanged']);
});

test('close with a callback twice releases twice and leaves the counters twice', async () => {
  const ended = await runChild(async () => {
    /* global require */
    const check = require('assert');
    const {kiln: own, recorder: log, open: make} = require('./test/renderer/common');
    const renderer = make();
    const other = make();
    log.clear();
    await Promise.all([1, 2].map(() => new Promise((resolve) => renderer.close(resolve))));
    check.deepStrictEqual(log.names(), Array(2).fill('Kiln_KilnRenderer_release'));
    const [first, second] = log.calls().map((call) => call.args[0]);
    check.strictEqual(first, second);
    check.deepStrictEqual(log.faults().map((fault) => fault.kind), ['unknown handle']);
    // Two were made and two have left, though one is open.
    own.setSDKLibraryPath(log.paths.recorderDir);
    other.close();
    check.throws(() => own.setSDKLibraryPath(log.paths.recorderDir),
      {message: 'Cannot set a new path now. SDKLibrary is currently being used.'});
  });
  assert.deepStrictEqual([ended.code, ended.stderr], [0, '']);
});

test('a close with a callback behind a plain one releases the null handle', async () => {
  const ended = await runChild(async () => {
    /* global require */
    const check = require('assert');
    const {recorder: log, open: make} = require('./test/renderer/common');
    const renderer = make();
    renderer.close();
    log.clear();
    await new Promise((resolve) => renderer.close(resolve));
    check.deepStrictEqual(log.calls().map((call) => [call.name, call.args[0]]), [['Kiln_KilnRenderer_release', 0n]]);
  });
  assert.deepStrictEqual([ended.code, ended.stderr], [0, '']);
});

test('members of a closed renderer pass a null handle', async () => {
  const renderer = open();
  renderer.close();
  recorder.clear();
  recorder.answer(entry('setNumThreads'), 1);
  void [renderer.options, renderer.numThreads, renderer.size, renderer.renderEnded, renderer.renderMode,
    renderer.state, renderer.lastError, renderer.progressiveImageUpdatedHasBuffer, renderer.bucketReadyHasBuffer];
  renderer.numThreads = 1;
  renderer.size = {width: 1, height: 1};
  renderer.minLogLevel = 3;
  renderer.progressiveImageUpdatedHasBuffer = true;
  renderer.bucketReadyHasBuffer = true;
  renderer.start();
  renderer.startSync();
  renderer.stop();
  renderer.commit();
  renderer.clearScene();
  assert.strictEqual(renderer.getImage(), undefined);
  turn(renderer, 0, true);
  turn(renderer, 0, false);
  for (const call of recorder.calls().filter((one) => one.name.startsWith(entry('')))) {
    assert.ok(!call.args[0], call.name);
  }
  assert.ok(!recorder.last(setter('DumpMessage')).arg.callback.user_data);
  await named((done) => renderer.stop(done));
  await named((done) => renderer.start(done));
  await named((done) => renderer.waitForRenderEnd(done));
  await named((done) => renderer.load('a', done));
  await named((done) => renderer.loadFromBuffer(Buffer.from('a'), done));
  recorder.reset();
  assert.deepStrictEqual(recorder.faults(), []);
});

test('the handle of a renderer makes a second object over it, with ports of its own', async () => {
  const first = open();
  const handle = first.getInstanceHandle();
  assert.notStrictEqual(first.getInstanceHandle(), handle);
  const user = recorder.last(setter('UploadToCollaboration')).arg.callback.user_data;
  recorder.clear();
  const second = open(handle);
  assert.deepStrictEqual(recorder.names(), [entry('incRef'), entry('setKeepRTframesInCallback'),
    entry('setKeepBucketsInCallback'), setter('KvwContextMenuSelected'),
    setter('LightMixTransferToScene'), setter('UploadToCollaboration')]);
  assert.notStrictEqual(recorder.last(setter('UploadToCollaboration')).arg.callback.user_data, user);
  assert.strictEqual(recorder.live().handles.filter((one) => one.references === 2).length, 1);
  await recorder.raise(setter('KvwContextMenuSelected'), {first: 1, second: 2, third: 3});
  assert.deepStrictEqual([first.events.length, second.events.length], [0, 1]);
  first.close();
  assert.notStrictEqual(second, first);
  second.clearScene();
  assert.notStrictEqual(recorder.last(entry('clearScene')).args[0], 0n);
  second.close();
});

test('the handle of a closed renderer makes none', () => {
  const renderer = open();
  renderer.close();
  assert.throws(() => new KilnRenderer(renderer.getInstanceHandle()), {name: 'Error', message: 'Instantiation error.'});
});

test('collection closes an open renderer as a plain close does', async () => {
  await collected();
  (() => void open())();
  recorder.clear();
  await collect(() => recorder.count(entry('release')) === 1);
  assert.deepStrictEqual(recorder.names(), [...CLEARED, entry('release')]);
});

test('collection of a closed renderer makes no call', async () => {
  let weak;
  (() => {
    const renderer = open();
    weak = new WeakRef(renderer);
    renderer.close();
  })();
  recorder.clear();
  await collect(() => weak.deref() === undefined);
  assert.deepStrictEqual(recorder.names(), []);
});

test('nothing keeps an open renderer from being collected, ports or callbacks', async () => {
  (() => {
    const renderer = open();
    for (const {kind} of KINDS) turn(renderer, kind, true);
  })();
  await collected();
});

test('a renderer that is collected while its callback is parked lets the thread go', async () => {
  let raised;
  (() => {
    const renderer = open();
    turn(renderer, 0, true);
    raised = recorder.raise(setter('StateChanged'), {first: 1}, {count: 1});
    // The loop does not turn, so the thread is parked, and only the collection can wake it.
    recorder.awaitCallback();
  })();
  let released = false;
  for (let i = 0; i < 5 && !released; ++i) {
    forceGc();
    released = recorder.live().handles.length === 0;
  }
  assert.ok(released);
  assert.strictEqual((await raised).delivered, 1);
  await collected();
});

test('ten thousand renderers are created and dropped', async () => {
  recorder.countOnly();
  for (let i = 0; i < 100; ++i) {
    for (let j = 0; j < 100; ++j) void new KilnRenderer();
    await sleep(0);
  }
  await collected();
  assert.strictEqual(recorder.count(entry('create')), recorder.count(entry('release')));
  assert.strictEqual(recorder.count(entry('create')), 10000);
  recorder.countOnly(false);
});

test('a library in use can\'t be replaced, and one out of use can', async () => {
  assert.strictEqual(isCounted(), false);
  const renderer = open();
  assert.strictEqual(isCounted(), true);
  renderer.close();
  assert.strictEqual(isCounted(), false);
  await collected();
});

test('wrong receivers are refused by every method', () => {
  const symbols = Object.getOwnPropertySymbols(KilnRenderer.prototype);
  const keys = [...Object.getOwnPropertyNames(KilnRenderer.prototype), ...symbols].filter((key) => key !== 'constructor');
  assert.ok(keys.length >= 17);
  const renderer = open();
  for (const key of keys) {
    const method = KilnRenderer.prototype[key];
    for (const receiver of [undefined, null, 1, {}, Object.create(renderer), new Proxy(renderer, {}),
      KilnRenderer.prototype]) {
      assert.throws(() => method.call(receiver, () => {}), {name: 'TypeError', message: 'Illegal invocation'});
    }
  }
  renderer.close();
});

test('the methods and accessors have their attributes', () => {
  const {prototype} = KilnRenderer;
  for (const name of Object.getOwnPropertyNames(prototype).filter((one) => one !== 'constructor')) {
    const {writable, enumerable, configurable} = Object.getOwnPropertyDescriptor(prototype, name);
    assert.deepStrictEqual([name, writable, enumerable, configurable],
      [name, false, name !== 'render', name === 'render']);
  }
  const [symbol] = Object.getOwnPropertySymbols(prototype);
  assert.strictEqual(symbol, Symbol.for('kiln.KilnRenderer.@callbackSettersInternalHelper'));
  const {writable, enumerable, configurable} = Object.getOwnPropertyDescriptor(prototype, symbol);
  assert.deepStrictEqual([writable, enumerable, configurable], [false, false, false]);
  assert.strictEqual(prototype.start.name, 'start');
  assert.strictEqual(KilnRenderer.name, 'KilnRenderer');
  const renderer = open();
  for (const name of ['autoCommit', 'options', 'size', 'state', 'lastError']) {
    const descriptor = Object.getOwnPropertyDescriptor(renderer, name);
    assert.deepStrictEqual([name, descriptor.enumerable, descriptor.configurable], [name, true, false]);
  }
  renderer.close();
});

test('a subclass is a renderer', () => {
  class Own extends KilnRenderer {}
  const renderer = new Own({previewRenderer: true});
  assert.ok(renderer instanceof KilnRenderer && renderer instanceof Own);
  renderer.clearScene();
  renderer.close();
});

test('a library that is not bound is an error with the loader\'s text', async () => {
  const ended = await runChild(({loadNative, paths: where}) => {
    const own = loadNative({library: where.root});
    own.setSDKLibraryPath(where.root);
    const text = own.getSDKLibraryErrorString();
    for (const call of [() => new own.KilnRenderer(), () => own.KilnRenderer(), () => own.createKilnRenderer(),
      () => own.createKilnRenderer(1, 2, 3)]) {
      require('assert').throws(call, {name: 'Error', message: text});
    }
    require('assert').match(text, /^Error loading SDK Library\./);
  });
  assert.deepStrictEqual([ended.code, ended.stderr], [0, '']);
});

test('nothing is left', collected);
