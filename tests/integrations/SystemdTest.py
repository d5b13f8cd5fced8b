#!/usr/bin/python3
"""The units compliance-evaluate@.service and .timer, run by the real systemd with an agent."""

import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest
import zoneinfo
from datetime import datetime, timedelta, timezone

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "packaging"))
from support import SOURCE, START_AGENT  # noqa: E402
from systemd_sandbox import run_under_systemd, stage_components  # noqa: E402

SERVICE = "compliance-evaluate@nightly.service"
TIMER = "compliance-evaluate@nightly.timer"
GOOD = 'row "a" "Compliant" "" "" "" ""\n'
BAD = 'row "b" "Bad" "" "" "" ""\n'
CONFIG = """
URL=http://example.com/
DOCUMENT="Base & line.xml"
GOOD_RESULTS=Compliant
KEEP_RESULTS='2'
"""
# The functions of each script.
START = START_AGENT + r"""
stand_in=/usr/local/libexec/clientcompliance/VeskaClient
requests=/var/opt/VeskaClient/RequestDir
metrics=/var/cache/compliance-evaluate
results=/var/lib/compliance-evaluate/nightly

grant() {
    chgrp -R compliance $requests
    chmod -R g+rwX $requests
}
store() {  # $1: file, $2: outcome
    install -d -o compliance-evaluate -g compliance-evaluate -m 750 $results
    printf '{"schemaVersion":1,"outcome":"%s"}\n' "$2" >"$results/$1"
}
start() {
    if systemctl start compliance-evaluate@nightly.service 2>/opt/errors; then
        echo success
    else
        echo "failure, status $(systemctl show -P ExecMainStatus compliance-evaluate@nightly.service)"
    fi
}
"""


def setUpModule():
    global stage
    stage = pathlib.Path(tempfile.mkdtemp(prefix="cc-systemd-"))
    stage_components(stage, "systemd", "companions", "demo")


def tearDownModule():
    shutil.rmtree(stage)


class UnitFilesTest(unittest.TestCase):
    def run_analyze(self, *arguments):
        return subprocess.run(["systemd-analyze", *arguments], capture_output=True, text=True,
                              timeout=60,
                              env={**os.environ, "SYSTEMD_UNIT_PATH": str(self.units) + ":"})

    def setUp(self):
        (service,) = stage.glob("**/compliance-evaluate@.service")
        (program,) = stage.glob("**/compliance-evaluate")
        self.units = stage / "units"
        self.units.mkdir()
        self.addCleanup(shutil.rmtree, self.units)
        shutil.copy(service.with_suffix(".timer"), self.units)
        text = service.read_text(encoding="utf-8")
        started = re.search(r"(?m)^ExecStart=(\S+) %i$", text)[1]
        self.assertEqual(stage / started[1:], program)
        # verify looks for the program.
        (self.units / service.name).write_text(text.replace(started, f'"{program}"'), encoding="utf-8")

    def test_systemd_reports_no_problem_in_the_units(self):
        made = self.run_analyze("verify", "--man=no", self.units / SERVICE, self.units / TIMER)
        self.assertEqual((made.returncode, made.stdout, made.stderr), (0, "", ""))

    def test_exposure_is_below_2(self):
        made = self.run_analyze("security", "--offline=true", "--no-pager", "--threshold=19",
                                self.units / "compliance-evaluate@.service")
        self.assertEqual(made.returncode, 0, made.stdout + made.stderr)
        (exposure,) = re.findall(r"Overall exposure level .*: ([\d.]+) ", made.stdout)
        self.assertLess(float(exposure), 2.0)


def clock_changes(zone, year):
    """Returns the days on which clocks of the zone are set forward, and the offsets around each."""
    noons = [datetime(year, 1, 1, 12, tzinfo=timezone.utc) + timedelta(day) for day in range(365)]
    offsets = [noon.astimezone(zone).utcoffset() for noon in noons]
    return {(noon.date(), before, after)
            for noon, before, after in zip(noons[1:], offsets, offsets[1:]) if before < after}


class TimerTest(unittest.TestCase):
    # The maximum age in check_compliance and the Ansible collection, less the random delay.
    MAX_HOURS = 26 - 0.75

    def elapses(self, expression, zone, day):
        """Returns the first runs after the start of the previous day, in UTC."""
        made = subprocess.run(
            ["systemd-analyze", "calendar", f"--base-time={day - timedelta(1)} 00:00:00",
             "--iterations=3", expression], capture_output=True, text=True, check=True, timeout=60,
            env={**os.environ, "TZ": zone})
        found = re.findall(r"\(in UTC\): \w+ (\S+ \S+) UTC", made.stdout)
        self.assertEqual(len(found), 3, made.stdout)
        return list(map(datetime.fromisoformat, found))

    def test_no_clock_change_of_any_zone_skips_a_night(self):
        (timer,) = stage.glob("**/compliance-evaluate@.timer")
        (expression,) = re.findall(r"(?m)^OnCalendar=(.*)$", timer.read_text(encoding="utf-8"))
        zones = {}
        for name in sorted(zoneinfo.available_timezones()):
            for change in clock_changes(zoneinfo.ZoneInfo(name), 2026):
                zones.setdefault(change, name)
        self.assertIn("Africa/Cairo", zones.values())
        for (day, *_), name in zones.items():
            runs = self.elapses(expression, name, day)
            with self.subTest(zone=name, day=day):
                for former, run in zip(runs, runs[1:]):
                    self.assertLessEqual(run - former, timedelta(hours=self.MAX_HOURS))


