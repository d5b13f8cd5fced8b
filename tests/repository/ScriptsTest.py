#!/usr/bin/python3
"""The usage messages of the scripts."""

import unittest

from support import SOURCE, must


def scripts_with_options():
    """Returns the Python scripts that parse options with argparse."""
    paths = sorted((SOURCE / "scripts").iterdir())
    return [path for path in paths if "import argparse\n" in path.read_text(encoding="utf-8")]


class UsageTest(unittest.TestCase):
    def test_each_script_prints_its_help(self):
        scripts = scripts_with_options()
        self.assertIn(SOURCE / "scripts/mutate", scripts)
        for script in scripts:
            with self.subTest(script=script.name):
                usage = must("python3", script, "--help", directory=SOURCE)
                self.assertTrue(usage.startswith("usage: "), usage)
                self.assertNotIn("{'prog'", usage)


if __name__ == "__main__":
    unittest.main()
