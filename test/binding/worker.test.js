'use strict';

// Worker threads that load the add-on and end in every way, beside a main thread that goes on using it.

const test = require('node:test');
const assert = require('assert');
const {until, sleep, runChild} = require('../helpers');
const {kiln, recorder, entry, setter, open, turn, collected} = require('../renderer/common');
const {begin, quiet} = require('../renderer/workers');

const ROUNDS = 100;

test.beforeEach(() => {
  recorder.clear();
  recorder.reset();
});

test('terminated while idle with open renderers', async () => {
  for (let i = 0; i < 10; ++i) {
    const {worker} = await begin(({open, ready}) => {
      for (let j = 0; j < 20; ++j) open();
      ready();
    });
    await worker.terminate();
    await quiet();
  }
  assert.strictEqual(recorder.count(entry('release')), 200);
});

test('terminated while a job runs and others are queued', async () => {
  for (let i = 0; i < ROUNDS; ++i) {
    recorder.answer(entry('load'), {delay: i % 5});
    recorder.answer(entry('startSync'), {result: 0, delay: i % 3});
    recorder.answer(entry('create'), {delay: i % 2});
    const {worker} = await begin(({kiln: own, open, ready, workerData}) => {
      const renderer = open();
      for (let j = 0; j < 4; ++j) {
        renderer.load('a', () => {});
        renderer.start(() => {});
        renderer.loadFromBuffer(Buffer.alloc(1000), () => {});
        own.createKilnRenderer(() => {});
      }
      if (workerData.close) renderer.close(() => {});
      ready();
    }, {close: i % 2 === 0});
    if (i % 3 === 0) await sleep(i % 4);
    await worker.terminate();
    await quiet();
  }
});

test('terminated while an SDK thread is parked', async () => {
  for (let i = 0; i < ROUNDS; ++i) {
    const {worker} = await begin(({open, turn: on, ready}) => {
      const renderer = open();
      on(renderer, 0, true);
      renderer.on('stateChanged', () => {
        for (;;) { /* until the end */ }
      });
      ready();
    });
    recorder.raise(setter('StateChanged'), {}, {serial: false});
    const upload = recorder.raise(setter('UploadToCollaboration'), {strings: ['a']}, {serial: false});
    if (i % 2) await sleep(i % 5);
    await worker.terminate();
    await upload;
    await until(() => recorder.live().threads === 0);
    await quiet();
  }
});

test('terminated while callbacks flow', async () => {
  for (let i = 0; i < 20; ++i) {
    const {worker} = await begin(({open, turn: on, ready}) => {
      const renderer = open();
      for (const kind of [0, 3, 7]) on(renderer, kind, true);
      ready();
    });
    const raised = ['StateChanged', 'Progress', 'BucketReady'].map((name) => {
      return recorder.raiseMany(setter(name), {}, 100000, {threads: 2});
    });
    await sleep(i % 10);
    await worker.terminate();
    await Promise.all(raised);
    await quiet();
  }
});

test('terminated while a wait for the render\'s end is under way, the renderer is stopped', async () => {
  const gate = recorder.gate('wait');
  recorder.answer(entry('waitRenderEnd'), {result: 0, gate});
  const {worker} = await begin(({open, ready}) => {
    open().waitForRenderEnd(() => {});
    ready();
  });
  await until(() => gate.waiting() === 1);
  const terminated = worker.terminate();
  await until(() => recorder.count(entry('stop')) === 1);
  assert.strictEqual(recorder.count(entry('release')), 0);
  gate.open();
  await terminated;
  gate.close();
  await quiet();
});

test('terminated with a close queued behind a job that waits: the close is made up for', async () => {
  const gate = recorder.gate('pool');
  recorder.answer(entry('waitRenderEnd'), {result: 0, gate});
  const {worker} = await begin(({open, ready}) => {
    const renderer = open();
    for (let i = 0; i < 4; ++i) renderer.waitForRenderEnd(() => {});
    renderer.close(() => {});
    ready();
  });
  await until(() => gate.waiting() === 4);
  const terminated = worker.terminate();
  await until(() => recorder.count(entry('stop')) === 1);
  gate.open();
  await terminated;
  gate.close();
  assert.strictEqual(recorder.count(entry('release')), 1);
  await quiet();
});

test('a release on the pool that outlasts its environment', async () => {
  for (let i = 0; i < 20; ++i) {
    recorder.answer(entry('release'), {delay: 10});
    const {worker} = await begin(({open, ready}) => {
      open().close(() => {});
      ready();
    });
    await worker.terminate();
    recorder.reset();
    await quiet();
  }
});

test('ends by process.exit, with its code', async () => {
  for (let i = 0; i < 20; ++i) {
    const {ended} = await begin(({open, turn: on, workerData}) => {
      const renderer = open();
      on(renderer, 0, true);
      if (workerData.job) renderer.load('a', () => {});
      process.exit(6);
    }, {job: i % 2 === 0});
    assert.strictEqual(await ended, 6);
    await quiet();
  }
});

