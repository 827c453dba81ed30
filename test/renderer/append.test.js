'use strict';

// Adding to a scene: from files, texts and Buffers, one or several, with and without a callback; and what each way of
// reading a scene forgets.

const test = require('node:test');
const assert = require('assert');
const {collect, until, sleep} = require('../helpers');
const {recorder, entry, open, collected} = require('./common');

const NO_FILE = 'Argument 0 (fileName: string) should be passed';
const NO_TEXT = 'Argument 0 (sceneText: string) should be passed';
const NO_BUFFERS = 'A buffer array or multiple buffer arguments should be passed';
const NO_BUFFERS_SYNC = 'Argument(s)  (sceneData: buffer) should be passed';

const TEXTS = [
  {method: 'append', name: entry('appendMulti'), message: NO_FILE},
  {method: 'appendAsText', name: entry('appendMultiAsText'), message: NO_TEXT},
];
const APPEND = entry('appendMulti');
const BUFFERS = entry('appendMultiAsBuffer');

let renderer = open();
const {handle} = recorder.live().handles[0];
const appended = (method, ...args) => new Promise((resolve) => renderer[method](...args, (...got) => resolve(got)));
const buffer = (text) => Buffer.from(text);

test.beforeEach(() => {
  recorder.reset();
  recorder.clear();
});

const fails = {toString() { throw new RangeError('no'); }};

for (const {method, name, message} of TEXTS) {
  test(`${method} takes a run of strings or one array, on the pool and on this thread`, async () => {
    for (const [args, texts] of [[['a'], ['a']], [['a', 'b', new String('größe')], ['a', 'b', 'größe']], [[['a', 'b']], ['a', 'b']],
      [[[5, {toString: () => 'made'}, null]], ['5', 'made', 'null']], [['', ''], ['', '']], [[['x'.repeat(100000)]], ['x'.repeat(100000)]]]) {
      assert.deepStrictEqual(await appended(method, ...args), [null]);
      let call = recorder.last(name);
      assert.deepStrictEqual([call.args[0], call.args[1], call.arg.count, call.onJsThread], [handle, texts, texts.length, false]);
      assert.strictEqual(renderer[`${method}Sync`](...args), undefined);
      call = recorder.last(name);
      assert.deepStrictEqual([call.args[0], call.args[1], call.arg.count, call.onJsThread], [handle, texts, texts.length, true]);
    }
  });

  test(`${method} ends its run at the first other value`, async () => {
    renderer[method]('a', 5, 'b');
    await until(() => recorder.count(name) === 1);
    renderer[`${method}Sync`]('a', {}, 'b');
    renderer[`${method}Sync`](['c'], 'd');
    assert.deepStrictEqual(recorder.calls(name).map((call) => call.args[1]), [['a'], ['a'], ['c']]);
  });

  test(`${method} refuses an empty run and an empty array`, () => {
    for (const args of [[], [[]], [5], [undefined], [null, 'a'], [{}], [buffer('a')], [Symbol('a')]]) {
      assert.throws(() => renderer[method](...args), {name: 'Error', message});
      assert.throws(() => renderer[method](...args, () => {}), {name: 'Error', message});
      assert.throws(() => renderer[`${method}Sync`](...args), {name: 'Error', message});
    }
    assert.deepStrictEqual(recorder.names(), []);
  });

  test(`${method} leaves the exception of a conversion alone`, () => {
    for (const args of [[['a', fails]], [Object.assign(new String('a'), fails)], ['a', Object.assign(new String('b'), fails)]]) {
      assert.throws(() => renderer[method](...args, () => {}), {name: 'RangeError', message: 'no'});
      assert.throws(() => renderer[`${method}Sync`](...args), {name: 'RangeError', message: 'no'});
    }
    assert.throws(() => renderer[method](['a', Symbol('b')]), TypeError);
    assert.deepStrictEqual(recorder.names(), []);
  });

  test(`${method} without a callback runs, and a failure goes unnoticed`, async () => {
    recorder.once(name, -1, 2);
    for (const args of [['a'], [['a', 'b']]]) assert.strictEqual(renderer[method](...args), undefined);
    await until(() => recorder.count(name) === 2);
    assert.deepStrictEqual(await appended(method, 'b'), [null]);
  });

  test(`a failure of ${method} is the last error's text`, async () => {
    recorder.answer(name, 1);
    recorder.answer(entry('getLastErrorCode'), 4);
    recorder.answer('Kiln_getErrorTextStringFromErrorCode', 'Bad größe');
    const [error, ...more] = await appended(method, 'a');
    assert.deepStrictEqual([error.constructor, error.message, more], [Error, 'Bad größe', []]);
    assert.throws(() => renderer[`${method}Sync`]('a'), {name: 'Error', message: 'Bad größe'});
    recorder.answer('Kiln_getErrorTextStringFromErrorCode', null);
    assert.strictEqual((await appended(method, 'a'))[0].message, '');
  });

  test(`an array's element that closes the renderer leaves ${method} a null handle`, async () => {
    for (const sync of [false, true]) {
      const own = open();
      recorder.clear();
      const element = {toString() { own.close(); return 'a'; }};
      if (sync) {
        own[`${method}Sync`]([element]);
      } else {
        await new Promise((resolve) => own[method]([element], resolve));
      }
      const call = recorder.last(name);
      assert.deepStrictEqual([call.args[0], call.stale], [0n, false]);
    }
  });
}

