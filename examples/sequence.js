// Turns a block of the example room over a sequence of frames, and writes a picture of each.
// Run it with: node examples/sequence.js [folder] [frames] [width] [height]
'use strict';

const path = require('path');
const kiln = require('..');
const { Matrix, Transform } = kiln;

async function main(folder = '.', frames = '24', width = '320', height = '320') {
  const renderer = await kiln.promises.createKilnRenderer({ enableFrameBuffer: false });
  await renderer.promises.load(path.join(__dirname, 'room.toml'));
  renderer.size = { width: Number(width), height: Number(height) };

  // A key frame is a value at a time; in between it is interpolated. After a quarter of a turn the
  // block looks as it did, so that the sequence can go round and round.
  const { tall } = renderer.plugins;
  const last = Number(frames);
  const { matrix, offset } = tall.transform;
  for (const share of [0, 0.5, 1]) {
    const turn = Matrix.makeRotationMatrixY((share * Math.PI) / 2);
    tall.setValue('transform', new Transform(turn.mul(matrix), offset), 1 + share * (last - 1));
  }

  // Behind each frame the renderer stands still until it is told to go on.
  renderer.renderSequence({ start: 1, end: last });
  for (let frame = 1; frame <= last; frame++) {
    if (frame > 1) renderer.continueSequence();
    await renderer.promises.waitForRenderEnd();
    const file = path.join(folder, `turn.${String(frame).padStart(4, '0')}.png`);
    await renderer.getImage({ doColorCorrect: true }).promises.save(file);
    console.log(`${file}, ${renderer.state}`);
  }
  await renderer.promises.close();
}

main(...process.argv.slice(2));
