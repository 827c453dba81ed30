'use strict';

// Writing a scene: how the arguments are told apart, and every field of the settings.

const test = require('node:test');
const assert = require('assert');
const {layout} = require('../helpers');
const {kiln, recorder, entry, open, collected} = require('./common');

const NAME = entry('exportScene');
const NO_PATH = 'Argument 0 (filePath: string) should be passed';
const NO_CALLBACK = 'A callback function not passed';

let renderer = open();
const {handle} = recorder.live().handles[0];
const exported = (...args) => new Promise((resolve) => {
  assert.strictEqual(renderer.export(...args.map((one) => one === 'cb' ? function (...got) {
    assert.strictEqual(this, renderer);
    resolve(got);
  } : one)), undefined);
});

const STARTS = {
  subFileInfos: null, hostAppString: null, pluginExportList: null, additionalIncludeFiles: null, leftInterval: 0,
  rightInterval: 0, compressed: 1, appendFrameSuffix: 0, hexArraysAndTransforms: 1, renderElementsSeparateFolders: 0,
  currentFrameOnly: 0, incremental: 0, printHeader: 1, subFileInfosCount: 0, pluginExportListCount: 0, reserved0: 0,
  kidataExport: 0, kidataSmallBufferSizeLimit: 128, kidataFileSizeLimitMiB: 0, reserved1: 0,
};

// The record that both forms give the SDK for these settings.
async function settings(object) {
  recorder.clear();
  assert.deepStrictEqual(await exported('a', object, 'cb'), [null]);
  const first = recorder.last(NAME);
  assert.strictEqual(renderer.exportSync('a', object), true);
  const last = recorder.last(NAME);
  assert.deepStrictEqual([first.args[0], first.args[1], first.onJsThread], [handle, 'a', false]);
  assert.deepStrictEqual([last.args[0], last.args[1], last.onJsThread], [handle, 'a', true]);
  assert.deepStrictEqual({...first.arg.settings}, {...last.arg.settings});
  return {...last.arg.settings};
}

// The fields that differ from those of an export without settings.
async function changed(object) {
  const record = await settings(object);
  return Object.fromEntries(Object.entries(record).filter(([key, value]) => value !== STARTS[key]));
}

test.beforeEach(() => {
  recorder.reset();
  recorder.clear();
});

test('the record is 104 bytes long', () => {
  assert.strictEqual(layout('KilnExportSettings').size, 104);
  assert.deepStrictEqual(layout('KilnExportSettings').fields.map((field) => field.name), Object.keys(STARTS));
});

test('the arguments may stand in any order, and the last of a kind counts', async () => {
  const object = {leftInterval: 3};
  for (const args of [['cb', 'a', object], [object, 'cb', 'a'], ['a', object, 'cb'], ['a', 'cb', object],
    ['b', {leftInterval: 5}, () => assert.fail('the first'), 'cb', object, 'a'], [5, 'a', null, 'cb', true, object]]) {
    assert.deepStrictEqual(await exported(...args), [null]);
    const call = recorder.last(NAME);
    assert.deepStrictEqual([call.args[1], call.arg.settings.leftInterval], ['a', 3]);
  }
  await exported('größe', 'cb');
  assert.strictEqual(recorder.last(NAME).args[1], 'größe');
  // A String object is an object.
  const text = Object.assign(new String('c'), {leftInterval: 4});
  await exported('a', text, 'cb');
  assert.deepStrictEqual([recorder.last(NAME).args[1], recorder.last(NAME).arg.settings.leftInterval], ['a', 4]);
});

test('without settings the record has its start values', async () => {
  for (const none of [[], [5], [null], [undefined]]) {
    await exported('a', ...none, 'cb');
    assert.deepStrictEqual({...recorder.last(NAME).arg.settings}, STARTS);
    renderer.exportSync('a', ...none);
    assert.deepStrictEqual({...recorder.last(NAME).arg.settings}, STARTS);
  }
  assert.deepStrictEqual(await settings({}), STARTS);
});

test('exportSync takes a function as settings', () => {
  renderer.exportSync('a', Object.assign(() => {}, {leftInterval: 7}));
  assert.strictEqual(recorder.last(NAME).arg.settings.leftInterval, 7);
  assert.strictEqual(renderer.exportSync('a', () => {}), true);
});

test('a missing path or callback is refused', () => {
  for (const args of [[], [() => {}], [{}, () => {}], [5], [new String('a'), () => {}], [null]]) {
    assert.throws(() => renderer.export(...args), {name: 'Error', message: NO_PATH});
    assert.throws(() => renderer.exportSync(...args), {name: 'Error', message: NO_PATH});
  }
  for (const args of [['a'], ['a', {}], ['a', 5], ['a', 'b', null]]) {
    assert.throws(() => renderer.export(...args), {name: 'Error', message: NO_CALLBACK});
  }
  const untouched = new Proxy({}, {has: () => assert.fail('read')});
  assert.throws(() => renderer.export('a', untouched), {message: NO_CALLBACK});
  assert.deepStrictEqual(recorder.names(), []);
});

