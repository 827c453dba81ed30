// Asks what is where in the picture of the example room, and draws the answer in letters.
// Run it with: node examples/picking.js [columns]
'use strict';

const path = require('path');
const kiln = require('..');

async function main(columns = '48') {
  const renderer = await kiln.promises.createKilnRenderer({ enableFrameBuffer: false });
  await renderer.promises.load(path.join(__dirname, 'room.toml'));
  const size = Number(columns);
  renderer.size = { width: size, height: size };
  await renderer.promises.start();

  // Picks need no finished picture: they run beside the render. A letter is about twice as high as wide.
  const letters = new Map();
  for (let y = 1; y < size; y += 2) {
    let line = '';
    for (let x = 0; x < size; x++) {
      const plugin = renderer.pickPluginSync(x, y);
      if (!plugin) line += ' ';
      else {
        if (!letters.has(plugin)) letters.set(plugin, String.fromCharCode(97 + letters.size));
        line += letters.get(plugin);
      }
    }
    console.log(line);
  }
  for (const [plugin, letter] of letters) console.log(`${letter} ${plugin}, a ${plugin.getType()}`);

  // Everything along one ray, the nearest first.
  const picks = await renderer.promises.pickPlugins(size * 0.4, size * 0.7);
  for (const { plugin, distance } of picks) console.log(`${plugin} is ${distance.toFixed(2)} m away`);
  await renderer.promises.stop();
  await renderer.promises.close();
}

main(...process.argv.slice(2));
