// Long stays on the engine: a sequence of 24 frames, and an interactive session of many edits.
'use strict';

const assert = require('assert');
const path = require('path');
const { test } = require('node:test');
const kiln = require('../../lib/index.js');
const { ROOT } = require('./program.js');

const ROOM = path.join(ROOT, 'examples', 'room.toml');
const FRAMES = 24;
// KILN_TEST_EDITS makes it longer: the sanitizers ask for 500.
const EDITS = Number(process.env.KILN_TEST_EDITS || 50);

async function withRoom(size, work) {
  const renderer = await kiln.promises.createKilnRenderer({ enableFrameBuffer: false });
  try {
    await renderer.promises.load(ROOM);
    renderer.size = { width: size, height: size };
    renderer.plugins.sampler.samples = 1;
    await work(renderer);
  } finally {
    await renderer.promises.close();
  }
}

test('24 frames, each with a picture and an edit of its own', () =>
  withRoom(16, async (renderer) => {
    const frames = [];
    const sizes = [];
    const frameDone = () => {
      frames.push(renderer.frame);
      const image = renderer.getImage();
      sizes.push(image.width);
      image.close();
    };
    const told = new Promise((resolve) => {
      renderer.on('stateChanged', (from, to) => {
        if (to === 'idleFrameDone' || to === 'idleDone') frameDone();
        if (to === 'idleDone') resolve();
        if (to !== 'idleFrameDone') return;
        renderer.plugins.copper.roughness = frames.length / FRAMES;
        renderer.continueSequence();
      });
    });
    renderer.renderSequence({ start: 1, end: FRAMES });
    assert.strictEqual(await renderer.promises.waitForSequenceEnd(120000), true);
    await told;
    assert.deepStrictEqual(frames, Array.from({ length: FRAMES }, (_, i) => i + 1));
    assert.deepStrictEqual(sizes, Array(FRAMES).fill(16));
  }));

test(`${EDITS} edits, and a picture with each second one`, () =>
  withRoom(32, async (renderer) => {
    renderer.renderMode = 'interactive';
    renderer.keepInteractiveRunning = true;
    renderer.progressiveImageUpdatedHasBuffer = true;
    await renderer.promises.start();
    const ended = renderer.promises.waitForRenderEnd();
    const { copper, lamp } = renderer.plugins;
    // One listener for the whole stay: nobody tells a picture that is made between two of `once`.
    let last = 0;
    let wanted = Infinity;
    let seen;
    renderer.on('progressiveImageUpdated', (image, index, samples) => {
      assert.strictEqual(image.height, 32);
      image.close();
      last = index;
      if (last >= wanted) seen(samples);
    });
    for (let i = 1; i <= EDITS; i++) {
      copper.roughness = (i % 10) / 10;
      if (i % 5 === 0) lamp.color = [1, (i % 7) / 7, 0.5];
      if (i % 9 === 0) renderer.size = { width: 32 + (i % 2), height: 32 };
      // Every other edit comes while the one before it is still being taken over.
      if (i % 2 === 1) continue;
      const change = renderer.commit();
      assert.ok(change > last);
      const samples = await new Promise((resolve) => {
        wanted = change;
        seen = resolve;
      });
      assert.ok(samples >= 1);
    }
    await renderer.promises.stop();
    await ended;
  }));
