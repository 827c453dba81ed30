// Scenes on the engine from the script's side: filters, appends, sequences.
'use strict';

const assert = require('assert');
const fs = require('fs');
const path = require('path');
const { test } = require('node:test');
const kiln = require('../../lib/index.js');
const { ROOT } = require('./program.js');

const ROOM = path.join(ROOT, 'examples', 'room.toml');

async function withRenderer(work) {
  const renderer = await kiln.promises.createKilnRenderer({ enableFrameBuffer: false });
  try {
    return await work(renderer);
  } finally {
    await renderer.promises.close();
  }
}

const names = (renderer) => Object.keys(renderer.plugins);
const plain = () =>
  withRenderer(async (renderer) => {
    await renderer.promises.load(ROOM);
    return [...renderer.plugins].map((plugin) => [plugin.getType(), plugin.getName()]);
  });

test('a filter is asked about every plugin of the scene once', async () => {
  const all = await plain();
  assert.ok(all.length > 10);
  await withRenderer(async (renderer) => {
    const asked = [];
    await renderer.promises.loadFiltered(ROOM, function (...args) {
      assert.strictEqual(this, renderer);
      asked.push(args);
      return true;
    });
    assert.deepStrictEqual([...asked].sort(), [...all].sort());
    assert.deepStrictEqual(names(renderer), all.map(([, name]) => name));
    const again = [];
    renderer.loadFilteredSync(ROOM, (...args) => again.push(args));
    assert.deepStrictEqual(again, asked);
  });
});

test('a filter renames, and what refers to a plugin follows', async () => {
  const all = await plain();
  const renamed = all.map(([, name]) => `my_${name}`);
  for (const form of ['loadFiltered', 'loadAsTextFiltered', 'appendFiltered', 'appendAsTextFiltered', 'appendFromBufferFiltered']) {
    await withRenderer(async (renderer) => {
      const source = form.includes('Buffer') ? fs.readFileSync(ROOM) : form.includes('Text') ? fs.readFileSync(ROOM, 'utf8') : ROOM;
      await renderer.promises[form](source, (type, name) => `my_${name}`);
      assert.deepStrictEqual(names(renderer), renamed, form);
      assert.strictEqual(renderer.plugins.my_floor.material.getName(), 'my_white', form);
      renderer.clearScene();
      renderer[`${form}Sync`](source, (type, name) => `your_${name}`);
      assert.strictEqual(renderer.plugins.your_floor.material.getName(), 'your_white', form);
    });
  }
});

test('a filter leaves out, all if it likes', () =>
  withRenderer(async (renderer) => {
    await renderer.promises.loadFiltered(ROOM, (type) => !type.startsWith('Light'));
    assert.ok(!names(renderer).includes('lamp') && names(renderer).includes('floor'));
    await renderer.promises.loadFiltered(ROOM, () => false);
    assert.deepStrictEqual(names(renderer), []);
  }));

test('a filter that throws leaves its plugin out', () =>
  withRenderer((renderer) => {
    const fails = (type) => {
      if (type.startsWith('Light')) throw new RangeError(type);
      return true;
    };
    assert.throws(() => renderer.loadFilteredSync(ROOM, fails), RangeError);
    assert.ok(!names(renderer).includes('lamp') && names(renderer).includes('floor'));
  }));

test('a filter that loads another scene gets it, and then its own', () =>
  withRenderer(async (renderer) => {
    let inner = 0;
    await renderer.promises.loadFiltered(ROOM, (type, name) => {
      if (inner++ === 0) {
        renderer.loadAsTextSync('[other]\nclass = "LightSpot"\n');
        assert.deepStrictEqual(names(renderer), ['other']);
        renderer.loadAsTextFilteredSync('[other]\nclass = "LightSpot"\n', () => 'another');
        assert.deepStrictEqual(names(renderer), ['another']);
      }
      return name;
    });
    assert.ok(!names(renderer).includes('another') && names(renderer).includes('floor'));
  }));

test('a filter that closes the renderer ends the load', async () => {
  for (const sync of [false, true]) {
    const renderer = new kiln.KilnRenderer({ enableFrameBuffer: false });
    let asked = 0;
    const filter = () => {
      asked++;
      renderer.close();
    };
    if (sync) {
      renderer.loadFilteredSync(ROOM, filter);
    } else {
      await new Promise((resolve) => renderer.loadFiltered(ROOM, filter, resolve));
    }
    assert.strictEqual(asked, 1);
  }
});

test('a broken scene is told with its line, with a filter too', () =>
  withRenderer(async (renderer) => {
    const broken = '[a]\nclass = "Nothing"\n';
    await assert.rejects(renderer.promises.loadAsTextFiltered(broken, () => true), /line 2/);
    assert.throws(() => renderer.appendAsTextFilteredSync([broken], () => true), /line 2/);
    assert.throws(() => renderer.appendAsTextSync(broken), /line 2/);
  }));

test('several texts are appended in one step, or none', () =>
  withRenderer(async (renderer) => {
    const light = (name) => `[${name}]\nclass = "LightSpot"\n`;
    await renderer.promises.appendAsText([light('a'), light('b')]);
    renderer.appendAsTextSync(light('c'));
    renderer.appendFromBufferSync(Buffer.from(light('d')), Buffer.from(light('e')));
    assert.deepStrictEqual(names(renderer), ['a', 'b', 'c', 'd', 'e']);
    await assert.rejects(renderer.promises.appendAsText([light('f'), '[g]\nclass = 5\n']), Error);
    assert.deepStrictEqual(names(renderer), ['a', 'b', 'c', 'd', 'e']);
    const { c } = renderer.plugins;
    assert.strictEqual(renderer.deletePluginsSync('a', c), true);
    assert.strictEqual(await renderer.promises.deletePlugins(['d', 'e']), true);
    assert.deepStrictEqual([names(renderer), c.isValid()], [['b'], false]);
  }));

test('a sequence of frames renders each of them', () =>
  withRenderer(async (renderer) => {
    await renderer.promises.load(ROOM);
    renderer.size = { width: 16, height: 16 };
    renderer.plugins.sampler.samples = 1;
    const states = [];
    // Events may be told behind the end of a wait.
    const told = new Promise((resolve) => {
      renderer.on('stateChanged', (from, to) => {
        states.push(to);
        if (to === 'idleFrameDone') renderer.continueSequence();
        if (to === 'idleDone') resolve();
      });
    });
    renderer.renderSequence({ start: 1, end: 3 });
    assert.strictEqual(await renderer.promises.waitForSequenceEnd(60000), true);
    await told;
    assert.strictEqual(states.filter((state) => state === 'preparing').length, 3);
    assert.strictEqual(states.filter((state) => state === 'idleFrameDone').length, 2);
    assert.strictEqual(renderer.getImage().width, 16);
  }));
