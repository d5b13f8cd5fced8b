#!/usr/bin/python3
"""check_compliance on stored results and with a real agent."""

import datetime
import json
import os
import pathlib
import re
import subprocess
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "packaging"))
from results import failed, finished, row, time_text, write  # noqa: E402
from support import SOURCE, START_AGENT, VERSION, ScratchTest, in_sandbox  # noqa: E402

CHECK = SOURCE / "integrations/monitoring/check_compliance"
OK, WARNING, CRITICAL, UNKNOWN = range(4)
NAMES = ["OK", "WARNING", "CRITICAL", "UNKNOWN"]


def rows(good, bad):
    return [row("Compliant")] * good + [row("Not Compliant", f"bad {n}") for n in range(bad)]


class CheckTest(ScratchTest):
    def setUp(self):
        super().setUp()
        self.result = self.scratch / "result.json"

    def check(self, *arguments, **environment):
        return subprocess.run([CHECK, *map(str, arguments)], stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, encoding="utf-8", timeout=60,
                              env={**os.environ, **environment})

    def expect(self, state, *arguments, path=None):
        """Returns the text after the state in the only line of output."""
        made = self.check("--result", path or self.result, "--strict", "Compliant", *arguments)
        self.assertEqual((made.returncode, made.stderr), (state, ""), made.stdout)
        head = f"COMPLIANCE {NAMES[state]} - "
        self.assertTrue(made.stdout.startswith(head) and made.stdout.endswith("\n"), made.stdout)
        self.assertEqual(made.stdout.count("\n"), 1, made.stdout)
        return made.stdout.removeprefix(head).removesuffix("\n")


class ThresholdsTest(CheckTest):
    def test_state_depends_on_the_number_of_bad_rows(self):
        for bad, ranges, state in (
                (0, [], OK), (1, [], CRITICAL),
                (2, ["-w", "1", "-c", "3"], WARNING), (1, ["-w", "1", "-c", "3"], OK),
                (4, ["-w", "1", "-c", "3"], CRITICAL), (4, ["-c", "10"], OK),
                (1, ["-c", "@1:2"], CRITICAL), (3, ["-c", "@1:2"], OK),
                (0, ["-w", "1:", "-c", "9"], WARNING), (7, ["-c", "~:7"], OK),
                (0, ["-w", "-5:", "-c", "-3:-1"], CRITICAL), (9, ["-c", "-5:"], OK),
                (0, ["--warning", "-5:-1", "--critical=-5:"], WARNING)):
            write(self.result, finished(rows(2, bad)))
            with self.subTest(bad=bad, ranges=ranges):
                self.assertIn(f"{bad} of {bad + 2} rows", self.expect(state, *ranges))

    def test_performance_data_have_thresholds_and_limits(self):
        write(self.result, finished(rows(3, 1), age=120))
        _, data = self.expect(WARNING, "-w", "0", "-c", "5").split(" | ")
        found = dict(item.split("=") for item in data.split())
        self.assertEqual(found["bad"], "1;0;5;0;4")
        self.assertEqual(found["rows"], "4;;;0")
        self.assertRegex(found["age"], r"^12\ds;;;0$")

    def test_age_of_a_result_is_never_negative(self):
        write(self.result, finished(rows(1, 0), age=-30))
        self.assertIn("age=0s;", self.expect(OK))

    def test_several_lists_of_good_results_are_combined(self):
        write(self.result, finished([row("A"), row("B"), row("C")]))
        self.assertEqual(self.expect(OK, "--strict", "A, B", "-s", "C").split(" | ")[0],
                         "0 of 3 rows are bad")

    def test_results_are_compared_byte_by_byte(self):
        write(self.result, finished([row("caf\\xe9", resultBase64="Y2Fm6Q==")]))
        self.expect(CRITICAL, "--strict", "caf\\xe9")
        self.expect(OK, "--strict", os.fsdecode(b"caf\xe9"))

    def test_verbose_lists_the_bad_rows(self):
        write(self.result, finished(rows(0, 5)))
        made = self.check("-v", "--result", self.result, "-s", "Compliant")
        self.assertEqual(made.returncode, CRITICAL)
        for number in range(5):
            self.assertIn(f"'bad {number}' is 'Not Compliant'", made.stdout.splitlines())


