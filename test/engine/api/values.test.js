// A script on the engine: builds a scene, changes it, walks it, and reads every value and all metadata back.
'use strict';

const assert = require('assert');
const { test } = require('node:test');
const { paths } = require('../../helpers');

process.env.KILN_ENGKIT_BIN = paths.build;
delete process.env.KILN_SDK;
const kiln = require('../../../lib/index.js');

function withRenderer(work) {
  const renderer = new kiln.KilnRenderer({ enableFrameBuffer: false });
  try {
    return work(renderer);
  } finally {
    renderer.close();
  }
}

const isList = (value) => ArrayBuffer.isView(value);
const plain = (value) => (isList(value) ? Array.from(value) : value === null ? null : String(value));

// What a script may assign for each type, and what it reads then.
const SAMPLES = {
  int: [[7, 7]],
  float: [[0.5, 0.5], [3, 3]],
  boolean: [[true, true], [false, false], [1, true]],
  Vector: [[new kiln.Vector(1, 2, 3), 'Vector(1, 2, 3)'], [[4, 5, 6], 'Vector(4, 5, 6)']],
  Color: [[new kiln.Color(1, 0.5, 0), 'Color(1, 0.5, 0)'], [new kiln.AColor(1, 2, 3, 4), 'Color(1, 2, 3)']],
  Transform: [[
    new kiln.Transform(1, 0, 0, 0, 1, 0, 0, 0, 1, 4, 5, 6),
    String(new kiln.Transform(1, 0, 0, 0, 1, 0, 0, 0, 1, 4, 5, 6)),
  ]],
  String: [['some text', 'some text'], ['', '']],
  Texture: [[new kiln.Color(1, 0.5, 0), 'Color(1, 0.5, 0)'], [0.25, 'Color(0.25, 0.25, 0.25)']],
  TextureFloat: [[0.25, 0.25]],
  'List<int>': [[new Int32Array([1, 2, 3]), [1, 2, 3]], [[4, 5], [4, 5]], [new Float64Array([6, 7]), [6, 7]]],
  'List<float>': [[new Float32Array([0.5, 2]), [0.5, 2]], [[1, 0.25], [1, 0.25]]],
  'List<Vector>': [[[new kiln.Vector(1, 2, 3)], [1, 2, 3]], [new Float32Array([1, 2, 3, 4, 5, 6]), [1, 2, 3, 4, 5, 6]]],
  'List<Color>': [[[new kiln.Color(1, 2, 3)], [1, 2, 3]]],
  double: [[0.1, 0.1]],
  AColor: [[new kiln.AColor(1, 2, 3, 4), 'AColor(1, 2, 3, 4)']],
  Matrix: [[new kiln.Matrix(2), String(new kiln.Matrix(2))]],
  TextureInt: [[3, 3]],
  TextureVector: [[new kiln.Vector(1, 2, 3), 'Vector(1, 2, 3)']],
  TextureMatrix: [[new kiln.Matrix(2), String(new kiln.Matrix(2))]],
  TextureTransform: [[
    new kiln.Transform(1, 0, 0, 0, 1, 0, 0, 0, 1, 4, 5, 6),
    String(new kiln.Transform(1, 0, 0, 0, 1, 0, 0, 0, 1, 4, 5, 6)),
  ]],
  'List<boolean>': [[[true, false], [1, 0]]],
  'List<String>': [[['one', 'two'], ['one', 'two']]],
  'List<Plugin>': [[[], []]],
  'List<Texture>': [[[], []]],
  'List<TextureFloat>': [[[0.5, 1], [0.5, 1]]],
};

test('the engine is what is bound', () => {
  assert.strictEqual(kiln.getSDKLibraryMissingFunctions().length, 0);
});

