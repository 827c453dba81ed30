// Shows how far a render is: a bar that is redrawn in a terminal, a plain line every tenth elsewhere.
'use strict';

const BAR_WIDTH = 30;
const PLAIN_STEP = 10;
const REDRAW_MILLISECONDS = 100;

/** "1 h 02 min", "3 min 05 s" or "12 s". */
function formatSeconds(seconds) {
  const whole = Math.max(0, Math.round(seconds));
  const two = (number) => String(number).padStart(2, '0');
  if (whole >= 3600) return `${Math.floor(whole / 3600)} h ${two(Math.floor((whole % 3600) / 60))} min`;
  if (whole >= 60) return `${Math.floor(whole / 60)} min ${two(whole % 60)} s`;
  return `${whole} s`;
}

class Progress {
  /** stream: where to write. now: a clock in milliseconds, so that a test need not wait. */
  constructor(stream, now = Date.now) {
    this.stream_ = stream;
    this.now_ = now;
    this.started_ = now();
    this.drawn_ = -Infinity;
    this.stage_ = '';
    this.tenth_ = 0;
  }

  /** A report of the renderer: the stage's name, and how much of the whole is done. */
  update(stage, done, total) {
    const share = total > 0 ? Math.min(1, Math.max(0, done / total)) : 0;
    if (stage !== this.stage_) {
      this.stage_ = stage;
      this.stageStarted_ = this.now_();
      this.stageShare_ = share;
      this.tenth_ = 0;
    }
    if (this.stream_.isTTY) this.drawBar_(share);
    else this.writeLine_(share);
  }

  /** Ends the display; leaves the cursor on a line of its own. */
  end() {
    if (this.stream_.isTTY && this.drawn_ !== -Infinity) this.stream_.write('\r\x1b[K');
  }

  timeLeft_(share) {
    const gained = share - this.stageShare_;
    if (gained <= 0 || share >= 1) return '';
    const seconds = ((this.now_() - this.stageStarted_) / 1000 / gained) * (1 - share);
    return `, ${formatSeconds(seconds)} left`;
  }

  text_(share) {
    return `${String(Math.floor(share * 100)).padStart(3)} %  ${this.stage_}${this.timeLeft_(share)}`;
  }

  drawBar_(share) {
    const now = this.now_();
    if (now - this.drawn_ < REDRAW_MILLISECONDS && share < 1) return;
    this.drawn_ = now;
    const filled = Math.round(share * BAR_WIDTH);
    const line = `[${'#'.repeat(filled)}${'-'.repeat(BAR_WIDTH - filled)}] ${this.text_(share)}`;
    this.stream_.write(`\r\x1b[K${line.slice(0, (this.stream_.columns || 80) - 1)}`);
  }

  writeLine_(share) {
    const tenth = Math.floor((share * 100) / PLAIN_STEP);
    if (tenth <= this.tenth_) return;
    this.tenth_ = tenth;
    this.stream_.write(`${this.text_(share).trim()}\n`);
  }
}

module.exports = { Progress, formatSeconds };
