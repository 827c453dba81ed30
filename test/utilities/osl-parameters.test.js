'use strict';

const test = require('node:test');
const assert = require('assert');
const {loadNative, recorder, mustCall, collect} = require('../helpers');

const {getOSLParameters, getOSLParametersSync, Color, Vector} = loadNative();
const ENTRY = 'Kiln_getOSLParameters';
const ERROR_TEXT = 'Kiln_getErrorTextStringFromErrorCode';
const blocks = () => recorder.live().blocks.length;

const int = (value) => Buffer.from(Int32Array.of(value).buffer);
const floats = (...values) => Buffer.from(Float32Array.from(values).buffer);
const text = (value) => {
  const bytes = Buffer.from(value);
  return Buffer.concat([int(bytes.length), bytes, Buffer.alloc(((bytes.length + 4) & ~3) - bytes.length)]);
};
const entry = (name, type, payload = Buffer.alloc(0)) => Buffer.concat([text(name), int(type), payload]);
const describe = (entries, count = entries.length) => Buffer.concat([int(count), ...entries]);
const answer = (block, code = 0) => recorder.once(ENTRY, {result: code, out: {description: block, size: block ? block.length : 0}});
const read = (block) => {
  answer(block);
  return getOSLParametersSync('a.osl');
};
const inBackground = (...args) => new Promise((resolve) => {
  getOSLParameters(...args, mustCall((...results) => resolve(results)));
});

const ALL = describe([
  entry('odd', 0), entry('count', 1, int(-7)), entry('on', 2, int(5)), entry('off', 2, int(0)), entry('x', 3, floats(1.5)),
  entry('größe', 4, text('wert')), entry('empty', 4, text('')), entry('map', 5), entry('tint', 6, floats(1, 0.5, 0)),
  entry('axis', 7, floats(0, 1, 2)), entry('closure', 8), entry('out', 9), entry('depth', 10), entry('later', 11),
  entry('four', 4, text('abcd')), entry('last', 0xFFFF),
]);

test('every type', () => {
  const result = read(ALL);
  assert.strictEqual(recorder.last(ENTRY).args[0], 'a.osl');
  assert.deepStrictEqual(Object.keys(result), ['outputColorParams', 'outputFloatParams', 'outputClosureParams', 'inputParams']);
  assert.deepStrictEqual(result.outputColorParams, ['out']);
  assert.deepStrictEqual(result.outputFloatParams, ['depth']);
  assert.deepStrictEqual(result.outputClosureParams, ['closure']);
  const plain = result.inputParams.map((input) => {
    assert.deepStrictEqual(Object.keys(input), ['name', 'type', 'defaultValue']);
    const {name, type, defaultValue} = input;
    return [name, type, defaultValue instanceof Color || defaultValue instanceof Vector ? String(defaultValue) : defaultValue];
  });
  assert.deepStrictEqual(plain, [['odd', 'Unsupported', null], ['count', 'Int', -7], ['on', 'Boolean', true],
    ['off', 'Boolean', false], ['x', 'Float', 1.5], ['größe', 'String', 'wert'], ['empty', 'String', ''],
    ['map', 'Texture', null], ['tint', 'Color', String(new Color(1, 0.5, 0))], ['axis', 'Vector', String(new Vector(0, 1, 2))],
    ['four', 'String', 'abcd']]);
  assert.strictEqual(blocks(), 0);
});

test('an empty description is null', async () => {
  for (const block of [null, Buffer.alloc(0)]) {
    assert.strictEqual(read(block), null);
    answer(block);
    assert.deepStrictEqual(await inBackground('a.osl'), [null, null]);
  }
  assert.deepStrictEqual(read(int(0)).inputParams, []);
  await collect(() => blocks() === 0);
});

test('a failure has the SDK\'s text, and the block goes back all the same', async () => {
  recorder.answer(ERROR_TEXT, {text: 'No such shader'});
  answer(ALL, 4);
  assert.throws(() => getOSLParametersSync('a'), {name: 'Error', message: 'No such shader'});
  assert.strictEqual(recorder.last(ERROR_TEXT).args[0], 4);
  answer(null, 4);
  const [error, value] = await inBackground('a');
  assert.deepStrictEqual([error.message, value], ['No such shader', null]);
  assert.strictEqual(recorder.last(ENTRY).onJsThread, false);
  recorder.reset(ERROR_TEXT);
  assert.strictEqual(blocks(), 0);
});

test('a description that is cut anywhere, or whose lengths lie, is an error', async () => {
  const message = 'The description of the shader\'s parameters is broken';
  recorder.protect();
  for (let size = 1; size < ALL.length; ++size) {
    assert.throws(() => read(ALL.subarray(0, size)), {name: 'Error', message}, String(size));
  }
  for (const bad of [int(-1), int(2 ** 31 - 1), describe([], 1), describe([int(-1)]), describe([int(2 ** 31 - 1)]),
    describe([Buffer.concat([text('a'), int(4), int(-1)])]), describe([Buffer.concat([text('a'), int(4), int(0x7FFFFFFF)])])]) {
    assert.throws(() => read(bad), {message});
  }
  answer(int(5));
  assert.deepStrictEqual((await inBackground('a')).map(String), [`Error: ${message}`, 'null']);
  recorder.protect(false);
  await collect(() => blocks() === 0);
});

test('any bytes are read within their block', () => {
  let seed = 7;
  const random = (n) => (seed = (Math.imul(seed, 48271) >>> 0) % 0x7FFFFFFF) % n;
  recorder.protect();
  for (let i = 0; i < 500; ++i) {
    const block = Buffer.from(ALL);
    for (let j = 0; j < 1 + random(4); ++j) block[random(block.length)] = random(256);
    try {
      read(block);
    } catch (error) {
      assert.match(error.message, /broken/);
    }
  }
  recorder.protect(false);
  assert.strictEqual(blocks(), 0);
});

test('without a name the two fail differently', () => {
  const message = 'Argument 0 (fileName: string) should be passed';
  for (const args of [[], [null, () => {}], [undefined]]) {
    assert.throws(() => getOSLParametersSync(...args), {name: 'Error', message});
    let thrown;
    try {
      getOSLParameters(...args);
    } catch (error) {
      thrown = error;
    }
    assert.strictEqual(thrown, message);
  }
  assert.throws(() => getOSLParameters(Symbol('x')), TypeError);
  assert.throws(() => getOSLParametersSync(Symbol('x')), TypeError);
});

test('without a callback nobody is told, and the block goes back', async () => {
  recorder.clear();
  answer(ALL);
  getOSLParameters(5);
  await collect(() => recorder.count(ENTRY) === 1 && blocks() === 0);
  assert.strictEqual(recorder.last(ENTRY).args[0], '5');
});
