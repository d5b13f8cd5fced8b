#!/usr/bin/python3
"""The reader of stored results in Python, beside that of compliance-report."""

import base64
import copy
import datetime
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "packaging"))
from results import failed, finished, row, write  # noqa: E402
from support import SOURCE  # noqa: E402

UTILS = SOURCE / "integrations/ansible/plugins/module_utils"
sys.path.insert(0, str(UTILS))
import stored_result  # noqa: E402

REPORT = pathlib.Path(os.environ["CC_QUERY"]).parent / "compliance-report"
SECOND = 10 ** 9
FINISHED = finished([row("Compliant")])
NDJSON = {name: value for name, value in FINISHED.items() if name != "rows"}


def with_end(text):
    document = copy.deepcopy(FINISHED)
    document["provenance"]["end"] = text
    return document


def with_facts(**facts):
    document = copy.deepcopy(FINISHED)
    document["provenance"].update(facts)
    return document


def encoded(*values):
    return "\n".join(json.dumps(value) for value in values).encode()


def python_reads(data):
    try:
        stored_result.parse_document(data)
    except stored_result.ResultError:
        return False
    return True


def report_reads(data):
    with tempfile.NamedTemporaryFile(suffix=".json") as file:
        file.write(data)
        file.flush()
        made = subprocess.run([REPORT, "--strict", "Compliant", "--json", "-", file.name],
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=60)
    return json.loads(made.stdout)["problems"] == []


class SameDocumentsTest(unittest.TestCase):
    def expect(self, is_read, data):
        self.assertEqual((python_reads(data), report_reads(data)), (is_read, is_read))

    def test_both_readers_accept_every_form_of_a_time(self):
        for text in ("2026-01-31T02:31:04Z", "2026-01-31t02:31:04z", "2026-01-31T02:31:04.5Z",
                     "2026-01-31T02:31:04.123456789+01:00", "2026-01-31T02:31:04.1234567891-23:59",
                     "2024-02-29T00:00:00Z", "2016-12-31T23:59:60Z", "0000-01-01T00:00:00Z",
                     "9999-12-31T23:59:59-23:59", "0001-01-01T00:00:00.000+10:00"):
            with self.subTest(text=text):
                self.expect(True, encoded(with_end(text)))

    def test_both_readers_refuse_what_is_no_time(self):
        for text in ("", "2026-01-31", "2026-01-31T02:31:04", "2026-01-31 02:31:04Z",
                     "2026-01-31T02:31:04.Z", "2026-02-30T00:00:00Z", "2025-02-29T00:00:00Z",
                     "2026-01-31T24:00:00Z", "2026-01-31T02:31:61Z", "2026-01-31T02:31:04+24:00",
                     "2026-01-31T02:31:04+0100", "2026-01-31T02:31:04Z\n", "\u0662026-01-31T02:31:04Z",
                     None, 0, True, []):
            with self.subTest(text=text):
                self.expect(False, encoded(with_end(text)))

    def test_both_readers_accept_a_byte_order_mark(self):
        self.expect(True, b"\xef\xbb\xbf" + encoded(FINISHED))

    def test_both_readers_accept_lines_of_ndjson(self):
        self.expect(True, encoded(NDJSON, row("Compliant")))
        self.expect(True, encoded({**NDJSON, "rowCount": 0}) + b"\n")
        self.expect(False, encoded(NDJSON))
        self.expect(False, encoded(NDJSON, [row("Compliant")]))
        self.expect(False, encoded(FINISHED, row("Compliant")))
        self.expect(False, encoded(failed(), row("Compliant")))

    def test_both_readers_refuse_members_of_another_type(self):
        for member, value in (("rowCount", True), ("rowCount", 1.0), ("schemaVersion", True),
                              ("schemaVersion", 1.0), ("rowCount", "1"), ("outcome", None)):
            with self.subTest(member=member, value=value):
                self.expect(False, encoded({**FINISHED, member: value}))
        for member, value in (("url", 1), ("document", 1), ("host", None), ("hostBase64", "\u00e9"),
                              ("start", None), ("start", "2026")):
            with self.subTest(member=member, value=value):
                self.expect(False, encoded(with_facts(**{member: value})))
        self.expect(False, encoded(FINISHED).replace(b'"flags": 0', b'"flags": NaN'))

    def test_repeated_member_is_refused(self):
        for data in (b'{"schemaVersion": 1, ' + encoded(FINISHED)[1:],
                     encoded(FINISHED).replace(b'"host"', b'"host": "other", "host"')):
            self.assertFalse(python_reads(data))

    def test_hosts_are_compared_by_their_exact_bytes(self):
        document = with_facts(host="web1", hostBase64=base64.b64encode(b"caf\xe9").decode())
        self.assertEqual(stored_result.subject_of(document)[0], b"caf\xe9")