test('a failure is an Error for the callback, and false', async () => {
  for (const result of [1, -1, 77]) {
    recorder.once(NAME, result, 2);
    const [error, ...more] = await exported('a', 'cb');
    assert.deepStrictEqual([error.constructor, error.message, more], [Error, 'Error exporting scene', []]);
    assert.strictEqual(renderer.exportSync('a'), false);
  }
  assert.strictEqual(recorder.count(entry('getLastErrorCode')), 0);
});

// Key, field where it is called otherwise.
const FLAGS = [['appendFrameSuffix'], ['currentFrameOnly'], ['incremental'], ['compressed'], ['renderElementsSeparateFolders'],
  ['printHeader'], ['kidataExport'], ['hexArrays', 'hexArraysAndTransforms']];
const NUMBERS = ['leftInterval', 'rightInterval'];
const INTEGERS = ['kidataSmallBufferSizeLimit', 'kidataFileSizeLimitMiB'];
const LISTS = ['pluginExportList', 'additionalIncludeFiles'];
const ALL = [...FLAGS.map(([key]) => key), 'hexTransforms', ...NUMBERS, ...INTEGERS, 'hostAppString', ...LISTS];

for (const [key, field = key] of FLAGS) {
  test(`${key} is converted to a boolean`, async () => {
    for (const value of [true, 1, 'x', {}, -1]) assert.strictEqual((await settings({[key]: value}))[field], 1);
    for (const value of [false, 0, '', null, undefined, NaN]) assert.strictEqual((await settings({[key]: value}))[field], 0);
  });
}

test('hexTransforms adds to hexArrays', async () => {
  for (const [object, bits] of [[{hexArrays: false, hexTransforms: true}, 2], [{hexTransforms: true}, 3], [{hexArrays: false}, 0],
    [{hexArrays: true, hexTransforms: true}, 3], [{hexTransforms: false}, 1], [{hexTransforms: undefined, hexArrays: null}, 0]]) {
    assert.strictEqual((await settings(object)).hexArraysAndTransforms, bits);
  }
});

test('intervals are numbers and are not checked', async () => {
  for (const [value, expected] of [[1.5, 1.5], ['2', 2], [null, 0], [true, 1], [-1e300, -1e300], [Infinity, Infinity]]) {
    for (const key of NUMBERS) assert.strictEqual((await settings({[key]: value}))[key], expected);
  }
  assert.ok(Number.isNaN((await settings({leftInterval: undefined})).leftInterval));
  assert.deepStrictEqual(await changed({leftInterval: 9, rightInterval: -9}), {leftInterval: 9, rightInterval: -9});
});

test('the limits are 32-bit integers', async () => {
  for (const key of INTEGERS) {
    for (const [value, expected] of [[5, 5], ['6', 6], [2.9, 2], [-1, -1], [null, 0], [undefined, 0], [2 ** 32 + 1, 1]]) {
      assert.strictEqual((await settings({[key]: value}))[key], expected);
    }
  }
});

test('hostAppString is any text', async () => {
  for (const [value, expected] of [['größe', 'größe'], ['', ''], [5, '5'], [null, 'null'], [undefined, 'undefined'],
    [{toString: () => 'made'}, 'made'], ['x'.repeat(10000), 'x'.repeat(10000)]]) {
    assert.deepStrictEqual(await changed({hostAppString: value}), {hostAppString: expected});
  }
});

test('pluginExportList takes plugins alone', async () => {
  recorder.once(entry('getPluginID'), 7n);
  const first = renderer.plugins.a;
  recorder.once(entry('getPluginID'), 2n ** 40n);
  const second = renderer.plugins.b;
  const record = await settings({pluginExportList: [first, 'name', 5, second, null, {}, first]});
  assert.deepStrictEqual([record.pluginExportList, record.pluginExportListCount], [[7n, 2n ** 40n, 7n], 3]);
  for (const list of [[], ['name'], [{}], 5, 'a', first, {length: 1, 0: first}, null, undefined]) {
    assert.deepStrictEqual(await changed({pluginExportList: list}), {});
  }
  const unreadable = [first];
  Object.defineProperty(unreadable, 1, {get() { throw new Error('no'); }});
  unreadable.push(second);
  assert.deepStrictEqual((await settings({pluginExportList: unreadable})).pluginExportList, [7n, 2n ** 40n]);
  assert.deepStrictEqual((await settings({pluginExportList: [new kiln.Plugin()]})).pluginExportListCount, 1);
});

test('additionalIncludeFiles is one block of texts', async () => {
  const bytes = async (list) => {
    await settings({additionalIncludeFiles: list});
    const {raw, row} = recorder.last(NAME);
    const at = layout('KilnExportSettings').fields.find((field) => field.name === 'additionalIncludeFiles').offset;
    const item = raw.args[row.parameters.findIndex((one) => one.name === 'settings')].i[0];
    const nested = (item.n || []).find((one) => one.o === at);
    return nested ? Buffer.from(nested.d, 'base64').toString('latin1') : null;
  };
  assert.strictEqual(await bytes(['a', '', 3, 'b']), 'a\0b\0\0');
  assert.strictEqual(await bytes(['one.toml']), 'one.toml\0\0');
  assert.strictEqual(await bytes(['a\0b', '\0c', 'd']), 'a\0d\0\0');
  for (const list of [[], [''], [5, null, new String('a')], 'a', {0: 'a', length: 1}, null]) {
    assert.strictEqual(await bytes(list), null);
  }
});

