#!/usr/bin/python3
"""The reader of stored results in Python, compared with that of compliance-report."""

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
from unittest import mock

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "packaging"))
from results import failed, finished, row, write  # noqa: E402
from support import SOURCE, ScratchTest  # noqa: E402

UTILS = SOURCE / "integrations/ansible/plugins/module_utils"
sys.path.insert(0, str(UTILS))
import published_file  # noqa: E402
import stored_result  # noqa: E402

REPORT = pathlib.Path(os.environ["CC_QUERY"]).parent / "compliance-report"
SECOND = 10 ** 9
FINISHED = finished([row("Compliant")])
NDJSON = {name: value for name, value in FINISHED.items() if name != "rows"}


def with_facts(**facts):
    document = copy.deepcopy(FINISHED)
    document["provenance"].update(facts)
    return document


def with_row(**members):
    return finished([row("Compliant", **members)])


def nested(levels):
    return [nested(levels - 1)] if levels > 1 else []


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

    def expect_each(self, is_read, documents):
        for document in documents:
            with self.subTest(document=str(document)[:300]):
                self.expect(is_read, encoded(document))

    def test_both_readers_accept_every_form_of_a_time(self):
        self.expect_each(True, (with_facts(end=text) for text in (
            "2026-01-31T02:31:04Z", "2026-01-31t02:31:04z", "2026-01-31T02:31:04.5Z",
            "2026-01-31T02:31:04.123456789+01:00", "2026-01-31T02:31:04.1234567891-23:59",
            "2024-02-29T00:00:00Z", "2016-12-31T23:59:60Z", "0000-01-01T00:00:00Z",
            "9999-12-31T23:59:59-23:59", "0001-01-01T00:00:00.000+10:00")))

    def test_both_readers_refuse_invalid_times(self):
        self.expect_each(False, (with_facts(end=text) for text in (
            "", "2026-01-31", "2026-01-31T02:31:04", "2026-01-31 02:31:04Z",
            "2026-01-31T02:31:04.Z", "2026-02-30T00:00:00Z", "2025-02-29T00:00:00Z",
            "2026-01-31T24:00:00Z", "2026-01-31T02:31:61Z", "2026-01-31T02:31:04+24:00",
            "2026-01-31T02:31:04+0100", "2026-01-31T02:31:04Z\n", "\u0662026-01-31T02:31:04Z",
            None, 0, True, [])))

    def test_both_readers_accept_a_byte_order_mark(self):
        self.expect(True, b"\xef\xbb\xbf" + encoded(FINISHED))

    def test_both_readers_accept_only_complete_ndjson(self):
        self.expect(True, encoded(NDJSON, row("Compliant")))
        self.expect(True, encoded({**NDJSON, "rowCount": 0}) + b"\n")
        self.expect(False, encoded(NDJSON))
        self.expect(False, encoded(NDJSON, [row("Compliant")]))
        self.expect(False, encoded(FINISHED, row("Compliant")))
        self.expect(False, encoded(failed(), row("Compliant")))

    def test_both_readers_refuse_members_of_another_type(self):
        self.expect_each(False, ({**FINISHED, member: value} for member, value in (
            ("rowCount", True), ("rowCount", 1.0), ("schemaVersion", True),
            ("schemaVersion", 1.0), ("rowCount", "1"), ("outcome", None))))
        self.expect_each(False, (with_facts(**{member: value}) for member, value in (
            ("url", 1), ("document", 1), ("host", None), ("hostBase64", "\u00e9"),
            ("start", None), ("start", "2026"))))
        self.expect(False, encoded(FINISHED).replace(b'"flags": 0', b'"flags": NaN'))

    def test_both_readers_have_the_same_limits(self):
        facts = {"accepted": (("url", "u" * 4096), ("host", "h" * 255), ("host", "\u00e9" * 127),
                              ("agent", {}), ("agent", {"modified": None}), ("urlBase64", "YQ=="),
                              ("hostBase64", base64.b64encode(b"\xff" * 255).decode()),
                              ("x", nested(14)), ("x", "t" * (1 << 20)), ("x" * (1 << 20), 1)),
                 "refused": (("url", "u" * 4097), ("document", "\u00e9" * 2049), ("host", ""),
                             ("host", "h" * 256), ("host", "\u00e9" * 128), ("hostBase64", ""),
                             ("hostBase64", base64.b64encode(b"\xff" * 256).decode()),
                             ("urlBase64", "YR=="), ("urlBase64", "YQ"), ("documentBase64", "Y?=="),
                             ("urlBase64", "YQ==\n"), ("urlBase64", None), ("urlBase64", "YWFh" * 1025),
                             ("agent", {"modified": "2026"}), ("agent", {"modified": 1}),
                             ("response", {"fresh": None}),
                             ("x", nested(15)), ("x", "t" * (3 << 20)), ("x" * (3 << 20), 1))}
        for verdict, cases in facts.items():
            for name, value in cases:
                with self.subTest(name=name[:20], value=str(value)[:20]):
                    self.expect(verdict == "accepted", encoded(with_facts(**{name: value})))

    def test_both_readers_check_every_field_of_a_row(self):
        self.expect(True, encoded(with_row(x=nested(13), designatorBase64="YQ==", Base64=1)))
        self.expect_each(False, (with_row(**{name: value}) for name, value in (
            ("designatorBase64", "YR=="), ("commentBase64", "!"), ("x", nested(14)),
            ("resultBase64", None), ("description", None), ("x", "t" * (3 << 20)))))
        self.expect_each(False, ({**failed(), "rows": rows} for rows in (
            [{}], [1], None, {}, [with_row(resultBase64="!")["rows"][0]])))
        self.expect(True, encoded({**failed(), "rows": [row("Compliant")]}))
        self.expect(False, encoded({**FINISHED, "rowCount": 2}))
        self.expect(False, encoded({**FINISHED, "rowCount": 0}))

    def test_both_readers_check_members_of_the_other_outcome(self):
        for document, member, value, is_read in (
                (failed(), "exitStatus", 255, True), (failed(), "exitStatus", 256, False),
                (failed(), "exitStatus", -1, False), (failed(), "message", "m" * 4096, True),
                (failed(), "message", "m" * 4097, False), (failed(), "failure", "m" * 4097, False),
                (failed(), "rowCount", 7, True), (failed(), "rowCount", -1, False),
                (failed(), "rowCount", (1 << 28) + 1, False), (FINISHED, "failure", 1, False),
                (FINISHED, "message", None, False), (FINISHED, "exitStatus", 300, False)):
            with self.subTest(member=member, value=str(value)[:9], outcome=document["outcome"]):
                self.expect(is_read, encoded({**document, member: value}))

    def test_both_readers_refuse_numbers_out_of_range(self):
        head = encoded(FINISHED)[:-1]
        for text, is_read in (("1e308", True), ("-0", True), ("9" * 300, True), ("1e400", False),
                              ("-1e400", False), ("9" * 400, False), ("9" * 9000, False)):
            with self.subTest(text=text[:9]):
                self.expect(is_read, head + b', "x": ' + text.encode() + b"}")
        empty = encoded({**NDJSON, "rowCount": 0})
        self.expect(True, empty)
        self.expect(False, empty.replace(b'"rowCount": 0', b'"rowCount": -0'))

    def test_file_of_more_than_256_MiB_is_refused(self):
        with tempfile.NamedTemporaryFile(suffix=".json") as file:
            file.write(encoded(FINISHED))
            file.truncate(256 << 20)
            with self.assertRaisesRegex(stored_result.ResultError, "not JSON"):
                stored_result.read_file(file.name)
            file.truncate((256 << 20) + 1)
            with self.assertRaisesRegex(stored_result.ResultError, "larger than 268435456 bytes"):
                stored_result.read_file(file.name)

    def test_readers_differ_in_the_documented_cases(self):
        no_provenance = {name: value for name, value in FINISHED.items() if name != "provenance"}
        without_failure = {name: value for name, value in failed().items() if name != "failure"}
        for document in (without_failure, with_facts(response=None), with_facts(url=[]),
                         {**failed(), "failure": {}}):
            with self.subTest(document=str(document)[:200]):
                self.assertFalse(python_reads(encoded(document)))
                self.assertTrue(report_reads(encoded(document)))
        self.expect(False, encoded(no_provenance))
        white = b" " * (3 << 20) + encoded(FINISHED)
        self.assertEqual((python_reads(white), report_reads(white)), (True, False))

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


