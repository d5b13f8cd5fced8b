#!/usr/bin/env python3
"""The RPM packages that `scripts/package --check rpm` has built, below a scratch root."""

import os
import pathlib
import unittest

from support import SOURCE, VERSION, UnpackedPackages, run

PACKAGES = pathlib.Path(os.environ["CC_PACKAGES"])
NAMES = ["clientcompliance", "clientcompliance-ansible", "clientcompliance-companions",
         "clientcompliance-demo", "clientcompliance-doc", "clientcompliance-license",
         "clientcompliance-monitoring", "clientcompliance-systemd", "libclientcompliance-devel",
         "libclientcompliance1"]


def query(path, *arguments):
    return run("rpm", "--query", *arguments, "--package", path)


class PackagesTest(unittest.TestCase):
    def test_have_the_version_and_licence_of_the_project(self):
        found = {query(path, "--queryformat", "%{NAME} %{VERSION} %{LICENSE}")
                 for path in PACKAGES.glob("*.rpm")}
        self.assertEqual(found, {f"{name} {VERSION} MIT" for name in NAMES})

    def test_own_no_directory_of_agent_or_system(self):
        for path in PACKAGES.glob("*.rpm"):
            for name in query(path, "--list").splitlines():
                self.assertTrue(name.startswith("/usr/"), f"{path.name}: {name}")
                self.assertGreater(name.count("/"), 2, f"{path.name}: {name}")

    def test_have_changes_and_security_policy_beside_the_licence(self):
        (package,) = PACKAGES.glob("clientcompliance-license-*.rpm")
        self.assertEqual({pathlib.Path(name).name for name in query(package, "--list").splitlines()},
                         {"clientcompliance", "LICENSE", "CHANGELOG.md", "SECURITY.md"})

    def test_have_a_description_beyond_the_summary(self):
        for path in PACKAGES.glob("*.rpm"):
            summary = query(path, "--queryformat", "%{SUMMARY}")
            description = query(path, "--queryformat", "%{DESCRIPTION}")
            self.assertGreater(len(description), len(summary) + 10, path.name)
            self.assertNotIn(summary, description)
            self.assertNotRegex(description, r"(?m)^(Package|Description|Depends):| \.$")

    def test_recommend_the_companions_of_the_tool(self):
        (tool,) = PACKAGES.glob(f"clientcompliance-{VERSION}-*.rpm")
        self.assertEqual(query(tool, "--recommends").split(), ["clientcompliance-companions"])

    def test_have_only_a_script_that_stops_the_timers_at_removal(self):
        script = (SOURCE / "debian/clientcompliance-systemd.prerm").read_text(encoding="utf-8")
        for path in PACKAGES.glob("*.rpm"):
            has_script = path.name.startswith("clientcompliance-systemd-")
            expected = f"preuninstall scriptlet (using /bin/sh):\n{script}" if has_script else ""
            self.assertEqual(query(path, "--scripts").strip(), expected.strip(), path.name)


class ScratchRootTest(UnpackedPackages, unittest.TestCase):
    @classmethod
    def unpack(cls):
        for path in PACKAGES.glob("*.rpm"):
            run("sh", "-c", 'rpm2cpio "$1" | cpio -id --quiet', "sh", path, cwd=cls.root)


if __name__ == "__main__":
    unittest.main(verbosity=2)
