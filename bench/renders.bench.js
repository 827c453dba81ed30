// A thousand renders in one process, each with a renderer of its own: neither memory nor threads may pile up.
'use strict';

const fs = require('fs');
const path = require('path');
const kiln = require('..');
const { reportFigure } = require('./measure.js');

const RENDERS = 1000;
const WARM = 100;
const STEP = 50;

async function renderOnce(scene) {
  const renderer = await kiln.promises.createKilnRenderer({ enableFrameBuffer: false });
  await renderer.promises.loadAsText(scene);
  renderer.size = { width: 64, height: 64 };
  await renderer.promises.start();
  if (!(await renderer.promises.waitForRenderEnd())) throw new Error('A render did not end.');
  renderer.getImage().close();
  await renderer.promises.close();
}

function threads() {
  return fs.readdirSync('/proc/self/task').length;
}

function residentKilobytes() {
  global.gc();
  return process.memoryUsage().rss / 1024;
}

/** Of the line through the points that lies closest to them. */
function slope(points) {
  const mean = (pick) => points.reduce((sum, point) => sum + pick(point), 0) / points.length;
  const x = mean((point) => point.x);
  const y = mean((point) => point.y);
  return mean((point) => (point.x - x) * (point.y - y)) / mean((point) => (point.x - x) ** 2);
}

async function main() {
  const scene = fs.readFileSync(path.join(__dirname, '..', 'examples', 'room.toml'), 'utf8').replace('samples = 64', 'samples = 1');
  const points = [];
  let settled = 0;
  for (let i = 1; i <= RENDERS; i++) {
    await renderOnce(scene);
    if (i === WARM) settled = threads();
    if (i >= WARM && i % STEP === 0) points.push({ x: i, y: residentKilobytes() });
  }
  const figures = points.map(({ y }) => (y / 1024).toFixed(1));
  process.stdout.write(`renders: ${RENDERS} of 64 x 64, resident MB from render ${WARM} on, every ${STEP}: ${figures.join(' ')}\n`);
  reportFigure('renders: growth of memory', slope(points), 'KB a render', { atMost: 4 });
  reportFigure('renders: threads that came after the first hundred', threads() - settled, `of ${settled}`, { atMost: 0 });
}

main().catch((error) => {
  process.stderr.write(`${error.stack}\n`);
  process.exitCode = 1;
});
