'use strict';

// Loads with a filter: what it is asked, what its answers mean, in all ten members.

const test = require('node:test');
const assert = require('assert');
const {forceGc, collect, until, sleep} = require('../helpers');
const {recorder, entry, setter, open, turn, collected} = require('./common');

const TEXTS = 'A string array or multiple string arguments';
const BUFFERS = 'A buffer array or multiple buffer arguments';
const LOAD = 'Argument 0 (string - file name/scene content)';
const NO_ASYNC = ', a plugin filter callback function and an after load callback function should be passed';
const NO_SYNC = ' and a plugin filter callback function should be passed';
const LOAD_ASYNC = `${LOAD}, argument 1 (a plugin filter callback function), and argument 2 (an after load callback ` +
  'function) should be passed';
const LOAD_SYNC = `${LOAD}, and argument 1 (a callback function) should be passed`;

// The member without its suffix, the entry point, what it takes, the messages of both forms.
const FAMILY = [
  ['loadFiltered', 'loadFiltered', 'text', LOAD_ASYNC, LOAD_SYNC],
  ['loadAsTextFiltered', 'loadAsTextFiltered', 'text', LOAD_ASYNC, LOAD_SYNC],
  ['appendFiltered', 'appendMultiFiltered', 'texts', TEXTS + NO_ASYNC, TEXTS + NO_SYNC],
  ['appendAsTextFiltered', 'appendMultiAsTextFiltered', 'texts', TEXTS + NO_ASYNC, TEXTS + NO_SYNC],
  ['appendFromBufferFiltered', 'appendMultiAsBufferFiltered', 'buffers', BUFFERS + NO_ASYNC, BUFFERS + NO_SYNC],
].map(([method, name, takes, asyncMessage, syncMessage]) => ({method, name: entry(name), takes, asyncMessage, syncMessage}));

const buffer = (text) => Buffer.from(text);
const operand = ({takes}, text = 'a') => takes === 'buffers' ? buffer(text) : text;

let renderer = open();
const run = (method, ...args) => new Promise((resolve, reject) => {
  renderer[method](...args, function (...got) {
    if (this === renderer) resolve(got);
    else reject(new Error('The receiver of the callback is not the renderer.'));
  });
});

test.beforeEach(() => {
  recorder.reset();
  recorder.clear();
});

// What the filter answers, and what becomes of the plugin `Node`, "old".
const ANSWERS = [
  [true, 'kept'], [1, 'kept'], [{}, 'kept'], [[], 'kept'], [Symbol('x'), 'kept'], [() => {}, 'kept'], [3n, 'kept'],
  ['old', 'kept'], [new String('old'), 'kept'], [new Boolean(false), 'kept'],
  [false, 'left out'], [0, 'left out'], ['', 'left out'], [undefined, 'left out'], [null, 'left out'],
  [NaN, 'left out'], [0n, 'left out'],
  ['new', 'renamed', 'new'], [new String('boxed'), 'renamed', 'boxed'], [new String(''), 'renamed', ''],
  ['größe 日本', 'renamed', 'größe 日本'], ['x'.repeat(5000), 'renamed', 'x'.repeat(5000)], ['a\0b', 'renamed', 'a'],
  [Object.assign(new String('s'), {toString: () => 'made'}), 'renamed', 'made'],
];

