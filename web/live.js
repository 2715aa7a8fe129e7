// The page of a running zorvanemon: loads what came before, then follows the events.

// The server sends something every five seconds.
const kSilentMs = 15000;
const kFirstPauseMs = 1000;
const kLongestPauseMs = 10000;

class Live {
  constructor() {
    this.machine = new Machine();
    this.board = new Board(this.machine, true);
    this.lastId = "";
    this.source = null;
    this.attempt = 0;
    this.lastHeard = performance.now();
    this.buildFiles();
    window.setInterval(() => this.checkSilence(), 5000);
    this.load();
  }

  buildFiles() {
    const report = element("a", { href: "/report.html", download: "zorvane-report.html" }, ["Save report"]);
    const mask = element("input", { type: "checkbox", id: "mask" });
    mask.addEventListener("change", () => {
      report.setAttribute("href", mask.checked ? "/report.html?mask=1" : "/report.html");
    });
    byId("files").append(report,
      element("label", { for: "mask" }, [mask, " without serials and names"]),
      element("a", { href: "/recording.jsonl", download: "zorvane-recording.jsonl" }, ["Download recording"]));
  }

  status(text, isTrouble) {
    setText(byId("status"), text);
    byId("status").classList.toggle("trouble", isTrouble);
  }

  async load() {
    let text = "";
    try {
      const answer = await fetch("/history");
      if (!answer.ok) {
        throw new Error(`status ${answer.status}`);
      }
      this.lastId = answer.headers.get("Zorvane-Last-Event") ?? "";
      text = await answer.text();
    } catch {
      this.again(() => this.load());
      return;
    }
    this.machine = new Machine();
    this.board.use(this.machine);
    for (const line of text.split("\n")) {
      if (line) {
        this.machine.apply(JSON.parse(line));
      }
    }
    this.board.update();
    this.board.redraw();
    this.follow();
  }

  follow() {
    this.source?.close();
    const source = new EventSource(`/events?after=${encodeURIComponent(this.lastId)}`);
    this.source = source;
    this.lastHeard = performance.now();
    source.onopen = () => this.connected();
    source.onmessage = (message) => {
      this.connected();
      this.lastId = message.lastEventId;
      this.machine.apply(JSON.parse(message.data));
      this.board.changed();
    };
    source.addEventListener("beat", () => this.connected());
    source.addEventListener("reset", () => {
      source.close();
      this.load();
    });
    source.onerror = () => this.lost();
  }

  connected() {
    this.lastHeard = performance.now();
    this.attempt = 0;
    this.status("Live.", false);
  }

  // What is shown is no longer what is: the numbers go, the charts stay.
  lost() {
    this.source?.close();
    this.source = null;
    for (const device of this.machine.devices()) {
      device.latest = null;
    }
    this.board.update();
    this.again(() => this.follow());
  }

  again(action) {
    ++this.attempt;
    const pause = Math.min(kFirstPauseMs * 2 ** (this.attempt - 1), kLongestPauseMs);
    const last = this.machine.lastTime ? ` The last event came at ${clock(this.machine.lastTime)}.` : "";
    this.status(`No connection to zorvanemon; connecting again.${last}`, true);
    window.setTimeout(action, pause);
  }

  checkSilence() {
    if (this.source && performance.now() - this.lastHeard > kSilentMs) {
      this.lost();
    }
  }
}
