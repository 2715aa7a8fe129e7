"""What the tools take over a day's worth of readings.

usage: tools.py [RECORDS]

A worker sends RECORDS (86400) records without a pause to each tool. A tool is in order when no record is
lost, and when from a quarter of them on neither its private memory nor its open files grow. The history of
"serve" is a second long here: what an hour of readings takes is not what is looked for. It is given three
days, so that even a few bytes of each record would show."""
import http.client
import os
import pathlib
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "web"))
from running import BUILD, ROOT, Monitor, Server, windows_path

DAY = 86400
WORKER = windows_path(BUILD / "bench" / "bench_flood.exe")
# A page here and there comes and goes with the text that is being written.
ROOM_KIB = 256
# The second that the server keeps has as many records as the machine manages in it.
SERVE_ROOM_KIB = 2048


class Samples:
    """Memory and files of a process, taken at each twentieth of the records from the fifth on."""

    def __init__(self, process, records):
        self.folder = pathlib.Path("/proc") / str(process.pid)
        self.records = records
        self.next = records // 4
        self.memory = []
        self.files = []

    def take(self, count):
        if count < self.next or count >= self.records:
            return
        self.next = count + self.records // 20
        rollup = (self.folder / "smaps_rollup").read_text().splitlines()
        self.memory.append(sum(int(line.split()[1]) for line in rollup if line.startswith("Private_")))
        self.files.append(len(os.listdir(self.folder / "fd")))

    def findings(self, name, room):
        print(f"{name}: at most {max(self.memory, default=0)} KiB of private memory, "
              f"{max(self.files, default=0)} open files", flush=True)
        if len(self.memory) < 10:
            return [f"{name}: only {len(self.memory)} samples"]
        if grows(self.memory, room) or grows(self.files, 0):
            return [f"{name}: private memory {self.memory} KiB, open files {self.files}"]
        return []


def grows(values, room):
    """Whether the second half of them goes beyond the first."""
    half = len(values) // 2
    return max(values[half:]) > max(values[:half]) + room


def print_records(name, process, mark, records):
    """A tool that prints a line with `mark` for each record, and ends when its worker has."""
    samples, count = Samples(process, records), 0
    for line in process.stdout:
        if mark in line:
            count += 1
            samples.take(count)
    lost = [] if count == records else [f"{name}: {count} of {records} records"]
    return lost + samples.findings(name, ROOM_KIB)


def read_in_c(records):
    with subprocess.Popen([ROOT / "scripts" / "wine", BUILD / "tests" / "readall.exe", WORKER],
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          env=dict(os.environ, WINEPATH=windows_path(BUILD / "bin"))) as stub:
        return print_records("zorvaneclient.dll", stub, b":", records)


def serve(records):
    """It is asked again and again until its worker, and with it the server, has ended."""
    os.environ["ZORVANE_BENCH_RECORDS"] = str(records)
    with Server(None, ["--history", "1", "--host", WORKER]) as server:
        samples = Samples(server.process, records)
        try:
            while True:
                server.get("/metrics")
                _, headers, _ = server.get("/history?seconds=1")
                samples.take(int(headers["Zorvane-Last-Event"].rpartition(".")[2]))
        except (OSError, http.client.HTTPException):
            server.wait()
    return samples.findings("serve", SERVE_ROOM_KIB)


def main():
    word = sys.argv[1] if len(sys.argv) > 1 else str(DAY)
    if not word.isdecimal() or int(word) < 1000:
        sys.exit(f"tools: not a number of records from 1000 on: {word}")
    records = int(word)
    os.environ["ZORVANE_BENCH_RECORDS"] = word
    found = []
    forms = {"json": b'"type":"gpu"', "csv": b"Z,", "prometheus": b"zorvane_gpu_temperature_celsius{"}
    for form, mark in forms.items():
        with Monitor(["--format", form, "--host", WORKER]) as monitor:
            found += print_records(f"zorvanemon --format {form}", monitor.process, mark, records)
    found += read_in_c(records)
    found += serve(3 * records)
    for finding in found:
        print(finding, file=sys.stderr)
    print(f"tools: 5 tools, {7 * records} records; {len(found)} findings")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