for (const member of FAMILY) {
  const {method, name} = member;

  test(`${method} asks for every plugin on this thread, while the load runs on one of its own`, async () => {
    recorder.once(name, {filter: [['Node', 'a'], ['Light', 'b größe'], ['', '']]});
    const asked = [];
    const got = await run(method, operand(member), function (...args) {
      assert.strictEqual(this, renderer);
      asked.push(args);
      return true;
    });
    assert.deepStrictEqual(got, [null]);
    assert.deepStrictEqual(asked, [['Node', 'a'], ['Light', 'b größe'], ['', '']]);
    const call = recorder.last(name);
    assert.strictEqual(call.onJsThread, false);
    assert.strictEqual(call.args[0], recorder.live().handles[0].handle);
    assert.deepStrictEqual(call.filter.map((step) => step.outcome), ['kept', 'kept', 'kept']);
  });

  test(`${method}Sync asks for every plugin before it returns`, () => {
    recorder.once(name, {filter: [['Node', 'a'], ['Light', 'b']]});
    const asked = [];
    assert.strictEqual(renderer[`${method}Sync`](operand(member), function (...args) {
      assert.strictEqual(this, renderer);
      asked.push(args);
      return args[1] === 'b' ? 'c' : false;
    }), undefined);
    assert.deepStrictEqual(asked, [['Node', 'a'], ['Light', 'b']]);
    const call = recorder.last(name);
    assert.strictEqual(call.onJsThread, false);
    assert.deepStrictEqual(call.filter.map((step) => [step.outcome, step.name]), [['left out', ''], ['renamed', 'c']]);
  });

  test(`${method}: what each answer means`, async () => {
    recorder.answer(name, {filter: [['Node', 'old']]});
    for (const [answer, outcome, renamed = ''] of ANSWERS) {
      for (const sync of [false, true]) {
        if (sync) {
          renderer[`${method}Sync`](operand(member), () => answer);
        } else {
          await run(method, operand(member), () => answer);
        }
        const [step] = recorder.last(name).filter;
        assert.deepStrictEqual([step.outcome, step.name], [outcome, renamed], String(answer));
      }
    }
    const renames = ANSWERS.filter(([, outcome]) => outcome === 'renamed').length;
    assert.strictEqual(recorder.count('C_memory_alloc'), 2 * renames);
    assert.strictEqual(recorder.live().blocks.length, 0);
  });

  test(`${method} refuses what lacks an argument`, () => {
    const some = operand(member);
    const call = () => {};
    for (const args of [[], [some], [some, call], [call, call], [some, 5, call], [some, call, 5], [some, call, null],
      [5, call, call], [undefined, call, call], [[], call], [{}, call, call]]) {
      assert.throws(() => renderer[method](...args), {name: 'Error', message: member.asyncMessage});
    }
    for (const args of [[], [some], [call], [call, call], [some, 5], [some, null], [5, call], [[], call], [[some]]]) {
      assert.throws(() => renderer[`${method}Sync`](...args), {name: 'Error', message: member.syncMessage});
    }
    assert.deepStrictEqual(recorder.names(), []);
  });

  test(`a failure of ${method} is told behind the load`, async () => {
    recorder.answer(name, {result: 1, filter: [['Node', 'a']]});
    recorder.answer(entry('getLastErrorCode'), 10);
    recorder.answer('Kiln_getErrorTextStringFromErrorCode', 'Error parsing.');
    recorder.answer(entry('getLastParserErrorText'), 'unexpected end');
    recorder.answer(entry('getLastParserErrorFileName'), 'a');
    recorder.answer(entry('getLastParserErrorFileLine'), 12);
    const message = 'Error parsing. File "a" at line 12: unexpected end.';
    const [error, ...more] = await run(method, operand(member), () => true);
    assert.ok(error instanceof Error);
    assert.deepStrictEqual([error.message, more], [message, []]);
    assert.throws(() => renderer[`${method}Sync`](operand(member), () => true), {name: 'Error', message});
    recorder.answer(entry('getLastErrorCode'), 0);
    const [plain] = await run(method, operand(member), () => true);
    assert.strictEqual(plain.message, 'Error loading scene file or file not found.');
  });
}

