// Renders the example room with further channels and writes each as a floating-point picture.
// Run it with: node examples/elements.js [folder] [width] [height]
'use strict';

const path = require('path');
const kiln = require('..');

async function main(folder = '.', width = '320', height = '320') {
  const renderer = await kiln.promises.createKilnRenderer({ enableFrameBuffer: false });
  await renderer.promises.load(path.join(__dirname, 'room.toml'));
  renderer.size = { width: Number(width), height: Number(height) };

  // Elements have to be in the scene before the render starts.
  const types = ['lighting', 'gi', 'specular', 'reflection', 'self_illumination', 'z_depth', 'normals', 'denoised'];
  const elements = types.map((type) => renderer.renderElements.add(type));
  await renderer.promises.start();
  await renderer.promises.waitForRenderEnd();

  for (const element of elements) {
    const file = path.join(folder, `room.${element.type}.exr`);
    await element.getImage().promises.save(file);
    console.log(`${file}: ${element.binaryFormat}`);
  }

  // The raw values, a float a pixel.
  const data = renderer.renderElements.get('z_depth').getData();
  const depths = new Float32Array(data.buffer, data.byteOffset, data.length / 4).filter(Number.isFinite);
  console.log(`From ${Math.min(...depths).toFixed(2)} m to ${Math.max(...depths).toFixed(2)} m away`);
  await renderer.promises.close();
}

main(...process.argv.slice(2));
