'use strict';

// Memory that a test describes and the recorder makes: bytes, with pointers into themselves and images. And the way
// back: records that the recorder captured, as objects.

const {layout, records} = require('./layouts');

const ALIGNMENT = 8;

function writeScalar(buffer, offset, type, value) {
  switch (type) {
    case 'uint8_t': return buffer.writeUInt8(Number(value), offset);
    case 'int32_t': return buffer.writeInt32LE(Number(value) | 0, offset);
    case 'uint32_t': return buffer.writeUInt32LE(Number(value) >>> 0, offset);
    case 'float': return buffer.writeFloatLE(value, offset);
    case 'double': return buffer.writeDoubleLE(value, offset);
    default: return buffer.writeBigUInt64LE(BigInt.asUintN(64, BigInt(value)), offset);
  }
}

function readScalar(buffer, offset, type) {
  switch (type) {
    case 'uint8_t': return buffer.readUInt8(offset);
    case 'int32_t': return buffer.readInt32LE(offset);
    case 'uint32_t': return buffer.readUInt32LE(offset);
    case 'float': return buffer.readFloatLE(offset);
    case 'double': return buffer.readDoubleLE(offset);
    case 'int64_t': return buffer.readBigInt64LE(offset);
    default: return buffer.readBigUInt64LE(offset);
  }
}

// A NUL-terminated text as bytes.
function textBytes(text) {
  return Buffer.concat([Buffer.from(text, 'utf8'), Buffer.alloc(1)]);
}

function bytesOf(value) {
  if (typeof value === 'string') return textBytes(value);
  if (Buffer.isBuffer(value)) return value;
  if (ArrayBuffer.isView(value)) return Buffer.from(value.buffer, value.byteOffset, value.byteLength);
  if (value instanceof ArrayBuffer) return Buffer.from(value);
  throw new TypeError('Memory is made of a string, a Buffer, a typed array or an ArrayBuffer');
}

// "const KilnBox*" gives "KilnBox".
function pointee(type) {
  return type.replace(/^const /, '').replace(/( const)?\*$/, '').trim();
}

class Memory {
  constructor(size = 0) {
    this.bytes = Buffer.alloc(size);
    this.pointers = [];
    this.images = [];
    this.targets = {};  // offsets of what the first record's fields point to, by name
  }

  static of(value) {
    if (value instanceof Memory) return value;
    const memory = new Memory();
    memory.bytes = Buffer.from(bytesOf(value));
    return memory;
  }

  // Adds the bytes behind what is there, on an 8-byte boundary; returns their offset.
  append(bytes) {
    const offset = Math.ceil(this.bytes.length / ALIGNMENT) * ALIGNMENT;
    this.bytes = Buffer.concat([this.bytes, Buffer.alloc(offset - this.bytes.length), bytes]);
    return offset;
  }

  point(offset, target) {
    this.pointers.push([offset, target]);
  }

  // Adds an array of scalars or of records; returns its offset.
  appendArray(type, values) {
    const record = records[type];
    const size = record ? record.size : scalarSize(type);
    const start = this.append(Buffer.alloc(size * values.length));
    values.forEach((value, i) => this.putField({type, offset: 0}, start + i * size, value));
    return start;
  }

  // Writes the fields of a record at the offset; fields that are not named stay zero.
  putRecord(name, offset, values) {
    const fields = layout(name).fields;
    for (const key of Object.keys(values)) {
      const field = fields.find((one) => one.name === key);
      if (!field) throw new Error(`The record ${name} has no field "${key}"`);
      if (field.length !== undefined) {
        Array.from(values[key]).forEach((value, i) =>
          this.putField({...field, offset: field.offset + i * field.size}, offset, value));
      } else {
        this.putField(field, offset, values[key]);
      }
    }
  }

