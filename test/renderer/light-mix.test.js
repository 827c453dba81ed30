'use strict';

// lightMixTransferToScene: the one event whose listeners answer through its arguments.
const test = require('node:test');
const assert = require('assert');
const {kiln, recorder, setter, entry, open, withRenderer, collected} = require('./common');

const MIX = setter('LightMixTransferToScene');
const ID = 123456789012345n;
const ITEMS = [
  {plugin: ID, color_mult: [0.5, 1, 2], intensity_mult: 1.5, enabled: 1, is_applied: 9},
  {plugin: 0n, color_mult: [0, 0, 0], intensity_mult: 0, enabled: 0, is_applied: 9},
  {plugin: 2n ** 64n - 1n, color_mult: [1, 1, 1], intensity_mult: -1, enabled: 7, is_applied: 9},
];

test('an item has its five keys in order, all but the last read-only', () => withRenderer(async (renderer) => {
  let seen;
  renderer.on('lightMixTransferToScene', (...args) => { seen = args; });
  recorder.once(entry('getPluginID'), ID);
  const plugin = renderer.plugins.lamp;
  const {result} = await recorder.raise(MIX, {items: ITEMS, time: 2.5});
  assert.strictEqual(result, 0);
  const [items, time] = seen;
  assert.strictEqual(time, 2.5);
  assert.ok(Array.isArray(items));
  assert.strictEqual(items.length, 3);
  for (const item of items) {
    assert.deepStrictEqual(Object.keys(item), ['plugin', 'colorMult', 'intensityMult', 'enabled', 'isApplied']);
    for (const key of ['plugin', 'colorMult', 'intensityMult', 'enabled']) {
      assert.strictEqual(Object.getOwnPropertyDescriptor(item, key).writable, false);
    }
    assert.ok(Object.getOwnPropertyDescriptor(item, 'isApplied').writable);
    assert.strictEqual(item.isApplied, false);
    assert.ok(item.colorMult instanceof kiln.Color);
  }
  assert.strictEqual(items[0].plugin, plugin);
  assert.deepStrictEqual(items.slice(1).map((item) => item.plugin), [null, null]);
  assert.deepStrictEqual([items[0].colorMult.r, items[0].colorMult.g, items[0].colorMult.b], [0.5, 1, 2]);
  assert.deepStrictEqual(items.map((item) => item.intensityMult), [1.5, 0, -1]);
  assert.deepStrictEqual(items.map((item) => item.enabled), [true, false, true]);
}));

test('isApplied goes back to the SDK, as a boolean', () => withRenderer(async (renderer) => {
  renderer.on('lightMixTransferToScene', (items) => {
    items[0].isApplied = 'yes';
    items[2].isApplied = 0;
  });
  const outcome = await recorder.raise(MIX, {items: ITEMS});
  assert.deepStrictEqual(outcome.items.map((item) => item.is_applied), [1, 0, 0]);
}));

test('what a listener puts in place of an item is asked if it is an object', () => withRenderer(async (renderer) => {
  renderer.on('lightMixTransferToScene', (items) => {
    items[0] = 5;
    items[1] = {isApplied: true};
    items.length = 2;
  });
  const outcome = await recorder.raise(MIX, {items: ITEMS});
  assert.deepStrictEqual(outcome.items.map((item) => item.is_applied), [9, 1, 9]);
}));

test('no items, a null record and no listener', async () => {
  const renderer = new kiln.KilnRenderer();
  let count = 0;
  assert.strictEqual((await recorder.raise(MIX, {items: ITEMS})).items[0].is_applied, 0);
  renderer.on('lightMixTransferToScene', (items) => { count += 1 + items.length; });
  await recorder.raise(MIX, {items: []});
  assert.strictEqual(count, 1);
  await recorder.raise(MIX, null);
  assert.strictEqual(count, 1);
  renderer.close();
});

test('a record whose items are missing has none, whatever its count', () => withRenderer(async (renderer) => {
  await recorder.raise(MIX, {items: null, count: 3, time: 2});
  await recorder.raise(MIX, {items: [], count: -1, time: 3});
  assert.deepStrictEqual(renderer.events, [['lightMixTransferToScene', [], 2], ['lightMixTransferToScene', [], 3]]);
}));

test('a listener that throws leaves the items as they were, and the thread goes on', async () => {
  const renderer = open();
  renderer.removeAllListeners('lightMixTransferToScene');
  renderer.on('lightMixTransferToScene', (items) => {
    items[0].isApplied = true;
    throw new Error('mine');
  });
  const caught = [];
  process.setUncaughtExceptionCaptureCallback((error) => void caught.push(error.message));
  const outcome = await recorder.raise(MIX, {items: ITEMS});
  assert.deepStrictEqual(outcome.items.map((item) => item.is_applied), [9, 9, 9]);
  process.setUncaughtExceptionCaptureCallback(null);
  assert.deepStrictEqual(caught, ['mine']);
  renderer.close();
});

test('close inside the listener lets the thread go', async () => {
  const renderer = open();
  renderer.on('lightMixTransferToScene', () => renderer.close());
  await recorder.raise(MIX, {items: ITEMS});
  await collected();
});
