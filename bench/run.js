#!/usr/bin/env node
// Runs the benchmarks: each prints ratios to a limit that it measured in the same run, for a machine's own times say
// little. Usage: node bench/run.js [name ...]
'use strict';

const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawnSync } = require('child_process');
const { build } = require('../tools/build.js');

const PEERS = ['koffi@3.3.4', 'node-addon-api@8.9.2'];

/** The folder with the peers, fetched with the first run; null when that is not possible. */
function fetchPeers(output) {
  const folder = path.join(output, 'peers');
  const missing = PEERS.some((peer) => !fs.existsSync(path.join(folder, 'node_modules', peer.split('@')[0], 'package.json')));
  if (!missing) return folder;
  fs.mkdirSync(folder, { recursive: true });
  const args = ['install', '--no-audit', '--no-fund', '--prefix', folder, ...PEERS];
  return spawnSync('npm', args, { stdio: 'ignore', shell: process.platform === 'win32' }).status === 0 ? folder : null;
}

function main(names) {
  const all = fs.readdirSync(__dirname).filter((name) => name.endsWith('.bench.js')).map((name) => name.slice(0, -9)).sort();
  const unknown = names.find((name) => !all.includes(name));
  if (unknown) throw new Error(`There is no benchmark "${unknown}": choose from ${all.join(', ')}.`);
  const output = build({ targets: ['Kiln', 'KilnSDKLibrary'] });
  const bench = build({ preset: 'bench', targets: ['benches'] });
  const chosen = names.length > 0 ? names : all;
  const peers = chosen.includes('peers') ? fetchPeers(bench) : null;
  if (peers) build({ preset: 'bench', targets: ['napi_plugin'] });
  process.stdout.write(`Node.js ${process.versions.node}, ${os.cpus().length} cores, load ${os.loadavg()[0].toFixed(1)}\n`);
  for (const name of chosen) {
    const result = spawnSync(process.execPath, ['--expose-gc', path.join(__dirname, `${name}.bench.js`)], {
      stdio: 'inherit',
      env: { ...process.env, KILN_BUILD_DIR: output, KILN_BENCH_DIR: bench, KILN_PEERS_DIR: peers || '' },
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
