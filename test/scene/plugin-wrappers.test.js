'use strict';

// One object per plugin and output while it is reachable, whatever the collector does in between.
const test = require('node:test');
const assert = require('assert');
const {
  recorder, entry, open, newId, pluginOf, refOf, call, answerValue, closeAtEnd, collect, forceGc,
} = require('./common');
const {runChild} = require('../helpers');

const renderer = open();

// Many plugins without a call of the recorder's for each.
function list(from, ids) {
  const block = new BigUint64Array(ids);
  recorder.once(entry('getPluginIDsOfType'), {result: Buffer.from(block.buffer), out: {count: ids.length}});
  return [...from.plugins];
}

const randomIds = (count, seed) => {
  let state = BigInt(seed);
  const ids = new Set();
  while (ids.size < count) {
    state = BigInt.asUintN(64, state * 6364136223846793005n + 1442695040888963407n);
    const mixed = BigInt.asUintN(64, (state ^ (state >> 29n)) * 0x9E3779B97F4A7C15n);
    if (mixed !== 0n && mixed !== 2n ** 64n - 1n) ids.add(mixed);
  }
  return [...ids];
};

test('every road to an ID leads to the same object', () => {
  const id = newId();
  const plugin = pluginOf(renderer, id);
  for (const step of [() => {}, forceGc]) {
    step();
    assert.strictEqual(pluginOf(renderer, id), plugin);
    step();
    answerValue({type: 'plugin', value: id});
    assert.strictEqual(plugin.other, plugin);
    step();
    assert.strictEqual(list(renderer, [id])[0], plugin);
    step();
    assert.strictEqual(call(refOf(plugin, 3), 'getPlugin'), plugin);
  }
});

test('IDs that share a place in any table are told apart', () => {
  const ids = [];
  for (let i = 0; i < 64; ++i) ids.push(1n << BigInt(i), (1n << BigInt(i)) ^ 0xFFFFFFFFFFFFFFFFn);
  for (let i = 1; i <= 2000; ++i) ids.push(BigInt(i) << 32n, BigInt(i) << 48n | 7n, BigInt(i) * 4096n);
  const unique = [...new Set(ids)];
  const plugins = list(renderer, unique);
  assert.strictEqual(new Set(plugins).size, unique.length);
  plugins.forEach((plugin, i) => assert.strictEqual(plugin.getIntegerID(), Number(unique[i])));
  list(renderer, unique).forEach((plugin, i) => assert.strictEqual(plugin, plugins[i]));
});

test('what is erased leaves all others where they are found', () => {
  const ids = randomIds(500, 11);
  const plugins = list(renderer, ids);
  const refs = plugins.map((plugin) => [refOf(plugin, 1), refOf(plugin, 9)]);
  for (let i = 0; i < ids.length; i += 3) call(plugins[i], 'deleteThis');
  const again = list(renderer, ids);
  again.forEach((plugin, i) => {
    assert.strictEqual(plugin === plugins[i], i % 3 !== 0, String(i));
    assert.strictEqual(refOf(plugin, 1) === refs[i][0], i % 3 !== 0);
    assert.strictEqual(refOf(plugin, 9) === refs[i][1], i % 3 !== 0);
  });
});

test('wrappers that nobody holds are collected, and ten thousand of them cost nothing', async () => {
  const weak = [];
  const ids = randomIds(10000, 5);
  (() => {
    for (const plugin of list(renderer, ids)) weak.push(new WeakRef(plugin));
  })();
  await collect(() => weak.every((one) => one.deref() === undefined));
  const again = list(renderer, ids);
  again.forEach((plugin, i) => assert.strictEqual(plugin.getIntegerID(), Number(ids[i])));
});

test('some die and some live, over and over, and who lives is always the same', async () => {
  const ids = randomIds(3000, 77);
  let held = new Map();
  for (let round = 0; round < 12; ++round) {
    const plugins = list(renderer, ids);
    plugins.forEach((plugin, i) => {
      if (held.has(i)) assert.strictEqual(held.get(i), plugin);
      assert.strictEqual(plugin.getIntegerID(), Number(ids[i]));
    });
    const next = new Map();
    plugins.forEach((plugin, i) => {
      if ((i * 7 + round) % 5 < 2) next.set(i, plugin);
    });
    held = next;
    forceGc();
    await new Promise(setImmediate);
  }
});

test('a plugin keeps its renderer alive, and the renderer none of its plugins', async () => {
  let plugin;
  const weak = (() => {
    const other = open();
    plugin = pluginOf(other);
    return new WeakRef(other);
  })();
  await new Promise(setImmediate);
  forceGc();
  assert.strictEqual(plugin.getRenderer(), weak.deref());
  plugin.getRenderer().close();
  plugin = null;
  await collect(() => weak.deref() === undefined);
});

