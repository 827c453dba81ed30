'use strict';

// The events port: each kind's arguments, images and who owns them, listeners that throw or close.

const test = require('node:test');
const assert = require('assert');
const {forceGc, until, sleep, runChild} = require('../helpers');
const {kiln, recorder, KINDS, CLEARED, entry, setter, open, turn, withRenderer, collected, ABRUPT} = require('./common');

const STATES = ['fatalError', 'idleInitialized', 'idleStopped', 'idleError', 'idleFrameDone', 'idleDone', 'preparing',
  'rendering', 'renderingPaused', 'renderingAwaitingChanges'];
const setterOf = Object.fromEntries(KINDS.map((one) => [one.kind, one.setter]));
const IMAGE = {width: 3, height: 2};

// What the listeners get for one callback of the kind.
function deliver(kind, fields, options) {
  return withRenderer(async (renderer) => {
    turn(renderer, kind, true);
    const raised = await recorder.raise(setterOf[kind], fields, options);
    assert.strictEqual(raised.delivered, 1);
    return renderer.events;
  });
}

test.beforeEach(() => recorder.clear());

test('states are texts, and numbers that are none are undefined', async () => {
  for (let first = -3; first < 11; ++first) {
    const [event] = await deliver(0, {first, second: 8 - first, time: 1.25});
    assert.deepStrictEqual(event, ['stateChanged', STATES[first + 1], STATES[9 - first], 1.25]);
  }
  const [event] = await deliver(0, {first: 0x7FFFFFFF, second: -0x80000000});
  assert.deepStrictEqual(event, ['stateChanged', undefined, undefined, 0]);
});

test('an updated image is a KilnImage, the number is unsigned', async () => {
  for (const [number, expected] of [[0n, 0], [7n, 7], [2n ** 32n, 2 ** 32], [2n ** 53n, 2 ** 53], [2n ** 63n, 2 ** 63],
    [2n ** 64n - 1n, 2 ** 64], [2n ** 63n + 2048n, 2 ** 63 + 2048], [0xFFFFFFFFn, 0xFFFFFFFF]]) {
    const [event] = await deliver(1, {image: IMAGE, number, extra: -4, first: 90, second: 91, time: 2});
    const [name, image, ...rest] = event;
    assert.deepStrictEqual([name, ...rest], ['progressiveImageUpdated', expected, -4, 2]);
    assert.ok(image instanceof kiln.KilnImage);
    assert.deepStrictEqual([image.width, image.height, image.x, image.host], [3, 2, undefined, undefined]);
    image.close();
  }
  const [event] = await deliver(1, {number: 5n, extra: 6, time: 3});
  assert.deepStrictEqual(event, ['progressiveImageUpdated', null, 5, 6, 3]);
});

test('bucket init and bucket failed carry a region, its keys in order', async () => {
  for (const [kind, name] of [[2, 'bucketInit'], [6, 'bucketFailed']]) {
    const [event] = await deliver(kind, {x: 1, y: -2, width: 30, height: 40, host: 'größe', extra: 7, time: 0.5});
    assert.deepStrictEqual(event, [name, {width: 30, height: 40, x: 1, y: -2, host: 'größe'}, 7, 0.5]);
    assert.deepStrictEqual(Object.keys(event[1]), ['width', 'height', 'x', 'y', 'host']);
    const [bare] = await deliver(kind, {x: 0x7FFFFFFF, host: null});
    assert.deepStrictEqual(bare, [name, {width: 0, height: 0, x: 0x7FFFFFFF, y: 0, host: ''}, 0, 0]);
  }
});

test('a ready bucket is a KilnImage with its place, or a region', async () => {
  const place = {x: 16, y: 32, width: 3, height: 2, extra: 9, time: 4};
  const [[name, image, ...rest]] = await deliver(3, {...place, host: 'node7', image: IMAGE});
  assert.deepStrictEqual([name, ...rest], ['bucketReady', 9, 4]);
  assert.deepStrictEqual([image.width, image.height, image.x, image.y, image.host], [3, 2, 16, 32, 'node7']);
  image.close();
  const [[, local]] = await deliver(3, {...place, image: IMAGE, host: null});
  assert.deepStrictEqual([local.x, local.y, local.host], [16, 32, '']);
  local.close();
  const [bare] = await deliver(3, {...place, host: 'node7'});
  assert.deepStrictEqual(bare, ['bucketReady', {width: 3, height: 2, x: 16, y: 32, host: 'node7'}, 9, 4]);
});

