#!/usr/bin/env python3
"""Reads the reports of the real compliance-report with programs that others use.

CSV with Python's csv, JUnit with junitparser, HTML with html5lib and with Chromium, Markdown with
python-markdown. CC_REPORT names the program.
"""

import csv
import io
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

import html5lib
import junitparser
import markdown

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))
from browser import Browser

REPORT = os.environ["CC_REPORT"]

# Markup, quotes, template tags, links, formulas, and characters that are invisible, change the
# direction or control a terminal. Without escapes, markup would become an element or a script.
ADVERSARIAL = [
    "<script>document.title='run'</script>",
    "<img src=x onerror=\"document.title='run'\">",
    "\"><svg onload=document.title='run'><b class=injected>",
    "' onmouseover='document.title=1' x='",
    "</style></script><b class=injected>--><!--",
    "]]><b class=injected/>&lt;&amp;&#60;",
    "{{host}}{{{style}}}{{#hosts}}",
    "\u202egnp.exe\u2066\u200b\u0000\u001b[2J\u0007\t\r\n",
    "\ufffe\uffff\U000e0041 caf\u00e9 \U0001f600",
    "[link](javascript:run) **bold** | cell <javascript:run> `code`",
    "=cmd|' /C calc'!A0", "+1", "-1", "@SUM(1)", "'quoted",
]
LONG_HOST = "application-server-0001.datacenter1.europe.internal.servers.example.com"


def provenance(host, document):
    return {"host": host, "url": ADVERSARIAL[0], "document": document,
            "start": "2026-03-01T08:30:00.000+00:00", "end": "2026-03-01T08:31:00.000+00:00",
            "response": {"fresh": True}, "agent": {"modified": None}}


def result(host, rows, document="Doc.xml"):
    return json.dumps({"schemaVersion": 1, "outcome": "finished", "rowCount": len(rows),
                       "provenance": provenance(host, document), "rows": rows})


def failure(host):
    return json.dumps({"schemaVersion": 1, "outcome": "failed", "exitStatus": 7,
                       "failure": ADVERSARIAL[1], "message": " ".join(ADVERSARIAL),
                       "provenance": provenance(host, ADVERSARIAL[2])})


NAMES = ["designator", "result", "resultType", "evaluationTime", "description", "comment"]
# Each adversarial text in each field.
ROWS = [dict(zip(NAMES, ["plain", "Pass", "type", "17", "text", ""]))] + [
    dict(zip(NAMES, [text if field == index else f"{name}{number}"
                     for index, name in enumerate(NAMES)]))
    for field in range(len(NAMES)) for number, text in enumerate(ADVERSARIAL)]


def setUpModule():
    global directory
    directory = pathlib.Path(tempfile.mkdtemp(prefix="cc-report-"))
    results = directory / "results"
    results.mkdir()
    (results / "rows.json").write_text(result("web1", ROWS), encoding="utf-8")
    for number, text in enumerate(ADVERSARIAL):
        (results / f"host{number}.json").write_text(
            result(text, [{**ROWS[0], "result": text}], document=text), encoding="utf-8")
    (results / "long.json").write_text(result(LONG_HOST, ROWS[:1]), encoding="utf-8")
    (results / "failed.json").write_text(failure("web2"), encoding="utf-8")
    (results / "<b class=injected>.json").write_text("{}", encoding="utf-8")
    (directory / "hosts").write_text("web1\nweb2\nsilent\n")
    command = [REPORT, "--strict", "Pass", "--hosts", directory / "hosts", results]
    for kind in ("html", "csv", "junit", "markdown", "json"):
        command.append(f"--{kind}={directory / kind}")
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    assert done.returncode == 1, done.stderr
    (directory / "html").rename(directory / "report.html")


def tearDownModule():
    shutil.rmtree(directory)


def read(name):
    return (directory / name).read_bytes().decode("utf-8")


