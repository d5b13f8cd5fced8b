"""Shared by the tests of the Ansible collection: its installation, and playbook runs."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

from support import SOURCE

COLLECTION = "clientcompliance.fleet"


def require(*programs):
    """Exits with a message if one of the programs is missing."""
    for program in programs:
        if shutil.which(program) is None:
            sys.exit(f"{pathlib.Path(sys.argv[0]).name}: {program} is missing; scripts/setup consumers installs it")


class CollectionTest(unittest.TestCase):
    """Each test class has a scratch directory, into which the collection is installed."""

    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(scratch.cleanup)
        cls.scratch = pathlib.Path(scratch.name)
        build = cls.run_program("ansible-galaxy", "collection", "build", SOURCE / "integrations/ansible",
                                "--output-path", cls.scratch)
        assert build.returncode == 0, build.stderr
        (archive,) = cls.scratch.glob("*.tar.gz")
        install = cls.run_program("ansible-galaxy", "collection", "install", archive, "--offline",
                                  "-p", cls.scratch / "collections")
        assert install.returncode == 0, install.stderr

    @classmethod
    def run_program(cls, *command, timeout=280, **environment):
        path = f"{pathlib.Path(os.environ['CC_QUERY']).parent}:{os.environ['PATH']}"
        return subprocess.run(
            list(map(str, command)), stdin=subprocess.DEVNULL, capture_output=True, text=True,
            timeout=timeout, cwd=cls.scratch,
            env={"PATH": path, "HOME": str(cls.scratch), "LC_ALL": "C.UTF-8",
                 "ANSIBLE_COLLECTIONS_PATH": str(cls.scratch / "collections"),
                 "ANSIBLE_SSH_ARGS": "-o ControlMaster=no", "ANSIBLE_FORKS": "9",
                 "ANSIBLE_NOCOWS": "1", "ANSIBLE_PIPELINING": "1", "ANSIBLE_LOCALHOST_WARNING": "False", **environment})

    def play(self, status, playbook, *arguments, **more):
        """Returns the output of ansible-playbook, which must exit with this status."""
        made = self.run_program("ansible-playbook", "-i", self.hosts, playbook, *arguments, **more)
        self.assertEqual(made.returncode, status, made.stdout + made.stderr)
        return made.stdout

    def play_report(self, status, directory, *arguments, **more):
        return self.play(status, f"{COLLECTION}.report", "-e", f'fleet_directory="{directory}"',
                         "-e", '{"fleet_good": ["Compliant"]}', *arguments, **more)
