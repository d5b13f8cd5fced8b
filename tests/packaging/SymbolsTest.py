#!/usr/bin/env python3
"""Which names the two libraries show to the programs that link them."""

import unittest

from support import SOURCE, library_directory, run

EXPORTS = (SOURCE / "packaging/exports.txt").read_text(encoding="utf-8").split()
INTERFACE = ["COMPLIANCE_Close", "COMPLIANCE_IndexedValue", "COMPLIANCE_Open",
             "COMPLIANCE_Progress", "COMPLIANCE_ResultCount"]


def symbols(*arguments):
    """Kind and name of each symbol that nm lists, by name."""
    lines = (line.split() for line in run("nm", *arguments).splitlines())
    found = [(words[-2], words[-1]) for words in lines if len(words) >= 2]
    return sorted(found, key=lambda symbol: symbol[1])


class SymbolsTest(unittest.TestCase):
    def test_the_list_of_exports_is_the_interface_with_the_two_variables_of_its_state(self):
        self.assertEqual(EXPORTS, INTERFACE + ["iHaveResponse", "iOwnLock"])

    def test_the_shared_library_exports_that_list_and_nothing_else(self):
        found = symbols("-D", "--defined-only", library_directory() / "libclientcompliance.so")
        self.assertEqual([name for _, name in found], EXPORTS)

    def test_the_static_library_is_one_object(self):
        archive = library_directory() / "libclientcompliance.a"
        self.assertEqual(run("ar", "t", archive), "clientcompliance.o\n")

    def test_the_static_library_shows_that_list_and_nothing_else(self):
        archive = library_directory() / "libclientcompliance.a"
        every = symbols("--defined-only", archive)
        seen = [name for kind, name in every if not kind.islower() or kind in "uvw"]
        self.assertEqual(seen, EXPORTS)
        self.assertGreater(len(every), 500, "the foundation library is inside")

    def test_the_static_library_has_no_groups_that_a_linker_tells_by_name(self):
        archive = library_directory() / "libclientcompliance.a"
        self.assertIn("no section groups", run("readelf", "--section-groups", archive))


if __name__ == "__main__":
    unittest.main(verbosity=2)
