# SPDX-License-Identifier: MIT
"""Runs the module evaluate on the managed host, and stores its result on the controller."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import json
import os
import re
import tempfile

from ansible.errors import AnsibleActionFail
from ansible.plugins.action import ActionBase
from ansible_collections.clientcompliance.fleet.plugins.module_utils import stored_result

FILE_MODE = 0o640
NOT_RETURNED = ("head", "rows", "bad_rows", "provenance", "invocation")


def file_name(document):
    """By the start, so that the order of the names is that of the results."""
    return stored_result.utc_text(stored_result.order_of(document)[0]) + ".json"


def publish(path, document):
    """Writes a temporary file, which then replaces the path."""
    os.makedirs(os.path.dirname(path), mode=0o750, exist_ok=True)
    descriptor, temporary = tempfile.mkstemp(prefix=".", dir=os.path.dirname(path))
    try:
        with os.fdopen(descriptor, "w", encoding="utf-8") as file:
            json.dump(document, file, ensure_ascii=False)
            os.fchmod(file.fileno(), FILE_MODE)
            file.flush()
            os.fsync(file.fileno())
        os.rename(temporary, path)
    except BaseException:
        os.unlink(temporary)
        raise


def prune(directory, keep):
    for name in stored_result.collected_names(directory)[:-keep] if keep else []:
        os.unlink(os.path.join(directory, name))


class ActionModule(ActionBase):
    TRANSFERS_FILES = False

    def run(self, tmp=None, task_vars=None):
        super().run(tmp, task_vars)
        arguments = dict(self._task.args)
        directory, keep = self._own_arguments(arguments)
        result = self._execute_module("clientcompliance.fleet.evaluate", arguments,
                                      task_vars=task_vars)
        if "provenance" in result:
            self._store(result, directory, task_vars["inventory_hostname"], keep)
        for name in NOT_RETURNED:
            result.pop(name, None)
        return result

    def _own_arguments(self, arguments):
        directory, keep = arguments.pop("directory", None), arguments.pop("keep", 31)
        if not directory:
            raise AnsibleActionFail("missing required arguments: directory")
        if not re.match(r"[0-9]{1,6}\Z", str(keep)):
            raise AnsibleActionFail("keep: '{0}' is not a number of results".format(keep))
        return os.path.expanduser(directory), int(keep)

    def _store(self, result, directory, host, keep):
        if host in (".", "..") or "/" in host:
            raise AnsibleActionFail("'{0}' cannot be the name of a directory".format(host))
        directory = os.path.join(directory, host)
        document = dict(result["head"], provenance=result["provenance"])
        if "rows" in result:
            document["rows"] = result["rows"]
        try:
            stored_result.parse_document(json.dumps(document).encode("utf-8"))
            result["file"] = os.path.join(directory, file_name(document))
            result["changed"] = not os.path.exists(result["file"])
            if result["changed"] and not self._play_context.check_mode:
                publish(result["file"], document)
                prune(directory, keep)
        except (OSError, stored_result.ResultError) as error:
            raise AnsibleActionFail("the result could not be stored: {0}".format(error))
