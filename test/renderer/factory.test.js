'use strict';

// createKilnRenderer: the order of its arguments, its refusals, its job.

const test = require('node:test');
const assert = require('assert');
const {sleep, until, runChild} = require('../helpers');
const {kiln, recorder, entry, setter, collected} = require('./common');

const make = (...args) => new Promise((resolve) => {
  kiln.createKilnRenderer(...args, (error, renderer) => resolve({error, renderer}));
});

test.beforeEach(() => recorder.clear());

test('the renderer comes by a callback, with the receiver of the call', async () => {
  const host = {createKilnRenderer: kiln.createKilnRenderer};
  const [self, args] = await new Promise((resolve) => {
    assert.strictEqual(host.createKilnRenderer(function (...given) { resolve([this, given]); }), undefined);
  });
  assert.strictEqual(self, host);
  assert.strictEqual(args.length, 2);
  assert.strictEqual(args[0], null);
  assert.ok(args[1] instanceof kiln.KilnRenderer);
  args[1].close();
});

test('create runs on the pool; the instance takes its own reference and gives back that of create', async () => {
  const {renderer} = await make();
  const calls = recorder.calls();
  assert.deepStrictEqual(calls.map((call) => call.name), [entry('create'), entry('incRef'),
    entry('setKeepRTframesInCallback'), entry('setKeepBucketsInCallback'), setter('KvwContextMenuSelected'),
    setter('LightMixTransferToScene'), setter('UploadToCollaboration'), entry('release')]);
  assert.deepStrictEqual(calls.map((call) => call.onJsThread), [false, true, true, true, true, true, true, true]);
  const handles = recorder.live().handles;
  assert.deepStrictEqual(handles.map((one) => one.references), [1]);
  assert.strictEqual(calls[1].args[0], handles[0].handle);
  assert.strictEqual(calls[7].args[0], handles[0].handle);
  renderer.close();
});

test('the options may stand before or behind the callback', async () => {
  const flags = async (...args) => {
    recorder.clear();
    const renderer = await new Promise((resolve) => {
      kiln.createKilnRenderer(...args.map((one) => one === 'cb' ? (_, made) => resolve(made) : one));
    });
    const {options} = recorder.last(entry('create')).arg;
    renderer.close();
    return options && options.flags;
  };
  assert.strictEqual(await flags('cb'), null);
  assert.strictEqual(await flags({previewRenderer: true}, 'cb'), 0x20B | 32);
  assert.strictEqual(await flags('cb', {previewRenderer: true}), 0x20B | 32);
  for (const nothing of [5, 'x', true, null, undefined, Symbol('x')]) {
    assert.strictEqual(await flags('cb', nothing), null);
    assert.strictEqual(await flags(nothing, 'cb'), null);
  }
});

test('of two functions the first is the options', async () => {
  const options = Object.assign(() => assert.fail('the options are not called'), {useKvwLog: false, kvwLanguage: 'de'});
  const {renderer} = await make(options);
  const {flags, kvwLanguage} = recorder.last(entry('create')).arg.options;
  assert.deepStrictEqual([flags, kvwLanguage], [0x0B, 'de']);
  renderer.close();
});

test('wrong arguments are refused at once', () => {
  const none = {name: 'Error', message: 'At least a callback function should be passed'};
  for (const args of [[], [1], [{}], [null], [1, 2], [{}, {}], [undefined, null]]) {
    assert.throws(() => kiln.createKilnRenderer(...args), none);
  }
  const many = {name: 'Error', message: 'Too many agruments passed to function'};
  for (const args of [[1, 2, 3], [() => {}, {}, 1], [{}, () => {}, undefined], [1, 2, 3, 4]]) {
    assert.throws(() => kiln.createKilnRenderer(...args), many);
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('a failure is an Error and undefined', async () => {
  for (const [error, text, message] of [[3, 'No license', 'No license'], [0, 'x', 'Instantiation error.'],
    [9, null, 'Instantiation error.']]) {
    recorder.once(entry('create'), {result: null, out: {error: BigInt(error)}});
    recorder.answer('Kiln_getErrorTextStringFromErrorCode', text);
    const outcome = await new Promise((resolve) => kiln.createKilnRenderer((...args) => resolve(args)));
    assert.strictEqual(outcome.length, 2);
    assert.ok(outcome[0] instanceof Error);
    assert.strictEqual(outcome[0].message, message);
    assert.strictEqual(outcome[1], undefined);
  }
  recorder.reset();
});

test('the options are read before the call returns', async () => {
  const options = {kvwLanguage: 'de', get previewRenderer() { throw new Error('no'); }};
  const pending = make(options);
  options.kvwLanguage = 'fr';
  const {renderer} = await pending;
  assert.strictEqual(recorder.last(entry('create')).arg.options.kvwLanguage, 'de');
  renderer.close();
});

test('the JavaScript thread is free while the renderer is made', async () => {
  const gate = recorder.gate('create');
  recorder.once(entry('create'), {gate});
  const pending = make({kvwLanguage: 'de'});
  await until(() => gate.waiting() === 1);
  await sleep(5);
  gate.open();
  const {renderer} = await pending;
  renderer.close();
  gate.close();
});

test('many at once are all made', async () => {
  const made = await Promise.all(Array.from({length: 50}, () => make({})));
  assert.strictEqual(new Set(made.map((one) => one.renderer)).size, 50);
  for (const {renderer} of made) renderer.close();
});

test('receivers and callbacks of other kinds are no trouble', async () => {
  const run = (self, wrap = (one) => one) => new Promise((resolve) => {
    kiln.createKilnRenderer.call(self, wrap((error, renderer) => {
      renderer.close();
      resolve(error);
    }));
  });
  for (const self of [undefined, null, 5, 'x', new Proxy({}, {}), Object.create(null)]) {
    assert.strictEqual(await run(self), null);
  }
  assert.strictEqual(await run({}, (one) => new Proxy(one, {})), null);
  assert.strictEqual(await run({}, (one) => one.bind(null)), null);
  const foreign = require('vm').runInNewContext('({make(f) { return (a, b) => f(a, b); }, self: {}})');
  assert.strictEqual(await run(foreign.self, (one) => foreign.make(one)), null);
});

test('an exception of the callback is an uncaught one, and the renderer is made', async () => {
  const ended = await runChild(() => {
    const {kiln: own, recorder: log} = require('./test/renderer/common');
    let renderer;
    process.on('uncaughtException', (error) => {
      process.stdout.write(`${error.message} ${log.live().handles[0].references}\n`);
      renderer.close();
    });
    own.createKilnRenderer((_, made) => {
      renderer = made;
      throw new Error('thrown');
    });
  });
  assert.deepStrictEqual([ended.code, ended.stdout, ended.stderr], [0, 'thrown 1\n', '']);
});

test('nothing is left', collected);
