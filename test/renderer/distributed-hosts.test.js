'use strict';

// The machines that a renderer shares its work with.
const test = require('node:test');
const assert = require('assert');
const {recorder, entry, open, collected} = require('./common');
const {testHosts} = require('../server/hosts');

const renderer = open();
const {handle} = recorder.live().handles[0];
const capital = (member) => member[0].toUpperCase() + member.slice(1);
const first = (work) => {
  recorder.answer('Kiln_isDR2', 0);
  work();
};
const second = (work) => {
  recorder.answer('Kiln_isDR2', 1);
  work();
};

testHosts({object: renderer, entryOf: (member) => entry(`client${capital(member)}`), syncResult: (member, code) => code});

test('setDREnabled', () => first(() => {
  for (const [args, words] of [[[true], [1, 1]], [[0], [0, 1]], [['x', false], [1, 0]], [[null, 1], [0, 1]], [[true, undefined], [1, 0]]]) {
    renderer.setDREnabled(...args);
    assert.deepStrictEqual(recorder.last(entry('setDREnabled')).args, [handle, ...words]);
  }
  for (const [result, expected] of [[0, true], [1, false], [-1, false]]) {
    recorder.once(entry('setDREnabled'), result);
    assert.strictEqual(renderer.setDREnabled(true), expected);
  }
  assert.throws(() => renderer.setDREnabled(), {name: 'Error', message: 'Argument 0 (boolean - drEnabled) should be passed'});
}));

test('getDREnabled', () => first(() => {
  for (const [result, expected] of [[0, false], [1, true], [-1, true]]) {
    recorder.once(entry('getDREnabled'), result);
    assert.strictEqual(renderer.getDREnabled(), expected);
  }
}));

test('disableDRClient and isDRClientEnabled', () => second(() => {
  for (const [result, done, enabled] of [[0, true, false], [1, false, true], [-1, false, true]]) {
    recorder.once(entry('disableDRClient'), result);
    assert.strictEqual(renderer.disableDRClient(), done);
    recorder.once(entry('isDRClientEnabled'), result);
    assert.strictEqual(renderer.isDRClientEnabled(), enabled);
  }
}));

test('each generation has members of its own', () => {
  recorder.clear();
  second(() => {
    for (const call of [() => renderer.setDREnabled(true), () => renderer.setDREnabled(), () => renderer.getDREnabled()]) {
      assert.throws(call, {name: 'Error', message: 'Function not supported in DR2.'});
    }
  });
  first(() => {
    for (const call of [() => renderer.enableDRClient(), () => renderer.disableDRClient(), () => renderer.isDRClientEnabled()]) {
      assert.throws(call, {name: 'Error', message: 'Function not supported in DR1.'});
    }
  });
  assert.deepStrictEqual(recorder.names().filter((name) => name !== 'Kiln_isDR2'), []);
});

const DEFAULTS = {dispatcher: null, httpProxy: null, flags: 12, connectTimeout: 10, upstreamChannels: 3, verboseLevel: 3};
function options(...args) {
  recorder.answer('Kiln_isDR2', 1);
  renderer.enableDRClient(...args);
  const {...record} = recorder.last(entry('enableDRClient')).args[1];
  delete record.reserved;
  return record;
}

test('enableDRClient', () => {
  assert.deepStrictEqual(options(), DEFAULTS);
  for (const value of [{}, 5, 'text', {other: 1}]) assert.deepStrictEqual(options(value), DEFAULTS);
  for (const value of [null, undefined]) assert.throws(() => options(value), TypeError);
  for (const [result, expected] of [[0, true], [1, false]]) {
    recorder.once(entry('enableDRClient'), result);
    assert.strictEqual(renderer.enableDRClient(), expected);
  }
});

test('every key of its options, in any case', () => {
  for (const key of ['dispatcher', 'httpProxy']) {
    for (const form of [key, key.toUpperCase()]) assert.deepStrictEqual(options({[form]: 'größe'}), {...DEFAULTS, [key]: 'größe'});
    assert.strictEqual(options({[key]: null})[key], 'null');
    assert.strictEqual(options({[key]: undefined})[key], null);
  }
  ['localRendering', 'withBroadcastListener', 'pipelinedUpstream', 'enableAssigningWUsAsBackups',
    'immediatelyForwardReadySplitBucketSubunits'].forEach((key, bit) => {
    assert.strictEqual(options({[key.toUpperCase()]: 'x'}).flags, 12 | 1 << bit);
    assert.strictEqual(options({[key]: 0}).flags, 12 & ~(1 << bit));
  });
  for (const key of ['connectTimeout', 'upstreamChannels', 'verboseLevel']) {
    assert.deepStrictEqual(options({[key.toLowerCase()]: '7.9'}), {...DEFAULTS, [key]: 7});
  }
  assert.strictEqual(options(Object.create({localRendering: true})).flags, 13);
});

test('what can\'t be read stops the walk, and what was read stays', () => {
  const fails = {toString() { throw new Error('no'); }, valueOf() { throw new Error('no'); }};
  assert.deepStrictEqual(options({localRendering: true, dispatcher: fails, connectTimeout: 5}), {...DEFAULTS, flags: 13});
  assert.deepStrictEqual(options({localRendering: true, get httpProxy() { throw new Error('no'); }, connectTimeout: 5}), {...DEFAULTS, flags: 13});
  assert.deepStrictEqual(options({connectTimeout: fails, verboseLevel: 5}), {...DEFAULTS, verboseLevel: 5});
});

test('nothing is left', async () => {
  renderer.close();
  await collected();
});
