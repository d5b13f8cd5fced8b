# SPDX-License-Identifier: MIT
"""Runs the module evaluate on the managed host, and stores its result on the controller."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import json
import os
import re
import time

from ansible.errors import AnsibleActionFail
from ansible.plugins.action import ActionBase
from ansible_collections.clientcompliance.fleet.plugins.module_utils import published_file, stored_result

MAX_NAME_CHARACTERS = 255
# The first bytes of a stored file. They have the outcome, which follows the version.
MAX_HEAD_BYTES = 200
DEFAULT_KEEP = 31
NOT_RETURNED = ("head", "rows", "bad_rows", "provenance", "invocation")


def file_name(document):
    """Returns a file name with the start time, so the names sort like the results."""
    return stored_result.utc_text(stored_result.order_of(document)[0]) + ".json"


def returned_document(result):
    """Returns the document in the return values of the module. Raises ResultError if invalid."""
    head = result.get("head")
    if not isinstance(head, dict):
        raise stored_result.ResultError("the host returned no document")
    first = {name: head.get(name) for name in ("schemaVersion", "outcome")}
    document = dict(first, **dict(head, provenance=result["provenance"]))
    if "rows" in result:
        document["rows"] = result["rows"]
    return stored_result.parse_document(json.dumps(document).encode("utf-8"))


def is_failed(path):
    with open(path, "rb") as file:
        return b'"outcome": "failed"' in file.read(MAX_HEAD_BYTES)


def by_age(directory, kept):
    """Returns the names of the results: the kept one, then the others, the newest first.

    Names in the future are from a wrong clock and count as the oldest.
    """
    now = stored_result.utc_text(time.time_ns())
    names = [name for name in stored_result.collected_names(directory) if name != kept]
    return [kept] + sorted(names, key=lambda name: (name <= now, name), reverse=True)


def prune(directory, keep, kept):
    """Removes old results. Counts failed ones separately, so they do not displace others."""
    counts = {False: 0, True: 0}
    for name in by_age(directory, kept) if keep else []:
        path = os.path.join(directory, name)
        kind = is_failed(path)
        counts[kind] += 1
        if counts[kind] > keep:
            os.unlink(path)


class ActionModule(ActionBase):
    TRANSFERS_FILES = False

    def run(self, tmp=None, task_vars=None):
        super().run(tmp, task_vars)
        arguments = dict(self._task.args)
        directory, keep = self._own_arguments(arguments)
        host = task_vars["inventory_hostname"]
        node_name = str(arguments.pop("node_name", None) or host)
        if host.startswith(".") or "/" in host:  # Reports skip hidden directories.
            raise AnsibleActionFail(
                "the inventory name '{0}' must not begin with '.' or contain '/'".format(host))
        result = self._execute_module("clientcompliance.fleet.evaluate", arguments,
                                      task_vars=task_vars)
        if "provenance" in result:
            self._store_and_prune(result, os.path.join(directory, host), node_name, keep)
        for name in NOT_RETURNED:
            result.pop(name, None)
        return result

    def _own_arguments(self, arguments):
        directory, keep = arguments.pop("directory", None), arguments.pop("keep", DEFAULT_KEEP)
        if not directory:
            raise AnsibleActionFail("missing required arguments: directory")
        if not re.match(r"[0-9]{1,6}\Z", str(keep)):
            raise AnsibleActionFail("keep: '{0}' is not a number of results".format(keep))
        return os.path.abspath(os.path.expanduser(directory)), int(keep)

    def _store_and_prune(self, result, directory, node_name, keep):
        """Adds the reason of a failure to the result."""
        failure = "the result was not stored"
        try:
            is_new = self._store(result, directory, node_name)
            failure = "older results were not removed"
            if is_new:
                prune(directory, keep, os.path.basename(result["file"]))
        except (OSError, stored_result.ResultError) as error:
            result.update(failed=True, msg="{0}: {1}".format(failure, error))

    def _store(self, result, directory, node_name):
        """Returns whether the result is new and was stored. Raises OSError, ResultError."""
        document = returned_document(result)
        found = stored_result.subject_of(document)[0]
        if found != node_name.encode("utf-8"):
            raise stored_result.ResultError(
                "it is of the host '{0}', expected '{1}'; node_name sets another name".format(
                    stored_result.visible(found.decode("utf-8", "backslashreplace"))[:MAX_NAME_CHARACTERS],
                    node_name))
        result["file"] = os.path.join(directory, file_name(document))
        result["changed"] = not os.path.exists(result["file"])
        if not result["changed"] or self._play_context.check_mode:
            return False
        data = json.dumps(document, ensure_ascii=False).encode("utf-8")
        published_file.publish(result["file"], data)
        return True