class CsvTest(unittest.TestCase):
    def test_csv_reader_restores_all_rows(self):
        lines = list(csv.DictReader(io.StringIO(read("csv"), newline=""), strict=True))

        def restored(text):
            return text[1:] if text.startswith("'") else text

        found = [{name: restored(line[name]) for name in NAMES} for line in lines
                 if line["kind"] == "row" and line["host"] == "web1"]
        wanted = [{name: text.replace("\0", "\\x00") for name, text in row.items()} for row in ROWS]
        self.assertEqual(found, wanted)

    def test_no_field_begins_like_a_formula(self):
        for line in csv.reader(io.StringIO(read("csv"), newline=""), strict=True):
            for field in line:
                self.assertNotIn(field[:1], list("=+-@\t\r"))

    def test_has_hosts_without_rows_and_files_that_were_not_read(self):
        lines = list(csv.DictReader(io.StringIO(read("csv"), newline="")))
        self.assertEqual((lines[0]["kind"], lines[0]["host"], lines[0]["condition"]),
                         ("host", "silent", "missing"))
        self.assertEqual(lines[-1]["kind"], "file")
        self.assertTrue(lines[-1]["file"].endswith("<b class=injected>.json"))


class JunitTest(unittest.TestCase):
    def test_failing_rows_are_failures_and_conditions_are_errors(self):
        suites = {suite.name: suite for suite in
                  junitparser.JUnitXml.fromfile(str(directory / "junit"))}
        rows = suites["web1 (Doc.xml)"]
        failing = [row for row in ROWS if row["result"] != "Pass"]
        self.assertEqual((rows.tests, rows.failures, rows.errors), (len(ROWS), len(failing), 0))
        cases = list(rows)
        self.assertEqual(sum(isinstance(entry, junitparser.Failure)
                             for case in cases for entry in case.result), len(failing))
        self.assertEqual(cases[0].name, "plain")
        self.assertEqual(suites["silent"].errors, 1)
        (case,) = suites["silent"]
        self.assertIsInstance(case.result[0], junitparser.Error)
        self.assertEqual(suites["compliance-report"].errors, 1)


class Html5libTest(unittest.TestCase):
    def test_is_well_formed_without_elements_from_texts(self):
        parser = html5lib.HTMLParser(strict=False, namespaceHTMLElements=False)
        tree = parser.parse(read("report.html"))
        self.assertEqual(parser.errors, [])
        self.assertEqual(len(tree.findall(".//script")), 1)
        self.assertEqual(tree.findall(".//img"), [])
        self.assertEqual(tree.findall(".//*[@class='injected']"), [])
        for element in tree.iter():
            for name in element.attrib:
                self.assertFalse(str(name).startswith("on"), element)
                self.assertNotIn(name, ("src", "href", "action", "style"))
        rows = tree.findall(".//table[@id='rows-table']/tbody/tr")
        self.assertEqual(len(rows), sum(row["result"] != "Pass" for row in ROWS) + len(ADVERSARIAL))

    def test_labels_every_control_and_heading(self):
        tree = html5lib.parse(read("report.html"), namespaceHTMLElements=False)
        labels = {label.get("for") for label in tree.findall(".//label")}
        for control in tree.findall(".//input"):
            self.assertIn(control.get("id"), labels)
        for heading in tree.findall(".//th"):
            self.assertIn(heading.get("scope"), ("col", "row"))
        for table in tree.findall(".//table"):
            self.assertIsNotNone(table.find("caption"))
        for picture in tree.findall(".//{*}svg") + tree.findall(".//svg"):
            self.assertTrue(picture.get("aria-label"))


class MarkdownTest(unittest.TestCase):
    def test_adversarial_texts_do_not_become_markup(self):
        page = markdown.markdown(read("markdown"), extensions=["tables"])
        tree = html5lib.parseFragment(page, namespaceHTMLElements=False)
        names = {element.tag for element in tree.iter() if isinstance(element.tag, str)}
        self.assertLessEqual(names, {"DOCUMENT_FRAGMENT", "h1", "h2", "p", "table", "thead", "tbody",
                                     "tr", "th", "td", "ul", "li"})
        for row in tree.findall(".//tr"):
            self.assertIn(len(row), (2, 4, 6))
        text = "".join(tree.itertext())
        self.assertIn(ADVERSARIAL[0], text)
        self.assertIn("[link](javascript:run) **bold** | cell", text)


class ChromiumTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = Browser(directory / "profile")

    @classmethod
    def tearDownClass(cls):
        cls.browser.close()

    def setUp(self):
        self.page = directory / "report.html"

    def test_adversarial_texts_run_no_script_and_create_no_element(self):
        self.browser.open(self.page, 1200)
        self.assertTrue(self.browser.value("document.title").startswith("Compliance report"))
        self.assertEqual(self.browser.value("document.querySelectorAll('.injected, img').length"), 0)
        self.assertEqual(self.browser.value("document.scripts.length"), 1)
        self.assertEqual(self.browser.value(
            "performance.getEntriesByType('resource').length"), 0)

    def test_shows_texts_with_escapes(self):
        self.browser.open(self.page, 1200)
        text = self.browser.value("document.body.textContent")
        for adversarial in ADVERSARIAL[:7]:
            self.assertIn(adversarial, text)
        self.assertIn("\\u202egnp.exe\\u2066\\u200b\\x00\\x1b[2J\\x07\\t\\r\\n", text)
        for character in "\u202e\u2066\u200b\u001b\u0007\ufffe":
            self.assertNotIn(character, text)

    def test_fits_both_widths_in_both_schemes(self):
        colors = set()
        for scheme in ("light", "dark"):
            for width in (1200, 380):
                self.browser.open(self.page, width, scheme)
                self.assertEqual(self.browser.value("innerWidth"), width)
                self.assertLessEqual(self.browser.value("document.documentElement.scrollWidth"), width)
            colors.add(self.browser.value("getComputedStyle(document.body).backgroundColor"))
        self.assertEqual(len(colors), 2)

    def test_filters_and_sorts(self):
        self.browser.open(self.page, 1200)
        shown = "[...document.querySelectorAll('#hosts-table tbody tr')].filter(r => !r.hidden)"
        self.assertEqual(self.browser.value(f"{shown}[0].cells[0].textContent"), "silent")
        self.browser.value("const i = document.getElementById('hosts-filter'); i.value = 'WEB1 doc';"
                           " i.dispatchEvent(new Event('input'))")
        self.assertEqual(self.browser.value(f"{shown}.map(r => r.cells[0].textContent).join()"), "web1")
        self.browser.value("i.value = ''; i.dispatchEvent(new Event('input'))")
        heading = "document.querySelector('#hosts-table thead').rows[0].cells[5]"
        for order, compare in (("ascending", int.__le__), ("descending", int.__ge__)):
            self.browser.value(f"{heading}.querySelector('button').click()")
            self.assertEqual(self.browser.value(f"{heading}.getAttribute('aria-sort')"), order)
            counts = [int(count) for count in
                      self.browser.value(f"{shown}.map(r => r.cells[5].textContent).join()").split(",")]
            self.assertGreater(len(set(counts)), 1)
            self.assertTrue(all(compare(a, b) for a, b in zip(counts, counts[1:])), counts)

    def test_host_name_wraps_only_after_dots(self):
        for width in (1200, 380):
            self.browser.open(self.page, width)
            lines = self.browser.value(
                "const host = [...document.querySelectorAll('#hosts-table tbody th')]"
                f".find(cell => cell.textContent === '{LONG_HOST}');"
                "const range = document.createRange();"
                "const lines = node => (range.selectNodeContents(node),"
                " new Set([...range.getClientRects()].map(box => box.top)).size);"
                "[lines(host), ...[...host.childNodes].filter(node => node.data).map(lines)]")
            self.assertGreater(lines[0], 1)
            self.assertEqual(set(lines[1:]), {1}, lines)

    def test_is_readable_without_javascript(self):
        self.browser.open(self.page, 1200, script=False)
        self.assertEqual(self.browser.value("document.querySelectorAll('thead button').length"), 0)
        self.assertEqual(self.browser.value("getComputedStyle(document.querySelector('.tools')).display"),
                         "none")
        self.assertIn("silent", self.browser.value("document.querySelector('#hosts-table').innerText"))


if __name__ == "__main__":
    unittest.main()
