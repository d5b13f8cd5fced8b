#!/usr/bin/env python3
"""Writes results of a simulated fleet: fleet.py DIRECTORY [--hosts N] [--rows N] [--nights N]

DIRECTORY gets a file for each host and night in the form of compliance-query --json. The file
hosts.txt has the names of all hosts, and of one that has no result. Every tenth host has failing rows.

The first hosts have conditions: a failed evaluation, a stale response, an old result, a result from
the future, a result without rows, a name that two machines use.
"""

import argparse
import datetime
import json
import pathlib

CONDITIONS = ["failed", "stale", "old", "future", "empty", "two"]


def text_of(time):
    return time.isoformat(timespec="milliseconds")


def provenance(host, start, fresh=True):
    end = start + datetime.timedelta(seconds=12)
    return {
        "schemaVersion": 2, "programVersion": "1.1.0", "url": "http://site.example/actionsite",
        "document": "Baseline.xml", "flags": 0, "host": host, "userId": 0,
        "start": text_of(start), "end": text_of(end), "durationSeconds": 12.0,
        "response": {"inode": 1, "modified": text_of(end), "fresh": fresh},
        "agent": {"path": "/opt/agent", "modified": "2026-01-01T00:00:00.000+00:00"},
    }


def row(number, is_failing):
    return {
        "designator": f"baseline-{number:04}", "result": "Fail" if is_failing else "Pass",
        "resultType": "pass/fail", "evaluationTime": str(100 + number),
        "description": f"Passwords of kind {number} have at least 14 characters",
        "comment": "found 8 characters in /etc/security/pwquality.conf" if is_failing else "",
    }


def finished(host, start, rows, fresh=True):
    facts = provenance(host, start, fresh)
    facts["results"] = {}
    head = {"schemaVersion": 1, "outcome": "finished", "rowCount": len(rows), "provenance": facts}
    return json.dumps(head)[:-1] + ',"rows":[\n' + ",\n".join(map(json.dumps, rows)) + "]}\n"


def failed(host, start):
    return json.dumps({"schemaVersion": 1, "outcome": "failed", "exitStatus": 5, "failure": "time-out",
                       "message": "the agent did not take the request in time (code -3)",
                       "provenance": provenance(host, start)}) + "\n"


def result_of(number, host, start, row_count):
    condition = CONDITIONS[number] if number < len(CONDITIONS) else ""
    rows = [row(index, number % 10 == 7 and index % 25 == 3) for index in range(row_count)]
    if condition == "failed":
        return failed(host, start)
    if condition == "old":
        start -= datetime.timedelta(days=9)
    if condition == "future":
        start += datetime.timedelta(days=2)
    return finished(host, start, [] if condition == "empty" else rows, condition != "stale")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("directory", type=pathlib.Path)
    parser.add_argument("--hosts", type=int, default=30)
    parser.add_argument("--rows", type=int, default=20)
    parser.add_argument("--nights", type=int, default=1)
    arguments = parser.parse_args()
    now = datetime.datetime.now(datetime.timezone.utc) - datetime.timedelta(hours=3)
    names = [f"host{number:05}.example.com" for number in range(arguments.hosts)]
    for night in range(arguments.nights):
        directory = arguments.directory / f"night-{night}"
        directory.mkdir(parents=True, exist_ok=True)
        for number, host in enumerate(names):
            start = now - datetime.timedelta(days=night, seconds=number % 600)
            (directory / f"{host}.json").write_text(
                result_of(number, host, start, arguments.rows), encoding="utf-8")
            if number == CONDITIONS.index("two"):
                second = start + datetime.timedelta(seconds=4)
                (directory / f"{host}-second.json").write_text(
                    finished(host, second, []), encoding="utf-8")
    (arguments.directory / "hosts.txt").write_text(
        "# All that are expected.\n" + "\n".join([*names, "silent.example.com"]) + "\n",
        encoding="utf-8")


if __name__ == "__main__":
    main()
