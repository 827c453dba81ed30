'use strict';

// Loads with a filter in worker threads that end in the middle of them.

const test = require('node:test');
const assert = require('assert');
const {until, sleep} = require('../helpers');
const {recorder, entry, collected} = require('./common');
const {begin, quiet} = require('./workers');

const ROUNDS = 30;
const NAME = entry('loadFiltered');
const MANY = Array.from({length: 200}, (_, i) => ['Node', `${i}`]);

test.beforeEach(() => {
  recorder.reset();
  recorder.clear();
});

test('terminated while the filter runs for ever', async () => {
  recorder.answer(NAME, {filter: MANY});
  for (let i = 0; i < ROUNDS; ++i) {
    const {worker} = await begin(({open, ready, workerData: {sync}}) => {
      const renderer = open();
      const filter = () => {
        ready();
        for (;;) { /* until the end */ }
      };
      if (sync) {
        renderer.loadFilteredSync('a', filter);
      } else {
        renderer.loadFiltered('a', filter, () => {});
      }
    }, {sync: i % 2 === 0});
    await worker.terminate();
    const {filter} = recorder.last(NAME);
    assert.deepStrictEqual([filter.length, filter.every((step) => step.outcome === 'left out')], [MANY.length, true]);
    await quiet();
  }
});

test('terminated while loads flow', async () => {
  recorder.answer(NAME, {filter: MANY});
  recorder.answer(entry('appendMultiAsBufferFiltered'), {filter: MANY});
  for (let i = 0; i < ROUNDS; ++i) {
    const {worker} = await begin(({open, ready}) => {
      const renderer = open();
      const again = () => renderer.loadFiltered('a', (type, name) => `${name}x`, again);
      const buffers = () => renderer.appendFromBufferFiltered(Buffer.alloc(10), () => true, buffers);
      again();
      again();
      buffers();
      ready();
    });
    await sleep(i % 10);
    await worker.terminate();
    await quiet();
  }
});

test('terminated while the SDK loads', async () => {
  const gate = recorder.gate('load');
  recorder.answer(NAME, {filter: MANY, gate});
  const {worker} = await begin(({open, ready}) => {
    const renderer = open();
    renderer.loadFiltered('a', () => true, () => {});
    ready();
  });
  await until(() => gate.waiting() === 1);
  const terminated = worker.terminate();
  await sleep(20);
  assert.strictEqual(recorder.count(entry('release')), 0);
  gate.open();
  await terminated;
  gate.close();
  assert.strictEqual(recorder.count(entry('release')), 1);
  await quiet();
});

test('terminated with a closed renderer', async () => {
  recorder.answer(NAME, {filter: MANY});
  const {worker} = await begin(({open, ready}) => {
    const renderer = open();
    renderer.close();
    renderer.loadFiltered('a', () => {
      ready();
      for (;;) { /* until the end */ }
    }, () => {});
  });
  await worker.terminate();
  await quiet();
});

test('ends by process.exit in the filter', async () => {
  recorder.answer(NAME, {filter: MANY});
  for (let i = 0; i < ROUNDS; ++i) {
    const {ended} = await begin(({open, ready, workerData: {sync}}) => {
      const renderer = open();
      const filter = () => process.exit(6);
      if (sync) {
        renderer.loadFilteredSync('a', filter);
      } else {
        renderer.loadFiltered('a', filter, () => {});
      }
    }, {sync: i % 2 === 0});
    assert.strictEqual(await ended, 6);
    await quiet();
  }
});

test('ends by an exception of the filter', async () => {
  const gate = recorder.gate('load');
  recorder.answer(NAME, {filter: MANY, gate});
  const {worker, ended} = await begin(({open, ready}) => {
    const renderer = open();
    ready();
    renderer.loadFiltered('a', () => { throw new Error('of a filter'); }, () => {});
  });
  // Only now: an error of a worker may overtake its messages.
  gate.open();
  await assert.rejects(ended, {message: 'of a filter'});
  gate.close();
  await worker.terminate();
  await quiet();
});

test('ends naturally behind its loads', async () => {
  recorder.answer(NAME, {filter: MANY});
  const {ended} = await begin(({open, ready}) => {
    const renderer = open();
    let asked = 0;
    renderer.loadFiltered('a', () => { asked++; }, () => {
      renderer.close();
      ready();
      process.exitCode = asked;
    });
  });
  assert.strictEqual(await ended, MANY.length);
  await quiet();
});

test('nothing is left', async () => {
  await collected();
});