test('subFileInfos takes objects with both keys, in order', async () => {
  const list = [{type: 'mesh', suffix: '_m'}, {type: 'a'}, {suffix: 'b'}, 5, null, {type: 5, suffix: 'größe'},
    Object.create({type: 'inherited', suffix: ''}), {type: 'no', get suffix() { throw new Error('no'); }},
    {type: Symbol('no'), suffix: 'x'}, {type: undefined, suffix: null}];
  const record = await settings({subFileInfos: list, kidataExport: true});
  assert.deepStrictEqual(record.subFileInfos.map(({type, suffix}) => [type, suffix]),
    [['mesh', '_m'], ['5', 'größe'], ['inherited', ''], ['undefined', 'null']]);
  assert.deepStrictEqual([record.subFileInfosCount, record.kidataExport], [4, 1]);
  const none = await settings({subFileInfos: [{type: Symbol('no'), suffix: 'x'}], kidataExport: true});
  assert.deepStrictEqual([none.subFileInfosCount, none.kidataExport], [0, 1]);
  assert.notStrictEqual(recorder.last(NAME).bytes('settings').readBigUInt64LE(0), 0n);
});

test('subFileInfos without use ends the reading', async () => {
  const behind = {kidataExport: true, kidataSmallBufferSizeLimit: 1, kidataFileSizeLimitMiB: 2};
  for (const value of [5, [], [{}], [5], 'x', null, undefined, {length: 1, 0: {type: 'a', suffix: 'b'}}, [{type: 'a'}]]) {
    assert.deepStrictEqual(await changed({subFileInfos: value, ...behind}), {});
  }
  const throws = Object.defineProperties({...behind}, {subFileInfos: {get() { throw new Error('no'); }}});
  assert.deepStrictEqual(await changed(throws), {});
  const other = Object.defineProperties({...behind}, {hostAppString: {get() { throw new Error('no'); }}});
  assert.deepStrictEqual(await changed(other), behind && {...behind, kidataExport: 1});
});

test('keys are seen when inherited, and one that throws leaves its field and the others alone', async () => {
  assert.deepStrictEqual(await changed(Object.create({leftInterval: 4, printHeader: 0})), {leftInterval: 4, printHeader: 0});
  for (const key of ALL) {
    const other = key === 'currentFrameOnly' ? 'incremental' : 'currentFrameOnly';
    const throws = {get [key]() { throw new RangeError(key); }, [other]: true};
    assert.deepStrictEqual(await changed(throws), {[other]: 1}, key);
    const hides = new Proxy({[other]: true}, {has(target, name) {
      if (name === key) throw new RangeError(key);
      return name in target;
    }});
    assert.deepStrictEqual(await changed(hides), {[other]: 1}, key);
  }
  for (const key of [...NUMBERS, ...INTEGERS, 'hostAppString']) {
    assert.deepStrictEqual(await changed({[key]: Symbol('x')}), {}, key);
    const no = {valueOf() { throw new RangeError('no'); }, toString() { throw new RangeError('no'); }};
    assert.deepStrictEqual(await changed({[key]: no}), {}, key);
  }
});

test('the keys are read once each, in their order', () => {
  const read = [];
  renderer.exportSync('a', new Proxy({}, {has(target, key) { read.push(key); return true; }, get: () => undefined}));
  assert.deepStrictEqual(read, ['appendFrameSuffix', 'currentFrameOnly', 'incremental', 'leftInterval', 'rightInterval',
    'compressed', 'hexArrays', 'hexTransforms', 'renderElementsSeparateFolders', 'printHeader', 'hostAppString',
    'pluginExportList', 'additionalIncludeFiles', 'subFileInfos']);
});

test('a key that closes the renderer leaves a null handle', async () => {
  for (const sync of [false, true]) {
    const own = open();
    recorder.clear();
    const closing = {get leftInterval() { own.close(); return 1; }};
    if (sync) {
      own.exportSync('a', closing);
    } else {
      await new Promise((resolve) => own.export('a', closing, resolve));
    }
    const call = recorder.last(NAME);
    assert.deepStrictEqual([call.args[0], call.stale], [0n, false]);
  }
});

test('serializeScene is true for the SDK\'s 0', () => {
  for (const [result, expected] of [[0, true], [1, false], [-1, false]]) {
    recorder.once(entry('serializeScene'), result);
    assert.strictEqual(renderer.serializeScene(5), expected);
    const call = recorder.last(entry('serializeScene'));
    assert.deepStrictEqual([call.args, call.onJsThread], [[handle], true]);
  }
});

test('nothing is left', async () => {
  renderer.close();
  renderer = null;
  await collected();
});
