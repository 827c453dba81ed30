'use strict';

// KilnServer: creation, options, life and events.
const test = require('node:test');
const assert = require('assert');
const EventEmitter = require('events');
const {loadNative, recorder, collect, forceGc, runChild} = require('../helpers');

const kiln = loadNative();
const {KilnServer, createKilnServer} = kiln;
Object.setPrototypeOf(KilnServer.prototype, EventEmitter.prototype);
const entry = (name) => `Kiln_KilnServer_${name}`;
const CREATE = entry('create');
const live = () => recorder.live();
const nothingLeft = () => collect(() => live().handles.length === 0 && live().threads === 0);
const create = (...args) => new Promise((resolve) => {
  const place = args.indexOf('callback');
  const callback = (error, server) => resolve([error, server]);
  createKilnServer(...(place < 0 ? [...args, callback] : args.map((one) => (one === 'callback' ? callback : one))));
});

const DEFAULTS = {
  portNumber: 0, numThreads: 0, remoteScenePath: null, pluginLibraryPath: null, includePaths: null, flags: 0,
  cachedAssetsLimitType: 0, cachedAssetsLimitValue: 0, dr2_flags: 112, dr2HttpProxy: null, dr2WorkerThreadsPerServer: 2,
  dr2ConnectTimeout: 10, dr2UpstreamChannels: 3,
};

function record(options) {
  new KilnServer(options).close();
  const {...fields} = recorder.last(CREATE).args[0];
  delete fields.reserved;
  return fields;
}

test('without options the SDK gets none', async () => {
  for (const args of [[], [null], [undefined]]) {
    new KilnServer(...args).close();
    assert.strictEqual(recorder.last(CREATE).args[0], null);
  }
  const server = KilnServer();
  assert(server instanceof KilnServer);
  server.close();
});

test('the defaults, for an object and for what becomes one', () => {
  for (const options of [{}, 5, 'text', () => {}]) assert.deepStrictEqual(record(options), DEFAULTS);
});

test('every option', () => {
  for (const key of ['portNumber', 'numThreads', 'cachedAssetsLimitType']) {
    assert.deepStrictEqual(record({[key]: '7.9'}), {...DEFAULTS, [key]: 7});
  }
  assert.deepStrictEqual(record({cachedAssetsLimitValue: 1.5}), {...DEFAULTS, cachedAssetsLimitValue: 1.5});
  for (const key of ['remoteScenePath', 'pluginLibraryPath', 'includePaths']) {
    assert.deepStrictEqual(record({[key]: 'größe'}), {...DEFAULTS, [key]: 'größe'});
    assert.deepStrictEqual(record({[key]: 5}), {...DEFAULTS, [key]: '5'});
    for (const value of [null, undefined]) assert.deepStrictEqual(record({[key]: value}), DEFAULTS);
  }
  ['changeCurrentDirectory', 'keepSceneInMemory', 'overwriteLocalCacheSettings', 'runAsLiveLink'].forEach((key, i) => {
    assert.deepStrictEqual(record({[key]: 'x'}), {...DEFAULTS, flags: 2 << i});
    assert.deepStrictEqual(record(Object.create({[key]: 0})), DEFAULTS);
  });
});

test('the options of the second generation count only there', () => {
  const all = {
    dr2AsDispatcher: true, dr2RunLocalRenderServer: true, dr2SecureConnection: true, dr2DisableUdp: true, dr2ListenOnIpv4: false,
    dr2ListenOnIpv6: false, dr2PipelinedUpstream: false, dr2HttpProxy: 'p', dr2WorkerThreadsPerServer: 5, dr2ConnectTimeout: 6,
    dr2UpstreamChannels: 7,
  };
  recorder.answer('Kiln_isDR2', 0);
  assert.deepStrictEqual(record(all), DEFAULTS);
  recorder.answer('Kiln_isDR2', 1);
  assert.deepStrictEqual(record(all), {
    ...DEFAULTS, dr2_flags: 15, dr2HttpProxy: 'p', dr2WorkerThreadsPerServer: 5, dr2ConnectTimeout: 6, dr2UpstreamChannels: 7,
  });
  for (const [key, bit] of [['dr2ListenOnIpv4', 16], ['dr2ListenOnIpv6', 32], ['dr2PipelinedUpstream', 64]]) {
    assert.strictEqual(record({[key]: false}).dr2_flags, 112 - bit);
  }
  recorder.reset('Kiln_isDR2');
});