class NewestTest(ScratchTest):
    def put(self, name, start, end, outcome=finished):
        document = outcome([row("Compliant")]) if outcome is finished else outcome()
        document["provenance"].update(start=f"2026-01-01T{start}Z", end=f"2026-01-01T{end}Z")
        return write(self.scratch / f"{name}.json", document)

    def newest(self):
        return pathlib.Path(stored_result.newest_result(str(self.scratch)).path).stem

    def test_newest_result_started_last_and_then_ended_last(self):
        for name, start, end in (("a", "00:00:03", "00:00:04"), ("b", "00:00:01", "00:00:09"),
                                 ("c", "00:00:03", "00:00:05"), ("d", "00:00:03", "00:00:02")):
            self.put(name, start, end)
        self.assertEqual(self.newest(), "c")

    def test_failure_then_last_name_is_newest_of_equal_times(self):
        times = ("00:00:03", "00:00:04")
        self.put("a", *times)
        self.put("c", *times)
        self.assertEqual(self.newest(), "c")
        self.put("b", *times, failed)
        self.assertEqual(self.newest(), "b")
        self.put("a", *times, failed)
        self.assertEqual(self.newest(), "b")

    def test_dangling_link_counts_with_its_own_time(self):
        self.put("a", "00:00:01", "00:00:02")
        os.symlink("missing", self.scratch / "b.json")
        with self.assertRaisesRegex(stored_result.ResultError, "b.json: No such file"):
            self.newest()
        os.utime(self.scratch / "b.json", (0, 0), follow_symlinks=False)
        self.assertEqual(self.newest(), "a")

    def test_only_results_within_the_age_must_have_one_subject(self):
        write(self.scratch / "a.json", finished([row("x")], host="former", age=7200))
        write(self.scratch / "b.json", finished([row("x")], host="web\n1", age=60))
        newest = stored_result.newest_result(str(self.scratch), 3600)
        self.assertEqual(pathlib.Path(newest.path).name, "b.json")
        for max_age in (None, 10000):
            with self.assertRaises(stored_result.ResultError) as raised:
                stored_result.newest_result(str(self.scratch), max_age)
            self.assertEqual(
                str(raised.exception),
                f"{self.scratch}: results of several hosts or documents: the host is 'web\\n1' in "
                "b.json and 'former' in a.json; expected one directory for each, or remove a.json")

    def test_subjects_differ_by_the_document_too(self):
        for name, document in (("a", None), ("b", "d" * 100)):
            content = finished([row("x")])
            content["provenance"]["document"] = document
            write(self.scratch / f"{name}.json", content)
        reason = r"the document is 'd{60}'\.\.\. in b\.json and the default in a\.json;"
        with self.assertRaisesRegex(stored_result.ResultError, reason):
            self.newest()


