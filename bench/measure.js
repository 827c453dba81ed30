// Paired measurement: slices of the work between slices of its limit, in processor time; the median of the ratios.
'use strict';

const os = require('os');

/** Processor time of this process in microseconds, the collector's threads included. */
function processorTime() {
  const { user, system } = process.cpuUsage();
  return user + system;
}

/** The number that the given share of the numbers lies below. */
function quantile(numbers, share) {
  const sorted = [...numbers].sort((a, b) => a - b);
  return sorted[Math.min(sorted.length - 1, Math.floor(sorted.length * share))];
}

/** Median and quartiles of numbers. */
function summary(numbers) {
  return { median: quantile(numbers, 0.5), low: quantile(numbers, 0.25), high: quantile(numbers, 0.75) };
}

/** Runs work(count) often enough for a slice of the microseconds; returns the time of one. */
function calibrate(work, microseconds) {
  for (let count = 1; ; count *= 2) {
    const started = processorTime();
    work(count);
    const spent = processorTime() - started;
    if (spent >= microseconds) return Math.max(1, Math.round((count * microseconds) / spent));
  }
}

/**
 * The ratio of the time of work to the time of limit, both functions of a count of repetitions.
 * options: {pairs, microseconds}: slices that make garbage must be long enough to have collections inside.
 */
function compare(work, limit, { pairs = 25, microseconds = 3000 } = {}) {
  const workCount = calibrate(work, microseconds);
  const limitCount = calibrate(limit, microseconds);
  const slice = (run, count) => {
    const started = processorTime();
    run(count);
    return (processorTime() - started) / count;
  };
  const ratios = [];
  const times = { work: [], limit: [] };
  for (let i = 0; i < pairs; i++) {
    const before = slice(limit, limitCount);
    const middle = slice(work, workCount);
    const after = slice(limit, limitCount);
    ratios.push(middle / ((before + after) / 2));
    times.work.push(middle);
    times.limit.push(before, after);
  }
  return { ratio: summary(ratios), work: summary(times.work).median, limit: summary(times.limit).median };
}

/** The comparison of numbers that were measured in turns: limits has one more, so that each of works stands between two. */
function paired(works, limits) {
  const ratios = works.map((work, i) => work / ((limits[i] + limits[i + 1]) / 2));
  return { ratio: summary(ratios), work: summary(works).median, limit: summary(limits).median };
}

function verdict(ratio, bound) {
  if (bound === undefined) return 'no limit';
  if (bound.atMost !== undefined) return `limit ${bound.atMost}: ${ratio <= bound.atMost ? 'pass' : 'FAIL'}`;
  return `limit at least ${bound.atLeast}: ${ratio >= bound.atLeast ? 'pass' : 'FAIL'}`;
}

/**
 * Prints one line of a comparison: the median ratio with its quartiles, both absolute medians, the limit of the ratio
 * ({atMost} or {atLeast}, or none), whether it is kept, and the load.
 */
function report(name, against, { ratio, work, limit }, bound, unit = 'us') {
  const measured = [ratio.median, ratio.low, ratio.high, work, limit];
  if (!measured.every((number) => Number.isFinite(number) && number > 0)) throw new Error(`${name}: nothing was measured`);
  const spread = `${ratio.low.toPrecision(3)} to ${ratio.high.toPrecision(3)}`;
  process.stdout.write(
    `${name}: ${ratio.median.toPrecision(3)} times ${against} (quartiles ${spread}); ${work.toPrecision(3)} and ` +
      `${limit.toPrecision(3)} ${unit}; ${verdict(ratio.median, bound)}; load ${os.loadavg()[0].toFixed(1)}\n`
  );
}

/** Prints one line of a plain figure. */
function reportFigure(name, figure, unit, bound) {
  if (!Number.isFinite(figure)) throw new Error(`${name}: nothing was measured`);
  process.stdout.write(`${name}: ${figure.toPrecision(3)} ${unit}; ${verdict(figure, bound)}; load ${os.loadavg()[0].toFixed(1)}\n`);
}

module.exports = { compare, paired, quantile, report, reportFigure, summary };
