// One chart: dygraphs, the marks, the cursor that all charts share, and the keyboard.

const kMarkSigns = {
  crash: "✕", restart: "↻", silence: "…", missing: "!", warning: "▲", error: "?", notice: "i", end: "■",
  pause: "‖",
};
const kMarkColours = { restart: "--good", notice: "--soft", end: "--soft", pause: "--soft" };
// Lines differ by more than their colour.
const kPatterns = [null, [7, 3], [2, 2], [9, 3, 2, 3]];

// Without dygraphs' own legend: it sets style attributes, which the page's policy forbids.
Dygraph.PLUGINS = [Dygraph.Plugins.Axes, Dygraph.Plugins.Grid];

function cssColor(name) {
  return getComputedStyle(document.documentElement).getPropertyValue(name).trim();
}

class Chart {
  // `board` is what the charts have in common: machine, range, cursor.
  constructor(board, device, description, label) {
    this.board = board;
    this.device = device;
    this.description = description;
    this.label = label;
    this.graph = null;
    this.isVisible = true;
    this.quantities = description.quantities.map(
      (id) => device.quantities.find((quantity) => quantity.id === id));
    this.legend = new Map();
    this.box = element("div", { class: "chart", tabindex: "0", role: "slider" });
    this.canvas = element("div", { class: "plot" });
    this.line = element("div", { class: "cursor", hidden: "" });
    this.box.append(this.canvas, this.line);
    this.node = element("figure", {}, [this.caption(), this.box]);
    this.box.addEventListener("keydown", (event) => this.onKey(event));
    this.box.addEventListener("blur", () => board.setCursor(null));
  }

  caption() {
    const entries = this.quantities.map((quantity, i) => {
      const value = element("span", { class: "at" });
      this.legend.set(quantity.id, value);
      const swatch = element("span", { class: `swatch line${i}`, "aria-hidden": "true" });
      const name = this.quantities.length > 1 ? `${quantity.name} ` : "";
      return element("span", { class: "entry" }, [swatch, name, value]);
    });
    const title = element("span", { class: "title" }, [`${this.description.title}, ${this.description.unit}`]);
    return element("figcaption", {}, [title, ...entries]);
  }

  series() {
    return this.quantities.map((quantity) => this.device.series[quantity.id]);
  }

  hasData() {
    return this.series().some((series) => series.hasValue());
  }

  // A little air around the values, so that a line does not run along the edge.
  valueRange(from, to) {
    let [low, high] = this.description.range;
    for (const series of this.series()) {
      const summary = series.summary(from, to);
      if (summary) {
        low = Math.min(low, summary.lowest);
        high = Math.max(high, summary.highest);
      }
    }
    const air = (high - low) * 0.05;
    return [low === 0 ? 0 : low - air, high + air];
  }

  draw() {
    const isEmpty = !this.hasData();
    this.node.hidden = isEmpty;
    if (isEmpty || !this.isVisible || this.canvas.clientWidth === 0) {
      return;
    }
    const [from, to] = this.board.range.ends();
    const rows = rowsOf(this.series(), from, to, this.canvas.clientWidth);
    const options = {
      file: rows.length > 0 ? rows : [[from, ...this.quantities.map(() => null)]],
      dateWindow: [from, to],
      valueRange: this.valueRange(from, to),
    };
    if (this.graph) {
      this.graph.updateOptions(options);
    } else {
      this.make(options);
    }
    this.showCursor();
  }

  make(options) {
    const data = options.file;
    delete options.file;
    this.graph = new Dygraph(this.canvas, data, {
      ...options,
      ...this.colours(),
      labels: ["Time", ...this.quantities.map((quantity) => quantity.name)],
      legend: "never",
      showLabelsOnHighlight: false,
      connectSeparatedPoints: true,
      drawGapEdgePoints: true,
      strokeWidth: 1.5,
      pointSize: 1.5,
      highlightCircleSize: 3,
      axes: {
        x: {
          ticker: Dygraph.dateTicker,
          axisLabelFormatter: Dygraph.dateAxisLabelFormatter,
          valueFormatter: (time) => clock(time),
          axisLabelWidth: 62,
          drawGrid: false,
        },
        y: { axisLabelWidth: 40, pixelsPerLabel: 26 },
      },
      highlightCallback: (event, time) => this.board.setCursor(time),
      unhighlightCallback: () => this.board.setCursor(null),
      zoomCallback: (from, to) => this.onZoom(from, to),
      underlayCallback: (context, area, graph) => this.drawMarks(context, area, graph),
      series: Object.fromEntries(this.quantities.map(
        (quantity, i) => [quantity.name, { strokePattern: kPatterns[i] }])),
    });
  }