test('the flag of append is the value behind the strings and the callback', async () => {
  const flag = async (...args) => {
    const before = recorder.count(APPEND);
    renderer.append(...args);
    await until(() => recorder.count(APPEND) === before + 1);
    return recorder.last(APPEND).arg.flag;
  };
  const call = () => {};
  for (const [args, expected] of [[['a'], 0], [['a', call], 0], [['a', call, true], 1], [['a', 'b', call, 1], 1],
    [[['a'], call, {}], 1], [['a', call, 'x'], 1], [['a', call, 0], 0], [['a', call, null], 0], [['a', true], 1],
    [['a', false], 0], [[['a'], true], 1], [['a', {}, call], 1], [['a', call, call], 1], [[['a'], undefined, true], 0]]) {
    assert.strictEqual(await flag(...args), expected);
  }
});

test('the flag of appendSync is the argument right behind the strings', () => {
  for (const [args, expected] of [[['a'], 0], [['a', true], 1], [[['a', 'b'], 1], 1], [['a', () => {}], 1], [['a', () => {}, true], 1],
    [['a', 0], 0], [['a', null, true], 0], [['a', {}], 1]]) {
    renderer.appendSync(...args);
    assert.strictEqual(recorder.last(APPEND).arg.flag, expected);
  }
});

test('appendFromBuffer takes a run of Buffers or one array', async () => {
  const all = [buffer('first'), new Uint8Array([1, 2, 3]), buffer('')];
  for (const args of [all, [all]]) {
    assert.deepStrictEqual(await appended('appendFromBuffer', ...args), [null]);
    renderer.appendFromBufferSync(...args);
    const calls = recorder.calls(BUFFERS).slice(-2);
    assert.deepStrictEqual(calls.map((call) => call.onJsThread), [false, true]);
    for (const call of calls) {
      assert.deepStrictEqual([call.args[0], call.arg.count], [handle, 3]);
      assert.deepStrictEqual(call.args[1].map((one) => one.size), [5n, 3n, 0n]);
      assert.ok(call.args[1].every((one) => one.release !== 0n && one.user !== 0n));
    }
  }
  renderer.appendFromBufferSync(all[0], 5, all[1]);
  assert.strictEqual(recorder.last(BUFFERS).arg.count, 1);
});

test('appendFromBuffer refuses an array with anything else in it', () => {
  const some = buffer('a');
  for (const args of [[], [[]], [[some, 5]], [[5, some]], [[some, 'a']], [5], ['a'], [{}], [[[some]]], [new ArrayBuffer(4)]]) {
    assert.throws(() => renderer.appendFromBuffer(...args), {name: 'Error', message: NO_BUFFERS});
    assert.throws(() => renderer.appendFromBuffer(...args, () => {}), {name: 'Error', message: NO_BUFFERS});
    assert.throws(() => renderer.appendFromBufferSync(...args), {name: 'Error', message: NO_BUFFERS_SYNC});
  }
  const array = [some];
  Object.defineProperty(array, 1, {get() { throw new RangeError('no'); }});
  assert.throws(() => renderer.appendFromBuffer(array), {name: 'RangeError', message: 'no'});
  assert.throws(() => renderer.appendFromBufferSync(array), {name: 'RangeError', message: 'no'});
  assert.deepStrictEqual(recorder.names(), []);
});

