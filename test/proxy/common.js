'use strict';

// What the tests of mesh files share: the add-on bound to the recorder with list classes, and a plugin of the class of mesh
// files.

const {loadNative, recorder} = require('../helpers');

const kiln = loadNative();
class FloatList extends Float32Array {}
class VectorList extends Float32Array {}
class ColorList extends Float32Array {}
class IntList extends Int32Array {}
kiln.setupKilnTypesInternal(Float32Array.prototype, IntList.prototype, FloatList.prototype, VectorList.prototype, ColorList.prototype);
kiln.enableFrameBuffer(false);

const entry = (name) => `Kiln_KilnRenderer_${name}`;
const TYPE = entry('getPluginTypeByID');

let nextId = 1n << 40n;
/** A plugin of a renderer, which the library says is of the class. */
function pluginOf(renderer, type = 'GeomMeshFile') {
  const id = (nextId += 2n);
  recorder.once(entry('getPluginID'), id);
  const plugin = renderer.plugins.any;
  recorder.answer(TYPE, {text: type});
  return {plugin, id};
}

const NAMES = new Map([[IntList, 'IntList'], [FloatList, 'FloatList'], [VectorList, 'VectorList'], [ColorList, 'ColorList']]);
/** The name of a list's class. */
const listName = (list) => {
  for (const [Class, name] of NAMES) if (Object.getPrototypeOf(list) === Class.prototype) return name;
  return undefined;
};

module.exports = {kiln, recorder, entry, pluginOf, listName, IntList, FloatList, VectorList, ColorList};
