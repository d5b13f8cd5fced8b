# SPDX-License-Identifier: MIT

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r"""
---
module: evaluate
short_description: Evaluate a compliance document, or read a stored result
version_added: 1.0.0
description:
  - Evaluates a compliance document with C(compliance-query) on the managed host, or reads a result
    that C(compliance-query --json) stored there.
  - Never reports a change. An evaluation writes only the request to the agent and the lock file.
  - Fails with the reason if there is no fresh result, if the result has no rows and I(allow_empty)
    is false, or if a row has a result that is not in I(good).
requirements:
  - compliance-query on the managed host, except with I(path)
  - Python 3.6 on the managed host
attributes:
  check_mode:
    description: Evaluates or reads in check mode too, because neither reports a change.
    support: full
  diff_mode:
    description: There is no difference to show.
    support: none
  platform:
    description: The systems that the module runs on.
    platforms: linux
    support: full
extends_documentation_fragment:
  - clientcompliance.fleet.evaluation
  - clientcompliance.fleet.evaluation.max_age
seealso:
  - module: clientcompliance.fleet.collect
author:
  - The ClientCompliance authors (@clientcompliance)
"""

EXAMPLES = r"""
- name: Evaluate a document, and fail unless every row is good
  clientcompliance.fleet.evaluate:
    url: http://example.com:52311/cgi-bin/qzgather.exe/actionsite
    document: Baseline.xml
    flags: [gather]
    good: [Compliant, Not Applicable]

- name: Read the newest result of the nightly evaluation
  clientcompliance.fleet.evaluate:
    path: /var/lib/compliance-evaluate/nightly
  register: nightly

- name: Show the rows that are not compliant
  ansible.builtin.debug:
    msg: "{{ nightly.rows | rejectattr('result', 'equalto', 'Compliant') | map(attribute='designator') }}"
"""

RETURN = r"""
rows:
  description:
    - The rows of the result.
    - A text that is not UTF-8 has a second member with its exact bytes, such as C(commentBase64).
  returned: if there is the result of a finished evaluation, fresh or not
  type: list
  elements: dict
  contains:
    designator:
      description: The designator of the row.
      type: str
    result:
      description: The result of the row.
      type: str
    resultType:
      description: The type of the result.
      type: str
    evaluationTime:
      description: The duration of the evaluation of the row, as the agent wrote it.
      type: str
    description:
      description: The description of the row.
      type: str
    comment:
      description: The comment of the row.
      type: str
  sample: [{designator: a, result: Compliant, resultType: "", evaluationTime: "15", description: "",
            comment: ""}]
row_count:
  description: The number of rows.
  returned: if there is the result of a finished evaluation, fresh or not
  type: int
  sample: 1
bad_rows:
  description: The rows with a result that is not in I(good).
  returned: with I(good), if there is a fresh result that has rows or that I(allow_empty) accepts
  type: list
  elements: dict
provenance:
  description:
    - The facts of the evaluation, such as C(host), C(url), C(document), C(start),
      C(end), C(durationSeconds) and C(results), the number of rows with each result.
  returned: if compliance-query wrote a document
  type: dict
  sample: {host: web1, end: "2026-01-31T02:31:04.512+00:00", results: {Compliant: 1}}
head:
  description: The other members of the document of compliance-query, for the module collect.
  returned: if compliance-query wrote a document
  type: dict
  sample: {schemaVersion: 1, outcome: finished, rowCount: 1}
source:
  description: The file of the stored result.
  returned: with I(path), if there is a result
  type: str
age_seconds:
  description: The seconds since the end of the evaluation; negative for a result from the future.
  returned: if compliance-query wrote a document
  type: int
  sample: 3600
exit_status:
  description: The exit status of compliance-query.
  returned: if an evaluation failed
  type: int
  sample: 3
failure:
  description: The exit status as a word.
  returned: if compliance-query wrote the document of a failed evaluation
  type: str
  sample: no-agent
explanation:
  description: The cause and the remedy, as C(compliance-query --explain) prints them.
  returned: if compliance-query failed
  type: str
  sample: |-
    3 (no-agent): the agent is not installed, not running or not configured
    Cause: The agent's program, its request directory or its process is missing, or this user cannot see it.
    Remedy: Install or start the agent; compliance-doctor shows which part is missing.
"""

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.clientcompliance.fleet.plugins.module_utils import stored_result

