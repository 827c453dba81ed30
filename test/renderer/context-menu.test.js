'use strict';

// The items that a script adds to the window's context menu.

const test = require('node:test');
const assert = require('assert');
const {recorder, entry, open, collected} = require('./common');

const renderer = open();
const {handle} = recorder.live().handles[0];
const ITEMS = entry('setKvwContextMenuItems');
const SET = entry('setKvwContextMenuItemValue');
const GET = entry('getKvwContextMenuItemValue');

test.beforeEach(() => recorder.clear());

// [id, type, defaultValue, enabled, text] of each item that was passed; null for no array.
function passed(items) {
  recorder.clear();
  assert.strictEqual(renderer.setKVWContextMenuItems(items, 'ignored'), undefined);
  const call = recorder.last(ITEMS);
  assert.deepStrictEqual([call.args[0], call.onJsThread], [handle, true]);
  if (call.arg.items === null) return [call.arg.count, null];
  assert.strictEqual(call.bytes('items').length, 24 * call.arg.count);
  return [call.arg.count, ...call.arg.items.map(Object.values)];
}

const ITEM = {id: 1, type: 'CheckBox', text: 'a'};

test('items are passed as records', () => {
  for (const [item, ...fields] of [[ITEM, 1, 1, 0, 1, 'a'], [{id: -7, type: 'item', text: 'größe'}, -7, 0, 0, 1, 'größe'],
    [{...ITEM, enabled: false, defaultValue: 5}, 1, 1, 5, 0, 'a'], [{...ITEM, enabled: 'x', defaultValue: '6'}, 1, 1, 6, 1, 'a'],
    [{...ITEM, enabled: undefined, defaultValue: undefined}, 1, 1, 0, 0, 'a'], [{...ITEM, enabled: null}, 1, 1, 0, 0, 'a'],
    [{id: '12', type: null, text: 7}, 12, 0, 0, 1, '7'], [{id: 2.9, type: 'CHECKBOX', text: ''}, 2, 1, 0, 1, ''],
    [{id: undefined, type: undefined, text: undefined}, 0, 0, 0, 1, 'undefined'], [{...ITEM, type: ['checkbox']}, 1, 1, 0, 1, 'a'],
    [Object.assign(Object.create({enabled: false, defaultValue: 3}), ITEM), 1, 1, 3, 0, 'a'],
    [Object.assign(() => {}, ITEM), 1, 1, 0, 1, 'a']]) {
    assert.deepStrictEqual(passed([item]), [1, fields]);
  }
  const long = 'text '.repeat(1000);
  assert.deepStrictEqual(passed([ITEM, {...ITEM, id: 2, text: long}, {...ITEM, id: 3}]),
    [3, [1, 1, 0, 1, 'a'], [2, 1, 0, 1, long], [3, 1, 0, 1, 'a']]);
  const many = Array.from({length: 1000}, (_, id) => ({id, type: 'x', text: `item ${id}`}));
  assert.deepStrictEqual(passed(many), [1000, ...many.map(({id, text}) => [id, 0, 0, 1, text])]);
});

test('the record byte by byte', () => {
  renderer.setKVWContextMenuItems([{id: 0x01020304, type: 'checkbox', text: 'a', enabled: true, defaultValue: -2}]);
  const bytes = recorder.last(ITEMS).bytes('items');
  assert.deepStrictEqual([...bytes.subarray(0, 16)], [4, 3, 2, 1, 1, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF, 1, 0, 0, 0]);
});

test('what is no item is left out', () => {
  assert.deepStrictEqual(passed([ITEM, 5]), [1, [1, 1, 0, 1, 'a']]);
  const throws = (key) => Object.defineProperty({...ITEM}, key, {get() { throw new Error('no'); }, enumerable: true});
  for (const item of [5, 'x', null, undefined, {}, [], {id: 1, type: 'x'}, {id: 1, text: 'x'}, {type: 'x', text: 'x'},
    Object.create(ITEM), Object.assign(Object.create({id: 1}), {type: 'x', text: 'x'}), {...ITEM, id: Symbol('x')},
    {...ITEM, id: 1n}, {...ITEM, id: {valueOf() { throw new Error('no'); }}}, throws('id'), throws('type'), throws('text'),
    {...ITEM, text: Symbol('x')}, new Proxy(ITEM, {})]) {
    assert.deepStrictEqual(passed([item]), [0, null]);
    assert.deepStrictEqual(passed([item, ITEM, item]), [1, [1, 1, 0, 1, 'a']]);
  }
  assert.deepStrictEqual(passed([]), [0, null]);
  assert.deepStrictEqual(passed(new Array(3)), [0, null]);
});

test('an optional key that can\'t be read keeps its start value', () => {
  for (const key of ['enabled', 'defaultValue']) {
    const item = Object.defineProperty({...ITEM}, key, {get() { throw new Error('no'); }});
    assert.deepStrictEqual(passed([item]), [1, [1, 1, 0, 1, 'a']]);
  }
  assert.deepStrictEqual(passed([{...ITEM, defaultValue: Symbol('x')}]), [1, [1, 1, 0, 1, 'a']]);
});

test('setKVWContextMenuItems wants an array, whose elements can be read', () => {
  for (const args of [[], [null], [{length: 0}], ['x'], [new Int32Array(1)]]) {
    assert.throws(() => renderer.setKVWContextMenuItems(...args),
      {name: 'Error', message: 'Argument 0 must be an array of menu item objects'});
  }
  const items = Object.defineProperty([ITEM], 1, {get() { throw new RangeError('no'); }});
  assert.throws(() => renderer.setKVWContextMenuItems(items), {name: 'RangeError', message: 'no'});
  assert.deepStrictEqual(recorder.names(), []);
});

test('an item that closes the renderer leaves a null handle', () => {
  const own = open();
  recorder.clear();
  own.setKVWContextMenuItems([{type: 'x', text: 'x', get id() { own.close(); return 1; }}]);
  const {args, stale} = recorder.last(ITEMS);
  assert.deepStrictEqual([args[0], stale], [0n, false]);
});

test('setKVWContextMenuItemValue', () => {
  for (const [result, expected] of [[0, false], [1, true], [-1, true]]) {
    recorder.once(SET, result);
    assert.strictEqual(renderer.setKVWContextMenuItemValue(7, -8, 'ignored'), expected);
    assert.deepStrictEqual(recorder.last(SET).args, [handle, 7, -8]);
  }
  recorder.clear();
  for (const args of [[], [1], [1, '1'], ['1', 1], [1.5, 1], [1, 2 ** 31], [null, null], [1, true], [-0, 1], [1n, 1]]) {
    assert.throws(() => renderer.setKVWContextMenuItemValue(...args),
      {name: 'Error', message: 'Argument 0 (integer) and Argument 1 (integer) should be passed'});
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('getKVWContextMenuItemValue', () => {
  for (const [result, value, expected] of [[1, 5, 5], [-1, -0x80000000, -0x80000000], [0, 5, undefined]]) {
    recorder.once(GET, {result, out: {value}});
    assert.strictEqual(renderer.getKVWContextMenuItemValue(-7, 'ignored'), expected);
    assert.deepStrictEqual(recorder.last(GET).args.slice(0, 2), [handle, -7]);
  }
  recorder.clear();
  for (const args of [[], ['1'], [1.5], [2 ** 31], [null], [{}]]) {
    assert.throws(() => renderer.getKVWContextMenuItemValue(...args),
      {name: 'Error', message: 'Argument 0 (integer)should be passed'});
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('nothing is left', async () => {
  renderer.close();
  await collected();
});
