// Rays per second of a whole render of the demo's scene, shading included, against Embree's rate on the same rays.
'use strict';

const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawnSync } = require('child_process');
const { report, summary } = require('./measure.js');
const { writeDemoScene } = require('../tools/demo.js');

const RUNS = 5;
const FIGURES = /, ([\d.]+) Mrays\/s; Embree alone ([\d.]+) Mrays\/s; ratio/;

function measure(program, scene) {
  const result = spawnSync(program, [scene, '256', '16', '1'], { encoding: 'utf8' });
  const figures = FIGURES.exec(result.stdout || '');
  if (result.status !== 0 || !figures) throw new Error(`engine_rays failed: ${result.error || result.stderr}`);
  return { engine: Number(figures[1]), embree: Number(figures[2]) };
}

const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kiln-bench-'));
try {
  const scene = writeDemoScene(folder);
  const runs = Array.from({ length: RUNS }, () => measure(path.join(process.env.KILN_BENCH_DIR, 'engine_rays'), scene));
  const comparison = {
    ratio: summary(runs.map(({ engine, embree }) => engine / embree)),
    work: summary(runs.map(({ engine }) => engine)).median,
    limit: summary(runs.map(({ embree }) => embree)).median,
  };
  report('rays: engine, with shading', "Embree's own rate", comparison, { atLeast: 0.5 }, 'Mrays/s');
} finally {
  fs.rmSync(folder, { recursive: true });
}