for (const method of ['loadFiltered', 'loadAsTextFiltered']) {
  test(`${method} takes a primitive string alone`, async () => {
    const call = () => {};
    for (const value of [new String('a'), ['a'], 5, buffer('a')]) {
      assert.throws(() => renderer[method](value, call, call), {name: 'Error', message: LOAD_ASYNC});
      assert.throws(() => renderer[`${method}Sync`](value, call), {name: 'Error', message: LOAD_SYNC});
    }
    assert.throws(() => renderer[method]('a', 'b', call, call), {name: 'Error', message: LOAD_ASYNC});
    await run(method, 'größe', call);
    renderer[`${method}Sync`]('x'.repeat(300000), call);
    const texts = recorder.calls(entry(method)).map((one) => one.args[1]);
    assert.deepStrictEqual(texts, ['größe', 'x'.repeat(300000)]);
  });
}

for (const {method, name} of FAMILY.filter((one) => one.takes === 'texts')) {
  test(`${method} takes a run of strings or one array`, async () => {
    const shapes = [[['a'], ['a']], [['a', new String('b')], ['a', 'b']], [[['a', 5, {toString: () => 'c'}]], ['a', '5', 'c']],
      [['', ''], ['', '']]];
    for (const [args, texts] of shapes) {
      await run(method, ...args, () => {});
      renderer[`${method}Sync`](...args, () => {});
      const calls = recorder.calls(name).slice(-2);
      assert.deepStrictEqual(calls.map((call) => [call.arg.count, call.args[1]]), [[texts.length, texts], [texts.length, texts]]);
    }
    const fails = {toString() { throw new RangeError('no'); }};
    recorder.clear();
    assert.throws(() => renderer[method](['a', fails], () => {}, () => {}), {name: 'RangeError', message: 'no'});
    assert.throws(() => renderer[`${method}Sync`](['a', fails], () => {}), {name: 'RangeError', message: 'no'});
    assert.deepStrictEqual(recorder.names(), []);
  });
}

test('Buffers are passed by their memory and let go by the SDK', async () => {
  const all = ['first', 'second'].map((text) => Buffer.from(text));
  const name = entry('appendMultiAsBufferFiltered');
  for (const args of [all, [all]]) {
    await run('appendFromBufferFiltered', ...args, () => {});
    renderer.appendFromBufferFilteredSync(...args, () => {});
    for (const call of recorder.calls(name).slice(-2)) {
      assert.strictEqual(call.arg.count, 2);
      assert.deepStrictEqual(call.args[1].map((one) => one.size), [5n, 6n]);
      assert.ok(call.args[1].every((one) => one.release !== 0n && one.user !== 0n));
    }
  }
});

test('Buffers of a call that is refused are let go', async () => {
  const refused = Array.from({length: 50}, () => {
    const one = Buffer.from(new ArrayBuffer(512));
    assert.throws(() => renderer.appendFromBufferFiltered(one, 5));
    assert.throws(() => renderer.appendFromBufferFilteredSync([one], 5));
    return new WeakRef(one);
  });
  await sleep(1);
  await collect(() => refused.every((one) => one.deref() === undefined));
});

test('a load with a filter forgets the plugins that were handed out, whatever its arguments', async () => {
  recorder.answer(entry('getPluginID'), 7n);
  const own = open();
  for (const method of ['loadFiltered', 'loadAsTextFiltered', 'loadFilteredSync', 'loadAsTextFilteredSync']) {
    const plugin = own.plugins.a;
    assert.strictEqual(own.plugins.a, plugin);
    assert.throws(() => own[method]());
    assert.notStrictEqual(own.plugins.a, plugin, method);
  }
  for (const method of ['appendFiltered', 'appendFilteredSync', 'appendFromBufferFilteredSync']) {
    const plugin = own.plugins.a;
    assert.throws(() => own[method]());
    assert.strictEqual(own.plugins.a, plugin, method);
  }
  own.close();
});

