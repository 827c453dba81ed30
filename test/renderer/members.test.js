'use strict';

// The methods of KilnRenderer, in their order.

const test = require('node:test');
const assert = require('assert');
const {kiln} = require('./common');

// Those of distributed rendering stand between setInteractiveTimeout and load, where a build has them.
const METHODS = `
  clearAllPropertyValuesUpToTime clearPropertyValuesUpToTime pause resume getBoundingBox getInteractiveStatistics
  clearLastError setInteractiveSampleLevel setInteractiveNoiseThreshold setInteractiveTimeout

  load append loadAsText appendAsText loadFromBuffer appendFromBuffer loadSync appendSync loadAsTextSync appendAsTextSync
  loadFromBufferSync appendFromBufferSync deletePlugins deletePluginsSync render start startSync renderSequence
  continueSequence export exportSync bucketRenderNearest pickPlugin pickPluginSync pickPlugins pickPluginsSync stop
  waitForRenderEnd waitForSequenceEnd commit getChangeIndex setProgressiveImageUpdateDifference
  setProgressiveImageUpdateTimeout getImage close clearScene setImprovedDefaultSettings getComputeDevicesOptix
  getComputeDevicesCUDA getComputeDevicesDenoiser setComputeDevicesOptix setComputeDevicesCUDA setComputeDevicesDenoiser
  setComputeDevicesEnvironmentVariable saveIrradianceMapFile saveLightCacheFile savePhotonMapFile saveCausticsFile
  saveIrradianceMapFileSync saveLightCacheFileSync savePhotonMapFileSync saveCausticsFileSync setResumableRendering
  setBitmapCache denoiseNow updateLightingAnalysis serializeScene loadFiltered appendFiltered loadAsTextFiltered
  appendAsTextFiltered appendFromBufferFiltered loadFilteredSync appendFilteredSync loadAsTextFilteredSync
  appendAsTextFilteredSync appendFromBufferFilteredSync setIncludePaths getAutoExposureResult setKilnProfiler
  setKVWContextMenuItems setKVWContextMenuItemValue getKVWContextMenuItemValue getInstanceHandle`.trim().split(/\s+/);

test('the methods stand in their order', () => {
  const present = Object.getOwnPropertyNames(kiln.KilnRenderer.prototype).filter((name) => name !== 'constructor');
  assert.deepStrictEqual(present.filter((name) => METHODS.includes(name)), METHODS);
});

test('start and render are one, and render does not show in an enumeration', () => {
  const {prototype} = kiln.KilnRenderer;
  const names = Object.keys(prototype);
  assert.ok(names.includes('start') && !names.includes('render'));
});

test('every method tells its own name', () => {
  const {prototype} = kiln.KilnRenderer;
  for (const name of METHODS) assert.deepStrictEqual([name, prototype[name].name, prototype[name].length], [name, name, 0]);
});
