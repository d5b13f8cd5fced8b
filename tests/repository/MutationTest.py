#!/usr/bin/python3
"""Each survivor in tests/mutation/survivors.md is a mutant that scripts/mutate generates."""

import re
import runpy
import unittest

from support import SOURCE


class SurvivorsTest(unittest.TestCase):
    def test_are_mutants_of_the_product(self):
        script = runpy.run_path(str(SOURCE / "scripts/mutate"), run_name="mutate")
        text = (SOURCE / "tests/mutation/survivors.md").read_text(encoding="utf-8")
        entries = re.findall(r"^    (\S+\.(?:cpp|h): .*)", text, re.M)
        self.assertGreater(len(entries), 100)
        mutants = {mutant.key for path in {entry.split(":")[0] for entry in entries}
                   for mutant in script["mutants_of"](path)}
        self.assertEqual([entry for entry in entries if entry not in mutants], [])


if __name__ == "__main__":
    unittest.main()