class TimesTest(unittest.TestCase):
    def test_times_are_nanoseconds_since_1970(self):
        utc = datetime.timezone.utc
        for year, month, day in ((1, 1, 1), (1969, 12, 31), (2000, 2, 29), (2026, 1, 31),
                                 (9999, 12, 31)):
            for hours in (-23, 0, 10):
                zone = datetime.timezone(datetime.timedelta(hours=hours))
                moment = datetime.datetime(year, month, day, 2, 31, 4, tzinfo=utc)
                seconds = (moment - datetime.datetime(1970, 1, 1, tzinfo=utc)).total_seconds()
                text = moment.replace(tzinfo=zone).isoformat()
                self.assertEqual(stored_result.parse_time(text),
                                 (int(seconds) - hours * 3600) * SECOND, text)
        self.assertEqual(stored_result.parse_time("1970-01-01T00:00:00.0000000019Z"), 1)
        self.assertEqual(stored_result.parse_time("1969-12-31T23:59:59.999999999Z"), -1)
        # A leap year of 366 days before the year 1.
        self.assertEqual(stored_result.parse_time("0001-01-01T00:00:00Z")
                         - stored_result.parse_time("0000-01-01T00:00:00Z"), 366 * 86400 * SECOND)

    def test_time_options_are_from_1_second_to_2147483647(self):
        self.assertEqual(stored_result.parse_seconds("2147483647"), 2147483647)
        self.assertEqual(stored_result.parse_seconds("0001h"), 3600)
        for text in ("0", "0h", "2147483648", "596524h", "999999999h", "1" * 5000, "-1", "1d", "",
                     "\u0661"):
            with self.subTest(text=text[:20]), self.assertRaises(ValueError):
                stored_result.parse_seconds(text)

    def test_list_with_a_repeated_name_is_refused(self):
        self.assertEqual(stored_result.split_list("a,\tb , a b"), ["a", "b", "a b"])
        for text in ("a,b, a", "a,,b"):
            with self.assertRaises(ValueError):
                stored_result.split_list(text)


class NewestTest(unittest.TestCase):
    def test_newest_result_started_last_and_then_ended_last(self):
        with tempfile.TemporaryDirectory() as scratch:
            for name, start, end in (("a", "00:00:03", "00:00:04"), ("b", "00:00:01", "00:00:09"),
                                     ("c", "00:00:03", "00:00:05"), ("d", "00:00:03", "00:00:02")):
                write(pathlib.Path(scratch) / f"{name}.json",
                      with_facts(start=f"2026-01-01T{start}Z", end=f"2026-01-01T{end}Z"))
            self.assertEqual(pathlib.Path(stored_result.newest_result(scratch).path).name, "c.json")


class HostileTest(unittest.TestCase):
    VALUES = [None, True, 0, -1, 10 ** 400, 1.5, float("inf"), "", "\ud800", "\x00", "a" * 5000, "~/x",
              "../../x", [], [[]], {}, {"fresh": 1}, "0001-01-01T00:00:00.000+10:00",
              "9999-12-31T23:59:59-23:59", "0000-01-01T00:00:00Z", "2016-12-31T23:59:60Z"]

    def use(self, document):
        """Does what the adapters do with a document that was accepted."""
        stored_result.subject_of(document)
        stored_result.order_of(document)
        for start in stored_result.order_of(document):
            self.assertRegex(stored_result.utc_text(start), r"^\d{8}T\d{6}\.\d{3}Z$")
        stored_result.check_fresh(document, 3600)
        stored_result.bad_rows(document, [b"x"])

    def test_hostile_values_are_refused_in_one_line(self):
        for base in (copy.deepcopy(FINISHED), failed()):
            places = [(base, name) for name in base] + \
                     [(base["provenance"], name) for name in [*base["provenance"], "hostBase64"]]
            for members, name in places:
                former = members.get(name)
                for value in self.VALUES:
                    members[name] = value
                    try:
                        self.use(stored_result.parse_document(json.dumps(base).encode()))
                    except stored_result.ResultError as error:
                        self.assertNotIn("\n", str(error))
                        self.assertLess(len(str(error)), 10000)
                members[name] = former
            base["provenance"].pop("hostBase64")


if __name__ == "__main__":
    unittest.main(verbosity=2)
