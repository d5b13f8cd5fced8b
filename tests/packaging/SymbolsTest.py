#!/usr/bin/env python3
"""The exported names of the two libraries."""

import unittest

from support import SOURCE, library_directory, run

EXPORTS = (SOURCE / "packaging/exports.txt").read_text(encoding="utf-8").split()
INTERFACE = ["COMPLIANCE_Close", "COMPLIANCE_IndexedValue", "COMPLIANCE_Open",
             "COMPLIANCE_Progress", "COMPLIANCE_ResultCount"]


def symbols(*arguments):
    """Returns the type and name of each symbol in the output of nm, sorted by name."""
    lines = (line.split() for line in run("nm", *arguments).splitlines())
    found = [(words[-2], words[-1]) for words in lines if len(words) >= 2]
    return sorted(found, key=lambda symbol: symbol[1])


class SymbolsTest(unittest.TestCase):
    def test_list_has_the_c_api_and_its_two_variables(self):
        self.assertEqual(EXPORTS, INTERFACE + ["iHaveResponse", "iOwnLock"])

    def test_shared_library_exports_exactly_the_list(self):
        found = symbols("-D", "--defined-only", library_directory() / "libclientcompliance.so")
        self.assertEqual([name for _, name in found], EXPORTS)

    def test_static_library_is_one_object_without_comdat_groups(self):
        archive = library_directory() / "libclientcompliance.a"
        self.assertEqual(run("ar", "t", archive), "clientcompliance.o\n")
        self.assertIn("no section groups", run("readelf", "--section-groups", archive))

    def test_static_library_exports_exactly_the_list(self):
        archive = library_directory() / "libclientcompliance.a"
        every = symbols("--defined-only", archive)
        seen = [name for kind, name in every if not kind.islower() or kind in "uvw"]
        self.assertEqual(seen, EXPORTS)
        self.assertGreater(len(every), 500, "the foundation library is inside")


if __name__ == "__main__":
    unittest.main(verbosity=2)
