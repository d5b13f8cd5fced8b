#!/usr/bin/env python3
"""scripts/check-hardening accepts the shipped files, and no file that lacks a protection."""

import os
import subprocess
import unittest

from support import BUILD, CC, PREFIX, SOURCE, ScratchTest, library_directory, run

CHECK = SOURCE / "scripts/check-hardening"
PROGRAM = r"""
#include <string.h>
int Length(char const* text);
#ifndef FRAME
#define FRAME 64
#endif
int Length(char const* text) { char copy[FRAME]; strcpy(copy, text); return (int)strlen(copy); }
#ifdef WRITABLE_CODE
__asm__(".section .writable,\"awx\"\n ret\n .text");
#endif
int main(int count, char** arguments) { return count > 1 ? Length(arguments[1]) : 0; }
"""
HARDENED = ["-O2", "-fPIE", "-pie", "-fstack-protector-strong", "-fcf-protection",
            "-fstack-clash-protection", "-Wl,-z,relro,-z,now,-z,noexecstack"]
LIBRARY = ["-shared", "-fPIC", "-Wl,-soname,libx.so.1", "-Wl,-z,now"]
OBJECT = ["-c", "-O2", "-fstack-protector-strong", "-fcf-protection"]


def check(*paths):
    return subprocess.run([CHECK, *map(str, paths)], capture_output=True, text=True)


@unittest.skipUnless(os.environ.get("CC_HARDENED"), "the build is not hardened")
class ShippedFilesTest(unittest.TestCase):
    def test_are_hardened(self):
        programs = [path for path in (*PREFIX.glob("bin/*"), *PREFIX.glob("libexec/*/*"))
                    if path.read_bytes().startswith(b"\x7fELF")]
        self.assertGreaterEqual(len(programs), 2)
        # Also the objects, because the stripped tool does not show the stack protector.
        folders = ("tool", "compliance", "xml", "files", "strings", "unicode", "data")
        result = check(*programs, library_directory() / "libclientcompliance.so",
                       library_directory() / "libclientcompliance.a",
                       *(BUILD / folder / f"lib{folder}.a" for folder in folders))
        self.assertEqual((result.stdout, result.returncode), ("", 0))

    def test_use_the_checked_functions_of_the_c_and_cpp_library(self):
        undefined = run("nm", "-D", "--undefined-only",
                        library_directory() / "libclientcompliance.so")
        self.assertIn("__vsnprintf_chk", undefined)
        self.assertIn("__glibcxx_assert_fail", undefined)
        if os.environ.get("CC_FORTIFY_LEVEL") == "3":
            self.assertIn("__memcpy_chk", undefined)
        # The tool is stripped, but its objects are not.
        for folder, name in (("strings", "__vsnprintf_chk"), ("compliance", "__snprintf_chk"),
                             ("tool", "__printf_chk")):
            self.assertIn(name, run("nm", "--undefined-only", BUILD / folder / f"lib{folder}.a"))


class CheckTest(ScratchTest):
    def setUp(self):
        super().setUp()
        self.source = self.scratch / "program.c"
        self.source.write_text(PROGRAM, encoding="utf-8")

    def violations(self, *flags):
        out = self.scratch / "out"
        run(CC, self.source, "-o", out, *flags)
        result = check(out)
        self.assertEqual(result.returncode, 1 if result.stdout else 0, result.stderr)
        return [line.removeprefix(f"{out}: ") for line in result.stdout.splitlines()]

    def test_accepts_a_hardened_program(self):
        self.assertEqual(self.violations(*HARDENED), [])

    def test_rejects_a_program_without_one_protection(self):
        for flags, violation in (
                (["-no-pie", "-fno-pie"], "not position independent"),
                (["-Wl,-z,lazy"], "lazy binding (no full RELRO)"),
                (["-Wl,-z,norelro"], "no data becomes read-only after relocation (no RELRO)"),
                (["-Wl,-z,execstack"], "an executable stack"),
                (["-Wl,-rpath,/usr/lib"], "a run path"),
                (["-DWRITABLE_CODE"], "memory that is writable and executable")):
            with self.subTest(violation):
                self.assertEqual(self.violations(*HARDENED, *flags), [violation])

    def test_rejects_an_export_without_branch_target(self):
        self.assertEqual(self.violations(*LIBRARY, "-fcf-protection"), [])
        self.assertEqual(sorted(self.violations(*LIBRARY, "-fcf-protection=none")),
                         ["Length is not marked for control-flow protection",
                          "main is not marked for control-flow protection"])

    def test_rejects_an_object_without_protections(self):
        self.assertEqual(self.violations(*OBJECT), [])
        self.assertEqual(self.violations(*OBJECT, "-fno-stack-protector"),
                         ["no stack frame has a stack protector"])
        self.assertEqual(self.violations(*OBJECT, "-fcf-protection=none"),
                         ["an object is not marked for control-flow protection"])

    def test_rejects_an_object_with_executable_stack(self):
        out = self.scratch / "out.o"
        run(CC, self.source, "-o", out, *OBJECT)
        run("objcopy", "--set-section-flags", ".note.GNU-stack=code,contents,readonly", out)
        self.assertEqual(check(out).stdout, f"{out}: an object requires an executable stack\n")

    def test_rejects_a_large_frame_without_probes(self):
        for kind in (HARDENED, ["-O2", "-fcf-protection", *LIBRARY], OBJECT):
            for frame in (8192, 65568):
                flags = [*kind, f"-DFRAME={frame}"]
                self.assertEqual(self.violations(*flags, "-fstack-clash-protection"), [])
                found = self.violations(*flags, "-fno-stack-clash-protection")
                self.assertNotEqual(found, [])
                for violation in found:
                    self.assertRegex(violation, r"^a stack frame of \d+ bytes is not probed$")

    def test_rejects_a_static_program_without_probes(self):
        static = [*HARDENED, "-static-pie", "-DFRAME=65568"]
        self.assertEqual(self.violations(*static), [])
        self.assertEqual(self.violations(*static, "-fno-stack-clash-protection"),
                         ["no stack frame is probed"])

    def test_rejects_other_files(self):
        result = check(self.source)
        self.assertEqual((result.returncode, result.stdout),
                         (1, f"{self.source}: not a program, library or object\n"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
