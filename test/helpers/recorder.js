'use strict';

// Drives the recording library that stands in for the SDK. One recorder serves the process: scripts, calls and blocks
// are common to all its threads, and outlive an unload of the library.
//
// Scripting.
//   recorder.answer(name, spec)         what the entry point answers from now on
//   recorder.once(name, spec, times)    what it answers next, before that; a queue
//   recorder.reset(name?)               back to its own answer
//   recorder.unused()                   queued answers that nothing has asked for, by name
// A spec is the result alone, or an object of any of these:
//   result    a number, BigInt, boolean or null; a string (of the SDK's for `const char*`, a block for `char*`); a
//             Buffer, typed array or Memory (a block); {width, height} for an image; an array of strings for a string
//             vector; an object or an array of objects for records. Explicitly: {block}, {image}, {vector},
//             {handle: 'renderer' | 'server' | 'scan'}, {text}, {bits}. Left out: the recorder's own answer.
//   out       {parameter: value}, by name or index: a number or array by the parameter's width, a Buffer as it is, a
//             string with its NUL, and for a pointer to a pointer a value as for a result. For a record of the host's
//             an object of fields, where '*field' writes through the pointer that the host put there.
//   delay     milliseconds before the answer        gate    the name of a gate that the call waits at
//   raise     [[setter, fields, options], ...] raised from other threads during the call; `wait: false` does not wait
//   filter    [[first, second], ...] that the plugin filter is asked for, on the calling thread; first may be null
//   keep      keeps scene buffers and kept lists, until releaseKept
//   complete  {image?: {width, height}, delay?, sameThread?}: how a denoise request ends
//
// Looking. calls(name?), last(name), count(name), counts(), names(), clear(); see calls.js for a call's fields.
// ignore(name) keeps a busy entry point out of the log, countOnly(true) everything. faults() takes the faults: blocks
// freed twice, unknown handles and the like. Those that nobody has taken fail the process at its end.
//
// Memory. live() tells what the host still holds: {blocks, bytes, handles, vectors, kept, threads, callbacks}; liveCounts()
// only counts. protect(true) makes a late access a SIGSEGV. failAllocations(skip, count) makes C_memory_alloc answer null.
//
// Callbacks. raise(setter, fields, options) resolves to {delivered, result, sum, ms, after}; see raise below.

const {isMainThread} = require('worker_threads');
const paths = require('./paths');
const {EVENTS} = require('./events');
const {layout} = require('./layouts');
const {Memory, record, recordArray, readRecords, textBytes} = require('./memory');
const {Call, fromBits} = require('./calls');
const {toAnswer, toValue, hex} = require('./answers');

const control = require(paths.control);

function command(op, parameters = {}) {
  const answer = JSON.parse(control.command(JSON.stringify({op, ...parameters})));
  if (answer.refused !== undefined) throw new Error(`recorder: ${answer.refused}`);
  return answer.ok;
}

const rows = command('entries').map((row) => ({
  ...row,
  parameters: row.parameters.map(([type, name, known]) => ({type, name, known})),
}));
const rowIndex = new Map(rows.map((row, i) => [row.name, i]));
const threadId = command('thread').id;

function rowOf(name) {
  if (!rowIndex.has(name)) throw new Error(`There is no entry point "${name}"`);
  return rows[rowIndex.get(name)];
}

// Work that the recorder's threads do. While any is under way the loop stays alive, unless it was started with
// `hold: false`.
const pending = new Map();
let held = 0;

function updateHold(change) {
  held += change;
  if (held === 0 || (held === 1 && change === 1)) control.hold(held > 0);
}

control.listen((text) => {
  const message = JSON.parse(text);
  const waiting = pending.get(message.ticket);
  if (!waiting) return;
  pending.delete(message.ticket);
  if (waiting.hold) updateHold(-1);
  waiting.resolve(message);
});

function finished(ticket, hold = true) {
  if (hold) updateHold(1);
  return new Promise((resolve) => {
    pending.set(ticket, {resolve, hold});
  });
}

const interned = new Map();

// The address of a text that stays for the life of the process.
function intern(text) {
  if (!interned.has(text)) {
    interned.set(text, BigInt(`0x${command('intern', {d: Buffer.from(text, 'utf8').toString('base64')}).b}`));
  }
  return interned.get(text);
}