test('messages, progress, texts, flags and plain events', async () => {
  const cases = [
    [4, {message: 'größe\n', level: 3}, ['logMessage', 'größe\n', 3]],
    [4, {message: '', level: -1}, ['logMessage', '', -1]],
    [4, {message: 'x'.repeat(200000), level: 0}, ['logMessage', 'x'.repeat(200000), 0]],
    [7, {message: 'Rendering', first: 5, second: -10}, ['progress', 'Rendering', 5, -10]],
    [8, {text: 'Camera01'}, ['renderViewChanged', 'Camera01']],
    [14, {text: 'host:1'}, ['hostConnected', 'host:1']],
    [15, {text: 'host:2'}, ['hostDisconnected', 'host:2']],
    [9, {flags: 1}, ['kvwRenderLast', true]],
    [9, {flags: 2}, ['kvwRenderLast', false]],
    [10, {flags: 3}, ['kvwRenderInteractive', true]],
    [10, {flags: -2}, ['kvwRenderInteractive', false]],
    [11, {}, ['kvwClosed']],
    [12, {}, ['postEffectsUpdated']],
    [13, {}, ['kvwShowMessagesWindow']],
  ];
  for (const [kind, fields, expected] of cases) {
    for (const time of [0, 1.5, 1e300]) {
      assert.deepStrictEqual(await deliver(kind, {...fields, time}), [[...expected, time]]);
    }
  }
  assert.deepStrictEqual(await deliver(12, {time: Infinity}), [['postEffectsUpdated', Infinity]]);
});

test('a null text is an empty one', async () => {
  for (const [kind, fields] of [[4, {message: null}], [7, {message: null}], [8, {text: null}], [14, {text: null}]]) {
    assert.strictEqual((await deliver(kind, fields))[0][1], '');
  }
});

test('a null record is no event', async () => {
  for (const {kind} of KINDS) assert.deepStrictEqual(await deliver(kind, null), []);
});

test('emit is looked up on the renderer, called with it, and its events come one at a time', async () => {
  await withRenderer(async (renderer) => {
    turn(renderer, 7, true);
    let inside = 0;
    const seen = [];
    renderer.emit = function (name, ...args) {
      assert.strictEqual(this, renderer);
      assert.strictEqual(inside++, 0);
      seen.push([name, ...args]);
      forceGc();
      inside--;
    };
    const raised = await recorder.raiseMany(setterOf[7], {message: 'm', first: 1, second: 2}, 20, {threads: 3});
    assert.strictEqual(raised.delivered, 20);
    assert.strictEqual(seen.length, 20);
    assert.ok(seen.every((one) => one.length === 5));
  });
});

test('without an emit, or with one that is no function, the event is dropped and the thread goes on', async () => {
  await withRenderer(async (renderer) => {
    turn(renderer, 0, true);
    turn(renderer, 3, true);
    for (const emit of [undefined, 5, {}]) {
      Object.defineProperty(renderer, 'emit', {value: emit, configurable: true});
      assert.strictEqual((await recorder.raise(setterOf[0], {first: 1})).delivered, 1);
      assert.strictEqual((await recorder.raise(setterOf[3], {image: IMAGE})).delivered, 1);
    }
    assert.deepStrictEqual(renderer.events, []);
  });
  await collected();
});

test('the listeners run on this thread while the SDK\'s stands still', async () => {
  await withRenderer(async (renderer) => {
    turn(renderer, 0, true);
    const before = Date.now();
    renderer.on('stateChanged', () => { while (Date.now() < before + 60) { /* the thread waits */ } });
    assert.ok((await recorder.raise(setterOf[0])).ms >= 40);
  });
});

test('an image that the listeners dropped is given back once', async () => {
  await withRenderer(async (renderer) => {
    renderer.removeAllListeners();
    for (const kind of [1, 3]) {
      turn(renderer, kind, true);
      await recorder.raiseMany(setterOf[kind], {image: IMAGE}, 50);
    }
  });
  await collected();
});