class NoResultTest(CheckTest):
    def expect_no_result(self, reason, *arguments, path=None):
        self.assertIn(reason, self.expect(UNKNOWN, *arguments, path=path))
        self.assertIn(reason, self.expect(CRITICAL, *arguments, "--no-result", "critical", path=path))

    def test_old_result_is_never_OK(self):
        write(self.result, finished(rows(1, 0), age=27 * 3600))
        self.expect_no_result("27 h old")
        self.expect(OK, "--max-age", "28h")
        self.expect_no_result("27 h old", "--max-age", "90000")

    def test_age_does_not_depend_on_the_time_zone(self):
        for minutes in (-210, 0, 570):
            zone = datetime.timezone(datetime.timedelta(minutes=minutes))
            document = finished(rows(1, 0))
            document["provenance"]["end"] = time_text(7200, zone)
            write(self.result, document)
            self.assertRegex(self.expect(OK, "--max-age", "3h"), r"age=720\ds")

    def test_result_without_fresh_rows_is_never_OK(self):
        without_provenance = finished(rows(1, 0))
        del without_provenance["provenance"]
        for document, reason in (
                (finished([]), "no rows"), (finished(rows(1, 0), fresh=False), "before the request"),
                (finished(rows(1, 0), age=-600), "from the future"),
                (failed(), "the agent is not running (no-agent, exit status 3)"),
                (without_provenance, "'provenance'")):
            write(self.result, document)
            with self.subTest(reason=reason):
                self.expect_no_result(reason, "-c", "5")

    def test_unusable_file_is_never_OK(self):
        good = json.dumps(finished(rows(1, 0))).encode()
        for data, reason in ((good[:-1], "not JSON"), (b"", "not JSON"), (b"[]", "an object"),
                             (good.replace(b'"rowCount": 1', b'"rowCount": 2'), "2 rows"),
                             (good.replace(b'"schemaVersion": 1', b'"schemaVersion": 3'), "to be 1"),
                             (good.replace(b"a row", b"\xff"), "not UTF-8"),
                             (b"[" * 100000, "nested too deeply")):
            self.result.write_bytes(data)
            with self.subTest(reason=reason):
                self.expect_no_result(reason)
        self.expect_no_result("No such file", path=self.scratch / "missing")
        os.mkfifo(self.scratch / "fifo")
        self.expect_no_result("not a regular file", path=self.scratch / "fifo")


class DirectoryTest(CheckTest):
    def test_newest_result_by_its_recorded_time_is_used(self):
        write(self.scratch / "b.json", finished(rows(1, 0), age=7200))
        write(self.scratch / "a.json", finished(rows(0, 1), age=3600))
        os.utime(self.scratch / "a.json", (0, 0))
        self.expect(CRITICAL, path=self.scratch)
        write(self.scratch / "a.json", failed(age=3600))
        self.assertIn("no-agent", self.expect(UNKNOWN, path=self.scratch))

    def test_damaged_newest_file_takes_precedence_over_older_results(self):
        write(self.scratch / "a.json", finished(rows(1, 0), age=7200))
        (self.scratch / "b.json").write_text("{", encoding="utf-8")
        self.assertIn("b.json: not JSON", self.expect(UNKNOWN, path=self.scratch))
        os.utime(self.scratch / "b.json", (0, 0))
        self.expect(OK, path=self.scratch)

    def test_directory_without_results_is_never_OK(self):
        (self.scratch / ".hidden.json").write_text("{}", encoding="utf-8")
        (self.scratch / "result.json.AbCdEf").write_text("{}", encoding="utf-8")
        self.assertIn("no result", self.expect(UNKNOWN, path=self.scratch))

    def test_results_of_two_hosts_are_refused(self):
        write(self.scratch / "a.json", finished(rows(0, 1), host="one", age=9))
        write(self.scratch / "b.json", finished(rows(1, 0), host="two"))
        self.assertIn("several hosts or documents: the host is 'two' in b.json and 'one' in a.json;",
                      self.expect(UNKNOWN, path=self.scratch))

    def test_old_results_of_a_renamed_host_are_ignored(self):
        write(self.scratch / "a.json", finished(rows(0, 1), host="former", age=27 * 3600))
        write(self.scratch / "b.json", finished(rows(1, 0), host="renamed"))
        self.expect(OK, path=self.scratch)
        self.assertIn("several hosts", self.expect(UNKNOWN, "--max-age", "28h", path=self.scratch))


