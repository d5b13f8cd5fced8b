#!/usr/bin/env python3
"""The files and paths of `cmake --install`."""

import os
import pathlib
import re
import tempfile
import unittest

from support import (BUILD, CC, CXX, PREFIX, SOURCE, VERSION, install, library_directory,
                     links_of_documents, in_sandbox, run)


WITH_COMPANIONS = unittest.skipUnless((BUILD / "companions/compliance-query").exists(),
                                      "the companions are not built")


def files_below(directory):
    return sorted(str(path.relative_to(directory)) for path in directory.rglob("*")
                  if not path.is_dir() or path.is_symlink())


class InstallTest(unittest.TestCase):
    def test_has_the_programs_libraries_and_header(self):
        found = set(files_below(PREFIX))
        lib = library_directory().relative_to(PREFIX)
        for name in ("bin/ClientCompliance", "include/compliance/Compliance.h",
                     f"{lib}/libclientcompliance.so", f"{lib}/libclientcompliance.so.1",
                     f"{lib}/libclientcompliance.so.{VERSION}", f"{lib}/libclientcompliance.a",
                     f"{lib}/pkgconfig/clientcompliance.pc",
                     f"{lib}/cmake/ClientCompliance/ClientComplianceConfig.cmake",
                     f"{lib}/cmake/ClientCompliance/ClientComplianceConfigVersion.cmake",
                     "libexec/clientcompliance/VeskaClient",
                     "share/clientcompliance/demo.scenario",
                     "share/doc/clientcompliance/LICENSE",
                     "share/doc/clientcompliance/exchange.md"):
            self.assertIn(name, found)

    def test_has_the_stand_in_agent_outside_of_path(self):
        named_so = [path for path in PREFIX.rglob("VeskaClient") if os.access(path, os.X_OK)]
        self.assertEqual(named_so, [PREFIX / "libexec/clientcompliance/VeskaClient"])

    def test_has_no_header_of_the_foundation_library(self):
        self.assertEqual([name for name in files_below(PREFIX) if name.endswith(".h")
                          and "/examples/" not in name], ["include/compliance/Compliance.h"])

    def test_has_every_manual_page_in_its_section(self):
        pages = sorted((SOURCE / "docs/man").glob("*.[1-8]"))
        for page in pages:
            section = page.suffix[1:]
            self.assertEqual((PREFIX / f"share/man/man{section}" / page.name).read_bytes(),
                             page.read_bytes())
        self.assertEqual(len(list(PREFIX.glob("share/man/*/*"))), len(pages))

    def test_has_the_targets_of_all_links(self):
        found, dead = links_of_documents(PREFIX)
        self.assertGreater(len(found), 15)
        self.assertEqual(dead, [])
        troubleshooting = PREFIX / "share/doc/clientcompliance/troubleshooting.md"
        self.assertIn("\ncompliance-doctor(1) finds", troubleshooting.read_text(encoding="utf-8"))

    def test_installs_guides_examples_diagrams_tool_completions(self):
        share = PREFIX / "share"
        for kind, place in (("docs/[a-z]*.md", "doc/clientcompliance"),
                            ("docs/diagrams/*.svg", "doc/clientcompliance/diagrams"),
                            ("examples/*", "doc/clientcompliance/examples"),
                            ("completions/bash/C*", "bash-completion/completions"),
                            ("completions/zsh/_C*", "zsh/site-functions"),
                            ("completions/fish/C*", "fish/vendor_completions.d")):
            wanted = {path.name for path in SOURCE.glob(kind)}
            self.assertTrue(wanted, kind)
            self.assertLessEqual(wanted, {path.name for path in (share / place).iterdir()})

    def test_has_the_monitoring_plugin_and_its_module(self):
        plugin = PREFIX / "lib/nagios/plugins/check_compliance"
        self.assertTrue(os.access(plugin, os.X_OK))
        (place,) = re.findall(r'"(\.\./.*)"', plugin.read_text(encoding="utf-8"))
        self.assertTrue((plugin.parent / place / "stored_result.py").is_file(), place)
        self.assertTrue((PREFIX / "share/bash-completion/completions/check_compliance").is_file())
        self.assertTrue((PREFIX / "share/icinga2/include/plugins-contrib.d/compliance.conf").is_file())

    def test_has_a_monitoring_plugin_in_an_absolute_directory(self):
        with tempfile.TemporaryDirectory() as scratch:
            build, root = f"{scratch}/build", f"{scratch}/root"
            run("cmake", "-G", "Ninja", "-S", SOURCE, "-B", build, "-DBUILD_TESTING=OFF",
                "-DCC_COMPANIONS=OFF", "-DCMAKE_INSTALL_PREFIX=/usr/local", "-DCC_PLUGINS=/usr/lib/nagios/plugins")
            run("cmake", "--install", build, "--component", "monitoring",
                env={**os.environ, "DESTDIR": root})
            plugin = pathlib.Path(root, "usr/lib/nagios/plugins/check_compliance")
            (place,) = re.findall(r'"(\.\./.*)"', plugin.read_text(encoding="utf-8"))
            self.assertTrue((plugin.parent / place / "stored_result.py").is_file(), place)

    def test_has_the_complete_ansible_collection(self):
        collection = PREFIX / "share/ansible/collections/ansible_collections/clientcompliance/fleet"
        source = SOURCE / "integrations/ansible"
        self.assertEqual([name for name in files_below(source) if "__pycache__" not in name],
                         files_below(collection))
        self.assertIn("plugins/modules/evaluate.py", files_below(collection))

    @WITH_COMPANIONS
    def test_has_the_units_and_their_program(self):
        found = set(files_below(PREFIX))
        for name in ("compliance-evaluate@.service", "compliance-evaluate@.timer"):
            self.assertIn(f"lib/systemd/system/{name}", found)
        self.assertIn("lib/sysusers.d/clientcompliance.conf", found)
        program = PREFIX / "libexec/clientcompliance/compliance-evaluate"
        (query,) = re.findall(r'"\$\{0%/\*\}(.*?)"', program.read_text(encoding="utf-8"))
        self.assertTrue(os.access(str(program.parent) + query, os.X_OK), query)

    @WITH_COMPANIONS
    def test_has_the_companions_schemas_and_completions(self):
        found = set(files_below(PREFIX))
        for name in ("clientcompliance.rules.yml", "clientcompliance.dashboard.json"):
            self.assertIn(f"share/clientcompliance/{name}", found)
        for name in ("compliance-diff", "compliance-doctor", "compliance-query", "compliance-report"):
            for path in (f"bin/{name}", f"share/clientcompliance/{name}.schema.json",
                         f"share/bash-completion/completions/{name}",
                         f"share/zsh/site-functions/_{name}",
                         f"share/fish/vendor_completions.d/{name}.fish"):
                self.assertIn(path, found)

    def test_installs_below_destdir_without_agent_files(self):
        with tempfile.TemporaryDirectory() as root:
            install("/usr", DESTDIR=root)
            self.assertEqual(os.listdir(root), ["usr"])
            self.assertEqual(files_below(pathlib.Path(root) / "usr"), files_below(PREFIX))

    def test_links_the_names_of_the_shared_library(self):
        lib = library_directory()
        self.assertEqual(os.readlink(lib / "libclientcompliance.so"), "libclientcompliance.so.1")
        self.assertEqual(os.readlink(lib / "libclientcompliance.so.1"),
                         f"libclientcompliance.so.{VERSION}")
        dynamic = run("readelf", "-dW", lib / "libclientcompliance.so")
        self.assertIn("Library soname: [libclientcompliance.so.1]", dynamic)

    def test_has_the_built_program(self):
        self.assertEqual((PREFIX / "bin/ClientCompliance").read_bytes(),
                         (BUILD / "tool/ClientCompliance").read_bytes())

    def test_contains_no_path_of_the_build(self):
        for name in ("bin/ClientCompliance", "libexec/clientcompliance/VeskaClient"):
            self.assertNotIn(os.fsencode(SOURCE), (PREFIX / name).read_bytes())
        for path in (*library_directory().glob("libclientcompliance.*"),
                     *library_directory().glob("**/*.pc"), *library_directory().glob("**/*.cmake")):
            self.assertNotIn(os.fsencode(SOURCE), path.read_bytes(), path)


