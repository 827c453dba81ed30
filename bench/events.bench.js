// An event's way from an SDK thread to a listener and back, against two threads that hand over to each other with a
// condition variable; both on one core, for between two cores the scheduler's moods are all that shows.
'use strict';

const { kiln, limits } = require('./measured_sdk.js');
const { paired, report } = require('./measure.js');

const PAIRS = 15;
const COUNT = 10000;

let heard = 0;
let wanted = 0;
let finished = () => {};

function listen() {
  if (++heard === wanted) setImmediate(finished);
}

function raise(count) {
  heard = 0;
  wanted = count;
  return new Promise((resolve, reject) => {
    finished = () => resolve(limits.raised());
    if (!limits.raise(count)) reject(new Error('The callback of the event is not registered.'));
  });
}

async function main() {
  if (!limits.pin()) throw new Error('The process could not be kept on one core.');
  const renderer = new kiln.KilnRenderer({ enableFrameBuffer: false });
  renderer.on('stateChanged', listen);
  await raise(COUNT);
  const trips = [];
  const plain = [limits.pingPong(COUNT)];
  for (let i = 0; i < PAIRS; i++) {
    trips.push(await raise(COUNT));
    plain.push(limits.pingPong(COUNT));
  }
  for (const [share, bound] of [['p50', { atMost: 0.9 }], ['p99', undefined]]) {
    const times = (list) => list.map((one) => one[share]);
    report(`events: round trip ${share}`, 'a ping-pong with a condition variable', paired(times(trips), times(plain)), bound);
  }
  renderer.close();
}

main().catch((error) => {
  process.stderr.write(`${error.stack}\n`);
  process.exitCode = 1;
});
