#!/usr/bin/python3
"""The presets of CMake: each can be configured, and scripts take their options from them."""

import json
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

from support import SOURCE, must

PRESETS = json.loads((SOURCE / "CMakePresets.json").read_text(encoding="utf-8"))
NEEDED = ["release", "debug", "asan", "coverage", "scalar", "bench", "fuzz"]


def names(kind):
    return [preset["name"] for preset in PRESETS[kind] if not preset.get("hidden")]


class PresetsTest(unittest.TestCase):
    def test_exist_for_configure_build_and_test(self):
        for kind in ("configurePresets", "buildPresets", "testPresets"):
            self.assertLessEqual(set(NEEDED), set(names(kind)), kind)

    def test_are_listed_by_cmake(self):
        for kind in ("configure", "build", "test"):
            listed = must("cmake", f"--list-presets={kind}", directory=SOURCE)
            for name in names(f"{kind}Presets"):
                self.assertIn(f'"{name}"', listed, kind)

    def test_configure_with_compile_commands(self):
        for name in names("configurePresets"):
            with self.subTest(name), tempfile.TemporaryDirectory() as build:
                # A compiler cache would be part of the commands.
                must("cmake", "--preset", name, "-B", build, directory=SOURCE,
                     CMAKE_CXX_COMPILER_LAUNCHER="", CMAKE_C_COMPILER_LAUNCHER="")
                cache = (pathlib.Path(build) / "CMakeCache.txt").read_text(encoding="utf-8")
                if name not in ("bench", "fuzz", "analyze"):
                    self.assertIn("BUILD_TESTING:BOOL=ON", cache)
                commands = json.loads((pathlib.Path(build) / "compile_commands.json")
                                      .read_text(encoding="utf-8"))
                files = {command["file"] for command in commands}
                self.assertIn(str(SOURCE / "tool/main.cpp"), files)
                # Without unity builds, so clangd has a command for each source.
                if name == "debug":
                    self.assertLessEqual(set(map(str, SOURCE.glob("tests/*/*Test.cpp"))), files)


class SetupTest(unittest.TestCase):
    LIBRARIES = {"nlohmann-json3-dev", "libkainjow-mustache-dev"}

    def packages(self, wanted):
        """Returns the packages of a set, except those of files outside of /usr/include."""
        # Installs nothing, because apt-get is not in PATH.
        done = subprocess.run(
            ["/usr/bin/unshare", "--map-root-user", "--mount", "/bin/sh", "-c",
             "/bin/mount -t tmpfs none /usr/include && PATH=/var/empty exec /bin/bash scripts/setup $1",
             "sh", wanted], cwd=SOURCE, capture_output=True, text=True, timeout=60)
        found = re.fullmatch(r"scripts/setup: cannot install without apt-get: (.*); .*\n", done.stderr)
        self.assertTrue(found, done.stderr)
        return set(found[1].split())

    def test_installs_libraries_of_companions_only_where_needed(self):
        self.assertEqual(self.packages("build") & self.LIBRARIES, set())
        presets = {preset["name"] for preset in PRESETS["configurePresets"]
                   if preset.get("cacheVariables", {}).get("CC_COMPANIONS")}
        self.assertIn("bench", presets)
        for wanted in presets | {"test", "consumers", "deb", "rpm"}:
            with self.subTest(wanted):
                self.assertLessEqual(self.LIBRARIES, self.packages(wanted))

    def test_scripts_with_companions_install_their_libraries(self):
        for script in (SOURCE / "scripts").iterdir():
            text = script.read_text(encoding="utf-8") if script.is_file() else ""
            if "CC_COMPANIONS=ON" in text:
                sets = re.findall(r'scripts/setup(?: |", ")([a-z]+)', text)
                with self.subTest(script.name):
                    self.assertTrue(any(self.LIBRARIES <= self.packages(each) for each in sets), sets)


class ScriptsTest(unittest.TestCase):
    def test_use_the_build_type_of_a_preset(self):
        for script in [SOURCE / ".ci/run", *(SOURCE / "scripts").iterdir()]:
            if script.is_file():
                text = script.read_text(encoding="utf-8")
                self.assertNotIn("-DCMAKE_BUILD_TYPE", text, script.name)
                self.assertNotIn("-DCC_SANITIZE", text, script.name)


if __name__ == "__main__":
    if shutil.which("clang++-14") is None:
        raise SystemExit("PresetsTest needs clang-14 (scripts/setup ci)")
    unittest.main()
