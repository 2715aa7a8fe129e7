"""The page that zorvanemon serves, and a saved report, in a real browser.

Usage: page_test.py RESULTS_FILE
"""
import json
import pathlib
import socket
import sys
import tempfile
import threading
import unittest

from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

from browser import Browser
from running import PATIENCE_S, Monitor, Server, gpu, machine, windows_path, write_results

RESULTS = pathlib.Path(sys.argv[1]).resolve()
HOSTILE = "<img src=x onerror=alert(1)>"
# As long as NVML gives it; a record has room for 31 characters.
LONG_NAME = "'\"&amp;<b onclick=alert(1)>".ljust(63, "w")
HOSTILE_LONG = LONG_NAME[:31]
# What a code page may make of a name, and a recording may say: a GPU's texts are cut as in a record.
TURNING = "\u202e\u2067'\"</script><!--<img src=x onerror=alert(1)>\u200f".ljust(64, "w")
VALUES = {
    "Temperature": "61 °C", "GPU use": "37 %", "Memory use": "11 %", "Fan speed": "47 %",
    "Graphics clock": "1801 MHz", "SM clock": "1802 MHz", "Memory clock": "9501 MHz",
    "Video clock": "1503 MHz",
}


class Proxy:
    """A way to the server that can be cut, under a port that stays."""

    def __init__(self, port):
        self.target = port
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.open = []
        self.is_cut = False
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        while True:
            try:
                client, _ = self.listener.accept()
            except OSError:
                return
            if self.is_cut:
                client.close()
                continue
            server = socket.create_connection(("127.0.0.1", self.target))
            self.open += [client, server]
            for pair in ((client, server), (server, client)):
                threading.Thread(target=self.pass_on, args=pair, daemon=True).start()

    @staticmethod
    def pass_on(source, target):
        try:
            while data := source.recv(65536):
                target.sendall(data)
            target.shutdown(socket.SHUT_WR)
        except OSError:
            pass

    def cut(self):
        self.is_cut = True
        for one in self.open:
            try:
                one.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
        self.open.clear()

    def close(self):
        self.listener.close()
        self.cut()


class PageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.server = Server(machine(
            gpu("Plain GPU", 1),
            gpu(HOSTILE, 2, temperature=None),
            gpu(LONG_NAME, 3, results={"nvmlDeviceGetTemperature": {"perRead": [0, 0, 0, 15, 15, 0]}}),
            cpu=55.5), ["--allow-host", "127.0.0.1"])
        cls.browser = Browser()
        cls.browser.open(cls.server.url)
        cls.browser.wait(lambda: cls.browser.numbers().get("CPU", {}).get("Temperature") == "55 °C"
                         and "Plain GPU" in cls.browser.numbers(), "the readings of all devices")

    @classmethod
    def tearDownClass(cls):
        cls.browser.close()
        cls.server.close()

    def setUp(self):
        if self.browser.driver.current_url != self.server.url:
            self.browser.open(self.server.url)
            self.browser.wait(lambda: HOSTILE_LONG in self.browser.numbers(), "the page")

    def test_shows_exactly_the_values_of_the_machine(self):
        self.browser.wait(lambda: self.browser.numbers().get("Plain GPU") == VALUES, "the values")
        numbers = self.browser.numbers()
        self.assertEqual(numbers[HOSTILE], {**VALUES, "Temperature": "n/a"})
        self.assertEqual(set(numbers), {"Plain GPU", HOSTILE, HOSTILE_LONG, "CPU"})

    def test_keeps_hostile_names_as_text(self):
        self.assertIn(HOSTILE_LONG, self.browser.numbers())
        self.assertEqual(self.browser.all("img, main script, main b, h2 *:not(bdi)"), [])
        self.assertFalse(self.browser.is_asked())

    def test_shows_a_failing_reading_as_a_gap(self):
        self.server.wait_for(lambda event: event["type"] == "gpu" and event["index"] == 2
                             and event["temperature_celsius"] is None)
        chart = self.chart_of(HOSTILE_LONG)
        seen = []

        def has_gap():
            seen[:] = self.values_along(chart)
            after = seen[seen.index("n/a"):] if "n/a" in seen else []
            return "61 °C" in seen and "61 °C" in after
        self.browser.wait(has_gap, "a gap with values on both sides")
        self.assertEqual(set(seen), {"61 °C", "n/a"})

    def chart_of(self, title):
        return self.browser.run("""
            return [...document.querySelectorAll(".card")].find(
              (card) => card.querySelector("h2").textContent === arguments[0]).querySelector(".chart")""", title)

    def values_along(self, chart):
        """What the chart's cursor tells from the first to the last second, by keyboard."""
        self.browser.run("document.querySelector('#ranges button').click(); arguments[0].focus()", chart)
        ActionChains(self.browser.driver).send_keys(Keys.HOME).perform()
        texts = []
        for _ in range(60):
            ActionChains(self.browser.driver).send_keys(Keys.ARROW_RIGHT).perform()
            texts.append(chart.get_attribute("aria-valuetext").split("Temperature ")[1])
        # The beginning of the minute may be before the worker.
        first = texts.index("61 °C") if "61 °C" in texts else 0
        return texts[first:]

    def test_names_every_number_in_the_accessibility_tree(self):
        names = self.browser.accessible_names()
        for name, value in VALUES.items():
            self.assertIn(("definition", f"{name} {value}"), names)
        self.assertIn(("definition", "Temperature 55 °C"), names)
        self.assertIn(("slider", "Temperature of Plain GPU over time"), names)
        self.assertIn(("status", ""), {(role, "") for role, _ in names})

    def test_reaches_everything_by_keyboard(self):
        self.browser.run("document.activeElement.blur(); window.scrollTo(0, 0)")
        reached = []
        for _ in range(60):
            ActionChains(self.browser.driver).send_keys(Keys.TAB).perform()
            label = self.browser.run("""
                const node = document.activeElement;
                return node.getAttribute("aria-label") ?? node.id ?? ""; """) or self.browser.run(
                    "return document.activeElement.textContent")
            if label in reached:
                break
            reached.append(label)
        for label in ("1 min", "All", "Earlier", "Later", "Closer", "Wider", "Save report", "mask",
                      "Download recording", "Temperature of Plain GPU over time",
                      "Use of Plain GPU over time", "Clocks of Plain GPU over time",
                      "Fan speed of Plain GPU over time", "Temperature of CPU over time"):
            self.assertIn(label, reached)

    def test_has_enough_contrast_in_both_schemes(self):
        for scheme in ("light", "dark"):
            self.browser.show(1280, 1600, scheme)
            colours = self.browser.run("""
                const style = getComputedStyle(document.documentElement);
                return Object.fromEntries(["ground", "card", "ink", "soft", "accent", "good", "bad"].map(
                  (name) => [name, style.getPropertyValue("--" + name).trim()]))""")
            for ink in ("ink", "soft", "accent", "good", "bad"):
                for ground in ("ground", "card"):
                    self.assertGreaterEqual(contrast(colours[ink], colours[ground]), 4.5,
                                            f"{ink} on {ground}, {scheme}")

    def test_fits_every_width(self):
        for width, height in ((360, 1600), (1280, 1600), (2560, 1600)):
            for scheme in ("light", "dark"):
                self.browser.show(width, height, scheme)
                self.browser.wait(lambda: self.browser.run("return window.innerWidth") == width, "the width")
                self.assertLessEqual(self.browser.run("return document.documentElement.scrollWidth"), width)
                self.browser.wait(lambda: self.browser.run(
                    "return document.querySelector('.plot canvas').clientWidth <= window.innerWidth"), "redrawn")
                self.browser.save_screenshot(RESULTS.parent / f"page-{width}-{scheme}.png")
        self.browser.show(1280, 1600, "light")

    def test_connects_again_by_itself_and_says_so(self):
        proxy = Proxy(self.server.port)
        try:
            self.browser.open(f"http://127.0.0.1:{proxy.port}/")
            self.browser.wait(lambda: self.browser.text("#status") == "Live.", "the first connection")
            proxy.cut()
            self.browser.wait(lambda: "connecting again" in self.browser.text("#status"), "the loss")
            self.assertEqual(self.browser.numbers()["Plain GPU"]["Temperature"], "n/a")
            proxy.is_cut = False
            self.browser.wait(lambda: self.browser.text("#status") == "Live.", "the next connection")
            self.browser.wait(lambda: self.browser.numbers()["Plain GPU"] == VALUES, "the values")
        finally:
            proxy.close()

    def test_saves_a_report_that_shows_the_same(self):
        for query, mask in (("", False), ("?mask=1", True)):
            status, headers, page = self.server.get("/report.html" + query)
            self.assertEqual(status, 200)
            self.assertIn("attachment", headers["Content-Disposition"])
            self.assertEqual(b"1320523000001" in page, not mask)
            self.assertEqual(self.doctor_in(page)["tool_version"], self.server.history()[0]["tool_version"])
            with tempfile.NamedTemporaryFile(suffix=".html") as file:
                file.write(page)
                file.flush()
                self.browser.open("file://" + file.name)
                self.check_report(file.name)

    def doctor_in(self, page):
        _, _, rest = page.decode().partition('"doctor":')
        return json.JSONDecoder().raw_decode(rest)[0]

    def check_report(self, path):
        self.assertEqual(set(self.browser.numbers()), {"Plain GPU", HOSTILE, HOSTILE_LONG, "CPU"})
        self.assertEqual(self.browser.numbers()["Plain GPU"],
                         {f"{name}, last": value for name, value in VALUES.items()})
        ranges = self.browser.run("""
            return [...document.querySelector(".card").querySelectorAll(".range")].map((node) => node.textContent)""")
        self.assertEqual(ranges[0], "lowest 61, average 61, highest 61")
        self.assertGreater(len(self.browser.all(".plot canvas")), 0)
        self.assertEqual(self.browser.complaints(), [])
        self.assertEqual({url for url in self.browser.requests() if not url.startswith("data:")},
                         {"file://" + path})

    def test_asks_nobody_but_its_server_and_complains_of_nothing(self):
        self.browser.open(self.server.url)
        self.browser.wait(lambda: self.browser.numbers().get("Plain GPU") == VALUES, "the values")
        asked = self.browser.requests()
        self.assertIn(self.server.url + "history", asked)
        self.assertEqual([url for url in asked if not url.startswith((self.server.url, "data:"))], [])
        self.assertEqual(self.browser.complaints(), [])

    def test_downloads_a_recording_that_can_be_replayed(self):
        with tempfile.NamedTemporaryFile(suffix=".jsonl") as file:
            file.write(self.server.get("/recording.jsonl")[2])
            file.flush()
            with Monitor(["replay", windows_path(file.name), "--at-once", "--format", "json"]) as replay:
                lines, _ = replay.process.communicate(timeout=PATIENCE_S)
                self.assertEqual(replay.process.returncode, 0, replay.said())
        self.assertIn(b'"temperature_celsius":61', lines)


