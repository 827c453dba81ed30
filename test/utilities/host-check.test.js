'use strict';

const test = require('node:test');
const assert = require('assert');
const {loadNative, recorder, mustCall, collect, runChild} = require('../helpers');

const {checkDRHost, checkDRHostSync} = loadNative();
const ENTRY = 'Kiln_checkDRHost';
const blocks = () => recorder.live().blocks.length;

const STATUSES = [[-3, 'Error Resolve'], [-2, 'Error Connect'], [-1, 'Error Timeout'], [0, 'Server Ready'],
  [1, 'Server Unknown'], [2, 'Server Error'], [3, 'Server Busy']];

test('each status has its text, and only 0 is ready', () => {
  for (const [status, text] of STATUSES) {
    recorder.once(ENTRY, {result: {status}});
    assert.deepStrictEqual(checkDRHostSync('host'), {ready: status === 0, status: text});
  }
  assert.strictEqual(blocks(), 0);
});

test('the fields that are known, in their order', () => {
  recorder.once(ENTRY, {result: {
    status: 0, cpu_count: 0xFFFFFFFF, version: 6 << 16 | 2 << 8 | 16, host_resolved: '10.0.0.1', host_connected_to: 'größe',
    revision_time: 'today',
  }});
  const result = checkDRHostSync('name:20204');
  assert.strictEqual(recorder.last(ENTRY).args[0], 'name:20204');
  assert.deepStrictEqual(Object.entries(result), [['ready', true], ['status', 'Server Ready'], ['cpuCount', 0xFFFFFFFF],
    ['kilnVersion', '6.02.16'], ['hostResolved', '10.0.0.1'], ['hostConnectedTo', 'größe'], ['revisionTime', 'today']]);
});

test('a status outside the table leaves its text out; a version is cut at 15 characters', () => {
  recorder.once(ENTRY, {result: {status: 9, cpu_count: 4}});
  assert.deepStrictEqual(checkDRHostSync('h'), {ready: false, cpuCount: 4});
  recorder.once(ENTRY, {result: {status: 9, version: 0xFFFFFFFF}});
  assert.strictEqual(checkDRHostSync('h').kilnVersion, '65535.255.255');
});

test('null gives undefined here and an error there', async () => {
  recorder.once(ENTRY, {result: null}, 2);
  assert.strictEqual(checkDRHostSync('h'), undefined);
  await new Promise((resolve) => checkDRHost('h', mustCall((...args) => {
    assert.strictEqual(args.length, 2);
    assert.strictEqual(args[0].message, 'Memory error');
    assert.strictEqual(args[1], undefined);
    resolve();
  })));
});

test('the callback gets null and the result, with the receiver of the call', async () => {
  recorder.once(ENTRY, {result: {status: 3}});
  const receiver = {};
  await new Promise((resolve) => checkDRHost.call(receiver, 'a.b', mustCall(function (...args) {
    assert.strictEqual(this, receiver);
    assert.deepStrictEqual(args, [null, {ready: false, status: 'Server Busy'}]);
    resolve();
  })));
  const call = recorder.last(ENTRY);
  assert.strictEqual(call.args[0], 'a.b');
  assert.strictEqual(call.onJsThread, false);
  await collect(() => blocks() === 0);
});

test('arguments', () => {
  const message = 'Missing argument 0 (host: string) or argument 1 (callback function)';
  for (const args of [[], ['h'], ['h', 5], [() => {}]]) {
    assert.throws(() => checkDRHost(...args), {name: 'Error', message});
  }
  assert.throws(() => checkDRHostSync(), {name: 'Error', message: 'Missing \'hostName\' or \'host:port\' argument'});
  assert.throws(() => checkDRHostSync(Symbol('x')), TypeError);
  assert.throws(() => checkDRHost(Symbol('x'), () => {}), TypeError);
  recorder.once(ENTRY, {result: null});
  checkDRHostSync(undefined);
  assert.strictEqual(recorder.last(ENTRY).args[0], 'undefined');
});

test('without the library both throw its error', async () => {
  const {stdout} = await runChild(() => {
    const {loadNative: load} = require('./test/helpers');
    const native = load({library: null});
    for (const call of [() => native.checkDRHostSync('h'), () => native.checkDRHost('h', () => {})]) {
      try {
        call();
      } catch (error) {
        console.log(error.message === native.getSDKLibraryErrorString());
      }
    }
  });
  assert.deepStrictEqual(stdout.trim().split('\n'), ['true', 'true']);
});

test('nobody is told when nobody listens any more, and the record is given back', async () => {
  const {code} = await runChild(() => {
    const {Worker} = require('worker_threads');
    const {recorder: log, loadNative: load, paths} = require('./test/helpers');
    load();
    log.answer('Kiln_checkDRHost', {result: {status: 0}, delay: 50});
    const worker = new Worker(`require(${JSON.stringify(paths.native)}).checkDRHost('h', () => process.abort());
      require('worker_threads').parentPort.postMessage(1);`, {eval: true});
    worker.once('message', () => worker.terminate().then(() => {
      if (log.live().blocks.length > 0) process.exitCode = 5;
    }));
  });
  assert.strictEqual(code, 0);
});
