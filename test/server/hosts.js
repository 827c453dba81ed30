'use strict';

// The members that change and list hosts, which renderers and servers share.
const test = require('node:test');
const assert = require('assert');
const {recorder} = require('../helpers');

const ADD = {
  '-2': 'Error adding host(s): Failed to resolve hostname or an empty/null string was passed',
  '-1': 'Error adding host(s): Renderer is invalid or in the PREPARING state',
  0: 'Error adding host(s): Hosts were added to the list, but failed to connect',
};
const FAILURES = {
  add: ADD,
  remove: {1: 'Error removing host(s)', '-1': 'Error removing host(s)'},
  reset: {1: 'Error resetting host(s)', '-1': 'Error resetting host(s)'},
};
const kind = (member) => /^(add|remove|reset)/.exec(member)[1];

/** entryOf('addHosts') is the entry point of the member; syncResult(member, code) what its twin answers for a code. */
function testHosts({object, entryOf, syncResult}) {
  const changed = (member, ...args) => new Promise((resolve) => {
    object[member](...args, function (...results) { resolve([this, ...results]); });
  });

  for (const member of ['addHosts', 'removeHosts', 'resetHosts']) {
    test(`${member}: each result`, async () => {
      for (const code of [-3, -2, -1, 0, 1, 2]) {
        recorder.once(entryOf(member), code);
        const [self, ...results] = await changed(member, 'a');
        assert.strictEqual(self, object);
        assert.strictEqual(results.length, 1);
        const failure = FAILURES[kind(member)][code];
        if (failure) assert.strictEqual(results[0].message, failure);
        else assert.strictEqual(results[0], null);
        recorder.once(entryOf(member), code);
        assert.strictEqual(object[`${member}Sync`]('a'), syncResult(member, code));
      }
      assert.strictEqual(recorder.last(entryOf(member)).onJsThread, true);
    });

    test(`${member}: how hosts are named`, async () => {
      for (const [args, text] of [[['a', ['b', ['c']]], 'a;b;c'], [[5, 'a'], 'a'], [[], ''], [[[]], ''], [[null, {}, new String('x')], ''],
        [[['größe', 5, null, ['x']]], 'größe;x']]) {
        await changed(member, ...args);
        const call = recorder.last(entryOf(member));
        assert.deepStrictEqual([call.args[1], call.onJsThread], [text, false]);
        object[`${member}Sync`](...args, () => assert.fail());
        assert.strictEqual(recorder.last(entryOf(member)).args[1], text);
      }
    });

    test(`${member}: the last function is called, and none is needed`, async () => {
      await new Promise((resolve) => object[member](() => assert.fail(), 'a', resolve, 'b'));
      assert.strictEqual(recorder.last(entryOf(member)).args[1], 'a;b');
      recorder.clear();
      assert.strictEqual(object[member]('c'), undefined);
      while (recorder.count(entryOf(member)) === 0) await new Promise(setImmediate);
    });

    test(`${member}: what can't be read ends the call`, () => {
      const bad = ['a'];
      Object.defineProperty(bad, 1, {get() { throw new RangeError('mine'); }});
      const endless = [];
      endless.push(endless);
      recorder.clear();
      for (const form of [member, `${member}Sync`]) {
        assert.throws(() => object[form]('x', [bad], () => assert.fail()), {name: 'RangeError', message: 'mine'});
        assert.throws(() => object[form](endless), RangeError);
      }
      assert.strictEqual(recorder.count(entryOf(member)), 0);
    });
  }

  for (const member of ['getAllHosts', 'getActiveHosts', 'getInactiveHosts']) {
    test(member, async () => {
      for (const [text, names] of [['a, b;c;', ['a', 'b', 'c']], ['a', ['a']], ['a;;b', ['a', '', 'b']], [' a b ,c d', ['ab', 'cd']],
        [';', ['']], [null, []], ['größe:1', ['größe:1']]]) {
        recorder.once(entryOf(member), text === null ? {result: null} : text);
        assert.deepStrictEqual(object[`${member}Sync`](), names);
        assert.strictEqual(recorder.last(entryOf(member)).onJsThread, true);
        recorder.once(entryOf(member), text === null ? {result: null} : text);
        const [self, ...results] = await changed(member);
        assert.strictEqual(self, object);
        assert.deepStrictEqual(results, [names]);
        assert.strictEqual(recorder.last(entryOf(member)).onJsThread, false);
      }
      assert.strictEqual(recorder.live().blocks.length, 0);
      for (const args of [[], [5], [null, () => {}]]) {
        assert.throws(() => object[member](...args), {name: 'Error', message: 'Argument 0 (a callback function) should be passed'});
      }
    });

    test(`${member}: the empty text stays the SDK's`, () => {
      recorder.once(entryOf(member), {text: ''});
      assert.deepStrictEqual(object[`${member}Sync`](), []);
    });
  }
}

module.exports = {testHosts};
