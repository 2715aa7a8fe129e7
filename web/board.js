// The page: header, cards, and the lists of what is missing and what happened.

const kRanges = [["1 min", 60000], ["5 min", 300000], ["15 min", 900000], ["1 hour", 3600000], ["All", null]];
const kMostShownMarks = 200;
const kRedrawMs = 250;
// When the system asks for no motion, the charts move this seldom.
const kCalmRedrawMs = 10000;

class Board {
  constructor(machine, isLive) {
    this.isLive = isLive;
    this.cursor = null;
    this.cards = [];
    this.timer = null;
    this.lastDrawn = 0;
    this.calm = window.matchMedia("(prefers-reduced-motion: reduce)");
    this.use(machine);
    this.buildToolbar();
    this.watchSurroundings();
  }

  // Begins anew with another machine's events.
  use(machine) {
    const range = new Range(machine, this.isLive);
    if (this.range) {
      range.span = this.range.span;
    }
    this.machine = machine;
    this.range = range;
    this.cards = [];
    this.shownMarks = -1;
    byId("cards").replaceChildren();
  }

  buildToolbar() {
    const ranges = this.isLive ? kRanges : kRanges.slice(-1);
    this.rangeButtons = ranges.map(([text, span]) => [span, button(text, () => {
      this.range.show(span);
      this.redraw();
    }, { "aria-pressed": "false" })]);
    byId("ranges").append(...this.rangeButtons.map(([, node]) => node));
    const act = (action) => () => {
      action();
      this.redraw();
    };
    byId("moves").append(
      button("Earlier", act(() => this.range.move(-0.5))),
      button("Later", act(() => this.range.move(0.5))),
      button("Closer", act(() => this.range.zoom(0.5))),
      button("Wider", act(() => this.range.zoom(2))));
  }

  watchSurroundings() {
    this.seen = new IntersectionObserver((entries) => {
      for (const entry of entries) {
        const chart = this.cards.flatMap((card) => card.charts).find((one) => one.box === entry.target);
        if (chart) {
          chart.isVisible = entry.isIntersecting;
          if (entry.isIntersecting) {
            chart.draw();
          }
        }
      }
    }, { rootMargin: "200px" });
    window.matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => this.recolour());
    window.matchMedia("print").addEventListener("change", () => this.recolour());
    window.addEventListener("beforeprint", () => this.drawEverything());
    window.addEventListener("resize", () => this.redraw());
  }

  recolour() {
    this.cards.forEach((card) => card.charts.forEach((chart) => chart.recolour()));
  }

  drawEverything() {
    for (const chart of this.cards.flatMap((card) => card.charts)) {
      chart.isVisible = true;
      chart.draw();
    }
  }

  setCursor(time) {
    if (this.cursor !== time) {
      this.cursor = time;
      this.cards.forEach((card) => card.charts.forEach((chart) => chart.showCursor()));
    }
  }

  // New events have come: shows them soon, several at once.
  changed() {
    this.timer ??= window.setTimeout(() => {
      this.timer = null;
      this.update();
      const pause = this.calm.matches ? kCalmRedrawMs : 0;
      if (performance.now() - this.lastDrawn >= pause) {
        this.redraw();
      }
    }, kRedrawMs);
  }

  // Texts and numbers.
  update() {
    this.updateCards();
    this.updateHeader();
    this.updateMissing();
    this.updateMarks();
    this.cards.forEach((card) => card.update());
  }

  redraw() {
    this.lastDrawn = performance.now();
    for (const [span, node] of this.rangeButtons) {
      const isShown = !this.range.fixed && this.range.span === span;
      node.setAttribute("aria-pressed", String(isShown));
    }
    this.cards.forEach((card) => {
      card.update();
      card.draw();
    });
  }

  updateCards() {
    const devices = this.machine.devices();
    if (devices.length === this.cards.length &&
        devices.every((device, i) => device === this.cards[i].device)) {
      return;
    }
    const known = new Map(this.cards.map((card) => [card.device, card]));
    this.cards = devices.map((device) => known.get(device) ?? new Card(this, device));
    byId("cards").replaceChildren(...this.cards.map((card) => card.node));
    this.cards.forEach((card) => card.charts.forEach((chart) => this.seen.observe(chart.box)));
  }

  updateHeader() {
    const { start, worker, gpus } = this.machine;
    if (start) {
      setText(byId("host"), start.host || "This computer");
      document.title = `${start.host || "Zorvane"} - readings`;
      byId("simulated").hidden = !start.simulated;
    }
    const parts = [`${gpus.size} NVIDIA GPU${gpus.size === 1 ? "" : "s"}`];
    if (start) {
      parts.push(`zorvanemon ${start.tool_version}`, `library ${start.library_version ?? "unknown"}`);
    }
    if (this.isLive) {
      parts.push(...workerTexts(this.machine));
    }
    setText(byId("about"), parts.join(" · "));
  }

  updateMissing() {
    const missing = [...this.machine.missing.values()];
    const key = JSON.stringify(missing.map((event) => event.id));
    if (this.missingKey === key) {
      return;
    }
    this.missingKey = key;
    byId("missing").hidden = missing.length === 0;
    byId("missing-list").replaceChildren(...missing.map((event) => element("li", {},
      [foreign(event.text), " ", foreign(event.do, { class: "remedy" })])));
  }

  updateMarks() {
    const { marks, marksLeftOut } = this.machine;
    const newest = marks.length + marksLeftOut;
    if (this.shownMarks === newest) {
      return;
    }
    this.shownMarks = newest;
    byId("happened-none").hidden = marks.length > 0;
    const shown = marks.slice(-kMostShownMarks).reverse();
    byId("happened-list").replaceChildren(...shown.map((mark) => element("li", { class: `mark ${mark.kind}` }, [
      element("span", { class: "sign", "aria-hidden": "true" }, [kMarkSigns[mark.kind] ?? "i"]),
      element("time", { datetime: new Date(mark.time).toISOString(), title: day(mark.time) }, [clock(mark.time)]),
      " ", foreign(mark.text), ...(mark.remedy ? [" ", foreign(mark.remedy, { class: "remedy" })] : []),
    ])));
  }
}

function workerTexts({ worker, staleSince, pausedSince }) {
  if (pausedSince !== null) {
    return [`paused on battery since ${clock(pausedSince)}`];
  }
  if (!worker) {
    return [];
  }
  if (!worker.isUp) {
    return ["no worker runs"];
  }
  if (staleSince) {
    return [`worker ${worker.pid} is silent since ${clock(Date.parse(staleSince))}`];
  }
  return [worker.hasGreeted ? `worker ${worker.pid}` : `worker ${worker.pid} has not said hello yet`];
}

function byId(id) {
  return document.getElementById(id);
}
