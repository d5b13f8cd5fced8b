#!/usr/bin/env python3
"""The Debian packages that `scripts/package --check deb` has built, below a scratch root."""

import os
import pathlib
import shlex
import shutil
import subprocess
import tempfile
import unittest

from support import BUILD, CC, SOURCE, START_AGENT, VERSION, UnpackedPackages, in_sandbox, run

PACKAGES = pathlib.Path(os.environ["CC_PACKAGES"])
TREE = PACKAGES / f"work/deb/clientcompliance-{VERSION}"
NAMES = ["clientcompliance", "clientcompliance-ansible", "clientcompliance-companions",
         "clientcompliance-demo", "clientcompliance-doc", "clientcompliance-monitoring",
         "clientcompliance-systemd", "libclientcompliance-dev", "libclientcompliance1"]
CONSUMERS = SOURCE / "tests/packaging/consumers"

# A whole evaluation with the stand-in agent. $1: the tool, $2: the stand-in, $3: its scenario.
EVALUATE = START_AGENT + """
start_agent "$(cat "$3")" "$2"
"$1" -c http://example.com:52311/ 'R&D baseline.xml' 3
kill $agent
"""


def package(name):
    (path,) = PACKAGES.glob(f"{name}_*.deb")
    return path


def contents(name):
    lines = run("dpkg-deb", "--contents", package(name)).splitlines()
    return [line.split()[5].removeprefix(".") for line in lines]


def field(name, wanted):
    return run("dpkg-deb", "--field", package(name), wanted).strip()


class PackagesTest(unittest.TestCase):
    def test_have_the_version_of_the_project(self):
        found = sorted(path.name.split("_")[0] for path in PACKAGES.glob("*.deb"))
        self.assertEqual(found, NAMES)
        for name in NAMES:
            self.assertEqual(field(name, "Version"), VERSION)

    def test_own_only_files_in_usr(self):
        for name in NAMES:
            for path in contents(name):
                self.assertTrue(path == "/" or path.startswith("/usr/"), f"{name}: {path}")

    def test_have_the_changes_and_the_security_policy(self):
        for name in NAMES:
            place = f"/usr/share/doc/{name.removesuffix('-doc')}/"
            found = {path.removeprefix(place).removesuffix(".gz") for path in contents(name)}
            self.assertLessEqual({"CHANGELOG.md", "SECURITY.md"}, found, name)

    def test_have_no_file_in_common(self):
        files = [path for name in NAMES for path in contents(name) if not path.endswith("/")]
        self.assertEqual(sorted(files), sorted(set(files)))

    def test_have_no_file_in_common_if_the_pages_are_short(self):
        with tempfile.TemporaryDirectory() as directory:
            tree = pathlib.Path(directory)
            shutil.copytree(SOURCE / "debian", tree / "debian")
            for name in ("CHANGELOG.md", "SECURITY.md"):
                (tree / name).write_text("short\n", encoding="utf-8")
            run("debian/rules", "override_dh_installdocs", "override_dh_compress", cwd=tree)
            found = {path.name for path in
                     (tree / "debian/clientcompliance/usr/share/doc/clientcompliance").iterdir()}
        self.assertEqual(found, {"CHANGELOG.md.gz", "SECURITY.md.gz", "copyright"})

    def commands(self, script):
        """Returns the commands of a script, without its conditions."""
        lines = map(str.strip, script.read_text(encoding="utf-8").splitlines())
        return [line for line in lines if line and not line.startswith(("#", "if ", "fi", "set -e"))]

    def test_only_create_the_user_when_installed(self):
        for name in NAMES:
            with tempfile.TemporaryDirectory() as directory:
                run("dpkg-deb", "--control", package(name), directory)
                scripts = set(os.listdir(directory)) - {"control", "md5sums", "shlibs", "symbols",
                                                        "triggers"}
                if name == "clientcompliance-systemd":
                    self.assertEqual(scripts, {"postinst", "postrm", "prerm"})
                    self.assertEqual(
                        self.commands(pathlib.Path(directory, "postinst")),
                        ['systemd-sysusers ${DPKG_ROOT:+--root="$DPKG_ROOT"} clientcompliance.conf'])
                else:
                    self.assertEqual(scripts, set())

    def test_depend_on_the_libraries_that_they_use(self):
        for name in ("clientcompliance", "clientcompliance-companions"):
            self.assertEqual(field(name, "Depends"), "", "its programs are static")
        self.assertEqual(field("clientcompliance", "Recommends"), "clientcompliance-companions")
        self.assertIn("libstdc++6", field("libclientcompliance1", "Depends"))
        self.assertIn(f"libclientcompliance1 (= {VERSION})",
                      field("libclientcompliance-dev", "Depends"))
        self.assertIn(f"clientcompliance-companions (>= {VERSION})",
                      field("clientcompliance-systemd", "Depends"))

    def test_satisfy_lintian(self):
        (changes,) = (PACKAGES / "work/deb").glob("*.changes")
        local = TREE.parent / "checked"
        local.mkdir(exist_ok=True)
        for path in (changes, *changes.parent.glob("*.buildinfo"), *PACKAGES.glob("*.deb")):
            (local / path.name).write_bytes(path.read_bytes())
        result = subprocess.run(["lintian", "--allow-root", "--fail-on", "error,warning",
                                 "--tag-display-limit", "0", local / changes.name],
                                capture_output=True, text=True)
        self.assertEqual((result.returncode, result.stdout), (0, ""), result.stderr)

    def test_override_only_two_tags_of_lintian(self):
        overrides = [line for path in sorted((SOURCE / "debian").glob("*lintian-overrides"))
                     for line in path.read_text(encoding="utf-8").splitlines()
                     if line and not line.startswith("#")]
        self.assertEqual(overrides,
                         [f"shared-library-lacks-prerequisites [usr/bin/{name}]"
                          for name in ("compliance-diff", "compliance-doctor", "compliance-query",
                                       "compliance-report")]
                         + ["maintainer-script-calls-systemctl [prerm:*]",
                            "shared-library-lacks-prerequisites [usr/bin/ClientCompliance]"])


