#!/usr/bin/python3
"""The Ansible collection over SSH to sandboxes with agents."""

import json
import os
import pathlib
import re
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "packaging"))
from collection import COLLECTION, CollectionTest, require  # noqa: E402
from fleet import Fleet  # noqa: E402
from results import failed, finished, row, write  # noqa: E402

GOOD = 'row "one" "Compliant" "" "" "" ""\n'
BAD = 'row "two" "Not Compliant" "" "" "" ""\n'
MARK = "/opt/templated"
TEMPLATE = "{{ lookup('pipe', 'touch " + MARK + "') }}"
SCENARIOS = {
    "web1": GOOD + GOOD + "finish\n",
    "web2": GOOD + BAD + "finish\n",
    "web3": f'row "{TEMPLATE}" "{{{{ 7 * 7 }}}}" "" "" "" ""\nfinish\n',
    "web4": 'row "caf\\xE9" "caf\\xE9" "" "" "" ""\nfinish\n',
    "web5": "progress 50\n" + GOOD + "finish\n",
    "broken": "garbage\n",
    "hung": "open silence\nprogress 1\n",
    "missing": None,
}
REASONS = {
    "broken": r"the agent's response cannot be read .*\(bad-answer, exit status 6\)",
    "hung": r"the agent did not take the request in time .*\(time-out, exit status 5\)",
    "missing": r"the agent is not installed.*\(no-agent, exit status 3\)",
}
EVALUATE = ["-e", "fleet_url=http://example.com/", "-e", "fleet_document=Baseline.xml"]


