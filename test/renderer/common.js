'use strict';

// What the tests of the renderer share: the add-on with an emitter behind KilnRenderer, as a package puts one there,
// and the sets of calls that construction and teardown make.
//
//   kiln                    the add-on, bound to the recorder
//   open(options)           a renderer; its events are kept in `events` as [name, ...arguments]
//   turn(renderer, kind, enable)   the switch
//   setter(name)            'StateChanged' -> 'Kiln_KilnRenderer_setStateChangedCallback'
//   entry(name)             'create' -> 'Kiln_KilnRenderer_create'
//   ABRUPT                  the environment of a child that does not end naturally
//   collected()             resolves when nothing of the SDK's is held any more

const assert = require('assert');
const EventEmitter = require('events');
const {loadNative, recorder, collect} = require('../helpers');

const kiln = loadNative();
Object.setPrototypeOf(kiln.KilnRenderer.prototype, EventEmitter.prototype);
recorder.ignore('Kiln_GUI_pumpMessages');

const SWITCH = Symbol.for('kiln.KilnRenderer.@callbackSettersInternalHelper');
const PORTS_EVENTS = ['kvwContextMenuSelected', 'uploadToCollaboration', 'lightMixTransferToScene'];

// A process that ends in the middle frees neither the host's heap, which a leak check would take for ours, nor the
// threads that it had begun.
const ABRUPT = {
  ASAN_OPTIONS: `${process.env.ASAN_OPTIONS || ''}:detect_leaks=0`,
  TSAN_OPTIONS: `${process.env.TSAN_OPTIONS || ''}:report_thread_leaks=0`,
};

const entry = (name) => `Kiln_KilnRenderer_${name}`;
const setter = (name) => entry(`set${name}Callback`);

// Number of the kind, name of the event, stem of the setter.
const KINDS = [
  [0, 'stateChanged', 'StateChanged'],
  [1, 'progressiveImageUpdated', 'ImageUpdated'],
  [2, 'bucketInit', 'BucketInit'],
  [3, 'bucketReady', 'BucketReady'],
  [4, 'logMessage', 'DumpMessage'],
  [6, 'bucketFailed', 'BucketFailed'],
  [7, 'progress', 'Progress'],
  [8, 'renderViewChanged', 'RenderViewChanged'],
  [9, 'kvwRenderLast', 'RenderLast'],
  [10, 'kvwRenderInteractive', 'RenderInteractiveStart'],
  [11, 'kvwClosed', 'KVWClosed'],
  [12, 'postEffectsUpdated', 'PostEffectsUpdated'],
  [13, 'kvwShowMessagesWindow', 'ShowMessagesWindow'],
  [14, 'hostConnected', 'DRHostConnected'],
  [15, 'hostDisconnected', 'DRHostDisconnected'],
].map(([kind, event, stem]) => ({kind, event, setter: setter(stem)}));

// The callbacks that teardown clears, in order: all but "render interactive start".
const CLEARED = ['StateChanged', 'ImageUpdated', 'BucketInit', 'BucketReady', 'BucketFailed', 'DumpMessage', 'Progress',
  'RenderViewChanged', 'RenderLast', 'KVWClosed', 'PostEffectsUpdated', 'ShowMessagesWindow', 'DRHostConnected',
  'DRHostDisconnected', 'KvwContextMenuSelected', 'UploadToCollaboration', 'LightMixTransferToScene'].map(setter);

function open(...options) {
  const renderer = new kiln.KilnRenderer(...options);
  renderer.events = [];
  for (const event of [...KINDS.map((one) => one.event), ...PORTS_EVENTS]) {
    renderer.on(event, (...args) => void renderer.events.push([event, ...args]));
  }
  return renderer;
}

const turn = (renderer, ...args) => renderer[SWITCH](...args);

// An open renderer with one kind on, for the body; closed behind it.
async function withRenderer(body, ...options) {
  const renderer = open(...options);
  try {
    return await body(renderer);
  } finally {
    renderer.close();
  }
}

function isEmpty(live) {
  return live.blocks.length === 0 && live.handles.length === 0 && live.vectors === 0 && live.kept === 0 &&
    live.threads === 0;
}

async function collected() {
  await collect(() => isEmpty(recorder.live()), {what: 'everything of the SDK is given back'});
  assert.deepStrictEqual(recorder.faults(), []);
}

module.exports = {kiln, recorder, SWITCH, KINDS, CLEARED, entry, setter, open, turn, withRenderer, isEmpty, collected, ABRUPT};
