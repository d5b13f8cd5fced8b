#!/usr/bin/python3
"""The files for git, editors and hooks, and the answers to the criteria of best practices."""

import json
import re
import shutil
import unittest

import yaml

from support import SOURCE, ScratchTest, commit_all, must, project_files, scratch_repository


def read(name):
    return (SOURCE / name).read_text(encoding="utf-8")


class AttributesTest(ScratchTest):
    def test_preserve_bytes_with_automatic_line_ends(self):
        names = sorted(project_files())
        self.assertIn("fuzz/corpus/Response/finished", names)
        scratch_repository(self.root / "first", names)
        commit_all(self.root / "first")
        must("git", "clone", "--quiet", "--config", "core.autocrlf=true", "first", "second",
             directory=self.root)
        changed = [name for name in names
                   if (self.root / "second" / name).read_bytes() != (SOURCE / name).read_bytes()]
        self.assertEqual(changed, [])


class ClangdTest(unittest.TestCase):
    def setUp(self):
        self.fragments = list(yaml.safe_load_all(read(".clangd")))

    def test_uses_the_build_folder_of_a_preset(self):
        if not (SOURCE / "CMakePresets.json").exists():
            self.skipTest("CMakePresets.json does not exist")
        presets = json.loads(read("CMakePresets.json"))["configurePresets"]
        folders = set()
        for preset in presets:
            if not preset.get("hidden"):
                folder = next((p["binaryDir"] for p in (preset, *presets) if "binaryDir" in p), "")
                folders.add(folder.replace("${sourceDir}/", "")
                            .replace("${presetName}", preset["name"]))
        self.assertIn(self.fragments[0]["CompileFlags"]["CompilationDatabase"], folders)

    def test_removes_only_existing_options(self):
        text = "".join(read(name) for name in project_files()
                       if name.endswith((".cmake", "CMakeLists.txt")))
        for option in self.fragments[0]["CompileFlags"]["Remove"]:
            self.assertRegex(text, re.escape(option) + r"\b")


class HooksTest(unittest.TestCase):
    def test_hooks_run_only_scripts_and_installed_programs(self):
        repositories = yaml.safe_load(read(".pre-commit-config.yaml"))["repos"]
        self.assertEqual([each["repo"] for each in repositories], ["local"])
        for hook in repositories[0]["hooks"]:
            self.assertEqual(hook["language"], "system")
            program = hook["entry"].split()[0]
            if "/" in program:
                self.assertTrue(shutil.which(SOURCE / program), program)
            else:
                self.assertRegex(read("scripts/setup"), rf"(?m)^{re.escape(program)} ")


class BestPracticesTest(unittest.TestCase):
    def test_have_evidence_or_a_reason_for_each_criterion(self):
        rows = re.findall(r"(?m)^\| `(\w+)` \| (.*?) \| (.*) \|$", read("docs/best-practices.md"))
        self.assertEqual(len(rows), len({criterion for criterion, _, _ in rows}))
        # The passing level has 67 criteria, and silver has 48 more.
        self.assertEqual(len(rows), 67 + 48)
        for criterion, status, text in rows:
            with self.subTest(criterion=criterion):
                self.assertIn(status, ("met", "not met", "not applicable"))
                self.assertTrue("](" in text if status == "met" else text)


if __name__ == "__main__":
    unittest.main(verbosity=2)
