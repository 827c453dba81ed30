'use strict';

// Turns what a test writes as an answer into the recorder's commands, by the types of the row. See recorder.js for
// the forms.

const {records, layout} = require('./layouts');
const {Memory, record, recordArray, bytesOf, textBytes, pointee, scalarSize, writeScalar} = require('./memory');

const ANSWER_KEYS = ['result', 'out', 'delay', 'gate', 'raise', 'wait', 'filter', 'keep', 'complete'];
const VALUE_KEYS = ['block', 'image', 'vector', 'handle', 'text', 'bits'];

function isPlainObject(value) {
  return typeof value === 'object' && value !== null && !Array.isArray(value) && !ArrayBuffer.isView(value) &&
    !(value instanceof Memory) && !(value instanceof ArrayBuffer);
}

function hex(value) {
  return BigInt.asUintN(64, BigInt(value)).toString(16);
}

function bits(value) {
  return {k: 'bits', b: hex(value)};
}

function block(memory) {
  return {k: 'block', ...Memory.of(memory).toJSON()};
}

function scalarBits(type, value) {
  const buffer = Buffer.alloc(8);
  writeScalar(buffer, 0, scalarSize(type) === 4 || type === 'double' ? type : 'uint64_t', value);
  return bits(buffer.readBigUInt64LE(0));
}

// The records behind the pointer of a result, or of a result that is written through a pointer.
function pickResult(picks) {
  const memory = new Memory(layout('KilnPickResult').size - layout('KilnPick').size);
  memory.bytes.writeUInt32LE(picks.length, 0);
  memory.appendArray('KilnPick', picks);
  return memory;
}

// {pathsPerSecond, ..., devices: [{name, ...}], counters: [11 numbers]}, at 4-byte boundaries.
function statistics({devices = [], counters = [], ...head}) {
  const {constants} = require('./layouts');
  const deviceSize = layout('KilnStatisticsDevice').size;
  const start = constants.KILN_STATISTICS_DEVICES_OFFSET;
  const behind = start + devices.length * deviceSize;
  const memory = new Memory(Math.max(behind + constants.KILN_STATISTICS_COUNTERS * 8, layout('KilnStatisticsHead').size));
  memory.putRecord('KilnStatisticsHead', 0, {device_count: devices.length, ...head});
  devices.forEach((device, i) => memory.putRecord('KilnStatisticsDevice', start + i * deviceSize, device));
  counters.forEach((counter, i) => memory.bytes.writeBigUInt64LE(BigInt(counter), behind + i * 8));
  return memory;
}

function recordBlock(name, value) {
  if (name === 'KilnPickResult') return block(pickResult(value));
  if (name === 'KilnStatisticsHead') return block(statistics(value));
  return block(Array.isArray(value) ? recordArray(name, value) : record(name, value));
}

function arrayBlock(type, values) {
  const memory = new Memory();
  memory.appendArray(type, values);
  return block(memory);
}

function explicitValue(value, intern) {
  if (value.block !== undefined) return block(value.block);
  if (value.image !== undefined) return {k: 'image', w: value.image.width, h: value.image.height};
  if (value.vector !== undefined) return {k: 'vector', t: value.vector.map((one) => Buffer.from(one).toString('base64'))};
  if (value.handle !== undefined) return {k: 'handle', of: value.handle};
  if (value.text !== undefined) return bits(intern(value.text));
  return bits(value.bits);
}

// The word for a value of that type; `intern` makes a text that stays.
function toValue(type, value, intern) {
  if (value === null || value === undefined) return bits(0);
  if (typeof value === 'boolean') return bits(value ? 1 : 0);
  if (typeof value === 'bigint') return bits(value);
  if (typeof value === 'number') return scalarBits(type, value);
  if (typeof value === 'string') return type === 'const char*' ? bits(intern(value)) : block(textBytes(value));
  if (isPlainObject(value) && VALUE_KEYS.some((key) => key in value)) return explicitValue(value, intern);
  if (type === 'KilnImageHandle') return explicitValue({image: value}, intern);
  if (type === 'KilnStringVector') return explicitValue({vector: value}, intern);
  const target = pointee(type);
  if (value instanceof Memory || ArrayBuffer.isView(value) || value instanceof ArrayBuffer) return block(value);
  if (records[target]) return recordBlock(target, value);
  if (Array.isArray(value)) return arrayBlock(target, value);
  throw new TypeError(`No value of the type ${type} can be made of ${String(value)}`);
}

