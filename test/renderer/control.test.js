'use strict';

// Starting and stopping a render, waiting for its end, commits, pictures, the clearing of the scene.

const test = require('node:test');
const assert = require('assert');
const {kiln, recorder, entry, open, collected} = require('./common');

const renderer = open();
const {handle} = recorder.live().handles[0];
const called = (method, ...args) => new Promise((resolve) => {
  assert.strictEqual(renderer[method](...args, function (...got) {
    assert.strictEqual(this, renderer);
    resolve(got);
  }), undefined);
});

test.beforeEach(() => recorder.clear());

for (const method of ['start', 'render']) {
  test(`${method} without a function renders on this thread`, () => {
    for (const args of [[], [undefined], [null], [5], [{}], ['x']]) {
      recorder.clear();
      assert.strictEqual(renderer[method](...args), undefined);
      const calls = recorder.calls();
      assert.deepStrictEqual(calls.map((call) => [call.name, call.args[0], call.onJsThread]),
        [[entry('render'), handle, true]]);
    }
  });

  test(`${method} with a callback prepares on the pool`, async () => {
    assert.deepStrictEqual(await called(method), [null]);
    const [call, ...more] = recorder.calls();
    assert.deepStrictEqual([call.name, call.args[0], call.onJsThread, more.length], [entry('startSync'), handle, false, 0]);
    for (const result of [1, -1, 77]) {
      recorder.once(entry('startSync'), result);
      const [error, ...rest] = await called(method);
      assert.ok(error instanceof Error && /preparation/.test(error.message));
      assert.strictEqual(rest.length, 0);
    }
  });
}

test('startSync answers the SDK\'s number', () => {
  for (const result of [0, 1, -1, 0x7FFFFFFF, -0x80000000]) {
    recorder.once(entry('startSync'), result);
    assert.strictEqual(renderer.startSync(() => {}), result);
    assert.ok(recorder.last(entry('startSync')).onJsThread);
  }
});

test('stop blocks without a function, and with one runs on the pool and tells nothing', async () => {
  for (const args of [[], [5], [null]]) {
    recorder.clear();
    assert.strictEqual(renderer.stop(...args), undefined);
    assert.ok(recorder.last(entry('stop')).onJsThread);
  }
  assert.deepStrictEqual(await called('stop'), []);
  assert.strictEqual(recorder.last(entry('stop')).onJsThread, false);
});

test('waitForRenderEnd takes its timeout from argument 0', async () => {
  const waited = async (...args) => {
    recorder.clear();
    const got = await new Promise((resolve) => {
      renderer.waitForRenderEnd(...args.map((one) => one === 'cb' ? (...given) => resolve(given) : one));
    });
    const call = recorder.last(entry('waitRenderEnd'));
    assert.deepStrictEqual([call.args[0], call.onJsThread], [handle, false]);
    return [call.args[1], ...got];
  };
  recorder.answer(entry('waitRenderEnd'), 1);
  for (const [args, timeout] of [[['cb'], -1], [[500, 'cb'], 500], [['cb', 500], 0], [[0, 'cb'], 0], [[-7, 'cb'], -7],
    [[2.9, 'cb'], 2], [[2 ** 32 + 3, 'cb'], 3], [['500', 'cb'], -1], [[null, 'cb'], -1], [[{}, 'cb'], -1],
    [[NaN, 'cb'], 0], [['cb', '500'], -1]]) {
    assert.deepStrictEqual(await waited(...args), [timeout, true]);
  }
  for (const [result, expected] of [[0, false], [-1, true], [1, true]]) {
    recorder.answer(entry('waitRenderEnd'), result);
    assert.deepStrictEqual(await waited('cb'), [-1, expected]);
  }
  recorder.reset();
});

test('of two functions waitForRenderEnd calls the first', async () => {
  await new Promise((resolve) => renderer.waitForRenderEnd(resolve, () => assert.fail('the second')));
});

test('waitForRenderEnd wants a callback, and leaves the exception of a conversion alone', () => {
  const message = 'Argument 0 or 1 must be a callback function and should be passed';
  for (const args of [[], [5], [5, 5], [{}, {}], [5, 5, () => {}], [null]]) {
    assert.throws(() => renderer.waitForRenderEnd(...args), {name: 'Error', message});
  }
  const callback = Object.assign(() => {}, {valueOf() { throw new RangeError('no'); }});
  assert.throws(() => renderer.waitForRenderEnd(callback, 5), {name: 'RangeError', message: 'no'});
  assert.deepStrictEqual(recorder.names(), []);
});