test('a name that is no text keeps the plugin unasked, and the load goes on', async () => {
  const filter = [[null, 'a'], ['Node', 'b']];
  for (const member of FAMILY) {
    const {method, name} = member;
    for (const sync of [false, true]) {
      recorder.once(name, {filter});
      const asked = [];
      const leaveOut = (...names) => void asked.push(names);
      if (sync) {
        renderer[`${method}Sync`](operand(member), leaveOut);
      } else {
        assert.deepStrictEqual(await run(method, operand(member), leaveOut), [null]);
      }
      assert.deepStrictEqual(asked, [['Node', 'b']]);
      assert.deepStrictEqual(recorder.last(name).filter.map((step) => step.outcome), ['kept', 'left out']);
    }
  }
});

test('the loop is served while a load waits, and other loads too', async () => {
  const gate = recorder.gate('load');
  recorder.once(entry('loadFiltered'), {gate, filter: [['Node', 'a']]});
  turn(renderer, 7, true);
  const first = run('loadFiltered', 'a', () => true);
  await until(() => gate.waiting() === 1);
  await recorder.raise(setter('Progress'), {message: 'half'});
  assert.strictEqual(renderer.events.pop()[1], 'half');
  turn(renderer, 7, false);
  recorder.once(entry('appendMultiFiltered'), {filter: [['Node', 'b']]});
  const asked = [];
  await run('appendFiltered', 'b', (...names) => asked.push(names));
  renderer.appendAsTextFilteredSync('c', () => true);
  assert.deepStrictEqual(asked, [['Node', 'b']]);
  gate.open();
  await first;
  gate.close();
});

test('ten loads at once, a thousand plugins each, under collections', async () => {
  const filter = Array.from({length: 1000}, (_, i) => ['Node', `n${i}`]);
  recorder.answer(entry('appendMultiFiltered'), {filter});
  let asked = 0;
  await Promise.all(Array.from({length: 10}, () => run('appendFiltered', 'a', (type, name) => {
    asked++;
    if (asked % 1000 === 0) forceGc();
    return `${name}x`;
  })));
  assert.strictEqual(asked, 10000);
  for (const call of recorder.calls(entry('appendMultiFiltered'))) {
    assert.ok(call.filter.every((step, i) => step.name === `n${i}x`));
  }
  asked = 0;
  renderer.appendFilteredSync('a', () => { asked++; });
  assert.strictEqual(asked, 1000);
  assert.strictEqual(recorder.live().blocks.length, 0);
});

test('a load keeps its renderer and its functions alive', async () => {
  const gate = recorder.gate('load');
  recorder.once(entry('loadFiltered'), {gate, filter: [['Node', 'a']]});
  const before = recorder.count(entry('release'));
  let asked = 0;
  const done = (() => {
    const own = open();
    return new Promise((resolve) => own.loadFiltered('a', () => { asked++; }, resolve));
  })();
  for (let i = 0; i < 5; ++i) {
    forceGc();
    await sleep(2);
  }
  assert.strictEqual(recorder.count(entry('release')), before);
  gate.open();
  await done;
  assert.strictEqual(asked, 1);
  await collect(() => recorder.count(entry('release')) === before + 1);
  gate.close();
});

test('a String object as an answer whose conversion throws keeps the plugin', () => {
  recorder.answer(entry('loadFiltered'), {filter: [['Node', 'a']]});
  const answer = Object.assign(new String('s'), {toString() { throw new RangeError('no'); }});
  assert.throws(() => renderer.loadFilteredSync('a', () => answer), {name: 'RangeError', message: 'no'});
  assert.strictEqual(recorder.last(entry('loadFiltered')).filter[0].outcome, 'kept');
});

test('without memory for a new name the plugin is kept', async () => {
  recorder.answer(entry('loadFiltered'), {filter: [['Node', 'a']]});
  recorder.failAllocations(0, 1);
  renderer.loadFilteredSync('a', () => 'b');
  assert.strictEqual(recorder.last(entry('loadFiltered')).filter[0].outcome, 'kept');
});

test('nothing is left', async () => {
  renderer.close();
  renderer = null;
  await collected();
});
