#!/usr/bin/python3
"""The documentation of the Ansible collection, read by ansible-doc."""

import json
import pathlib
import re
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "packaging"))
from collection import COLLECTION, CollectionTest, require  # noqa: E402
from support import SOURCE  # noqa: E402


class DocumentationTest(CollectionTest):
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


if __name__ == "__main__":
    require("ansible-doc")
    unittest.main(verbosity=2)
