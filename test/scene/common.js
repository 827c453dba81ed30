'use strict';

// What the tests of the scene share: the add-on bound to the recorder, and short ways to objects.
//
//   open()                        a renderer
//   pluginOf(renderer, id)        the wrapper of an ID
//   call(object, name, ...args)   a member of the object's class, past the object's own properties
//   answerValue(value)            what the next read of a property gives: a value of streams.js, or null
//   names(...)                    the recorder's calls, without those that only look a key up
//   isEmpty(live)                 whether the host holds nothing
//   closeAtEnd(renderer)          behind the last test of a file

const test = require('node:test');
const assert = require('assert');
const {loadNative, recorder, encodeStream, collect, forceGc} = require('../helpers');

const kiln = loadNative();
kiln.enableFrameBuffer(false);

const entry = (name) => `Kiln_KilnRenderer_${name}`;
const READ = 'Kiln_getPropertyByteArrayByID';

const open = (...options) => new kiln.KilnRenderer(...options);

// Beyond any ID that a test writes by hand.
let nextId = 1n << 40n;
const newId = () => (nextId += 2n);

function pluginOf(renderer, id = newId()) {
  recorder.once(entry('getPluginID'), id);
  return renderer.plugins.any;
}

function classOf(renderer, name = 'SomeClass') {
  recorder.once(entry('pluginClassExists'), {text: name});
  return renderer.classes[name];
}

function refOf(plugin, index) {
  recorder.once(entry('getPropertyIndexFromNameByID'), index);
  return call(plugin, 'getReference', 'any');
}

function call(object, name, ...args) {
  return Object.getPrototypeOf(object)[name].apply(object, args);
}

function answerValue(value) {
  if (value === null) return recorder.once(READ, {out: {stream: null}});
  const memory = encodeStream(value);
  return recorder.once(READ, {out: {stream: memory, size: memory.bytes.length}});
}

function isEmpty(live) {
  return live.blocks.length === 0 && live.handles.length === 0 && live.vectors === 0 && live.kept === 0;
}

// Nothing that the SDK handed out is held any more but the handles of open renderers.
function assertNothingHeld() {
  const live = recorder.live();
  assert.deepStrictEqual([live.blocks.length, live.vectors, live.kept], [0, 0, 0]);
}

// An open renderer keeps the process alive: to be called behind the last test of a file.
function closeAtEnd(renderer) {
  test('everything that the SDK handed out has come back', async () => {
    renderer.close();
    await collect(() => isEmpty(recorder.live()));
    recorder.check();
  });
}

const attributesOf = (object, name) => {
  const {writable, enumerable, configurable} = Object.getOwnPropertyDescriptor(object, name);
  return {writable, enumerable, configurable};
};
const HIDDEN = {writable: false, enumerable: false, configurable: false};

module.exports = {
  kiln, recorder, entry, READ, open, newId, pluginOf, classOf, refOf, call, answerValue, isEmpty, assertNothingHeld,
  attributesOf, HIDDEN, closeAtEnd, collect, forceGc, encodeStream,
};