test('every property of every class takes values of its type and gives them back', () => {
  withRenderer((renderer) => {
    let assigned = 0;
    for (const name of Object.keys(renderer.classes)) {
      const plugin = renderer.classes[name]();
      const meta = plugin.getMeta();
      assert.deepStrictEqual(Object.keys(meta), Object.keys(plugin), name);
      for (const key of Object.keys(plugin)) {
        const { type } = meta[key];
        if (type === 'Plugin') continue;
        assert.ok(SAMPLES[type], `${name}.${key} is a ${type}`);
        for (const [value, expected] of SAMPLES[type]) {
          assert.strictEqual(plugin.setValue(key, value), true, `${name}.${key} = ${value}`);
          const read = plugin[key];
          const got = typeof expected === 'string' ? String(read) : isList(read) ? Array.from(read) : read;
          assert.deepStrictEqual(got, expected, `${name}.${key}`);
          assigned += 1;
        }
      }
    }
    assert.ok(assigned > 150, String(assigned));
  });
});

test('every value survives as bytes and as text', () => {
  withRenderer((renderer) => {
    for (const name of Object.keys(renderer.classes)) {
      const plugin = renderer.classes[name]();
      for (const key of Object.keys(plugin)) {
        const before = plain(plugin[key]);
        const bytes = plugin.getValueAsBinaryBuffer(key);
        assert.ok(bytes.length >= 8, `${name}.${key}`);
        assert.strictEqual(plugin.setValue(key, bytes), true, `${name}.${key}`);
        assert.deepStrictEqual(plain(plugin[key]), before, `${name}.${key}`);
        assert.strictEqual(plugin.setValue(key, plugin.getValueAsString(key)), true, `${name}.${key}`);
        assert.deepStrictEqual(plain(plugin[key]), before, `${name}.${key}`);
      }
    }
  });
});

test('the metadata of a class is that of its table', () => {
  withRenderer((renderer) => {
    const keys = ['name', 'aliases', 'type', 'defaultValue', 'description', 'deprecation', 'GPUSupport'];
    for (const name of Object.keys(renderer.classes)) {
      const meta = renderer.classes[name].getMeta();
      for (const key of Object.keys(meta)) {
        assert.deepStrictEqual(Object.keys(meta[key]), keys, `${name}.${key}`);
        assert.strictEqual(meta[key].name, key);
        assert.ok(meta[key].description.length > 3, `${name}.${key} is described`);
        assert.ok(['Full', 'Partial', 'None'].includes(meta[key].GPUSupport));
        if (meta[key].type !== 'Plugin' && !meta[key].type.startsWith('Texture')) {
          assert.notStrictEqual(meta[key].defaultValue, undefined, `${name}.${key} has a default`);
        }
      }
      assert.strictEqual(renderer.classes[name].getMeta('nonsense'), undefined);
    }
    assert.strictEqual(renderer.classes.CameraPerspective.getMeta('fov').defaultValue, 45);
  });
});

test('the metadata of an instance tells what it holds', () => {
  withRenderer((renderer) => {
    const mesh = renderer.classes.GeomStaticMesh('mesh');
    mesh.vertices = new Float32Array(30);
    assert.strictEqual(mesh.getMeta('vertices').elementsCount, 10);
    assert.strictEqual(mesh.getMeta('vertices').runtimeType, 'List<Vector>');
    assert.ok(!('elementsCount' in mesh.getMeta('doubleSided')));
    const material = renderer.classes.MaterialPrincipled('material');
    assert.strictEqual(material.getMeta('baseColor').runtimeType, 'Color');
    material.baseColor = renderer.classes.TextureBitmap('bitmap');
    assert.strictEqual(material.getMeta('baseColor').runtimeType, 'Texture');
    assert.strictEqual(material.baseColor, renderer.plugins.bitmap);
  });
});

