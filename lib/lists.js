// The list classes of the package: typed arrays whose prototypes tell the add-on what their numbers mean.
'use strict';

const { inspect } = require('util');

/** Numbers of one list of triples, from triples ([x, y, z]) or objects that have the three keys. */
function flatten(items, keys) {
  const numbers = new Array(items.length * 3);
  items.forEach((item, index) => {
    for (let axis = 0; axis < 3; axis++) {
      numbers[index * 3 + axis] = Array.isArray(item) ? item[axis] : item[keys[axis]];
    }
  });
  return numbers;
}

// A list of plain numbers is taken as it is; the typed array methods that make a new list pass other things
// than arrays, and those go through untouched.
function listArguments(args, keys) {
  const items = args[0];
  const isTriples = Array.isArray(items) && items.length > 0 && typeof items[0] === 'object' && items[0] !== null;
  return isTriples ? [flatten(items, keys)] : args;
}

class IntList extends Int32Array {}

class FloatList extends Float32Array {}

/** Three floats a vector, packed. Takes what Float32Array takes, and an array of [x, y, z] or {x, y, z}. */
class VectorList extends Float32Array {
  constructor(...args) {
    super(...listArguments(args, ['x', 'y', 'z']));
  }
}

/** Three floats a colour, packed. Takes what Float32Array takes, and an array of [r, g, b] or {r, g, b}. */
class ColorList extends Float32Array {
  constructor(...args) {
    super(...listArguments(args, ['r', 'g', 'b']));
  }
}

// Lists print as the scene's values do, shortened in the way that util.inspect was asked for.
function printAs(List, text) {
  const define = (key, value) =>
    Object.defineProperty(List.prototype, key, { value, writable: true, configurable: true, enumerable: false });
  define('toString', function (maxItems) {
    return text(this, maxItems);
  });
  define(inspect.custom, function (depth, options) {
    const most = options.maxArrayLength;
    return text(this, Number.isFinite(most) ? Math.max(1, most) : 0);
  });
}

/** Hands the prototypes to the add-on. Float32Array.prototype is the root: it lies above every float list. */
function setupLists(native) {
  native.setupKilnTypesInternal(
    Float32Array.prototype,
    IntList.prototype,
    FloatList.prototype,
    VectorList.prototype,
    ColorList.prototype
  );
  printAs(IntList, native.intListToString);
  printAs(FloatList, native.floatListToString);
  printAs(VectorList, native.vectorListToString);
  printAs(ColorList, native.colorListToString);
}

module.exports = { IntList, FloatList, VectorList, ColorList, setupLists };