test('promises of a listener settle before the thread goes on', async () => {
  await withRenderer(async (renderer) => {
    turn(renderer, 0, true);
    const order = [];
    renderer.on('stateChanged', () => void Promise.resolve().then(() => order.push('settled')));
    await recorder.raise(setterOf[0]).then(() => order.push('raised'));
    assert.deepStrictEqual(order, ['settled', 'raised']);
  });
});

test('the button of the window renders when nobody listens', async () => {
  await withRenderer(async (renderer) => {
    renderer.removeAllListeners('kvwRenderLast');
    turn(renderer, 9, true);
    const {handle} = recorder.live().handles[0];
    const press = async (flags) => {
      recorder.clear();
      await recorder.raise(setterOf[9], {flags});
      return recorder.count(entry('render'));
    };
    assert.strictEqual(await press(0), 1);
    const call = recorder.last(entry('render'));
    assert.deepStrictEqual([call.args[0], call.onJsThread], [handle, true]);
    assert.strictEqual(await press(1), 0);
    assert.strictEqual(await press(2), 1);
    renderer.on('kvwRenderLast', () => renderer.events.push('called'));
    assert.deepStrictEqual([await press(0), await press(1)], [0, 0]);
    assert.deepStrictEqual(renderer.events, ['called', 'called']);
  });
});

test('the count of listeners is asked for with the name, and anything but an integer of 1 or more is none', async () => {
  await withRenderer(async (renderer) => {
    turn(renderer, 9, true);
    for (const [count, renders] of [[1, 0], [7, 0], [0, 1], [-1, 1], [1.5, 1], ['1', 1], [true, 1], [undefined, 1],
      [NaN, 1]]) {
      const asked = [];
      renderer.listenerCount = function (...args) {
        asked.push([this === renderer, ...args]);
        return count;
      };
      recorder.clear();
      renderer.events.length = 0;
      await recorder.raise(setterOf[9], {flags: 0, time: 3});
      assert.deepStrictEqual(asked, [[true, 'kvwRenderLast']]);
      assert.strictEqual(recorder.count(entry('render')), renders, String(count));
      assert.deepStrictEqual(renderer.events, renders ? [] : [['kvwRenderLast', false, 3]]);
    }
    renderer.listenerCount = 5;
    recorder.clear();
    await recorder.raise(setterOf[9], {flags: 0});
    assert.strictEqual(recorder.count(entry('render')), 1);
  });
});

test('close inside a listener of each kind returns, and nothing is delivered afterwards', async () => {
  for (const {kind, event, setter: name} of KINDS) {
    const renderer = open();
    turn(renderer, kind, true);
    let calls = 0;
    renderer.on(event, () => {
      calls++;
      renderer.close();
      assert.strictEqual(recorder.last(entry('release')).done, true);
      forceGc();
    });
    const raised = await recorder.raiseMany(name, kind === 1 || kind === 3 ? {image: IMAGE} : {}, 5);
    assert.strictEqual(calls, 1, event);
    // A callback that teardown does not clear may still be called up to the release, and returns at once.
    if (CLEARED.includes(name)) assert.strictEqual(raised.delivered, 1, event);
  }
  await collected();
});

test('a callback that comes after close returns at once', async () => {
  const renderer = open();
  turn(renderer, 10, true);
  const {handle} = recorder.live().handles[0];
  renderer.close();
  // Teardown never clears this callback, so the SDK may still call it in the turn of the close.
  const late = recorder.raise(setterOf[10], {flags: 1}, {handle, stale: true});
  const end = Date.now() + 20;
  while (Date.now() < end) { /* the loop does not turn meanwhile */ }
  assert.strictEqual((await late).delivered, 1);
  assert.deepStrictEqual(renderer.events, []);
});

test('close with a callback inside a listener serves the events that follow', async () => {
  const renderer = open();
  turn(renderer, 0, true);
  const closed = new Promise((resolve) => renderer.once('stateChanged', () => renderer.close(resolve)));
  recorder.once(entry('release'), {raise: [[setterOf[0], {first: 6, second: 1}]]});
  await recorder.raise(setterOf[0], {first: 5, second: 6});
  await closed;
  assert.strictEqual(renderer.events.length, 2);
});