// The writes into a record of the host's: of each named field, or, for "*field", into what the field points to.
function recordOuts(index, name, values) {
  return Object.entries(values).flatMap(([key, value]) => {
    const through = key.startsWith('*');
    const field = layout(name).fields.find((one) => one.name === key.replace('*', ''));
    if (!field) throw new Error(`The record ${name} has no field "${key}"`);
    if (through) return [{i: index, o: field.offset, through: true, d: bytesOf(value).toString('base64')}];
    const memory = record(name, {[field.name]: value});
    const size = field.size * (field.length === undefined ? 1 : field.length);
    if (memory.pointers.length > 0) throw new Error('A text in a record of the host\'s is written as an address');
    const bytes = memory.bytes.subarray(field.offset, field.offset + size);
    return [{i: index, o: field.offset, d: bytes.toString('base64')}];
  });
}

function toOuts(index, type, value, intern) {
  if (!type.endsWith('*')) throw new Error(`A parameter of the type ${type} is nothing to write to`);
  const target = pointee(type);
  if (target.endsWith('*')) return [{i: index, v: toValue(target, value, intern)}];
  if (ArrayBuffer.isView(value)) return [{i: index, d: bytesOf(value).toString('base64')}];
  if (typeof value === 'string') return [{i: index, d: textBytes(value).toString('base64')}];
  if (records[target] && isPlainObject(value)) {
    // A text of the SDK's in a record stays for the life of the process.
    const fields = Object.entries(value).map(([key, one]) => {
      return [key, typeof one === 'string' && !key.startsWith('*') ? intern(one) : one];
    });
    return recordOuts(index, target, Object.fromEntries(fields));
  }
  const values = Array.isArray(value) ? value : [value];
  const size = scalarSize(target);
  const bytes = Buffer.alloc(size * values.length);
  values.forEach((one, i) => writeScalar(bytes, i * size, target, typeof one === 'boolean' ? Number(one) : one));
  return [{i: index, d: bytes.toString('base64')}];
}

function parameterIndex(row, key) {
  const index = /^\d+$/.test(key) ? Number(key) : row.parameters.findIndex((one) => one.name === key);
  if (!row.parameters[index]) throw new Error(`${row.name} has no parameter "${key}"`);
  return index;
}

function isAnswer(spec) {
  return isPlainObject(spec) && Object.keys(spec).every((key) => ANSWER_KEYS.includes(key));
}

// The command's answer for what a test wrote.
function toAnswer(row, spec, intern, toRaise) {
  const answer = isAnswer(spec) ? spec : {result: spec};
  const out = {delay: answer.delay || 0, gate: String(answer.gate || ''), keep: Boolean(answer.keep)};
  if ('result' in answer) out.result = toValue(row.result, answer.result, intern);
  out.outs = Object.entries(answer.out || {}).flatMap(([key, value]) => {
    const index = parameterIndex(row, key);
    return toOuts(index, row.parameters[index].type, value, intern);
  });
  out.raises = (answer.raise || []).map(([setter, fields, options]) => toRaise(setter, fields, options));
  out.wait = answer.wait !== false;
  const base64 = (text) => text === null ? null : Buffer.from(text).toString('base64');
  out.filter = (answer.filter || []).map((names) => names.map(base64));
  if (answer.complete !== undefined) {
    const {image, delay = 0, sameThread = false} = answer.complete;
    out.complete = {w: image ? image.width : 0, h: image ? image.height : 0, delay, same_thread: sameThread};
  }
  return out;
}

module.exports = {toAnswer, toValue, hex};
