// Frames of a sequence: which ones, and the names of their files.
'use strict';

const path = require('path');
const { refuse } = require('./options.js');

const MOST_FRAMES = 1000000;
const DIGITS = 4;

/**
 * "1-100:2,150" as [{start, end, step}]: single frames, and first-last with a step. Frames may be negative (-5--1).
 */
function readFrames(text, option) {
  const frames = text.split(',').map((part) => {
    const match = /^\s*(-?\d+)(?:-(-?\d+)(?::(\d+))?)?\s*$/.exec(part);
    if (!match) refuse(`${option} takes frames as in 7, 1-100 or 1-100:2,150, not "${text}".`);
    const start = Number(match[1]);
    const end = match[2] === undefined ? start : Number(match[2]);
    const step = match[3] === undefined ? 1 : Number(match[3]);
    if (Math.max(Math.abs(start), Math.abs(end)) > 0x7fffffff) refuse(`${option}: frames go up to 2147483647.`);
    if (end < start) refuse(`${option}: ${start}-${end} ends before it starts.`);
    if (step < 1) refuse(`${option} takes a step of at least 1, not ${match[3]}.`);
    return { start, end, step };
  });
  const count = countFrames(frames);
  if (count > MOST_FRAMES) refuse(`${option} means ${count} frames: ${MOST_FRAMES} are the most.`);
  return frames;
}

function countFrames(frames) {
  return frames.reduce((sum, { start, end, step }) => sum + Math.floor((end - start) / step) + 1, 0);
}

/** Every frame in its order. */
function* eachFrame(frames) {
  for (const { start, end, step } of frames) for (let frame = start; frame <= end; frame += step) yield frame;
}

function padded(frame, digits) {
  return `${frame < 0 ? '-' : ''}${String(Math.abs(frame)).padStart(digits, '0')}`;
}

/**
 * The file of a frame: the number takes the place of the last #### or %04d in the file's name, and where there is
 * neither it stands before the extension, with four digits.
 */
function frameFile(output, frame) {
  const { dir, base, ext, name } = path.parse(output);
  const places = [...base.matchAll(/#+|%0?(\d*)d/g)];
  if (places.length === 0) return path.join(dir, `${name}.${padded(frame, DIGITS)}${ext}`);
  const place = places[places.length - 1];
  const digits = place[0].startsWith('#') ? place[0].length : Number(place[1] || 1);
  return path.join(dir, base.slice(0, place.index) + padded(frame, digits) + base.slice(place.index + place[0].length));
}

/** The file of an element beside that of the picture: out.z_depth.png. */
function elementFile(output, element) {
  const { dir, ext, name } = path.parse(output);
  return path.join(dir, `${name}.${element}${ext}`);
}

module.exports = { countFrames, eachFrame, elementFile, frameFile, readFrames };
