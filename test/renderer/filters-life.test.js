'use strict';

// Filters that throw, close the renderer, load another scene or end the process, and loads that outlive what they
// were begun for.

const test = require('node:test');
const assert = require('assert');
const {until, runChild} = require('../helpers');
const {recorder, entry, open, collected, ABRUPT} = require('./common');

const NAME = entry('loadFiltered');
const THREE = {filter: [['Node', 'a'], ['Node', 'b'], ['Node', 'c']]};
const outcomes = () => recorder.last(NAME).filter.map((step) => step.outcome);
const loaded = (renderer, filter) => new Promise((resolve) => renderer.loadFiltered('a', filter, resolve));

test.beforeEach(() => {
  recorder.reset();
  recorder.clear();
});

test('an exception of the filter in the blocking form leaves its plugin out and is thrown behind the load', () => {
  const renderer = open();
  recorder.answer(NAME, THREE);
  let asked = 0;
  assert.throws(() => renderer.loadFilteredSync('a', (type, name) => {
    asked++;
    if (name !== 'b') throw new RangeError(name);
    return true;
  }), {name: 'RangeError', message: 'a'});
  assert.strictEqual(asked, 3);
  assert.deepStrictEqual(outcomes(), ['left out', 'kept', 'left out']);
  recorder.answer(NAME, {...THREE, result: 1});
  assert.throws(() => renderer.loadFilteredSync('a', () => { throw new RangeError('mine'); }), {message: 'mine'});
  assert.throws(() => renderer.loadFilteredSync('a', () => { throw undefined; }), (error) => error === undefined);
  renderer.close();
});

test('an exception of the filter in the other form is an uncaught one, and the load goes on', async () => {
  const ended = await runChild(() => {
    const {recorder: log, open: make} = require('./test/renderer/common');
    log.answer('Kiln_KilnRenderer_loadFiltered', {filter: [['Node', 'a'], ['Node', 'b'], ['Node', 'c']]});
    const renderer = make();
    process.on('uncaughtException', (error) => process.stdout.write(`${error.message} `));
    renderer.loadFiltered('x', (type, name) => {
      if (name === 'b') return true;
      throw new Error(name);
    }, (error) => {
      const steps = log.last('Kiln_KilnRenderer_loadFiltered').filter.map((step) => step.outcome);
      process.stdout.write(`${error} ${steps} `);
      setImmediate(() => renderer.close());
      throw new Error('after');
    });
  });
  assert.deepStrictEqual([ended.code, ended.stderr, ended.stdout], [0, '', 'a c null left out,kept,left out after ']);
});

test('the load goes on only after the exception of the filter has been dealt with', async () => {
  const ended = await runChild(() => {
    const {recorder: log, open: make} = require('./test/renderer/common');
    const answered = () => log.last('Kiln_KilnRenderer_loadFiltered').filter.length;
    log.answer('Kiln_KilnRenderer_loadFiltered', {filter: [['Node', 'a'], ['Node', 'b']]});
    const renderer = make();
    process.on('uncaughtException', () => {
      const end = Date.now() + 40;
      while (Date.now() < end) { /* the loader waits */ }
      process.stdout.write(`${answered()} `);
    });
    renderer.loadFiltered('x', () => { throw new Error('no'); }, () => {
      process.stdout.write(`${answered()}`);
      renderer.close();
    });
  });
  assert.deepStrictEqual([ended.code, ended.stderr, ended.stdout], [0, '', '0 1 2']);
});

test('an exception without a handler ends the process with code 1', async () => {
  for (const throws of ['filter', 'after']) {
    const ended = await runChild((helpers, where) => {
      const {recorder: log, open: make} = require('./test/renderer/common');
      log.answer('Kiln_KilnRenderer_loadFiltered', {filter: [['Node', 'a'], ['Node', 'b']]});
      make().loadFiltered('x', () => { if (where === 'filter') throw new Error('of a filter'); },
        () => { throw new Error('of a filter'); });
    }, {env: ABRUPT, args: [throws]});
    assert.deepStrictEqual([ended.code, ended.timedOut], [1, false]);
    assert.match(ended.stderr, /of a filter/);
  }
});