class ToolTest(unittest.TestCase):
    def test_runs_without_an_agent(self):
        output = in_sandbox('"$1" -d; echo "status $?"', PREFIX / "bin/ClientCompliance")
        self.assertEqual(output, "COMPLIANCE_Open returned error: -6.\nstatus 0\n")

    def test_is_static(self):
        self.assertNotIn("NEEDED", run("readelf", "-dW", PREFIX / "bin/ClientCompliance"))
        self.assertNotIn("INTERP", run("readelf", "-lW", PREFIX / "bin/ClientCompliance"))

    @unittest.skipUnless(os.environ.get("CC_BUILD_TYPE") == "Release", "this is not a release build")
    def test_has_at_most_1_1_mib(self):
        self.assertLessEqual((PREFIX / "bin/ClientCompliance").stat().st_size, 1.1 * 1024 * 1024)


class HeaderTest(unittest.TestCase):
    def compile_alone(self, compiler, language, standard):
        with tempfile.NamedTemporaryFile("w") as source:
            print("#include <compliance/Compliance.h>\n" * 2, file=source, flush=True)
            run(compiler, "-x", language, f"-std={standard}", "-pedantic-errors", "-Wall",
                "-Wextra", "-Werror", "-fsyntax-only", f"-I{PREFIX}/include", source.name)

    def test_compiles_alone_from_c89_to_c17_and_cpp98_to_cpp20(self):
        for standard in ("c89", "c99", "c11", "c17"):
            self.compile_alone(CC, "c", standard)
        for standard in ("c++98", "c++11", "c++17", "c++20"):
            self.compile_alone(CXX, "c++", standard)


class VersionTest(unittest.TestCase):
    def test_matches_the_files_that_state_it(self):
        for path, pattern in (
                (library_directory() / "pkgconfig/clientcompliance.pc", r"^Version: (.*)$"),
                (SOURCE / "integrations/monitoring/check_compliance", r'^VERSION = "(.*)"'),
                (SOURCE / "integrations/ansible/galaxy.yml", r"^version: (.*)"),
                (SOURCE / "CHANGELOG.md", r"^## (\d+\.\d+\.\d+)"),
                (SOURCE / "debian/changelog", r"^clientcompliance \((.*?)\)")):
            with self.subTest(path=path):
                found = re.search(pattern, path.read_text(encoding="utf-8"), re.M)
                self.assertEqual(found[1], VERSION)


if __name__ == "__main__":
    unittest.main(verbosity=2)
