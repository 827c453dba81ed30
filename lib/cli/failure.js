// How a command fails: with one sentence that says what to do, and an exit code that a script can tell apart.
'use strict';

const EXIT = Object.freeze({ OK: 0, FAILED: 1, USAGE: 2, NO_LIBRARY: 3, INTERRUPTED: 130 });

class CommandFailure extends Error {
  constructor(code, message) {
    super(message);
    this.exitCode = code;
  }
}

module.exports = { EXIT, CommandFailure };
