'use strict';

// Loading a scene from a file, from text and from a Buffer, with and without a callback.

const test = require('node:test');
const assert = require('assert');
const {forceGc, collect, until, sleep, runChild} = require('../helpers');
const {kiln, recorder, entry, setter, open, turn, collected} = require('./common');

const NAMED = [
  ['load', 'load', 'Argument 0 (fileName: string) should be passed'],
  ['loadAsText', 'loadAsText', 'Argument 0 (sceneText: string) should be passed'],
];
const NO_DATA = 'Argument 0 (sceneData: buffer) should be passed';

let renderer = open();
const loaded = (method, ...args) => new Promise((resolve) => renderer[method](...args, (...got) => resolve(got)));

test.beforeEach(() => recorder.clear());

for (const [method, name, message] of NAMED) {
  test(`${method} passes its string on the pool`, async () => {
    for (const [value, text] of [['a', 'a'], ['', ''], ['größe 日本', 'größe 日本'], [new String('boxed'), 'boxed'],
      ['x'.repeat(300000), 'x'.repeat(300000)]]) {
      assert.deepStrictEqual(await loaded(method, value), [null]);
      const call = recorder.last(entry(name));
      assert.strictEqual(call.args[0], recorder.live().handles[0].handle);
      assert.strictEqual(call.args[1], text);
      assert.strictEqual(call.onJsThread, false);
    }
  });

  test(`${method} refuses what is no string, an array too`, () => {
    for (const args of [[], [undefined], [null], [5], [{}], [['a']], [Buffer.from('a')], [() => {}], [Symbol('a')]]) {
      assert.throws(() => renderer[method](...args), {name: 'Error', message});
      assert.throws(() => renderer[method](...args, () => {}), {name: 'Error', message});
    }
    assert.deepStrictEqual(recorder.names(), []);
  });

  test(`${method} without a callback runs, and a failure goes unnoticed`, async () => {
    recorder.once(entry(name), -1, 3);
    for (const args of [['a'], ['a', 5], ['a', {}]]) assert.strictEqual(renderer[method](...args), undefined);
    await until(() => recorder.count(entry(name)) === 3);
    await loaded(method, 'b');
  });

  test(`${method}Sync loads on this thread, from strings or an array, the first alone`, () => {
    for (const [args, text] of [[['a'], 'a'], [['a', 'b'], 'a'], [[['a', 'b']], 'a'], [[['a']], 'a'],
      [[new String('c')], 'c'], [[[5, 6]], '5'], [[[{toString: () => 'made'}]], 'made'], [['a', 5], 'a'],
      [[['x'], 5], 'x']]) {
      recorder.clear();
      assert.strictEqual(renderer[`${method}Sync`](...args), undefined);
      const calls = recorder.calls(entry(name));
      assert.deepStrictEqual(calls.map((call) => [call.args[1], call.onJsThread]), [[text, true]]);
    }
  });

  test(`${method}Sync refuses an empty run and an empty array`, () => {
    for (const args of [[], [[]], [5], [undefined, 'a'], [{}], [Buffer.from('a')]]) {
      assert.throws(() => renderer[`${method}Sync`](...args), {name: 'Error', message});
    }
  });

  test(`${method}Sync leaves the exception of a conversion alone`, () => {
    const fails = {toString() { throw new RangeError('no'); }};
    for (const value of [fails, Symbol('a')]) {
      assert.throws(() => renderer[`${method}Sync`](['a', value]), (error) => error.message !== message);
    }
    const array = ['a'];
    Object.defineProperty(array, 1, {get() { throw new RangeError('no'); }});
    assert.throws(() => renderer[`${method}Sync`](array), {name: 'RangeError', message: 'no'});
    const boxed = Object.assign(new String('a'), fails);
    assert.throws(() => renderer[`${method}Sync`](boxed), RangeError);
    assert.throws(() => renderer[method](boxed), RangeError);
    assert.deepStrictEqual(recorder.names(), []);
  });

  test(`a failure of ${method} is the last error's text, asked for at once`, async () => {
    recorder.answer(entry(name), 1);
    const failure = async () => {
      const [error] = await loaded(method, 'a');
      assert.ok(error instanceof Error);
      assert.throws(() => renderer[`${method}Sync`]('a'), {name: 'Error', message: error.message});
      return error.message;
    };
    recorder.answer(entry('getLastErrorCode'), 0);
    assert.strictEqual(await failure(), 'Error loading scene file or file not found.');
    assert.strictEqual(recorder.count('Kiln_getErrorTextStringFromErrorCode'), 0);
    recorder.answer(entry('getLastErrorCode'), 4);
    recorder.answer('Kiln_getErrorTextStringFromErrorCode', 'Bad größe');
    assert.strictEqual(await failure(), 'Bad größe');
    assert.strictEqual(recorder.last('Kiln_getErrorTextStringFromErrorCode').args[0], 4);
    assert.strictEqual(recorder.count(entry('getLastParserErrorText')), 0);
    recorder.answer(entry('getLastErrorCode'), 10);
    recorder.answer('Kiln_getErrorTextStringFromErrorCode', 'Error parsing.');
    recorder.answer(entry('getLastParserErrorText'), 'unexpected end');
    recorder.answer(entry('getLastParserErrorFileName'), 'a');
    recorder.answer(entry('getLastParserErrorFileLine'), 12);
    assert.strictEqual(await failure(), 'Error parsing. File "a" at line 12: unexpected end.');
    recorder.answer(entry('getLastParserErrorFileName'), null);
    recorder.answer(entry('getLastParserErrorFileLine'), 0xFFFFFFFF);
    assert.strictEqual(await failure(), 'Error parsing. File "unknown" at line 4294967295: unexpected end.');
    recorder.clear();
    await loaded(method, 'a');
    assert.ok(recorder.calls().every((call) => !call.onJsThread));
    recorder.reset();
  });
}

