#!/usr/bin/python3
"""Arguments, messages and environment of the scripts, with stubs of the programs that they run."""

import os
import shutil
import unittest

from support import ScratchTest, run, scratch_repository

SCRIPTS = [".ci/run", *(f"scripts/{name}" for name in (
    "coverage", "demo", "fuzz", "gates", "hidden-characters", "package", "release", "setup", "test",
    "test-on"))]


class ScriptsTest(ScratchTest):
    """Each test has a copy of the scripts. Programs below `bin` replace those of the system."""

    def setUp(self):
        super().setUp()
        self.project = self.root / "project"
        scratch_repository(self.project, [*SCRIPTS, "CMakeLists.txt", "CHANGELOG.md"])
        self.path = f"{self.root}/bin:{os.environ['PATH']}"

    def write_stub(self, name, *lines):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("\n".join(["#!/bin/sh", *lines, ""]), encoding="utf-8")
        path.chmod(0o755)

    def execute(self, *command, **environment):
        return run(*command, directory=self.project, PATH=self.path, **environment)


class BuildTest(ScriptsTest):
    def test_scripts_print_the_errors_of_a_failed_build(self):
        self.write_stub("bin/cmake", '[ "$1" != --build ] || { echo "main.cpp:1: error"; exit 1; }')
        for name in ("bin/clang-format-14", "project/scripts/setup", "project/scripts/check",
                     "project/scripts/analyze"):
            self.write_stub(name)
        for command in ("scripts/demo", "scripts/gates", "scripts/test", ".ci/run"):
            with self.subTest(command):
                result = self.execute(command, BUILD_DIR="build/stub")
                self.assertNotEqual(result.returncode, 0)
                self.assertIn("main.cpp:1: error", result.stdout)


class PackageTest(ScriptsTest):
    def test_package_creates_directories_that_all_users_can_access(self):
        self.write_stub("project/scripts/setup")
        self.write_stub("bin/cmake", '[ "$3" != -B ] || mkdir -p "$4"')
        self.write_stub("bin/cpack", "mkdir -p packages/installed", "touch packages/a.rpm")
        result = self.execute("sh", "-c", "umask 077; scripts/package rpm")
        self.assertEqual(result.returncode, 0, result.stdout)
        (installed,) = self.project.rglob("installed")
        self.assertEqual(installed.stat().st_mode & 0o777, 0o755)

    def test_package_contains_a_tree_that_another_repository_ignores(self):
        shutil.rmtree(self.project / ".git")
        (self.root / ".gitignore").write_text("project/\n", encoding="utf-8")
        run("git", "init", "--quiet", ".", directory=self.root)
        self.write_stub("project/scripts/setup")
        self.write_stub("bin/dpkg-buildpackage", "touch ../`ls CHANGELOG.md`.deb")
        result = self.execute("scripts/package", "deb")
        self.assertEqual(result.returncode, 0, result.stdout)
        self.assertTrue((self.project / "build/packages/CHANGELOG.md.deb").exists())


class FolderTest(ScriptsTest):
    def test_scripts_use_their_own_tree_despite_cdpath(self):
        for folder in (".ci", "scripts"):
            (self.root / "other" / folder).mkdir(parents=True)
        self.write_stub("project/scripts/setup", 'echo "setup in $PWD"; exit 3')
        in_project = f"setup in {self.project.resolve()}\n"
        for command, message in (
                ("scripts/demo", in_project), ("scripts/test", in_project),
                ("scripts/coverage", in_project), ("scripts/package", in_project),
                ("scripts/fuzz", "the targets are"), (".ci/run", in_project),
                ("scripts/test-on", "usage: "),
                ("scripts/release", "the working tree has changes")):
            with self.subTest(command):
                result = self.execute(command, CDPATH=str(self.root / "other"))
                self.assertNotIn(str(self.root / "other"), result.stdout)
                self.assertIn(message, result.stdout)


class ArgumentsTest(ScriptsTest):
    def test_scripts_reject_unknown_arguments(self):
        self.write_stub("bin/apt-get", "echo installs")
        for command in (("scripts/setup", "hooks", "docs"), ("scripts/demo", "--help"),
                        ("scripts/hidden-characters", "--chek"),
                        ("scripts/fuzz", "XmlEvents", "1h"), ("scripts/fuzz", "XmlEvents", "")):
            with self.subTest(command):
                result = self.execute(*command)
                self.assertEqual(result.returncode, 2, result.stdout)
                self.assertTrue(result.stdout.startswith(f"usage: {command[0]}"), result.stdout)

    def test_test_rejects_folders_without_tests(self):
        (self.project / "tests/mutation").mkdir(parents=True)
        for name in ("mutation", "typo"):
            result = self.execute("scripts/test", name)
            self.assertEqual((result.returncode, result.stdout),
                             (2, f"scripts/test: tests/{name} is not a folder of tests\n"))

    def test_test_fails_without_a_matching_test(self):
        for name in ("bin/cmake", "project/scripts/setup"):
            self.write_stub(name)
        (self.project / "tests/data").mkdir(parents=True)
        (self.project / "tests/data/CMakeLists.txt").touch()
        build = self.project / "build/stub"
        (build / "tests/data").mkdir(parents=True)
        for folder in (build, build / "tests/data"):
            (folder / "CTestTestfile.cmake").write_text("add_test(known true)\n")
        for folder in ([], ["data"]):
            for name, passes in (("known", True), ("unknown", False)):
                with self.subTest(folder=folder, name=name):
                    result = self.execute("scripts/test", *folder, "-R", name, BUILD_DIR="build/stub")
                    self.assertEqual(result.returncode == 0, passes, result.stdout)


if __name__ == "__main__":
    unittest.main(verbosity=2)
