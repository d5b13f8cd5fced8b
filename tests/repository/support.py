"""Shared by the tests of the repository: its files, and scratch repositories."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).resolve().parent.parent.parent

# Without the configuration of the user and the system, to test only the files of the repository.
ENVIRONMENT = {
    **{name: value for name, value in os.environ.items() if not name.startswith("GIT_")},
    "GIT_CONFIG_GLOBAL": "/dev/null", "GIT_CONFIG_NOSYSTEM": "1",
    "GIT_AUTHOR_NAME": "Test", "GIT_AUTHOR_EMAIL": "test@localhost",
    "GIT_COMMITTER_NAME": "Test", "GIT_COMMITTER_EMAIL": "test@localhost",
}
GENERATED = {".git", "__pycache__"}


def run(*command, directory, **more):
    return subprocess.run(command, cwd=directory, env={**ENVIRONMENT, **more}, timeout=100,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, errors="replace")


def must(*command, directory, **more):
    """Returns the output of a command that must succeed."""
    result = run(*command, directory=directory, **more)
    if result.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, command))} exited with {result.returncode}:\n"
                             f"{result.stdout}")
    return result.stdout


class ScratchTest(unittest.TestCase):
    """Each test has an empty directory."""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = pathlib.Path(scratch.name)


def project_files():
    """Yields the files of the project, from the root. Works without git, in a source archive."""
    for directory, folders, names in os.walk(SOURCE):
        here = pathlib.Path(directory).relative_to(SOURCE)
        folders[:] = [name for name in folders if name not in GENERATED
                      and not (directory == str(SOURCE) and name.startswith("build"))]
        yield from ((here / name).as_posix() for name in names if name != ".git")


def commit_all(directory):
    must("git", "add", "--force", ".", directory=directory)
    must("git", "commit", "--quiet", "--message=All", directory=directory)


def scratch_repository(directory, names):
    """Copies files of the project into a new repository."""
    directory.mkdir(exist_ok=True)
    must("git", "init", "--quiet", "--initial-branch=main", ".", directory=directory)
    for name in names:
        (directory / name).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(SOURCE / name, directory / name)