class ScratchRootTest(UnpackedPackages, unittest.TestCase):
    @classmethod
    def unpack(cls):
        for name in NAMES:
            run("dpkg-deb", "--extract", package(name), cls.root)

    def test_contains_a_stand_in_agent_that_answers(self):
        output = in_sandbox(EVALUATE, self.root / "usr/bin/ClientCompliance",
                            self.root / "usr/libexec/clientcompliance/VeskaClient",
                            self.root / "usr/share/clientcompliance/demo.scenario")
        self.assertIn("\nCOMPLIANCE_ResultCount is 4.\n    Designator: ", output)

    def test_builds_a_c_program_with_pkg_config(self):
        environment = {**os.environ, "PKG_CONFIG_LIBDIR": str(self.lib / "pkgconfig")}
        command = ("pkg-config", "--cflags", "--libs", "clientcompliance")
        self.assertEqual(run(*command, env=environment).split(), ["-lclientcompliance"])
        # As in a cross build whose root is this directory.
        environment |= {"PKG_CONFIG_SYSROOT_DIR": str(self.root), "PKG_CONFIG_ALLOW_SYSTEM_CFLAGS": "1",
                        "PKG_CONFIG_ALLOW_SYSTEM_LIBS": "1"}
        flags = shlex.split(run(*command, env=environment))
        program = self.root / "program"
        run(CC, CONSUMERS / "InC.c", "-o", program, *flags)
        output = in_sandbox('"$1"', program,
                            env={**os.environ, "LD_LIBRARY_PATH": str(self.lib)})
        self.assertTrue(output.startswith("open -6\n"), output)


class ReproducibilityTest(unittest.TestCase):
    def test_builds_in_two_directories_have_the_same_bytes(self):
        (built,) = TREE.glob("obj-*")
        self.assertNotEqual(built, BUILD)
        for name in ("tool/ClientCompliance", "demo/VeskaClient", "companions/compliance-query",
                     "companions/compliance-diff", "companions/compliance-doctor",
                     "companions/compliance-report",
                     f"packaging/libclientcompliance.so.{VERSION}",
                     "packaging/libclientcompliance.a"):
            self.assertEqual((built / name).read_bytes(), (BUILD / name).read_bytes(), name)


if __name__ == "__main__":
    unittest.main(verbosity=2)