test('the callback has the renderer as its receiver and one argument', async () => {
  await new Promise((resolve) => {
    renderer.load('a', function (...args) {
      assert.strictEqual(this, renderer);
      assert.deepStrictEqual(args, [null]);
      resolve();
    });
  });
});

test('the JavaScript thread is free during a load and serves events', async () => {
  const gate = recorder.gate('load');
  recorder.once(entry('load'), {gate});
  turn(renderer, 7, true);
  const pending = loaded('load', 'a');
  await until(() => gate.waiting() === 1);
  await recorder.raise(setter('Progress'), {message: 'half'});
  assert.strictEqual(renderer.events.pop()[1], 'half');
  gate.open();
  await pending;
  gate.close();
});

test('a String object that closes the renderer in its conversion loads nothing of a released handle', async () => {
  for (const method of ['load', 'loadAsText']) {
    const own = open();
    recorder.clear();
    const text = Object.assign(new String('a'), {toString() { own.close(); return 'a'; }});
    await new Promise((resolve) => own[method](text, resolve));
    const call = recorder.last(entry(method));
    assert.deepStrictEqual([call.args[0], call.stale], [0n, false]);
  }
});

test('a job that was queued before a plain close works with the handle of then', async () => {
  const own = open();
  const gate = recorder.gate('load');
  recorder.once(entry('load'), {gate});
  const done = new Promise((resolve) => own.load('a', resolve));
  await until(() => gate.waiting() === 1);
  const handle = recorder.last(entry('load')).args[0];
  own.close();
  assert.strictEqual(recorder.last(entry('release')).args[0], handle);
  gate.open();
  await done;
  gate.close();
});

test('a job keeps its renderer alive', async () => {
  const gate = recorder.gate('load');
  recorder.once(entry('load'), {gate});
  const before = recorder.count(entry('release'));
  const done = (() => {
    const own = open();
    return new Promise((resolve) => own.load('a', resolve));
  })();
  for (let i = 0; i < 5; ++i) {
    forceGc();
    await sleep(2);
  }
  assert.strictEqual(recorder.count(entry('release')), before);
  gate.open();
  await done;
  await collect(() => recorder.count(entry('release')) === before + 1);
  gate.close();
});

test('a Buffer is passed by its memory, with a release function', async () => {
  for (const buffer of [Buffer.from('scene'), Buffer.alloc(100000, 7), Buffer.alloc(0), Buffer.from('xscene').subarray(1),
    new Uint8Array([1, 2, 3]), new Float64Array(2)]) {
    recorder.clear();
    assert.deepStrictEqual(await loaded('loadFromBuffer', buffer), [null]);
    const call = recorder.last(entry('loadAsBuffer'));
    assert.strictEqual(call.onJsThread, false);
    const [{data, size, release, user}] = call.args[1];
    assert.strictEqual(size, BigInt(buffer.byteLength));
    assert.ok(buffer.byteLength === 0 || data !== 0n);
    assert.ok(release !== 0n && user !== 0n);
    recorder.clear();
    assert.strictEqual(renderer.loadFromBufferSync(buffer), undefined);
    assert.strictEqual(recorder.last(entry('loadAsBuffer')).onJsThread, true);
  }
});

