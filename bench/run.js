#!/usr/bin/env node
// Runs the benchmarks: each prints ratios to a limit that it measured in the same run, for a machine's own times say
// little. Usage: node bench/run.js [name ...]
'use strict';

const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawnSync } = require('child_process');
const { build } = require('../tools/build.js');

function main(names) {
  const all = fs.readdirSync(__dirname).filter((name) => name.endsWith('.bench.js')).map((name) => name.slice(0, -9)).sort();
  const unknown = names.find((name) => !all.includes(name));
  if (unknown) throw new Error(`There is no benchmark "${unknown}": choose from ${all.join(', ')}.`);
  const output = build({ targets: ['Kiln', 'KilnSDKLibrary'] });
  const bench = build({ preset: 'bench', targets: ['benches'] });
  process.stdout.write(`Node.js ${process.versions.node}, ${os.cpus().length} cores, load ${os.loadavg()[0].toFixed(1)}\n`);
  for (const name of names.length > 0 ? names : all) {
    const result = spawnSync(process.execPath, ['--expose-gc', path.join(__dirname, `${name}.bench.js`)], {
      stdio: 'inherit',
      env: { ...process.env, KILN_BUILD_DIR: output, KILN_BENCH_DIR: bench },
    });
    if (result.status !== 0) throw new Error(`The benchmark ${name} failed: see the messages above.`);
  }
}

try {
  main(process.argv.slice(2));
} catch (error) {
  process.stderr.write(`${error.message}\n`);
  process.exitCode = 1;
}
