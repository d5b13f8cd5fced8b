# SPDX-License-Identifier: MIT

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r"""
---
module: regressions
short_description: Find the rows of collected results that are no longer good
version_added: 1.0.0
description:
  - Compares the newest result of each host with the previous one, with C(compliance-diff). Writes
    the rows that are no longer good to a file.
  - If the newest result is not fresh, the host is not compared, because old regressions must not be
    reported as new.
  - The previous result is the newest earlier one with the same host name, document and site whose
    evaluation finished with a new response.
requirements:
  - compliance-diff
options:
  directory:
    description:
      - The directory in which M(clientcompliance.fleet.collect) stores results.
    type: path
    required: true
  dest:
    description:
      - The file for the regressions. It also has a line for each host in C(not_compared) and
        C(failures).
      - It has the mode 0640, independent of the umask.
    type: path
    required: true
  good:
    description:
      - The good results.
    type: list
    elements: str
    required: true
attributes:
  check_mode:
    description: Compares, and does not write the file.
    support: full
  diff_mode:
    description: There is no difference to show.
    support: none
  platform:
    description: The systems that the module runs on.
    platforms: linux
    support: full
extends_documentation_fragment:
  - clientcompliance.fleet.evaluation.max_age
seealso:
  - module: clientcompliance.fleet.collect
author:
  - The ClientCompliance authors (@clientcompliance)
"""

EXAMPLES = r"""
- name: Write the regressions of all hosts
  clientcompliance.fleet.regressions:
    directory: /srv/compliance/results
    dest: /srv/compliance/regressions.txt
    good: [Compliant, Not Applicable]
  delegate_to: localhost
"""

RETURN = r"""
regressed:
  description: The hosts with regressions.
  returned: always
  type: list
  elements: str
  sample: [web1]
not_compared:
  description:
    - The reason for each host that was not compared, because its newest result is not fresh, or
      because it has no earlier fresh result of the same host name, site and document.
    - A host with only one stored result has no reason here if that result is fresh.
  returned: always
  type: dict
  sample: {web2: "the result is 50 h old, more than 26 h"}
failures:
  description: The reason for each host with results that cannot be read or compared.
  returned: always
  type: dict
  sample: {web3: "/srv/compliance/results/web3/20260131T023104.512Z.json: not JSON"}
"""

import os

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.clientcompliance.fleet.plugins.module_utils import published_file, stored_result

ARGUMENTS = {
    "directory": {"type": "path", "required": True},
    "dest": {"type": "path", "required": True},
    "good": {"type": "list", "elements": "str", "required": True},
    "max_age": {"type": "str", "default": stored_result.DEFAULT_MAX_AGE},
}


class NotCompared(Exception):
    """The results cannot be compared. The message states the reason."""


def result_before(paths, subject):
    """Returns the newest path with a fresh result of the subject, or None. Raises ResultError."""
    for path in reversed(paths):
        document = stored_result.read_file(path)
        try:
            stored_result.check_fresh(document)
        except stored_result.ResultError:
            continue
        if stored_result.subject_of(document) == subject:
            return path
    return None


def find_pair(directory, max_age):
    """Returns the files to compare, or None if there are fewer than two results.

    Raises ResultError, NotCompared.
    """
    paths = [os.path.join(directory, name) for name in stored_result.collected_names(directory)]
    if not paths:
        return None
    document = stored_result.read_file(paths[-1])
    try:
        stored_result.check_fresh(document, max_age)
    except stored_result.ResultError as error:
        raise NotCompared(str(error))
    before = result_before(paths[:-1], stored_result.subject_of(document))
    if before is None and len(paths) > 1:
        raise NotCompared("there is no earlier fresh result of this host, site and document")
    return None if before is None else (before, paths[-1])


class Comparison(object):
    def __init__(self, module, max_age):
        self.module = module
        self.max_age = max_age
        self.program = module.get_bin_path("compliance-diff", required=True)
        self.text = ""
        self.found = {"regressed": [], "not_compared": {}, "failures": {}}

    def add(self, host, directory):
        try:
            pair = find_pair(directory, self.max_age)
            if pair is not None:
                self._compare(host, pair)
        except NotCompared as reason:
            self._add_reason("not_compared", host, str(reason))
        except (OSError, stored_result.ResultError) as error:
            self._add_reason("failures", host, str(error))

    def _compare(self, host, pair):
        good = ",".join(self.module.params["good"])
        status, output, messages = self.module.run_command(
            [self.program, "--regressions", good, "--"] + list(pair), errors="surrogateescape")
        if status > 1 or status < 0:
            raise stored_result.ResultError(messages.strip() or "compliance-diff ended by a signal")
        if status == 1:
            self.text += output
            self.found["regressed"].append(host)

    def _add_reason(self, kind, host, reason):
        self.found[kind][host] = stored_result.visible(reason)[:stored_result.MAX_REASON_CHARACTERS]
        self.text += "{0}: not compared: {1}\n".format(host, self.found[kind][host])


def has_content(path, data):
    try:
        with open(path, "rb") as file:
            return file.read() == data
    except OSError:
        return False


def host_directories(directory):
    names = sorted(name for name in os.listdir(directory) if not name.startswith("."))
    found = [(name, os.path.join(directory, name)) for name in names]
    return [(name, path) for name, path in found if os.path.isdir(path)]


def run(module, max_age):
    comparison = Comparison(module, max_age)
    for host, directory in host_directories(module.params["directory"]):
        comparison.add(host, directory)
    path = os.path.abspath(module.params["dest"])
    data = comparison.text.encode("utf-8", "surrogateescape")
    changed = not has_content(path, data)
    if changed and not module.check_mode:
        published_file.publish(path, data)
    module.exit_json(changed=changed, **comparison.found)


def main():
    module = AnsibleModule(ARGUMENTS, supports_check_mode=True)
    try:
        run(module, stored_result.parse_seconds(module.params["max_age"]))
    except ValueError as error:
        module.fail_json(msg="max_age: {0}".format(error))
    except OSError as error:
        # The error of a write, such as on a full disk, has no file name.
        path = error.filename or module.params["dest"]
        module.fail_json(msg="{0}: {1}".format(path, error.strerror))


if __name__ == "__main__":
    main()
