'use strict';

// Libraries come and go, threads end, processes end: the recorder stands it all.

const test = require('node:test');
const assert = require('assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const {Worker} = require('worker_threads');
const {recorder, record, runChild, paths, makeBrokenLibraries} = require('../helpers');

test('the script and the log outlive an unload', () => {
  recorder.clear();
  recorder.answer('Kiln_isDR2', 5);
  const before = recorder.libraryEvents().length;
  assert.strictEqual(recorder.call('Kiln_isDR2', []).result, 5);
  assert.strictEqual(recorder.call('Kiln_isDR2', []).result, 5);
  assert.deepStrictEqual(recorder.libraryEvents().slice(before).map((one) => one.loaded), [true, false, true, false]);
  assert.strictEqual(recorder.count('Kiln_isDR2'), 2);
  recorder.reset();
});

test('an unload really unmaps the entry points', () => {
  recorder.call('Kiln_isDR2', []);
  assert.ok(!fs.readFileSync('/proc/self/maps', 'utf8').includes(paths.recorderLibrary));
});

test('a copy in another folder is the same recorder', () => {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'recorder-'));
  const copy = path.join(folder, paths.libraryName);
  fs.copyFileSync(paths.recorderLibrary, copy);
  recorder.answer('Kiln_isDR2', 6);
  assert.strictEqual(recorder.call('Kiln_isDR2', [], {library: copy}).result, 6);
  recorder.reset();
  fs.rmSync(folder, {recursive: true});
});

test('worker threads share the recorder and hear of their own work', async () => {
  recorder.answer('Kiln_isDR2', 8);
  const worker = new Worker(`
    const {parentPort, workerData} = require('worker_threads');
    const {recorder} = require(workerData);
    recorder.call('Kiln_isDR2', [], {async: true}).then(({result}) =>
      parentPort.postMessage([result, recorder.threadId]));
  `, {eval: true, workerData: path.join(__dirname, '..', 'helpers')});
  const [result, thread] = await new Promise((resolve, reject) => {
    worker.once('message', resolve);
    worker.once('error', reject);
  });
  assert.strictEqual(result, 8);
  assert.notStrictEqual(thread, recorder.threadId);
  await worker.terminate();
  recorder.reset();
  assert.strictEqual(recorder.call('Kiln_isDR2', []).result, 0);
});

test('a worker that ends in the middle of its work leaves nothing behind', async () => {
  for (let i = 0; i < 5; ++i) {
    const gate = recorder.gate('worker');
    recorder.answer('Kiln_isDR2', {gate});
    const worker = new Worker(`
      const {recorder} = require(require('worker_threads').workerData);
      recorder.call('Kiln_isDR2', [], {async: true});
      require('worker_threads').parentPort.postMessage(0);
    `, {eval: true, workerData: path.join(__dirname, '..', 'helpers')});
    await new Promise((resolve) => worker.once('message', resolve));
    await worker.terminate();
    gate.open();
  }
  recorder.reset();
});

test('a process ends with a call at a gate and a callback in progress', async () => {
  const ended = await runChild(({recorder: own, record}) => {
    const setter = 'Kiln_KilnRenderer_setStateChangedCallback';
    const renderer = own.call('Kiln_KilnRenderer_create', [null, null]).result;
    const callback = {function: own.probes().blocking_callback};
    own.call(setter, [renderer, record('CallbackDescriptor', callback)]);
    own.gate('probe');
    own.answer('Kiln_isDR2', {gate: own.gate('never')});
    own.call('Kiln_isDR2', [], {async: true});
    own.raise(setter, {}, {hold: false});
    setTimeout(() => process.exit(3), 50);
  });
  assert.deepStrictEqual([ended.code, ended.signal, ended.stderr], [3, null, '']);
});

test('without anything under way the loop is not kept alive', async () => {
  const ended = await runChild(({recorder: own}) => own.call('Kiln_isDR2', [], {async: true}));
  assert.deepStrictEqual([ended.code, ended.timedOut], [0, false]);
});

test('an unload that joins waits for the recorder\'s threads', () => {
  const {completion} = recorder.probes();
  const unload = () => {
    const start = Date.now();
    recorder.once('Kiln_KilnRenderer_denoiseNow', {result: 1, complete: {delay: 100}});
    recorder.call('Kiln_KilnRenderer_denoiseNow', [1n, record('KilnDenoiseRequest', {completion})]);
    return Date.now() - start;
  };
  recorder.joinOnUnload();
  assert.ok(unload() >= 99);
  recorder.joinOnUnload(false);
  assert.ok(unload() < 99);
});

test('broken libraries are made and none of them loads', async () => {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'recorder-'));
  const broken = makeBrokenLibraries(folder);
  assert.ok(broken.length >= 10);
  for (const {name, directory} of broken.filter((one) => !one.name.startsWith('truncated'))) {
    assert.throws(() => recorder.missing(path.join(directory, paths.libraryName)), undefined, name);
  }
  fs.rmSync(folder, {recursive: true});
});

test('calls past the add-on count for no coverage', async () => {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'recorder-'));
  await runChild(({recorder: own}) => own.call('Kiln_isDR2', []), {env: {KILN_COVERAGE_DIR: folder}});
  assert.deepStrictEqual(fs.readdirSync(folder), []);
  fs.rmSync(folder, {recursive: true});
});
