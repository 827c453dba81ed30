// Promises for the members that take a callback: `renderer.promises.load(file)`, `util.promisify(renderer.load)`.
'use strict';

const util = require('util');

// What a member's callback is called with decides how its promise settles.
const settle = {
  /** (error) or (error, value): as everywhere in Node. */
  errorFirst: (resolve, reject) => (error, value) => (error ? reject(error) : resolve(value)),
  /** (value): there is no failure to report. */
  value: (resolve) => (value) => resolve(value),
  /** (value) or (null) when it failed. */
  valueOrNull: (resolve, reject, name) => (value) =>
    value === null ? reject(new Error(`${name} failed: the image could not be made.`)) : resolve(value),
};

// Where the callback stands among the arguments, for the members that do not take it as the last one.
const CALLBACK_PLACES = { pickPlugin: 2, denoiseNow: 0, append: behindTexts };

const isText = (value) => typeof value === 'string' || value instanceof String;

/** Behind one array, or behind the leading strings. */
function behindTexts(args) {
  if (Array.isArray(args[0])) return 1;
  const behind = args.findIndex((value) => !isText(value));
  return behind < 0 ? args.length : behind;
}

const RENDERER = {
  addHosts: 'errorFirst',
  removeHosts: 'errorFirst',
  resetHosts: 'errorFirst',
  getAllHosts: 'value',
  getActiveHosts: 'value',
  getInactiveHosts: 'value',
  load: 'errorFirst',
  loadAsText: 'errorFirst',
  loadFromBuffer: 'errorFirst',
  append: 'errorFirst',
  appendAsText: 'errorFirst',
  appendFromBuffer: 'errorFirst',
  loadFiltered: 'errorFirst',
  loadAsTextFiltered: 'errorFirst',
  appendFiltered: 'errorFirst',
  appendAsTextFiltered: 'errorFirst',
  appendFromBufferFiltered: 'errorFirst',
  deletePlugins: 'value',
  start: 'errorFirst',
  render: 'errorFirst',
  export: 'errorFirst',
  stop: 'value',
  waitForRenderEnd: 'value',
  waitForSequenceEnd: 'value',
  pickPlugin: 'value',
  pickPlugins: 'value',
  denoiseNow: 'valueOrNull',
  saveIrradianceMapFile: 'errorFirst',
  saveLightCacheFile: 'errorFirst',
  savePhotonMapFile: 'errorFirst',
  saveCausticsFile: 'errorFirst',
  close: 'value',
};

const SERVER = {
  addHosts: 'errorFirst',
  removeHosts: 'errorFirst',
  resetHosts: 'errorFirst',
  getAllHosts: 'value',
  getActiveHosts: 'value',
  getInactiveHosts: 'value',
  close: 'value',
};

const IMAGE = {
  save: 'errorFirst',
  compress: 'errorFirst',
  getDownscaled: 'valueOrNull',
  getDownscaledCropped: 'valueOrNull',
  getFitIn: 'valueOrNull',
  getFitOut: 'valueOrNull',
  getCutIn: 'valueOrNull',
};

function callbackPlace(name, args) {
  const place = CALLBACK_PLACES[name];
  if (place === undefined) return args.length;
  return typeof place === 'function' ? place(args) : place;
}

/** The promise form of one member, called on its receiver with all arguments but the callback. */
function promised(member, name, kind) {
  return function (...args) {
    return new Promise((resolve, reject) => {
      const place = callbackPlace(name, args);
      const result = member.call(this, ...args.slice(0, place), settle[kind](resolve, reject, name), ...args.slice(place));
      // Work that did not begin calls nobody back.
      if (result === false) reject(new Error(`${name} failed: it could not begin.`));
    });
  };
}

// A second close with a callback would give the renderer's reference back twice.
function closedOnce(close) {
  const closings = new WeakMap();
  return function () {
    if (!closings.has(this)) closings.set(this, close.call(this));
    return closings.get(this);
  };
}

function define(target, key, value) {
  Object.defineProperty(target, key, { value, writable: true, configurable: true, enumerable: false });
}

/** Gives the members their promise forms, and the class the accessor `promises` that has them bound to the object. */
function addPromises(Class, kinds) {
  const forms = {};
  for (const [name, kind] of Object.entries(kinds)) {
    const member = Class.prototype[name];
    // The add-on of KILN_BUILD_DIR may be older than the package.
    if (!member) continue;
    forms[name] = promised(member, name, kind);
    if (name === 'close') forms[name] = closedOnce(forms[name]);
    define(member, util.promisify.custom, forms[name]);
  }
  Object.defineProperty(Class.prototype, 'promises', {
    configurable: true,
    enumerable: false,
    get() {
      const bound = {};
      for (const name of Object.keys(forms)) bound[name] = forms[name].bind(this);
      return bound;
    },
  });
}

/** Adds the promise forms to the classes; returns those of the functions that belong to no object. */
function setupPromises(native) {
  addPromises(native.KilnRenderer, RENDERER);
  addPromises(native.KilnServer, SERVER);
  addPromises(native.KilnImage, IMAGE);
  return Object.freeze({
    createKilnRenderer: promised(native.createKilnRenderer, 'createKilnRenderer', 'errorFirst').bind(native),
    createKilnServer: promised(native.createKilnServer, 'createKilnServer', 'errorFirst').bind(native),
    getOSLParameters: promised(native.getOSLParameters, 'getOSLParameters', 'errorFirst').bind(native),
    checkDRHost: promised(native.checkDRHost, 'checkDRHost', 'errorFirst').bind(native),
    createImageFromBuffer: promised(
      native.KilnImage.createFromBuffer,
      'createFromBuffer',
      'errorFirst'
    ).bind(native.KilnImage),
  });
}

module.exports = { setupPromises };
