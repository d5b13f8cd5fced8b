#!/usr/bin/python3
"""Coverage: scripts/gcov omits branches that were never reached; ctest creates the counters."""

import pathlib
import re
import tempfile
import unittest

from support import SOURCE, must

PROGRAM = """#include <string>
bool Check(int n) {
    if (n < 0)
        throw n;
    return n > 5;
}
std::string Join(bool first, int n) {
    std::string const text = first ? std::string("a") + std::to_string(n) : std::string("b");
    if (n > 3 && n < 9)
        return "c";
    return text;
}
int Handle(int n) {
    try {
        return Check(n);
    } catch (int) {
        return n < -9 ? 1 : 2;
    }
}
int main() { return static_cast<int>(Join(true, 1).size()) + Handle(9) - 3; }
"""


class GcovTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            (folder / "program.cpp").write_text(PROGRAM)
            must("g++", "-std=c++20", "--coverage", "program.cpp", "-o", "program", directory=folder)
            must(folder / "program", directory=folder)
            notes = next(folder.glob("*.gcda")).name
            must(SOURCE / "scripts/gcov", "--branch-probabilities", "--branch-counts", notes,
                 directory=folder)
            cls.text = (folder / "program.cpp.gcov").read_text()

    def branches(self, line):
        """Returns the branches of a line of the program that are not for exceptions."""
        block = re.search(rf":\s*{line}:.*\n((?:(?:call|branch|function).*\n)*)", self.text)[1]
        return [count for count, kind in
                re.findall(r"^branch +\d+ (?:taken )?(never executed|\d+)(.*)", block, re.M)
                if kind != " (throw)"]

    def test_keeps_branches_that_were_not_taken(self):
        self.assertEqual(self.branches(3), ["0", "1"])
        self.assertIn("0", self.branches(8))

    def test_omits_branches_that_were_never_reached(self):
        self.assertNotIn("never executed", " ".join(re.findall("^branch.*", self.text, re.M)))
        # Only the first of the two conditions was evaluated.
        self.assertEqual(self.branches(9), ["0", "1"])

    def test_keeps_lines_that_were_not_executed(self):
        for line in (4, 10, 17):
            self.assertRegex(self.text, rf"#####: +{line}:|=====: +{line}:")


class CountersTest(unittest.TestCase):
    def test_ctest_creates_counters_in_a_folder_with_a_space(self):
        with tempfile.TemporaryDirectory(suffix=" a") as name:
            must("cmake", "--preset", "coverage", "-B", name, directory=SOURCE)
            pathlib.Path(name, "program.gcno").touch()
            must("ctest", "--tests-regex", "none", directory=name)
            self.assertTrue(pathlib.Path(name, "program.gcda").exists())


if __name__ == "__main__":
    unittest.main()