test('a filter that closes the renderer is asked no more, and the load ends', async () => {
  for (const sync of [false, true]) {
    const renderer = open();
    recorder.clear();
    recorder.once(NAME, THREE);
    let asked = 0;
    const filter = () => {
      asked++;
      renderer.close();
      return true;
    };
    if (sync) {
      renderer.loadFilteredSync('a', filter);
    } else {
      assert.strictEqual(await loaded(renderer, filter), null);
    }
    assert.deepStrictEqual([asked, recorder.count(entry('release'))], [1, 1]);
    assert.deepStrictEqual(outcomes(), ['left out', 'left out', 'left out']);
  }
});

// An SDK whose release waits for the load: both come to an end only when the loader is let go.
for (const sync of [false, true]) {
  test(`a close in the ${sync ? 'blocking ' : ''}filter is not held up by the load that waits for it`, async () => {
    const ended = await runChild((helpers, blocking) => {
      const {recorder: log, open: make} = require('./test/renderer/common');
      const {Worker} = require('worker_threads');
      const name = 'Kiln_KilnRenderer_loadFiltered';
      log.answer('Kiln_KilnRenderer_release', {gate: log.gate('release')});
      log.answer(name, {filter: [['Node', 'a'], ['Node', 'b']]});
      new Worker(`
        const {recorder} = require(${JSON.stringify(require.resolve('./test/renderer/common'))});
        const timer = setInterval(() => {
          const load = recorder.last('${name}');
          if (!load || !load.done) return;
          recorder.command('open', {gate: 'release'});
          clearInterval(timer);
        }, 1);`, {eval: true});
      const renderer = make();
      if (blocking) {
        renderer.loadFilteredSync('x', () => renderer.close());
      } else {
        renderer.loadFiltered('x', () => renderer.close(), () => {});
      }
      process.on('exit', () => process.stdout.write(String(log.live().handles.length)));
    }, {args: [sync]});
    assert.deepStrictEqual([ended.code, ended.stderr, ended.stdout, ended.timedOut], [0, '', '0', false]);
  });
}

test('a close with a callback serves the filter to the end of the release', async () => {
  const renderer = open();
  const gate = recorder.gate('release');
  recorder.once(NAME, THREE);
  recorder.once(entry('release'), {gate});
  const closed = [];
  let asked = 0;
  const done = loaded(renderer, () => {
    if (asked++ === 0) closed.push(new Promise((resolve) => renderer.close(resolve)));
    return true;
  });
  assert.strictEqual(await done, null);
  assert.strictEqual(asked, 3);
  gate.open();
  await Promise.all(closed);
  gate.close();
});

test('a filter that loads another scene, with and without a filter', async () => {
  const renderer = open();
  recorder.once(NAME, THREE);
  recorder.once(entry('loadAsTextFiltered'), {filter: [['Light', 'inner']]});
  const inner = [];
  const pending = [];
  assert.strictEqual(await loaded(renderer, (type, name) => {
    if (name === 'a') renderer.loadSync('b');
    if (name === 'b') renderer.loadAsTextFilteredSync('c', (...names) => inner.push(names));
    if (name === 'c') pending.push(loaded(renderer, () => true));
    return true;
  }), null);
  assert.deepStrictEqual(await Promise.all(pending), [null]);
  assert.deepStrictEqual(inner, [['Light', 'inner']]);
  recorder.once(NAME, THREE);
  let nested = 0;
  renderer.loadFilteredSync('a', () => {
    recorder.once(NAME, {filter: [['Node', 'x']]});
    renderer.loadFilteredSync('b', () => { nested++; });
  });
  assert.strictEqual(nested, 3);
  renderer.close();
});

test('a load on a closed renderer works with a null handle', async () => {
  const renderer = open();
  renderer.close();
  recorder.answer(NAME, THREE);
  let asked = 0;
  await loaded(renderer, () => { asked++; });
  renderer.loadFilteredSync('a', () => { asked++; });
  assert.deepStrictEqual(recorder.calls(NAME).map((call) => [call.args[0], call.stale]), [[0n, false], [0n, false]]);
  assert.strictEqual(asked, 6);
});

test('promises in a filter run between the plugins in the one form, and behind the load in the other', async () => {
  const renderer = open();
  const order = [];
  const filter = (type, name) => {
    Promise.resolve().then(() => order.push(`then ${name}`));
    order.push(name);
  };
  recorder.answer(NAME, {filter: [['Node', 'a'], ['Node', 'b']]});
  await loaded(renderer, filter);
  renderer.loadFilteredSync('x', filter);
  await null;
  assert.deepStrictEqual(order, ['a', 'then a', 'b', 'then b', 'a', 'b', 'then a', 'then b']);
  renderer.close();
});

