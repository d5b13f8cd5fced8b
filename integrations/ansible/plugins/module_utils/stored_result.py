"""Results that compliance-query has written: reading, age, and rows with other results.

check_compliance and the Ansible collection share this file. It needs Python 3.6 and nothing else.
A text that comes from a row or from a file is untrusted; who prints it escapes it.
"""

from __future__ import absolute_import, division, print_function

import base64
import binascii
import collections
import datetime
import json
import os
import re
import stat

__metaclass__ = type

SCHEMA_VERSION = 1
MAX_RESULT_BYTES = 256 * 1024 * 1024
# Clocks of two machines may differ by this much before a result counts as one from the future.
MAX_CLOCK_DIFFERENCE_SECONDS = 60
ROW_MEMBERS = ("designator", "result", "resultType", "evaluationTime", "description", "comment")
SECONDS_OF_UNIT = {"": 1, "s": 1, "m": 60, "h": 3600}

Stored = collections.namedtuple("Stored", "path document")


class ResultError(Exception):
    """There is no result, or it cannot be used. The message names the file and the reason."""


def parse_seconds(text):
    """The seconds of a time such as 90, 90s, 15m or 26h. Raises ValueError."""
    match = re.match(r"([0-9]{1,9})([smh]?)\Z", str(text))
    if not match:
        raise ValueError("'{0}' is not a time; expected a number with s, m or h, such as 26h"
                         .format(text))
    return int(match.group(1)) * SECONDS_OF_UNIT[match.group(2)]


def split_list(text):
    """The names of a list with commas between; spaces around them are ignored. Raises ValueError."""
    names = [name.strip(" ") for name in text.split(",")]
    if "" in names:
        raise ValueError("'{0}' has an empty name; expected results with commas between"
                         .format(text))
    return names


def parse_time(text):
    """The aware time of an RFC 3339 text as compliance-query writes it. Raises ValueError."""
    match = re.match(r"([0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\.[0-9]{3})"
                     r"([+-])([0-9]{2}):([0-9]{2})\Z", text)
    if not match:
        raise ValueError("'{0}' is not a time".format(text))
    offset = datetime.timedelta(hours=int(match.group(3)), minutes=int(match.group(4)))
    zone = datetime.timezone(-offset if match.group(2) == "-" else offset)
    return datetime.datetime.strptime(match.group(1), "%Y-%m-%dT%H:%M:%S.%f").replace(tzinfo=zone)


def _expect(condition, expectation):
    if not condition:
        raise ResultError("not a result of compliance-query: expected " + expectation)


def _check_row(row, number):
    _expect(isinstance(row, dict), "an object as row {0}".format(number))
    for member in ROW_MEMBERS:
        _expect(isinstance(row.get(member), str),
                "a text '{0}' in row {1}".format(member, number))
    if "resultBase64" in row:
        _expect(_decoded(row["resultBase64"]) is not None,
                "base64 in 'resultBase64' of row {0}".format(number))


def _check_provenance(provenance):
    _expect(isinstance(provenance, dict), "an object 'provenance'; version 1 has none")
    _expect(isinstance(provenance.get("host"), str), "a text 'provenance.host'")
    try:
        parse_time(provenance["end"])
    except (KeyError, TypeError, ValueError):
        _expect(False, "a time 'provenance.end'")
    response = provenance.get("response")
    _expect(response is None or isinstance(response, dict) and
            isinstance(response.get("fresh"), bool), "an object or null 'provenance.response'")


def _check_outcome(document):
    if document.get("outcome") == "failed":
        for member in ("failure", "message"):
            _expect(isinstance(document.get(member), str), "a text '{0}'".format(member))
        _expect(isinstance(document.get("exitStatus"), int), "a number 'exitStatus'")
        return
    _expect(document.get("outcome") == "finished", "'outcome' to be 'finished' or 'failed'")
    _expect(document["provenance"].get("response") is not None,
            "an object 'provenance.response' of a finished evaluation")
    rows = document.get("rows")
    _expect(isinstance(rows, list), "an array 'rows'")
    for number, row in enumerate(rows, 1):
        _check_row(row, number)
    _expect(document.get("rowCount") == len(rows),
            "{0} rows, as 'rowCount' says, and found {1}".format(document.get("rowCount"),
                                                                 len(rows)))


def parse_document(data):
    """The document of compliance-query --json in these bytes. Raises ResultError."""
    try:
        document = json.loads(data.decode("utf-8"))
        json.dumps(document, ensure_ascii=False).encode("utf-8")
    except UnicodeError as error:
        raise ResultError("not UTF-8: {0}".format(error.reason))
    except ValueError as error:
        raise ResultError("not JSON: {0}".format(error))
    except RecursionError:
        raise ResultError("not a result of compliance-query: nested too deeply")
    _expect(isinstance(document, dict), "an object")
    _expect(document.get("schemaVersion") == SCHEMA_VERSION,
            "'schemaVersion' to be {0}".format(SCHEMA_VERSION))
    _check_provenance(document.get("provenance"))
    _check_outcome(document)
    return document


