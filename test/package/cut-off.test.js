// Renders on the engine that are cut off in the middle: by the end of their worker, and by the end of the process.
// KILN_CUT_OFF_ROUNDS=100 is the long form.
'use strict';

const assert = require('assert');
const { test } = require('node:test');
const { runScript } = require('./program.js');

const ROUNDS = Number(process.env.KILN_CUT_OFF_ROUNDS || 6);

// A render that takes far longer than any test, and a word when it is under way.
const ENDLESS = `
  kiln.setEnvVar('KILN_RENDER_SAMPLES', '1048576');
  async function renderEndlessly() {
    const renderer = await kiln.promises.createKilnRenderer({ enableFrameBuffer: false });
    await renderer.promises.load('examples/room.toml');
    renderer.size = { width: 96, height: 64 };
    await renderer.promises.start();
    return renderer;
  }`;

test('a worker is terminated in the middle of a render', { timeout: 60000 + ROUNDS * 6000 }, async () => {
  const result = await runScript(`
    const fs = require('fs');
    const { Worker } = require('worker_threads');
    const threads = () => fs.existsSync('/proc/self/task') ? fs.readdirSync('/proc/self/task').length : 0;
    const work = ${JSON.stringify(`const kiln = require('./lib/index.js');
      ${ENDLESS}
      renderEndlessly().then(() => require('worker_threads').parentPort.postMessage('rendering'));`)};
    (async () => {
      let settled = 0;
      for (let round = 0; round < ${ROUNDS}; round++) {
        const worker = new Worker(work, { eval: true });
        const failed = new Promise((_, reject) => worker.once('error', reject));
        await Promise.race([new Promise((resolve) => worker.once('message', resolve)), failed]);
        await new Promise((resolve) => setTimeout(resolve, round * 7 % 23));
        await worker.terminate();
        if (round === 2) settled = threads();
      }
      process.stdout.write(JSON.stringify({ settled, last: threads() }));
    })();`, { timeout: 30000 + ROUNDS * 5000 });
  assert.deepStrictEqual([result.code, result.signal, result.stderr], [0, null, '']);
  const { settled, last } = JSON.parse(result.stdout);
  assert.ok(last <= settled + 1, `${settled} threads after three workers, ${last} after ${ROUNDS}`);
});

test('the process exits in the middle of a render', { timeout: 60000 + ROUNDS * 6000 }, async () => {
  for (let round = 0; round < ROUNDS / 2; round++) {
    const result = await runScript(`${ENDLESS}
      renderEndlessly().then(() => setTimeout(() => process.exit(7), ${(round * 5) % 17}));`);
    assert.deepStrictEqual([result.code, result.signal, result.stderr], [7, null, ''], `round ${round}`);
  }
});
