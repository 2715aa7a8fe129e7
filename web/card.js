// One device: its numbers, large, and its charts.

let s_nextId = 0;

class Card {
  constructor(board, device) {
    this.board = board;
    this.device = device;
    this.isCpu = device === board.machine.cpu;
    const id = `card${s_nextId++}`;
    this.title = element("h2", { id });
    this.facts = element("p", { class: "facts" });
    this.note = element("p", { class: "note", hidden: "" });
    this.tiles = device.quantities.map((quantity) => this.tile(quantity, id));
    this.charts = (this.isCpu ? kCpuCharts : kGpuCharts).map(
      (description) => new Chart(board, device, description, this.name()));
    const numbers = element("dl", { class: "numbers" }, this.tiles.map((tile) => tile.node));
    this.chartsNode = element("div", { class: "charts" }, this.charts.map((chart) => chart.node));
    this.node = element("section", { class: "card", "aria-labelledby": id },
      [this.title, this.facts, this.note, numbers, this.chartsNode]);
    this.update();
  }

  name() {
    return this.isCpu ? "CPU" : this.device.name ?? `GPU ${this.device.index}`;
  }

  tile(quantity, cardId) {
    const id = `${cardId}-${quantity.id}`;
    const value = element("span", { class: "value" });
    const unit = element("span", { class: "unit" });
    const now = element("dd", { id: `${id}-now`, class: "now", "aria-labelledby": `${id} ${id}-now` },
      [value, " ", unit]);
    const range = element("dd", { class: "range" });
    const node = element("div", { class: "tile" },
      [element("dt", { id }, [quantity.name, this.board.isLive ? "" : ", last"]), now, range]);
    return { quantity, node, value, unit, range };
  }

  update() {
    const title = this.name();
    if (this.title.textContent !== title) {
      this.title.replaceChildren(foreign(title));
      this.charts.forEach((chart) => { chart.label = title; });
    }
    this.updateFacts();
    this.updateNote();
    const [from, to] = this.board.range.ends();
    for (const tile of this.tiles) {
      const value = this.board.machine.value(this.device, tile.quantity);
      const isRead = value !== null;
      setText(tile.value, isRead ? String(rounded(value)) : "n/a");
      setText(tile.unit, isRead ? tile.quantity.unit : "");
      setText(tile.range, this.rangeText(tile.quantity, from, to));
    }
  }

  // Of a report what the whole recording had; else what the charts show.
  rangeText(quantity, from, to) {
    const summary = this.device.summaries
      ? this.device.summaries[quantity.id] : this.device.series[quantity.id].summary(from, to);
    if (!summary) {
      return "never read";
    }
    return `lowest ${rounded(summary.lowest)}, average ${rounded(summary.average)}, highest ${rounded(summary.highest)}`;
  }

  updateFacts() {
    const { busId, index, fixed } = this.device;
    const facts = [];
    if (!this.isCpu) {
      facts.push(["", busId ?? `index ${index}`]);
    }
    if (fixed) {
      facts.push(["driver ", fixed.driver_version], ["VBIOS ", fixed.vbios_version],
        ["serial ", fixed.serial],
        ["", fixed.memory_total_kib === null ? null : `${Math.round(fixed.memory_total_kib / 1024)} MiB`]);
    }
    const known = facts.filter(([, value]) => value !== null && value !== undefined);
    const key = JSON.stringify(known);
    if (this.factsKey !== key) {
      this.factsKey = key;
      this.facts.replaceChildren(...known.map(
        ([label, value]) => element("span", {}, [label, foreign(value)])));
      this.facts.hidden = known.length === 0;
    }
  }

  // Why there are no numbers.
  updateNote() {
    const { machine } = this.board;
    const missing = machine.missing.get(this.isCpu ? "cpu" : "gpu");
    let text = "";
    if (this.device.isLost) {
      text = "This GPU gives no reading any more.";
    } else if (!machine.isRead(this.device) && missing) {
      text = `Not read: ${missing.brief || missing.text}`;
    }
    this.note.hidden = text === "";
    setText(this.note, text);
  }

  draw() {
    this.charts.forEach((chart) => chart.draw());
  }
}
