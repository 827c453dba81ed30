'use strict';

// Picking, properties, statistics, devices and the denoiser on the engine, with the room of the examples.

const test = require('node:test');
const assert = require('assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const {paths} = require('../helpers');

const missing = !fs.existsSync(paths.engine) && 'the engine is not built';
delete process.env.KILN_SDK;
process.env.KILN_ENGKIT_BIN = paths.build;
const kiln = missing ? {} : require('../../lib');

const ROOM = path.join(paths.root, 'examples', 'room.toml');
const SIZE = 48;

async function withRoom(body) {
  const renderer = new kiln.KilnRenderer({enableFrameBuffer: false});
  try {
    await renderer.promises.load(ROOM);
    renderer.size = {width: SIZE, height: SIZE};
    renderer.plugins.sampler.samples = 4;
    await body(renderer);
  } finally {
    await renderer.promises.close();
  }
}

const on = (name, body) => test(name, {skip: missing}, () => withRoom(body));

on('a pick names what stands at a pixel, without a render', async (renderer) => {
  const {left, right, tall} = renderer.plugins;
  assert.strictEqual(renderer.pickPluginSync(2, SIZE / 2), left);
  assert.strictEqual(await renderer.promises.pickPlugin(SIZE - 3, SIZE / 2), right);
  assert.strictEqual(renderer.pickPluginSync(17, 28), tall);
  assert.strictEqual(renderer.pickPluginSync(-1000, 5), null);
  const [first, ...behind] = renderer.pickPluginsSync(17.5, 28.5);
  assert.strictEqual(first.plugin, tall);
  assert.ok(first.distance > 3 && first.distance < 5);
  assert.ok(behind.length >= 1 && behind.every((one) => one.distance > first.distance));
  assert.strictEqual(behind[behind.length - 1].plugin, renderer.plugins.back);
  assert.match(String(first), /^\{plugin: tall, mtlID: -?\d+, distance: [\d.]+\}$/);
  assert.strictEqual((await renderer.promises.pickPlugins(17.5, 28.5, 1)).length, 1);
});

on('picks beside a render, and of what was moved', async (renderer) => {
  renderer.plugins.sampler.samples = 64;
  await renderer.promises.start();
  const picks = await Promise.all(Array.from({length: 20}, (_, i) => renderer.promises.pickPlugin(17, 20 + (i % 8))));
  assert.ok(picks.every((plugin) => plugin instanceof kiln.Plugin));
  assert.strictEqual(renderer.pickPluginSync(17, 28), renderer.plugins.tall);
  await renderer.promises.stop();
  renderer.plugins.tall.deleteThis();
  renderer.commit();
  assert.notStrictEqual(String(renderer.pickPluginSync(17, 28)), 'tall');
});

on('the camera by name and as a plugin', async (renderer) => {
  assert.strictEqual(renderer.pickPluginSync(SIZE / 2, 2), renderer.plugins.ceiling);
  const camera = renderer.classes.CameraPerspective('below');
  camera.transform = renderer.plugins.camera.transform;
  renderer.camera = camera;
  assert.strictEqual(renderer.camera, camera);
  renderer.camera = 'camera';
  assert.strictEqual(renderer.camera, renderer.plugins.camera);
  renderer.camera = null;
  assert.ok(renderer.camera === undefined || renderer.camera instanceof kiln.Plugin);
});

on('regions come back as they were set', async (renderer) => {
  const renderRegion = {left: 8, top: 4, width: 16, height: 24};
  renderer.renderRegion = renderRegion;
  assert.deepStrictEqual(renderer.renderRegion, renderRegion);
  const cropRegion = {srcWidth: 96, srcHeight: 96, rgnLeft: 24, rgnTop: 12, rgnWidth: 48, rgnHeight: 48};
  renderer.cropRegion = cropRegion;
  assert.deepStrictEqual(renderer.cropRegion, cropRegion);
});

on('time and frame', async (renderer) => {
  renderer.frame = 7;
  assert.strictEqual(renderer.frame, 7);
  renderer.time = 2.5;
  assert.strictEqual(renderer.time, 2.5);
  for (const value of [true, false]) {
    renderer.useAnimatedValues = value;
    assert.strictEqual(renderer.useAnimatedValues, value);
  }
  assert.ok(renderer.currentEventTime >= 0);
});

on('the box around the room', async (renderer) => {
  const {min, max} = renderer.getBoundingBox();
  for (const [corner, x, y, z] of [[min, -1, 0, -1], [max, 1, 2, 1]]) {
    for (const [got, wanted] of [[corner.x, x], [corner.y, y], [corner.z, z]]) assert.ok(Math.abs(got - wanted) < 0.05);
  }
});

on('the statistics of an interactive render, and its device', async (renderer) => {
  renderer.renderMode = 'interactive';
  renderer.keepInteractiveRunning = true;
  assert.strictEqual(renderer.keepInteractiveRunning, true);
  await renderer.promises.start();
  const ended = Date.now() + 20000;
  let statistics = renderer.getInteractiveStatistics();
  while (!(statistics && statistics.numPasses > 1) && Date.now() < ended) {
    await new Promise((resolve) => setTimeout(resolve, 10));
    statistics = renderer.getInteractiveStatistics();
  }
  assert.ok(statistics.numPasses > 1 && statistics.pathsPerSecond > 0);
  assert.strictEqual(Object.keys(statistics.computeDevicesMemUsage).length, 11);
  await renderer.promises.stop();
  assert.deepStrictEqual([renderer.getComputeDevicesCUDA(), renderer.getComputeDevicesOptix()], [[], []]);
  for (const device of renderer.getComputeDevicesDenoiser()) {
    assert.strictEqual(device.type, 'CPU');
    assert.ok(device.name.length > 0 && device.totalMemoryMB <= os.totalmem() / 2 ** 20 + 1);
  }
});

on('the denoiser gives an image of the picture\'s size with less noise', async (renderer) => {
  await renderer.promises.start();
  await renderer.promises.waitForRenderEnd();
  const noise = (image) => {
    const pixels = image.getPixelData();
    let sum = 0;
    for (let y = 8; y < 40; ++y) {
      for (let x = 2; x < 6; ++x) sum += Math.abs(pixels[(y * SIZE + x) * 4] - pixels[(y * SIZE + x + 1) * 4]);
    }
    return sum;
  };
  const image = await new Promise((resolve) => assert.strictEqual(renderer.denoiseNow(resolve, false), true));
  assert.deepStrictEqual([image.width, image.height], [SIZE, SIZE]);
  assert.ok(noise(image) < noise(renderer.getImage()));
  image.close();
});

on('everything may be asked while a thread of the render waits for the listener', async (renderer) => {
  const element = renderer.renderElements.add('z_depth');
  const pixelsOf = () => {
    try {
      return element.getData().length;
    } catch (error) {
      assert.match(error.message, /^Error retrieving render element data/);
      return 0;
    }
  };
  const asked = [];
  let last = 0;
  for (const event of ['stateChanged', 'bucketInit', 'bucketReady', 'progress']) {
    renderer.on(event, () => {
      asked.push(event);
      assert.ok(renderer.pickPluginSync(17, 28) instanceof kiln.Plugin);
      assert.ok(renderer.pickPluginsSync(17.5, 28.5).length > 1);
      last = pixelsOf();
      void [renderer.getBoundingBox(), renderer.getInteractiveStatistics(), renderer.getAutoExposureResult(),
        renderer.getComputeDevicesDenoiser(), renderer.renderElements.getAll(), element.getMetadata()];
      for (const name of Object.keys(renderer)) void renderer[name];
    });
  }
  const denoised = new Promise((resolve) => {
    renderer.once('bucketReady', () => { if (!renderer.denoiseNow(resolve, false)) resolve(null); });
  });
  await renderer.promises.start();
  await renderer.promises.waitForRenderEnd();
  const image = await denoised;
  if (image) image.close();
  // What a renderer that is being closed answers is another matter.
  renderer.removeAllListeners();
  assert.strictEqual(new Set(asked).size, 4);
  assert.strictEqual(last, SIZE * SIZE * 4);
});
