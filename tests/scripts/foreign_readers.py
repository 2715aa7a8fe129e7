"""The checks of foreign_readers_test.sh: foreign_readers.py CHECK ARGUMENT ..."""
import csv
import datetime
import json
import pathlib
import re
import subprocess
import sys
import time
import urllib.request

ROUNDS = 40
# Whatever could end a field, a label or a line too early.
ODD_NAME = 'A "quoted", name; or \\ and \u00c4 \u4e2d'
BUS_IDS = ["00000000:01:00.0", "00000000:0A:00.0"]


def expect(condition, text):
    if not condition:
        sys.exit(text)


def events():
    """All events of a run in which a worker crashes and a second one takes its place."""
    yield {"type": "start", "tool_version": "1.0.0", "library_version": None, "simulated": True}
    for worker in (312, 313):
        yield {"type": "worker_start", "worker_pid": worker}
        yield {"type": "hello", "worker_pid": worker, "worker_window": 5}
        for index in (0, 1):
            yield gpu("gpu_static", index) | {
                "serial": None if index else "1320", "vbios_version": "95.02", "driver_version": "551.86",
                "memory_total_kib": 25153536, "max_clocks_mhz": clocks(3105)}
        yield {"type": "missing", "what": "log", "id": "log.folder", "brief": "", "text": "no log", "do": ""}
        for number in range(ROUNDS // 2):
            for index in (0, 1):
                yield gpu("gpu", index) | {
                    "gpu_utilization_percent": number, "memory_utilization_percent": 0,
                    "temperature_celsius": 60 + number - index, "fan_speed_percent": None if index else 130,
                    "clocks_mhz": clocks(1800 + number)}
            yield {"type": "cpu", "temperature_celsius": 40 + number}
        yield {"type": "error", "cause": "wrong_size", "text": "7 bytes", "left_out": 3}
        crashed = worker == 312
        yield {"type": "worker_exit", "worker_pid": worker, "exit_code": 0xC0000005 if crashed else 0,
               "text": "", "crashed": crashed, "forced": False, "greeted": True, "asked": not crashed,
               "lived_ms": 1, "restart_in_ms": 1000 if crashed else None}


def gpu(kind, index):
    return {"type": kind, "index": index, "count": 2, "name": "Tesla T4" if index else ODD_NAME,
            "pci": {"bus_id": BUS_IDS[index], "domain": 0, "bus": 10 if index else 1, "device": 0,
                    "device_id": 0x268410DE}}


def clocks(megahertz):
    return {"graphics": megahertz, "sm": megahertz, "memory": 10501, "video": None}


def write_recording(path):
    moment = datetime.datetime(2026, 1, 2, 3, 4, 5)
    with open(path, "w", encoding="utf-8", newline="\n") as file:
        for event in events():
            # The GPU with the lower bus id begins a round.
            if event["type"] == "gpu" and event["index"] == 0:
                moment += datetime.timedelta(seconds=1)
            line = {"time": moment.isoformat(timespec="milliseconds") + "Z", "schema": 1, "host": "pc",
                    "entry": "office"} | event
            file.write(json.dumps(line) + "\n")


def read_lines(path):
    with open(path, encoding="utf-8", newline="") as file:
        return [json.loads(line) for line in file]


def check_json(path, recording):
    got = read_lines(path)
    wanted = read_lines(recording)
    for line in got + wanted:
        # Put together for the reader, and not part of what happened.
        if line["type"] == "worker_exit":
            del line["text"]
    expect(got == wanted, "the lines are not those of the recording")


def check_csv(path, recording, separator):
    with open(path, encoding="utf-8", newline="") as file:
        rows = list(csv.DictReader(file, delimiter={"comma": ",", "tab": "\t"}[separator], strict=True))
    lines = read_lines(recording)
    readings = [line for line in lines if line["type"] == "gpu"]
    cpu = [line["temperature_celsius"] for line in lines if line["type"] == "cpu"]
    expect(len(rows) == len(readings) == 2 * ROUNDS, f"{len(rows)} rows")
    for number, (row, reading) in enumerate(zip(rows, readings)):
        wanted = {
            "time": reading["time"], "host": "pc", "entry": "office", "gpu_index": reading["index"],
            "pci_bus_id": reading["pci"]["bus_id"], "gpu_name": reading["name"],
            "gpu_utilization_percent": reading["gpu_utilization_percent"],
            "memory_utilization_percent": reading["memory_utilization_percent"],
            "gpu_temperature_celsius": reading["temperature_celsius"],
            "fan_speed_percent": reading["fan_speed_percent"],
            **{f"{name}_clock_mhz": value for name, value in reading["clocks_mhz"].items()},
            "cpu_temperature_celsius": cpu[number // 2]}
        texts = {key: "" if value is None else str(value) for key, value in wanted.items()}
        expect(row == texts, f"row {number}: {row}, expected {texts}")


def documented_metrics(page):
    names = re.findall(r"^\| `(zorvane_\w+)`", pathlib.Path(page).read_text(encoding="utf-8"), re.MULTILINE)
    expect(len(names) > 15, "the page's table was not found")
    return set(names)


def metric_names(text):
    return set(re.findall(r"^(zorvane_\w+)\{", text, re.MULTILINE))


def check_documented(path, page):
    missing = documented_metrics(page) - metric_names(pathlib.Path(path).read_text(encoding="utf-8"))
    expect(not missing, f"not among the metrics: {missing}")


def check_scrape(folder, page, *replay):
    """Scrapes while the command replays: every metric comes, with its right type, and no error."""
    exporter = subprocess.Popen(
        ["prometheus-node-exporter", "--web.listen-address=127.0.0.1:0", "--collector.disable-defaults",
         "--collector.textfile", f"--collector.textfile.directory={folder}"],
        stderr=subprocess.PIPE, text=True)
    try:
        url = listening_url(exporter)
        wanted = documented_metrics(page)
        replayer = subprocess.Popen(replay)
        complete = None
        while replayer.poll() is None:
            with urllib.request.urlopen(url) as reply:
                text = reply.read().decode("utf-8")
            expect("node_textfile_scrape_error 0\n" in text, "the collector reports an error:\n" + text)
            missing = wanted - metric_names(text)
            complete = complete if missing else text
            time.sleep(0.02)
        expect(replayer.returncode == 0, f"the replay ended with {replayer.returncode}")
        expect(complete, "never served together; in the end there lacked " + " ".join(missing))
        for name in wanted:
            kind = "counter" if name.endswith("_total") else "gauge"
            expect(f"# TYPE {name} {kind}\n" in complete, f"{name} is no {kind}")
        label = ODD_NAME.replace("\\", "\\\\").replace('"', '\\"')
        expect(f'name="{label}"' in complete, "the name of the GPU was changed")
    finally:
        exporter.terminate()
        exporter.wait()


def listening_url(exporter):
    for line in exporter.stderr:
        found = re.search(r"127\.0\.0\.1:(\d+)", line)
        if found and found.group(1) != "0":
            return f"http://127.0.0.1:{found.group(1)}/metrics"
    sys.exit("the exporter has not begun to listen")


CHECKS = {"write_recording": write_recording, "json": check_json, "csv": check_csv,
          "documented": check_documented, "scrape": check_scrape}
CHECKS[sys.argv[1]](*sys.argv[2:])
