#!/usr/bin/python3
"""scripts/release: rejected inputs, the bill of materials, and reproducibility."""

import hashlib
import itertools
import json
import pathlib
import subprocess
import sys
import unittest

from support import (ENVIRONMENT, SOURCE, ScratchTest, commit_all, must, project_files, run,
                     scratch_repository)

THEME = pathlib.Path("/usr/share/mkdocs/themes/material")


class ReleaseTest(ScratchTest):
    def commit(self, names):
        self.project = self.root / "project"
        scratch_repository(self.project, names)
        commit_all(self.project)


class RefusalsTest(ReleaseTest):
    def setUp(self):
        super().setUp()
        self.commit(["scripts/release", "CMakeLists.txt", "CHANGELOG.md"])

    def refusal(self, *arguments):
        result = run("scripts/release", *arguments, directory=self.project)
        self.assertNotEqual(result.returncode, 0)
        self.assertFalse((self.project / "build/release").exists())
        return result.stdout

    def test_rejects_a_changed_file_and_an_untracked_file(self):
        text = (self.project / "CHANGELOG.md").read_text(encoding="utf-8")
        for name, content in (("CHANGELOG.md", text + "\n"), ("new", "")):
            (self.project / name).write_text(content, encoding="utf-8")
            self.assertIn("the working tree has changes", self.refusal())
            must("git", "reset", "--quiet", "--hard", directory=self.project)

    def test_rejects_a_version_without_changelog_entry(self):
        path = self.project / "CMakeLists.txt"
        text = path.read_text(encoding="utf-8")
        path.write_text(text.replace("VERSION 1", "VERSION 99", 1), encoding="utf-8")
        must("git", "commit", "--all", "--message=New version", directory=self.project)
        self.assertRegex(self.refusal(), r"no entry for 99[0-9.]+ in CHANGELOG\.md")

    def test_rejects_a_folder_that_is_not_empty(self):
        folder = self.root / "folder"
        folder.mkdir()
        (folder / "precious").write_text("precious", encoding="utf-8")
        self.assertIn("is not empty", self.refusal(folder))
        self.assertEqual((folder / "precious").read_text(encoding="utf-8"), "precious")

    def test_rejects_options(self):
        self.assertIn("usage: scripts/release", self.refusal("--help"))


