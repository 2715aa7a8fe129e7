"""zorvanemon and the browser, started for the tests and ended with them."""
import http.client
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile
import threading

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("ZORVANE_BUILD", ROOT / "build" / "release"))
DEBIAN = ROOT / "build" / "debian" / "usr" / "bin"  # unpacked there by scripts/test
PATIENCE_S = 60


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


class Monitor:
    """zorvanemon with a command on a simulated machine of its own."""

    def __init__(self, command, scenario=None, words=()):
        self.folder = tempfile.TemporaryDirectory(prefix="zorvane page ")
        machine = pathlib.Path(self.folder.name)
        self.machine = machine
        options = list(command)
        if scenario is not None:
            (machine / "scenario.json").write_text(json.dumps(scenario), encoding="utf-8")
            for file in ("sim/zorvanesimhost.exe", "sim/Platform.dll", "sim/AMDRyzenMasterDriver.sys",
                         "bin/Zorvane.dll"):
                shutil.copy(BUILD / file, machine)
            (machine / "Log").mkdir()
            if "cpu" not in scenario:
                # The task for the CPU needs the driver's service, which all tests share.
                (machine / "Qorvella.set").write_bytes(b"[cpu_kernel]\r\nsdk_flag=0\r\n")
            options += [
                "--stale-after", "600",
                "--host", windows_path(machine / "zorvanesimhost.exe"),
                "--library", windows_path(machine / "Zorvane.dll"),
                "--env", "ProgramW6432=" + windows_path(BUILD / "sim" / "ProgramFiles"),
                "--env", "ZORVANE_SIM_SCENARIO=" + windows_path(machine / "scenario.json"),
            ]
        self.errors = open(machine / "errors", "w+b")
        self.process = subprocess.Popen(
            [str(ROOT / "scripts" / "wine"), str(BUILD / "bin" / "zorvanemon.exe"), *options, *words],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=self.errors)

    def first_line(self):
        line = self.process.stdout.readline().decode()
        if not line:
            raise AssertionError("zorvanemon ended: " + self.said())
        # Nobody reads on, and it must not wait for that.
        threading.Thread(target=self.process.stdout.read, daemon=True).start()
        return line.strip()

    def said(self):
        self.errors.flush()
        self.errors.seek(0)
        return self.errors.read().decode(errors="replace")

    def wait(self):
        return self.process.wait(PATIENCE_S)

    def close(self):
        if self.process.poll() is None:
            # As Ctrl+C does: a build that counts branches writes its counts only at an orderly end.
            self.process.send_signal(signal.SIGINT)
        try:
            self.wait()
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        if self.process.stdout:
            self.process.stdout.close()
        self.errors.close()
        self.folder.cleanup()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()


class Server(Monitor):
    """zorvanemon serve at a free port."""

    def __init__(self, scenario, options=()):
        super().__init__(["serve", "--listen", "127.0.0.1:0", *options], scenario)
        self.url = self.first_line()
        self.port = int(re.fullmatch(r"http://127\.0\.0\.1:(\d+)/", self.url)[1])

    def get(self, target, headers=None, method="GET"):
        """Status, headers and body."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=PATIENCE_S)
        try:
            connection.request(method, target, headers=headers or {})
            answer = connection.getresponse()
            return answer.status, answer.headers, answer.read()
        finally:
            connection.close()

    def history(self):
        return [json.loads(line) for line in self.get("/history")[2].splitlines()]

    def wait_for(self, done):
        """Reads the events until `done`, called with each of them, is true; gives that event."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=PATIENCE_S)
        try:
            for event in self.history():
                if done(event):
                    return event
            connection.request("GET", "/events")
            answer = connection.getresponse()
            for line in answer:
                if line.startswith(b"data: ") and len(line) > 12:
                    event = json.loads(line[6:])
                    if done(event):
                        return event
        finally:
            connection.close()
        raise AssertionError("the events ended")


def gpu(name="GPU of the test", bus=1, **more):
    """A GPU of a scenario, with everything that is read."""
    return {
        "name": name, "bus": bus, "serial": "1320523000001", "vbios": "95.02", "memoryMiB": 24564,
        "utilization": {"gpu": 37, "memory": 11}, "temperature": 61, "fanSpeed": 47,
        "clocks": [1801, 1802, 9501, 1503], "maxClocks": [3105, 3105, 10501, 2415], **more,
    }


def machine(*gpus, cpu=None):
    scenario = {"driverVersion": "551.86", "gpus": list(gpus)}
    if cpu is not None:
        scenario["cpu"] = {
            "signature": "0x00870F10", "packageType": 2, "name": "AMD Ryzen 9 3900X 12-Core Processor",
            "pmTable": {"temperature": cpu}, "currentTemperature": {"temperature": 55},
        }
    return scenario


def write_results(path, result, names):
    """The file of results, as the test programs write it."""
    bad = [test.id() for test, _ in result.failures + result.errors]
    lines = ["<testsuites>"]
    for name in names:
        verdict = ""
        # The failure of what stands before all tests of a class is that of each of them.
        if any(one.endswith(name) or name.split(".")[0] in one and "setUpClass" in one for one in bad):
            verdict = '<failure message="see the output"/>'
        lines.append(f'<testcase name="{name}">{verdict}</testcase>')
    lines.append("</testsuites>")
    pathlib.Path(path).write_text("\n".join(lines) + "\n", encoding="utf-8")