PAUSE = ("the computer runs on battery: no worker until it is on mains again, because readings keep a GPU "
         "awake")


def paused_lines():
    """A run whose worker is replaced at its greatest age, then paused, then started again."""
    head = {"schema": 1, "host": "laptop", "entry": "test"}
    end = {"exit_code": 0, "text": "ended in order (0)", "crashed": False, "forced": False, "greeted": True,
           "asked": True, "lived_ms": 1000}
    events = [
        {"type": "start", "tool_version": "1", "library_version": None, "simulated": True},
        {"type": "worker_start", "worker_pid": 7},
        {"type": "cpu", "temperature_celsius": 50},
        {"type": "notice", "id": "worker.max_age", "text": "the worker has reached its greatest age"},
        {"type": "worker_exit", "worker_pid": 7, **end, "restart_in_ms": 0},
        {"type": "worker_start", "worker_pid": 8},
        {"type": "cpu", "temperature_celsius": 50},
        {"type": "worker_exit", "worker_pid": 8, **end, "restart_in_ms": None},
        {"type": "paused", "text": PAUSE},
        {"type": "resumed", "text": "the computer is on mains again: starting a worker"},
        {"type": "worker_start", "worker_pid": 9},
        {"type": "cpu", "temperature_celsius": 50},
        {"type": "worker_exit", "worker_pid": 9, **end, "restart_in_ms": None},
    ]
    for second, event in enumerate(events):
        yield {"time": f"2026-11-21T10:00:{second:02}.000Z", **head, **event}


