"""Result documents of compliance-query, for tests."""

import datetime
import json


def time_text(age=0, zone=None):
    """Returns the time `age` seconds ago, in the format of compliance-query."""
    time = datetime.datetime.now().astimezone(zone) - datetime.timedelta(seconds=age)
    return time.isoformat(timespec="milliseconds")


def row(result, designator="a row", **more):
    return {"designator": designator, "result": result, "resultType": "", "evaluationTime": "",
            "description": "", "comment": "", **more}


def provenance(host="host", age=0, fresh=True):
    return {"schemaVersion": 2, "programVersion": "1.0.0", "url": None, "document": None,
            "flags": 0, "host": host, "userId": 0, "start": time_text(age + 3),
            "end": time_text(age), "durationSeconds": 3.0,
            "response": {"inode": 1, "modified": time_text(age), "fresh": fresh},
            "agent": {"path": "/opt/VeskaClient/bin/VeskaClient", "modified": time_text(age)}}


def finished(rows, **more):
    return {"schemaVersion": 1, "outcome": "finished", "rowCount": len(rows),
            "provenance": provenance(**more), "rows": rows}


def failed(**more):
    return {"schemaVersion": 1, "outcome": "failed", "exitStatus": 3, "failure": "no-agent",
            "message": "the agent is not running", "provenance": provenance(**more)}


def write(path, document):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(json.dumps(document, ensure_ascii=False), encoding="utf-8")
    return path