class OutputTest(CheckTest):
    ADVERSARIAL = "x | bad=0\n\r\t\x1b[2J\x7f\x9b\u202e\u200b\u2028\U000e0041`$(id)'\""

    def test_texts_of_rows_are_printed_in_one_printable_line(self):
        write(self.result, finished([row(self.ADVERSARIAL, self.ADVERSARIAL)]))
        text = self.expect(CRITICAL)
        self.assertEqual(text.count("|"), 1)
        self.assertTrue(text.isprintable(), text)
        self.assertIn(r"x \x7c bad=0\n\r\t\x1b[2J\x7f\x9b\u202e\u200b\u2028\U000e0041", text)

    def test_reasons_are_printed_in_one_short_printable_line(self):
        document = failed()
        document["message"] = self.ADVERSARIAL * 100
        write(self.result, document)
        text = self.expect(UNKNOWN)
        self.assertNotIn("|", text)
        self.assertTrue(text.isprintable(), text)
        self.assertLess(len(text), 2000)

    def test_long_texts_and_many_rows_are_truncated(self):
        write(self.result, finished([row("r" * 5000, "d" * 5000)] * 50))
        self.assertLess(len(self.expect(CRITICAL)), 1000)

    def test_every_character_that_a_terminal_hides_is_escaped(self):
        header = (SOURCE / "companions/HiddenCharacters.h").read_text(encoding="utf-8")
        ranges = [(int(first, 16), int(last, 16)) for first, last in
                  re.findall(r"CodePointRange\{(0x\w+), (0x\w+)\}", header)]
        self.assertGreater(len(ranges), 20)
        hidden = "".join(chr(code) for first, last in ranges for code in range(first, last + 1))
        write(self.result, finished([row("Bad", hidden[start:start + 50])
                                     for start in range(0, len(hidden), 50)]))
        lines = self.check("-v", "-r", self.result, "-s", "Compliant").stdout.split("\n")
        self.assertEqual(len([line for line in lines if "is 'Bad'" in line[1:]]), -(-len(hidden) // 50) + 1)
        self.assertEqual(set("".join(lines)) & set(hidden), set())

    def test_output_that_cannot_be_written_is_UNKNOWN(self):
        write(self.result, finished(rows(0, 10000)))
        reader, pipe = os.pipe()
        os.close(reader)
        outputs = {"closed pipe": pipe, "full disk": os.open("/dev/full", os.O_WRONLY), "closed": None}
        for name, output in outputs.items():
            for option in ("-h", "-V", "--wrong", "-v", "--no-result=critical"):
                made = subprocess.run(
                    ["sh", "-c", 'exec "$@"' + (" >&-" if output is None else ""), "sh", CHECK,
                     "-r", self.result, "-s", "Compliant", option], stdin=subprocess.DEVNULL,
                    stdout=output, stderr=subprocess.PIPE, text=True, timeout=60)
                with self.subTest(output=name, option=option):
                    self.assertEqual((made.returncode, made.stderr), (UNKNOWN, ""))
            if output is not None:
                os.close(output)

    def test_output_is_printable_in_C_POSIX_and_UTF_8_locales(self):
        write(self.result, finished([row("d\u00e9faut \u4e2d")]))
        for locale in ("C", "POSIX", "C.UTF-8"):
            made = self.check("-r", self.result, "-s", "x", LC_ALL=locale, PYTHONIOENCODING="ascii",
                              PYTHONCOERCECLOCALE="0")
            self.assertEqual((made.returncode, made.stderr), (CRITICAL, ""))
            self.assertIn(r"d\xe9faut \u4e2d", made.stdout)


class CommandLineTest(CheckTest):
    def test_invalid_command_line_is_UNKNOWN_with_one_line(self):
        for arguments, reason in (
                ([], "--strict"), (["-s", "a"], "URL DOC"), (["-s", "a", "url"], "URL DOC"),
                (["-s", "a", "-d", "-r", "x"], "URL DOC"), (["-s", "a,", "-d"], "empty name"),
                (["-s", "a", "-d", "-w", "x"], "not a range"), (["-s", "a", "-d", "-c", ""], "range"),
                (["-s", "a", "-d", "-c", "1_000"], "range"), (["-s", "a", "-d", "-c", "\u0665"], "range"),
                (["-s", "a", "-d", "-c", "1e3"], "range"), (["-s", "a", "-d", "-c", "5:1"], "range"),
                (["-s", "a", "-d", "-w", "-5x"], "range"), (["-s", "a", "-d", "-w", "-d"], "--warning"),
                (["-s", "a", "-d", "-t", "1d"], "not a time"), (["-s", "a", "-d", "-t", "0"], "not a time"),
                (["-s", "a", "-d", "-t", "999999999h"], "not a time"),
                (["-s", "a", "-r", "x", "--max-age", "0"], "not a time"),
                (["-s", "a", "-d", "--max-age", "1h"], "--max-age is for --result"),
                (["-s", "a,b,a", "-d"], "twice"), (["-s", "a", "-r", ""], "expected a file or"),
                (["-s", "a", "-r", "x", "--wait", "1"], "--wait"), (["--x|\n"], "--strict"),
                (["-s", "a", "-r", "x", "--flags", ""], "--flags"),
                # Arguments after a double dash are not joined.
                (["-s", "a", "-d", "--", "-w", "-5"], "expected either URL DOC"),
                (["-s", "a", "-d", "--x|\n"], r"--x\x7c\n")):
            made = self.check(*arguments)
            with self.subTest(arguments=arguments):
                self.assertEqual((made.returncode, made.stderr), (UNKNOWN, ""))
                self.assertRegex(made.stdout, r"^COMPLIANCE UNKNOWN - check_compliance: [^\n|]*\n$")
                self.assertIn(reason, made.stdout)

    def test_help_and_version_are_UNKNOWN(self):
        made = self.check("-V")
        self.assertEqual((made.returncode, made.stdout, made.stderr),
                         (UNKNOWN, f"check_compliance (ClientCompliance) {VERSION}\n", ""))
        made = self.check("-h")
        self.assertEqual((made.returncode, made.stderr), (UNKNOWN, ""))
        self.assertTrue(made.stdout.startswith("usage: check_compliance"))


COMPLETE = """
source "$1" && shift
COMP_WORDS=(check_compliance "$@") COMP_CWORD=$#
_check_compliance
[ ${#COMPREPLY[@]} -eq 0 ] || printf '%s\\n' "${COMPREPLY[@]}"
"""


class CompletionsTest(CheckTest):
    def long_options(self):
        """Returns the options in the help, without the short form of one that has both."""
        lines = self.check("-h").stdout.splitlines()
        found = re.findall(r"(?m)^  (?:-\w(?: [A-Z]+)?, )?(--?[a-z-]+)", "\n".join(lines))
        self.assertGreater(len(found), 10)
        return set(found)

    def offered(self, *words):
        script = SOURCE / "completions/bash/check_compliance"
        made = subprocess.run(["bash", "-c", COMPLETE, "bash", script, *words], capture_output=True,
                              text=True, timeout=60)
        self.assertEqual((made.returncode, made.stderr), (0, ""))
        return set(made.stdout.split())

    def test_bash_offers_every_option_of_the_help_once(self):
        self.assertEqual(self.offered("-"), self.long_options())
        self.assertEqual(self.offered("-d", "-s", "x", "-"),
                         self.long_options() - {"-d", "--strict"})
        self.assertEqual(self.offered("--no-result", ""), {"unknown", "critical"})
        self.assertEqual(self.offered("-w", ""), set())


SCENARIO = START_AGENT + """
mkdir -p /opt/bin
cp "$2" /opt/bin/compliance-query
[ -z "$4" ] || start_agent "$4" "$1"
check=$3
shift 4
PATH=/opt/bin:$PATH
"""
JUDGE = SCENARIO + 'status=0; "$check" "$@" || status=$?; echo "status $status"\n'


class EvaluationTest(CheckTest):
    def evaluate(self, scenario, *arguments, script=JUDGE):
        return in_sandbox(script, os.environ["CC_AGENT"], os.environ["CC_QUERY"], CHECK, scenario,
                          "-s", "Compliant", *arguments)

    def test_state_depends_on_the_rows_of_the_agent(self):
        scenario = 'row "a" "Compliant" "" "" "" ""\nrow "b" "Bad" "" "" "" ""\nfinish\n'
        output = self.evaluate(scenario, "-w", "1", "-c", "1", "http://example.com/", "Baseline.xml")
        self.assertRegex(output, r"^COMPLIANCE OK - 1 of 2 rows is bad \| .*bad=1;1;1;0;2.*\nstatus 0\n$")
        output = self.evaluate(scenario, "-d", "--flags", "gather,idle", "--wait", "1")
        self.assertRegex(output, r"^COMPLIANCE CRITICAL - .*: 'b' is 'Bad' \| .*\nstatus 2\n$")

    def test_failure_is_UNKNOWN_or_by_option_CRITICAL(self):
        for scenario, options, line in (
                ("", [], r"UNKNOWN - .*not installed.*exit status 3\)\nstatus 3"),
                ("", ["--flags", "nonsense"], r"UNKNOWN - .*nonsense.*exit status 2\)\nstatus 3"),
                ("garbage\n", ["--no-result", "critical"], r"CRITICAL - .*bad-answer.*\nstatus 2")):
            with self.subTest(line=line):
                self.assertRegex(self.evaluate(scenario, "-d", *options), f"^COMPLIANCE {line}\n$")

    def test_missing_compliance_query_is_UNKNOWN(self):
        made = self.check("-d", "-s", "a", PATH="/nonexistent")
        self.assertEqual((made.returncode, made.stdout),
                         (UNKNOWN, "COMPLIANCE UNKNOWN - compliance-query is not in PATH\n"))

    def test_timeout_ends_the_check_and_then_the_evaluation(self):
        output = self.evaluate("progress 10\n", "-d", "-t", "6",
                               script=JUDGE + "while pgrep -x compliance-quer >/opt/pid; "
                                              "do sleep 0.1; done; grep -c Close /opt/says\n")
        self.assertRegex(output,
                         r"^COMPLIANCE UNKNOWN - no result within 6 s\nstatus 3\n[1-9]\d*\n$")

    def test_SIGTERM_ends_the_evaluation(self):
        script = SCENARIO + ('"$check" "$@" >/opt/out & check=$!\n'
                           "until grep -q Open /opt/says; do sleep 0.1; done\n"
                           'kill $check; wait $check || echo "status $?"\n'
                             "cat /opt/out\nwhile pgrep -x compliance-quer >/opt/pid; "
                             "do sleep 0.1; done; grep -c Close /opt/says\n")
        output = self.evaluate("progress 10\n", "-d", script=script)
        self.assertRegex(output, r"^status 3\nCOMPLIANCE UNKNOWN - ended by signal 15\n[1-9]\d*\n$")


if __name__ == "__main__":
    unittest.main(verbosity=2)