  colours() {
    return {
      colors: this.quantities.map((quantity, i) => cssColor(`--line${i}`)),
      axisLineColor: cssColor("--edge"),
      gridLineColor: cssColor("--edge"),
    };
  }

  recolour() {
    if (this.graph) {
      this.graph.updateOptions(this.colours());
    }
  }

  onZoom(from, to) {
    const [shownFrom, shownTo] = this.board.range.ends();
    if (from !== shownFrom || to !== shownTo) {
      this.board.range.set(from, to);
      this.board.redraw();
    }
  }

  drawMarks(context, area, graph) {
    const [from, to] = this.board.range.ends();
    context.save();
    context.font = "11px sans-serif";
    context.textAlign = "center";
    context.setLineDash([3, 3]);
    let signEnd = -Infinity;
    for (const mark of this.board.machine.marks) {
      if (mark.time < from || mark.time > to) {
        continue;
      }
      const x = Math.round(graph.toDomXCoord(mark.time)) + 0.5;
      const colour = cssColor(kMarkColours[mark.kind] ?? "--bad");
      context.strokeStyle = colour;
      context.fillStyle = colour;
      context.beginPath();
      context.moveTo(x, area.y + 12);
      context.lineTo(x, area.y + area.h);
      context.stroke();
      // Of several at one place the first is the cause of the others.
      if (x > signEnd) {
        context.fillText(kMarkSigns[mark.kind] ?? "i", x, area.y + 10);
        signEnd = x + 10;
      }
    }
    context.restore();
  }

  textAt(time) {
    const values = this.quantities.map(
      (quantity) => `${quantity.name} ${number(this.device.series[quantity.id].valueAt(time), quantity.unit)}`);
    return `${clock(time)}: ${values.join(", ")}`;
  }

  // The cursor's time, or the newest where there is no cursor.
  showCursor() {
    const [from, to] = this.board.range.ends();
    const cursor = this.board.cursor;
    const isShown = cursor !== null && cursor >= from && cursor <= to && this.graph !== null;
    this.line.hidden = !isShown;
    if (isShown) {
      this.line.style.left = `${this.graph.toDomXCoord(cursor)}px`;
    }
    const time = isShown ? cursor : to;
    for (const quantity of this.quantities) {
      const value = this.device.series[quantity.id].valueAt(time);
      this.legend.get(quantity.id).textContent = number(value, quantity.unit);
    }
    const attributes = {
      "aria-label": `${this.description.title} of ${this.label} over time`,
      "aria-valuemin": Math.round(from / 1000),
      "aria-valuemax": Math.round(to / 1000),
      "aria-valuenow": Math.round(time / 1000),
      "aria-valuetext": this.textAt(time),
    };
    for (const [name, value] of Object.entries(attributes)) {
      this.box.setAttribute(name, value);
    }
  }

  onKey(event) {
    const [from, to] = this.board.range.ends();
    const step = Math.max((to - from) / 60, 1000);
    const cursor = this.board.cursor ?? to;
    const targets = {
      ArrowLeft: cursor - step, ArrowDown: cursor - step, ArrowRight: cursor + step, ArrowUp: cursor + step,
      PageDown: cursor - 10 * step, PageUp: cursor + 10 * step, Home: from, End: to,
    };
    if (event.key === "Escape") {
      this.board.setCursor(null);
    } else if (event.key in targets && !event.ctrlKey && !event.altKey && !event.metaKey) {
      event.preventDefault();
      this.board.setCursor(Math.min(Math.max(targets[event.key], from), to));
    }
  }
}
