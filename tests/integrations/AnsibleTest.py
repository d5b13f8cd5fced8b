#!/usr/bin/python3
"""The Ansible collection with the real Ansible: over SSH to a fleet of sandboxes, and without SSH."""

import base64
import json
import os
import pathlib
import re
import resource
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "packaging"))
from fleet import Fleet, write_stored_fleet  # noqa: E402
from results import failed, finished, row, write  # noqa: E402
from support import SOURCE  # noqa: E402

COLLECTION = "clientcompliance.fleet"
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
    "broken": r"the agent's answer cannot be read .*\(bad-answer, exit status 6\)",
    "hung": r"the agent did not take the request in time .*\(time-out, exit status 5\)",
    "missing": r"the agent is not installed.*\(no-agent, exit status 3\)",
}
EVALUATE = ["-e", "fleet_url=http://example.com/", "-e", "fleet_document=Baseline.xml"]


class AnsibleTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(scratch.cleanup)
        cls.scratch = pathlib.Path(scratch.name)
        build = cls.run_program("ansible-galaxy", "collection", "build", SOURCE / "integrations/ansible",
                                "--output-path", cls.scratch)
        assert build.returncode == 0, build.stderr
        (archive,) = cls.scratch.glob("*.tar.gz")
        install = cls.run_program("ansible-galaxy", "collection", "install", archive, "--offline",
                                  "-p", cls.scratch / "collections")
        assert install.returncode == 0, install.stderr

    @classmethod
    def run_program(cls, *command, timeout=280, **environment):
        path = f"{pathlib.Path(os.environ['CC_QUERY']).parent}:{os.environ['PATH']}"
        return subprocess.run(
            list(map(str, command)), stdin=subprocess.DEVNULL, capture_output=True, text=True,
            timeout=timeout, cwd=cls.scratch,
            env={"PATH": path, "HOME": str(cls.scratch), "LC_ALL": "C.UTF-8",
                 "ANSIBLE_COLLECTIONS_PATH": str(cls.scratch / "collections"),
                 "ANSIBLE_SSH_ARGS": "-o ControlMaster=no", "ANSIBLE_FORKS": "9",
                 "ANSIBLE_NOCOWS": "1", "ANSIBLE_PIPELINING": "1", "ANSIBLE_LOCALHOST_WARNING": "False", **environment})

    def play(self, status, playbook, *arguments, **more):
        """Returns the output of ansible-playbook, which must exit with this status."""
        made = self.run_program("ansible-playbook", "-i", self.hosts, playbook, *arguments, **more)
        self.assertEqual(made.returncode, status, made.stdout + made.stderr)
        return made.stdout

    def play_report(self, status, directory, *arguments, **more):
        return self.play(status, f"{COLLECTION}.report", "-e", f"fleet_directory={directory}",
                         "-e", '{"fleet_good": ["Compliant"]}', *arguments, **more)


class FleetTest(AnsibleTest):
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
        for wrong in ("name: ../x", 'url: "x\\ty"', "document: 'a\"b'", "good: []", "good: ['a,b']",
                      "good: ['a\\b']"):
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


class DocumentationTest(AnsibleTest):
    def documented(self, name, kind="module"):
        made = self.run_program("ansible-doc", "-j", "-t", kind, f"{COLLECTION}.{name}")
        self.assertEqual((made.returncode, made.stderr), (0, ""))
        return json.loads(made.stdout)[f"{COLLECTION}.{name}"]

    def test_every_option_is_documented_with_its_default(self):
        sys.path.insert(0, str(self.scratch / "collections"))
        from ansible_collections.clientcompliance.fleet.plugins.modules import evaluate, regressions
        for module in (evaluate, regressions):
            options = self.documented(module.__name__.split(".")[-1])["doc"]["options"]
            self.assertEqual(set(options), set(module.ARGUMENTS))
            for name, option in options.items():
                self.assertTrue(option["description"])
                for fact in ("type", "default", "elements", "choices"):
                    self.assertEqual(option.get(fact), module.ARGUMENTS[name].get(fact), (name, fact))

    def test_repeated_defaults_are_equal(self):
        collection = SOURCE / "integrations/ansible"
        plugin = (collection / "plugins/action/collect.py").read_text()
        tasks = (collection / "playbooks/tasks/report.yml").read_text()
        readme = (collection / "README.md").read_text()
        options = self.documented("collect")["doc"]["options"]
        self.assertEqual(re.findall(r"`fleet_(max_age|keep)` .*; default `?(\w+)", readme),
                         [("max_age", options["max_age"]["default"]),
                          ("keep", str(options["keep"]["default"]))])
        self.assertEqual(re.findall(r"(?m)^DEFAULT_KEEP = (\d+)$", plugin),
                         [str(options["keep"]["default"])])
        self.assertEqual(re.findall(r"fleet_max_age \| default\('(\w+)'\)", tasks),
                         [options["max_age"]["default"]])

    def test_collect_accepts_the_options_of_evaluate(self):
        evaluate = self.documented("evaluate")["doc"]["options"]
        collect = self.documented("collect")["doc"]["options"]
        self.assertEqual(set(collect) - set(evaluate), {"directory", "keep", "node_name"})
        for name, option in evaluate.items():
            for fact in ("description", "type", "default", "elements", "choices"):
                self.assertEqual(option.get(fact), collect[name].get(fact), (name, fact))

    def test_examples_and_return_values_are_documented(self):
        for name in ("evaluate", "collect", "regressions"):
            page = self.documented(name)
            self.assertIn(f"{COLLECTION}.{name}:", page["examples"])
            for value in page["return"].values():
                self.assertTrue(value["description"] and value["returned"] and value["type"])

    def test_role_options_are_documented(self):
        page = self.documented("agent_compliance", "role")
        defaults = (SOURCE / "integrations/ansible/roles/agent_compliance/defaults/main.yml").read_text()
        self.assertEqual(set(page["entry_points"]["main"]["options"]),
                         set(re.findall(r"(?m)^(\w+):", defaults)))


