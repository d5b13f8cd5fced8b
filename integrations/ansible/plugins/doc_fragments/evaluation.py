# SPDX-License-Identifier: MIT
"""The options that the modules evaluate and collect have in common."""

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
      - Evaluate what the agent evaluates by default.
    type: bool
    default: false
  path:
    description:
      - A stored result, or a directory of stored results C(*.json) of one host and document.
      - Of a directory the result whose evaluation started last is read; of several the one that
        ended last. A file that cannot be used counts with its modification time.
    type: path
  max_age:
    description:
      - With I(path), an older result is not fresh, such as C(26h).
      - A number of seconds, at least 1, or a number with the unit C(s), C(m) or C(h).
      - A result from the future is not fresh either. Clocks may differ by one minute.
    type: str
    default: 26h
  flags:
    description:
      - How to evaluate.
    type: list
    elements: str
    choices: [gather, all, idle, hint]
    default: []
  timeout:
    description:
      - Give up if the evaluation is not finished by then. See C(--timeout) of compliance-query(1).
    type: str
    default: 10m
  wait:
    description:
      - Try again during this time if another evaluation runs or the agent is not available right
        now. See C(--wait) of compliance-query(1).
    type: str
  good:
    description:
      - The good results. The module fails if a row has another result.
      - They are compared byte by byte, in UTF-8. No result may be in the list twice.
      - Without this option every result is accepted.
    type: list
    elements: str
  allow_empty:
    description:
      - Accept a result without rows.
    type: bool
    default: false
"""
