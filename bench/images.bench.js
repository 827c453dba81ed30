// Taking an image over from the SDK, which must cost no more than the host's own array buffer on the same memory,
// for nothing is copied. The host counts the bytes and its collector answers to a large buffer with a step of its
// work, so the plain times of two sizes differ without any doing of the add-on.
'use strict';

const { kiln, limits } = require('./measured_sdk.js');
const { paired, quantile, report } = require('./measure.js');

const PAIRS = 25;
const COUNT = 100;

const renderer = new kiln.KilnRenderer({ enableFrameBuffer: false });

function adopt() {
  renderer.getImage().close();
}

/**
 * Microseconds of one taking over and its end: once, the fastest tenth, and the mean, with the collections. The host
 * counts the bytes that lie outside its heap, so the larger they are, the oftener the collector works.
 */
function measure(work, width, height) {
  limits.setImage(width, height);
  const times = [];
  for (let i = 0; i < COUNT; i++) {
    const started = process.hrtime.bigint();
    work();
    times.push(Number(process.hrtime.bigint() - started) / 1000);
  }
  return { once: quantile(times, 0.1), mean: times.reduce((sum, time) => sum + time, 0) / COUNT };
}

function copy(width, height) {
  limits.setImage(width, height);
  limits.copyImage(1);
  const started = process.hrtime.bigint();
  limits.copyImage(1);
  return Number(process.hrtime.bigint() - started) / 1000;
}

measure(adopt, 64, 64);
const large = [];
const small = [measure(adopt, 64, 64)];
const bare = [measure(limits.adoptImage, 3840, 2160)];
const copies = [copy(3840, 2160)];
for (let i = 0; i < PAIRS; i++) {
  large.push(measure(adopt, 3840, 2160));
  small.push(measure(adopt, 64, 64));
  bare.push(measure(limits.adoptImage, 3840, 2160));
  copies.push(copy(3840, 2160));
}
const pick = (list, key) => list.map((one) => one[key]);
const name = 'images: taking over 3840 x 2160';
report(`${name}, fastest tenth`, 'taking over 64 x 64', paired(pick(large, 'once'), pick(small, 'once')), { atMost: 1.5 });
report(`${name}, fastest tenth`, 'a bare array buffer on it', paired(pick(large, 'once'), pick(bare, 'once')), { atMost: 1.5 });
report(`${name}, mean`, 'a copy of its bytes', paired(pick(large, 'mean'), copies));
renderer.close();