BECOME = """#!/bin/sh
echo become >>{0}
while [ "$1" != /bin/sh ]; do shift; done
exec "$@"
"""


class LocalFleetTest(AnsibleTest):
    """The playbook with stored results, reached without SSH."""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.directory = pathlib.Path(scratch.name)
        self.fleet = self.directory / "fleet"
        self.hosts = self.directory / "hosts"
        self.write_inventory(["web1"])

    def write_inventory(self, hosts, *variables):
        self.hosts.write_text("\n".join([
            *hosts, "[all:vars]", "ansible_connection=local",
            "ansible_python_interpreter=/usr/bin/python3",
            f"fleet_path={self.directory}/stored/{{{{ inventory_hostname }}}}.json", *variables]))

    def document(self, host, content, night=0):
        """Returns the content if it is a document, or a document with a row of this result."""
        return content if isinstance(content, dict) else \
            finished([row(content)], host=host, age=86400 * night)

    def store(self, host, content):
        write(self.directory / f"stored/{host}.json", self.document(host, content))

    def put(self, host, night, content):
        """Stores a collected result of an earlier night."""
        name = time.strftime("%Y%m%dT%H%M%S.000Z.json", time.gmtime(time.time() - 86400 * night))
        return write(self.fleet / f"results/{host}/{name}",
                     self.document(host, content, night))

    def report(self, status, *more, **environment):
        output = self.play_report(status, self.fleet, *more, **environment)
        return re.sub(r"(?<!\\)\\n", "\n", output)

    def regressions(self):
        return (self.fleet / "regressions.txt").read_text(encoding="utf-8")

    def stored_hosts(self):
        return {path.parent.name: json.loads(path.read_text())["provenance"]["host"]
                for path in (self.fleet / "results").glob("*/*.json")}

    def test_result_of_another_host_is_not_stored(self):
        self.write_inventory(["web1", "web2", "web3"])
        self.store("web1", "Compliant")
        self.store("web2", finished([row("Bad")], host="web1"))
        document = finished([row("Bad")], host="web3")
        document["provenance"]["hostBase64"] = base64.b64encode(b"web1").decode()
        self.store("web3", document)
        output = self.report(2)
        for host in ("web2", "web3"):
            self.assertRegex(output, rf"(?m)^{host}: the result was not stored: it is of the host "
                                     rf"'web1', expected '{host}'; node_name sets another name")
        self.assertEqual(self.stored_hosts(), {"web1": "web1"})

    def test_host_is_reported_by_its_node_name(self):
        self.write_inventory(["web1", "web2"], "fleet_node_name={{ inventory_hostname }}.example.com")
        for host in ("web1", "web2"):
            self.store(host, finished([row("Compliant")], host=f"{host}.example.com"))
        self.report(0)
        self.assertEqual(self.stored_hosts(), {"web1": "web1.example.com", "web2": "web2.example.com"})
        self.assertEqual((self.fleet / "hosts").read_text(), "web1.example.com\nweb2.example.com\n")
        entries = json.loads((self.fleet / "report.json").read_text())["entries"]
        self.assertEqual([(entry["host"], entry["conditions"]) for entry in entries],
                         [("web1.example.com", []), ("web2.example.com", [])])
        output = self.report(2, "-e", "fleet_node_name=web1.example.com")
        self.assertIn("expected another fleet_node_name for each host", output)

    def test_run_names_hosts_and_files_with_problems(self):
        self.store("web1", "Compliant")
        self.put("former", 0, "Compliant")
        self.put("web1", 2, {})
        output = self.report(2)
        self.assertRegex(output, r"(?m)^ *former: not-expected$")
        self.assertRegex(output, r'(?m)^ */.*/results/web1/.*json:1:\d+: expected the member')
        self.assertNotIn("fresh result", output)

    def test_adversarial_host_names_are_not_templated(self):
        mark = self.directory / "templated"
        text = "{{ lookup('pipe', 'touch " + str(mark) + "') }}"
        self.write_inventory(["web1", "web3"])
        self.store("web1", finished([row("Compliant")], host=text + "\nweb2: fine"))
        self.put("other", 0, finished([row("Compliant")], host=text))
        document = failed(host="web3")
        document["message"] = text + "\nweb2: fine"
        self.store("web3", document)
        output = self.report(2)
        self.assertGreater(output[output.index("[Name the hosts"):].count(str(mark)), 2, output)
        self.assertNotRegex(output[output.index("[Name the hosts"):], "(?m)^web2: fine")
        self.assertFalse(mark.exists())

    def test_adversarial_times_are_refused_in_one_line(self):
        self.write_inventory(["web1", "web2"])
        for host, text in (("web1", "0001-01-01T00:00:00.000+10:00"), ("web2", "9999-12-31T23:59:59-01:00")):
            document = finished([row("Compliant")], host=host)
            document["provenance"].update(start=text, end=text)
            self.store(host, document)
        output = self.report(2, "--tags", "collect", "-e", "fleet_max_age=590000h")
        for host in ("web1", "web2"):
            self.assertRegex(output, rf"(?m)^{host}: the result was not stored: a time is outside of")
        self.assertNotIn("Traceback", output)

    def test_regressions_are_changes_since_the_previous_night(self):
        self.put("web1", 1, finished([row("Compliant", "password"), row("Bad", "telnet")],
                                     host="web1", age=86400))
        self.store("web1", finished([row("Bad", "password"), row("Bad", "telnet")], host="web1"))
        self.report(0)
        self.assertRegex(self.regressions(), r"(?s)web1.*~ password.*Compliant.*Bad")
        self.assertNotIn("telnet", self.regressions())

    def test_regressions_of_an_earlier_night_are_not_reported_again(self):
        self.put("web1", 7, "Compliant")
        self.put("web1", 6, "Bad")
        self.store("web1", failed(host="web1"))
        self.report(2)
        self.assertRegex(self.regressions(), "^web1: not compared: the evaluation failed: .*\n$")
        self.write_inventory(["web1"], "fleet_path=/nonexistent")
        shutil.rmtree(self.fleet)
        self.put("web1", 7, "Compliant")
        self.put("web1", 6, "Bad")
        self.report(2)
        self.assertEqual(self.regressions(),
                         "web1: not compared: the result is 144 h old, more than 26 h\n")

    def test_only_results_of_one_document_are_compared(self):
        self.write_inventory(["web1", "web2"])
        self.put("web2", 3, "Compliant")
        for host in ("web1", "web2"):
            other = finished([row("Compliant")], host=host, age=86400)
            other["provenance"]["document"] = "Other.xml"
            self.put(host, 1, other)
            self.store(host, "Bad")
        self.report(0)
        self.assertEqual(re.findall(r"(?m)^\+\+\+ .*/results/(\w+)/", self.regressions()), ["web2"])
        self.assertIn("web1: not compared: there is no earlier fresh result of this document",
                      self.regressions().splitlines())

    def test_damaged_results_make_the_run_fail(self):
        damaged = self.put("web1", 1, {})
        damaged.write_text(json.dumps(finished([row("Compliant")], host="web1"))[:300])
        self.store("web1", "Bad")
        output = self.report(2)
        self.assertRegex(output, rf"(?m)^ *web1: not compared: {damaged}: not JSON")
        self.assertRegex(self.regressions(), rf"^web1: not compared: {damaged}: not JSON.*\n$")

    def test_modes_of_files_do_not_depend_on_the_umask(self):
        self.store("web1", "Compliant")
        for mask in (0, 0o077):
            former = os.umask(mask)
            try:
                self.report(0)
            finally:
                os.umask(former)
            modes = {str(path.relative_to(self.directory)).split("/Z")[0]: path.stat().st_mode & 0o777
                     for path in [self.fleet, *self.fleet.rglob("*")]}
            self.assertEqual(len(modes), 8)
            for name, mode in modes.items():
                is_directory = (self.directory / name).is_dir()
                self.assertEqual(oct(mode), oct(0o750 if is_directory else 0o640), name)
            shutil.rmtree(self.fleet)

    def test_become_applies_to_managed_hosts_only(self):
        self.store("web1", "Compliant")
        log = self.directory / "log"
        sudo = self.directory / "sudo"
        sudo.write_text(BECOME.format(log))
        sudo.chmod(0o755)
        self.report(0, "--become", ANSIBLE_BECOME_EXE=str(sudo), ANSIBLE_BECOME_ALLOW_SAME_USER="1")
        self.assertEqual(log.read_text(), "become\n")

    def call(self, host, module, arguments, *more, **environment):
        """Returns the return values of one module on one host."""
        made = self.run_program("ansible", "-o", "-i", self.hosts, host, "-m", module,
                                "-a", json.dumps(arguments), *more, **environment)
        (text,) = re.findall(r"(?m)^[\w.]+ \| [A-Z!]+:? *=> (\{.*\})$", made.stdout)
        return json.loads(text)

    def collect(self, document, *more, host="web1", **arguments):
        self.store(host, document)
        return self.call(host, f"{COLLECTION}.collect",
                         {"directory": str(self.fleet / "results"), **arguments,
                          "path": str(self.directory / f"stored/{host}.json")}, *more)

    def find_regressions(self, *more, good="Compliant", **environment):
        return self.call("localhost", f"{COLLECTION}.regressions",
                         {"directory": str(self.fleet / "results"), "good": good,
                          "dest": str(self.fleet / "regressions.txt")}, *more, **environment)

    def collected(self, host="web1"):
        return sorted(path.name for path in (self.fleet / "results" / host).iterdir())

    def test_failed_results_do_not_replace_results_with_rows(self):
        good = self.put("web1", 9, "Compliant")
        older = self.put("web1", 10, "Compliant")
        bad = [self.put("web1", night, failed(host="web1", age=night * 86400))
               for night in (3, 2, 1)]
        name = pathlib.Path(self.collect(failed(host="web1"), keep=2)["file"]).name
        self.assertEqual(self.collected(), [older.name, good.name, bad[2].name, name])
        name = pathlib.Path(self.collect("Bad", keep=1)["file"]).name
        self.assertEqual(len(self.collected()), 2)
        self.assertIn(name, self.collected())

    def test_results_from_the_future_are_removed_first(self):
        former = self.put("web1", 1, "Compliant")
        for night in (-5, -9):
            self.put("web1", night, "Compliant")
        name = pathlib.Path(self.collect("Bad", keep=2)["file"]).name
        self.assertEqual(self.collected(), [former.name, name])
        # If the clock of the host is ahead, the new result remains.
        ahead = self.collect(finished([row("Bad")], host="web1", age=-7200), keep=1)
        self.assertEqual(self.collected(), [pathlib.Path(ahead["file"]).name])

    def test_check_mode_writes_nothing(self):
        self.put("web1", 1, "Compliant")
        document = self.document("web1", "Bad")
        values = self.collect(document, "--check", keep=1)
        self.assertEqual((values["changed"], len(self.collected())), (True, 1))
        self.collect(document)
        values = self.find_regressions("--check")
        self.assertEqual((values["changed"], values["regressed"]), (True, ["web1"]))
        self.assertFalse((self.fleet / "regressions.txt").exists())

    def test_second_run_changes_nothing(self):
        self.put("web1", 1, "Compliant")
        document = finished([row("Bad")], host="web1")
        for is_changed in (True, False):
            self.assertEqual(self.collect(document)["changed"], is_changed)
            self.assertEqual(self.find_regressions()["changed"], is_changed)

    def test_host_name_may_contain_dots_but_not_begin_with_one(self):
        self.write_inventory(["web1.example.com", ".web1"])
        document = finished([row("Compliant")], host="web1.example.com")
        self.collect(document, host="web1.example.com")
        self.assertEqual(len(self.collected("web1.example.com")), 1)
        made = self.run_program("ansible", "-i", self.hosts, ".web1", "-m",
                                f"{COLLECTION}.collect", "-a", f"directory={self.fleet}/results")
        self.assertIn("'.web1' cannot be the name of a directory", made.stdout)
        self.assertEqual(os.listdir(self.fleet / "results"), ["web1.example.com"])

    def test_failed_night_is_skipped_in_the_comparison(self):
        self.put("web1", 2, "Compliant")
        self.put("web1", 1, failed(host="web1", age=86400))
        self.collect("Bad")
        self.assertEqual(self.find_regressions()["regressed"], ["web1"])

    def test_host_fails_if_compliance_diff_fails(self):
        self.put("web1", 1, "Compliant")
        self.collect("Bad")
        values = self.find_regressions(good=["Compliant", "Compliant"])
        self.assertEqual(values["regressed"], [])
        self.assertRegex(values["failures"]["web1"], "compliance-diff: .*twice")
        self.assertRegex(self.regressions(), "^web1: not compared: compliance-diff: .*\n$")

    def test_hosts_without_results_are_listed_once(self):
        self.write_inventory(["web1", "web2"], "fleet_node_name={{ inventory_hostname }}.example.com")
        self.store("web1", failed(host="web1.example.com"))
        output = self.report(2)
        message = output[output.index("[Name the hosts"):].split("PLAY RECAP")[0]
        self.assertIn("2 of 2 hosts have no fresh result:", message)
        self.assertEqual(len(re.findall(r"(?m)^ *web1[.:]", message)), 1, message)

    def test_comment_of_a_configuration_may_have_several_lines(self):
        config = self.directory / "ansible.cfg"
        config.write_text("[defaults]\nansible_managed = Managed by Ansible\n  URL=x\n")
        template = SOURCE / "integrations/ansible/roles/agent_compliance/templates/instance.conf.j2"
        written = self.directory / "nightly.conf"
        self.call("web1", "ansible.builtin.template", {"src": str(template), "dest": str(written)},
                  "-e", json.dumps({"item": {"name": "nightly", "good": ["Compliant"]}}),
                  ANSIBLE_CONFIG=str(config))
        lines = [line for line in written.read_text().splitlines() if not line.startswith("#")]
        self.assertEqual(lines, ["GOOD_RESULTS=Compliant"])
        self.assertIn("# Managed by Ansible\n", written.read_text())

    def test_evaluate_compares_UTF_8_in_the_C_locale(self):
        module = self.scratch / "collections/ansible_collections/clientcompliance/fleet/plugins/modules/evaluate.py"
        self.store("web1", finished([row("d\u00e9faut")], host="web1"))
        for good, failed_ in (("d\u00e9faut", None), ("d\ufffdfaut", True), ("\ud800", True)):
            arguments = {"path": str(self.directory / "stored/web1.json"), "good": [good]}
            (self.directory / "arguments.json").write_text(json.dumps({"ANSIBLE_MODULE_ARGS": arguments}))
            made = self.run_program(
                "/usr/bin/python3", module, self.directory / "arguments.json",
                LC_ALL="C", PYTHONUTF8="0", PYTHONCOERCECLOCALE="0",
                PYTHONPATH=str(self.scratch / "collections"))
            self.assertEqual(json.loads(made.stdout).get("failed"), failed_, made.stdout + made.stderr)


