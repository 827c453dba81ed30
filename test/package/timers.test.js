// What a render with busy listeners costs the other work of the loop.
'use strict';

const assert = require('assert');
const path = require('path');
const { test } = require('node:test');
const { performance } = require('perf_hooks');
const { ROOT } = require('./program.js');

delete process.env.KILN_ENGKIT_BIN;
delete process.env.KILN_SDK;
const kiln = require('../../lib/index.js');
const { EVENT_KINDS } = require('../../lib/events.js');

const LISTENER_MS = 1;
const TIMER_MS = 2;

const spin = (ms) => {
  for (const end = performance.now() + ms; performance.now() < end;) { /* busy, as a listener with work to do */ }
};

/** Timers one after the other, up to stop(), which gives when each was due and when it ran. */
function watchTimers() {
  const rows = [];
  let timer;
  const next = () => {
    const due = performance.now() + TIMER_MS;
    timer = setTimeout(() => {
      rows.push({ due, ran: performance.now() });
      next();
    }, TIMER_MS);
  };
  next();
  return { stop: () => (clearTimeout(timer), rows) };
}

/** Renders the room in many buckets; gives the calls of the listeners, and for each timer how many of them delayed it. */
async function renderWith(listenerMs) {
  const calls = [];
  const renderer = new kiln.KilnRenderer({ enableFrameBuffer: false });
  try {
    await renderer.promises.load(path.join(ROOT, 'examples', 'room.toml'));
    renderer.size = { width: 480, height: 360 };
    renderer.renderMode = 'production';
    renderer.plugins.sampler.samples = 1;
    for (const event of Object.keys(EVENT_KINDS)) {
      renderer.on(event, () => {
        const from = performance.now();
        spin(listenerMs);
        calls.push({ from, to: performance.now() });
      });
    }
    const timers = watchTimers();
    await renderer.promises.start();
    assert.ok(await renderer.promises.waitForRenderEnd(60000));
    const delays = timers.stop().map(({ due, ran }) => {
      const between = calls.filter(({ from, to }) => to > due && from < ran);
      const listening = between.reduce((sum, { from, to }) => sum + Math.min(to, ran) - Math.max(from, due), 0);
      return { listeners: between.length, rest: ran - due - listening };
    });
    return { calls, delays };
  } finally {
    await renderer.promises.close();
  }
}

const median = (values) => values.sort((a, b) => a - b)[values.length >> 1];

test('a timer waits for the listener that runs when it is due, and for no queue of them', async () => {
  const idle = await renderWith(0);
  const busy = await renderWith(LISTENER_MS);
  assert.ok(busy.calls.length > 300, `${busy.calls.length} events`);
  assert.ok(busy.delays.length > 50, `${busy.delays.length} timers`);
  // One that runs, and one more where the loop's clock, which has whole milliseconds, is behind.
  const most = Math.max(...busy.delays.map(({ listeners }) => listeners));
  assert.ok(most <= 3, `${most} listeners came before a timer that was due`);
  // The machine delays timers by itself, so what the listeners do not explain is held against a render without them.
  const [more, less] = [busy, idle].map(({ delays }) => median(delays.map(({ rest }) => rest)));
  assert.ok(more <= 2 * less + 3, `${more} ms beyond the listeners, ${less} ms without them`);
});
