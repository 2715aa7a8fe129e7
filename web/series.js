// One quantity over time. A value that was not read is NaN, which the charts show as a gap.

// Without a reading for so long, in milliseconds, the line is interrupted.
const kGapMs = 5000;
// More points than a day has seconds; then the oldest ones go.
const kMostPoints = 100000;

class Series {
  constructor() {
    this.times = [];
    this.values = [];
  }

  push(time, value) {
    const count = this.times.length;
    if (count > 0 && time <= this.times[count - 1]) {
      // The clock was set back, or a value is told again.
      return;
    }
    if (count > 0 && time - this.times[count - 1] > kGapMs) {
      this.times.push(this.times[count - 1] + 1);
      this.values.push(NaN);
    }
    this.times.push(time);
    this.values.push(value ?? NaN);
    if (this.times.length > kMostPoints) {
      this.times.splice(0, kMostPoints / 10);
      this.values.splice(0, kMostPoints / 10);
    }
  }

  // What comes later does not belong to what came before.
  interrupt(time) {
    const count = this.values.length;
    if (count > 0 && !Number.isNaN(this.values[count - 1])) {
      this.push(Math.max(time, this.times[count - 1] + 1), NaN);
    }
  }

  // Index of the first point at or behind this time.
  indexAt(time) {
    let low = 0;
    let high = this.times.length;
    while (low < high) {
      const middle = (low + high) >> 1;
      if (this.times[middle] < time) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    return low;
  }

  // The value that held at a time; NaN if none did.
  valueAt(time) {
    const index = this.indexAt(time + 1) - 1;
    const isCurrent = index >= 0 && time - this.times[index] <= Math.max(kGapMs, this.step ?? 0);
    return isCurrent ? this.values[index] : NaN;
  }

  hasValue() {
    return this.values.some((value) => !Number.isNaN(value));
  }

  // Lowest, average and highest of a time; null without a value.
  summary(from, to) {
    let lowest = Infinity;
    let highest = -Infinity;
    let sum = 0;
    let count = 0;
    for (let i = this.indexAt(from); i < this.times.length && this.times[i] <= to; ++i) {
      const value = this.values[i];
      if (!Number.isNaN(value)) {
        lowest = Math.min(lowest, value);
        highest = Math.max(highest, value);
        sum += value;
        ++count;
      }
    }
    return count > 0 ? { lowest, highest, average: sum / count } : null;
  }

  // At most about three points for each of `steps` parts of the time: the lowest, the highest, and a
  // gap if there is one. No peak is lost. A point on each side leads the line out of the picture.
  thinned(from, to, steps) {
    const first = Math.max(this.indexAt(from) - 1, 0);
    const last = Math.min(this.indexAt(to) + 1, this.times.length);
    const points = [];
    if (last - first <= 2 * steps) {
      for (let i = first; i < last; ++i) {
        points.push([this.times[i], this.values[i]]);
      }
      return points;
    }
    const width = (to - from) / steps;
    let i = first;
    while (i < last) {
      const step = Math.floor((this.times[i] - from) / width);
      let low = -1;
      let high = -1;
      let gap = -1;
      for (; i < last && Math.floor((this.times[i] - from) / width) === step; ++i) {
        if (Number.isNaN(this.values[i])) {
          gap = i;
          continue;
        }
        if (low < 0 || this.values[i] < this.values[low]) {
          low = i;
        }
        if (high < 0 || this.values[i] > this.values[high]) {
          high = i;
        }
      }
      const kept = [...new Set([low, high, gap])].filter((index) => index >= 0);
      kept.sort((left, right) => left - right);
      for (const index of kept) {
        points.push([this.times[index], this.values[index]]);
      }
    }
    return points;
  }
}

// The points of several series as rows [time, value, value, ...]. A series without a point at a time
// has null there, which does not interrupt its line; a gap is NaN and does.
function rowsOf(allSeries, from, to, steps) {
  const lists = allSeries.map((series) => series.thinned(from, to, steps));
  const next = lists.map(() => 0);
  const rows = [];
  for (;;) {
    let time = Infinity;
    lists.forEach((list, i) => {
      if (next[i] < list.length) {
        time = Math.min(time, list[next[i]][0]);
      }
    });
    if (time === Infinity) {
      return rows;
    }
    const row = [time];
    lists.forEach((list, i) => {
      const isHere = next[i] < list.length && list[next[i]][0] === time;
      row.push(isHere ? list[next[i]++][1] : null);
    });
    rows.push(row);
  }
}