class ServiceTest(unittest.TestCase):
    def run_service(self, script, scenario=GOOD + "finish\n", config=CONFIG):
        configure = "mkdir -p /etc/clientcompliance\n" + (
            f"cat >/etc/clientcompliance/nightly.conf <<'END'{config}END\n" if config else "")
        agent = f"start_agent '{scenario}' $stand_in\n" if scenario else ""
        return run_under_systemd(stage, START + configure + agent + script)

    def test_run_stores_result_and_metrics_and_prints_one_line(self):
        output = self.run_service("""
            grant; touch /run/mark; sleep 0.1
            start
            # All places to which a service could write, without files of the machine.
            find /run/changes /opt /srv /root /tmp /var/opt /var/lib /var/cache /var/tmp \\
                -newer /run/mark -type f ! -path /opt/says -printf '%p %m %u:%g\\n' | sort
            stat -c '%a %U:%G' $results /var/cache/compliance-evaluate
            echo '--'; cat /run/journal; echo '--'; cat $results/*.json
        """)
        facts, journal, result = output.split("--\n")
        user = "compliance-evaluate:compliance-evaluate"
        self.assertRegex(facts, rf"""^success
/opt/errors 644 root:root
/var/cache/compliance-evaluate/nightly.prom 644 {user}
/var/lib/compliance-evaluate/nightly/\d{{8}}T\d{{6}}Z\.json 644 {user}
/var/opt/VeskaClient/RequestDir/lockfile 644 {user}
/var/opt/VeskaClient/ResponseDir/response.xml 644 root:root
750 {user}
755 {user}
$""")
        self.assertEqual(journal, "nightly: Base & line.xml: 1 row, 0 not good\n")
        document = json.loads(result)
        self.assertEqual((document["outcome"], document["provenance"]["document"]),
                         ("finished", "Base & line.xml"))
        self.assertEqual([row["designator"] for row in document["rows"]], ["a"])

    def test_bad_rows_fail_the_unit_only_if_configured(self):
        output = self.run_service("""
            grant; start; cat /run/journal
            mkdir /run/systemd/system/compliance-evaluate@.service.d
            printf '[Service]\\nSuccessExitStatus=\\n' \\
                >/run/systemd/system/compliance-evaluate@.service.d/status.conf
            systemctl daemon-reload; start
        """, scenario=GOOD + BAD + "finish\n")
        self.assertEqual(output, "success\nnightly: Base & line.xml: exit status 10: 1 of 2 rows have a "
                                 "result that GOOD_RESULTS does not list: 'b' ('Bad')\n"
                                 "failure, status 10\n")

    def test_failed_evaluation_keeps_older_results_and_its_status(self):
        output = self.run_service("""
            grant
            for day in 01 02; do store 202601${day}T000000Z.json finished; done
            for day in 03 04; do store 202601${day}T000000Z.json failed; done
            start
            cat /run/journal; cd $results; ls | cut -c1-4,7,8; grep -h failed * | tail -n 1
        """, scenario="garbage\n")
        head, result = output.rsplit("\n", 2)[:2]
        self.assertEqual(json.loads(result)["exitStatus"], 6)
        lines = head.splitlines()
        self.assertEqual(lines[0], "failure, status 6")
        self.assertRegex(lines[1], r"^nightly: Base & line\.xml: exit status 6: the agent's response "
                                   r"cannot be read \(code -7\)$")
        self.assertEqual(lines[2:5], ["202601", "202602", "202604"])
        self.assertEqual(len(lines), 6)

    def test_oldest_results_of_each_kind_are_removed(self):
        output = self.run_service("""
            grant
            for day in 01 03 05; do store 202601${day}T000000Z.json finished; done
            for day in 02 04 06; do store 202601${day}T000000Z.json failed; done
            store notes.json finished; store 20260101T000000Z.json.AbCdEf finished
            install -d -o compliance-evaluate -g compliance-evaluate $metrics
            touch $metrics/nightly.prom.AbCdEf $metrics/weekly.prom.AbCdEf
            start; cd $results; ls 20260* notes*; ls $metrics
        """, config=CONFIG.replace("'2'", "2 "))
        self.assertEqual(output.split(),
                         ["success", "20260104T000000Z.json", "20260105T000000Z.json", "20260106T000000Z.json",
                          "notes.json", "nightly.prom", "weekly.prom.AbCdEf"])

    def test_results_from_the_future_are_removed_first(self):
        output = self.run_service("""
            grant
            for year in 2025 2026 2098 2099; do store ${year}0101T000000Z.json finished; done
            start; cd $results; cat 202[67]*Z.json | grep -c provenance; ls 20[259][056789]0101*
        """)
        self.assertEqual(output.split(), ["success", "1", "20260101T000000Z.json"])

    def test_future_results_are_removed_first_without_a_new_result(self):
        output = self.run_during_evaluation("""
            for year in 2025 2026 2098 2099; do store ${year}0101T000000Z.json finished; done
            kill -KILL $(pgrep -x compliance-quer)
            until systemctl is-failed --quiet compliance-evaluate@nightly.service; do sleep 0.1; done
            cd $results; ls *Z.json
        """)
        self.assertEqual(output.split(), ["20250101T000000Z.json", "20260101T000000Z.json"])

    def test_31_results_are_kept_by_default(self):
        output = self.run_service("""
            grant
            for day in $(seq 10 45); do store 202601${day}T000000Z.json finished; done
            start; ls $results | wc -l
        """, config="\n")
        self.assertEqual(output, "success\n31\n")

    def test_missing_configuration_is_reported_in_one_line(self):
        output = self.run_service("grant; start; cat /run/journal; ls $results", config=None)
        self.assertEqual(output, "failure, status 2\n"
                                 "nightly: exit status 2: /etc/clientcompliance/nightly.conf: "
                                 "cannot be read: No such file or directory\n")

    def test_configuration_does_not_reach_shell_or_environment(self):
        output = self.run_service("""
            grant; store 20260101T000000Z.json finished
            start; cat /run/journal; ls $results; ls /tmp/abused 2>/dev/null || true
        """, config="\nPATH=/tmp\nKEEP_RESULTS=$(touch /tmp/abused)\n")
        self.assertEqual(
            output, "failure, status 2\n"
            "nightly: exit status 2: /etc/clientcompliance/nightly.conf:1: 'PATH' is not a key; "
            "accepted: URL, DOCUMENT, FLAGS, GOOD_RESULTS, KEEP_RESULTS\n20260101T000000Z.json\n")

    def test_missing_permission_is_reported(self):
        output = self.run_service("touch $requests/lockfile; start; cat /run/journal")
        self.assertRegex(output, r"^failure, status 7\nnightly: .* exit status 7: .*cannot write to .*lockfile")

    def test_does_not_start_without_directories_of_the_agent(self):
        output = self.run_service("start; cat /opt/errors /run/journal; ls /var/lib", scenario=None)
        self.assertEqual(output, f"failure, status 0\nAssertion failed on job for {SERVICE}.\n")

    def run_during_evaluation(self, script, rows=GOOD):
        """Runs the script while the service polls an evaluation."""
        start = """
            grant
            systemctl start --no-block compliance-evaluate@nightly.service
            until grep -q Progress /opt/says; do sleep 0.1; done
        """
        return self.run_service(start + script, scenario=f"progress 50\n{rows}finish\n")

    def test_stop_closes_the_evaluation_without_a_failure(self):
        output = self.run_during_evaluation("""
            systemctl stop compliance-evaluate@nightly.service
            grep -c Close /opt/says; cat /run/journal
            systemctl is-failed compliance-evaluate@nightly.service || true
        """)
        self.assertRegex(output, r"^1\nnightly: Base & line\.xml: exit status 143: .*\ninactive\n$")

    def test_limits_of_a_run_are_below_the_limit_of_systemd(self):
        output = self.run_during_evaluation("""
            tr '\\0' ' ' </proc/$(pgrep -x compliance-quer)/cmdline; echo
            systemctl show -P TimeoutStartUSec compliance-evaluate@nightly.service
            systemctl stop compliance-evaluate@nightly.service
        """)
        command, limit = output.splitlines()
        self.assertIn(" --wait 10m --timeout 25m ", command)
        self.assertEqual(limit, "30min")

    def test_file_name_is_the_time_in_UTC_in_another_zone(self):
        output = self.run_service("""
            ln -sf /usr/share/zoneinfo/Asia/Tokyo /etc/localtime
            grant; date -u +%Y%m%dT%H; date +%Z; start; date -u +%Y%m%dT%H; ls $results
        """)
        before, zone, _, after, name = output.split()
        self.assertEqual(zone, "JST")
        self.assertIn(name[:11], (before, after))

    def test_number_of_rows_is_printed_in_a_UTF_8_locale(self):
        # In one of the three URLs the first 200 bytes of the result end within a character.
        output = self.run_service("""
            grant
            mkdir /run/systemd/system/compliance-evaluate@.service.d
            printf '[Service]\\nEnvironment=LC_ALL=C.UTF-8\\n' \\
                >/run/systemd/system/compliance-evaluate@.service.d/locale.conf
            systemctl daemon-reload
            for begin in x xx xxx; do
                sed -i "s|^URL=.*|URL=$begin$(printf '\u4e2d%.0s' $(seq 100))|" \
                    /etc/clientcompliance/nightly.conf
                start; sleep 1
            done
            cat /run/journal
        """)
        self.assertEqual(output, "success\n" * 3 + "nightly: Base & line.xml: 1 row, 0 not good\n" * 3)

    def test_several_messages_are_joined_to_one_journal_line(self):
        output = self.run_during_evaluation("""
            chown root $metrics
            start; cat /run/journal
        """, rows=BAD)
        self.assertRegex(output, r"^failure, status \d+\nnightly: Base & line\.xml: exit status "
                                 r"\d+: .*GOOD_RESULTS.*nightly\.prom.*\n$")

    def test_timer_starts_within_its_window_and_after_a_missed_run(self):
        output = self.run_service(f"""
            systemctl is-enabled {SERVICE} {TIMER} || true
            systemctl enable --quiet {TIMER}
            next() {{
                date -d "$(systemctl show -P NextElapseUSecRealtime {TIMER})" "$1"
            }}
            systemctl start {TIMER}; next +%H%M
            systemctl stop {TIMER}
            mkdir -p /var/lib/systemd/timers
            touch -d '3 days ago' /var/lib/systemd/timers/stamp-{TIMER}
            systemctl start {TIMER}
            echo $(($(next +%s) - $(date +%s)))
        """)
        lines = output.splitlines()
        self.assertEqual(lines[:2], ["static", "disabled"])
        self.assertTrue("0430" <= lines[2] <= "0515", lines)
        self.assertLessEqual(int(lines[3]), 45 * 60)


