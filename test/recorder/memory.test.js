'use strict';

// The recorder's memory, handles and images, and the faults that it tells of.

const test = require('node:test');
const assert = require('assert');
const {recorder, runChild} = require('../helpers');

const call = (name, ...args) => recorder.call(name, args).result;

test('alloc, realloc and free are counted', () => {
  const before = recorder.liveCounts();
  const block = call('C_memory_alloc', 100n);
  recorder.write(block, Buffer.from('hello'));
  const moved = call('C_memory_realloc', block, 200n);
  assert.strictEqual(String(recorder.read(moved, 5)), 'hello');
  assert.strictEqual(recorder.liveCounts().bytes, before.bytes + 200);
  call('C_memory_free', moved);
  call('C_memory_free', 0n);
  const after = recorder.liveCounts();
  assert.deepStrictEqual([after.blocks, after.bytes], [before.blocks, before.bytes]);
  assert.strictEqual(after.allocated - before.allocated, 2);
  recorder.check();
});

test('a second free and the free of a foreign pointer are faults, not crashes', () => {
  const block = call('C_memory_alloc', 10n);
  call('C_memory_free', block);
  call('C_memory_free', block);
  call('C_memory_free', 0x1000n);
  assert.deepStrictEqual(recorder.faults().map((one) => one.kind), ['double free', 'foreign free']);
  recorder.check();
});

test('faults that nobody took fail the process', async () => {
  const {code, stderr} = await runChild(({recorder: own}) => {
    own.call('C_memory_free', [0x1000n]);
  });
  assert.strictEqual(code, 99);
  assert.match(stderr, /foreign free: A pointer was freed that is no block of the SDK: 0x1000/);
});

test('under protection a late read kills the process', async () => {
  const late = await runChild(({recorder: own}) => {
    own.protect();
    const block = own.call('C_memory_alloc', [100n]).result;
    own.write(block, Buffer.from('alive'));
    process.stdout.write(String(own.read(block, 5)));
    own.call('C_memory_free', [block]);
    own.read(block, 1);
  });
  assert.deepStrictEqual([late.stdout, late.signal], ['alive', 'SIGSEGV']);
  const overrun = await runChild(({recorder: own}) => {
    own.protect();
    own.write(own.call('C_memory_alloc', [16n]).result, Buffer.alloc(17));
  });
  assert.strictEqual(overrun.signal, 'SIGSEGV');
});

test('allocations fail on demand', () => {
  recorder.failAllocations(1, 2);
  const blocks = [0, 1, 2, 3].map(() => call('C_memory_alloc', 8n));
  assert.deepStrictEqual(blocks.map((one) => one !== 0n), [true, false, false, true]);
  blocks.forEach((block) => call('C_memory_free', block));
});

test('renderers count their references', () => {
  const renderer = call('Kiln_KilnRenderer_create', null, null);
  assert.notStrictEqual(renderer, call('Kiln_KilnServer_create', null, null));
  call('Kiln_KilnRenderer_incRef', renderer);
  assert.strictEqual(recorder.live().handles.find((one) => one.handle === renderer).references, 2);
  call('Kiln_KilnRenderer_release', renderer);
  call('Kiln_KilnRenderer_release', renderer);
  assert.ok(!recorder.live().handles.some((one) => one.handle === renderer));
  recorder.check();
  call('Kiln_KilnRenderer_release', renderer);
  assert.deepStrictEqual(recorder.faults().map((one) => one.kind), ['unknown handle']);
  call('Kiln_KilnRenderer_render', renderer);
  assert.ok(recorder.last('Kiln_KilnRenderer_render').stale);
});

test('images know their size, their pixels and their gamma', () => {
  const image = call('KilnImage_create', 3, 2);
  const {after} = recorder.call('KilnImage_getSize', [image, Buffer.alloc(4), Buffer.alloc(4)]);
  assert.deepStrictEqual(after.map((one) => one.readInt32LE(0)), [3, 2]);
  assert.strictEqual(call('KilnImage_getMemorySize', image), 64n + 96n);
  const pixels = recorder.call('KilnImage_getPixelDataPointerAndPixelCount', [image, Buffer.alloc(8)]);
  assert.strictEqual(pixels.result, image + 64n);
  assert.strictEqual(pixels.after[0].readBigUInt64LE(0), 6n);
  call('KilnImage_setGamma', image, 2.5);
  const copy = call('KilnImage_clone', image);
  assert.strictEqual(call('KilnImage_getGamma', copy), 2.5);
  const small = call('KilnImage_crop', copy, 0, 0, 2, 1);
  assert.strictEqual(call('KilnImage_getMemorySize', small), 64n + 32n);
  [image, copy, small].forEach((one) => call('C_memory_free', one));
  assert.strictEqual(call('KilnImage_getMemorySize', image), 0n);
  assert.strictEqual(call('KilnImage_clone', 0n), 0n);
  recorder.check();
});
