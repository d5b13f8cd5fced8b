#!/usr/bin/env python3
"""Programs outside of this tree that link the installed libraries, in C and C++."""

import os
import pathlib
import shlex
import unittest

from support import CC, CXX, PREFIX, ScratchTest, library_directory, in_sandbox, run

CONSUMERS = pathlib.Path(__file__).resolve().parent / "consumers"
IN_CPP = CONSUMERS / "WithNamesOfItsOwn.cpp", CONSUMERS / "SecondSource.cpp"

# No agent was ever installed: the lock cannot be created, so no evaluation is open.
IN_C = "open -6\nprogress -6 77 77\ncount -8\nclose -6\n"
WITH_OWN_NAMES = """caught our file before
caught out_of_range after 1
open -6
caught our file after
caught out_of_range after 2
ours our StringPL 7, 199
close -6
"""
AGENT_DIRECTORIES = "mkdir -p /var/opt/VeskaClient/RequestDir /var/opt/VeskaClient/ResponseDir\n"


class Consumers(ScratchTest):
    def setUp(self):
        super().setUp()
        self.program = self.scratch / "program"
        self.environment = {"LD_LIBRARY_PATH": str(library_directory())}

    def pkg_config(self, *arguments):
        environment = {**os.environ, "PKG_CONFIG_PATH": str(library_directory() / "pkgconfig")}
        return shlex.split(run("pkg-config", *arguments, "clientcompliance", env=environment))

    def output_of(self, program, script='"$1"'):
        return in_sandbox(script, program, env={**os.environ, **self.environment})

    def check_c(self, program):
        self.assertEqual(self.output_of(program), IN_C)
        self.assertIn("open -1\n", self.output_of(program, AGENT_DIRECTORIES + '"$1"'))

    def check_cpp(self, program):
        self.assertEqual(self.output_of(program), WITH_OWN_NAMES)
        self.assertEqual(self.output_of(program, AGENT_DIRECTORIES + '"$1" no-memory'),
                         "caught bad_alloc\n")


class FindPackageTest(Consumers):
    def setUp(self):
        super().setUp()
        run("cmake", "-G", "Ninja", "-S", CONSUMERS, "-B", self.scratch,
            f"-DCMAKE_PREFIX_PATH={PREFIX}", f"-DCMAKE_C_COMPILER={CC}",
            f"-DCMAKE_CXX_COMPILER={CXX}")
        run("cmake", "--build", self.scratch)
        # The program also finds its library without a hint.
        self.environment = {}

    def test_builds_c_and_cpp_programs_with_either_library(self):
        for kind in ("shared", "static"):
            self.check_c(self.scratch / f"c_{kind}")
            self.check_cpp(self.scratch / f"cpp_{kind}")
            needed = run("readelf", "-dW", self.scratch / f"c_{kind}")
            self.assertEqual("libclientcompliance.so.1" in needed, kind == "shared")


class FindPackageRefusalsTest(Consumers):
    def find(self, request):
        (self.scratch / "CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.25)\nproject(Asks LANGUAGES NONE)\n"
            f"find_package(ClientCompliance {request} QUIET)\n"
            'if(ClientCompliance_FOUND)\n  file(WRITE found "yes")\nelse()\n'
            '  file(WRITE found "no")\nendif()\n', encoding="utf-8")
        run("cmake", "-G", "Ninja", "-S", self.scratch, "-B", self.scratch / "build",
            f"-DCMAKE_PREFIX_PATH={PREFIX}")
        return (self.scratch / "found").read_text(encoding="utf-8")

    def test_accepts_only_its_major_version_and_components(self):
        for request, found in (("1.0", "yes"), ("2.0", "no"), ("COMPONENTS static", "yes"),
                               ("COMPONENTS foundation", "no")):
            with self.subTest(request=request):
                self.assertEqual(self.find(request), found)


class PkgConfigTest(Consumers):
    def test_builds_a_c_program_with_and_without_shared_libraries(self):
        for static in ((), ("--static",)):
            run(CC, *(flag[1:] for flag in static), CONSUMERS / "InC.c", "-o", self.program,
                *self.pkg_config(*static, "--cflags", "--libs"))
            self.check_c(self.program)

    def test_builds_a_cpp_program_with_the_library_s_names(self):
        run(CXX, "-std=c++20", *IN_CPP, "-o", self.program, *self.pkg_config("--cflags", "--libs"))
        self.check_cpp(self.program)


class StaticLibraryTest(Consumers):
    """Equal names of templates and inline functions could collide, depending on compiler flags."""

    def check_with(self, *flags):
        run(CXX, "-std=c++20", *flags, f"-I{PREFIX}/include", *IN_CPP, "-o", self.program,
            library_directory() / "libclientcompliance.a")
        self.check_cpp(self.program)

    def test_does_not_collide_with_templates(self):
        self.check_with("-O0")

    def test_does_not_collide_after_garbage_collection(self):
        self.check_with("-O2", "-ffunction-sections", "-Wl,--gc-sections")

    def test_links_into_position_dependent_program(self):
        self.check_with("-O1", "-no-pie", "-fno-pie")


if __name__ == "__main__":
    unittest.main(verbosity=2)