class MaintainerScriptsTest(unittest.TestCase):
    """The maintainer scripts of the packages, on a machine with two instances."""

    def run_scripts(self, script):
        def quoted(name):  # The source tree may be in a directory that the sandbox hides.
            path = SOURCE / f"debian/clientcompliance-systemd.{name}"
            return shlex.quote(path.read_text(encoding="utf-8"))

        head = f"""
            prerm() {{ sh -c {quoted("prerm")} prerm "$@"; }}
            postrm() {{ sh -c {quoted("postrm")} postrm "$@"; }}
            timers='compliance-evaluate@nightly.timer compliance-evaluate@weekly.timer'
            state() {{ systemctl is-active $timers | xargs; systemctl is-enabled $timers | xargs; }}
            systemctl enable --now --quiet $timers
        """
        return run_under_systemd(stage, START + head + script).splitlines()

    def test_removal_stops_and_disables_every_timer(self):
        for action in ("remove", "0"):  # The arguments of dpkg and rpm.
            lines = self.run_scripts(f"state; prerm {action} 2>/dev/null; state || true")
            self.assertEqual(lines, ["active active", "enabled enabled",
                                     "inactive inactive", "disabled disabled"])

    def test_upgrade_changes_no_timer(self):
        lines = self.run_scripts("prerm upgrade 1.0.0; prerm 1; state")
        self.assertEqual(lines, ["active active", "enabled enabled"])

    def test_removal_stops_a_running_evaluation(self):
        lines = self.run_scripts("""
            printf 'GOOD_RESULTS=Compliant\\n' >/etc/clientcompliance/nightly.conf
            start_agent 'progress 50' $stand_in; grant
            systemctl start --no-block compliance-evaluate@nightly.service
            until grep -q Progress /opt/says; do sleep 0.1; done
            prerm remove 2>/dev/null
            systemctl is-active compliance-evaluate@nightly.service || true
        """.replace("printf", "mkdir -p /etc/clientcompliance; printf", 1))
        self.assertEqual(lines, ["inactive"])

    def test_only_purge_removes_results_and_metrics(self):
        lines = self.run_scripts("""
            store 20260101T000000Z.json finished
            mkdir -p $metrics; : >$metrics/nightly.prom
            prerm remove 2>/dev/null; postrm remove
            ls $results $metrics/nightly.prom
            postrm purge
            ls /var/lib /var/cache /var/lib/systemd/timers
        """)
        self.assertEqual(lines, ["/var/cache/compliance-evaluate/nightly.prom", "",
                                 "/var/lib/compliance-evaluate/nightly:", "20260101T000000Z.json",
                                 "/var/cache:", "", "/var/lib:", "systemd", "",
                                 "/var/lib/systemd/timers:"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
