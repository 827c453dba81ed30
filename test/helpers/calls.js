'use strict';

// Recorded calls as objects:
//
//   name, seq, thread       entry point, number in the order of all calls, the operating system's thread
//   onJsThread              whether that is the thread that asks
//   args, arg               the arguments in order, and by parameter name
//   bits                    their raw words as BigInt, which tell NaN patterns apart
//   before                  what the numbers behind in-out parameters were when the call came, by name
//   done, result, ms        whether the call has returned, what it answered, how long it took
//   stale                   the first argument was a handle that had been released
//   filter                  the filter's answers: {first, second, outcome: 'left out' | 'kept' | 'renamed', name}
//   bytes(parameter)        the bytes of a captured record, stream or memory, as a Buffer
//
// 32-bit integers and floating numbers are Numbers; handles, plugin IDs, pointers and 64-bit integers are BigInts.
// Texts are strings or null; captured records are objects, captured arrays are arrays, and value streams are what
// decodeStream gives.

const {records} = require('./layouts');
const {readRecord, readArray, readName, pointee} = require('./memory');
const {decodeStream} = require('./streams');

const ARRAYS = ['KilnSceneBuffer', 'KilnSubSequence', 'KilnContextMenuItem', 'ProxyTransform'];
const OUTCOMES = {l: 'left out', k: 'kept', r: 'renamed'};

function fromBits(type, bits) {
  const buffer = Buffer.alloc(8);
  buffer.writeBigUInt64LE(bits);
  switch (type) {
    case 'void': return undefined;
    case 'int32_t': return buffer.readInt32LE(0);
    case 'uint32_t': return buffer.readUInt32LE(0);
    case 'float': return buffer.readFloatLE(0);
    case 'double': return buffer.readDoubleLE(0);
    case 'int64_t': return buffer.readBigInt64LE(0);
    default: return bits;
  }
}

function textOf(base64) {
  return Buffer.from(base64, 'base64').toString('utf8');
}

function capturedMemory(type, bytes) {
  if (type === 'const void*') return bytes;
  return readArray(pointee(type), bytes);
}

function argumentValue(parameter, argument) {
  const {type} = parameter;
  const bits = BigInt(`0x${argument.b}`);
  switch (argument.k) {
    case 't':
      return textOf(argument.d);
    case 's':
      return decodeStream(Buffer.from(argument.i[0].d, 'base64'), argument.i[0].n);
    case 'a':
      return type.startsWith('const ') ? capturedMemory(type, Buffer.from(argument.d, 'base64')) : bits;
    case 'i': {
      const target = pointee(type);
      if (target === 'const char*' || target === 'char*' || target === 'char') return argument.i.map(readName);
      if (records[target]) {
        const all = argument.i.map((item) => readRecord(target, item));
        return ARRAYS.includes(target) ? all : all[0];
      }
      return argument.i.map((item) => readRecord(pointee(target), item));
    }
    default:
      if (bits === 0n && type.startsWith('const ') && type.endsWith('*')) return null;
      return fromBits(type, bits);
  }
}

class Call {
  constructor(row, raw, threadId) {
    this.name = row.name;
    this.seq = raw.seq;
    this.thread = raw.thread;
    this.onJsThread = raw.thread === threadId;
    this.stale = raw.stale;
    this.done = raw.done;
    this.ms = raw.ms;
    this.resultBits = BigInt(`0x${raw.result}`);
    this.result = fromBits(row.result, this.resultBits);
    this.bits = raw.args.map((argument) => BigInt(`0x${argument.b}`));
    this.args = row.parameters.map((parameter, i) => argumentValue(parameter, raw.args[i]));
    this.arg = {};
    this.before = {};
    row.parameters.forEach(({name, type}, i) => {
      this.arg[name] = this.args[i];
      if (raw.args[i].k === 'a' && !type.startsWith('const ')) {
        [this.before[name]] = readArray(pointee(type), Buffer.from(raw.args[i].d, 'base64'));
      }
    });
    this.filter = (raw.filter || []).map(([first, second, outcome, name]) =>
      ({first: textOf(first), second: textOf(second), outcome: OUTCOMES[outcome], name: textOf(name)}));
    Object.defineProperty(this, 'raw', {value: raw});
    Object.defineProperty(this, 'row', {value: row});
  }

  bytes(parameter) {
    const index = typeof parameter === 'number'
      ? parameter
      : this.row.parameters.findIndex((one) => one.name === parameter);
    const argument = this.raw.args[index];
    if (!argument) throw new Error(`${this.name} has no parameter "${parameter}"`);
    if (argument.d !== undefined) return Buffer.from(argument.d, 'base64');
    return Buffer.concat((argument.i || []).map((item) => Buffer.from(item.d, 'base64')));
  }
}

module.exports = {Call, fromBits};
