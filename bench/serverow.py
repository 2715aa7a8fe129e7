"""Prints samples of the processor time that zorvanemon serve takes in a second, on a machine with eight
GPUs: "own" with three browsers on its page, "floor" while nobody looks.
"""
import pathlib
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests" / "web"))
from browser import Browser
from running import Server, gpu, machine

BROWSERS = 3
SAMPLES = 9
SECONDS = 4


def computed_ns(server):
    """What the threads of the server have computed so far."""
    tasks = pathlib.Path(f"/proc/{server.process.pid}/task")
    return sum(int((task / "schedstat").read_text().split()[0]) for task in tasks.iterdir())


def look(server):
    browser = Browser()
    browser.open(server.url)
    browser.wait(lambda: "GPU 8" in browser.numbers(), "the last GPU")
    return browser


def main():
    eight = machine(*(gpu(f"GPU {bus}", bus) for bus in range(1, 9)))
    browsers = []
    with Server(eight) as watched, Server(eight) as alone:
        try:
            browsers += [look(watched) for _ in range(BROWSERS)]
            servers = {"own": watched, "floor": alone}
            for _ in range(SAMPLES):
                before = {side: computed_ns(server) for side, server in servers.items()}
                time.sleep(SECONDS)
                for side, server in servers.items():
                    print(side, (computed_ns(server) - before[side]) / SECONDS / 1e9)
        finally:
            for browser in browsers:
                browser.close()


main()
