#!/usr/bin/python3
"""The workflows for a public host, the scripts that they call, and the usage texts of scripts."""

import itertools
import json
import os
import re
import shutil
import subprocess
import unittest

import yaml

from support import SOURCE, must, project_files

PRESETS = SOURCE / "CMakePresets.json"


class SyntaxTest(unittest.TestCase):
    def test_every_yaml_file_satisfies_yamllint(self):
        endings = (".yml", ".yaml", ".clangd", ".clang-format", ".clang-tidy")
        names = [name for name in project_files() if name.endswith(endings)]
        rules = "{extends: relaxed, rules: {line-length: disable}}"
        result = subprocess.run(["yamllint", "--strict", "--format=parsable", "-d", rules, *names],
                                cwd=SOURCE, capture_output=True, text=True, timeout=60)
        self.assertEqual((result.returncode, result.stdout), (0, ""))


def workflows():
    for path in sorted((SOURCE / ".github/workflows").glob("*.yml")):
        yield path.name, yaml.safe_load(path.read_text(encoding="utf-8"))


def jobs():
    for workflow, content in workflows():
        for name, job in content["jobs"].items():
            yield f"{workflow}: {name}", job


def commands(job):
    """Yields the command of each step, once for each combination of the matrix."""
    matrix = job.get("strategy", {}).get("matrix", {})
    for step in job["steps"]:
        for values in itertools.product(*matrix.values()):
            command = step.get("run", "")
            for name, value in zip(matrix, values):
                command = command.replace(f"${{{{ matrix.{name} }}}}", value)
            if command:
                yield command


def known_words(script):
    """Returns the arguments of a script: targets, sections, or the words of its usage text."""
    if script == "scripts/fuzz":
        return set(os.listdir(SOURCE / "fuzz/corpus"))
    if script == "scripts/stress":
        listed = subprocess.run([SOURCE / script, "--list"], check=True, capture_output=True,
                                text=True, timeout=60).stdout
        return {line.split()[0] for line in listed.splitlines()}
    text = (SOURCE / script).read_text(encoding="utf-8")
    usage = re.findall(rf"{script}( .*)", text)
    return set(re.findall(r"(?<=[ |\[])[a-z-]+", " ".join(usage)))


class StepsTest(unittest.TestCase):
    def test_call_scripts_with_valid_arguments(self):
        for job, content in jobs():
            for command in commands(content):
                with self.subTest(job=job, command=command):
                    words = [word for word in command.split() if "=" not in word]
                    self.assertRegex(words[0], "^scripts/[a-z-]+$")
                    self.assertTrue(shutil.which(SOURCE / words[0]))
                    arguments = {word for word in words[1:] if not word.isdigit()}
                    self.assertLessEqual(arguments, known_words(words[0]) if arguments else set())

    def test_select_existing_presets(self):
        selected = {match for _, job in jobs() for command in commands(job)
                    for match in re.findall(r"\bPRESET=(\S+)", command)}
        self.assertTrue(selected)
        if not PRESETS.exists():
            self.skipTest("CMakePresets.json does not exist")
        presets = json.loads(PRESETS.read_text(encoding="utf-8"))["configurePresets"]
        self.assertLessEqual(selected, {preset["name"] for preset in presets})

    def test_run_all_targets_and_sections_each_week(self):
        weekly = dict(workflows())["weekly.yml"]["jobs"]
        for job, script in (("fuzz", "scripts/fuzz"), ("stress", "scripts/stress")):
            (values,) = weekly[job]["strategy"]["matrix"].values()
            self.assertEqual(sorted(values), sorted(known_words(script)))

    def test_run_slow_tests_each_week(self):
        weekly = dict(workflows())["weekly.yml"]["jobs"]
        self.assertIn("PRESET=ci scripts/test",
                      [command for job in weekly.values() for command in commands(job)])


class PermissionsTest(unittest.TestCase):
    def test_are_read_only(self):
        for name, content in workflows():
            self.assertEqual(content["permissions"], {"contents": "read"}, name)

    def test_every_job_has_a_timeout(self):
        for name, job in jobs():
            self.assertGreater(job["timeout-minutes"], 0, name)

    def test_use_pinned_actions_of_the_host_only(self):
        used = {step["uses"] for _, job in jobs() for step in job["steps"] if "uses" in step}
        self.assertTrue(used)
        for action in used:
            self.assertRegex(action, r"^actions/[a-z-]+@v\d+$")


class UsageTest(unittest.TestCase):
    def test_each_script_with_options_prints_its_help(self):
        scripts = [path for path in sorted((SOURCE / "scripts").iterdir())
                   if "import argparse\n" in path.read_text(encoding="utf-8")]
        self.assertIn(SOURCE / "scripts/mutate", scripts)
        for script in scripts:
            with self.subTest(script=script.name):
                usage = must("python3", script, "--help", directory=SOURCE)
                self.assertTrue(usage.startswith("usage: "), usage)
                self.assertNotIn("{'prog'", usage)


if __name__ == "__main__":
    unittest.main(verbosity=2)
