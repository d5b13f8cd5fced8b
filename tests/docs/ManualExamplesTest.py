#!/usr/bin/python3
"""Runs each command line in an EXAMPLES section of the manual pages, in a sandbox.

A command has to exit with 0, or with the status that "echo $?" shows after it. Where the page shows
the output of a command, that is the output. Environment: CC_PROGRAMS has the directories of the
programs, separated by colons, and CC_LIBRARY that of the library. PluginTest needs
python3-nagiosplugin, and ServiceTest systemd; without arguments, only ExamplesTest runs.
"""

import base64
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest

TESTS = pathlib.Path(__file__).resolve().parent.parent
sys.path[:0] = [str(TESTS / "packaging"), str(TESTS / "integrations")]
from results import finished, row, write  # noqa: E402
from support import EMPTY, SOURCE, START_AGENT, ScratchTest, run, sandbox  # noqa: E402
from systemd_sandbox import run_under_systemd, stage_components  # noqa: E402

MANUALS = SOURCE / "docs/man"
ONE_ROW = 'row "baseline-001" "Compliant" "pass/fail" "1523" "At least 14 characters" ""\nfinish\n'
ROWS = """row "b-001" "Compliant" "" "" "" ""
row "b-002" "Not Applicable" "" "" "" ""
row "b-003" "Not Compliant" "" "" "" ""
finish
"""
# The system that the pages describe: host, agent and directories of results.
START = START_AGENT + r"""
hostname web1.example.com
mount -t tmpfs none /var/lib
mkdir -p /opt/VeskaClient/bin /var/lib/compliance
"""
# Runs a command after one with the status $status, and reports its status and output.
RUN = r"""
with_status() { return "$1"; }
run() {
    with_status "$status"
    eval "$1" >"$reports/output" 2>&1
    status=$?
    echo "== $status $(base64 -w 0 <"$reports/output")"
}
status=0 reports=$(mktemp -d)
"""


def unescaped(text):
    """Returns a literal line of mdoc(7) as it is displayed."""
    known = {r"\e": "\\", r"\-": "-", r"\(aq": "'", r"\&": ""}
    return re.sub(r"\\(?:\(..|.)", lambda match: known[match.group(0)], text)


def blocks(page):
    """Returns the literal blocks of the section EXAMPLES."""
    text = (MANUALS / page).read_text(encoding="utf-8")
    section = re.search(r"(?ms)^\.Sh EXAMPLES\n(.*?)^\.Sh ", text)
    found = re.findall(r"(?ms)^\.Dl (.*?)$|^\.Bd -literal[^\n]*\n(.*?)^\.Ed", section.group(1))
    return [unescaped(line + block).rstrip("\n") for line, block in found]


def is_session(block):
    return block.startswith(("$ ", "# "))


def is_complete(command):
    return (not command.endswith(("\\", "|")) and
            subprocess.run(["bash", "-n", "-c", command], capture_output=True).returncode == 0)


def commands(session):
    """Yields each command and its output, or None if the session shows no output."""
    lines = session.split("\n")
    while lines:
        command = lines.pop(0)[2:]
        while not is_complete(command):
            command += "\n" + lines.pop(0)
        output = []
        while lines and not re.match(r"[$#] ", lines[0]):
            output.append(lines.pop(0))
        yield command, "\n".join(output) + "\n" if output else None


def run_in_sandbox(script, directory):
    path = f"{os.environ['CC_PROGRAMS']}:{SOURCE / 'integrations/monitoring'}:{os.environ['PATH']}"
    library = os.environ["CC_LIBRARY"]
    variables = {"PATH": path, "CPATH": str(SOURCE), "LIBRARY_PATH": library,
                 "LD_LIBRARY_PATH": library}
    return run(*sandbox(), "--uts", "bash", "-c", f"set -e\n{EMPTY}\n{START}\n{script}",
               cwd=directory, env={**os.environ, **variables})


def reports(output):
    """Yields the status and output of each command."""
    for status, text in re.findall(r"(?m)^== (\d+) (.*)", output):
        yield int(status), base64.b64decode(text).decode("latin-1")


