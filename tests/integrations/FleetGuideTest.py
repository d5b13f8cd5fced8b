#!/usr/bin/python3
"""Runs the commands of docs/fleet.md in their order, with the real systemd, Ansible and node_exporter.

Differences from the page:
- a stand-in agent
- further runs instead of the next nights
- one machine, which is also the controller and is reached without SSH
- files that are already installed
"""

import pathlib
import re
import shlex
import shutil
import sys
import tempfile
import unittest
from xml.etree import ElementTree

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "packaging"))
from support import SOURCE, START_AGENT  # noqa: E402
from systemd_sandbox import run_under_systemd, stage_components  # noqa: E402

PAGE = (SOURCE / "docs/fleet.md").read_text(encoding="utf-8")
COMMANDS = [command for block in re.findall(r"(?ms)^```sh\n(.*?)^```", PAGE)
            for command in block.replace("\\\n", "").splitlines()]
FILES = dict(re.findall(r"(?ms)`([^`\n]+)`:\n\n```\w+\n(.*?)^```", PAGE))
INVENTORY = """web1 ansible_connection=local ansible_python_interpreter=/usr/bin/python3
[all:vars]
agent_compliance_packages=[]
"""
ROWS = 'row "password" "{}" "" "" "" ""\nrow "telnet" "{}" "" "" "" ""\nfinish\n'
FIRST_NIGHT = shlex.quote(ROWS.format("Compliant", "Not Compliant"))
SECOND_NIGHT = shlex.quote(ROWS.format("Not Compliant", "Not Applicable"))
THIRD_NIGHT = shlex.quote(ROWS.format("Compliant", "Not Compliant"))
START = START_AGENT + r"""
hostname web1
stand_in=/usr/local/libexec/clientcompliance/VeskaClient
id -u nagios >/dev/null 2>&1 || useradd --system nagios
cp -R /usr/local/lib/nagios /usr/lib/
cp -R /usr/local/share/ansible /usr/local/share/clientcompliance /usr/share/
mkdir -p /etc/clientcompliance /var/lib/prometheus/node-exporter /root/fleet
cd /root/fleet
next_night() {  # $1: scenario
    kill $agent
    wait $agent || true
    start_agent "$1" $stand_in
    systemctl start compliance-evaluate@nightly.service
}
run() {  # $1: command, $2: expected status
    status=0
    bash -c "$1" >/run/output 2>&1 || status=$?
    echo "== $1"
    cat /run/output
    [ "$status" = "$2" ] || { echo "exit status $status"; exit 1; }
}
"""
# Shell commands that run before a command, which is identified by its beginning.
REPORT = "ansible-playbook -i hosts clientcompliance.fleet.report"
BEFORE = {
    "compliance-diff": f"next_night {SECOND_NIGHT}",
    REPORT: "run {0} 0; next_night " + THIRD_NIGHT,
}
# The expected exit statuses of the commands that do not exit with 0.
STATUS = {"compliance-report": 10, "compliance-diff": 1, "runuser": 2}
# Prints the results of the commands. node_exporter runs as its own user.
AFTER = r"""
echo "== metrics"
runuser -u prometheus -- prometheus-node-exporter --collector.disable-defaults --collector.textfile \
    --collector.textfile.directory=/var/lib/prometheus/node-exporter \
    --web.listen-address=127.0.0.1:9100 2>/run/exporter &
/usr/bin/python3 - <<'END'
import time, urllib.request
for _ in range(100):
    try:
        print(urllib.request.urlopen("http://127.0.0.1:9100/metrics").read().decode())
        break
    except OSError:
        time.sleep(0.1)
END
echo "== timer"
systemctl is-enabled compliance-evaluate@nightly.timer
systemctl is-active compliance-evaluate@nightly.timer
echo "== page"
cat /srv/compliance/report.html
echo "== suites"
cat /srv/compliance/report.xml
"""


def by_beginning(table, command, default):
    return next((value for beginning, value in table.items() if command.startswith(beginning)),
                default)


def file_script(path, content):
    return f"printf %s {shlex.quote(content)} >{shlex.quote(path)}"


class FleetGuideTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        stage = pathlib.Path(tempfile.mkdtemp(prefix="cc-fleet-"))
        cls.addClassCleanup(shutil.rmtree, stage)
        stage_components(stage, "systemd", "companions", "demo", "monitoring", "ansible")
        files = {**FILES, "hosts": INVENTORY}
        lines = [START, f"start_agent {FIRST_NIGHT} $stand_in",
                 *(file_script(path, content) for path, content in files.items())]
        for command in COMMANDS:
            lines.append(by_beginning(BEFORE, command, "").replace("{0}", shlex.quote(command)))
            lines.append(f"run {shlex.quote(command)} {by_beginning(STATUS, command, 0)}")
        # One more machine is expected than has results.
        silent = COMMANDS[-1].replace("--hosts /srv/compliance/hosts", "--hosts all")
        lines.append("(cat /srv/compliance/hosts; echo web2) >all")
        lines.append(f"run {shlex.quote(silent)} 12")
        parts = re.split(r"(?m)^== (.*)\n",
                         run_under_systemd(stage, "\n".join([*lines, AFTER]), timeout=300))
        cls.output = dict(zip(parts[1::2], parts[2::2]))

    def output_of(self, beginning):
        return next(text for title, text in self.output.items() if title.startswith(beginning))

    def test_runs_all_of_its_at_most_15_commands_in_order(self):
        self.assertLessEqual(len(COMMANDS), 15)
        self.assertEqual(list(self.output)[:len(COMMANDS)], COMMANDS)
        self.assertEqual(set(FILES), {"/etc/clientcompliance/nightly.conf", "hosts", "nightly.yml"})

    def test_report_of_one_machine_has_its_failing_row(self):
        self.assertRegex(self.output_of("compliance-report --strict"), r"telnet.*Not Compliant")

    def test_diff_of_two_nights_shows_the_changed_rows(self):
        self.assertRegex(
            self.output_of("compliance-diff"),
            r"(?s)~ password.*Compliant.*Not Compliant.*~ telnet.*Not Compliant.*Not Applicable")

    def test_node_exporter_reads_the_metrics(self):
        self.assertIn('clientcompliance_failing_rows{config="nightly",document="Baseline.xml"} 1\n',
                      self.output["metrics"])
        self.assertIn("node_textfile_scrape_error 0\n", self.output["metrics"])

    def test_plugin_reads_the_result_as_its_own_user(self):
        self.assertRegex(self.output_of("runuser"), r"^COMPLIANCE CRITICAL - 1 of 2 rows is bad: 'password'")

    def test_timer_is_enabled_and_runs(self):
        self.assertEqual(self.output["timer"], "enabled\nactive\n")

    def test_fleet_report_lists_the_machine_and_its_regression(self):
        self.assertRegex(self.output["page"], r'<th scope="row">web1</th>')
        regressions = self.output_of("cat /srv/compliance/regressions.txt")
        self.assertIn("~ telnet", regressions)
        self.assertNotIn("~ password", regressions)

    def test_fleet_report_lists_machine_without_a_result_first(self):
        suites = ElementTree.fromstring(self.output["suites"])
        self.assertEqual([suite.get("name") for suite in suites], ["web2", "web1 (Baseline.xml)"])
        self.assertEqual([suite.get("errors") for suite in suites], ["1", "0"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