test('ends by process.exit inside a listener', async () => {
  const {ended} = await begin(({open, turn: on, ready}) => {
    const renderer = open();
    on(renderer, 0, true);
    renderer.on('stateChanged', () => process.exit(7));
    ready();
  });
  const raised = recorder.raise(setter('StateChanged'));
  assert.strictEqual(await ended, 7);
  assert.strictEqual((await raised).delivered, 1);
  await quiet();
});

test('ends by an exception of a listener', async () => {
  const {worker, ended} = await begin(({open, turn: on, ready}) => {
    const renderer = open();
    on(renderer, 0, true);
    renderer.on('stateChanged', () => { throw new Error('of a listener'); });
    ready();
  });
  const raised = recorder.raise(setter('StateChanged'));
  await assert.rejects(ended, {message: 'of a listener'});
  assert.strictEqual((await raised).delivered, 1);
  await worker.terminate();
  await quiet();
});

test('ends naturally behind a close', async () => {
  const {ended} = await begin(({open, ready}) => {
    const renderer = open();
    renderer.load('a', () => renderer.close(ready));
  });
  assert.strictEqual(await ended, 0);
  await quiet();
});

test('another load of the add-on starts the counters afresh, and keeps the library', async () => {
  const child = await runChild(async (helpers) => {
    const {Worker} = require('worker_threads');
    const kiln = helpers.loadNative();
    const renderer = new kiln.KilnRenderer({enableFrameBuffer: false});
    try {
      kiln.setSDKLibraryPath(helpers.paths.recorderDir);
    } catch (error) {
      console.log(error.message);
    }
    const loads = helpers.recorder.count('Kiln_incrementModuleReferenceCounter');
    const worker = new Worker(`require(${JSON.stringify(helpers.paths.native)})`, {eval: true});
    await new Promise((resolve) => worker.on('exit', resolve));
    console.log(helpers.recorder.count('Kiln_incrementModuleReferenceCounter') - loads);
    console.log(kiln.setSDKLibraryPath(helpers.paths.recorderDir));
    renderer.close();
  });
  assert.deepStrictEqual(child.stdout.trim().split('\n'),
    ['Cannot set a new path now. SDKLibrary is currently being used.', '0', 'true'], child.stderr);
});

test('two environments share the SDK, and each gets its own events', async () => {
  const own = open();
  turn(own, 7, true);
  const {handle} = recorder.live().handles[0];
  const {worker} = await begin(({open: make, turn: on, ready}) => {
    const {parentPort: port} = require('worker_threads');
    const renderer = make();
    on(renderer, 7, true);
    renderer.on('progress', (message) => port.postMessage(message));
    ready();
  });
  const other = recorder.live().handles.find((one) => one.handle !== handle).handle;
  const heard = [];
  worker.on('message', (message) => heard.push(message));
  await Promise.all([
    ...Array.from({length: 50}, () => recorder.raise(setter('Progress'), {message: 'main'}, {handle})),
    ...Array.from({length: 50}, () => recorder.raise(setter('Progress'), {message: 'worker'}, {handle: other})),
  ]);
  await until(() => heard.length === 50);
  assert.ok(heard.every((one) => one === 'worker'));
  assert.ok(own.events.length === 50 && own.events.every((one) => one[1] === 'main'));
  await worker.terminate();
  assert.strictEqual((await recorder.raise(setter('Progress'), {message: 'after'}, {handle})).delivered, 1);
  own.close();
  own.events.length = 0;
  await quiet();
});

test('a Buffer that the SDK keeps beyond its environment is let go once, on any thread', async () => {
  for (const thread of [false, true]) {
    recorder.answer(entry('loadAsBuffer'), {keep: true});
    const {worker} = await begin(({open, ready}) => {
      const renderer = open();
      for (let i = 0; i < 50; ++i) renderer.loadFromBufferSync(Buffer.alloc(100));
      ready();
    });
    await worker.terminate();
    assert.strictEqual(recorder.live().kept, 50);
    assert.strictEqual(await recorder.releaseKept({thread}), 50);
    await quiet();
  }
});

test('Buffers let go on another thread while their environment ends', async () => {
  for (let i = 0; i < 30; ++i) {
    recorder.answer(entry('loadAsBuffer'), {keep: true});
    const {worker} = await begin(({open, ready}) => {
      const renderer = open();
      for (let j = 0; j < 200; ++j) renderer.loadFromBufferSync(Buffer.alloc(10));
      ready();
    });
    const released = recorder.releaseKept({thread: true});
    await worker.terminate();
    assert.strictEqual(await released, 200);
    await quiet();
  }
});

test('many workers at once', async () => {
  const all = await Promise.all(Array.from({length: 8}, () => begin(({open, ready}) => {
    const renderer = open();
    const again = () => renderer.load('a', again);
    again();
    ready();
  })));
  await Promise.all(all.map(({worker}) => worker.terminate()));
  await quiet();
});

test('nothing is left', collected);
