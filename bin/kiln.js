#!/usr/bin/env node
// The command line: see lib/cli/main.js and docs/cli.md.
'use strict';

require('../lib/cli/main.js').main(process.argv.slice(2));
