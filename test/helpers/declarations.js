// The package's declarations for TypeScript as text.
'use strict';

const fs = require('fs');
const path = require('path');

const FOLDER = path.join(__dirname, '..', '..', 'types');

/** All files that the index passes on, one after the other. */
function readDeclarations() {
  const index = fs.readFileSync(path.join(FOLDER, 'index.d.ts'), 'utf8');
  const rooms = [...index.matchAll(/^export \* from '(.+)';$/gm)].map(([, room]) => room);
  return rooms.map((room) => fs.readFileSync(path.join(FOLDER, `${room}.d.ts`), 'utf8')).join('\n');
}

/** The lines of one interface, with those of the interface that it extends. */
function interfaceBody(text, name) {
  const [, base, body] = new RegExp(`^export interface ${name}\\b(?:<\\w+>)?(?: extends (\\w+).*?)? \\{\\n(.*?)^\\}`, 'ms').exec(text);
  return (base ? interfaceBody(text, base) : '') + body;
}

module.exports = { interfaceBody, readDeclarations };
