// Finds the name that somebody meant who wrote another.
'use strict';

/** How many letters must be put in, left out, changed or swapped with their neighbour (Damerau 1964). */
function distance(a, b) {
  let beforeLast = [];
  let last = Array.from({ length: b.length + 1 }, (_, column) => column);
  for (let row = 1; row <= a.length; row++) {
    const current = [row];
    for (let column = 1; column <= b.length; column++) {
      const differs = a[row - 1] === b[column - 1] ? 0 : 1;
      current[column] = Math.min(last[column] + 1, current[column - 1] + 1, last[column - 1] + differs);
      const swapped = row > 1 && column > 1 && a[row - 1] === b[column - 2] && a[row - 2] === b[column - 1];
      if (swapped) current[column] = Math.min(current[column], beforeLast[column - 2] + 1);
    }
    [beforeLast, last] = [last, current];
  }
  return last[b.length];
}

/** The names that are close to what was written, or hold it, the closest first; at most three. */
function nearestNames(written, names) {
  const text = written.toLowerCase();
  const most = Math.max(1, Math.floor(text.length / 3));
  const rated = names.map((name) => {
    const lower = name.toLowerCase();
    const holds = text.length >= 3 && lower.includes(text);
    return { name, far: Math.min(distance(text, lower), holds ? most : Infinity) };
  });
  return rated
    .filter(({ far }) => far <= most)
    .sort((a, b) => a.far - b.far)
    .slice(0, 3)
    .map(({ name }) => name);
}

/** ": did you mean A or B?" or "." as the end of a sentence that refuses a name. */
function didYouMean(written, names) {
  const near = nearestNames(written, names);
  if (near.length === 0) return '.';
  const last = near.pop();
  return `: did you mean ${near.length > 0 ? `${near.join(', ')} or ${last}` : last}?`;
}

module.exports = { nearestNames, didYouMean };
