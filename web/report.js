// The same page with the data inside: no server, nothing that changes.

class Report {
  constructor(data) {
    const machine = new Machine();
    this.data = data;
    for (const event of data.events) {
      machine.apply(event);
    }
    machine.firstTime = Date.parse(data.from);
    machine.lastTime = Date.parse(data.to);
    machine.marksLeftOut += data.events_left_out;
    for (const part of data.series) {
      this.addSeries(machine, part);
    }
    byId("ranges").hidden = true;
    this.board = new Board(machine, false);
    this.board.range.show(null);
    byId("files").append(button("Whole time", () => {
      this.board.range.show(null);
      this.board.redraw();
    }), button("Print", () => window.print()));
    document.body.classList.add("report");
    this.describe();
    if (data.doctor) {
      this.showDoctor(data.doctor);
    }
    this.board.update();
    this.board.redraw();
  }

  addSeries(machine, part) {
    const device = part.index === null ? machine.cpu : machine.gpuOf(part.index, part.bus_id, part.name);
    device.summaries ??= {};
    device.summaries[part.quantity] = part.average === null
      ? null : { lowest: part.lowest, average: part.average, highest: part.highest, last: part.last };
    const series = device.series[part.quantity];
    series.step = this.data.step_ms;
    let time = Date.parse(this.data.from);
    series.times = part.times.map((delta) => { time += delta; return time; });
    series.values = part.values.map((value) => value ?? NaN);
  }

  // What fails comes first.
  showDoctor(doctor) {
    const order = ["FAIL", "WARN"];
    const item = (check) => element("li", { class: String(check.result).toLowerCase() }, [
      element("span", { class: "result" }, [String(check.result)]), " ", foreign(check.title ?? check.id), ": ",
      foreign(check.seen ?? ""), ...(check.do ? [" ", foreign(check.do, { class: "remedy" })] : []),
    ]);
    const found = doctor.checks.filter((check) => order.includes(check.result));
    found.sort((left, right) => order.indexOf(left.result) - order.indexOf(right.result));
    const rest = doctor.checks.filter((check) => !order.includes(check.result));
    byId("doctor").hidden = false;
    byId("doctor-readings").replaceChildren(...doctor.readings.map((reading) => element("li", {},
      [foreign(reading.what), ": ", foreign(reading.reported)])));
    byId("doctor-findings").replaceChildren(...found.map(item));
    byId("doctor-rest").replaceChildren(...rest.map(item));
  }

  describe() {
    const { from, to, made, readings, events_left_out: leftOut, masked } = this.data;
    const start = Date.parse(from);
    const end = Date.parse(to);
    const days = day(start) === day(end) ? "" : `${day(end)}, `;
    const parts = [`Recorded ${day(start)}, ${clock(start)} to ${days}${clock(end)}: ${readings} readings.`];
    if (masked) {
      parts.push("Serial numbers, the computer's name and users' names are left out.");
    }
    if (leftOut > 0) {
      parts.push(`${leftOut} events in the middle are left out.`);
    }
    parts.push(`Report made ${day(Date.parse(made))}, ${clock(Date.parse(made))}.`);
    setText(byId("status"), parts.join(" "));
  }
}
