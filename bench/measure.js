// Paired measurement: slices of the work between slices of its limit, in processor time; the median of the ratios.
'use strict';

const os = require('os');

/** Processor time of this process in microseconds, the collector's threads included. */
function processorTime() {
  const { user, system } = process.cpuUsage();
  return user + system;
}

function quantile(sorted, share) {
  return sorted[Math.min(sorted.length - 1, Math.floor(sorted.length * share))];
}

/** Median and quartiles of numbers. */
function summary(numbers) {
  const sorted = [...numbers].sort((a, b) => a - b);
  return { median: quantile(sorted, 0.5), low: quantile(sorted, 0.25), high: quantile(sorted, 0.75) };
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

/** Prints one line of a comparison: the ratio with its quartiles, what it means, and both absolute medians. */
function report(name, against, { ratio, work, limit }, unit = 'us') {
  const spread = `${ratio.low.toFixed(2)} to ${ratio.high.toFixed(2)}`;
  process.stdout.write(
    `${name}: ${ratio.median.toFixed(2)} times ${against} (${spread}); ${work.toPrecision(3)} and ${limit.toPrecision(3)} ${unit}, load ${os.loadavg()[0].toFixed(1)}\n`
  );
}

module.exports = { compare, report, summary };
