'use strict';

// Jobs on libuv's pool: their callbacks, what they keep, exceptions, many at once, and the GUI pump beside them.

const test = require('node:test');
const assert = require('assert');
const {AsyncLocalStorage} = require('async_hooks');
const {forceGc, sleep, until, runChild} = require('../helpers');
const {kiln, recorder, entry, setter, open, turn, collected, ABRUPT} = require('../renderer/common');

const PUMP = 'Kiln_GUI_pumpMessages';

test.beforeEach(() => recorder.clear());

test('a thousand jobs are all called back once, under collections', async () => {
  const renderer = open();
  let called = 0;
  await new Promise((resolve) => {
    for (let i = 0; i < 1000; ++i) {
      renderer.load(`${i}`, () => {
        called++;
        if (called % 100 === 0) forceGc();
        if (called === 1000) resolve();
      });
    }
  });
  assert.strictEqual(recorder.count(entry('load')), 1000);
  const names = new Set(recorder.calls(entry('load')).map((call) => call.args[1]));
  assert.strictEqual(names.size, 1000);
  renderer.close();
});

test('jobs without a callback run to the end and keep the loop alive until then', async () => {
  const ended = await runChild(() => {
    const {recorder: log, open: make} = require('./test/renderer/common');
    log.answer('Kiln_KilnRenderer_load', {delay: 50});
    const renderer = make();
    renderer.load('a');
    renderer.close();
    process.on('exit', () => process.stdout.write(String(log.last('Kiln_KilnRenderer_load').done)));
  });
  assert.deepStrictEqual([ended.code, ended.stdout, ended.stderr], [0, 'true', '']);
});

test('a job may be queued, and the renderer closed, in a callback of a job', async () => {
  const renderer = open();
  await new Promise((resolve) => {
    renderer.load('a', () => {
      renderer.stop(() => {
        renderer.start((error) => {
          assert.strictEqual(error, null);
          renderer.close();
          renderer.stop(resolve);
        });
      });
    });
  });
  assert.strictEqual(recorder.last(entry('stop')).args[0], 0n);
});

test('promises of a callback settle behind it', async () => {
  const renderer = open();
  const order = [];
  await new Promise((resolve) => {
    renderer.stop(() => {
      Promise.resolve().then(() => order.push('settled'));
      process.nextTick(() => order.push('ticked'));
      order.push('called');
      setImmediate(resolve);
    });
  });
  assert.deepStrictEqual(order, ['called', 'ticked', 'settled']);
  renderer.close();
});

test('a callback has no storage of the call it came from', async () => {
  const renderer = open();
  const storage = new AsyncLocalStorage();
  const seen = await storage.run('x', () => new Promise((resolve) => renderer.stop(() => resolve(storage.getStore()))));
  assert.strictEqual(seen, undefined);
  renderer.close();
});

test('exceptions of callbacks are uncaught ones, each job settles all the same', async () => {
  const ended = await runChild(() => {
    const {recorder: log, open: make} = require('./test/renderer/common');
    const renderer = make();
    let caught = 0;
    process.on('uncaughtException', () => {
      if (++caught === 60) renderer.close(() => { throw new Error('of the close'); });
    });
    const fail = () => { throw new Error('of a job'); };
    for (let i = 0; i < 20; ++i) {
      renderer.start(fail);
      renderer.stop(fail);
      renderer.waitForRenderEnd(fail);
    }
    process.on('exit', () => process.stdout.write(`${caught} ${log.live().handles.length}`));
  });
  assert.deepStrictEqual([ended.code, ended.stdout, ended.stderr], [0, '61 0', '']);
});

test('an exception of a callback without a handler ends the process with code 1', async () => {
  const ended = await runChild(() => {
    require('./test/renderer/common').open().stop(() => { throw new Error('of a job'); });
  }, {env: ABRUPT});
  assert.deepStrictEqual([ended.code, ended.timedOut], [1, false]);
  assert.match(ended.stderr, /of a job/);
});

test('a parked callback and a job that waits for it settle both', async () => {
  const renderer = open();
  turn(renderer, 0, true);
  recorder.once(entry('startSync'), {result: 0, raise: [[setter('StateChanged'), {first: 5, second: 6}]]});
  await new Promise((resolve) => renderer.start(resolve));
  assert.strictEqual(renderer.events.length, 1);
  renderer.close();
});

// How often the windows are served within the time.
async function pumped(ms = 105) {
  const before = recorder.count(PUMP);
  await sleep(ms);
  return recorder.count(PUMP) - before;
}

test('one timer of 10 ms serves the windows of any number of renderers', async () => {
  assert.strictEqual(await pumped(30), 0);
  const all = [open(), open(), open()];
  const times = await pumped(205);
  assert.ok(times >= 5 && times <= 22, String(times));
  all[0].close();
  all[1].close();
  assert.ok(await pumped() > 0);
  all[2].close();
  assert.strictEqual(await pumped(50), 0);
});

test('the windows are served on this thread, at once after construction', async () => {
  recorder.ignore(PUMP, false);
  const renderer = open();
  await until(() => recorder.count(PUMP) > 0);
  assert.ok(recorder.calls(PUMP).every((call) => call.onJsThread && call.args.length === 0));
  renderer.close();
  recorder.ignore(PUMP);
});

test('a renderer made without the frame buffer counts down when it closes, though it never counted up', async () => {
  const ended = await runChild(async () => {
    const check = require('assert');
    const {kiln: own, recorder: log, open: make} = require('./test/renderer/common');
    const count = async () => {
      const before = log.count('Kiln_GUI_pumpMessages');
      await new Promise((resolve) => setTimeout(resolve, 60));
      return log.count('Kiln_GUI_pumpMessages') - before;
    };
    own.enableFrameBuffer(false);
    const silent = make();
    check.strictEqual(await count(), 0);
    silent.close();
    own.enableFrameBuffer(true);
    // The count stands at -1: this one brings it to 0, and only the next one starts the timer.
    const first = make();
    check.strictEqual(await count(), 0);
    const second = make();
    check.ok(await count() > 0);
    second.close();
    check.strictEqual(await count(), 0);
    first.close();
  });
  assert.deepStrictEqual([ended.code, ended.stderr], [0, '']);
});

test('the timer keeps the loop alive and lets it end behind the last close', async () => {
  const ended = await runChild(() => {
    const {open: make} = require('./test/renderer/common');
    const renderer = make();
    setTimeout(() => renderer.close(), 30).unref();
  }, {timeout: 5000});
  assert.deepStrictEqual([ended.code, ended.timedOut, ended.stderr], [0, false, '']);
});

test('an open renderer keeps the loop alive without the timer too', async () => {
  const ended = await runChild(() => {
    const {kiln: own, open: make} = require('./test/renderer/common');
    own.enableFrameBuffer(false);
    const renderer = make();
    setTimeout(() => {
      process.stdout.write('still open');
      renderer.close();
    }, 30).unref();
  }, {timeout: 5000});
  assert.deepStrictEqual([ended.code, ended.timedOut, ended.stdout, ended.stderr], [0, false, 'still open', '']);
});

test('nothing is left', async () => {
  assert.ok(kiln);
  await collected();
});