ARGUMENTS = {
    "url": {"type": "str"},
    "document": {"type": "str"},
    "default": {"type": "bool", "default": False},
    "path": {"type": "path"},
    "max_age": {"type": "str", "default": stored_result.DEFAULT_MAX_AGE},
    "flags": {"type": "list", "elements": "str", "default": [],
              "choices": ["gather", "all", "idle", "hint"]},
    "timeout": {"type": "str", "default": "10m"},
    "wait": {"type": "str"},
    "good": {"type": "list", "elements": "str"},
    "allow_empty": {"type": "bool", "default": False},
}


def query_command(parameters):
    operands = None if parameters["default"] else [parameters["url"], parameters["document"]]
    return stored_result.query_command(
        operands, flags=",".join(parameters["flags"]) or None, wait=parameters["wait"] or None,
        timeout=parameters["timeout"])


def explain(module, status):
    failed, text, _ = module.run_command(["compliance-query", "--explain", str(status)])
    return {} if failed else {"explanation": text.strip()}


def evaluate(module):
    """Runs compliance-query and returns its document. Fails the module if there is none."""
    if module.get_bin_path("compliance-query") is None:
        module.fail_json(msg="compliance-query is not in PATH; the package is "
                             "clientcompliance-companions")
    status, output, messages = module.run_command(query_command(module.params), encoding=None)
    if not output:
        module.fail_json(msg="{0} (exit status {1})".format(stored_result.last_line(messages), status),
                         exit_status=status, **explain(module, status))
    return stored_result.parse_document(output)


def members(document):
    """Returns the document as return values of the module."""
    head = {name: value for name, value in document.items() if name not in ("provenance", "rows")}
    found = {"head": head, "provenance": document["provenance"],
             "age_seconds": int(stored_result.age_seconds(document))}
    if document["outcome"] == "finished":
        found.update(rows=document["rows"], row_count=len(document["rows"]))
    else:
        found.update(exit_status=document["exitStatus"], failure=document["failure"])
    return found


def check_rows(module, document, found):
    good = module.params["good"]
    if not document["rows"] and not module.params["allow_empty"]:
        module.fail_json(msg="the result has no rows; allow_empty accepts it", **found)
    if good is None:
        return
    # "surrogatepass": a lone surrogate matches no result, and must not raise an exception.
    bad = found["bad_rows"] = stored_result.bad_rows(
        document, [name.encode("utf-8", "surrogatepass") for name in good])
    if bad:
        named = ", ".join("'{0}' is '{1}'".format(row["designator"], row["result"])
                          for row in bad[:stored_result.MAX_NAMED_ROWS])
        more = ", ..." if len(bad) > stored_result.MAX_NAMED_ROWS else ""
        module.fail_json(msg="{0} of {1} rows have a result that is not good: {2}{3}".format(
            len(bad), len(document["rows"]), named, more), **found)


def run(module, max_age):
    found = {}
    try:
        if module.params["path"] is not None:
            path, document = stored_result.newest_result(module.params["path"], max_age)
            found["source"] = path
        else:
            document, max_age = evaluate(module), None
        found.update(members(document))
        stored_result.check_fresh(document, max_age)
    except stored_result.ResultError as error:
        if "exit_status" in found and "source" not in found:
            found.update(explain(module, found["exit_status"]))
        module.fail_json(msg=str(error), **found)
    check_rows(module, document, found)
    module.exit_json(changed=False, **found)


def checked(module, option, function):
    """Calls the function with the value of the option. Fails the module on ValueError."""
    try:
        return function(module.params[option])
    except ValueError as error:
        module.fail_json(msg="{0}: {1}".format(option, error))


def main():
    module = AnsibleModule(ARGUMENTS, supports_check_mode=True,
                           required_together=[("url", "document")])
    ways = [module.params["url"] is not None, module.params["default"],
            module.params["path"] is not None]
    if ways.count(True) != 1:
        module.fail_json(msg="expected one of: url and document; default: true; path")
    checked(module, "good", lambda names: stored_result.check_repeated(names or []))
    run(module, checked(module, "max_age", stored_result.parse_seconds))


if __name__ == "__main__":
    main()
