#!/usr/bin/python3
"""The Ansible collection on stored results, without SSH."""

import base64
import json
import os
import pathlib
import re
import resource
import shutil
import sys
import tempfile
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "packaging"))
from collection import COLLECTION, CollectionTest, require  # noqa: E402
from fleet import write_stored_fleet  # noqa: E402
from results import failed, finished, row, write  # noqa: E402
from support import SOURCE  # noqa: E402

BECOME = """#!/bin/sh
echo become >>{0}
while [ "$1" != /bin/sh ]; do shift; done
exec "$@"
"""


class LocalFleetTest(CollectionTest):
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

    def test_good_results_may_be_one_text(self):
        self.store("web1", "Compliant")
        for text, good in (("Compliant", ["Compliant"]), ("Fair, Compliant", ["Fair", "Compliant"])):
            self.report(0, "-e", json.dumps({"fleet_good": text}))
            report = json.loads((self.fleet / "report.json").read_text())
            self.assertEqual(report["options"]["acceptedResults"], good)
            self.assertEqual(report["totals"]["failingRows"], 0)

    def test_relative_directory_is_refused(self):
        self.store("web1", "Compliant")
        output = self.report(2, "-e", "fleet_directory=relative")
        self.assertIn("expected an absolute path as fleet_directory, not 'relative'", output)
        self.assertEqual(list(self.scratch.rglob("relative")), [])

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
        self.assertIn("web1: not compared: there is no earlier fresh result of this host, site and document",
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

    def test_failed_removal_is_reported_after_the_store(self):
        unreadable = self.fleet / "results/web1/20260101T000000.000Z.json"
        unreadable.mkdir(parents=True)
        values = self.collect("Compliant", keep=1)
        self.assertRegex(values["msg"], f"^older results were not removed: .*'{unreadable}'$")
        self.assertTrue(os.path.isfile(values["file"]))

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
        self.assertIn("the inventory name '.web1' must not begin with '.'", made.stdout)
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

    def write_configuration(self, instance, **environment):
        """Returns the configuration that the role writes for the instance."""
        template = SOURCE / "integrations/ansible/roles/agent_compliance/templates/instance.conf.j2"
        written = self.directory / "nightly.conf"
        self.call("web1", "ansible.builtin.template", {"src": str(template), "dest": str(written)},
                  "-e", json.dumps({"item": {"name": "nightly", **instance}}), **environment)
        return written.read_text()

    def test_comment_of_a_configuration_may_have_several_lines(self):
        config = self.directory / "ansible.cfg"
        config.write_text("[defaults]\nansible_managed = Managed by Ansible\n  URL=x\n")
        text = self.write_configuration({"good": ["Compliant"]}, ANSIBLE_CONFIG=str(config))
        lines = [line for line in text.splitlines() if not line.startswith("#")]
        self.assertEqual(lines, ["GOOD_RESULTS=Compliant"])
        self.assertIn("# Managed by Ansible\n", text)

    def test_lists_of_a_configuration_may_be_one_text(self):
        text = self.write_configuration({"good": "Compliant", "flags": "gather"})
        lines = [line for line in text.splitlines() if not line.startswith("#")]
        self.assertEqual(lines, ["FLAGS=gather", "GOOD_RESULTS=Compliant"])

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


class LargeFleetTest(CollectionTest):
    """Stored results of CC_FLEET_HOSTS hosts, reached without SSH."""

    def test_newest_result_of_every_host_is_kept(self):
        hosts = int(os.environ.get("CC_FLEET_HOSTS", "12"))
        write_stored_fleet(self.scratch / "stored", hosts)
        self.hosts = self.scratch / "stored/hosts"
        more = {"timeout": 7200, "ANSIBLE_FORKS": "8"}
        start = time.monotonic()
        self.play_report(0, self.scratch / "fleet", "-e", "fleet_keep=1", "-e", "fleet_max_age=48h",
                         "-e", f'fleet_path="{self.scratch}/stored/{{{{ inventory_hostname }}}}/night0.json"',
                         **more)
        print(f"{hosts} hosts: {time.monotonic() - start:.0f} s, largest process "
              f"{resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss // 1024} MiB", file=sys.stderr)
        self.play_report(0, self.scratch / "fleet", "-e", "fleet_keep=1", **more)
        collected = sorted((self.scratch / "fleet/results").glob("*/*.json"))
        self.assertEqual([path.parent.name for path in collected],
                         [f"host{number:05}" for number in range(hosts)])
        for path in collected:
            newest = json.loads((self.scratch / "stored" / path.parent.name / "night1.json").read_text())
            self.assertEqual(json.loads(path.read_text()), newest)


if __name__ == "__main__":
    require("ansible-playbook")
    unittest.main(verbosity=2)
