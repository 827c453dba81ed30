'use strict';

// The four files of light calculations, as jobs and at once.

const test = require('node:test');
const assert = require('assert');
const {recorder, entry, open, collected} = require('./common');

const renderer = open();
const {handle} = recorder.live().handles[0];

const FILES = [['IrradianceMap', 'Error saving irradiance map to file'], ['LightCache', 'Error saving light cache to file'],
  ['PhotonMap', 'Error saving photon map to file'], ['Caustics', 'Error saving caustics to file']];
const LONG = 'ordner/größe '.repeat(500);

test.beforeEach(() => recorder.clear());

for (const [stem, message] of FILES) {
  const name = `save${stem}File`;
  const row = entry(name);

  test(`${name} saves on the pool; what is not 0 is success`, async () => {
    for (const [result, failed] of [[1, false], [-1, false], [77, false], [0, true]]) {
      recorder.once(row, result);
      const got = await new Promise((resolve) => {
        assert.strictEqual(renderer[name](LONG, function (...args) { resolve([this, ...args]); }, 'ignored'), undefined);
      });
      assert.strictEqual(got.length, 2);
      assert.strictEqual(got[0], renderer);
      if (failed) {
        assert.ok(got[1] instanceof Error);
        assert.deepStrictEqual([got[1].constructor, got[1].message], [Error, message]);
      } else {
        assert.strictEqual(got[1], null);
      }
      const {args, onJsThread} = recorder.last(row);
      assert.deepStrictEqual([args, onJsThread], [[handle, LONG], false]);
    }
  });

  test(`${name} wants a primitive string and a function`, () => {
    for (const args of [[], ['a'], ['a', {}], [5, () => {}], [new String('a'), () => {}], [null, () => {}], [() => {}, 'a']]) {
      assert.throws(() => renderer[name](...args), {name: 'Error',
        message: 'Argument 0 (string - file name to save to), and argument 1 (a callback function) should be passed'});
    }
    assert.deepStrictEqual(recorder.names(), []);
  });

  test(`${name}Sync saves at once`, () => {
    for (const [result, saved] of [[1, true], [-1, true], [0, false]]) {
      recorder.once(row, result);
      assert.strictEqual(renderer[`${name}Sync`]('ü'), saved);
      const {args, onJsThread} = recorder.last(row);
      assert.deepStrictEqual([args, onJsThread], [[handle, 'ü'], true]);
    }
    assert.strictEqual(renderer[`${name}Sync`](''), false);
  });

  test(`${name}Sync wants exactly one primitive string`, () => {
    for (const args of [[], [5], [new String('a')], [null], ['a', 1], ['a', undefined], ['a', () => {}]]) {
      assert.throws(() => renderer[`${name}Sync`](...args),
        {name: 'Error', message: 'Argument 0 must be a string - file name to save to'});
    }
    assert.deepStrictEqual(recorder.names(), []);
  });
}

test('jobs that are under way at a close end with their own answer', async () => {
  const own = open();
  recorder.answer(entry('saveCausticsFile'), {result: 1, delay: 20});
  const pending = new Promise((resolve) => own.saveCausticsFile('a', resolve));
  own.close();
  assert.strictEqual(await pending, null);
  assert.strictEqual(own.saveCausticsFileSync('a'), true);
  assert.strictEqual(recorder.last(entry('saveCausticsFile')).args[0], 0n);
  recorder.reset();
});

test('nothing is left', async () => {
  renderer.close();
  await collected();
});
