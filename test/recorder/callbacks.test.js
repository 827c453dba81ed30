'use strict';

// Callbacks: registered, cleared, raised from the recorder's threads.

const test = require('node:test');
const assert = require('assert');
const {recorder, record, until} = require('../helpers');

const STATE = 'Kiln_KilnRenderer_setStateChangedCallback';
const call = (name, ...args) => recorder.call(name, args).result;

function register(setter, renderer, probe = 'callback', user = 42n, ...more) {
  const descriptor = record('CallbackDescriptor', {function: recorder.probes()[probe], user_data: user});
  call(setter, renderer, descriptor, ...more);
}

test.beforeEach(() => recorder.probeCalls());

test('a registered callback gets its record on another thread', async () => {
  const renderer = call('Kiln_KilnRenderer_create', null, null);
  register(STATE, renderer);
  assert.ok(recorder.isRegistered(STATE));
  const raised = await recorder.raise(STATE, {first: 5, second: 6, time: 1.5});
  assert.deepStrictEqual([raised.delivered, raised.result], [1, 7]);
  const [got] = recorder.probeCalls();
  assert.deepStrictEqual([got.user, got.time], ['2a', 1.5]);
  assert.notStrictEqual(got.thread, recorder.threadId);
  assert.strictEqual(raised.after.readInt32LE(40), 5);
  call('Kiln_KilnRenderer_release', renderer);
  assert.ok(!recorder.isRegistered(STATE));
});

test('a cleared callback is called only as a stale one', async () => {
  const renderer = call('Kiln_KilnRenderer_create', null, null);
  assert.strictEqual((await recorder.raise(STATE, {}, {handle: renderer, stale: true})).delivered, 0);
  register(STATE, renderer);
  call(STATE, renderer, null);
  assert.strictEqual((await recorder.raise(STATE, {}, {handle: renderer})).delivered, 0);
  assert.strictEqual((await recorder.raise(STATE, {}, {handle: renderer, stale: true})).delivered, 1);
  call('Kiln_KilnRenderer_release', renderer);
});

test('texts, images and items are made for an event', async () => {
  const renderer = call('Kiln_KilnRenderer_create', null, null);
  const BUCKET = 'Kiln_KilnRenderer_setBucketReadyCallback';
  register(BUCKET, renderer);
  const bucket = await recorder.raise(BUCKET, {x: 1, image: {width: 2, height: 2}, host: 'node7'});
  const image = bucket.after.readBigUInt64LE(56);
  assert.strictEqual(call('KilnImage_getMemorySize', image), 64n + 64n);
  call('C_memory_free', image);
  assert.ok(bucket.after.includes('node7\0'));

  const MIX = 'Kiln_KilnRenderer_setLightMixTransferToSceneCallback';
  register(MIX, renderer);
  const mix = await recorder.raise(MIX, {items: [{plugin: 1n}, {plugin: 2n, color_mult: [1, 2, 3], enabled: 1}]});
  assert.deepStrictEqual(mix.items[1].color_mult, [1, 2, 3]);
  assert.strictEqual(mix.after.readInt32LE(48), 2);

  const UPLOAD = 'Kiln_KilnRenderer_setUploadToCollaborationCallback';
  register(UPLOAD, renderer);
  const upload = await recorder.raise(UPLOAD, {strings: ['one', '', 'three']});
  assert.ok(upload.after.includes('one\0\0three\0'));
  assert.strictEqual(upload.after.readInt32LE(48), 3);
  assert.strictEqual((await recorder.raise(UPLOAD, null)).result, -1);
  call('Kiln_KilnRenderer_release', renderer);
});

test('a flood from many threads is delivered to the last', async () => {
  const renderer = call('Kiln_KilnRenderer_create', null, null);
  register(STATE, renderer);
  const raised = await recorder.raiseMany(STATE, {first: 1}, 1000, {threads: 8});
  assert.deepStrictEqual([raised.delivered, raised.sum], [1000, 7000]);
  assert.strictEqual(recorder.probeCalls().length, 1000);
  call('Kiln_KilnRenderer_release', renderer);
});

test('callbacks of one renderer come one by one, unless asked otherwise', async () => {
  const renderer = call('Kiln_KilnRenderer_create', null, null);
  register(STATE, renderer, 'blocking_callback');
  const gate = recorder.gate('probe');
  const first = recorder.raise(STATE);
  await until(() => gate.waiting() === 1);
  const second = recorder.raise(STATE);
  const third = recorder.raise(STATE, {}, {serial: false});
  await until(() => gate.waiting() === 2);
  gate.open();
  const delivered = (await Promise.all([first, second, third])).map((one) => one.delivered);
  assert.deepStrictEqual(delivered, [1, 1, 1]);
  gate.close();
  call('Kiln_KilnRenderer_release', renderer);
});

test('the release of a renderer waits for its running callback', async () => {
  const renderer = call('Kiln_KilnRenderer_create', null, null);
  register(STATE, renderer, 'blocking_callback');
  const gate = recorder.gate('probe');
  const raised = recorder.raise(STATE);
  await until(() => gate.waiting() === 1);
  recorder.clear();
  const released = recorder.call('Kiln_KilnRenderer_release', [renderer], {async: true});
  await until(() => recorder.count('Kiln_KilnRenderer_release') === 1);
  assert.strictEqual(recorder.last('Kiln_KilnRenderer_release').done, false);
  gate.open();
  await Promise.all([raised, released]);
  gate.close();
  recorder.check();
});

test('an answer raises callbacks while its call runs', async () => {
  const renderer = call('Kiln_KilnRenderer_create', null, null);
  register(STATE, renderer);
  recorder.once('Kiln_KilnRenderer_startSync', {result: 0, raise: [[STATE, {first: 1}], [STATE, {first: 2}]]});
  call('Kiln_KilnRenderer_startSync', renderer);
  assert.strictEqual(recorder.probeCalls().length, 2);
  recorder.once('Kiln_KilnRenderer_startSync', {result: 0, raise: [[STATE, {}]], wait: false});
  call('Kiln_KilnRenderer_startSync', renderer);
  await until(() => recorder.probeCalls().length === 1);
  call('Kiln_KilnRenderer_release', renderer);
});

test('the level of the messages is recorded beside the descriptor', () => {
  const renderer = call('Kiln_KilnRenderer_create', null, null);
  register('Kiln_KilnRenderer_setDumpMessageCallback', renderer, 'callback', 1n, 3);
  const {arg} = recorder.last('Kiln_KilnRenderer_setDumpMessageCallback');
  assert.strictEqual(arg.min_level, 3);
  assert.strictEqual(arg.callback.user_data, 1n);
  assert.deepStrictEqual(arg.callback.reserved, [0n, 0n]);
  call('Kiln_KilnRenderer_release', renderer);
});
