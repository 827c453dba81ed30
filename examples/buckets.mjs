// An ES module that paints a picture from its buckets while they arrive. Run it with: node examples/buckets.mjs [picture]
import { fileURLToPath } from 'url';
import { KilnImage, KilnRenderer } from '../lib/index.mjs';

const output = process.argv[2] || 'buckets.png';
const renderer = new KilnRenderer({ enableFrameBuffer: false });
renderer.bucketReadyHasBuffer = true;

renderer.load(fileURLToPath(new URL('room.toml', import.meta.url)), (error) => {
  if (error) throw error;
  renderer.size = { width: 320, height: 320 };
  const picture = new KilnImage(320, 320);
  let count = 0;
  renderer.on('bucketReady', (bucket) => {
    picture.draw(bucket);
    bucket.close();
    count += 1;
  });
  renderer.on('stateChanged', (from, to) => {
    if (to !== 'idleDone') return;
    picture.changeSRGB();
    picture.save(output, (failure) => {
      if (failure) throw failure;
      console.log(`${count} buckets`);
      renderer.close();
    });
  });
  renderer.render();
});
