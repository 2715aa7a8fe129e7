"""What the tools take over a day's worth of readings.

usage: tools.py [RECORDS]

A worker sends RECORDS (86400) records without a pause to each tool. A tool is in order when no record is
lost, and when neither its private memory nor its open files grow after the first half of the day. The
history of "serve" is a second long here: what an hour of readings takes is not what is looked for. It is
given three days, so that even a few bytes of each record would show."""
import http.client
import os
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[3]
BUILD = ROOT / "build" / "release"
DAY = 86400
# A page here and there comes and goes with the text that is being written.
ROOM_KIB = 256
# The second that the server keeps has as many records as the machine manages in it.
SERVE_ROOM_KIB = 2048


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


class Samples:
    """Memory and files of a process, taken at each twentieth of the records from the fifth on."""

    def __init__(self, process, records):
        self.folder = pathlib.Path("/proc") / str(process.pid)
        self.records = records
        self.next = records // 4
        self.taken = []

    def take(self, count):
        if count < self.next or count >= self.records:
            return
        self.next = count + self.records // 20
        rollup = (self.folder / "smaps_rollup").read_text().splitlines()
        private = sum(int(line.split()[1]) for line in rollup if line.startswith("Private_"))
        self.taken.append((private, len(os.listdir(self.folder / "fd"))))


def grows(values, room):
    """Whether the second half of them goes beyond the first."""
    half = len(values) // 2
    return max(values[half:]) > max(values[:half]) + room


def findings(name, samples, count, records, room=ROOM_KIB):
    memory = [private for private, _ in samples.taken]
    files = [count for _, count in samples.taken]
    found = []
    if count != records:
        found.append(f"{name}: {count} of {records} records")
    if len(memory) < 10:
        found.append(f"{name}: only {len(memory)} samples")
    elif grows(memory, room) or grows(files, 0):
        found.append(f"{name}: private memory {memory} KiB, open files {files}")
    print(f"{name}: {count} records, at most {max(memory, default=0)} KiB of private memory, "
          f"{max(files, default=0)} open files", flush=True)
    return found


def start(records, *words):
    # readall finds zorvaneclient.dll by WINEPATH.
    return subprocess.Popen([ROOT / "scripts" / "wine", *words], stdin=subprocess.DEVNULL,
                            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                            env=dict(os.environ, ZORVANE_BENCH_RECORDS=str(records),
                                     WINEPATH=windows_path(BUILD / "bin")))


def print_records(name, records, mark, *words):
    """A tool that prints a line with `mark` for each record, and ends when its worker has."""
    with start(records, *words) as tool:
        samples, count = Samples(tool, records), 0
        for line in tool.stdout:
            if mark in line:
                count += 1
                samples.take(count)
    return findings(name, samples, count, records)


def get(port, target):
    connection = http.client.HTTPConnection("127.0.0.1", port, timeout=60)
    try:
        connection.request("GET", target)
        answer = connection.getresponse()
        answer.read()
        return answer.headers
    finally:
        connection.close()


def serve(records, monitor, *words):
    """It is asked again and again until its worker, and with it the server, has ended."""
    name = "serve"
    with start(records, monitor, "serve", "--listen", "127.0.0.1:0", "--history", "1", *words) as tool:
        samples, count = Samples(tool, records), 0
        port = int(tool.stdout.readline().decode().rstrip().rstrip("/").rpartition(":")[2])
        try:
            while True:
                get(port, "/metrics")
                count = int(get(port, "/history?seconds=1")["Zorvane-Last-Event"].rpartition(".")[2])
                samples.take(count)
        except (OSError, http.client.HTTPException):
            tool.stdout.read()
    # How many events the last records are among is not told by a server that has ended.
    return findings(name, samples, records if count > 0.95 * records else count, records, SERVE_ROOM_KIB)


def main():
    word = sys.argv[1] if len(sys.argv) > 1 else str(DAY)
    if not word.isdecimal() or int(word) < 1000:
        sys.exit(f"tools: not a number of records from 1000 on: {word}")
    records = int(word)
    monitor = BUILD / "bin" / "zorvanemon.exe"
    worker = ("--host", windows_path(BUILD / "bench" / "bench_flood.exe"))
    found = []
    forms = {"json": b'"type":"gpu"', "csv": b"Z,", "prometheus": b"zorvane_gpu_temperature_celsius{"}
    for form, mark in forms.items():
        found += print_records(f"zorvanemon --format {form}", records, mark, monitor, "--format", form, *worker)
    found += print_records("zorvaneclient.dll", records, b":", BUILD / "tests" / "readall.exe", worker[1])
    found += serve(3 * records, monitor, *worker)
    for finding in found:
        print(finding, file=sys.stderr)
    print(f"tools: 5 tools, {7 * records} records; {len(found)} findings")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