class AgeTest(unittest.TestCase):
    def test_clocks_may_differ_by_one_minute(self):
        stored_result.check_fresh(finished([row("x")], age=-55), 3600)
        with self.assertRaisesRegex(stored_result.ResultError, "from the future: by 6[45] s"):
            stored_result.check_fresh(finished([row("x")], age=-65), 3600)


class PublishedFileTest(ScratchTest):
    def test_write_error_keeps_old_and_removes_temporary_file(self):
        path = self.scratch / "file"
        published_file.publish(str(path), b"former")
        with mock.patch("os.fsync", side_effect=OSError(28, "No space left on device")), \
                self.assertRaises(OSError):
            published_file.publish(str(path), b"new")
        self.assertEqual(os.listdir(self.scratch), ["file"])
        self.assertEqual(path.read_bytes(), b"former")


class AdversarialTest(unittest.TestCase):
    """Replaces each member of a document by each value. Only expected documents are accepted."""

    TIMES = ["0001-01-01T00:00:00.000+10:00", "9999-12-31T23:59:59-23:59", "0000-01-01T00:00:00Z",
             "2016-12-31T23:59:60Z"]
    TEXTS = ["", "\x00", "a" * 4000, "~/x", "../../x", *TIMES]
    VALUES = [None, True, 0, -1, 1.5, *TEXTS, [], [[]], {}, {"fresh": 1}]
    ALWAYS_REFUSED = [10 ** 400, float("inf"), "\ud800"]
    # The accepted values of members. Other members accept any value.
    ACCEPTED = {
        "schemaVersion": [], "outcome": [], "rowCount": [], "rows": [], "provenance": [],
        "host": ["\x00", "~/x", "../../x", *TIMES], "hostBase64": [], "response": [],
        "url": [None, *TEXTS], "document": [None, *TEXTS], "start": TIMES, "end": TIMES,
    }
    ACCEPTED_OF_FAILED = {**ACCEPTED, "exitStatus": [0], "failure": TEXTS, "message": TEXTS,
                          "response": [None]}

    def use(self, document):
        """Performs the operations of the adapters on an accepted document."""
        stored_result.subject_of(document)
        for start in stored_result.order_of(document)[:2]:
            try:
                self.assertRegex(stored_result.utc_text(start), r"^\d{8}T\d{6}\.\d{3}Z$")
                stored_result.check_fresh(document, 3600)
            except stored_result.ResultError as error:
                self.assertNotIn("\n", str(error))
        if document["outcome"] == "finished":
            stored_result.bad_rows(document, [b"x"])

    def accepts(self, base, members, name, value):
        former = dict(members)
        members[name] = value
        try:
            document = stored_result.parse_document(json.dumps(base).encode())
        except stored_result.ResultError as error:
            self.assertNotIn("\n", str(error))
            self.assertLess(len(str(error)), 10000)
            return False
        finally:
            members.clear()
            members.update(former)
        self.use(document)
        return True

    def test_values_of_each_member_are_accepted_or_refused(self):
        for base, accepted in ((copy.deepcopy(FINISHED), self.ACCEPTED),
                               (failed(), self.ACCEPTED_OF_FAILED)):
            provenance = base["provenance"]
            names = {*provenance, "hostBase64"} - {"schemaVersion"}
            places = [(base, name) for name in base] + [(provenance, name) for name in names]
            for members, name in places:
                for value in self.VALUES + self.ALWAYS_REFUSED:
                    expected = any((type(value), value) == (type(one), one)
                                   for one in accepted.get(name, self.VALUES))
                    with self.subTest(outcome=base["outcome"], name=name, value=str(value)[:30]):
                        self.assertEqual(self.accepts(base, members, name, value), expected)


if __name__ == "__main__":
    unittest.main(verbosity=2)
