# SPDX-License-Identifier: MIT
"""Options that several modules share."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type


class ModuleDocFragment(object):
    DOCUMENTATION = r"""
options:
  url:
    description:
      - The gather URL of the site. Requires I(document).
    type: str
  document:
    description:
      - The document to evaluate. Requires I(url).
    type: str
  default:
    description:
      - Send no URL and no document. The agent evaluates its default.
    type: bool
    default: false
  path:
    description:
      - A stored result, or a directory of stored results C(*.json).
      - In a directory, the result that started last is read. If several started at the same time,
        the one that ended last is read, then a failed one, then the one with the last file name.
      - A file that cannot be used counts with its modification time. If it is the newest, the module
        fails.
      - The results that are not older than I(max_age) must be of one host, site and document.
      - Without this option, I(max_age) has no effect.
    type: path
  flags:
    description:
      - The flags of the request. See C(--flags) of compliance-query(1).
    type: list
    elements: str
    choices: [gather, all, idle, hint]
    default: []
  timeout:
    description:
      - Fail if the evaluation takes longer. See C(--timeout) of compliance-query(1).
    type: str
    default: 10m
  wait:
    description:
      - Retry during this time if another evaluation runs, if a request is waiting, or if the agent
        reports that it is not available (-22). See C(--wait) of compliance-query(1).
    type: str
  good:
    description:
      - The good results. The module fails if a row has another result.
      - They are compared byte by byte, in UTF-8. Repeated entries are refused.
      - Without this option, every result is accepted.
    type: list
    elements: str
  allow_empty:
    description:
      - Accept a result without rows.
    type: bool
    default: false
"""

    MAX_AGE = r"""
options:
  max_age:
    description:
      - An older stored result is not fresh.
      - A number of seconds, at least 1, or a number with the unit C(s), C(m) or C(h).
      - A result from the future is not fresh either. Clocks may differ by one minute.
    type: str
    default: 26h
"""
