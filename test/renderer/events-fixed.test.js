'use strict';

// The callbacks that are always on: the context menu and the upload.

const test = require('node:test');
const assert = require('assert');
const {forceGc} = require('../helpers');
const {recorder, setter, open, withRenderer, collected} = require('./common');

const MENU = setter('KvwContextMenuSelected');
const UPLOAD = setter('UploadToCollaboration');

test('the context menu\'s three numbers come in the order of the record, without a time', async () => {
  await withRenderer(async (renderer) => {
    for (const [first, second, third] of [[1, 2, 3], [-1, 0x7FFFFFFF, -0x80000000], [0, 0, 0]]) {
      renderer.events.length = 0;
      assert.strictEqual((await recorder.raise(MENU, {first, second, third, time: 9})).delivered, 1);
      assert.deepStrictEqual(renderer.events, [['kvwContextMenuSelected', first, second, third]]);
    }
  });
});

test('the upload\'s texts come as an array with the time', async () => {
  await withRenderer(async (renderer) => {
    for (const strings of [[], ['a'], ['one', '', 'größe', 'x'.repeat(5000)], Array(300).fill('t')]) {
      renderer.events.length = 0;
      await recorder.raise(UPLOAD, {strings, time: 2.5});
      assert.deepStrictEqual(renderer.events, [['uploadToCollaboration', strings, 2.5]]);
      assert.ok(Array.isArray(renderer.events[0][1]));
    }
  });
});

test('the upload is answered with what emit answered', async () => {
  await withRenderer(async (renderer) => {
    for (const [answer, result] of [[true, 1], [false, 0], ['x', 1], [0, 0], [{}, 1], [undefined, 0], [7, 1], [null, 0]]) {
      renderer.emit = () => answer;
      assert.strictEqual((await recorder.raise(UPLOAD, {strings: ['a']})).result, result, String(answer));
    }
  });
});

test('an upload without listeners is answered 0, with one 1', async () => {
  await withRenderer(async (renderer) => {
    renderer.removeAllListeners('uploadToCollaboration');
    assert.strictEqual((await recorder.raise(UPLOAD, {strings: ['a']})).result, 0);
    renderer.on('uploadToCollaboration', () => {});
    assert.strictEqual((await recorder.raise(UPLOAD, {strings: ['a']})).result, 1);
  });
});

test('an upload whose emit fails keeps the answer of the one before', async () => {
  await withRenderer(async (renderer) => {
    const caught = [];
    const onError = (error) => caught.push(error.message);
    // The test runner watches uncaught exceptions itself.
    const others = process.listeners('uncaughtException');
    process.removeAllListeners('uncaughtException');
    process.on('uncaughtException', onError);
    for (const answer of [true, false]) {
      renderer.emit = () => answer;
      await recorder.raise(UPLOAD, {strings: []});
      renderer.emit = () => { throw new Error('no'); };
      assert.strictEqual((await recorder.raise(UPLOAD, {strings: []})).result, Number(answer));
    }
    process.removeAllListeners('uncaughtException');
    for (const one of others) process.on('uncaughtException', one);
    assert.deepStrictEqual(caught, ['no', 'no']);
    renderer.emit = undefined;
    assert.strictEqual((await recorder.raise(UPLOAD, {strings: []})).result, 0);
  });
});

test('a null record is answered 0', async () => {
  await withRenderer(async (renderer) => {
    renderer.emit = () => true;
    await recorder.raise(UPLOAD, {strings: []});
    assert.strictEqual((await recorder.raise(UPLOAD, null)).result, 0);
    assert.strictEqual((await recorder.raise(MENU, null)).result, 0);
  });
});

test('a record whose texts are missing has none, whatever its count', async () => {
  await withRenderer(async (renderer) => {
    await recorder.raise(UPLOAD, {strings: null, count: 3, time: 2});
    assert.deepStrictEqual(renderer.events, [['uploadToCollaboration', [], 2]]);
  });
});

test('the ports are independent: each delivers while another\'s listener runs', async () => {
  await withRenderer(async (renderer) => {
    const menu = recorder.raiseMany(MENU, {first: 1}, 100, {serial: false});
    const upload = recorder.raiseMany(UPLOAD, {strings: ['a']}, 100, {serial: false});
    renderer.on('kvwContextMenuSelected', forceGc);
    assert.deepStrictEqual((await Promise.all([menu, upload])).map((one) => one.delivered), [100, 100]);
    assert.strictEqual(renderer.events.length, 200);
  });
});

test('close inside a listener of either port', async () => {
  for (const [name, event, fields] of [[MENU, 'kvwContextMenuSelected', {}],
    [UPLOAD, 'uploadToCollaboration', {strings: ['a']}]]) {
    const renderer = open();
    renderer.on(event, () => {
      renderer.close();
      forceGc();
    });
    const raised = await recorder.raiseMany(name, fields, 3);
    assert.strictEqual(raised.delivered, 1);
    assert.strictEqual(renderer.events.length, 1);
  }
});

test('a closing port answers 0', async () => {
  const renderer = open();
  renderer.emit = () => true;
  await recorder.raise(UPLOAD, {strings: []});
  const {handle} = recorder.live().handles[0];
  renderer.close();
  const late = recorder.raise(UPLOAD, {strings: ['a']}, {handle, stale: true});
  const end = Date.now() + 20;
  while (Date.now() < end) { /* the loop does not turn meanwhile */ }
  assert.strictEqual((await late).result, 0);
});

test('nothing is left', collected);
