#!/usr/bin/python3
"""The CheckCommand for check_compliance, run by Icinga."""

import json
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "packaging"))
from support import SOURCE, ScratchTest, in_sandbox  # noqa: E402

# Runs Icinga until it has executed the check once. $1: the CheckCommand, $2: the
# plugin directory, $3: the variables of the host.
ICINGA = """
mkdir -m 777 /opt/state
# Not every user can access TMPDIR.
cp -R "$2" /opt/plugins
cat >/opt/icinga.conf <<END
const PluginDir = "/opt/plugins"
include "$1"
object CheckerComponent "checker" {}
object FileLogger "log" {
  severity = "debug"
  path = "/opt/state/log"
}
object Host "host" {
  check_command = "compliance"
  check_interval = 1s
  $3
}
END
directories=
for name in Data Cache Log InitRun Spool; do directories="$directories -D${name}Dir=/opt/state"; done
icinga2 daemon -c /opt/icinga.conf $directories >/opt/out 2>&1 &
for second in $(seq 300); do
    ! grep -q 'terminated with exit code' /opt/state/log 2>/dev/null || break
    sleep 0.2
done
cat /opt/out
grep notice/Process /opt/state/log
"""


class IcingaTest(ScratchTest):
    def run_check(self, **variables):
        plugin = self.scratch / "check_compliance"
        plugin.write_text("#!/bin/sh\nexit 2\n", encoding="utf-8")
        plugin.chmod(0o755)
        self.scratch.chmod(0o755)
        return in_sandbox(ICINGA, SOURCE / "integrations/monitoring/icinga2-compliance.conf", self.scratch,
                          "\n".join(f"vars.compliance_{name} = {json.dumps(value)}"
                                    for name, value in variables.items()))

    def test_Icinga_calls_the_plugin_for_an_evaluation(self):
        output = self.run_check(strict="A,B", warning="1", critical="2", flags="gather", wait="1m",
                                timeout="90", no_result="critical", url="http://x/",
                                document="D d.xml")
        (line, *_) = [line for line in output.splitlines() if "Running command" in line]
        for words in ("'--strict' 'A,B'", "'--warning' '1'", "'--critical' '2'", "'--wait' '1m'",
                      "'--flags' 'gather'", "'--timeout' '90'", "'--no-result' 'critical'",
                      "'http://x/' 'D d.xml'"):
            self.assertIn(words, line)
        self.assertIn("terminated with exit code 2", output)

    def test_Icinga_calls_the_plugin_for_a_stored_result(self):
        output = self.run_check(strict="A", result="/r", max_age="1h")
        self.assertRegex(output, r"'--max-age' '1h' '--result' '/r' '--strict' 'A'")

    def test_Icinga_calls_the_plugin_for_the_default(self):
        output = self.run_check(strict="A", default=True)
        self.assertRegex(output, r"'--strict' 'A' '-d'|'-d' '--strict' 'A'")


if __name__ == "__main__":
    unittest.main(verbosity=2)
