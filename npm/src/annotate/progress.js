// Progress of a run on standard error: a bar redrawn in place on a terminal,
// otherwise a plain line now and then.

export function duration(ms) {
  const seconds = Math.round(ms / 1000);
  if (seconds < 60) return `${seconds}s`;
  const minutes = Math.floor(seconds / 60);
  if (minutes < 60) return `${minutes}m ${String(seconds % 60).padStart(2, '0')}s`;
  return `${Math.floor(minutes / 60)}h ${String(minutes % 60).padStart(2, '0')}m`;
}

export class Progress {
  constructor(stream, { lineEveryMs = 10000 } = {}) {
    this.stream = stream;
    this.tty = Boolean(stream.isTTY);
    this.lineEveryMs = lineEveryMs;
    this.total = null; // games to annotate, once counted
    this.games = 0;
    this.positions = 0;
    this.start = performance.now();
    this.shown = 0;
  }

  positionDone() {
    this.positions += 1;
    if (this.tty) this.maybeShow();
  }

  // A game written.
  gameDone() {
    this.games += 1;
    this.maybeShow();
  }

  maybeShow() {
    const now = performance.now();
    if (now - this.shown >= (this.tty ? 200 : this.lineEveryMs)) {
      this.shown = now;
      this.show();
    }
  }

  status() {
    const ms = performance.now() - this.start;
    const rate = ms > 0 ? Math.round((this.positions * 1000) / ms) : 0;
    const counted = this.total === null ? `${this.games} games` : `${this.games}/${this.total} games`;
    const left = this.total && this.games ? ` · ${duration(((this.total - this.games) * ms) / this.games)} left` : '';
    return `${counted} · ${rate} positions/s${left}`;
  }

  show() {
    if (!this.tty) {
      this.stream.write(`varn-annotate: ${this.status()}\n`);
      return;
    }
    const share = this.total ? Math.min(1, this.games / this.total) : 0;
    const width = 24;
    const filled = Math.round(share * width);
    const bar = this.total ? `[${'#'.repeat(filled)}${'.'.repeat(width - filled)}] ` : '';
    this.stream.write(`\r\x1b[K${bar}${this.status()}`);
  }

  // A message on a line of its own, the bar drawn again after it.
  say(text) {
    if (this.tty) this.stream.write('\r\x1b[K');
    this.stream.write(`varn-annotate: ${text}\n`);
    if (this.tty && this.games) this.show();
  }

  finish(text) {
    if (this.tty) this.stream.write('\r\x1b[K');
    const ms = performance.now() - this.start;
    const rate = ms > 0 ? Math.round((this.positions * 1000) / ms) : 0;
    this.stream.write(`varn-annotate: ${text}: ${this.games} games, ${this.positions} positions in ${duration(ms)}, ${rate} positions/s\n`);
  }
}
