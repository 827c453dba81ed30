// What is left when the library goes before its objects: calls answer nothing or say why, and the process lives.
'use strict';

const assert = require('assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const { test } = require('node:test');
const { ROOT, runScript } = require('./program.js');

const ROOM = path.join(ROOT, 'examples', 'room.toml');

const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kiln-gone-'));
process.on('exit', () => fs.rmSync(folder, { recursive: true, force: true }));

const COMMON = `
  const assert = require('assert');
  async function open() {
    const renderer = await kiln.promises.createKilnRenderer({ enableFrameBuffer: false });
    await renderer.promises.load(${JSON.stringify(ROOM)});
    renderer.size = { width: 16, height: 16 };
    renderer.plugins.sampler.samples = 1;
    return renderer;
  }
  // One object of every kind that the SDK stands behind.
  async function openAll() {
    const renderer = await open();
    await renderer.promises.start();
    await renderer.promises.waitForRenderEnd();
    const { copper } = renderer.plugins;
    const material = copper.getClass();
    const channel = renderer.renderElements.add('diffuse');
    return {
      renderer, copper, material, channel, plugins: renderer.plugins, classes: renderer.classes,
      category: Object.values(renderer.classCategories)[0], elements: renderer.renderElements, kvw: renderer.kvw,
      image: renderer.getImage(), instances: renderer.plugins[Symbol.iterator](), known: renderer.classes[Symbol.iterator](),
      server: new kiln.KilnServer(), color: new kiln.Color(1, 0.5, 0.25), Color: kiln.Color, Image: kiln.KilnImage,
      Util: kiln.Util, Proxy: kiln.Proxy, transform: copper.transform, handle: renderer.getInstanceHandle(),
    };
  }
  const ARGUMENTS = (one) => [[], ['x'], ['x', () => {}], [() => {}], [1, 2, 3], [{}], [{}, () => {}], [one, one], [[one]]];
  // Every member of every object but its close, with arguments that fit some of them; the count of the calls.
  function callAll(objects) {
    let calls = 0;
    const attempt = (call) => {
      calls++;
      try { call(); } catch (error) { if (!(error instanceof Error)) throw error; }
    };
    for (const one of Object.values(objects)) {
      if (one === undefined || one === null) continue;
      for (let owner = one; owner && owner !== Object.prototype && owner !== Function.prototype
          && owner !== require('events').prototype && !ArrayBuffer.isView(owner); owner = Object.getPrototypeOf(owner)) {
        for (const key of Reflect.ownKeys(owner)) {
          if (['constructor', 'prototype', 'close', 'promises'].includes(key)) continue;
          const { value, set } = Object.getOwnPropertyDescriptor(owner, key) || {};
          if (typeof value !== 'function') attempt(() => one[key]);
          else for (const args of ARGUMENTS(objects.copper)) attempt(() => one[key](...args));
          if (set) for (const to of [1, 'x', {}, null]) attempt(() => { one[key] = to; });
        }
      }
    }
    return calls;
  }
`;

// A call on its way from the pool reads a slot of the table while the unload sets it: it finds one or the other.
const noisy = process.env.KILN_SANITIZER === 'thread' && 'the slot of a call on its way is no race that matters';

/** Runs the body in a program of its own, which has to end well; resolves to what it printed. */
async function run(body) {
  const script = `${COMMON}\n(async () => {\n${body}\n})().catch((error) => { console.error(error); process.exit(1); });`;
  const { code, signal, stdout, stderr } = await runScript(script);
  assert.deepStrictEqual([code, signal, stderr], [0, null, ''], stdout);
  return stdout;
}

test('every member of every object answers without the library', async () => {
  const told = await run(`
    const objects = await openAll();
    kiln.close();
    console.log(callAll(objects));
    console.log(JSON.stringify(objects.renderer.size), objects.renderer.getImage(), objects.copper.roughness);
    process.exit();`);
  const [calls, values] = told.trim().split('\n');
  assert.ok(Number(calls) > 1000, told);
  assert.strictEqual(values, '{"width":0,"height":0} undefined undefined');
});

test('objects of an earlier load do not reach the renderers of the next', async () => {
  const told = await run(`
    const folder = require('path').dirname(/\\((.*)\\)/.exec(kiln.getSDKLibraryErrorString())[1]);
    const objects = await openAll();
    assert.strictEqual(kiln.setSDKLibraryPath(folder, true), true);
    const { renderer, copper } = await openAll();
    callAll(objects);
    for (const one of [objects.renderer, objects.server, objects.image]) one.close();
    console.log(JSON.stringify(renderer.size), copper.getClass().getName(), renderer.getImage().width);
    process.exit();`);
  assert.strictEqual(told.trim(), '{"width":16,"height":16} MaterialPrincipled 16');
});

test('the library goes in the middle of a render that is listened to', { skip: noisy }, async () => {
  for (const where of ['setTimeout(leave, 20)', "renderer.once('stateChanged', leave)", 'leave()']) {
    const told = await run(`
      const renderer = await open();
      renderer.plugins.sampler.samples = 100000;
      renderer.on('progress', () => {}).on('stateChanged', () => {}).on('bucketReady', () => {});
      const leave = () => {
        kiln.close();
        setTimeout(() => {
          renderer.close();
          console.log('closed', renderer.listenerCount('progress'));
        }, 50);
      };
      renderer.start(() => {});
      renderer.waitForRenderEnd(() => {});
      ${where};`);
    assert.strictEqual(told.trim(), 'closed 1', where);
  }
});

test('the library goes while the pool calls it', { skip: noisy }, async () => {
  const jobs = {
    load: `renderer.load(${JSON.stringify(ROOM)}, settled)`,
    close: 'renderer.close(settled)',
    start: 'renderer.start(settled)',
    wait: 'renderer.start(() => {}); renderer.waitForRenderEnd(-1, settled)',
    export: `renderer.export(${JSON.stringify(path.join(folder, 'scene.toml'))}, {}, settled)`,
    save: `new kiln.KilnImage(1000, 1000).save(${JSON.stringify(path.join(folder, 'image.exr'))}, settled)`,
    hosts: 'renderer.getAllHosts(settled)',
  };
  for (const [name, job] of Object.entries(jobs)) {
    for (const delay of [0, 1]) {
      const told = await run(`
        const renderer = await open();
        renderer.plugins.sampler.samples = 100000;
        const settled = () => {
          console.log('settled');
          renderer.close();
        };
        ${job};
        if (${delay}) await new Promise((resolve) => setTimeout(resolve, ${delay}));
        kiln.close();`);
      assert.strictEqual(told.trim(), 'settled', `${name}, ${delay} ms`);
    }
  }
});