test('a plain close while a release on the pool is under way ends both', async () => {
  const ended = await runChild(async () => {
    const {recorder: log, open: make} = require('./test/renderer/common');
    const renderer = make();
    const gate = log.gate('release');
    log.once('Kiln_KilnRenderer_release', {gate});
    const closed = new Promise((resolve) => renderer.close(resolve));
    while (gate.waiting() === 0) { /* until the pool has begun */ }
    renderer.close();
    gate.open();
    await closed;
    log.faults();
  });
  assert.deepStrictEqual([ended.code, ended.stderr], [0, '']);
});

test('a listener that throws is an uncaught exception; the thread goes on and the image is given back once', async () => {
  const ended = await runChild(async () => {
    const {recorder: log, open: make, turn: on, setter: name, collected: done} = require('./test/renderer/common');
    const caught = [];
    process.on('uncaughtException', (error) => caught.push(error.message));
    const renderer = make();
    for (const kind of [0, 1, 3, 9]) on(renderer, kind, true);
    const fail = (message) => () => { throw new Error(message); };
    renderer.on('stateChanged', fail('state')).on('progressiveImageUpdated', fail('image'));
    renderer.on('bucketReady', fail('bucket')).on('kvwRenderLast', fail('button'));
    await log.raise(name('StateChanged'));
    await log.raise(name('ImageUpdated'), {image: {width: 2, height: 2}});
    await log.raise(name('BucketReady'), {image: {width: 2, height: 2}});
    renderer.listenerCount = fail('count');
    await log.raise(name('RenderLast'), {flags: 0});
    require('assert').strictEqual(log.count('Kiln_KilnRenderer_render'), 1);
    renderer.close();
    renderer.events.length = 0;
    await done();
    process.stdout.write(caught.join());
  });
  assert.deepStrictEqual([ended.code, ended.stderr, ended.stdout], [0, '', 'state,image,bucket,count']);
});

test('the thread goes on only after the exception has been dealt with', async () => {
  const ended = await runChild(async () => {
    const {recorder: log, open: make, turn: on, setter: name} = require('./test/renderer/common');
    const renderer = make();
    on(renderer, 0, true);
    renderer.on('stateChanged', () => { throw new Error('x'); });
    process.on('uncaughtException', () => {
      const end = Date.now() + 80;
      while (Date.now() < end) { /* the thread waits */ }
    });
    const {ms} = await log.raise(name('StateChanged'));
    renderer.close();
    process.exit(ms >= 60 ? 0 : 5);
  }, {env: ABRUPT});
  assert.deepStrictEqual([ended.code, ended.stderr], [0, '']);
});

test('fields that a kind does not write keep what an earlier event left', async () => {
  await withRenderer(async (renderer) => {
    turn(renderer, 2, true);
    turn(renderer, 12, true);
    await recorder.raise(setterOf[2], {x: 1, y: 2, width: 3, height: 4, host: 'a', extra: 5, time: 6});
    await recorder.raise(setterOf[12], {time: 7});
    assert.deepStrictEqual(renderer.events[1], ['postEffectsUpdated', 7]);
  });
});

test('two renderers over one SDK renderer close in a listener of either', async () => {
  for (let i = 0; i < 50; ++i) {
    const first = open();
    const second = open(first.getInstanceHandle());
    turn(second, 0, true);
    second.on('stateChanged', () => second.close());
    await recorder.raise(setterOf[0]);
    await sleep(0);
    first.close();
  }
  await collected();
});

test('a flood of every kind with collections between is delivered to the last', async () => {
  await withRenderer(async (renderer) => {
    let count = 0;
    for (const {kind, event} of KINDS) {
      turn(renderer, kind, true);
      renderer.on(event, () => void (++count % 50 === 0 && forceGc()));
    }
    const all = KINDS.map(({setter: name, kind}) => {
      return recorder.raiseMany(name, kind === 1 || kind === 3 ? {image: IMAGE} : {}, 40);
    });
    const sum = (await Promise.all(all)).reduce((total, one) => total + one.delivered, 0);
    assert.deepStrictEqual([sum, count], [600, 600]);
    renderer.events.length = 0;
  });
});

test('nothing is left', async () => {
  await until(() => recorder.live().threads === 0);
  await collected();
});