class RecordingTest(unittest.TestCase):
    """A report that is made of a file, which anybody may have written."""

    def setUp(self):
        self.browser = Browser()
        self.addCleanup(self.browser.close)
        folder = tempfile.TemporaryDirectory(prefix="report ")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def report(self, lines, *options):
        (self.folder / "made.jsonl").write_text("".join(json.dumps(line) + "\n" for line in lines),
                                                encoding="utf-8")
        with Monitor(["report", windows_path(self.folder / "made.jsonl"), *options]) as monitor:
            self.assertEqual((monitor.wait(), monitor.said()), (0, ""))
        self.browser.open(f"file://{self.folder}/made.html")

    def lines(self):
        start = {"schema": 1, "host": TURNING, "entry": "test"}

        def at(second, **event):
            return {"time": f"2026-11-21T10:00:{second:02}.000Z", **start, **event}
        yield at(0, type="start", tool_version="1", library_version=None, simulated=True)
        for second in range(1, 50):
            yield at(second, type="gpu", index=0, count=1, name=TURNING, pci=None,
                     gpu_utilization_percent=second, memory_utilization_percent=None,
                     temperature_celsius=None if 20 <= second < 30 else 99 if second == 35 else 50,
                     fan_speed_percent=None, clocks_mhz=dict.fromkeys(("graphics", "sm", "memory", "video")))
        yield at(50, type="missing", what="cpu", id="x", brief="b", text=TURNING, do=TURNING)
        yield at(51, type="notice", id="x", text=TURNING)

    def test_shows_hostile_texts_as_texts(self):
        self.report(self.lines())
        self.assertIn(TURNING[:31], self.browser.numbers())
        self.assertEqual(self.browser.text("#host"), TURNING)
        self.assertTrue(any(TURNING in text for text in self.browser.happened()))
        self.assertEqual(self.browser.all("img, main script"), [])
        self.assertFalse(self.browser.is_asked())
        self.assertEqual(self.browser.complaints(), [])

    def test_tells_a_pause_and_a_replacement_of_the_worker(self):
        self.report(paused_lines())
        # Behind the sign and the time.
        happened = [text.split(" ", 1)[1] for text in reversed(self.browser.happened())]
        self.assertEqual(happened, [
            "The worker has reached its greatest age.",
            "The worker ended in order (0). Another one is started at once.",
            "A worker was started again (process 8).",
            "The worker ended in order (0).",
            "T" + PAUSE[1:] + ".",
            "The computer is on mains again: starting a worker.",
            "A worker was started again (process 9).",
            "The worker ended in order (0).",
        ])
        self.assertEqual(len(self.browser.all("#happened-list .pause")), 1)
        self.assertEqual(self.browser.complaints(), [])

    def test_shows_lowest_average_and_highest(self):
        self.report(self.lines())
        ranges = self.browser.run("return [...document.querySelectorAll('.range')].map((node) => node.textContent)")
        self.assertEqual(ranges[:3], ["lowest 50, average 51.3, highest 99", "lowest 1, average 25, highest 49",
                                      "never read"])

    def test_prints_without_what_only_a_screen_has(self):
        self.report(self.lines())
        self.browser.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "print"})
        self.assertEqual(self.browser.run("return getComputedStyle(document.querySelector('nav')).display"), "none")
        pdf = self.browser.driver.execute_cdp_cmd("Page.printToPDF", {})
        self.assertGreater(len(pdf["data"]), 10000)

    def test_shows_what_doctor_says(self):
        doctor = self.folder / "doctor.json"
        doctor.write_text(json.dumps({"readings": [{"what": "GPUs", "reported": "no"}], "checks": [
            {"id": "a", "title": "Good", "result": "PASS", "seen": "fine", "do": None},
            {"id": "b", "title": "Bad", "result": "FAIL", "seen": "<b>broken</b>", "do": "Mend it."}]}))
        self.report(self.lines(), "--doctor", windows_path(doctor))
        found = self.browser.run("return document.querySelector('#doctor-findings').innerText")
        self.assertEqual(found, "FAIL Bad: <b>broken</b> Mend it.")
        self.assertIn("Good: fine", self.browser.text("#doctor-rest"))
        doctor.write_text("no JSON")
        with Monitor(["report", windows_path(self.folder / "made.jsonl"), "--doctor", windows_path(doctor),
                      "-o", windows_path(self.folder / "other.html")]) as monitor:
            self.assertEqual(monitor.wait(), 8)
            self.assertIn("is not what zorvanemon doctor --json writes", monitor.said())

    def test_masks_the_computers_name(self):
        self.report(self.lines(), "--mask")
        self.assertEqual(self.browser.text("#host"), "[computer]")
        self.assertIn(TURNING[:31], self.browser.numbers())