test('an option that fails keeps its default', () => {
  const fails = {valueOf() { throw new Error('no'); }, toString() { throw new Error('no'); }};
  assert.deepStrictEqual(record({portNumber: fails, remoteScenePath: fails, get includePaths() { throw new Error('no'); }, numThreads: 2}),
    {...DEFAULTS, numThreads: 2});
});

test('a failed creation', async () => {
  recorder.once(CREATE, {result: null, out: {error: 5}}, 2);
  assert.throws(() => new KilnServer(), {name: 'Error', message: 'Instantiation error.'});
  const [error, server] = await create({});
  assert.deepStrictEqual([error.message, server], ['Instantiation error.', undefined]);
});

test('createKilnServer takes its two arguments in either order', async () => {
  for (const [args, record_] of [[[], false], [[{numThreads: 3}], true], [['callback', {numThreads: 3}], true], [[5], false], [['callback', 5], false]]) {
    const [error, server] = await create(...args);
    assert.strictEqual(error, null);
    assert(server instanceof KilnServer);
    const call = recorder.last(CREATE);
    assert.strictEqual(call.onJsThread, false);
    assert.strictEqual(call.args[0] && call.args[0].numThreads, record_ ? 3 : null);
    server.close();
  }
  for (const args of [[], [{}], [{}, {}], [5]]) {
    assert.throws(() => createKilnServer(...args), {name: 'Error', message: 'At least a callback function should be passed'});
  }
  assert.throws(() => createKilnServer({}, () => {}, 1), {name: 'Error', message: 'Too many agruments passed to function'});
});

test('a foreign External makes no server and no image', () => {
  const renderer = new kiln.KilnRenderer({enableFrameBuffer: false});
  const external = renderer.getInstanceHandle();
  assert.throws(() => new KilnServer(external), {message: 'Instantiation error.'});
  assert.throws(() => new kiln.KilnImage(external), {name: 'TypeError', message: 'Cannot create KilnImage'});
  renderer.close();
});

test('members and their attributes', () => {
  assert.deepStrictEqual(Object.keys(KilnServer.prototype), ['start', 'stop', 'close', 'addHosts', 'addHostsSync', 'removeHosts',
    'removeHostsSync', 'resetHosts', 'resetHostsSync', 'getAllHosts', 'getAllHostsSync', 'getActiveHosts', 'getActiveHostsSync',
    'getInactiveHosts', 'getInactiveHostsSync']);
  assert.throws(() => KilnServer.prototype.start.call({}), TypeError);
});

// Name of the event, stem of the setter, the record, what the listeners get.
const EVENTS = [
  ['connect', 'Connect', {text: 'größe'}, ['größe']],
  ['disconnect', 'Disconnect', {text: 'host'}, ['host']],
  ['logMessage', 'DumpMessage', {message: 'text', level: 3}, ['text', 3]],
  ['start', 'ServerStart', {}, []],
  ['progress', 'Progress', {message: 'text', first: 5, second: -6}, ['text', 5, -6]],
];
const setter = (stem) => entry(`set${stem}Callback`);

test('every event', async () => {
  const server = new KilnServer();
  for (const [event, stem, fields, values] of EVENTS) {
    const seen = [];
    server.on(event, (...args) => seen.push(args));
    const {delivered} = await recorder.raise(setter(stem), {head: {time: 1.5}, ...fields}, {count: 2});
    assert.strictEqual(delivered, 2);
    assert.deepStrictEqual(seen.map((args) => args.slice(0, -1)), [values, values], event);
    assert.strictEqual(typeof seen[0][values.length], 'number');
  }
  server.close();
});

test('the level of the log', () => {
  const server = new KilnServer();
  assert.strictEqual(server.minLogLevel, 2);
  const [registered] = recorder.calls(setter('DumpMessage')).slice(-1);
  assert.strictEqual(registered.args[2], 2);
  server.minLogLevel = '3.9';
  assert.strictEqual(server.minLogLevel, 3);
  const again = recorder.last(setter('DumpMessage'));
  assert.strictEqual(again.args[2], 3);
  assert.deepStrictEqual(again.args[1], registered.args[1]);
  assert.throws(() => { server.minLogLevel = Symbol('x'); }, TypeError);
  server.close();
});

test('close clears the callbacks but that of the start, and releases once', () => {
  const server = new KilnServer();
  recorder.clear();
  server.close();
  assert.deepStrictEqual(recorder.names(), ['Connect', 'Disconnect', 'Progress', 'DumpMessage'].map(setter).concat(entry('release')));
  recorder.clear();
  server.close();
  assert.deepStrictEqual(recorder.names(), []);
  server.start();
  server.stop();
  server.minLogLevel = 1;
  assert.deepStrictEqual(recorder.calls(entry('start')).map(({args}) => args), [[0n]]);
});

