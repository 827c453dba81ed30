'use strict';

// Versions, the SDK's environment, process settings and the frame-buffer flag.
const test = require('node:test');
const assert = require('assert');
const os = require('os');
const {loadNative, recorder} = require('../helpers');

const kiln = loadNative();

test('versions have two digits below the major', () => {
  for (const [packed, text] of [[0x60102, '6.01.02'], [0xC6363, '12.99.99'], [0, '0.00.00'],
    [0xFFFFFFFF, '65535.255.255']]) {
    recorder.answer('Kiln_getSDKVersion', packed);
    recorder.answer('Kiln_getKilnVersion', packed);
    assert.strictEqual(kiln.getAPIVersion(), text);
    assert.strictEqual(kiln.getKilnVersion(), text);
  }
});

test('texts of the SDK are strings, and null is undefined', () => {
  for (const [name, entry] of [['getKilnVersionDetails', 'Kiln_getKilnVersionDetails'],
    ['getMaterialLibraryPath', 'Kiln_getMaterialLibraryPath']]) {
    recorder.answer(entry, 'größe 日本');
    assert.strictEqual(kiln[name](), 'größe 日本');
    recorder.answer(entry, null);
    assert.strictEqual(kiln[name](), undefined);
  }
});

test('isDR2 is a boolean', () => {
  for (const [result, expected] of [[0, false], [1, true], [-5, true]]) {
    recorder.answer('Kiln_isDR2', result);
    assert.strictEqual(kiln.isDR2(), expected);
  }
});

test('getEnvVar asks for a name that is converted', () => {
  const message = 'Error: required 1 string argument, the environment variable name';
  for (const call of [() => kiln.getEnvVar(), () => kiln.getEnvVar(null), () => kiln.getEnvVar(undefined)]) {
    assert.throws(call, {name: 'Error', message});
  }
  recorder.answer('Kiln_getEnvironmentVariable', 'value');
  assert.strictEqual(kiln.getEnvVar(5), 'value');
  assert.strictEqual(recorder.last('Kiln_getEnvironmentVariable').arg.name, '5');
  recorder.answer('Kiln_getEnvironmentVariable', null);
  assert.strictEqual(kiln.getEnvVar('x'), undefined);
  assert.throws(() => kiln.getEnvVar(Symbol('x')), TypeError);
});

test('setEnvVar wants two arguments, of which the second may be no value', () => {
  const message =
    'Error: required 1 or 2 string arguments, the environment variable name and optionally its new value';
  for (const call of [() => kiln.setEnvVar(), () => kiln.setEnvVar('a'), () => kiln.setEnvVar(null, 'a')]) {
    assert.throws(call, {name: 'Error', message});
  }
  const passed = () => {
    const {name, value} = recorder.last('Kiln_setEnvironmentVariable').arg;
    return [name, value];
  };
  assert.strictEqual(kiln.setEnvVar('a', 'b'), true);
  assert.deepStrictEqual(passed(), ['a', 'b']);
  for (const nothing of [undefined, null]) {
    assert.strictEqual(kiln.setEnvVar('a', nothing), true);
    assert.deepStrictEqual(passed(), ['a', null]);
  }
  assert.strictEqual(kiln.setEnvVar('a', 7), true);
  assert.deepStrictEqual(passed(), ['a', '7']);
  assert.throws(() => kiln.setEnvVar('a', {toString() { throw new RangeError('mine'); }}), RangeError);
  assert.deepStrictEqual(passed(), ['a', null], 'a value that has no text is no value');
  recorder.clear();
  assert.throws(() => kiln.setEnvVar({toString() { throw new RangeError('mine'); }}, 'b'), RangeError);
  assert.strictEqual(recorder.count('Kiln_setEnvironmentVariable'), 0);
  recorder.once('Kiln_setEnvironmentVariable', 1);
  assert.strictEqual(kiln.setEnvVar('a', 'b'), false);
});

test('enableFrameBuffer converts its argument', () => {
  assert.throws(() => kiln.enableFrameBuffer(), {
    name: 'Error', message: 'Argument 0 (isEnabled: boolean) should be passed',
  });
  for (const [value, flag] of [[true, 1], [0, 0], ['', 0], [{}, 1], [undefined, 0]]) {
    assert.strictEqual(kiln.enableFrameBuffer(value), undefined);
    assert.strictEqual(recorder.last('Kiln_enableFrameBuffer').arg.enable, flag);
  }
  kiln.enableFrameBuffer(true);
});

test('setProcessPriority knows five names in any case, and the process itself as 0', () => {
  const before = os.getPriority();
  assert.strictEqual(kiln.setProcessPriority(0, 'NORMAL'), true);
  assert.strictEqual(kiln.setProcessPriority(process.pid, 'Low'), true);
  if (process.platform !== 'win32') assert.strictEqual(os.getPriority(), 10);
  assert.strictEqual(kiln.setProcessPriority(0, 'realtime'), false);
  assert.strictEqual(kiln.setProcessPriority(0), false);
  assert.strictEqual(kiln.setProcessPriority(0x7FFFFFF0, 'low'), false);
  assert.strictEqual(kiln.setProcessPriority(-1, 'low'), false);
  assert.throws(() => kiln.setProcessPriority(Symbol('pid'), 'low'), TypeError);
  assert.throws(() => kiln.setProcessPriority(0, Symbol('name')), TypeError);
  const priorities = {idle: 19, low: 10, normal: 0, high: -5, highest: -10};
  for (const name of Object.keys(priorities)) {
    const old = os.getPriority();
    assert.strictEqual(kiln.setProcessPriority(0, name), true);
    // Where it is not allowed to be higher it stays, and that is no failure.
    if (process.platform !== 'win32') assert([old, priorities[name]].includes(os.getPriority()), name);
    if (process.platform !== 'win32' && process.getuid() === 0) assert.strictEqual(os.getPriority(), priorities[name]);
  }
  try {
    os.setPriority(before);
  } catch (error) {
    assert.strictEqual(error.code, 'ERR_SYSTEM_ERROR');
  }
});

test('setNumaNode refuses a node or a process that is not there', () => {
  assert.strictEqual(kiln.setNumaNode(0, 250), false);
  assert.strictEqual(kiln.setNumaNode(0x7FFFFFF0, 0), false);
  assert.throws(() => kiln.setNumaNode(0, Symbol('node')), TypeError);
  assert.strictEqual(kiln.setNumaNode(-1, 0), false);
  assert.throws(() => kiln.setNumaNode(Symbol('pid'), 0), TypeError);
  const result = kiln.setNumaNode(0, 0);
  assert.strictEqual(typeof result, 'boolean');
  assert.strictEqual(kiln.setNumaNode(0, 256), result, 'the low eight bits are the node');
  assert.strictEqual(kiln.setNumaNode(0, 256 + 250), false);
});