class BillOfMaterialsTest(ReleaseTest):
    """The bill of materials of an archive of three files and of empty packages."""

    def setUp(self):
        super().setUp()
        self.names = ["LICENSE", "scripts/release", "integrations/ansible/plugins/modules/collect.py"]
        self.commit(self.names)
        must("git", "archive", "--prefix=clientcompliance-1.2.3/",
             "--output=../clientcompliance-1.2.3.tar.gz", "HEAD", directory=self.project)
        self.packages = ["clientcompliance-companions_1.2.3_amd64.deb",
                         "libclientcompliance1-1.2.3-1.x86_64.rpm"]
        if THEME.exists():
            self.packages.append("clientcompliance-doc_1.2.3_all.deb")
        for name in self.packages:
            (self.root / name).touch()
        made = subprocess.run(
            [sys.executable, SOURCE / "packaging/bill_of_materials.py", self.root,
             "clientcompliance-1.2.3", "f" * 40], check=True, capture_output=True, timeout=60,
            env={**ENVIRONMENT, "SOURCE_DATE_EPOCH": "1000000000"})
        self.bill = json.loads(made.stdout)

    def package(self, key, value):
        (found,) = [each for each in self.bill["packages"] if each.get(key) == value]
        return found

    def test_has_the_commit_time(self):
        self.assertEqual(self.bill["creationInfo"]["created"], "2001-09-09T01:46:40Z")

    def test_lists_files_of_the_archive_with_checksums(self):
        listed = {file["fileName"]: {sum["algorithm"]: sum["checksumValue"]
                                     for sum in file["checksums"]} for file in self.bill["files"]}
        expected = {}
        for name in self.names:
            content = (SOURCE / name).read_bytes()
            expected[f"./{name}"] = {"SHA1": hashlib.sha1(content).hexdigest(),
                                     "SHA256": hashlib.sha256(content).hexdigest()}
        self.assertEqual(listed, expected)
        # SPDX 2.3, 7.9: the SHA-1 of the concatenated sorted SHA-1 sums.
        code = hashlib.sha1("".join(sorted(sums["SHA1"] for sums in expected.values())).encode())
        self.assertEqual(self.package("SPDXID", "SPDXRef-Source")["packageVerificationCode"],
                         {"packageVerificationCodeValue": code.hexdigest()})

    def test_has_the_licence_of_each_file(self):
        named = {file["fileName"]: file["licenseInfoInFiles"] for file in self.bill["files"]}
        self.assertEqual(named[f"./{self.names[2]}"], ["MIT"])
        self.assertEqual(named["./LICENSE"], ["NONE"])

    def test_lists_the_packages_with_checksums(self):
        nothing = hashlib.sha256(b"").hexdigest()
        for name in self.packages:
            self.assertEqual(self.package("packageFileName", name)["checksums"],
                             [{"algorithm": "SHA256", "checksumValue": nothing}])

    def test_lists_libraries_of_static_programs_only(self):
        links = {kind: {(each["spdxElementId"], each["relatedSpdxElement"])
                        for each in self.bill["relationships"] if each["relationshipType"] == kind}
                 for kind in ("STATIC_LINK", "GENERATED_FROM")}
        companions, shared, *others = (self.package("packageFileName", name)["SPDXID"]
                                       for name in self.packages)
        self.assertEqual({one for one, _ in links["STATIC_LINK"]}, {companions})
        self.assertEqual({"MIT", "BSL-1.0", "LGPL-2.1-or-later",
                          "GPL-3.0-or-later WITH GCC-exception-3.1"},
                         {self.package("SPDXID", other)["licenseDeclared"]
                          for _, other in links["STATIC_LINK"]})
        self.assertEqual(links["GENERATED_FROM"], {(package, "SPDXRef-Source")
                                                   for package in (companions, shared, *others)})

    @unittest.skipUnless(THEME.exists(), "without the theme of the site (scripts/setup docs)")
    def test_lists_the_theme_that_the_site_contains(self):
        (part,) = [each["relatedSpdxElement"] for each in self.bill["relationships"]
                   if each["spdxElementId"] == "SPDXRef-Package-clientcompliance-doc-deb"
                   and each["relationshipType"] == "CONTAINS"]
        self.assertEqual(self.package("SPDXID", part)["name"], "mkdocs-material")

    def test_relates_existing_elements_with_unique_names(self):
        known = [each["SPDXID"] for each in (self.bill, *self.bill["packages"], *self.bill["files"])]
        self.assertEqual(len(known), len(set(known)))
        related = itertools.chain.from_iterable(
            (each["spdxElementId"], each["relatedSpdxElement"]) for each in self.bill["relationships"])
        self.assertLessEqual(set(related), set(known))


class ReproducibilityTest(ReleaseTest):
    """Builds all packages twice, so it is not among the regular tests."""

    def release(self, name):
        must("git", "clone", "--quiet", "project", name, directory=self.root)
        made = subprocess.run(["scripts/release", self.root / f"release of {name}"],
                              cwd=self.root / name, env=ENVIRONMENT, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self.assertEqual(made.returncode, 0, made.stdout)
        return self.root / f"release of {name}"

    def test_two_releases_have_the_same_bytes(self):
        self.commit(project_files())
        first, second = self.release("one"), self.release("another")
        self.assertEqual(sorted(path.name for path in first.iterdir()),
                         sorted(path.name for path in second.iterdir()))
        different = [path.name for path in first.iterdir()
                     if path.read_bytes() != (second / path.name).read_bytes()]
        self.assertEqual(different, [])
        checked = must("sha256sum", "--check", "SHA256SUMS", directory=first)
        self.assertEqual(checked.count(": OK"), len(list(first.iterdir())) - 1)
        for kind in ("tar.gz", "deb", "rpm", "spdx.json"):
            self.assertTrue(list(first.glob(f"*.{kind}")), kind)


if __name__ == "__main__":
    unittest.main(verbosity=2)