  putField(field, base, value) {
    const at = base + field.offset;
    if (value === null || value === undefined) return;
    if (records[field.type]) return this.putRecord(field.type, at, value);
    if (field.type === 'KilnImageHandle' && typeof value === 'object') {
      this.images.push([at, value.width, value.height]);
      return;
    }
    if (field.type.endsWith('*') && typeof value !== 'bigint' && typeof value !== 'number') {
      const target = this.appendTarget(field.type, value);
      if (base === 0) this.targets[field.name] = target;
      this.point(at, target);
      return;
    }
    writeScalar(this.bytes, at, field.type, value);
  }

  appendTarget(type, value) {
    const target = pointee(type);
    if (Array.isArray(value) && target !== 'char' && target !== 'void') return this.appendArray(target, value);
    if (records[target] && !ArrayBuffer.isView(value)) return this.appendArray(target, [value]);
    if (Array.isArray(value)) return this.append(Buffer.concat(value.map(textBytes)));
    return this.append(bytesOf(value));
  }

  toJSON() {
    return {d: this.bytes.toString('base64'), p: this.pointers, g: this.images};
  }
}

function scalarSize(type) {
  return {uint8_t: 1, int32_t: 4, uint32_t: 4, float: 4}[type] || 8;
}

// A record as Memory. Texts, arrays and records that its fields point to stand in the same memory behind it, and
// {width, height} in the place of an image makes one.
function record(name, values = {}) {
  const memory = new Memory(layout(name).size);
  memory.putRecord(name, 0, values);
  return memory;
}

// Several records one behind the other.
function recordArray(name, list) {
  const memory = new Memory();
  memory.appendArray(name, list);
  return memory;
}

function readArray(type, bytes) {
  const size = scalarSize(type);
  return Array.from({length: bytes.length / size}, (_, i) => readScalar(bytes, i * size, type));
}

// What a field of a captured record points to, as a value.
function readNested(type, nested) {
  const target = pointee(type);
  if (nested.k === 't') return Buffer.from(nested.d, 'base64').toString('utf8');
  if (nested.k === 'r') return readTexts(Buffer.from(nested.d, 'base64'));
  if (nested.k === 'a') {
    const bytes = Buffer.from(nested.d, 'base64');
    if (target === 'void') return bytes;
    return records[target] ? readRecords(target, bytes) : readArray(target, bytes);
  }
  if (records[target]) return nested.i.map((item) => readRecord(target, item));
  if (pointee(target) === 'char') return nested.i.map(readName);
  return nested.i.map((item) => readArray(pointee(target), Buffer.from(item.d, 'base64')));
}

function readRecords(name, bytes) {
  const {size} = layout(name);
  return Array.from({length: bytes.length / size}, (_, i) => readFields(name, bytes, i * size, []));
}

function readName(item) {
  return item.n ? Buffer.from(item.n[0].d, 'base64').toString('utf8') : null;
}

// Texts one behind the other, up to an empty one or the end.
function readTexts(bytes) {
  const texts = bytes.toString('utf8').split('\0');
  texts.pop();
  while (texts.length > 0 && texts[texts.length - 1] === '') texts.pop();
  return texts;
}

function readFields(name, bytes, base, nested) {
  const values = {};
  for (const field of layout(name).fields) {
    const at = base + field.offset;
    const inner = nested.find((one) => one.o === at);
    if (field.length !== undefined) {
      values[field.name] = Array.from({length: field.length}, (_, i) => records[field.type]
        ? readFields(field.type, bytes, at + i * field.size, [])
        : readScalar(bytes, at + i * field.size, field.type));
    } else if (records[field.type]) {
      values[field.name] = readFields(field.type, bytes, at, []);
    } else if (inner) {
      values[field.name] = readNested(field.type, inner);
    } else {
      const value = readScalar(bytes, at, field.type);
      values[field.name] = field.type.endsWith('*') && value === 0n ? null : value;
    }
  }
  return values;
}

// A captured record {d, n} as an object; an empty one, for a null pointer, as null.
function readRecord(name, item) {
  if (!item.d) return null;
  return readFields(name, Buffer.from(item.d, 'base64'), 0, item.n || []);
}

module.exports = {
  Memory, record, recordArray, readRecord, readRecords, readScalar, writeScalar, readArray, readTexts, readName, bytesOf,
  textBytes, pointee, scalarSize,
};
