#!/usr/bin/python3
"""Metrics, alerts and dashboard, with the real node_exporter and Prometheus on loopback."""

import contextlib
import json
import os
import pathlib
import re
import socket
import subprocess
import sys
import time
import unittest
import urllib.error
import urllib.parse
import urllib.request

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "packaging"))
from support import SOURCE, START_AGENT, ScratchTest, in_sandbox, run  # noqa: E402

HERE = pathlib.Path(__file__).resolve().parent
INTEGRATION = SOURCE / "integrations/prometheus"
RULES = INTEGRATION / "clientcompliance.rules.yml"
DASHBOARD = INTEGRATION / "clientcompliance.dashboard.json"
LIMIT = 60

# With an empty scenario there is no agent.
EVALUATE = START_AGENT + """
[ -z "$3" ] || start_agent "$3" "$1"
query=$2
shift 3
"$query" "$@" >/opt/output || true
"""


def free_port():
    with socket.create_server(("127.0.0.1", 0)) as server:
        return server.getsockname()[1]


def get(port, path):
    with urllib.request.urlopen(f"http://127.0.0.1:{port}{path}", timeout=10) as answer:
        return answer.read().decode()


def until(condition):
    """Waits until the condition is true, and returns its value."""
    end = time.monotonic() + LIMIT
    while time.monotonic() < end:
        with contextlib.suppress(urllib.error.URLError, ConnectionError):
            if found := condition():
                return found
        time.sleep(0.2)
    raise AssertionError("did not happen in time")


class RulesTest(unittest.TestCase):
    def test_promtool_accepts_the_rules_and_each_alert_fires(self):
        self.assertIn("SUCCESS", run("promtool", "check", "rules", RULES))
        self.assertIn("SUCCESS", run("promtool", "test", "rules", HERE / "alert-rules.test.yml"))

    def test_each_alert_has_a_test(self):
        alerts = re.findall(r"- alert: (\w+)", RULES.read_text(encoding="utf-8"))
        tests = (HERE / "alert-rules.test.yml").read_text(encoding="utf-8")
        fired = set(re.findall(r"alertname: (\w+)\n +exp_alerts:", tests))
        self.assertEqual(fired, set(alerts))


class DashboardTest(ScratchTest):
    def setUp(self):
        super().setUp()
        self.panels = json.loads(DASHBOARD.read_text(encoding="utf-8"))["panels"]

    def promtool(self, command, document):
        file = self.scratch / "rules.yml"
        file.write_text(json.dumps(document), encoding="utf-8")
        return run("promtool", command, "rules", file)

    def test_Prometheus_reads_each_expression(self):
        rules = [{"record": "panel", "expr": target["expr"].replace("$", ""),
                  "labels": {"panel": f"{panel['id']}", "target": f"{number}"}}
                 for panel in self.panels for number, target in enumerate(panel["targets"])]
        self.assertIn(f"SUCCESS: {len(rules)} rules found",
                      self.promtool("check", {"groups": [{"name": "dashboard", "rules": rules}]}))

    def test_panels_count_machines_and_each_configuration(self):
        def series(name, config, value):
            return {"series": f'clientcompliance_{name}{{instance="web1",document="",config="{config}"}}',
                    "values": f"{value}x10"}

        values = [series("last_run_timestamp_seconds", config, 0) for config in ("a", "b", "c")]
        values += [series("exit_status", config, status) for config, status in
                   (("a", 10), ("b", 3), ("c", 3))]
        values += [series("failing_rows", "a", 2), series("last_success_timestamp_seconds", "a", 0)]
        counts = ["Machines without a fresh result", "Machines whose last evaluation failed",
                  "Machines with failing rows", "Machines that report"]
        tests = []
        for panel in self.panels:
            for selected, wanted in ((".*", 1), ("none", None)):
                if panel["title"] in counts:
                    expression = panel["targets"][0]["expr"].replace("$config", selected)
                    tests.append({"expr": re.sub(r"\$\w+", ".*", expression), "eval_time": "5m",
                                  "exp_samples": [{"labels": "{}", "value": wanted}] if wanted else []})
        self.assertEqual(len(tests), 2 * len(counts))
        self.assertIn("SUCCESS", self.promtool("test", {"tests": [
            {"interval": "1m", "input_series": values, "promql_expr_test": tests}]}))

    def test_panels_have_unique_numbers_and_do_not_overlap(self):
        cells = [(x, y) for panel in self.panels for place in [panel["gridPos"]]
                 for x in range(place["x"], place["x"] + place["w"])
                 for y in range(place["y"], place["y"] + place["h"])]
        self.assertEqual(len(cells), len(set(cells)))
        self.assertEqual(len(self.panels), len({panel["id"] for panel in self.panels}))


