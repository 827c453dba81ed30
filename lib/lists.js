// The list classes of the package: typed arrays whose prototypes tell the add-on what their numbers mean.
'use strict';

const { inspect } = require('util');

const XYZ = ['x', 'y', 'z'];
const RGB = ['r', 'g', 'b'];

/** The three numbers of an element: [x, y, z], or an object that has the three keys. Throws a TypeError. */
function triple(item, keys, index) {
  const isObject = typeof item === 'object' && item !== null;
  const isArray = Array.isArray(item) || ArrayBuffer.isView(item);
  const numbers = isObject && (!isArray || item.length === 3) && keys.map((key, axis) => item[isArray ? axis : key]);
  if (!numbers || !numbers.every((number) => typeof number === 'number')) {
    throw new TypeError(`Element ${index} must be [${keys.join(', ')}] or {${keys.join(', ')}}, of numbers.`);
  }
  return numbers;
}

function flatten(items, keys) {
  const numbers = new Float32Array(items.length * 3);
  items.forEach((item, index) => numbers.set(triple(item, keys, index), index * 3));
  return numbers;
}

// Arrays and other iterables of elements become numbers. The rest is the typed array's own: plain numbers, a count,
// a buffer, and what the methods of typed arrays pass when they make a new list.
function listArguments(args, keys) {
  const [source] = args;
  const isIterable = typeof source === 'object' && source !== null && typeof source[Symbol.iterator] === 'function';
  if (!isIterable || ArrayBuffer.isView(source)) return args;
  const items = Array.isArray(source) ? source : Array.from(source);
  return [typeof items[0] === 'object' ? flatten(items, keys) : items];
}

class IntList extends Int32Array {}

class FloatList extends Float32Array {}

/** Three floats a vector, packed. Takes what Float32Array takes, and vectors, [x, y, z] or {x, y, z}. */
class VectorList extends Float32Array {
  constructor(...args) {
    super(...listArguments(args, XYZ));
  }

  static from(items, map, self) {
    return new this(map === undefined ? Array.from(items) : Array.from(items, map, self));
  }
}

/** Three floats a colour, packed. Takes what Float32Array takes, and colours, [r, g, b] or {r, g, b}. */
class ColorList extends Float32Array {
  constructor(...args) {
    super(...listArguments(args, RGB));
  }

  static from(items, map, self) {
    return new this(map === undefined ? Array.from(items) : Array.from(items, map, self));
  }
}

/** Puts members on a list's prototype as a class would. */
function define(List, members) {
  for (const [key, descriptor] of Object.entries(Object.getOwnPropertyDescriptors(members))) {
    Object.defineProperty(List.prototype, key, { ...descriptor, enumerable: false });
  }
}

// A list of numbers has numbers as its elements.
function countNumbers(List) {
  define(List, {
    get count() {
      return this.length;
    },
    toArray() {
      return Array.from(this);
    },
  });
}

// A list of triples counts, reads, writes and walks its elements beside the numbers that it has as a typed array.
function countTriples(List, Element, keys) {
  const holds = (list, index) => Number.isInteger(index) && index >= 0 && index < list.count;
  const setNumbers = Float32Array.prototype.set;
  define(List, {
    get count() {
      return Math.floor(this.length / 3);
    },
    get(index) {
      return holds(this, index)
        ? new Element(this[index * 3], this[index * 3 + 1], this[index * 3 + 2])
        : undefined;
    },
    // With an index the element there; otherwise what every typed array has, set(numbers, offset).
    set(...args) {
      const [index, element] = args;
      if (typeof index !== 'number') return setNumbers.apply(this, args);
      if (!holds(this, index)) throw new RangeError(`There is no element ${index}: the list has ${this.count}.`);
      return setNumbers.call(this, triple(element, keys, index), index * 3);
    },
    *elements() {
      for (let index = 0; index < this.count; index++) yield this.get(index);
    },
    toArray() {
      return Array.from(this.elements());
    },
  });
}

// Lists print as the scene's values do, shortened in the way that util.inspect was asked for.
function printAs(List, text) {
  define(List, {
    toString(maxItems) {
      return text(this, maxItems);
    },
  });
  Object.defineProperty(List.prototype, inspect.custom, {
    value(depth, options) {
      const most = options.maxArrayLength;
      return text(this, Number.isFinite(most) ? Math.max(1, most) : 0);
    },
    writable: true,
    configurable: true,
    enumerable: false,
  });
}

/**
 * Hands the prototypes to the add-on, and gives the lists their members.
 * Float32Array.prototype is the root: it lies above every float list.
 */
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
  countNumbers(IntList);
  countNumbers(FloatList);
  countTriples(VectorList, native.Vector, XYZ);
  countTriples(ColorList, native.Color, RGB);
}

module.exports = { IntList, FloatList, VectorList, ColorList, setupLists };