class PageTest(ScratchTest):
    maxDiff = None

    def check_page(self, page, start="", files=(), run_script=run_in_sandbox):
        """Runs the sessions of the page. Other blocks are files with these names."""
        found = blocks(page)
        contents = [block for block in found if not is_session(block)]
        self.assertEqual(len(contents), len(files))
        for name, content in zip(files, contents):
            (self.scratch / name).write_text(content + "\n", encoding="utf-8")
        expected = [pair for block in found if is_session(block) for pair in commands(block)]
        script = [start, "set +e", RUN, *(f"run {shlex.quote(command)}" for command, _ in expected)]
        made = list(reports(run_script("\n".join(script), self.scratch)))
        self.assertEqual(len(made), len(expected))
        self.check_commands(expected, made)

    def check_commands(self, expected, made):
        shown_later = [command == "echo $?" for command, _ in expected[1:]] + [False]
        for (command, output), (status, text), is_shown in zip(expected, made, shown_later):
            with self.subTest(command=command):
                self.assertTrue(is_shown or status == 0, f"exit status {status}:\n{text}")
                if output is not None:
                    self.assertEqual(self.without_ages(text), self.without_ages(output))

    @staticmethod
    def without_ages(text):
        return re.sub(r"age=\d+s", "age=...", text)


class ExamplesTest(PageTest):
    def test_every_page_with_examples_is_run(self):
        tests = {name for case in (ExamplesTest, PluginTest, ServiceTest) for name in vars(case)}
        pages = [path.name for path in MANUALS.iterdir()
                 if "\n.Sh EXAMPLES\n" in path.read_text(encoding="utf-8")]
        self.assertEqual(len(pages), 9)
        for page in pages:
            self.assertIn("test_" + re.sub(r"\W", "_", page.rpartition(".")[0]), tests)

    def test_ClientCompliance(self):
        self.check_page("ClientCompliance.1", f"start_agent {shlex.quote(ONE_ROW)}")

    def test_VeskaClient(self):
        self.check_page("VeskaClient.1", 'cp "$(command -v VeskaClient)" .', ["first.scenario"])

    def test_libclientcompliance(self):
        self.check_page("libclientcompliance.3", f"start_agent {shlex.quote(ONE_ROW)}",
                        ["evaluate.c"])

    def test_compliance_query(self):
        self.check_page("compliance-query.1", f"start_agent {shlex.quote(ROWS)}")

    def test_compliance_doctor(self):
        self.check_page("compliance-doctor.1", r"""
            cp "$(command -v VeskaClient)" /opt/VeskaClient/bin/
            mkdir -p /var/opt/VeskaClient/RequestDir /var/opt/VeskaClient/ResponseDir
            """)

    def test_compliance_diff(self):
        rows = [row("Compliant", "b-001"), row("Compliant", "b-002"), row("Compliant", "b-003")]
        write(self.scratch / "yesterday.json", finished(rows, host="web1.example.com", age=86400))
        today = [row("Compliant", "b-001"), row("Not Compliant", "b-002")]
        write(self.scratch / "today.json", finished(today, host="web1.example.com"))
        scenario = "".join(f'row "{one["designator"]}" "{one["result"]}" "" "" "" ""\n'
                           for one in today)
        self.check_page("compliance-diff.1", f"start_agent {shlex.quote(scenario + 'finish')}")

    def test_compliance_report(self):
        rows = [row("Compliant", "b-001"), row("Not Compliant", "b-002")]
        write(self.scratch / "results/web1.json", finished(rows, host="web1.example.com"))
        (self.scratch / "hosts.txt").write_text("web1.example.com\nweb2.example.com\n")
        self.check_page("compliance-report.1")


class PluginTest(PageTest):
    def test_check_compliance(self):
        rows = [row("Compliant"), row("Compliant"), row("Not Applicable")]
        write(self.scratch / "nightly/result.json", finished(rows, age=120))
        # The service of Icinga is not run.
        self.check_page("check_compliance.1", f"""
            mkdir /var/lib/compliance-evaluate
            cp -R nightly /var/lib/compliance-evaluate
            start_agent {shlex.quote(ROWS)}
            """, ["icinga.conf"])


class ServiceTest(PageTest):
    def test_compliance_evaluate(self):
        stage = pathlib.Path(tempfile.mkdtemp(prefix="cc-examples-"))
        self.addCleanup(shutil.rmtree, stage)
        stage_components(stage, "systemd", "companions", "demo")
        start = START.replace("mount -t tmpfs none /var/lib\n", "") + f"""
            PATH=$PATH:/usr/local/libexec/clientcompliance
            start_agent {shlex.quote(ROWS)}
            mkdir -p /etc/clientcompliance
            printf 'FLAGS=gather\\n' >/etc/clientcompliance/nightly.conf
            """
        self.check_page("compliance-evaluate.8", start,
                        run_script=lambda script, _: run_under_systemd(stage, script))


if __name__ == "__main__":
    unittest.main(defaultTest="ExamplesTest", verbosity=2)