test('a scene is built of references, outputs among them, and walked', () => {
  withRenderer((renderer) => {
    const { classes } = renderer;
    const mesh = classes.GeomStaticMesh('mesh');
    const bitmap = classes.TextureBitmap('bitmap');
    const material = classes.MaterialPrincipled('material');
    const object = classes.GeomInstance('object');
    Object.assign(object, { geometry: mesh, material });
    material.roughness = bitmap.getReference('green');
    assert.strictEqual(object.geometry, mesh);
    assert.strictEqual(material.roughness.getOutputName(), 'green');
    assert.strictEqual(material.roughness.getPlugin(), bitmap);
    const other = classes.MaterialEmissive('other');
    assert.strictEqual(material.replaceWith(other), true);
    assert.strictEqual(object.material, other);
    object.material = null;
    assert.strictEqual(object.material, null);
    mesh.deleteThis();
    assert.strictEqual(object.geometry, null);
    assert.strictEqual(object.setValue('geometry', 5), false);
    assert.strictEqual(object.setValue('nonsense', 5), false);
  });
});

test('values move between key frames', () => {
  withRenderer((renderer) => {
    const lamp = renderer.classes.LightPoint('lamp');
    lamp.setValue('intensity', 10, 0);
    lamp.setValue('intensity', 20, 10);
    assert.strictEqual(lamp.isPropertyAnimated('intensity'), true);
    assert.deepStrictEqual(Array.from(lamp.getKeyframeTimes('intensity')), [0, 10]);
    assert.strictEqual(lamp.getValue('intensity', 5), 15);
    lamp.intensity = 3;
    assert.strictEqual(lamp.isPropertyAnimated('intensity'), false);
    assert.strictEqual(lamp.getValue('intensity', 5), 3);
  });
});

test('a value without a time is one of now while values are animated', () => {
  withRenderer((renderer) => {
    const lamp = renderer.classes.LightPoint('lamp');
    renderer.useAnimatedValues = true;
    renderer.time = 4;
    lamp.setValue('intensity', 7);
    assert.deepStrictEqual(Array.from(lamp.getKeyframeTimes('intensity')), [4]);
    assert.strictEqual(renderer.clearAllPropertyValuesUpToTime(4), true);
    assert.strictEqual(lamp.isPropertyAnimated('intensity'), false);
    assert.strictEqual(lamp.intensity, 7);
  });
});

test('memory that the engine keeps is what the script gave', () => {
  withRenderer((renderer) => {
    renderer.maxTypedListsCopyByteSize = 0;
    const mesh = renderer.classes.GeomStaticMesh('mesh');
    mesh.vertices = Object.setPrototypeOf(new Float32Array([1, 2, 3]), kiln.VectorList.prototype);
    assert.deepStrictEqual(Array.from(mesh.vertices), [1, 2, 3]);
    for (let i = 0; i < 1000; ++i) mesh.faces = new Int32Array([0, 0, 0]);
    assert.deepStrictEqual(Array.from(mesh.faces), [0, 0, 0]);
    renderer.clearScene();
  });
});

test('bytes that are no value are refused', () => {
  withRenderer((renderer) => {
    const lamp = renderer.classes.LightPoint('lamp');
    for (const words of [[4711, 0], [100, 0xffffffff], [9, 0xffffffff], [12, 0x7fffffff, 4711]]) {
      const bytes = Buffer.from(Uint32Array.from(words).buffer);
      assert.strictEqual(lamp.setValue('intensity', bytes), false, String(words));
    }
    assert.strictEqual(lamp.intensity, 1);
  });
});

test('colours come from temperatures and go between spaces', () => {
  const warm = kiln.Color.fromTemperature(3000);
  assert.ok(warm.r === 1 && warm.g > warm.b);
  assert.ok(Math.abs(warm.getClosestTemperature() - 3000) < 0.5);
  assert.throws(() => kiln.Color.fromTemperature(3000, 3), /rgbColorSpace value out of range/);
  const matrix = kiln.Color.getRGBToRGBMatrix(kiln.Color.COLOR_SPACE_SRGB, kiln.Color.COLOR_SPACE_ACEScg);
  assert.ok(Math.abs(matrix.column0.x - 0.6131) < 1e-4);
});
