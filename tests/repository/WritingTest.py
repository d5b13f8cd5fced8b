#!/usr/bin/python3
"""scripts/check-writing finds sentences of more than 25 words, and other violations of the standard."""

import shutil
import unittest

from support import ScratchTest, run, scratch_repository

LONGEST = "Word " + "word " * 23 + "word."
TOO_LONG = "Word " + "word " * 24 + "word."


@unittest.skipIf(shutil.which("codespell") is None, "codespell is not installed")
class WritingTest(ScratchTest):
    def setUp(self):
        super().setUp()
        scratch_repository(self.root, ["scripts/check", "scripts/check-writing"])

    def findings(self, name, *lines):
        """Returns the findings in a file with these lines."""
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("\n".join(lines) + "\n", encoding="utf-8")
        output = run("scripts/check-writing", name, directory=self.root).stdout.splitlines()
        self.assertRegex(output.pop(), "1 files, [0-9]+ findings")
        return output

    def test_reports_that_there_is_no_git_work_tree(self):
        shutil.rmtree(self.root / ".git")
        result = run("scripts/check-writing", directory=self.root,
                     GIT_CEILING_DIRECTORIES=str(self.root.parent))
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stdout, "^scripts/check: cannot list the files of the project: fatal: ")

    def test_finds_long_sentences(self):
        finding = "sentence of 26 words: Word word word word word word ..."
        half = len(TOO_LONG) // 2 // 5 * 5
        for name, prefix in (("A.md", ""), ("A.h", "// "), ("A.py", "# "), ("docs/man/a.1", "")):
            lines = [prefix + "Short.", "", prefix + TOO_LONG[:half], prefix + TOO_LONG[half:]]
            self.assertEqual(self.findings(name, *lines), [f"{name}:3: {finding}"])
        docstring = ["def f():", '    """Short.', "", *("    " + line for line in lines[2:]), '    """']
        self.assertEqual(self.findings("A.py", *docstring), [f"A.py:4: {finding}"])

    def test_accepts_sentences_of_25_words(self):
        for text in (LONGEST, f"{LONGEST} {LONGEST}", LONGEST.replace(".", ": word."),
                     LONGEST.replace("Word", "`word word`")):
            self.assertEqual(self.findings("A.h", *(f"// {word}" for word in text.split(" "))), [])

    def test_counts_words_of_inline_macros(self):
        text = [".Nm", "word " * 23, ".Ar word", "word."]
        self.assertEqual(len(self.findings("docs/man/a.1", *text)), 1)
        self.assertEqual(self.findings("docs/man/a.1", *text[1:]), [])

    def test_ignores_examples_and_tables(self):
        short = TOO_LONG.replace("Word ", "Word  ")
        for name, lines in (("A.md", ["```", TOO_LONG, "```"]), ("A.md", ["    " + TOO_LONG[:90]]),
                            ("A.md", [f"| {TOO_LONG} |"]), ("A.h", [f"// {short}"]),
                            ("docs/man/a.1", [".Bd -literal", TOO_LONG, ".Ed"])):
            self.assertEqual(self.findings(name, *lines), [])

    def test_finds_sentences_after_examples(self):
        self.assertEqual(len(self.findings("A.md", "```", "x", "```", TOO_LONG[:90], TOO_LONG[90:])), 1)
        self.assertEqual(len(self.findings("docs/man/a.1", ".Bd -literal", "x", ".Ed", TOO_LONG)), 1)

    def test_finds_terms_headings_and_test_names(self):
        self.assertIn("use timeout", self.findings("A.h", "// The time limit of a run.")[0])
        self.assertIn("noun phrase", self.findings("A.md", "# What is this?")[-1])
        self.assertIn("60 characters", self.findings("A.cpp", f"TEST(A, {'B' * 61}) {{")[0])
        self.assertIn("use returns", self.findings("A.cpp", "TEST(A, YieldsNothing) {")[0])

    def test_finds_terms_in_messages(self):
        for name, line in (("A.cpp", 'Fail("the time limit expired");'),
                           ("A.py", 'print(f"{name}: the time limit expired")'),
                           ("CMakeLists.txt", 'option(CC_A "The time limit of tests" OFF)')):
            self.assertIn("use timeout", self.findings(name, line)[0])
            self.assertEqual(self.findings(f"tests/{name}", line), [])
        self.assertEqual(self.findings("A.cpp", 'if (word == "blank") return Find("blanks in", 1);'), [])


if __name__ == "__main__":
    unittest.main()