class PauseTest(unittest.TestCase):
    """The live page while the worker pauses: nothing else here runs on battery."""

    def test_says_since_when_it_is_paused(self):
        lines = [json.dumps(line) for line in paused_lines()]
        lines = lines[:1 + next(i for i, line in enumerate(lines) if '"paused"' in line)]
        browser = Browser()
        try:
            with Server(machine(gpu("GPU"))) as server:
                browser.driver.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": """
                    window.fetch = async () => new Response(%s);
                    window.EventSource = class { addEventListener() {} close() {} };
                    """ % json.dumps("\n".join(lines))})
                browser.open(server.url)
                browser.wait(lambda: "paused on battery since" in (browser.text("#about") or ""), "the pause")
                self.assertEqual(browser.numbers()["CPU"]["Temperature"], "n/a")
                self.assertEqual(browser.complaints(), [])
        finally:
            browser.close()


class CrashTest(unittest.TestCase):
    def test_marks_a_crash_and_goes_on_with_the_next_worker(self):
        scenario = {**machine(gpu("Crashing GPU")), "crashAfterReadings": 30}
        browser = Browser()
        try:
            with Server(scenario) as server:
                browser.open(server.url)
                browser.wait(lambda: any("crashed" in text for text in browser.happened()), "the crash")
                browser.wait(lambda: any("started again" in text for text in browser.happened()), "the restart")
                browser.wait(lambda: browser.numbers().get("Crashing GPU") == VALUES, "the values again")
                self.assertEqual(browser.complaints(), [])
        finally:
            browser.close()


def contrast(one, other):
    """The ratio of WCAG for two colours as #rrggbb."""
    def luminance(colour):
        parts = [int(colour[i:i + 2], 16) / 255 for i in (1, 3, 5)]
        parts = [c / 12.92 if c <= 0.04045 else ((c + 0.055) / 1.055) ** 2.4 for c in parts]
        return 0.2126 * parts[0] + 0.7152 * parts[1] + 0.0722 * parts[2]
    high, low = sorted((luminance(one), luminance(other)), reverse=True)
    return (high + 0.05) / (low + 0.05)


if __name__ == "__main__":
    suite = unittest.defaultTestLoader.loadTestsFromModule(sys.modules[__name__])
    names = [test.id().removeprefix("__main__.") for group in suite for test in group]
    result = unittest.TextTestRunner(verbosity=2).run(suite)
    write_results(RESULTS, result, names)
    sys.exit(not result.wasSuccessful())
