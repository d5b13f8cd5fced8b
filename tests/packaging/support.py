"""Shared by the tests in Python: paths, scratch directories, running programs, a sandbox."""

import os
import pathlib
import re
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).resolve().parent.parent.parent
BUILD = pathlib.Path(os.environ.get("CC_BUILD", SOURCE / "build/release"))
PREFIX = pathlib.Path(os.environ.get("CC_PREFIX", BUILD / "tests/packaging/prefix"))
VERSION = os.environ.get("CC_VERSION", "")
CC = os.environ.get("CC", "cc")
CXX = os.environ.get("CXX", "c++")


def run(*command, env=os.environ, **options):
    """Returns the output of a command that must succeed, with messages in English."""
    result = subprocess.run([str(word) for word in command], stdin=subprocess.DEVNULL,
                            capture_output=True, text=True, errors="replace", timeout=200,
                            env={**env, "LC_ALL": "C.UTF-8"}, **options)
    if result.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, command))} exited with {result.returncode}:\n"
                             f"{result.stdout}{result.stderr}")
    return result.stdout


class ScratchTest(unittest.TestCase):
    """Each test has an empty directory."""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.scratch = pathlib.Path(scratch.name)


def install(prefix, **environment):
    run("cmake", "--install", BUILD, "--prefix", prefix, env={**os.environ, **environment})


def links_of_documents(prefix):
    """Returns page and target of each link between installed documents, and the dangling links."""
    found = []
    for page in sorted((prefix / "share/doc/clientcompliance").rglob("*.md")):
        text = re.sub("`[^`]*`", "", page.read_text(encoding="utf-8"))
        for target in re.findall(r"\]\(([^)\s#]+)", text):
            if "://" not in target:
                found.append((page, target))
    dead = [f"{page.name}: {target}" for page, target in found
            if not (page.parent / target).exists()]
    return found, dead


def missing_of_site(prefix):
    """Returns the files that are missing in an installed site."""
    wanted = ["index.html", "style.css", "search/search_index.json", "api/Compliance_8h.html",
              *(f"man/{page.name}.html" for page in (SOURCE / "docs/man").iterdir())]
    return [name for name in wanted
            if not (prefix / "share/doc/clientcompliance/html" / name).is_file()]


def library_directory(prefix=PREFIX):
    (shared,) = prefix.glob("**/libclientcompliance.so")
    return shared.parent


SANDBOX = ["unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc",
           "--propagation", "private"]
EMPTY = "mount -t tmpfs none /opt && mount -t tmpfs none /var/opt"


# start_agent SCENARIO [PROGRAM] runs the stand-in agent, and waits until it is ready.
START_AGENT = r"""
start_agent() {
    mkdir -p /opt/VeskaClient/bin
    cp "${2:-$(command -v VeskaClient)}" /opt/VeskaClient/bin/VeskaClient
    printf '%s' "$1" >/opt/scenario
    : >/opt/says
    /opt/VeskaClient/bin/VeskaClient /opt/scenario >/opt/says &
    agent=$!
    until grep -q ready /opt/says; do sleep 0.1; done
}
"""


def sandbox():
    """Returns the command prefix of a sandbox. Where namespaces are forbidden, skips the test,
    or fails if the environment variable CI is set."""
    for more in ([], ["--user", "--map-root-user"]):
        words = SANDBOX + more
        if subprocess.run([*words, "sh", "-c", EMPTY], capture_output=True).returncode == 0:
            return words
    message = "This host forbids the namespaces of a sandbox."
    if os.environ.get("CI"):
        raise AssertionError(message)
    raise unittest.SkipTest(message)


def in_sandbox(script, *arguments, **options):
    """Returns the output of a shell script with an empty /opt and /var/opt and own processes."""
    return run(*sandbox(), "sh", "-e", "-c", f"{EMPTY}\n{script}", "sh", *arguments, **options)


class UnpackedPackages:
    """Tests of the packages that `unpack` extracts below `root`, with the libraries in `lib`."""

    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(scratch.cleanup)
        cls.root = pathlib.Path(scratch.name)
        cls.unpack()
        cls.lib = library_directory(cls.root)

    def test_contains_hardened_programs(self):
        run(SOURCE / "scripts/check-hardening", self.root / "usr/bin/ClientCompliance",
            self.root / "usr/libexec/clientcompliance/VeskaClient",
            self.lib / "libclientcompliance.so.1", self.lib / "libclientcompliance.a")

    def test_contains_the_targets_of_all_links(self):
        found, dead = links_of_documents(self.root / "usr")
        self.assertGreater(len(found), 15)
        self.assertEqual(dead, [])

    def test_contains_the_documentation_site(self):
        self.assertEqual(missing_of_site(self.root / "usr"), [])

    def test_contains_a_tool_that_runs_without_agent(self):
        output = in_sandbox('"$1" -d', self.root / "usr/bin/ClientCompliance")
        self.assertEqual(output, "COMPLIANCE_Open returned error: -6.\n")