def _open_regular_file(path):
    # Without O_NONBLOCK a FIFO would block the open.
    descriptor = os.open(path, os.O_RDONLY | os.O_NONBLOCK | os.O_CLOEXEC)
    file = os.fdopen(descriptor, "rb")
    if not stat.S_ISREG(os.fstat(descriptor).st_mode):
        file.close()
        raise ResultError("not a regular file")
    return file


def read_file(path):
    """The document of the file. Raises ResultError, with the path in the message."""
    try:
        with _open_regular_file(path) as file:
            data = file.read(MAX_RESULT_BYTES + 1)
        if len(data) > MAX_RESULT_BYTES:
            raise ResultError("larger than {0} bytes".format(MAX_RESULT_BYTES))
        return parse_document(data)
    except OSError as error:
        raise ResultError("{0}: {1}".format(path, error.strerror))
    except ResultError as error:
        raise ResultError("{0}: {1}".format(path, error))


def end_of(document):
    return parse_time(document["provenance"]["end"])


def _modification_time(path):
    try:
        seconds = os.lstat(path).st_mtime
    except OSError:
        seconds = 0
    return datetime.datetime.fromtimestamp(seconds, datetime.timezone.utc)


def _read_candidate(path):
    """Its time, and the document or the error. An unusable file has its modification time."""
    try:
        document = read_file(path)
        return end_of(document), document
    except ResultError as error:
        return _modification_time(path), error


def _subject(document):
    provenance = document["provenance"]
    return [provenance.get(name) for name in ("host", "url", "document")]


def newest_in(directory):
    """The newest result among the *.json files of the directory.

    A file that cannot be used counts with its modification time, so that a damaged newest result
    is not hidden by an older one. Raises ResultError, also for results of several hosts or
    documents, of which the newest would hide the others.
    """
    try:
        names = sorted(name for name in os.listdir(directory)
                       if name.endswith(".json") and not name.startswith("."))
    except OSError as error:
        raise ResultError("{0}: {1}".format(directory, error.strerror))
    if not names:
        raise ResultError("{0}: no result; expected a file *.json".format(directory))
    newest, newest_time, subjects = None, None, []
    for name in names:
        path = os.path.join(directory, name)
        time, candidate = _read_candidate(path)
        if not isinstance(candidate, ResultError) and _subject(candidate) not in subjects:
            subjects.append(_subject(candidate))
        if newest is None or time >= newest_time:
            newest, newest_time = Stored(path, candidate), time
    if isinstance(newest.document, ResultError):
        raise newest.document
    if len(subjects) > 1:
        raise ResultError("{0}: results of several hosts or documents; expected one directory for "
                          "each".format(directory))
    return newest


def newest_result(path):
    """The result of a file, or the newest of a directory. Raises ResultError."""
    return newest_in(path) if os.path.isdir(path) else Stored(path, read_file(path))


def age_seconds(document, now=None):
    """Seconds since the end of the evaluation; negative for a result from the future."""
    return ((now or datetime.datetime.now(datetime.timezone.utc)) - end_of(document)).total_seconds()


def format_seconds(seconds):
    for unit, length in (("h", 3600), ("m", 60)):
        if seconds >= 2 * length:
            return "{0} {1}".format(int(seconds // length), unit)
    return "{0} s".format(int(seconds))


def check_fresh(document, max_age=None, now=None):
    """Raises ResultError unless the document has rows of a fresh evaluation.

    max_age is in seconds; without it the age does not matter.
    """
    if document["outcome"] == "failed":
        raise ResultError("the evaluation failed: {0} ({1}, exit status {2})".format(
            document["message"], document["failure"], document["exitStatus"]))
    if not document["provenance"]["response"]["fresh"]:
        raise ResultError("the agent's answer was there before the request")
    if max_age is None:
        return
    age = age_seconds(document, now)
    if age < -MAX_CLOCK_DIFFERENCE_SECONDS:
        raise ResultError("the result is from the future: by {0}".format(format_seconds(-age)))
    if age > max_age:
        raise ResultError("the result is {0} old, more than {1}".format(
            format_seconds(age), format_seconds(max_age)))


def _decoded(text):
    try:
        return base64.b64decode(text.encode("ascii"), validate=True)
    except (AttributeError, UnicodeError, binascii.Error):
        return None


def _result_bytes(row):
    if "resultBase64" in row:
        return _decoded(row["resultBase64"])
    return row["result"].encode("utf-8")


def bad_rows(document, good):
    """The rows whose result is none of the good ones; compared byte by byte."""
    accepted = {os.fsencode(name) for name in good}
    return [row for row in document["rows"] if _result_bytes(row) not in accepted]
