# SPDX-License-Identifier: MIT

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r"""
---
module: collect
short_description: Store the compliance result of a host on the controller
version_added: 1.0.0
description:
  - Runs M(clientcompliance.fleet.evaluate) on the managed host and stores the result in a directory
    of the controller, as C(DIRECTORY/HOST/TIME.json).
  - HOST is the name in the inventory, and TIME the start of the evaluation in UTC.
  - A result with the name of another host is not stored, because reports would count it for that
    host. The module then fails with both names.
  - The result of a failed evaluation, and one that is not fresh, is stored too. The module then
    fails with the reason.
  - The module does not return the rows, because the rows of many hosts would need much memory.
options:
  directory:
    description:
      - The directory on the controller. It is created if it is missing.
      - Created directories have the mode 0750, and files 0640, independent of the umask.
    type: path
    required: true
  node_name:
    description:
      - The name of the host in its results, as C(uname -n) prints it.
      - The default is the name in the inventory.
    type: str
  keep:
    description:
      - The number of results of finished evaluations to keep for each host, and of failed ones.
        Older ones are removed. 0 keeps all.
      - Results from the future, which a wrong clock has left, count as the oldest.
    type: int
    default: 31
attributes:
  check_mode:
    description: Evaluates or reads, and stores nothing.
    support: full
  diff_mode:
    description: There is no difference to show.
    support: none
  platform:
    description: The systems of the managed hosts.
    platforms: linux
    support: full
extends_documentation_fragment:
  - clientcompliance.fleet.evaluation
  - clientcompliance.fleet.evaluation.max_age
seealso:
  - module: clientcompliance.fleet.evaluate
author:
  - The ClientCompliance authors (@clientcompliance)
"""

EXAMPLES = r"""
- name: Collect the newest stored result of each host
  clientcompliance.fleet.collect:
    directory: /srv/compliance
    path: /var/lib/compliance-evaluate/nightly
"""

RETURN = r"""
file:
  description: The file on the controller.
  returned: if compliance-query wrote a document with the expected host name
  type: str
  sample: /srv/compliance/web1/20260131T023104.512Z.json
source:
  description: The file of the stored result on the managed host.
  returned: with I(path), if there is a result
  type: str
row_count:
  description: The number of rows.
  returned: if there is the result of a finished evaluation, fresh or not
  type: int
  sample: 4
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
"""