test('Buffers live until the SDK lets them go, and not longer', async () => {
  for (const sync of [false, true]) {
    recorder.once(BUFFERS, {keep: true});
    const weak = await (async () => {
      const all = [Buffer.from(new ArrayBuffer(64)), Buffer.from(new ArrayBuffer(64))];
      if (sync) {
        renderer.appendFromBufferSync(all);
      } else {
        await appended('appendFromBuffer', ...all);
      }
      return all.map((one) => new WeakRef(one));
    })();
    await sleep(1);
    assert.ok(weak.every((one) => one.deref() !== undefined));
    assert.strictEqual(await recorder.releaseKept({thread: sync}), 2);
    await sleep(1);
    await collect(() => weak.every((one) => one.deref() === undefined));
  }
});

test('a failure from Buffers is told as the others are', async () => {
  recorder.answer(BUFFERS, 1);
  recorder.answer(entry('getLastErrorCode'), 0);
  const message = 'Error loading scene file or file not found.';
  assert.strictEqual((await appended('appendFromBuffer', buffer('a')))[0].message, message);
  assert.throws(() => renderer.appendFromBufferSync(buffer('a')), {name: 'Error', message});
});

test('what replaces the scene forgets its plugins, before it refuses anything', () => {
  recorder.answer(entry('getPluginID'), 7n);
  const forgets = (method, ...args) => {
    const plugin = renderer.plugins.a;
    assert.strictEqual(renderer.plugins.a, plugin);
    try {
      renderer[method](...args);
    } catch (error) {
      assert.match(error.message, /should be passed/);
    }
    return renderer.plugins.a !== plugin;
  };
  for (const [method, good] of [['load', 'a'], ['loadAsText', 'a'], ['loadSync', 'a'], ['loadAsTextSync', 'a'],
    ['loadFromBufferSync', buffer('a')]]) {
    assert.ok(forgets(method), method);
    assert.ok(forgets(method, 5), method);
    assert.ok(forgets(method, good), method);
  }
  // This one looks at its argument first.
  assert.ok(!forgets('loadFromBuffer'));
  assert.ok(!forgets('loadFromBuffer', 5));
  assert.ok(forgets('loadFromBuffer', buffer('a')));
  for (const method of ['append', 'appendAsText', 'appendSync', 'appendAsTextSync']) {
    assert.ok(!forgets(method), method);
    assert.ok(!forgets(method, 'a'), method);
  }
  for (const method of ['appendFromBuffer', 'appendFromBufferSync']) assert.ok(!forgets(method, buffer('a')), method);
});

test('classes are kept by all of them', () => {
  recorder.answer(entry('pluginClassExists'), 'Node');
  const own = renderer.classes.Node;
  renderer.loadSync('a');
  renderer.loadFilteredSync('a', () => true);
  renderer.appendSync('a');
  assert.strictEqual(renderer.classes.Node, own);
});

test('members of a closed renderer pass a null handle', async () => {
  // Jobs of earlier tests may still be on their way.
  const others = recorder.live().handles.map((one) => one.handle);
  const own = open();
  own.close();
  recorder.clear();
  own.appendSync('a');
  own.appendAsTextSync('a');
  own.appendFromBufferSync(buffer('a'));
  await new Promise((resolve) => own.append('a', resolve));
  await new Promise((resolve) => own.appendAsText('a', resolve));
  await new Promise((resolve) => own.appendFromBuffer(buffer('a'), resolve));
  const calls = recorder.calls().filter((call) => call.name.startsWith(entry('append')) && !others.includes(call.args[0]));
  assert.deepStrictEqual([calls.length, calls.every((call) => call.args[0] === 0n)], [6, true]);
});

test('nothing is left', async () => {
  renderer.close();
  renderer = null;
  await collected();
});