class PrometheusTest(ScratchTest):
    def setUp(self):
        super().setUp()
        self.textfile = self.scratch / "textfile"
        self.textfile.mkdir()
        self.metrics = self.textfile / "compliance.prom"

    def evaluate(self, scenario, *arguments):
        in_sandbox(EVALUATE, os.environ["CC_AGENT"], os.environ["CC_QUERY"], scenario,
                   "--prometheus", self.metrics, *arguments, "http://example.com/", "Baseline.xml")

    def start(self, *command):
        log = open(self.scratch / f"{command[0]}.log", "w", encoding="utf-8")
        self.addCleanup(log.close)
        process = subprocess.Popen(list(map(str, command)), stdin=subprocess.DEVNULL,
                                   stdout=log, stderr=log)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)

    def start_exporter_and_prometheus(self):
        exporter, port = free_port(), free_port()
        self.start("prometheus-node-exporter", "--collector.disable-defaults",
                   "--collector.textfile", f"--collector.textfile.directory={self.textfile}",
                   f"--web.listen-address=127.0.0.1:{exporter}")
        until(lambda: get(exporter, "/metrics"))
        configuration = self.scratch / "prometheus.yml"
        configuration.write_text(json.dumps({
            "global": {"scrape_interval": "1s", "evaluation_interval": "1s"},
            "rule_files": [str(RULES)],
            "scrape_configs": [{"job_name": "node",
                                "static_configs": [{"targets": [f"127.0.0.1:{exporter}"]}]}],
        }), encoding="utf-8")
        self.start("prometheus", f"--config.file={configuration}",
                   f"--storage.tsdb.path={self.scratch}/data",
                   f"--web.listen-address=127.0.0.1:{port}")
        until(lambda: get(port, "/-/ready"))
        return port

    def value(self, port, expression):
        """Returns the value of an expression, or None unless it has exactly one."""
        query = urllib.parse.urlencode({"query": expression})
        result = json.loads(get(port, f"/api/v1/query?{query}"))["data"]["result"]
        return float(result[0]["value"][1]) if len(result) == 1 else None

    def firing(self, port):
        alerts = json.loads(get(port, "/api/v1/alerts"))["data"]["alerts"]
        return {alert["labels"]["alertname"] for alert in alerts if alert["state"] == "firing"}

    def test_alert_of_failing_rows_fires_and_resolves(self):
        good = 'row "a" "Compliant" "" "" "" ""\n'
        bad = 'row "b" "Not \\"so\\" compliant" "" "" "" ""\n'
        self.evaluate(good + bad + "finish\n", "--strict", "Compliant")
        port = self.start_exporter_and_prometheus()
        until(lambda: self.firing(port) == {"ComplianceRowsFailing"})
        self.assertEqual(
            self.value(port, 'clientcompliance_rows{result="Not \\"so\\" compliant"}'), 1)
        self.assertEqual(self.value(port, "clientcompliance_failing_rows"), 1)
        self.assertEqual(self.value(port, "node_textfile_scrape_error"), 0)
        self.evaluate(good + good + "finish\n", "--strict", "Compliant")
        until(lambda: self.firing(port) == set())
        self.assertEqual(self.value(port, 'clientcompliance_rows{result="Compliant"}'), 2)

    def test_failed_run_raises_an_alert_and_keeps_the_last_success(self):
        self.evaluate('row "a" "Compliant" "" "" "" ""\nfinish\n')
        port = self.start_exporter_and_prometheus()
        success = "clientcompliance_last_success_timestamp_seconds"
        before = until(lambda: self.value(port, success))
        self.assertLess(abs(time.time() - before), LIMIT)
        self.evaluate("")
        until(lambda: self.firing(port) == {"ComplianceEvaluationFailed"})
        self.assertEqual(self.value(port, success), before)
        self.assertGreaterEqual(
            self.value(port, "clientcompliance_last_run_timestamp_seconds"), before)
        self.assertEqual(self.value(port, "clientcompliance_exit_status"), 3)

    def test_dashboard_and_rules_use_only_written_metrics(self):
        self.evaluate('row "a" "Compliant" "" "" "" ""\nfinish\n', "--strict", "Compliant")
        written = set(re.findall(r"^# TYPE (\w+) gauge$", self.metrics.read_text(encoding="utf-8"),
                                 re.M))
        for text in (DASHBOARD, RULES):
            used = set(re.findall(r"clientcompliance_\w+", text.read_text(encoding="utf-8")))
            with self.subTest(text=text.name):
                self.assertEqual(used - written, set())
                self.assertTrue(used)


if __name__ == "__main__":
    unittest.main()