test('close with a callback releases on the pool while events are served', async () => {
  const server = new KilnServer();
  const messages = [];
  server.on('logMessage', (text) => messages.push(text));
  recorder.clear();
  recorder.once(entry('release'), {raise: [[setter('DumpMessage'), {message: 'bye', level: 1}]]});
  await new Promise((resolve) => server.close((...args) => {
    assert.deepStrictEqual(args, []);
    resolve();
  }));
  assert.deepStrictEqual(messages, ['bye']);
  assert.strictEqual(recorder.last(entry('release')).onJsThread, false);
  assert.deepStrictEqual(recorder.names(), [entry('release')]);
  await new Promise((resolve) => server.close(resolve));
  assert.strictEqual(recorder.last(entry('release')).args[0], 0n);
});

test('two releases at once give one handle back', async () => {
  const server = new KilnServer();
  recorder.clear();
  await Promise.all([new Promise((resolve) => server.close(resolve)), new Promise((resolve) => server.close(resolve))]);
  assert.deepStrictEqual(recorder.calls(entry('release')).map(({args}) => args[0]).filter((handle) => handle !== 0n).length, 1);
  await nothingLeft();
});

test('close inside a listener returns, and nothing is delivered afterwards', async () => {
  const server = new KilnServer();
  let calls = 0;
  server.on('connect', () => {
    calls++;
    server.close();
  });
  const {delivered} = await recorder.raise(setter('Connect'), {text: 'a'}, {count: 3});
  assert.deepStrictEqual([calls, delivered], [1, 1]);
  await nothingLeft();
});

test('a server that was dropped is collected; one that runs is not', async () => {
  (() => { new KilnServer(); })();
  await nothingLeft();
  let running;
  (() => {
    const server = new KilnServer();
    server.start();
    running = new WeakRef(server);
  })();
  for (let i = 0; i < 5; ++i) {
    forceGc();
    await new Promise(setImmediate);
  }
  assert.strictEqual(live().handles.length, 1);
  running.deref().stop();
  await nothingLeft();
});

test('a listener that throws is an uncaught exception, and the SDK goes on', async () => {
  const {code, stderr} = await runChild(() => {
    const {recorder: log, loadNative: load} = require('./test/helpers');
    const {KilnServer: Server} = load();
    Server.prototype.emit = () => { throw new Error('from the listener'); };
    process.on('uncaughtException', (error) => {
      process.exitCode = error.message === 'from the listener' ? 0 : 3;
      server.close();
    });
    const server = new Server();
    log.raise('Kiln_KilnServer_setConnectCallback', {text: 'a'});
  });
  assert.strictEqual(code, 0, stderr);
});

function runUntilEnd({recorder: log, loadNative: load}, how) {
  const {KilnServer: Server} = load();
  Server.prototype.emit = () => {};
  const server = new Server();
  server.start();
  setTimeout(() => {
    if (how === 'exit') process.exit(0);
    server.close();
  }, 20);
  log.raise('Kiln_KilnServer_setConnectCallback', {text: 'a'}, {count: 1000});
}

for (const how of ['exit', 'close']) {
  test(`a process with a running server ends by ${how}`, async () => {
    const {code, stderr} = await runChild(runUntilEnd, {args: [how], env: {ASAN_OPTIONS: 'detect_leaks=0'}});
    assert.strictEqual(code, 0, stderr);
  });
}

test('a worker that ends takes its servers along', async () => {
  const {code, stderr} = await runChild(() => {
    const {Worker} = require('worker_threads');
    const {recorder: log, loadNative: load, paths, until: wait} = require('./test/helpers');
    load();
    const worker = new Worker(`const {KilnServer} = require(${JSON.stringify(paths.native)});
      new KilnServer().start(); new KilnServer(); require('worker_threads').parentPort.postMessage(1); setInterval(() => {}, 100);`,
    {eval: true});
    worker.once('message', async () => {
      await worker.terminate();
      await wait(() => log.live().handles.length === 0);
    });
  });
  assert.strictEqual(code, 0, stderr);
});

test('without the library both throw its error', async () => {
  const {stdout} = await runChild(() => {
    const {loadNative: load} = require('./test/helpers');
    const native = load({library: null});
    for (const call of [() => new native.KilnServer(), () => native.createKilnServer(() => {})]) {
      try {
        call();
      } catch (error) {
        console.log(error.message === native.getSDKLibraryErrorString());
      }
    }
  });
  assert.deepStrictEqual(stdout.trim().split('\n'), ['true', 'true']);
});
