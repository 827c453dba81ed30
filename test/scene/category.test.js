'use strict';

// Category, and renderer.classCategories.
const test = require('node:test');
const assert = require('assert');
const util = require('util');
const {
  kiln, recorder, entry, open, classOf, pluginOf, assertNothingHeld, closeAtEnd, attributesOf, HIDDEN,
} = require('./common');

const {Category} = kiln;
const NAMES = ['Bitmap', 'BSDF', 'Geometric_object', 'Geometry_source', 'Light', 'Material', 'Render_channel',
  'Render_view', 'Settings', 'Texture', 'Texture_float', 'Texture_int', 'Texture_matrix', 'Texture_transform',
  'Texture_vector', 'UVWGen', 'Volumetric'];
const MEMBERS = ['getName', 'toString', 'getRenderer'];
const INSPECT = Symbol.for('nodejs.util.inspect.custom');

const renderer = open();
const {handle} = recorder.live().handles[0];
const categories = renderer.classCategories;

test('there are seventeen, by name and in the order of their numbers', () => {
  assert.deepStrictEqual(Object.keys(categories), NAMES);
  assert.strictEqual(Object.getPrototypeOf(categories), Object.prototype);
  assert.strictEqual(renderer.classCategories, categories);
  recorder.answer(entry('getPluginClassNamesByCategory'), ['X', 'Y']);
  NAMES.forEach((name, number) => {
    const category = categories[name];
    assert.ok(category instanceof Category);
    assert.strictEqual(category.getName(), name);
    assert.strictEqual(category.toString(), name);
    assert.strictEqual(`${category}`, name);
    assert.strictEqual(category.getRenderer(), renderer);
    assert.deepStrictEqual(Object.keys(category), ['X', 'Y']);
    assert.deepStrictEqual(recorder.last(entry('getPluginClassNamesByCategory')).args, [handle, number]);
    void category.X;
    assert.deepStrictEqual(recorder.last(entry('isPluginClassOfCategory')).args, [handle, 'X', number]);
  });
  recorder.answer(entry('getPluginClassNamesByCategory'), null);
  assert.deepStrictEqual(Object.keys(categories.Light), []);
  recorder.reset(entry('getPluginClassNamesByCategory'));
  assertNothingHeld();
});

test('the members are methods of the prototype that nobody can change or list', () => {
  const own = Object.getOwnPropertyNames(Category.prototype).filter((name) => name !== 'constructor');
  assert.deepStrictEqual(own.sort(), [...MEMBERS].sort());
  for (const name of [...MEMBERS, INSPECT]) {
    assert.deepStrictEqual(attributesOf(Category.prototype, name), HIDDEN);
    for (const receiver of [{}, undefined, categories, pluginOf(renderer)]) {
      assert.throws(() => Category.prototype[name].call(receiver), TypeError);
    }
  }
  assert.strictEqual(Category.name, 'Category');
});

test('a class of the category is its object, one of another is not there', () => {
  const one = classOf(renderer, 'LightSphere');
  recorder.once(entry('isPluginClassOfCategory'), 1);
  assert.strictEqual(categories.Light.LightSphere, one);
  recorder.once(entry('isPluginClassOfCategory'), 0);
  assert.strictEqual(categories.Light.LightSphere, undefined);
  recorder.once(entry('isPluginClassOfCategory'), 1);
  recorder.once(entry('pluginClassExists'), null);
  assert.strictEqual(categories.Light.Unknown, undefined);
  assert.strictEqual(typeof categories.Light.getName, 'function');
});

test('the inspection is a text below the surface', () => {
  assert.strictEqual(categories.Light[INSPECT](1), 'Category Light');
  assert.strictEqual(categories.Light[INSPECT](), 'Category Light');
  assert.strictEqual(categories.Light[INSPECT](2), categories.Light);
  assert.strictEqual(categories.Light[INSPECT](null), categories.Light);
  assert.match(util.inspect({categories}), /Category Light|\[Object\]/);
});

test('an object that JavaScript makes has empty fields', () => {
  const made = new Category();
  for (const name of MEMBERS) assert.strictEqual(made[name](), undefined);
  assert.deepStrictEqual(Object.keys(made), []);
  assert.strictEqual(made.LightSphere, undefined);
  made[INSPECT](0);
});

test('a closed renderer has no classes in its categories', () => {
  const other = open();
  const {Light} = other.classCategories;
  other.close();
  recorder.clear();
  assert.strictEqual(Light.LightSphere, undefined);
  assert.deepStrictEqual(Object.keys(Light), []);
  assert.strictEqual(Light.getName(), 'Light');
  assert.strictEqual(Light.getRenderer(), other);
  assert.deepStrictEqual(recorder.names(), []);
});

closeAtEnd(renderer);