class FleetTest(CollectionTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.fleet = Fleet(cls.scratch, SCENARIOS)
        cls.hosts = cls.scratch / "hosts"
        cls.addClassCleanup(cls.fleet.stop)

    def call(self, hosts, module, arguments, *more):
        """Returns the return values of the module, by host."""
        made = self.run_program("ansible", "-o", "-i", self.hosts, hosts, "-m",
                                f"{COLLECTION}.{module}" if "." not in module else module,
                                "-a", arguments, *more)
        found = re.findall(r"(?m)^(\w+) \| [A-Z!]+:? *=> (\{.*\})$", made.stdout)
        self.assertTrue(found, made.stdout + made.stderr)
        return {host: json.loads(text) for host, text in found}

    def shell(self, host, command):
        return self.run_program("ansible", "-i", self.hosts, host, "-m", "ansible.builtin.shell",
                                "-a", command).stdout

    def is_templated(self, host):
        return self.call(host, "ansible.builtin.stat", f"path={MARK}")[host]["stat"]["exists"] or \
            os.path.exists(MARK)

    def remove_request(self):
        """Removes the request that the hung agent left, because it blocks the next evaluation."""
        self.call("hung", "ansible.builtin.file",
                  "path=/var/opt/VeskaClient/RequestDir/request.xml state=absent")

    def store(self, host, document):
        file = write(self.scratch / "stored.json", document)
        self.call(host, "ansible.builtin.copy", f"src={file} dest=/opt/stored.json")

    def copy_systemctl(self, host):
        systemctl = self.scratch / "systemctl"
        systemctl.write_text(SYSTEMCTL, encoding="utf-8")
        self.call(host, "ansible.builtin.copy",
                  f"src={systemctl} dest=/usr/local/bin/systemctl mode=0755")

    def test_report_lists_missing_hosts_and_reasons_of_failures(self):
        self.remove_request()
        output = self.play_report(2, self.scratch / "fleet", *EVALUATE)
        message = output[output.index("TASK [Name the hosts"):].replace("\\n", "\n")
        self.assertIn("4 of 9 hosts have no fresh result", message)
        for host, reason in REASONS.items():
            self.assertRegex(message, rf"(?m)^{host}: the evaluation failed: {reason}")
        self.assertRegex(message, r"(?m)^gone: .*(could not be sent|Failed to connect)")
        self.assertNotIn("web", message.split("PLAY RECAP")[0])

        stored = {path.parent.name: json.loads(path.read_text(encoding="utf-8"))
                  for path in (self.scratch / "fleet/results").glob("*/*.json")}
        self.assertEqual(set(stored), set(SCENARIOS))
        for host, document in stored.items():
            self.assertEqual(document["provenance"]["host"], host)
            self.assertEqual(document["outcome"], "failed" if host in REASONS else "finished")
        self.assertEqual(stored["web4"]["rows"][0]["resultBase64"], "Y2Fm6Q==")
        self.assertEqual((self.scratch / "fleet/hosts").read_text().split(),
                         sorted([*SCENARIOS, "gone"]))
        self.assertFalse(self.is_templated("web3"))

        # The page lists every expected host.
        page = (self.scratch / "fleet/report.html").read_text(encoding="utf-8")
        for host in [*SCENARIOS, "gone"]:
            self.assertIn(host, page)
        text = (self.scratch / "fleet/regressions.txt").read_text(encoding="utf-8")
        self.assertEqual([line.split(":")[0] for line in text.splitlines()], sorted(REASONS))

    def test_run_succeeds_if_every_host_has_a_result(self):
        self.play_report(0, self.scratch / "some", *EVALUATE, "-e", "fleet_hosts=web1,web3")
        self.assertFalse(self.is_templated("web3"))

    def test_evaluate_returns_rows_and_provenance_unchanged(self):
        found = self.call("web1,web3,web5", "evaluate", "default=true", "--check")
        for host, values in found.items():
            self.assertFalse(values["changed"])
            self.assertEqual(values["provenance"]["host"], host)
            self.assertEqual(values["row_count"], len(values["rows"]))
        self.assertEqual([one["designator"] for one in found["web1"]["rows"]], ["one", "one"])
        self.assertEqual(found["web3"]["rows"][0]["designator"], TEMPLATE)

    def test_evaluate_returns_reason_and_explanation_of_failures(self):
        self.remove_request()
        found = self.call("broken,hung,missing", "evaluate", "default=true")
        for host, status, word in (("broken", 6, "bad-answer"), ("hung", 5, "time-out"),
                                   ("missing", 3, "no-agent")):
            values = found[host]
            self.assertRegex(values["msg"], REASONS[host])
            self.assertEqual((values["exit_status"], values["failure"]), (status, word))
            self.assertRegex(values["explanation"],
                             rf"^{status} \({word}\): .*\nCause: .*\nRemedy: .*")

    def test_evaluate_fails_on_results_that_are_not_accepted(self):
        found = self.call("web1,web2", "evaluate", '{"default": true, "good": ["Compliant"]}')
        self.assertNotIn("failed", found["web1"])
        self.assertEqual(found["web2"]["msg"], "1 of 2 rows have a result that is not good: "
                                               "'two' is 'Not Compliant'")
        self.assertEqual([one["designator"] for one in found["web2"]["bad_rows"]], ["two"])
        self.assertEqual(found["web2"]["row_count"], 2)

    def test_evaluate_refuses_invalid_options(self):
        for arguments, reason in (("", "expected one of"), ("default=true path=/x", "expected one of"),
                                  ("url=x", "document"), ("path=/x max_age=1d", "max_age: '1d'"),
                                  ("default=true timeout=x", "--timeout"),
                                  ("default=true flags=x", "flags")):
            with self.subTest(arguments=arguments):
                self.assertIn(reason, self.call("web1", "evaluate", arguments)["web1"]["msg"])

    def test_evaluate_reads_a_fresh_stored_result(self):
        self.store("web1", finished([row("Compliant")], host="web1", age=3600))
        values = self.call("web1", "evaluate", "path=/opt/stored.json")["web1"]
        self.assertEqual((values["source"], values["row_count"]), ("/opt/stored.json", 1))
        self.assertLessEqual(3600, values["age_seconds"])
        values = self.call("web1", "evaluate", "path=/opt/stored.json max_age=59m")["web1"]
        self.assertRegex(values["msg"], "the result is 60 m old, more than 59 m")
        self.assertEqual(values["row_count"], 1)

    def test_evaluate_fails_without_a_fresh_stored_result(self):
        for document, reason in ((failed(), "not running"), (finished([]), "no rows"),
                                 (finished([row("x")], fresh=False), "before the request"),
                                 (finished([row("x")], age=-900), "from the future")):
            self.store("web1", document)
            with self.subTest(reason=reason):
                self.assertIn(reason, self.call("web1", "evaluate", "path=/opt/stored.json")["web1"]["msg"])
        values = self.call("web1", "evaluate", "path=/opt/none")["web1"]
        self.assertEqual(values["msg"], "/opt/none: No such file or directory")

    def test_messages_of_hosts_are_not_templated(self):
        document = failed(host="web1")
        document["message"] = TEMPLATE
        self.store("web1", document)
        output = self.play_report(2, self.scratch / "adversarial", "-e", "fleet_hosts=web1",
                                  "-e", "fleet_path=/opt/stored.json")
        self.assertEqual(output.count("touch " + MARK), 2, output)
        self.assertFalse(self.is_templated("web1"))

    def test_role_writes_the_configuration_and_enables_the_timer(self):
        self.copy_systemctl("web1")
        play = self.scratch / "role.yml"
        play.write_text(ROLE, encoding="utf-8")
        self.play(0, play)
        self.assertRegex(self.play(0, play), r"web1 +: ok=\d+ +changed=0 ")
        text = self.shell("web1", "cat /etc/clientcompliance/nightly.conf /run/systemctl.log")
        for line in ("URL=http://example.com/a b", "DOCUMENT=R&D baseline.xml", "FLAGS=gather,idle",
                     "GOOD_RESULTS=Compliant,Not Applicable", "KEEP_RESULTS=7",
                     "enable compliance-evaluate@nightly.timer",
                     "start compliance-evaluate@nightly.timer"):
            self.assertIn(line, text.splitlines())
        self.assertFalse(os.path.exists("/etc/clientcompliance/nightly.conf"), "not in the sandbox")

    def test_role_accepts_switches_of_the_command_line(self):
        self.copy_systemctl("web2")
        play = self.scratch / "switches.yml"
        play.write_text(ROLE.replace("hosts: web1", "hosts: web2").replace("keep: 7", "keep: 20000"),
                        encoding="utf-8")
        self.play(0, play, "-e", "agent_compliance_timer=false", "-e", "agent_compliance_check=no")
        text = self.shell("web2", "cat /etc/clientcompliance/nightly.conf; ls /run/unit.*")
        self.assertIn("KEEP_RESULTS=20000", text)
        self.assertNotIn("unit.start", text)

    def test_role_keeps_a_configuration_if_the_new_one_is_invalid(self):
        self.copy_systemctl("web5")
        play = self.scratch / "invalid.yml"
        for keep, status in (("7", 0), ("20000", 2)):
            play.write_text(ROLE.replace("hosts: web1", "hosts: web5").replace("keep: 7", f"keep: {keep}"),
                            encoding="utf-8")
            output = self.play(status, play)
        self.assertIn("nightly.new.conf:8: KEEP_RESULTS: '20000'", output)
        text = self.shell("web5", "cd /etc/clientcompliance; ls; cat nightly.conf")
        self.assertRegex(text, "(?m)^KEEP_RESULTS=7$")
        self.assertNotIn("new", text)

    def test_role_refuses_values_a_configuration_cannot_contain(self):
        play = self.scratch / "role.yml"
        for wrong in ("name: ../x", 'name: "nightly\\n"', 'url: "x\\ty"', "document: 'a\"b'",
                      "good: []", "good: ['a,b']", "good: ['a\\b']"):
            key = wrong.split(":")[0]
            text = re.sub(rf"(?m)^( +(?:- )?){key}: .*$", lambda match: match[1] + wrong, ROLE)
            play.write_text(text, encoding="utf-8")
            with self.subTest(wrong=wrong):
                output = self.play(2, play)
                self.assertIn("expected a name of letters", output)
                self.assertNotIn("Write the configuration", output)


# Keeps the state of units in /run, and logs commands that change it.
SYSTEMCTL = r"""#!/bin/sh
state() { [ -e "/run/unit.$1" ]; }
for name; do :; done
case " $* " in
*" show "*) echo "LoadState=loaded"; state start && echo ActiveState=active || echo ActiveState=inactive ;;
*" is-enabled "*) state enable && echo enabled || { echo disabled; exit 1; } ;;
*" enable "* | *" start "*) echo "$1 $name" >>/run/systemctl.log; : >"/run/unit.$1" ;;
esac
"""

ROLE = f"""
- hosts: web1
  gather_facts: false
  roles:
    - role: {COLLECTION}.agent_compliance
      agent_compliance_packages: []
      agent_compliance_instances:
        - name: nightly
          url: http://example.com/a b
          document: R&D baseline.xml
          flags: [gather, idle]
          good: [Compliant, Not Applicable]
          keep: 7
"""


if __name__ == "__main__":
    require("ansible-playbook", "ssh", "/usr/sbin/sshd", "ssh-keygen")
    unittest.main(verbosity=2)
