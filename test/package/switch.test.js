// What the emitter's switch asks of the SDK: the callback of each event is registered while somebody listens.
'use strict';

const assert = require('assert');
const { test } = require('node:test');
const { paths, recorder } = require('../helpers');

process.env.KILN_ENGKIT_BIN = paths.recorderDir;
delete process.env.KILN_SDK;
const kiln = require('../../lib/index.js');

const SETTERS = {
  stateChanged: 'Kiln_KilnRenderer_setStateChangedCallback',
  progressiveImageUpdated: 'Kiln_KilnRenderer_setImageUpdatedCallback',
  bucketInit: 'Kiln_KilnRenderer_setBucketInitCallback',
  bucketReady: 'Kiln_KilnRenderer_setBucketReadyCallback',
  logMessage: 'Kiln_KilnRenderer_setDumpMessageCallback',
  bucketFailed: 'Kiln_KilnRenderer_setBucketFailedCallback',
  progress: 'Kiln_KilnRenderer_setProgressCallback',
  renderViewChanged: 'Kiln_KilnRenderer_setRenderViewChangedCallback',
  kvwRenderLast: 'Kiln_KilnRenderer_setRenderLastCallback',
  kvwRenderInteractive: 'Kiln_KilnRenderer_setRenderInteractiveStartCallback',
  kvwClosed: 'Kiln_KilnRenderer_setKVWClosedCallback',
  postEffectsUpdated: 'Kiln_KilnRenderer_setPostEffectsUpdatedCallback',
  kvwShowMessagesWindow: 'Kiln_KilnRenderer_setShowMessagesWindowCallback',
  hostConnected: 'Kiln_KilnRenderer_setDRHostConnectedCallback',
};

test('the package is bound to the library that the environment names', () => {
  assert.ok(kiln.getSDKLibraryErrorString().includes(paths.recorderDir));
});

for (const [event, setter] of Object.entries(SETTERS)) {
  test(`${event} registers and clears its callback`, () => {
    const renderer = new kiln.KilnRenderer({ enableFrameBuffer: false });
    recorder.clear();
    const listener = () => {};
    renderer.on(event, listener);
    renderer.on(event, () => {});
    assert.deepStrictEqual(recorder.names(), [setter]);
    renderer.removeAllListeners(event);
    assert.deepStrictEqual(recorder.names(), [setter, setter]);
    renderer.close();
  });
}

test('hostConnected outlives the end of hostDisconnected', () => {
  const renderer = new kiln.KilnRenderer({ enableFrameBuffer: false });
  const listener = () => {};
  renderer.on('hostConnected', listener).on('hostDisconnected', listener);
  recorder.clear();
  renderer.off('hostDisconnected', listener);
  const setter = 'Kiln_KilnRenderer_setDRHostConnectedCallback';
  // The first takes it away, the second brings it back.
  assert.deepStrictEqual(recorder.names(), [setter, setter]);
  renderer.close();
});

test('a listener hears what an SDK thread reports, and once hears it once', async () => {
  const renderer = new kiln.KilnRenderer({ enableFrameBuffer: false });
  const heard = [];
  renderer.once('progress', (message, done, total, time) => heard.push([message, done, total, time]));
  const setter = SETTERS.progress;
  const report = await recorder.raise(setter, { message: 'Rendering', first: 3, second: 7 });
  assert.strictEqual(report.delivered, 1);
  assert.deepStrictEqual(heard.map(([message, done, total]) => [message, done, total]), [['Rendering', 3, 7]]);
  assert.strictEqual(recorder.last(setter).name, setter);
  assert.strictEqual(renderer.listenerCount('progress'), 0);
  renderer.close();
});
