// The switch follows the listeners: on with the first of an event, off with the last, whatever way they come and go.
'use strict';

const assert = require('assert');
const events = require('events');
const { test } = require('node:test');
const { EVENT_KINDS, SWITCH, makeEmitter, makeSwitchedEmitter } = require('../../lib/events.js');

/** A class as the add-on makes it: no constructor of the emitter's ever runs; the switch writes down its calls. */
function makeRenderer() {
  class Renderer {
    constructor() {
      Object.defineProperty(this, 'calls', { value: [] });
    }
    [SWITCH](kind, on) {
      this.calls.push([kind, on]);
    }
  }
  makeSwitchedEmitter(Renderer);
  return new Renderer();
}

const ignore = () => {};

test('each event turns its own kind on and off', () => {
  assert.strictEqual(Object.keys(EVENT_KINDS).length, 15);
  for (const [event, kind] of Object.entries(EVENT_KINDS)) {
    const renderer = makeRenderer();
    renderer.on(event, ignore);
    renderer.off(event, ignore);
    assert.deepStrictEqual(renderer.calls, [[kind, true], [kind, false]], event);
  }
});

test('only the first listener turns on and only the last turns off', () => {
  const renderer = makeRenderer();
  const other = () => {};
  renderer.on('progress', ignore).addListener('progress', other).prependListener('progress', ignore);
  assert.deepStrictEqual(renderer.calls, [[7, true]]);
  renderer.removeListener('progress', ignore).off('progress', ignore);
  assert.deepStrictEqual(renderer.calls, [[7, true]]);
  renderer.off('progress', other);
  assert.deepStrictEqual(renderer.calls, [[7, true], [7, false]]);
});

test('once and prependOnceListener turn off after their event', () => {
  for (const method of ['once', 'prependOnceListener']) {
    const renderer = makeRenderer();
    let heard = 0;
    renderer[method]('bucketReady', () => heard++);
    assert.deepStrictEqual(renderer.calls, [[3, true]], method);
    renderer.emit('bucketReady');
    renderer.emit('bucketReady');
    assert.strictEqual(heard, 1, method);
    assert.deepStrictEqual(renderer.calls, [[3, true], [3, false]], method);
  }
});

test('a once listener that is taken away before its event turns off', () => {
  const renderer = makeRenderer();
  renderer.once('stateChanged', ignore);
  renderer.off('stateChanged', ignore);
  assert.deepStrictEqual(renderer.calls, [[0, true], [0, false]]);
});

test('removeAllListeners turns off one event or all', () => {
  const renderer = makeRenderer();
  renderer.on('bucketInit', ignore).on('bucketFailed', ignore).on('logMessage', ignore);
  renderer.removeAllListeners('bucketInit');
  assert.deepStrictEqual(renderer.calls.slice(3), [[2, false]]);
  renderer.removeAllListeners();
  assert.deepStrictEqual(renderer.calls.slice(4).sort(), [[4, false], [6, false]]);
  assert.deepStrictEqual(renderer.eventNames(), []);
});

test('removeAllListeners tells each listener that somebody waits for, and turns off once', () => {
  const renderer = makeRenderer();
  const removed = [];
  renderer.on('removeListener', (event) => removed.push(event));
  renderer.on('progress', ignore).on('progress', () => {});
  renderer.removeAllListeners();
  assert.deepStrictEqual(removed, ['progress', 'progress']);
  assert.deepStrictEqual(renderer.calls, [[7, true], [7, false]]);
});

test('turning hostDisconnected off keeps hostConnected on while it has listeners', () => {
  const renderer = makeRenderer();
  renderer.on('hostConnected', ignore).on('hostDisconnected', ignore);
  renderer.off('hostDisconnected', ignore);
  assert.deepStrictEqual(renderer.calls, [[14, true], [15, true], [15, false], [14, true]]);
  renderer.off('hostConnected', ignore);
  assert.deepStrictEqual(renderer.calls.slice(4), [[14, false]]);
});

test('turning hostDisconnected off leaves hostConnected off when nobody listens', () => {
  const renderer = makeRenderer();
  renderer.on('hostDisconnected', ignore).off('hostDisconnected', ignore);
  assert.deepStrictEqual(renderer.calls, [[15, true], [15, false]]);
});

test('symbols, unknown names and names of Object touch no switch', () => {
  const renderer = makeRenderer();
  for (const event of [Symbol('progress'), 'kvwContextMenuSelected', 'toString', '__proto__', '7']) {
    renderer.on(event, ignore);
    assert.strictEqual(renderer.listenerCount(event), 1);
    renderer.off(event, ignore);
  }
  renderer.removeAllListeners(Symbol('none'));
  assert.deepStrictEqual(renderer.calls, []);
});

test('a listener that is no function is refused and turns nothing on', () => {
  const renderer = makeRenderer();
  assert.throws(() => renderer.on('progress', 5), TypeError);
  assert.deepStrictEqual(renderer.calls, []);
});

test('the switch holds even when a newListener listener throws', () => {
  const renderer = makeRenderer();
  renderer.on('newListener', () => {
    throw new Error('not now');
  });
  assert.throws(() => renderer.on('progress', ignore), /not now/);
  assert.strictEqual(renderer.listenerCount('progress'), 0);
  assert.deepStrictEqual(renderer.calls, []);
});

test('two renderers keep two books', () => {
  const first = makeRenderer();
  const second = makeRenderer();
  first.on('progress', ignore);
  second.on('logMessage', ignore);
  assert.deepStrictEqual([first.calls, second.calls], [[[7, true]], [[4, true]]]);
});

test('events.once works, and an abort turns off', async () => {
  const renderer = makeRenderer();
  const waiting = events.once(renderer, 'stateChanged');
  renderer.emit('stateChanged', 'preparing', 'rendering', 1);
  assert.deepStrictEqual(await waiting, ['preparing', 'rendering', 1]);
  const abort = new AbortController();
  const aborted = events.once(renderer, 'progress', { signal: abort.signal });
  abort.abort();
  await assert.rejects(aborted);
  assert.deepStrictEqual(renderer.calls, [[0, true], [0, false], [7, true], [7, false]]);
});

test('the classes are emitters by inheritance', () => {
  class Server {}
  makeEmitter(Server);
  const server = new Server();
  assert.ok(server instanceof events.EventEmitter);
  let heard = null;
  server.on('start', (time) => (heard = time));
  assert.strictEqual(server.emit('start', 3), true);
  assert.strictEqual(heard, 3);
});
