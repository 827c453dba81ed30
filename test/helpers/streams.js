'use strict';

// Value streams, written and read. A value is an object {type, value}, its type one of the names below; lists may also
// have a form, 'inline' (as always when it is left out), 'borrowed' or 'kept'.
//
//   encodeStream({type: 'vector', value: [1, 2, 3]})            a Memory for an answer's block
//   encodeStream({type: 'list', value: [{type: 'int', value: 1}, {type: 'string', value: 'a'}]})
//   decodeStream(bytes, nested)                                 {type, tag, value, form?, ...}, end
//
// A decoded list of the forms borrowed and kept also has its `pointer`, a kept one its `release` and `cookie`.

const {constants} = require('./layouts');
const {Memory, readArray} = require('./memory');

const WIDTH = {int32_t: 4, uint32_t: 4, float: 4, double: 8};

// Tag name, then the numbers of the payload.
const FIXED = {
  int: ['KILN_VALUE_INT', ['int32_t']],
  float: ['KILN_VALUE_FLOAT', ['float']],
  double: ['KILN_VALUE_DOUBLE', ['double']],
  boolean: ['KILN_VALUE_BOOLEAN', ['uint32_t']],
  vector: ['KILN_VALUE_VECTOR', Array(3).fill('float')],
  color: ['KILN_VALUE_COLOR', Array(3).fill('float')],
  acolor: ['KILN_VALUE_ACOLOR', Array(4).fill('float')],
  matrix: ['KILN_VALUE_MATRIX', Array(9).fill('float')],
  transformFloat: ['KILN_VALUE_TRANSFORM_FLOAT', Array(12).fill('float')],
  transform: ['KILN_VALUE_TRANSFORM', [...Array(9).fill('float'), ...Array(3).fill('double')]],
};

// Element type, numbers in an element, tag names by form.
const LISTS = {
  intList: ['int32_t', 1, 'INT_LIST'],
  floatList: ['float', 1, 'FLOAT_LIST'],
  doubleList: ['double', 1, 'DOUBLE_LIST'],
  booleanList: ['uint32_t', 1, 'BOOLEAN_LIST'],
  vectorList: ['float', 3, 'VECTOR_LIST'],
  colorList: ['float', 3, 'COLOR_LIST'],
};
const FORMS = {inline: 'KILN_VALUE_', borrowed: 'KILN_VALUE_BORROWED_', kept: 'KILN_VALUE_KEPT_'};

function number(type, value) {
  const bytes = Buffer.alloc(WIDTH[type]);
  if (type === 'float') bytes.writeFloatLE(value);
  else if (type === 'double') bytes.writeDoubleLE(value);
  else bytes.writeInt32LE(Number(value) | 0);
  return bytes;
}

function word(value) {
  const bytes = Buffer.alloc(4);
  bytes.writeUInt32LE(Number(value) >>> 0);
  return bytes;
}

function wide(value) {
  const bytes = Buffer.alloc(8);
  bytes.writeBigUInt64LE(BigInt.asUintN(64, BigInt(value)));
  return bytes;
}

// There is always at least one zero byte behind the text.
function paddedText(text) {
  const bytes = Buffer.from(text, 'utf8');
  return Buffer.concat([word(bytes.length), bytes, Buffer.alloc((Math.floor(bytes.length / 4) + 1) * 4 - bytes.length)]);
}

class Writer {
  constructor() {
    this.parts = [];
    this.length = 0;
    this.memory = new Memory();
    this.texts = [];
  }

  push(...parts) {
    for (const part of parts) {
      this.parts.push(part);
      this.length += part.length;
    }
  }

  value({type, value, form = 'inline', output = 0}) {
    if (FIXED[type]) {
      const [tag, types] = FIXED[type];
      const values = types.length === 1 ? [value] : value;
      this.push(word(constants[tag]), ...types.map((one, i) => number(one, values[i])));
    } else if (LISTS[type]) {
      this.list(type, value, form);
    } else {
      this.other(type, value, output);
    }
  }

  list(type, value, form) {
    if (form !== 'inline') throw new Error('Only inline lists are written; the others carry addresses');
    const [element, per, tag] = LISTS[type];
    this.push(word(constants[FORMS.inline + tag]), word(Math.floor(value.length / per)));
    this.push(...Array.from(value, (one) => number(element, one)));
  }