test('commit answers the unsigned change index', () => {
  for (const [index, expected] of [[0n, 0], [1n, 1], [2n ** 32n, 2 ** 32], [2n ** 53n - 1n, 2 ** 53 - 1],
    [2n ** 63n, 2 ** 63], [2n ** 64n - 1n, 2 ** 64]]) {
    recorder.once(entry('commit'), index);
    assert.strictEqual(renderer.commit(true), expected);
    const {args, onJsThread} = recorder.last(entry('commit'));
    assert.deepStrictEqual([args, onJsThread], [[handle, 0], true]);
  }
});

test('clearScene is true for the SDK\'s 0', () => {
  for (const [result, expected] of [[0, true], [1, false], [-1, false]]) {
    recorder.once(entry('clearScene'), result);
    assert.strictEqual(renderer.clearScene(), expected);
  }
});

const picture = (...args) => {
  recorder.clear();
  renderer.getImage(...args);
  return recorder.last(entry('getImage')).arg.options;
};
const NONE = {left: 0, top: 0, right: 0, bottom: 0, doColorCorrect: 0, stripAlpha: 0, flipImage: 0};

test('getImage without an object passes null', () => {
  for (const args of [[], [undefined], [null], [5], ['x'], [true]]) assert.strictEqual(picture(...args), null);
});

test('getImage reads its keys', () => {
  for (const [options, expected] of [[{}, {}], [() => {}, {}], [{left: 10, width: 0}, {left: 10}],
    [{left: 10, top: 20, width: 30, height: 40}, {left: 10, top: 20, right: 40, bottom: 60}],
    [{left: -10, width: 5}, {left: -10, right: -5}], [{left: '3', width: '4'}, {left: 3, right: 7}],
    [{width: 2.9, height: null}, {right: 2}], [{left: 0x7FFFFFFF, width: 1}, {left: 0x7FFFFFFF, right: -0x80000000}],
    [{doColorCorrect: true}, {doColorCorrect: 1}], [{stripAlpha: 'x'}, {stripAlpha: 1}], [{flipImage: {}}, {flipImage: 1}],
    [{doColorCorrect: null, stripAlpha: undefined, flipImage: 0}, {}],
    [Object.create({left: 5, flipImage: 1}), {left: 5, flipImage: 1}]]) {
    assert.deepStrictEqual({...picture(options)}, {...NONE, ...expected});
  }
});

test('getImage throws what a key throws, without a picture', () => {
  for (const key of Object.keys({left: 0, top: 0, width: 0, height: 0, doColorCorrect: 0, stripAlpha: 0, flipImage: 0})) {
    const options = {get [key]() { throw new RangeError(key); }};
    recorder.clear();
    assert.throws(() => renderer.getImage(options), {name: 'RangeError', message: key});
    assert.strictEqual(recorder.count(entry('getImage')), 0);
  }
  assert.throws(() => renderer.getImage({left: Symbol('x'), width: 3n, height: {valueOf() { throw new Error('x'); }}}));
});

test('a key that closes the renderer leaves getImage a null handle', () => {
  const own = open();
  recorder.clear();
  own.getImage({get left() { own.close(); return 1; }});
  const call = recorder.last(entry('getImage'));
  assert.deepStrictEqual([call.args[0], call.stale], [0n, false]);
});

test('getImage answers a KilnImage that owns the picture, or undefined', async () => {
  recorder.once(entry('getImage'), {width: 4, height: 3});
  const image = renderer.getImage();
  assert.ok(image instanceof kiln.KilnImage);
  assert.deepStrictEqual([image.width, image.height, image.x, image.y, image.host], [4, 3, undefined, undefined, undefined]);
  image.close();
  recorder.once(entry('getImage'), {width: 4, height: 3}, 20);
  for (let i = 0; i < 20; ++i) renderer.getImage({});
  recorder.once(entry('getImage'), null);
  assert.strictEqual(renderer.getImage(), undefined);
});

test('nothing is left', async () => {
  renderer.close();
  await collected();
});
