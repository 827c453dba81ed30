// Taking an image over from the SDK, which must not depend on its size, for nothing is copied.
'use strict';

const { kiln, limits } = require('./measured_sdk.js');
const { paired, report } = require('./measure.js');

const PAIRS = 25;
const COUNT = 1000;

function processorTime() {
  const { user, system } = process.cpuUsage();
  return user + system;
}

function timed(work, count) {
  const started = processorTime();
  work(count);
  return (processorTime() - started) / count;
}

const renderer = new kiln.KilnRenderer({ enableFrameBuffer: false });

function adopt(count) {
  for (let i = 0; i < count; i++) renderer.getImage().close();
}

function adoptOf(width, height) {
  limits.setImage(width, height);
  return timed(adopt, COUNT);
}

adoptOf(64, 64);
const large = [];
const small = [adoptOf(64, 64)];
for (let i = 0; i < PAIRS; i++) {
  large.push(adoptOf(3840, 2160));
  small.push(adoptOf(64, 64));
}
report('images: taking over 3840 x 2160', 'taking over 64 x 64', paired(large, small), { atMost: 1.5 });

limits.setImage(3840, 2160);
limits.copyImage(1);
const copies = [timed(limits.copyImage, 1)];
for (let i = 0; i < 5; i++) copies.push(timed(limits.copyImage, 1));
report('images: taking over 3840 x 2160', 'a copy of its bytes', paired(large.slice(0, 5), copies), { atMost: 0.01 });
renderer.close();
