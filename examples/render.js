// Renders the example room and writes room.png. Run it with: node examples/render.js [picture]
'use strict';

const path = require('path');
const kiln = require('..');

async function main(output = 'room.png') {
  const renderer = await kiln.promises.createKilnRenderer({ enableFrameBuffer: false });
  renderer.on('progress', (stage, done, total) => console.log(`${stage} ${Math.floor((100 * done) / total)} %`));
  await renderer.promises.load(path.join(__dirname, 'room.toml'));
  renderer.size = { width: 320, height: 320 };
  await renderer.promises.start();
  await renderer.promises.waitForRenderEnd();
  await renderer.getImage({ doColorCorrect: true }).promises.save(output);
  await renderer.promises.close();
}

main(process.argv[2]);
