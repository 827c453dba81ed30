'use strict';

// The switch of the callbacks, and minLogLevel, which turns one of them on.

const test = require('node:test');
const assert = require('assert');
const {kiln, recorder, KINDS, setter, open, turn, SWITCH, collected} = require('./common');

const renderer = open();
const {handle} = recorder.live().handles[0];
const LOG = setter('DumpMessage');
const HOSTS = [setter('DRHostConnected'), setter('DRHostDisconnected')];

// The one call that the switch made; undefined for none.
function turned(...args) {
  recorder.clear();
  assert.strictEqual(turn(renderer, ...args), undefined);
  const calls = recorder.calls();
  assert.ok(calls.length <= 1);
  return calls[0];
}

test('the method hides under its symbol', () => {
  assert.strictEqual(typeof kiln.KilnRenderer.prototype[SWITCH], 'function');
  assert.ok(!Object.keys(kiln.KilnRenderer.prototype).includes(SWITCH));
});

for (const {kind, event, setter: name} of KINDS) {
  test(`kind ${kind}, ${event}`, () => {
    const on = turned(kind, true);
    assert.deepStrictEqual([on.name, on.arg.renderer, on.onJsThread], [name, handle, true]);
    assert.notStrictEqual(on.arg.callback.function, 0n);
    assert.deepStrictEqual(on.arg.callback.reserved, [0n, 0n]);
    assert.strictEqual(recorder.isRegistered(name), true);
    const off = turned(kind, false);
    assert.strictEqual(off.name, kind === 15 ? HOSTS[0] : name);
    assert.strictEqual(off.arg.renderer, handle);
    assert.strictEqual(off.arg.callback, null);
  });
}

test('each kind has a function of its own, and all share a port', () => {
  const all = KINDS.map(({kind}) => turned(kind, true).arg.callback);
  assert.strictEqual(new Set(all.map((one) => one.function)).size, KINDS.length);
  assert.strictEqual(new Set(all.map((one) => one.user_data)).size, 1);
  for (const {kind} of KINDS) turn(renderer, kind, false);
});

test('off for the last kind clears its neighbour and leaves it on', () => {
  turn(renderer, 14, true);
  turn(renderer, 15, true);
  assert.strictEqual(turned(15, false).name, HOSTS[0]);
  assert.deepStrictEqual(HOSTS.map(recorder.isRegistered), [false, true]);
  turn(renderer, 14, true);
  assert.strictEqual(turned(14, false).name, HOSTS[0]);
  assert.deepStrictEqual(HOSTS.map(recorder.isRegistered), [false, true]);
});

test('kind 5 and numbers that are none make no call', () => {
  for (const kind of [5, 16, 17, 255, -1, -5, 2 ** 31, 2 ** 32 - 1, 2 ** 32 + 5, '5', 5.9]) {
    for (const enable of [true, false]) assert.strictEqual(turned(kind, enable), undefined);
  }
});

test('the kind is converted as a 32-bit integer', () => {
  for (const [kind, name] of [['3', 'BucketReady'], [3.9, 'BucketReady'], [2 ** 32 + 3, 'BucketReady'],
    [{valueOf: () => 7}, 'Progress'], [undefined, 'StateChanged'], [null, 'StateChanged'], ['x', 'StateChanged'],
    [NaN, 'StateChanged'], [true, 'ImageUpdated'], [-0.5, 'StateChanged']]) {
    assert.strictEqual(turned(kind, true).name, setter(name));
    turn(renderer, kind, false);
  }
  assert.strictEqual(turned().name, setter('StateChanged'));
});

test('a kind that can\'t be converted counts as 0, without an exception', () => {
  for (const kind of [Symbol('x'), 3n, {valueOf() { throw new Error('no'); }}]) {
    const call = turned(kind, true);
    assert.strictEqual(call.name, setter('StateChanged'));
    assert.notStrictEqual(call.arg.callback, null);
  }
});

test('only true turns on', () => {
  for (const enable of [1, 'true', {}, [], new Boolean(true), undefined, null, 0, false, '']) {
    turn(renderer, 3, true);
    const call = turned(3, enable);
    assert.strictEqual(call.name, setter('BucketReady'));
    assert.strictEqual(call.arg.callback, null);
    assert.strictEqual(recorder.isRegistered(setter('BucketReady')), false);
  }
  turn(renderer, 3, true);
  assert.strictEqual(turned(3).arg.callback, null);
});

test('the log callback carries the level both ways', () => {
  assert.strictEqual(renderer.minLogLevel, 2);
  assert.strictEqual(turned(4, true).arg.min_level, 2);
  assert.strictEqual(turned(4, false).arg.min_level, 2);
  renderer.minLogLevel = 0;
  assert.strictEqual(turned(4, true).arg.min_level, 0);
  assert.strictEqual(turned(4, false).arg.min_level, 0);
});

test('a write of the level turns the log callback on', () => {
  turn(renderer, 4, false);
  for (const [value, level] of [[3, 3], ['1', 1], [2.9, 2], [-1, -1], [2 ** 32 + 1, 1], ['x', 0], [null, 0]]) {
    recorder.clear();
    renderer.minLogLevel = value;
    assert.deepStrictEqual(recorder.names(), [LOG]);
    const {arg} = recorder.last(LOG);
    assert.deepStrictEqual([arg.renderer, arg.min_level], [handle, level]);
    assert.notStrictEqual(arg.callback.function, 0n);
    assert.strictEqual(renderer.minLogLevel, level);
    turn(renderer, 4, false);
  }
});

test('a level that can\'t be converted changes nothing', () => {
  renderer.minLogLevel = 1;
  recorder.clear();
  for (const value of [Symbol('x'), 3n]) {
    assert.throws(() => { renderer.minLogLevel = value; }, TypeError);
  }
  assert.throws(() => { renderer.minLogLevel = {valueOf() { throw new RangeError('no'); }}; }, RangeError);
  assert.strictEqual(renderer.minLogLevel, 1);
  assert.deepStrictEqual(recorder.names(), []);
});

test('log events come after a write of the level, whatever the switch said', async () => {
  turn(renderer, 4, false);
  assert.strictEqual((await recorder.raise(LOG, {message: 'a', level: 1})).delivered, 0);
  renderer.minLogLevel = 3;
  assert.strictEqual((await recorder.raise(LOG, {message: 'b', level: 3, time: 2})).delivered, 1);
  assert.deepStrictEqual(renderer.events, [['logMessage', 'b', 3, 2]]);
});

test('nothing is left', async () => {
  renderer.close();
  await collected();
});
