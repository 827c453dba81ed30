// Builds a scene out of nothing, animates it, changes it, reads it back and renders it.
// Run it with: node examples/build-scene.js [picture] [width] [height] [samples]
'use strict';

const kiln = require('..');
const { Color, Matrix, Transform, Vector, VectorList } = kiln;

/** A transform at `from` whose -Z looks at `to`, as cameras and lights do. */
function lookAt(from, to) {
  const back = from.sub(to).normalize();
  const right = new Vector(0, 1, 0).cross(back).normalize();
  return new Transform(right, back.cross(right), back, from);
}

const place = (x, y, z) => new Transform(new Matrix(1), [x, y, z]);

/** A tube along a (2, 3) torus knot: vertices and normals as lists of vectors, faces as indices. */
function knot({ along = 480, around = 32, size = 0.36, thickness = 0.17 }) {
  const path = (t) => {
    const radius = size * (2 + Math.cos(3 * t));
    return new Vector(radius * Math.cos(2 * t), size * Math.sin(3 * t) * 1.2, radius * Math.sin(2 * t));
  };
  const vertices = [];
  const normals = [];
  const faces = [];
  for (let i = 0; i < along; i++) {
    const t = (i / along) * 2 * Math.PI;
    const forward = path(t + 1e-3).sub(path(t - 1e-3)).normalize();
    const side = forward.cross(path(t)).normalize();
    const up = side.cross(forward);
    for (let j = 0; j < around; j++) {
      const angle = (j / around) * 2 * Math.PI;
      const normal = side.mul(Math.cos(angle)).add(up.mul(Math.sin(angle)));
      normals.push(normal);
      vertices.push(path(t).add(normal.mul(thickness)));
      const [a, b] = [i * around + j, i * around + ((j + 1) % around)];
      const [c, d] = [a, b].map((index) => (index + around) % (along * around));
      faces.push(a, b, c, b, d, c);
    }
  }
  return { vertices: VectorList.from(vertices), normals: VectorList.from(normals), faces };
}

/** Makes the plugins. A class is a function that makes one; properties are set by assignment. */
function build({ classes, plugins }) {
  const camera = classes.CameraPerspective('camera');
  const [eye, target] = [new Vector(0.7, 1.25, 5.4), new Vector(0, 0.62, 0)];
  camera.transform = lookAt(eye, target);
  camera.fov = 27;
  camera.aperture = 0.03;
  camera.focusDistance = eye.sub(target).length() - 0.5;

  // Light from all around: a ramp of colours from the zenith to the ground, and a soft box.
  const sky = classes.TextureGradient('sky');
  sky.axis = 1;
  sky.positions = [0, 0.35, 0.49, 0.52];
  sky.colors = [[0.1, 0.16, 0.3], [0.3, 0.38, 0.52], [1, 0.8, 0.62], [0.3, 0.26, 0.24]];
  const dome = classes.LightDome('dome');
  dome.texture = sky;
  dome.intensity = 0.8;
  const softBox = classes.LightRectangle('softBox');
  softBox.transform = lookAt(new Vector(-3.5, 4.2, 2.5), new Vector(0, 0.5, 0));
  softBox.color = Color.fromTemperature(4300, Color.COLOR_SPACE_SRGB);
  plugins.softBox = { width: 2, height: 2, intensity: 11, visibleToCamera: false };

  // A floor of tiles. A property that takes a texture takes a colour or a plugin.
  const tiles = classes.TextureChecker('tiles');
  plugins.tiles = { colorA: [0.62, 0.58, 0.52], colorB: [0.2, 0.2, 0.21], scale: 160 };
  const floorMaterial = classes.MaterialPrincipled('floorMaterial');
  plugins.floorMaterial = { baseColor: tiles, roughness: 0.16 };
  const ground = classes.GeomPlane('ground');
  plugins.ground = { width: 80, depth: 80 };
  plugins[classes.GeomInstance('floor').getName()] = { geometry: ground, material: floorMaterial };

  // In the middle a mesh that this program has made.
  const mesh = classes.GeomStaticMesh('knotMesh');
  Object.assign(mesh, knot({}));
  const lacquer = classes.MaterialPrincipled('lacquer');
  plugins.lacquer = { baseColor: [0.02, 0.2, 0.22], roughness: 0.45, clearcoat: 1, clearcoatRoughness: 0.02 };
  classes.GeomInstance('knot');
  plugins.knot = { geometry: mesh, material: lacquer, transform: place(0, 0.75, 0) };

  // Around it balls of one geometry, each with a material of its own.
  const ball = classes.GeomSphere('ball');
  ball.radius = 0.3;
  ball.segments = 128;
  const materials = {
    gold: { baseColor: [1, 0.72, 0.32], metallic: 1, roughness: 0.18 },
    velvet: { baseColor: [0.28, 0.02, 0.05], roughness: 1, sheenColor: [0.9, 0.35, 0.4], sheenRoughness: 0.4 },
    glass: { baseColor: [1, 1, 1], transmission: 1, roughness: 0, thickness: 1, ior: 1.5 },
    porcelain: { baseColor: [0.85, 0.84, 0.8], roughness: 0.6, clearcoat: 1 },
    copper: { baseColor: [0.95, 0.5, 0.36], metallic: 1, roughness: 0.4 },
  };
  Object.keys(materials).forEach((name, index, names) => {
    const angle = (0.08 + index / (names.length - 1) * 0.84) * Math.PI;
    const material = classes.MaterialPrincipled(name);
    Object.assign(material, materials[name]);
    const instance = classes.GeomInstance(`${name}Ball`);
    instance.geometry = ball;
    instance.material = material;
    instance.transform = place(-1.75 * Math.cos(angle), 0.3, 1.45 * Math.sin(angle));
  });
}