class LargeFleetTest(AnsibleTest):
    """Stored results of CC_FLEET_HOSTS hosts, reached without SSH."""

    def test_newest_result_of_every_host_is_kept(self):
        hosts = int(os.environ.get("CC_FLEET_HOSTS", "12"))
        write_stored_fleet(self.scratch / "stored", hosts)
        self.hosts = self.scratch / "stored/hosts"
        more = {"timeout": 7200, "ANSIBLE_FORKS": "8"}
        start = time.monotonic()
        self.play_report(0, self.scratch / "fleet", "-e", "fleet_keep=1", "-e", "fleet_max_age=48h",
                         "-e", f"fleet_path={self.scratch}/stored/{{{{ inventory_hostname }}}}/night0.json",
                         **more)
        print(f"{hosts} hosts: {time.monotonic() - start:.0f} s, largest process "
              f"{resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss // 1024} MiB", file=sys.stderr)
        self.play_report(0, self.scratch / "fleet", "-e", "fleet_keep=1", **more)
        collected = sorted((self.scratch / "fleet/results").glob("*/*.json"))
        self.assertEqual([path.parent.name for path in collected],
                         [f"host{number:05}" for number in range(hosts)])
        for path in collected[:10]:
            newest = json.loads((self.scratch / "stored" / path.parent.name / "night1.json").read_text())
            self.assertEqual(json.loads(path.read_text()), newest)


if __name__ == "__main__":
    for program in ("ansible-playbook", "ssh", "/usr/sbin/sshd", "ssh-keygen"):
        if shutil.which(program) is None:
            sys.exit(f"AnsibleTest.py: {program} is missing; scripts/setup consumers installs it")
    unittest.main(verbosity=2)
