// Node's event emitter for the classes of the add-on, and the switch that turns the SDK's callbacks on and off.
'use strict';

const { EventEmitter } = require('events');

const SWITCH = Symbol.for('kiln.KilnRenderer.@callbackSettersInternalHelper');

/** The switch's number of each event of a renderer. What is not listed is always on. */
const EVENT_KINDS = Object.freeze({
  stateChanged: 0,
  progressiveImageUpdated: 1,
  bucketInit: 2,
  bucketReady: 3,
  logMessage: 4,
  bucketFailed: 6,
  progress: 7,
  renderViewChanged: 8,
  kvwRenderLast: 9,
  kvwRenderInteractive: 10,
  kvwClosed: 11,
  postEffectsUpdated: 12,
  kvwShowMessagesWindow: 13,
  hostConnected: 14,
  hostDisconnected: 15,
});

// The kinds that are on, a bit each. Beside the object, so that an inspected renderer shows no bookkeeping.
const switchedOn = new WeakMap();

function kindOf(event) {
  return typeof event === 'string' && Object.prototype.hasOwnProperty.call(EVENT_KINDS, event)
    ? EVENT_KINDS[event]
    : undefined;
}

/** Brings the switch of one event in line with its listeners. */
function follow(renderer, event) {
  const kind = kindOf(event);
  if (kind === undefined) return;
  const before = switchedOn.get(renderer) || 0;
  const wanted = renderer.listenerCount(event) > 0;
  if (wanted === Boolean(before & (1 << kind))) return;
  switchedOn.set(renderer, before ^ (1 << kind));
  renderer[SWITCH](kind, wanted);
  // Turning hostDisconnected off takes the callback of hostConnected away, so that one is asked for anew.
  if (event === 'hostDisconnected' && !wanted && renderer.listenerCount('hostConnected') > 0) {
    renderer[SWITCH](EVENT_KINDS.hostConnected, true);
  }
}

/** Replaces one method of the emitter by one that looks at the switch afterwards, even when a listener throws. */
function followed(method) {
  return function (event, listener) {
    try {
      return method.call(this, event, listener);
    } finally {
      follow(this, event);
    }
  };
}

function removeAllListeners(...args) {
  try {
    return EventEmitter.prototype.removeAllListeners.apply(this, args);
  } finally {
    const events = args.length > 0 ? [args[0]] : Object.keys(EVENT_KINDS);
    for (const event of events) follow(this, event);
  }
}

/** Puts Node's emitter above a class of the add-on, whose instances no constructor of ours ever sees. */
function makeEmitter(Class) {
  Object.setPrototypeOf(Class.prototype, EventEmitter.prototype);
}

/**
 * Makes a renderer class an emitter that turns each SDK callback on with the first listener and off with the last:
 * an SDK thread stands still during an event, so one that nobody hears is a loss.
 * once and prependOnceListener come here through on, prependListener and removeListener.
 */
function makeSwitchedEmitter(Class) {
  makeEmitter(Class);
  const { on, prependListener, removeListener } = EventEmitter.prototype;
  const methods = {
    on: followed(on),
    addListener: followed(on),
    prependListener: followed(prependListener),
    removeListener: followed(removeListener),
    off: followed(removeListener),
    removeAllListeners,
  };
  for (const [name, value] of Object.entries(methods)) {
    Object.defineProperty(Class.prototype, name, { value, writable: true, configurable: true, enumerable: false });
  }
}

module.exports = { EVENT_KINDS, SWITCH, makeEmitter, makeSwitchedEmitter };
