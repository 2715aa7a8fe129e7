// What is known about the machine, from the events. Nothing here touches the page.

// A reading that is older than this, in milliseconds, is not shown as the present one.
const kCurrentMs = 5000;
const kMostMarks = 2000;

class Device {
  constructor(key, quantities) {
    this.key = key;
    this.quantities = quantities;
    this.latest = null;
    this.latestTime = 0;
    this.isLost = false;
    this.name = null;
    this.busId = null;
    this.index = null;
    this.fixed = null;
    this.series = Object.fromEntries(quantities.map((quantity) => [quantity.id, new Series()]));
    // Of a report: what the whole recording had.
    this.summaries = null;
  }

  read(time, event) {
    this.latest = event;
    this.latestTime = time;
    for (const quantity of this.quantities) {
      this.series[quantity.id].push(time, quantity.of(event));
    }
  }

  forget(time) {
    this.latest = null;
    for (const quantity of this.quantities) {
      this.series[quantity.id].interrupt(time);
    }
  }
}

class Machine {
  constructor() {
    this.start = null;
    this.worker = null;
    this.staleSince = null;
    this.pausedSince = null;
    this.gpus = new Map();
    this.keyByIndex = new Map();
    this.cpu = new Device("cpu", kCpuQuantities);
    this.missing = new Map();
    this.marks = [];
    this.firstTime = null;
    this.lastTime = null;
    this.marksLeftOut = 0;
  }

  // A bus id stays with its GPU from start to start; an index need not. Some drivers give two GPUs
  // the same bus id: then only the index tells them apart.
  keyOf(index, busId) {
    const isOthers = [...this.keyByIndex].some(([other, key]) => key === busId && other !== index);
    if (busId && !isOthers) {
      return busId;
    }
    return this.keyByIndex.get(index) ?? `index ${index}`;
  }

  gpuOf(index, busId, name) {
    const key = this.keyOf(index, busId);
    if (!this.gpus.has(key)) {
      this.gpus.set(key, new Device(key, kGpuQuantities));
    }
    this.keyByIndex.set(index, key);
    const gpu = this.gpus.get(key);
    gpu.index = index;
    gpu.busId = key === busId ? busId : gpu.busId;
    gpu.name = name ?? gpu.name;
    return gpu;
  }

  sortedGpus() {
    return [...this.gpus.values()].sort((left, right) => (left.key < right.key ? -1 : 1));
  }

  devices() {
    return [...this.sortedGpus(), this.cpu];
  }

  apply(event) {
    const time = Date.parse(event.time);
    if (Number.isNaN(time)) {
      return;
    }
    this.firstTime ??= time;
    this.lastTime = Math.max(this.lastTime ?? time, time);
    const handler = this[`on_${event.type}`];
    if (handler) {
      handler.call(this, event, time);
    }
  }

  mark(time, kind, text, remedy = "") {
    this.marks.push({ time, kind, text, remedy });
    if (this.marks.length > kMostMarks) {
      this.marks.shift();
      ++this.marksLeftOut;
    }
  }

  forgetReadings(time) {
    for (const device of this.devices()) {
      device.forget(time);
    }
  }

  isRead(device) {
    return device.latest !== null && this.lastTime - device.latestTime <= kCurrentMs;
  }

  // The present value, of a report the last one; null where there is none.
  value(device, quantity) {
    if (device.summaries) {
      return device.summaries[quantity.id]?.last ?? null;
    }
    return this.isRead(device) ? quantity.of(device.latest) ?? null : null;
  }

  on_start(event) {
    this.start = event;
    this.pausedSince = null;
  }

  on_worker_start(event, time) {
    if (this.worker) {
      this.mark(time, "restart", `A worker was started again (process ${event.worker_pid}).`);
    }
    this.worker = { pid: event.worker_pid, isUp: true, hasGreeted: false };
    this.staleSince = null;
    this.pausedSince = null;
    this.missing.clear();
    this.keyByIndex.clear();
    for (const gpu of this.gpus.values()) {
      gpu.isLost = false;
    }
    this.forgetReadings(time);
  }

  on_hello(event) {
    if (this.worker) {
      this.worker.hasGreeted = true;
    }
  }

  on_gpu_static(event) {
    this.missing.delete("gpu");
    this.gpuOf(event.index, event.pci?.bus_id, event.name).fixed = event;
  }

  on_gpu(event, time) {
    this.missing.delete("gpu");
    this.gpuOf(event.index, event.pci?.bus_id, event.name).read(time, event);
  }

  on_cpu(event, time) {
    if (event.temperature_celsius !== null) {
      this.missing.delete("cpu");
    }
    this.cpu.read(time, event);
  }

  on_error(event, time) {
    const more = event.left_out > 0 ? ` (and ${event.left_out} more of this kind before)` : "";
    this.mark(time, "error", `Payload: ${event.text}${more}.`);
  }

  on_missing(event, time) {
    this.missing.set(event.what, event);
    this.mark(time, "missing", event.text, event.do);
  }

  on_stale(event, time) {
    this.staleSince = event.since;
    this.mark(time, "silence", `No complete round of readings since ${clock(Date.parse(event.since))}.`);
    this.forgetReadings(time);
  }

  on_fresh(event, time) {
    this.staleSince = null;
    this.mark(time, "restart", "Readings come again.");
  }

  on_gpu_lost(event, time) {
    this.gpuOf(event.index, event.bus_id).isLost = true;
    this.mark(time, "crash", sentence(event.text));
  }

  on_gpu_back(event, time) {
    this.gpuOf(event.index, event.bus_id).isLost = false;
    this.mark(time, "restart", sentence(event.text));
  }

  on_warning(event, time) {
    this.mark(time, event.over ? "warning" : "notice", sentence(event.text));
  }

  on_notice(event, time) {
    this.mark(time, "notice", sentence(event.text));
  }

  on_paused(event, time) {
    this.pausedSince = time;
    this.mark(time, "pause", sentence(event.text));
  }

  on_resumed(event, time) {
    this.pausedSince = null;
    this.mark(time, "restart", sentence(event.text));
  }

  on_worker_exit(event, time) {
    this.worker = { pid: event.worker_pid, isUp: false, hasGreeted: event.greeted };
    this.staleSince = null;
    const kind = event.crashed || event.forced ? "crash" : "end";
    this.mark(time, kind, `The worker ${event.text}.${nextStart(event.restart_in_ms)}`);
    this.forgetReadings(time);
  }
}

function nextStart(restartInMs) {
  if (restartInMs === null) {
    return "";
  }
  const seconds = Math.round(restartInMs / 1000);
  return seconds === 0 ? " Another one is started at once." : ` It is started again in ${seconds} s.`;
}

// The texts of events are parts of sentences.
function sentence(text) {
  return `${text.charAt(0).toUpperCase()}${text.slice(1)}.`;
}

const kClock = new Intl.DateTimeFormat(undefined, {
  hour: "2-digit", minute: "2-digit", second: "2-digit", hourCycle: "h23",
});
const kDay = new Intl.DateTimeFormat(undefined, { dateStyle: "medium" });

function clock(time) {
  return Number.isFinite(time) ? kClock.format(time) : "unknown time";
}

function day(time) {
  return Number.isFinite(time) ? kDay.format(time) : "unknown day";
}