/** Key frames: a value at a time. Between two of them the value is interpolated. */
function animate({ plugins }) {
  for (const time of [0, 1, 2]) {
    const turned = Matrix.makeRotationMatrixY((time / 2) * Math.PI);
    plugins.knot.setValue('transform', new Transform(turned, [0, 0.75, 0]), time);
  }
}

/** Values are read as what they are, and do not change: a change is a new value. */
function change({ plugins }) {
  const { glassBall, lacquer } = plugins;
  glassBall.transform = glassBall.transform.replaceOffset(glassBall.transform.offset.add(new Vector(0, 0, 0.1)));
  lacquer.baseColor = lacquer.baseColor.mul(1.25);
}

/** Walks over the scene, and prints each plugin with what was changed from the defaults of its class. */
function tell({ plugins, classes }) {
  for (const plugin of plugins) {
    const changed = Object.values(plugin.getMeta()).filter(
      ({ name, defaultValue }) => kiln.stringify(plugin[name]) !== kiln.stringify(defaultValue)
    );
    console.log(`${plugin.getName()} (${plugin.getType()})`);
    for (const { name, type } of changed) console.log(`  ${name} = ${kiln.stringify(plugin[name], 2)} (${type})`);
  }
  const { knot } = plugins;
  console.log(`The knot has key frames at ${knot.getKeyframeTimes('transform').join(', ')}.`);
  console.log(`Roughness, of every ${classes.MaterialPrincipled}: ${classes.MaterialPrincipled.roughness.description}`);
}

async function main(output = 'scene.png', width = '640', height = '360', samples = '256') {
  const renderer = await kiln.promises.createKilnRenderer({ enableFrameBuffer: false });
  build(renderer);
  animate(renderer);
  change(renderer);
  tell(renderer);

  renderer.size = { width: Number(width), height: Number(height) };
  renderer.classes.SettingsSampler('sampler').samples = Number(samples);
  await renderer.promises.start();
  await renderer.promises.waitForRenderEnd();
  await renderer.getImage({ doColorCorrect: true, stripAlpha: true }).promises.save(output);
  await renderer.promises.close();
}

main(...process.argv.slice(2));
