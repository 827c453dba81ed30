// What the package exports: the add-on's names and its own, to both kinds of module, as the declarations tell them.
'use strict';

const assert = require('assert');
const fs = require('fs');
const path = require('path');
const { test } = require('node:test');
const { interfaceBody, readDeclarations } = require('../helpers/declarations.js');
const { ROOT, runNode } = require('./program.js');
const kiln = require('../../lib/index.js');
const native = require('../../lib/native.js');

const OWN = ['IntList', 'FloatList', 'VectorList', 'ColorList', 'promises'];

test('the package has all of the add-on and its own names beside', () => {
  for (const name of Object.getOwnPropertyNames(native)) {
    assert.deepStrictEqual(
      Object.getOwnPropertyDescriptor(kiln, name), Object.getOwnPropertyDescriptor(native, name), name);
  }
  const added = Object.getOwnPropertyNames(kiln).filter((name) => !Object.getOwnPropertyNames(native).includes(name));
  assert.deepStrictEqual(added.sort(), [...OWN].sort());
});

test('kiln/native keeps its exports untouched', () => {
  for (const name of OWN) assert.ok(!(name in native), name);
});

test('an ES module imports every name', async () => {
  const module = await import('../../lib/index.mjs');
  assert.strictEqual(module.default, kiln);
  for (const name of Object.getOwnPropertyNames(kiln)) assert.strictEqual(module[name], kiln[name], name);
  for (const name of Object.keys(module)) assert.ok(name === 'default' || name in kiln, `${name} is not in the package`);
});

test('the package is found by its name, in both kinds of module', async () => {
  const names = 'typeof kiln.createKilnRenderer, typeof native.createKilnRenderer, typeof native.promises';
  const commonJs = await runNode(['-e', `const kiln = require('kiln'), native = require('kiln/native'); console.log(${names})`]);
  assert.strictEqual(commonJs.stdout.trim(), 'function function undefined', commonJs.stderr);
  const script = `import { createKilnRenderer } from 'kiln'; import native from 'kiln/native';
    console.log(typeof createKilnRenderer, typeof native.createKilnRenderer, typeof native.promises)`;
  const esModule = await runNode(['--input-type=module', '-e', script]);
  assert.strictEqual(esModule.stdout.trim(), 'function function undefined', esModule.stderr);
});

test('requiring twice sets up once', () => {
  delete require.cache[require.resolve('../../lib/index.js')];
  const again = require('../../lib/index.js');
  assert.strictEqual(again.KilnRenderer, kiln.KilnRenderer);
  assert.strictEqual(again.FloatList, kiln.FloatList);
});

const declarations = readDeclarations();

test('the index passes every file of declarations on', () => {
  const files = fs.readdirSync(path.join(ROOT, 'types')).filter((name) => name !== 'index.d.ts');
  const index = fs.readFileSync(path.join(ROOT, 'types', 'index.d.ts'), 'utf8');
  assert.ok(files.length > 5);
  assert.deepStrictEqual(files.filter((name) => !index.includes(`'./${name.slice(0, -5)}'`)), []);
});

test('the declarations have exactly the exported names', () => {
  const declared = new Set();
  for (const match of declarations.matchAll(/^export (?:const|function|class) (\w+)/gm)) declared.add(match[1]);
  assert.deepStrictEqual([...declared].sort(), Object.getOwnPropertyNames(kiln).sort());
});

/** The names of the members in one class's declaration, and in an interface that it takes over. */
function declaredMembers(name) {
  let body = new RegExp(`^export class ${name}\\b.*?\\{\\n(.*?)^\\}`, 'ms').exec(declarations)[1];
  const taken = new RegExp(`^export interface ${name} extends (\\w+)`, 'm').exec(declarations);
  if (taken) body += interfaceBody(declarations, taken[1]);
  const members = new Set();
  for (const match of body.matchAll(/^ {2}(?:readonly |get |set )?(\w+)(?=\??[:(<])/gm)) members.add(match[1]);
  return members;
}

const CLASSES = ['KilnRenderer', 'KilnServer', 'KilnImage', 'Plugin', 'Class', 'Vector', 'Matrix', 'Transform', 'Color', 'AColor'];
for (const Class of CLASSES.map((name) => kiln[name])) {
  test(`the declarations have every member of ${Class.name}`, () => {
    const declared = declaredMembers(Class.name);
    assert.ok(declared.size > 5);
    for (const name of Object.getOwnPropertyNames(Class.prototype)) {
      if (typeof Object.getOwnPropertyDescriptor(Class.prototype, name).value !== 'function') continue;
      if (name === 'constructor' || name === 'removeAllListeners') continue;
      assert.ok(declared.has(name), `${name} is not declared`);
    }
    for (const name of declared) {
      if (name === 'constructor' || name === 'static') continue;
      const isInstanceData = ['x', 'y', 'host', 'width', 'height', 'gamma'].includes(name);
      const isAccessor = new RegExp(`^ {2}(readonly |get )?${name}\\??(: |\\(\\): )`, 'm').test(declarations);
      assert.ok(isInstanceData || isAccessor || name in Class.prototype, `${name} is declared and not there`);
    }
  });
}
