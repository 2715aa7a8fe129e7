"""What integrations/ has for a fleet, with Debian's Prometheus scraping zorvanemon.

Usage: fleet_test.py RESULTS_FILE
"""
import http.client
import json
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.parse

from running import DEBIAN, PATIENCE_S, ROOT, Server, gpu, machine, write_results

RULES = ROOT / "integrations" / "prometheus" / "zorvane.rules.yml"
DASHBOARD = ROOT / "integrations" / "grafana" / "zorvane.json"


def free_port():
    with socket.create_server(("127.0.0.1", 0)) as one:
        return one.getsockname()[1]


class Prometheus:
    """A Prometheus that asks every second, with the rules that are shipped but no patience."""

    def __init__(self, targets):
        self.folder = tempfile.TemporaryDirectory(prefix="prometheus ")
        folder = pathlib.Path(self.folder.name)
        rules = re.sub(r"for: \w+", "for: 1s", RULES.read_text(encoding="utf-8"))
        (folder / "rules.yml").write_text(rules, encoding="utf-8")
        jobs = [{"targets": [f"127.0.0.1:{port}"], "labels": {"machine": name}}
                for name, port in targets.items()]
        # JSON is YAML too.
        (folder / "prometheus.yml").write_text(json.dumps({
            "global": {"scrape_interval": "1s", "evaluation_interval": "1s"},
            "rule_files": ["rules.yml"],
            "scrape_configs": [{"job_name": "zorvane", "static_configs": jobs}],
        }), encoding="utf-8")
        self.port = free_port()
        self.log = open(folder / "log", "w+b")
        self.process = subprocess.Popen(
            [str(DEBIAN / "prometheus"), f"--config.file={folder}/prometheus.yml", f"--storage.tsdb.path={folder}/data",
             f"--web.listen-address=127.0.0.1:{self.port}"], stdout=self.log, stderr=self.log)

    def ask(self, path, **parameters):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=PATIENCE_S)
        try:
            connection.request("GET", path + "?" + urllib.parse.urlencode(parameters))
            answer = json.loads(connection.getresponse().read())
        finally:
            connection.close()
        if answer["status"] != "success":
            raise AssertionError(f"{parameters}: {answer}")
        return answer["data"]

    def query(self, expression):
        return self.ask("/api/v1/query", query=expression)["result"]

    def wait_for(self, done, what):
        end = time.monotonic() + PATIENCE_S
        while time.monotonic() < end:
            try:
                result = done()
                if result:
                    return result
            except (OSError, http.client.HTTPException, ValueError):
                if self.process.poll() is not None:
                    self.log.seek(0)
                    raise AssertionError(self.log.read().decode()) from None
            time.sleep(0.2)
        raise AssertionError(f"waited in vain for {what}")

    def close(self):
        self.process.kill()
        self.process.wait()
        self.log.close()
        self.folder.cleanup()


class FleetTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.hot = Server(machine(gpu("Tesla T4"), cpu=95))
        cls.crashing = Server({**machine(gpu("Crashing GPU")), "crashAfterReadings": 60})
        cls.prometheus = Prometheus({"hot": cls.hot.port, "crashing": cls.crashing.port})

    @classmethod
    def tearDownClass(cls):
        for one in (cls.prometheus, cls.hot, cls.crashing):
            one.close()

    def wait_for_query(self, expression):
        return self.prometheus.wait_for(lambda: self.prometheus.query(expression), expression)

    def test_scrapes_two_servers_on_two_ports(self):
        values = {}

        def both():
            # The one that crashes has no reading at times.
            latest = self.prometheus.query("last_over_time(zorvane_gpu_temperature_celsius[10m])")
            values.update({one["metric"]["machine"]: one["value"][1] for one in latest})
            return set(values) == {"hot", "crashing"}
        self.prometheus.wait_for(both, "both machines")
        self.assertEqual(values, {"hot": "61", "crashing": "61"})
        targets = self.prometheus.ask("/api/v1/targets")["activeTargets"]
        self.assertEqual([target["lastError"] for target in targets], ["", ""])
        for one in self.prometheus.query("scrape_samples_scraped"):
            print(one["metric"]["machine"], "has", one["value"][1], "series")

    def test_fires_when_the_cpu_is_hot(self):
        firing = self.wait_for_query('ALERTS{alertname="ZorvaneCpuHot",alertstate="firing"}')
        self.assertEqual([one["metric"]["machine"] for one in firing], ["hot"])

    def test_has_data_for_every_query_of_the_dashboard(self):
        self.wait_for_query("increase(zorvane_worker_crashes_total[1h])")
        dashboard = json.loads(DASHBOARD.read_text(encoding="utf-8"))
        expressions = [target["expr"].replace("$machine", ".*")
                       for panel in dashboard["panels"] for target in panel.get("targets", [])]
        self.assertGreater(len(expressions), 20)
        for expression in expressions:
            with self.subTest(expression):
                self.assertTrue(self.wait_for_query(expression))
        for expression in expressions:
            self.assertNotIn("NaN", [one["value"][1] for one in self.prometheus.query(expression)], expression)

    def test_has_series_for_every_metric_that_rules_name(self):
        # Not those that the rules make, which have colons in their names.
        names = set(re.findall(r"(?<![:\w])zorvane_\w+(?![:\w])", RULES.read_text(encoding="utf-8")))
        names.discard("zorvane_recording")
        for name in names:
            with self.subTest(name):
                self.assertTrue(self.wait_for_query(name))

    def test_gives_both_forms_of_the_metrics(self):
        status, headers, text = self.hot.get("/metrics")
        self.assertEqual((status, headers["Content-Type"]), (200, "text/plain; version=0.0.4; charset=utf-8"))
        checked = subprocess.run([str(DEBIAN / "promtool"), "check", "metrics"], input=text, capture_output=True, check=False)
        self.assertEqual((checked.returncode, checked.stdout + checked.stderr), (0, b""))
        status, headers, text = self.hot.get("/metrics", {"Accept": "application/openmetrics-text;version=1.0.0"})
        self.assertIn("application/openmetrics-text", headers["Content-Type"])
        self.assertTrue(text.endswith(b"# EOF\n"))

    def test_keeps_the_rules_tests_of_its_own(self):
        for command in (["check", "rules", RULES.name], ["test", "rules", "zorvane.rules.test.yml"],
                        ["check", "config", "prometheus.yml"]):
            done = subprocess.run([str(DEBIAN / "promtool"), *command], cwd=RULES.parent, capture_output=True, check=False)
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)


if __name__ == "__main__":
    suite = unittest.defaultTestLoader.loadTestsFromModule(sys.modules[__name__])
    names = [test.id().removeprefix("__main__.") for group in suite for test in group]
    result = unittest.TextTestRunner(verbosity=2).run(suite)
    write_results(sys.argv[1], result, names)
    sys.exit(not result.wasSuccessful())