  other(type, value, output) {
    switch (type) {
      case 'string':
        return this.push(word(constants.KILN_VALUE_STRING), paddedText(value));
      case 'stringPointer':
        this.push(word(constants.KILN_VALUE_STRING_POINTER));
        this.texts.push([this.length, value]);
        return this.push(wide(0));
      case 'stringList':
        return this.push(word(constants.KILN_VALUE_STRING_LIST), word(value.length), ...value.map(paddedText));
      case 'plugin':
        return this.push(word(constants.KILN_VALUE_PLUGIN), wide(value === null ? -1n : value));
      case 'pluginOutput':
        return this.push(word(constants.KILN_VALUE_PLUGIN_OUTPUT), wide(value), word(output));
      case 'list':
        this.push(word(constants.KILN_VALUE_LIST), word(value.length));
        return value.forEach((one) => this.value(one));
      case 'raw':
        return this.push(Buffer.from(value));
      default:
        throw new Error(`There is no stream value of the type "${type}"`);
    }
  }

  finish() {
    this.memory.append(Buffer.concat(this.parts));
    for (const [offset, text] of this.texts) {
      this.memory.point(offset, this.memory.append(Buffer.concat([Buffer.from(text, 'utf8'), Buffer.alloc(1)])));
    }
    return this.memory;
  }
}

function encodeStream(value) {
  const writer = new Writer();
  writer.value(value);
  return writer.finish();
}

const TAGS = new Map();
for (const [type, [tag, types]] of Object.entries(FIXED)) TAGS.set(constants[tag], {type, types});
for (const [type, [element, per, tail]] of Object.entries(LISTS)) {
  for (const [form, head] of Object.entries(FORMS)) {
    if (constants[head + tail] !== undefined) TAGS.set(constants[head + tail], {type, element, per, form});
  }
}
for (const type of ['string', 'plugin', 'list', 'stringList', 'stringPointer', 'pluginOutput']) {
  TAGS.set(constants[`KILN_VALUE_${type.replace(/[A-Z]/g, '_$&').toUpperCase()}`], {type});
}

class Reader {
  constructor(bytes, nested) {
    this.bytes = bytes;
    this.nested = nested;
    this.at = 0;
  }

  word() {
    this.at += 4;
    return this.bytes.readUInt32LE(this.at - 4);
  }

  wide() {
    this.at += 8;
    return this.bytes.readBigUInt64LE(this.at - 8);
  }

  number(type) {
    const [value] = readArray(type, this.bytes.subarray(this.at, this.at + WIDTH[type]));
    this.at += WIDTH[type];
    return value;
  }

  text() {
    const length = this.word();
    const text = this.bytes.toString('utf8', this.at, this.at + length);
    const padding = this.bytes.subarray(this.at + length, this.at + (Math.floor(length / 4) + 1) * 4);
    if (padding.some((byte) => byte !== 0)) throw new Error('The bytes behind a text of a stream are not zero');
    this.at += (Math.floor(length / 4) + 1) * 4;
    return text;
  }

  value() {
    const tag = this.word();
    const kind = TAGS.get(tag);
    if (!kind) return {type: 'unknown', tag};
    if (kind.types) {
      const values = kind.types.map((type) => this.number(type));
      return {type: kind.type, tag, value: values.length === 1 ? values[0] : values};
    }
    return {type: kind.type, tag, ...(kind.element ? this.list(kind) : this.other(kind.type))};
  }

  list({element, per, form}) {
    const count = this.word();
    if (form === 'inline') {
      return {form, count, value: Array.from({length: count * per}, () => this.number(element))};
    }
    const nested = this.nested.find((one) => one.o === this.at);
    const pointer = this.wide();
    const value = nested ? readArray(element, Buffer.from(nested.d, 'base64')) : null;
    const list = {form, count, value, pointer};
    return form === 'kept' ? {...list, release: this.wide(), cookie: this.wide()} : list;
  }

  other(type) {
    switch (type) {
      case 'string':
        return {value: this.text()};
      case 'plugin':
        return {value: this.wide()};
      case 'pluginOutput':
        return {value: this.wide(), output: this.word()};
      case 'stringPointer': {
        const nested = this.nested.find((one) => one.o === this.at);
        return {pointer: this.wide(), value: nested ? Buffer.from(nested.d, 'base64').toString('utf8') : null};
      }
      case 'stringList':
        return {value: Array.from({length: this.word()}, () => this.text())};
      default:
        return {value: Array.from({length: this.word()}, () => this.value())};
    }
  }
}

// The value at the start of the bytes, and `bytes`, those that it takes.
function decodeStream(bytes, nested = []) {
  const reader = new Reader(bytes, nested);
  const value = reader.value();
  return {...value, bytes: bytes.subarray(0, reader.at)};
}

module.exports = {encodeStream, decodeStream};
