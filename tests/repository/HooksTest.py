#!/usr/bin/python3
"""The pre-commit hooks, in a scratch repository."""

import unittest

from support import ScratchTest, must, run, scratch_repository

FORMATTED = "int main() { return 0; }\n"


class FormatHookTest(ScratchTest):
    def setUp(self):
        super().setUp()
        scratch_repository(self.root, [".clang-format", ".pre-commit-config.yaml"])
        # scripts/check needs the whole tree of the project.
        self.environment = {"SKIP": "check", "PRE_COMMIT_HOME": str(self.root / ".git/cache")}
        must("pre-commit", "install", directory=self.root, **self.environment)

    def commit(self, name, text):
        (self.root / name).write_text(text, encoding="utf-8")
        must("git", "add", name, directory=self.root)
        return run("git", "commit", "--message=Change", directory=self.root, **self.environment)

    def test_commits_a_formatted_source(self):
        result = self.commit("main.cpp", FORMATTED)
        self.assertEqual(result.returncode, 0, result.stdout)

    def test_rejects_and_formats_an_unformatted_source(self):
        for name in ("main.cpp", "main.h", "main.c"):
            with self.subTest(name=name):
                result = self.commit(name, "int main( ){return 0 ;}\n")
                self.assertNotEqual(result.returncode, 0)
                self.assertIn("format of C and C++ sources", result.stdout)
                self.assertEqual((self.root / name).read_text(encoding="utf-8"), FORMATTED)
                must("git", "rm", "--quiet", "--force", name, directory=self.root)

    def test_does_not_change_other_files(self):
        result = self.commit("notes.md", "int main( ){return 0 ;}\n")
        self.assertEqual(result.returncode, 0, result.stdout)


if __name__ == "__main__":
    unittest.main(verbosity=2)