test('loading forgets the plugins, before it looks at its arguments', () => {
  const other = open();
  for (const [load, forgets] of [
    [() => other.loadSync('a'), true],
    [() => other.loadAsTextSync('a'), true],
    [() => assert.throws(() => other.loadSync()), true],
    [() => assert.throws(() => other.load()), true],
    [() => assert.throws(() => other.loadAsText()), true],
    [() => assert.throws(() => other.loadAsTextSync([])), true],
    [() => assert.throws(() => other.loadFromBufferSync('a')), true],
    [() => assert.throws(() => other.loadFromBuffer('a')), false],
    [() => other.loadFromBufferSync(Buffer.from('a')), true],
    [() => other.load('a'), true],
    [() => other.loadAsText('a'), true],
    [() => other.loadFromBuffer(Buffer.from('a')), true],
  ]) {
    const id = newId();
    const plugin = pluginOf(other, id);
    load();
    assert.strictEqual(pluginOf(other, id) !== plugin, forgets, String(load));
    assert.strictEqual(call(plugin, 'getIntegerID'), Number(id));
  }
  other.close();
});

test('loading keeps the classes; closing forgets both', () => {
  const other = open();
  recorder.answer(entry('pluginClassExists'), {text: 'Some'});
  const some = other.classes.Some;
  other.loadAsTextSync('x');
  assert.strictEqual(other.classes.Some, some);
  const id = newId();
  const plugin = pluginOf(other, id);
  other.close();
  assert.strictEqual(call(some, 'getName'), undefined);
  assert.notStrictEqual(call(plugin, 'getPlugin'), plugin);
  recorder.reset(entry('pluginClassExists'));
});

test('two renderers have objects of their own', () => {
  const other = open();
  const id = newId();
  const plugin = pluginOf(other, id);
  assert.notStrictEqual(pluginOf(renderer, id), plugin);
  assert.strictEqual(plugin.getRenderer(), other);
  other.close();
});

test('a renderer dies together with its plugins and classes, with one release', async () => {
  for (const withPlugins of [false, true]) {
    for (const withClasses of [false, true]) {
      recorder.clear();
      (() => {
        const other = open();
        other.kept = [];
        if (withPlugins) {
          other.kept.push(...list(other, randomIds(50, 3)), refOf(pluginOf(other), 1));
        }
        recorder.answer(entry('pluginClassExists'), {text: 'Some'});
        if (withClasses) other.kept.push(other.classes.Some);
        recorder.reset(entry('pluginClassExists'));
      })();
      await collect(() => recorder.count(entry('release')) === 1);
      assert.strictEqual(recorder.live().handles.length, 1);
      recorder.check();
    }
  }
});

test('random IDs, every output and collections at any allocation', {timeout: 300000}, async () => {
  const {code, stderr} = await runChild((helpers) => {
    const {recorder, encodeStream} = helpers;
    const kiln = helpers.loadNative();
    kiln.enableFrameBuffer(false);
    recorder.countOnly();
    const r = new kiln.KilnRenderer();
    const held = new Map();
    let state = 12345;
    const random = () => (state = (Math.imul(state, 1103515245) + 12345) >>> 0);
    for (let i = 0; i < 1500; ++i) {
      const id = BigInt(random()) << 32n | BigInt(random());
      const output = random() % 3 === 0 ? random() >>> 1 : 0;
      const stream = encodeStream({type: 'pluginOutput', value: id, output});
      recorder.once('Kiln_KilnRenderer_getPluginID', 5n);
      recorder.once('Kiln_getPropertyByteArrayByID', {out: {stream, size: stream.bytes.length}});
      recorder.once('Kiln_getPropertyByteArrayByID', {out: {stream, size: stream.bytes.length}});
      const carrier = r.plugins.carrier;
      const one = carrier.x;
      const two = carrier.x;
      if (one !== two) throw new Error(`two objects for ${id}:${output}`);
      if (one !== null && Object.getPrototypeOf(one).getIntegerID.call(one) !== Number(id)) throw new Error('ID');
      if (random() % 2) held.set(`${id}:${output}`, one);
      if (held.size > 200) held.delete(held.keys().next().value);
    }
    held.clear();
    r.close();
    helpers.forceGc();
    recorder.check();
  }, {timeout: 280000, nodeArgs: ['--stress-compaction', '--gc-interval=300', '--expose-gc']});
  assert.deepStrictEqual([code, stderr], [0, '']);
});

test('a worker that ends with everything open gives everything back', async () => {
  const {code, stderr, stdout} = await runChild((helpers) => {
    const {Worker} = require('worker_threads');
    const {recorder, paths} = helpers;
    const kiln = helpers.loadNative();
    kiln.enableFrameBuffer(false);
    recorder.answer('Kiln_KilnRenderer_getPluginIDsOfType', {result: Buffer.alloc(80, 1), out: {count: 10}});
    recorder.answer('Kiln_KilnRenderer_getPluginClassNames', ['A', 'B']);
    recorder.answer('Kiln_KilnRenderer_pluginClassExists', {text: 'A'});
    const worker = new Worker(`
      const kiln = require(${JSON.stringify(paths.native)});
      const r = new kiln.KilnRenderer();
      globalThis.kept = [r, r.plugins[Symbol.iterator](), r.classes[Symbol.iterator](), r.classes.A, [...r.plugins]];
      require('worker_threads').parentPort.postMessage('ready');
      setInterval(() => {}, 1000);
    `, {eval: true});
    worker.on('message', () => worker.terminate().then(() => {
      const {blocks, vectors, handles} = recorder.live();
      console.log(JSON.stringify([blocks.length, vectors, handles.length]));
    }));
  });
  assert.deepStrictEqual([code, stderr, stdout.trim()], [0, '', '[0,0,0]']);
});

closeAtEnd(renderer);
