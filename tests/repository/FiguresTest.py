#!/usr/bin/python3
"""The tables of figures in the documentation: scripts/figures, and the tables of scripts/bench."""

import os
import re
import shutil
import sys
import unittest

from support import SOURCE, ScratchTest, must, run

sys.path.insert(0, str(SOURCE / "bench"))
import tables  # noqa: E402

PAGE = """# Figures

<!-- figures: scripts/one -->
| old one |
<!-- end of figures -->

Text between the tables.

<!-- figures: scripts/two
     --option -->
| old two |
<!-- end of figures -->
"""
ONE = "echo progress; printf '### One\\n| new one |\\n|---|\\n'"
TWO = 'echo "| new two $1 |"'


class RenewTest(ScratchTest):
    def setUp(self):
        super().setUp()
        (self.root / "docs").mkdir()
        (self.root / "scripts").mkdir()
        shutil.copy(SOURCE / "scripts/figures", self.root / "scripts")
        self.page = self.root / "docs/page.md"
        self.page.write_text(PAGE, encoding="utf-8")
        self.write_command("one", ONE)
        self.write_command("two", TWO)

    def write_command(self, name, text):
        path = self.root / "scripts" / name
        path.write_text(f"#!/bin/sh\n{text}\n", encoding="utf-8")
        path.chmod(0o755)

    def test_replaces_each_table_by_the_output_of_its_command(self):
        must("scripts/figures", directory=self.root)
        page = self.page.read_text(encoding="utf-8")
        self.assertIn("scripts/one -->\n\n### One\n| new one |\n|---|\n\n<!-- end", page)
        self.assertIn("--option -->\n\n| new two --option |\n\n<!-- end", page)
        self.assertIn("\nText between the tables.\n", page)
        for gone in ("old", "progress"):
            self.assertNotIn(gone, page)

    def test_replaces_only_tables_whose_command_contains_the_word(self):
        must("scripts/figures", "two", directory=self.root)
        page = self.page.read_text(encoding="utf-8")
        self.assertIn("| old one |", page)
        self.assertIn("| new two --option |", page)

    def test_keeps_or_renews_the_table_of_a_failed_command(self):
        for command, table in (("echo progress", "old one"), (ONE, "new one")):
            self.write_command("one", f"{command}; exit 3")
            done = run("scripts/figures", directory=self.root)
            self.assertEqual(done.returncode, 1)
            self.assertIn("scripts/one exited with 3", done.stdout)
            page = self.page.read_text(encoding="utf-8")
            self.assertIn(f"| {table} |", page)
            self.assertIn("| new two --option |", page)

    def test_rejects_a_word_that_no_command_contains(self):
        done = run("scripts/figures", "three", directory=self.root)
        self.assertEqual(done.returncode, 1)
        self.assertIn("no command contains three", done.stdout)
        self.assertEqual(self.page.read_text(encoding="utf-8"), PAGE)


class CommandsTest(unittest.TestCase):
    def test_are_executable_files_of_the_project(self):
        commands = must("scripts/figures", "--list", directory=SOURCE).splitlines()
        self.assertIn("scripts/gates", commands)
        for command in commands:
            self.assertTrue(os.access(SOURCE / command.split()[0], os.X_OK), command)

    def test_measure_every_subject_of_the_benchmarks(self):
        listing = (SOURCE / "bench/CMakeLists.txt").read_text(encoding="utf-8")
        subjects = re.findall(r"^ *add_subject\((\w+)", listing, re.M)
        self.assertIn("XmlEvents", subjects)
        commands = must("scripts/figures", "--list", directory=SOURCE).split()
        self.assertEqual([subject for subject in subjects if subject not in commands], [])


class TablesTest(unittest.TestCase):
    def ratio(self, operation, met):
        return {"operation": operation, "ours": "5 ns", "baseline": "icu", "best": False, "goal": 1.5,
                "ratio": 1.234, "quartile": 1.2, "met": met}

    def test_mark_ratios_below_the_goal(self):
        text = tables.as_markdown([self.ratio("Case/a", True), self.ratio("Case/b", False)])
        self.assertIn("### Case\n", text)
        self.assertIn("| a | 5 ns | icu | 1.23 | 1.20 | 1.5 | yes |", text)
        self.assertIn("| b | 5 ns | icu | 1.23 | 1.20 | 1.5 | **no** |", text)

    def test_mark_values_above_the_limit(self):
        row = {"operation": "whole-process/file", "ours": "", "counter": "file_mib", "value": 1.25,
               "limit": 1.1, "met": False}
        self.assertIn("| file | size | 1.25 MiB | 1.1 MiB | **no** |", tables.as_markdown([row]))

    def test_show_conversions_as_a_matrix_of_scripts(self):
        rows = [self.ratio("Transcode/utf8-utf16-ascii", True),
                self.ratio("Transcode/utf8-utf16-cjk", False),
                self.ratio("Transcode/stream-utf8-utf16-ascii", True)]
        text = tables.as_markdown(rows)
        self.assertIn("| whole texts, icu | ascii | cjk |\n|---|--:|--:|\n"
                      "| utf8-utf16 | 1.23 (1.20) | **1.23 (1.20)** |\n", text)
        self.assertIn("| streams, icu | ascii |\n", text)


if __name__ == "__main__":
    unittest.main()
