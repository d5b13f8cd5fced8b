"""Measures the tool and compliance-query as whole processes, for scripts/bench.

Runs in a sandbox (namespaces with empty file systems in memory, as in scripts/demo). An exchange
has a stand-in agent that answers immediately. Otherwise there is no agent, so "-d" only takes the
lock and checks whether the agent is installed.

    wall_over_minimal         wall time, divided by that of MinimalProgram; median of many pairs
    system_calls_before_work  number before the first output or use of the lock file, by strace
    peak_mib                  peak resident memory, read when all work is done
    file_mib                  size of the executable
    processor_ms              processor time of a whole "-c", user and system
    instructions              instructions of "compliance-query --version", by valgrind
    processor_over_tool       processor time of "compliance-query --json" for 100,000 rows, divided
                              by that of the tool; median of pairs
    memory_over_tool          the same for peak resident memory
"""

import contextlib
import fcntl
import json
import os
import pathlib
import re
import shutil
import statistics
import subprocess
import sys
import time

PAIRS = 400
EXCHANGES = 3
MIB = 1024 * 1024
REFUSED = "COMPLIANCE_Open returned error: "
COMMANDS = {"start-usage": ([], 255, "Usage: "), "start-no-agent": (["-d"], 0, REFUSED)}
EXCHANGE = ["-c", "http://example.com:52311/cgi-bin/qzgather.exe/actionsite", "Baseline.xml"]
AGENT = pathlib.Path("/opt/VeskaClient/bin/VeskaClient")
ROW = 'row "baseline-001" "Compliant" "pass/fail" "1523" "At least 14 characters" ""\n'
MANY_ROWS = 100_000


def figures(build):
    """Returns {"start-usage": {counter: value}, "exchange": {counter: value}, ...}."""
    machine = ["unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc",
               "--propagation", "private"]
    if subprocess.run([*machine, "mount", "-t", "tmpfs", "none", "/opt"],
                      stderr=subprocess.DEVNULL).returncode != 0:
        machine += ["--user", "--map-root-user"]
    inside = subprocess.run([*machine, sys.executable, __file__, build], check=True, text=True,
                            stdout=subprocess.PIPE)
    return json.loads(inside.stdout)


def wall_seconds(command):
    start = time.perf_counter()
    child = os.posix_spawn(command[0], command, os.environ, file_actions=[
        (os.POSIX_SPAWN_OPEN, 1, "/dev/null", os.O_WRONLY, 0)])
    os.waitpid(child, 0)
    return time.perf_counter() - start


def wall_over_minimal(command, minimal):
    return statistics.median(wall_seconds(command) / wall_seconds([minimal]) for _ in range(PAIRS))


def system_calls_before_work(command):
    """Returns the number of calls before the first output or the first use of the lock file."""
    traced = subprocess.run(["strace", "-f", "-o", "/opt/trace", *command],
                            stdout=subprocess.DEVNULL)
    assert traced.returncode in (0, 255), traced
    calls = pathlib.Path("/opt/trace").read_text(encoding="utf-8").splitlines()
    own = [number for number, call in enumerate(calls) if "write(1," in call or "lockfile" in call]
    return own[0]


def peak_mib(command):
    """Blocks the output of the tool by a full pipe, because /proc has no VmHWM after its exit."""
    reading, writing = os.pipe()
    os.write(writing, b"x" * fcntl.fcntl(writing, fcntl.F_GETPIPE_SZ))
    with subprocess.Popen(command, stdout=writing) as child:
        os.close(writing)
        status = ""
        while "State:\tS" not in status:
            time.sleep(0.001)
            status = pathlib.Path(f"/proc/{child.pid}/status").read_text(encoding="utf-8")
        os.close(reading)
    return int(status.split("VmHWM:")[1].split()[0]) * 1024 / MIB


def usage_of(command, answer):
    """Returns the rusage of the process, which excludes the agent."""
    reading, writing = os.pipe()
    child = os.posix_spawn(command[0], command, os.environ,
                           file_actions=[(os.POSIX_SPAWN_DUP2, writing, 1)])
    os.close(writing)
    with os.fdopen(reading, "rb") as output:
        text = output.read()
    _, status, usage = os.wait4(child, 0)
    assert status == 0 and answer in text, text[:1000]
    return usage


def processor_ms(usage):
    return (usage.ru_utime + usage.ru_stime) * 1000


def instructions(command):
    done = subprocess.run(["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", *command],
                          capture_output=True, text=True, check=True)
    return int(re.search(r"Collected : (\d+)", done.stderr)[1])


def query_over_tool(tool, query):
    """Compares both programs. The stand-in agent sends the same rows to both."""
    pairs = [(usage_of([query, "--json", *EXCHANGE[1:]], b"baseline-001"),
              usage_of([tool, *EXCHANGE], b"baseline-001")) for _ in range(EXCHANGES)]
    return {"processor_over_tool": statistics.median(processor_ms(ours) / processor_ms(theirs)
                                                     for ours, theirs in pairs),
            "memory_over_tool": statistics.median(ours.ru_maxrss / theirs.ru_maxrss
                                                  for ours, theirs in pairs)}


@contextlib.contextmanager
def running_agent(program, rows):
    AGENT.parent.mkdir(parents=True, exist_ok=True)
    shutil.copy(program, AGENT)
    scenario = pathlib.Path("/opt/scenario")
    scenario.write_text(ROW * rows + "finish\n", encoding="utf-8")
    with subprocess.Popen([AGENT, scenario], stdout=subprocess.PIPE, text=True) as agent:
        assert "ready" in agent.stdout.readline()
        try:
            yield
        finally:
            agent.terminate()


def measure_inside(build):
    for place in ("/opt", "/var/opt"):
        subprocess.run(["mount", "-t", "tmpfs", "none", place], check=True)
    os.makedirs("/var/opt/VeskaClient/RequestDir")
    tool = str(build / "tool/ClientCompliance")
    minimal = str(build / "bench/MinimalProgram")
    found = {"file": {"file_mib": os.path.getsize(tool) / MIB}}
    for name, (arguments, status, answer) in COMMANDS.items():
        command = [tool, *arguments]
        done = subprocess.run(command, stdout=subprocess.PIPE, text=True)
        assert done.returncode == status and done.stdout.startswith(answer), done
        found[name] = {"wall_over_minimal": wall_over_minimal(command, minimal),
                       "system_calls_before_work": system_calls_before_work(command),
                       "peak_mib": peak_mib(command)}
    agent = build / "demo/VeskaClient"
    with running_agent(agent, 1):
        times = [processor_ms(usage_of([tool, *EXCHANGE], b"baseline-001"))
                 for _ in range(EXCHANGES)]
    found["exchange"] = {"processor_ms": statistics.median(times)}
    query = str(build / "companions/compliance-query")
    found["query-file"] = {"file_mib": os.path.getsize(query) / MIB}
    found["query-version"] = {"instructions": instructions([query, "--version"])}
    with running_agent(agent, MANY_ROWS):
        found["query-json-100000"] = query_over_tool(tool, query)
    return found


if __name__ == "__main__":
    print(json.dumps(measure_inside(pathlib.Path(sys.argv[1]))))
