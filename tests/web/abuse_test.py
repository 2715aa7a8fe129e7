"""Clients that misbehave, against the server of a running zorvanemon.

Usage: abuse_test.py RESULTS_FILE
"""
import contextlib
import http.client
import json
import pathlib
import resource
import signal
import socket
import sys
import time
import unittest

from running import PATIENCE_S, Monitor, Server, gpu, machine, write_results

CONNECTIONS = 1000


def status_of(answer):
    """The status in what a client received; None where nothing came."""
    return int(answer[9:12]) if answer.startswith(b"HTTP/1.1 ") else None


def receive_all(client):
    received = b""
    with contextlib.suppress(ConnectionError):
        while data := client.recv(65536):
            received += data
    return received


class AbuseTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
        resource.setrlimit(resource.RLIMIT_NOFILE, (max(soft, min(hard, 4096)), hard))
        cls.server = Server(machine(gpu()))
        cls.server.wait_for(lambda event: event["type"] == "gpu")

    @classmethod
    def tearDownClass(cls):
        cls.server.close()

    def connect(self):
        client = socket.create_connection(("127.0.0.1", self.server.port), timeout=PATIENCE_S)
        self.addCleanup(client.close)
        return client

    def send(self, text):
        client = self.connect()
        with contextlib.suppress(ConnectionError):
            client.sendall(text)
        return status_of(receive_all(client))

    def memory_mib(self):
        status = pathlib.Path(f"/proc/{self.server.process.pid}/status").read_text(encoding="ascii")
        return int(status.split("VmRSS:")[1].split()[0]) / 1024

    def readings(self):
        return [event["time"] for event in self.server.history() if event["type"] == "gpu"]

    def wait_for_answer(self):
        """Until the server has room again."""
        end = time.monotonic() + PATIENCE_S
        while time.monotonic() < end:
            with contextlib.suppress(OSError):
                if self.server.get("/healthz")[0] == 200:
                    return
        self.fail("the server answers nobody any more")

    def test_answers_each_abuse_with_its_status(self):
        host = f"Host: 127.0.0.1:{self.server.port}\r\n".encode()
        cases = {
            b"POST / HTTP/1.1\r\n" + host + b"\r\n": 405,
            b"DELETE /history HTTP/1.1\r\n" + host + b"\r\n": 405,
            b"OPTIONS * HTTP/1.1\r\n" + host + b"\r\n": 405,
            b"GET / HTTP/1.1\r\nHost: evil.example\r\n\r\n": 421,
            b"GET / HTTP/1.1\r\nHost: 127.0.0.1:1\r\n\r\n": 421,
            b"GET / HTTP/1.1\r\n\r\n": 400,
            b"GET /history HTTP/1.1\r\n" + host + b"Sec-Fetch-Site: cross-site\r\n\r\n": 403,
            b"GET /../../etc/passwd HTTP/1.1\r\n" + host + b"Connection: close\r\n\r\n": 404,
            b"GET /history?seconds=x HTTP/1.1\r\n" + host + b"\r\n": 400,
            b"GET / HTTP/1.1\r\n" + host + b"Content-Length: 4\r\n\r\nbody": 413,
            b"GET / HTTP/1.1\r\n" + host + b"Transfer-Encoding: chunked\r\n\r\n0\r\n\r\n": 413,
            b"GET / HTTP/1.1\r\n" + host + b"X: " + b"x" * 1000000 + b"\r\n\r\n": 431,
            b"GET /" + b"x" * 5000 + b" HTTP/1.1\r\n" + host + b"\r\n": 414,
            b"GET / HTTP/3.7\r\n" + host + b"\r\n": 505,
            b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03\r\n\r\n": 400,
        }
        for request, status in cases.items():
            with self.subTest(request[:60]):
                self.assertEqual(self.send(request), status)

    def test_ends_at_once_where_it_cannot_listen(self):
        for address in (f"127.0.0.1:{self.server.port}", "192.0.2.1:9836"):
            with Monitor(["serve", "--listen", address]) as second:
                self.assertEqual(second.wait(), 9)
                self.assertEqual(second.said().count("\n"), 1)
                self.assertIn(address, second.said())

    def test_tells_half_a_request_that_it_is_late(self):
        client = self.connect()
        client.sendall(b"GET / HTTP/1.1\r\nHost: 127.0")
        self.assertEqual(status_of(receive_all(client)), 408)

    def test_withstands_a_thousand_connections(self):
        memory = self.memory_mib()
        read = len(self.readings())
        clients = []
        for _ in range(CONNECTIONS):
            client = socket.socket()
            self.addCleanup(client.close)
            client.settimeout(PATIENCE_S)
            client.connect(("127.0.0.1", self.server.port))
            clients.append(client)
        for client in clients:
            with contextlib.suppress(ConnectionError):
                client.sendall(f"GET /events HTTP/1.1\r\nHost: 127.0.0.1:{self.server.port}\r\n\r\n".encode())
        first = []
        for client in clients:
            with contextlib.suppress(ConnectionError):
                first.append(status_of(client.recv(64)))
        for client in clients:
            client.close()
        self.assertEqual(set(first) - {None}, {200, 503})
        self.assertEqual(first.count(200), 64)
        self.wait_for_answer()
        after = self.memory_mib()
        print(f"{CONNECTIONS} connections: {first.count(200)} streams, {first.count(503)} told to come "
              f"later; memory {memory:.1f} MiB before, {after:.1f} MiB after")
        self.assertLess(after - memory, 32)
        # The worker went on meanwhile.
        self.server.wait_for(lambda event: event["type"] == "gpu" and len(self.readings()) > read)

    def test_leaves_readers_behind_that_never_read(self):
        lazy = [self.connect() for _ in range(32)]
        for client in lazy:
            client.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
            request = f"GET /charts.js HTTP/1.1\r\nHost: 127.0.0.1:{self.server.port}\r\n\r\n" * 50
            client.sendall(request.encode())
        memory = self.memory_mib()
        read = len(self.readings())
        self.server.wait_for(lambda event: event["type"] == "gpu" and len(self.readings()) > read + 2)
        self.assertLess(self.memory_mib() - memory, 32)


class EndTest(unittest.TestCase):
    """Ctrl+C, which Wine makes of the signal that a terminal sends for it."""

    def test_ends_the_streams_and_the_worker_in_order(self):
        with Server(machine(gpu())) as server:
            server.wait_for(lambda event: event["type"] == "gpu")
            streams = []
            for _ in range(3):
                connection = http.client.HTTPConnection("127.0.0.1", server.port, timeout=PATIENCE_S)
                self.addCleanup(connection.close)
                connection.request("GET", "/events")
                streams.append(connection.getresponse())
            server.process.send_signal(signal.SIGINT)
            for stream in streams:
                lines = stream.read().decode().splitlines()
                events = [json.loads(line[6:]) for line in lines if line.startswith("data: {\"")]
                self.assertEqual(events[-1]["type"], "worker_exit", lines)
                self.assertEqual((events[-1]["exit_code"], events[-1]["asked"], events[-1]["forced"]), (0, True, False))
                self.assertIn("event: end", lines)
            self.assertEqual(server.wait(), 0, server.said())


if __name__ == "__main__":
    suite = unittest.defaultTestLoader.loadTestsFromModule(sys.modules[__name__])
    names = [test.id().removeprefix("__main__.") for group in suite for test in group]
    result = unittest.TextTestRunner(verbosity=2).run(suite)
    write_results(sys.argv[1], result, names)
    sys.exit(not result.wasSuccessful())
