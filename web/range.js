// Which part of the time all charts show.

const kShortestMs = 5000;
const kLeastMs = 60000;

class Range {
  constructor(machine, isLive) {
    this.machine = machine;
    this.isLive = isLive;
    // What is shown up to the newest event; null: everything.
    this.span = isLive ? 300000 : null;
    // Fixed ends, where someone has moved or zoomed.
    this.fixed = null;
  }

  ends() {
    const first = this.machine.firstTime ?? 0;
    const last = this.machine.lastTime ?? first + 60000;
    if (this.fixed) {
      return this.fixed;
    }
    // A run that has just begun fills the chart all the same.
    const young = Math.min(first, last - kLeastMs);
    const from = this.span === null ? young : Math.max(last - this.span, young);
    return [Math.min(from, last - kShortestMs), last];
  }

  show(span) {
    this.span = span;
    this.fixed = null;
  }

  set(from, to) {
    const middle = (from + to) / 2;
    const half = Math.max(to - from, kShortestMs) / 2;
    this.fixed = [middle - half, middle + half];
  }

  // Moves by a part of what is shown.
  move(part) {
    const [from, to] = this.ends();
    const by = (to - from) * part;
    const last = this.machine.lastTime ?? to;
    if (to + by >= last && part > 0) {
      this.set(last - (to - from), last);
      return;
    }
    this.set(from + by, to + by);
  }

  zoom(factor) {
    const [from, to] = this.ends();
    const middle = (from + to) / 2;
    const half = ((to - from) / 2) * factor;
    this.set(middle - half, middle + half);
  }
}
