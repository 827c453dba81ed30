'use strict';

// The plugin graph, photometric files, shader sources, scanned materials, hosts and servers on the engine.

const test = require('node:test');
const assert = require('assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const {once} = require('events');
const {paths} = require('../helpers');

const missing = !fs.existsSync(paths.engine) && 'the engine is not built';
delete process.env.KILN_SDK;
process.env.KILN_ENGKIT_BIN = paths.build;
const kiln = missing ? {} : require('../../lib');

const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kiln-utilities-'));
process.on('exit', () => fs.rmSync(folder, {recursive: true, force: true}));

const on = (name, body) => test(name, {skip: missing}, body);

function write(name, text) {
  const file = path.join(folder, name);
  fs.writeFileSync(file, text);
  return file;
}

function withRenderer(body) {
  const renderer = new kiln.KilnRenderer({enableFrameBuffer: false});
  try {
    return body(renderer);
  } finally {
    renderer.close();
  }
}

const SCENE = `
[noise]
class = "TextureNoise"
[mix]
class = "TextureMix"
colorA = "noise"
colorB = "noise"
[wood]
class = "MaterialPrincipled"
baseColor = "mix"
[ball]
class = "GeomSphere"
[object]
class = "GeomInstance"
geometry = "ball"
material = "wood"
`;

const texts = (links) => links.map((link) => `${link.fromPlugin}.${link.fromProperty} > ${link.toPlugin}`);

on('the graph of a scene, in both directions', () =>
  withRenderer((renderer) => {
    renderer.loadAsTextSync(SCENE);
    const {object, noise, wood, ball} = renderer.plugins;
    assert.deepStrictEqual(texts(kiln.Util.getChildPlugins(object, false)), [
      'object.geometry > ball',
      'object.material > wood',
    ]);
    assert.deepStrictEqual(texts(kiln.Util.getChildPlugins(object, true)).slice(2), [
      'wood.baseColor > mix',
      'mix.colorA > noise',
      'mix.colorB > noise',
    ]);
    assert.deepStrictEqual(texts(kiln.Util.getParentPlugins(noise)), ['mix.colorA > noise', 'mix.colorB > noise']);
    assert.deepStrictEqual(kiln.Util.getChildPlugins(noise, true), []);
    const [link] = kiln.Util.getParentPlugins(wood);
    assert.strictEqual(link.fromPlugin, object);
    assert.strictEqual(link.toPlugin, wood);
    ball.deleteThis();
    assert.deepStrictEqual(texts(kiln.Util.getChildPlugins(object, false)), ['object.material > wood']);
  }));

on('the intensity of a photometric file is its flux in lumens', () => {
  const file = write(
    'lamp.ies',
    'IESNA:LM-63-2002\r\n[TEST] none\r\nTILT=NONE\r\n1 1000 2 2 1 1 2 0 0 0\r\n0.5 1 10\r\n0 180\r\n0\r\n100 100\r\n'
  );
  assert.ok(Math.abs(kiln.Util.getIESPrescribedIntensity(file) - 400 * Math.PI) < 1e-3);
  assert.strictEqual(kiln.Util.getIESPrescribedIntensity(), 0);
  assert.strictEqual(kiln.Util.getIESPrescribedIntensity(write('empty.ies', '')), 0);
});

on('the parameters of a shader source', async () => {
  const file = write(
    'wood.osl',
    `// Rings.
#define RINGS 12
shader wood(
  int rings = 4 * 3 [[ int min = 1 ]],
  int knots = 1 [[ string widget = "checkBox" ]],
  float scale = 0.5,
  string mode = "fine",
  string bark = "" [[ string widget = "filename" ]],
  color tint = color(1, 0.5, 0.25),
  vector up = vector(0, 1, 0),
  matrix place = 1,
  output color result = 0,
  output float height = 0,
  output closure color bsdf = 0)
{ result = tint; }
`
  );
  const parameters = kiln.getOSLParametersSync(file);
  assert.deepStrictEqual(parameters.outputColorParams, ['result']);
  assert.deepStrictEqual(parameters.outputFloatParams, ['height']);
  assert.deepStrictEqual(parameters.outputClosureParams, ['bsdf']);
  const plain = parameters.inputParams.map(({name, type, defaultValue}) => [name, type, String(defaultValue)]);
  assert.deepStrictEqual(plain, [
    ['rings', 'Int', '12'],
    ['knots', 'Boolean', 'true'],
    ['scale', 'Float', '0.5'],
    ['mode', 'String', 'fine'],
    ['bark', 'Texture', 'null'],
    ['tint', 'Color', String(new kiln.Color(1, 0.5, 0.25))],
    ['up', 'Vector', String(new kiln.Vector(0, 1, 0))],
    ['place', 'Unsupported', 'null'],
  ]);
  const asked = new Promise((resolve) => kiln.getOSLParameters(file, (error, result) => resolve([error, result])));
  assert.deepStrictEqual(await asked, [null, parameters]);
});

on('a shader that cannot be read says why', () => {
  assert.throws(() => kiln.getOSLParametersSync(path.join(folder, 'none.osl')), /was not found/);
  assert.throws(() => kiln.getOSLParametersSync(write('text.osl', 'nothing of the kind')), /holds no source/);
  assert.throws(() => kiln.getOSLParametersSync(write('cut.osl', 'shader s(int a = 1')), /is malformed/);
});

on('scanned parameters are a version and 55 words; a scan file is refused', () => {
  const words = kiln.encodeScannedMaterialParams({});
  assert.ok(words instanceof Int32Array);
  assert.strictEqual(words.length, 56);
  assert.strictEqual(words[0], 1);
  const triplanar = {enabled: true, randomRotation: true};
  const others = kiln.encodeScannedMaterialParams({plain: 'PL_SCRAMBLE', triplanar});
  assert.strictEqual(others[1], 3);
  assert.strictEqual(others[51], 5);
  assert.deepStrictEqual(kiln.encodeScannedMaterialParams({}), words);
  assert.throws(() => new kiln.ScannedMaterialInfo(__filename), /Bad or missing BRDFScanned plugin file\./);
});

on('hosts are kept, and nobody is connected', () =>
  withRenderer((renderer) => {
    assert.strictEqual(renderer.addHostsSync('a', ['b:20204']), 0);
    assert.strictEqual(renderer.addHostsSync(), -2);
    assert.deepStrictEqual(renderer.getAllHostsSync(), ['a', 'b:20204']);
    assert.deepStrictEqual(renderer.getInactiveHostsSync(), ['a', 'b:20204']);
    assert.deepStrictEqual(renderer.getActiveHostsSync(), []);
    assert.strictEqual(renderer.setDREnabled(true), false);
    assert.strictEqual(renderer.getDREnabled(), false);
    assert.deepStrictEqual(kiln.checkDRHostSync('localhost:20204'), {ready: false, status: 'Error Connect'});
    assert.deepStrictEqual(kiln.checkDRHostSync('no host'), {ready: false, status: 'Error Resolve'});
  }));

on('a server starts and says that it serves nobody', async () => {
  const server = new kiln.KilnServer({portNumber: 20204});
  const messages = [];
  server.on('logMessage', (text, level) => messages.push([level, text]));
  const started = once(server, 'start');
  server.start();
  await started;
  assert.deepStrictEqual(server.getAllHostsSync(), []);
  const stopped = once(server, 'logMessage');
  server.stop();
  await stopped;
  assert.deepStrictEqual(messages.map(([level]) => level), [1, 2]);
  assert.match(messages[0][1], /serves nobody/);
  await new Promise((resolve) => server.close(resolve));
});
