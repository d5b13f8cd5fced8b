#!/usr/bin/python3
"""The presets of CMake: each can be configured, and scripts take their options from them."""

import json
import pathlib
import shutil
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
