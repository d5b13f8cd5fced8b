"""Files that the collection writes on the controller. Their modes do not depend on the umask."""

from __future__ import absolute_import, division, print_function

import os
import tempfile

__metaclass__ = type

DIRECTORY_MODE = 0o750
FILE_MODE = 0o640


def make_directories(path):
    """Creates the directory and its missing parents."""
    if os.path.isdir(path):
        return
    make_directories(os.path.dirname(path))
    try:
        os.mkdir(path)
        os.chmod(path, DIRECTORY_MODE)
    except FileExistsError:
        pass  # A task of another host has created it.


def publish(path, data):
    """Writes a temporary file and renames it to the path. REQUIRES: an absolute path."""
    make_directories(os.path.dirname(path))
    descriptor, temporary = tempfile.mkstemp(prefix=".", dir=os.path.dirname(path))
    try:
        with os.fdopen(descriptor, "wb") as file:
            file.write(data)
            os.fchmod(file.fileno(), FILE_MODE)
            file.flush()
            os.fsync(file.fileno())
        os.rename(temporary, path)
    except BaseException:
        os.unlink(temporary)
        raise