for (const how of ['in the filter', 'in the blocking filter', 'while the loader waits', 'while the SDK loads']) {
  test(`process.exit ${how}`, async () => {
    const ended = await runChild((helpers, when) => {
      const {recorder: log, open: make} = require('./test/renderer/common');
      const name = 'Kiln_KilnRenderer_loadFiltered';
      const many = Array.from({length: 1000}, (_, i) => ['Node', `${i}`]);
      const renderer = make();
      log.answer(name, {filter: many, delay: when === 'while the SDK loads' ? 200 : 0});
      if (when === 'in the blocking filter') return renderer.loadFilteredSync('a', () => process.exit(5));
      renderer.loadFiltered('a', () => process.exit(5), () => {});
      if (when === 'in the filter') return undefined;
      const until = Date.now() + 100;
      while (Date.now() < until) { /* the loader is on its way */ }
      return process.exit(5);
    }, {env: ABRUPT, args: [how]});
    assert.deepStrictEqual([ended.code, ended.stderr, ended.timedOut], [5, '', false]);
  });
}

test('a load keeps the loop alive to its end', async () => {
  const ended = await runChild(() => {
    const {recorder: log, open: make} = require('./test/renderer/common');
    log.answer('Kiln_KilnRenderer_loadFiltered', {filter: [['Node', 'a']], delay: 50});
    const renderer = make();
    renderer.loadFiltered('x', () => process.stdout.write('asked '), () => process.stdout.write('after'));
    renderer.close();
  });
  // The renderer is closed: nothing is asked, and the end is told.
  assert.deepStrictEqual([ended.code, ended.stdout, ended.stderr], [0, 'after', '']);
});

// Stacks larger than the address space: no thread can begin any more.
const noThreads = `
  const limit = () => require('child_process').execFileSync('prlimit', ['--pid', String(process.pid),
    '--stack=' + 2 ** 47 + ':unlimited']);`;

test('without a thread the load is refused, and the carrier goes with its worker', async (t) => {
  if (process.platform !== 'linux') return t.skip('prlimit');
  const ended = await runChild((helpers, prelude) => {
    const {Worker} = require('worker_threads');
    const common = require.resolve('./test/renderer/common');
    const {recorder: log} = require('./test/renderer/common');
    const worker = new Worker(`
      const {open} = require(${JSON.stringify(common)});
      ${prelude}
      const renderer = open();
      limit();
      const messages = [() => renderer.loadFiltered('a', () => {}, () => {}),
        () => renderer.appendFromBufferFiltered(Buffer.from('a'), () => {}, () => {}),
        () => renderer.loadFilteredSync('a', () => {}),
        () => renderer.appendFromBufferFilteredSync(Buffer.from('a'), () => {})].map((call) => {
        try {
          call();
          return 'none';
        } catch (error) {
          return error.message;
        }
      });
      require('worker_threads').parentPort.postMessage(messages);
      globalThis.kept = renderer;
      renderer.close();`, {eval: true});
    worker.on('message', async (messages) => {
      process.stdout.write(messages.join('|'));
      // The carrier keeps the worker alive: it has to be ended.
      await new Promise((resolve) => setTimeout(resolve, 50));
      process.stdout.write(`|${worker.threadId > 0}`);
      await worker.terminate();
      process.stdout.write(`|${log.live().handles.length}|${log.count('Kiln_KilnRenderer_loadFiltered')}`);
    });
  }, {args: [noThreads], env: ABRUPT});  // a leak check trips over the threads that could not begin
  const message = 'Cannot create thread internal error!';
  assert.deepStrictEqual([ended.code, ended.stderr], [0, '']);
  assert.strictEqual(ended.stdout, [message, message, message, message, 'true', 0, 0].join('|'));
});

test('without a thread on the main thread the process can still be ended', async (t) => {
  if (process.platform !== 'linux') return t.skip('prlimit');
  const ended = await runChild((helpers, prelude) => {
    const {open: make} = require('./test/renderer/common');
    const renderer = make();
    new Function('require', `${prelude} limit();`)(require);
    try {
      renderer.loadFiltered('a', () => {}, () => {});
    } catch (error) {
      process.stdout.write(error.message);
    }
    setTimeout(() => process.exit(3), 50);
  }, {args: [noThreads], env: ABRUPT});
  assert.deepStrictEqual([ended.code, ended.stderr, ended.stdout], [3, '', 'Cannot create thread internal error!']);
});

test('nothing is left', async () => {
  await until(() => recorder.live().threads === 0);
  await collected();
});
