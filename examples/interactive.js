// An interactive session: the picture gets better and better, and every edit is in the next one.
// Run it with: node examples/interactive.js [picture] [width] [height]
'use strict';

const path = require('path');
const kiln = require('..');
const { Vector } = kiln;

// One listener hears all that comes; between two of `once` a picture or a state could pass by unheard.

/** Makes the edit and commits it; resolves with the first picture that has it. */
function pictureAfter(renderer, edit) {
  return new Promise((resolve) => {
    let change = Infinity;
    const look = (image, index, samples) => {
      if (index < change) return image.close();
      renderer.off('progressiveImageUpdated', look);
      return resolve({ image, samples });
    };
    renderer.on('progressiveImageUpdated', look);
    edit();
    change = renderer.commit();
  });
}

/** Resolves when the renderer has the state. */
function untilState(renderer, wanted) {
  return new Promise((resolve) => {
    const look = () => {
      if (renderer.state !== wanted) return;
      renderer.off('stateChanged', look);
      resolve();
    };
    renderer.on('stateChanged', look);
    look();
  });
}

async function main(picture = 'session.png', width = '320', height = '320') {
  const renderer = await kiln.promises.createKilnRenderer({ enableFrameBuffer: false });
  await renderer.promises.load(path.join(__dirname, 'room.toml'));
  renderer.size = { width: Number(width), height: Number(height) };
  renderer.renderMode = 'interactive';
  // When the picture is as good as was asked for, the session waits for the next change.
  renderer.keepInteractiveRunning = true;
  renderer.progressiveImageUpdatedHasBuffer = true;
  await renderer.promises.start();
  // Waiting for events does not keep a renderer from the collector, which would close it; waiting for the end does.
  const ended = renderer.promises.waitForRenderEnd();

  // While autoCommit is on, as it is from the start, a change reaches the render that runs at once.
  const { copper, lamp, camera } = renderer.plugins;
  for (const [roughness, red] of [[0.35, 1], [0.2, 0.7], [0.1, 0.4]]) {
    const started = Date.now();
    const { image, samples } = await pictureAfter(renderer, () => {
      copper.roughness = roughness;
      lamp.color = [red, 0.86, 0.68];
    });
    console.log(`roughness ${roughness}, red ${red}: the picture came after ${Date.now() - started} ms, ${samples} samples`);
    image.close();
  }

  renderer.pause();
  await untilState(renderer, 'renderingPaused');
  console.log('The render pauses.');
  renderer.resume();

  // Without it several changes are taken over together, by commit().
  renderer.autoCommit = false;
  const { transform } = camera;
  const { image } = await pictureAfter(renderer, () => {
    for (const step of [1, 2, 3]) camera.transform = transform.replaceOffset(transform.offset.add(new Vector(0.1 * step, 0, 0)));
  });
  image.close();
  await renderer.getImage({ doColorCorrect: true }).promises.save(picture);
  await renderer.promises.stop();
  await ended;
  await renderer.promises.close();
}

main(...process.argv.slice(2));