test('the memory of a Buffer is not copied', async () => {
  const buffer = Buffer.alloc(64, 1);
  recorder.once(entry('loadAsBuffer'), {keep: true});
  renderer.loadFromBufferSync(buffer);
  const [kept] = recorder.kept();
  recorder.write(kept.data, Buffer.from('changed'));
  assert.strictEqual(buffer.toString('utf8', 0, 7), 'changed');
  recorder.releaseKept();
});

test('what is no Buffer is refused', () => {
  for (const method of ['loadFromBuffer', 'loadFromBufferSync']) {
    for (const value of [undefined, null, 'a', 5, [], [Buffer.from('a')], {}, new ArrayBuffer(4)]) {
      assert.throws(() => renderer[method](value), {name: 'Error', message: NO_DATA});
    }
    assert.throws(() => renderer[method](), {name: 'Error', message: NO_DATA});
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('a failure from a Buffer is told as the others are', async () => {
  recorder.answer(entry('loadAsBuffer'), 1);
  recorder.answer(entry('getLastErrorCode'), 0);
  const message = 'Error loading scene file or file not found.';
  const [error] = await loaded('loadFromBuffer', Buffer.from('a'));
  assert.strictEqual(error.message, message);
  assert.throws(() => renderer.loadFromBufferSync(Buffer.from('a')), {name: 'Error', message});
  recorder.reset();
});

// Queues or makes a load of a Buffer that the SDK keeps, and drops the Buffer.
function keep(method, size = 4096) {
  recorder.once(entry('loadAsBuffer'), {keep: true});
  const buffer = Buffer.from(new ArrayBuffer(size));
  const weak = new WeakRef(buffer);
  if (method === 'loadFromBufferSync') {
    renderer.loadFromBufferSync(buffer);
    return Promise.resolve(weak);
  }
  return new Promise((resolve) => renderer.loadFromBuffer(buffer, () => resolve(weak)));
}

for (const method of ['loadFromBuffer', 'loadFromBufferSync']) {
  for (const thread of [false, true]) {
    test(`a Buffer of ${method} lives until the SDK lets it go on ${thread ? 'another' : 'this'} thread`, async () => {
      const weak = await keep(method);
      for (let i = 0; i < 5; ++i) {
        forceGc();
        await sleep(1);
      }
      assert.notStrictEqual(weak.deref(), undefined);
      assert.strictEqual(await recorder.releaseKept({thread}), 1);
      await collect(() => weak.deref() === undefined);
    });
  }
}

test('a thousand Buffers let go from another thread under the pressure of collections', async () => {
  const weak = [];
  for (let i = 0; i < 1000; ++i) {
    weak.push(await keep('loadFromBufferSync', 64));
    if (i % 100 === 99) forceGc();
  }
  const released = recorder.releaseKept({thread: true});
  for (let i = 0; i < 20; ++i) forceGc();
  assert.strictEqual(await released, 1000);
  await collect(() => weak.every((one) => one.deref() === undefined));
});

test('a Buffer that the SDK keeps does not keep the loop alive', async () => {
  const ended = await runChild(() => {
    const {recorder: log, open: make} = require('./test/renderer/common');
    const own = make();
    log.once('Kiln_KilnRenderer_loadAsBuffer', {keep: true});
    own.loadFromBufferSync(Buffer.from('a'));
    own.close();
  });
  assert.deepStrictEqual([ended.code, ended.stderr, ended.timedOut], [0, '', false]);
});

test('an exception of the callback is an uncaught one', async () => {
  const ended = await runChild(() => {
    const {open: make} = require('./test/renderer/common');
    const own = make();
    const names = ['load', 'loadAsText', 'loadFromBuffer'];
    process.on('uncaughtException', (error) => {
      process.stdout.write(error.message);
      if (error.message === names[2]) own.close();
    });
    const next = (i) => {
      if (i === names.length) return;
      own[names[i]](i === 2 ? Buffer.from('a') : 'a', () => {
        setImmediate(next, i + 1);
        throw new Error(names[i]);
      });
    };
    next(0);
  });
  assert.deepStrictEqual([ended.code, ended.stderr, ended.stdout], [0, '', 'loadloadAsTextloadFromBuffer']);
});

test('nothing is left', async () => {
  renderer.close();
  renderer = null;
  assert.ok(kiln);
  await collected();
});