// The memory of an event: the fields of its record, and `time`.
function eventMemory(setter, fields) {
  const name = EVENTS[setter];
  if (!name) throw new Error(`"${setter}" is no setter of a callback`);
  const {time = 0, ...rest} = fields;
  const values = {head: {time}, ...rest};
  if (name === 'KilnUploadEvent' && Array.isArray(rest.strings)) values.count = rest.strings.length;
  if (name === 'KilnLightMixEvent' && Array.isArray(rest.items)) values.count = rest.items.length;
  return record(name, values);
}

function raiseRequest(setter, fields = {}, options = {}) {
  const request = {row: rowIndex.get(setter), null_record: fields === null};
  const memory = fields === null ? null : eventMemory(setter, fields);
  if (memory) request.record = memory.toJSON();
  if (options.handle !== undefined) request.handle = hex(options.handle);
  request.count = options.count === undefined ? 1 : options.count;
  request.threads = options.threads || 1;
  request.stale = Boolean(options.stale);
  request.serial = options.serial !== false;
  return {request, memory};
}

const recorder = {
  control, command, rows, threadId, paths,
  record, recordArray, Memory, intern,

  row: rowOf,

  answer(name, spec) {
    const answer = toAnswer(rowOf(name), spec, intern, (...raise) => raiseRequest(...raise).request);
    command('answer', {name, answer});
  },

  once(name, spec, times = 1) {
    const answer = toAnswer(rowOf(name), spec, intern, (...raise) => raiseRequest(...raise).request);
    command('answer', {name, answer, times});
  },

  reset(name) {
    command('drop_answers', name === undefined ? {} : {name});
  },

  unused: () => command('unused'),

  calls(name) {
    return command('calls', name === undefined ? {} : {name}).map((raw) => new Call(rows[raw.row], raw, threadId));
  },

  last(name) {
    const calls = recorder.calls(name);
    return calls[calls.length - 1];
  },

  // Names in the order of the calls, without those of `except` (the memory's own functions when left out).
  names(except = ['C_memory_free', 'C_memory_alloc', 'C_memory_realloc']) {
    return command('calls').map((raw) => rows[raw.row].name).filter((name) => !except.includes(name));
  },

  counts: () => command('counts') || {},
  count: (name) => (rowOf(name), recorder.counts()[name] || 0),
  clear: () => void command('clear_calls'),
  ignore: (name, on = true) => void command('ignore', {name, on}),
  countOnly: (on = true) => void command('recording', {all: !on}),

  faults: () => command('faults'),

  // Throws when there were faults; takes them.
  check() {
    const faults = recorder.faults();
    if (faults.length > 0) throw new Error(faults.map((fault) => `${fault.kind}: ${fault.text}`).join('\n'));
  },

  live() {
    const live = command('live');
    live.blocks.forEach((block) => { block.address = BigInt(`0x${block.address}`); });
    live.handles.forEach((handle) => { handle.handle = BigInt(`0x${handle.handle}`); });
    return live;
  },

  // Blocks, without a turn of the loop, until an SDK thread is inside a callback.
  awaitCallback({timeout = 10000} = {}) {
    const end = Date.now() + timeout;
    const cell = new Int32Array(new SharedArrayBuffer(4));
    while (command('live').callbacks === 0) {
      if (Date.now() > end) throw new Error('No callback came');
      Atomics.wait(cell, 0, 0, 1);
    }
  },

  liveCounts: () => command('count_live'),
  resetAllocator: () => void command('reset_allocator'),
  protect: (on = true) => void command('protect', {on}),
  failAllocations: (skip, count = 1) => void command('fail_allocations', {skip, count}),

  // A gate that scripted calls wait at. All gates open when the process ends.
  gate(name) {
    command('close_gate', {gate: name});
    return {
      name,
      open: () => void command('open', {gate: name}),
      close: () => void command('close_gate', {gate: name}),
      waiting: () => command('waiting', {gate: name}).count,
      toString: () => name,
    };
  },

  // Calls back as the SDK would, from threads of its own. `fields` is an object of the event's fields (events.js), or
  // null for a null record. Options: handle (the renderer; otherwise the one that set its callback last), count and
  // threads (in all; from how many threads), stale (also after it was cleared or closed), serial (false: not one by
  // one), hold (false: the loop need not wait for it).
  // Resolves to {delivered, result, sum, ms, after, items}: how many were delivered, the last result and the sum of
  // all, how long it took, the event's memory as the last callback left it, and the items of a light mix.
  raise(setter, fields = {}, options = {}) {
    const {request, memory} = raiseRequest(setter, fields, options);
    const {ticket} = command('raise', request);
    return finished(ticket, options.hold).then((message) => {
      const after = Buffer.from(message.after, 'base64');
      const {delivered, result, sum, ms} = message;
      const outcome = {delivered, result, sum, ms, after};
      if (memory && memory.targets.items !== undefined && after.length > 0) {
        const start = memory.targets.items;
        const size = layout('KilnLightMixItem').size * fields.items.length;
        outcome.items = readRecords('KilnLightMixItem', after.subarray(start, start + size));
      }
      return outcome;
    });
  },

  raiseMany(setter, fields, count, options = {}) {
    return recorder.raise(setter, fields, {...options, count});
  },

  // What the host has registered: [{name, handle, function, user, set, times}].
  registrations(name) {
    return command('registrations')
      .map((one) => ({
        ...one,
        handle: BigInt(`0x${one.handle}`),
        function: BigInt(`0x${one.function}`),
        user: BigInt(`0x${one.user}`),
      }))
      .filter((one) => name === undefined || one.name === name);
  },

  isRegistered: (name) => recorder.registrations(name).some((one) => one.set),

  kept() {
    return command('kept').map((one) => ({
      ...one,
      data: BigInt(`0x${one.data}`),
      release: BigInt(`0x${one.release}`),
      user: BigInt(`0x${one.user}`),
    }));
  },

  // Calls the release functions of what was kept: on this thread, or with {thread: true} on another, for which the
  // result is a promise. Of all, or of these ids. Answers how many.
  releaseKept({ids = [], thread = false} = {}) {
    const answer = command('release', {ids, async: thread});
    return thread ? finished(answer.ticket).then(({released}) => released) : answer.released;
  },

  // Loads and unloads of recording libraries: [{loaded, path, seq}].
  libraryEvents: () => command('library_events'),

  // Models an SDK whose unload joins its threads.
  joinOnUnload: (on = true) => void command('join_on_unload', {on}),

  // Makes what a result can be, outside a call; its address as a BigInt.
  make(value, type = 'void*') {
    return BigInt(`0x${command('make', {value: toValue(type, value, intern)}).b}`);
  },

  // The memory at an address. An address that is none kills the process.
  read: (address, size) => Buffer.from(command('read', {b: hex(address), size}).d, 'base64'),
  write: (address, bytes) => void command('write', {b: hex(address), d: Buffer.from(bytes).toString('base64')}),

  // Calls an entry point past the add-on, for the recorder's own tests. Texts, Buffers and Memories are passed by
  // address and stay; `after` are their bytes as the call left them. With `async`, on another thread, and a promise.
  // Such a call is no coverage, unless it is `counted`.
  call(name, args, {library = paths.recorderLibrary, async = false, counted = false} = {}) {
    const row = rowOf(name);
    const words = args.map((value, i) => callArgument(row.parameters[i].type, value));
    const answer = command('call', {name, args: words, path: library, async, counted});
    return async ? finished(answer.ticket).then((late) => callResult(row, late)) : callResult(row, answer);
  },

  // The entry points that a library lacks.
  missing(library) {
    const {missing, error} = command('resolve', {path: library});
    if (error) throw new Error(error);
    return missing;
  },

  // Functions of a test host by name, as addresses; and what they were called with since the last time.
  probes() {
    const addresses = command('probes');
    return Object.fromEntries(Object.entries(addresses).map(([name, word]) => [name, BigInt(`0x${word}`)]));
  },
  probeCalls: () => command('probe_calls'),
};

function callArgument(type, value) {
  if (typeof value === 'string') return Memory.of(textBytes(value)).toJSON();
  if (value instanceof Memory || ArrayBuffer.isView(value)) return Memory.of(value).toJSON();
  return toValue(type, value, intern).b;
}

function callResult(row, answer) {
  if (answer.error) throw new Error(answer.error);
  const bits = BigInt(`0x${answer.b}`);
  return {result: fromBits(row.result, bits), bits, after: answer.after.map((one) => Buffer.from(one, 'base64'))};
}

// A job that waits at a gate would keep Node.js from ending, which joins the pool's threads.
if (isMainThread) {
  process.on('exit', () => {
    command('open');
    const faults = recorder.faults();
    if (faults.length === 0) return;
    for (const fault of faults) process._rawDebug(`recorder: fault, ${fault.kind}: ${fault.text}`);
    process.exitCode = process.exitCode || 99;
  });
}

module.exports = recorder;
