"""Runs of compliance-query and their results: command, parsing, age, and rows that are not good.

check_compliance and the Ansible collection share this file. It needs Python 3.6 and nothing else.
It accepts the documents, times and lists that compliance-report accepts, with these exceptions:

- It requires provenance, a response in a finished result, 'fresh' in every response, and 'failure'
  in a failed result.
- It refuses an array or an object in place of a text, and a repeated member of any object.
- It does not limit whitespace. The limit of a text applies to the decoded text.

A text of a row or of a file is untrusted; visible() escapes it.
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
import time
import unicodedata

__metaclass__ = type

SCHEMA_VERSION = 1
DEFAULT_MAX_AGE = "26h"
# The limits of compliance-report.
MAX_RESULT_BYTES = 256 * 1024 * 1024
MAX_TEXT_BYTES = 1024 * 1024
MAX_FACT_BYTES = 4096
MAX_HOST_BYTES = 255
MAX_DEPTH = 16
MAX_EXIT_STATUS = 255
# Clocks of two machines may differ by this much before a result counts as one from the future.
MAX_CLOCK_DIFFERENCE_SECONDS = 60
SUBJECT_MEMBERS = ("host", "url", "document")
ROW_MEMBERS = ("designator", "result", "resultType", "evaluationTime", "description", "comment")
SECONDS_OF_UNIT = {"": 1, "s": 1, "m": 60, "h": 3600}
MAX_SECONDS = 2 ** 31 - 1
MAX_NAME_CHARACTERS = 60
# Limits of messages about bad rows and unusable results.
MAX_NAMED_ROWS = 3
MAX_REASON_CHARACTERS = 400
NANOSECONDS = 10 ** 9
EPOCH = datetime.date(1970, 1, 1).toordinal()
YEARS_OF_CALENDAR = 400  # After these the Gregorian calendar repeats.
DAYS_OF_CALENDAR = 146097
COLLECTED_NAME = re.compile(r"[0-9]{8}T[0-9]{6}\.[0-9]{3}Z\.json\Z")
# Control, format, surrogate, private and unassigned characters, and separators of lines and
# paragraphs.
HIDDEN_CATEGORIES = ("C", "Zl", "Zp")
# Characters of other categories with the property Default_Ignorable_Code_Point.
IGNORABLE = re.compile("[\u034f\u115f\u1160\u17b4\u17b5\u180b-\u180f\u3164\ufe00-\ufe0f\uffa0"
                       "\U000e0100-\U000e01ef]")
BYTE_ORDER_MARK = b"\xef\xbb\xbf"
SPACE = re.compile(r"[ \t\r\n]*")
TIME = re.compile(r"([0-9]{4})-([0-9]{2})-([0-9]{2})[Tt]([01][0-9]|2[0-3]):([0-5][0-9]):"
                  r"([0-5][0-9]|60)(?:\.([0-9]+))?(?:[Zz]|([+-])([01][0-9]|2[0-3]):([0-5][0-9]))\Z")

Stored = collections.namedtuple("Stored", "path document")


class ResultError(Exception):
    """There is no result, or it cannot be used. The message states the reason.

    For a file that cannot be read or parsed, the message begins with its path.
    """


def _is_hidden(character):
    return (unicodedata.category(character).startswith(HIDDEN_CATEGORIES)
            or IGNORABLE.match(character) is not None)


def visible(text):
    """Returns the text with escapes for control characters and invisible characters."""
    return "".join(character.encode("unicode_escape").decode("ascii") if _is_hidden(character)
                   else character for character in text)


def parse_seconds(text):
    """Returns the seconds of a duration such as 90, 90s, 15m or 26h, at least 1. Raises ValueError."""
    match = re.match(r"0*([0-9]{1,10})([smh]?)\Z", str(text))
    seconds = int(match.group(1)) * SECONDS_OF_UNIT[match.group(2)] if match else 0
    if not 1 <= seconds <= MAX_SECONDS:
        raise ValueError("'{0}' is not a time; expected 1 to {1} seconds, or a number with s, m or h, "
                         "such as 26h".format(text, MAX_SECONDS))
    return seconds


def query_command(operands, **options):
    """Returns the command for an evaluation of the URL and the document, or of the default."""
    command = ["compliance-query", "--json", "--quiet"]
    for name, value in options.items():
        command += ["--" + name, value] if value is not None else []
    return command + (["--"] + list(operands) if operands else ["-d"])


def last_line(messages):
    lines = [line for line in messages.decode("utf-8", "replace").splitlines() if line.strip()]
    return lines[-1] if lines else "compliance-query wrote no message"


def check_repeated(names):
    """Raises ValueError if a name is in the list twice."""
    for place, name in enumerate(names):
        if name in names[:place]:
            raise ValueError("'{0}' is in the list twice".format(name))


def split_list(text):
    """Splits a comma-separated list, and trims the names. Raises ValueError."""
    names = [name.strip(" \t") for name in text.split(",")]
    if "" in names:
        raise ValueError("'{0}' has an empty name; expected comma-separated results"
                         .format(text))
    check_repeated(names)
    return names


def _days(year, month, day):
    """Returns the days since 1970-01-01. Raises ValueError. Accepts the year 0."""
    if year == 0:  # Valid in RFC 3339, but not in datetime.
        return datetime.date(YEARS_OF_CALENDAR, month, day).toordinal() - DAYS_OF_CALENDAR - EPOCH
    return datetime.date(year, month, day).toordinal() - EPOCH


def parse_time(text):
    """Returns the nanoseconds since 1970 of a timestamp of RFC 3339. Raises ValueError.

    Truncates to nanoseconds. The result may be outside of the range of datetime.
    """
    match = TIME.match(text)
    if not match:
        raise ValueError("'{0}' is not a time".format(text))
    year, month, day, hour, minute, second = map(int, match.group(1, 2, 3, 4, 5, 6))
    fraction, sign, hours, minutes = match.group(7, 8, 9, 10)
    offset = (int(hours) * 60 + int(minutes)) * (-60 if sign == "-" else 60) if sign else 0
    seconds = _days(year, month, day) * 86400 + hour * 3600 + minute * 60 + second - offset
    return seconds * NANOSECONDS + int((fraction or "")[:9].ljust(9, "0"))


def utc_text(nanoseconds):
    """Returns text such as 20260131T023104.512Z. Raises ResultError outside of the years 1 to 9999."""
    milliseconds = nanoseconds // 10 ** 6
    try:
        moment = datetime.datetime(1970, 1, 1) + datetime.timedelta(milliseconds=milliseconds)
    except OverflowError:
        raise ResultError("a time is outside of the years 1 to 9999")
    return moment.isoformat(timespec="milliseconds").replace("-", "").replace(":", "") + "Z"


def _expect(condition, expectation):
    if not condition:
        raise ResultError("not a result of compliance-query: expected " + expectation)


def _is_longer(text, limit):
    """Returns whether the text has more than `limit` bytes in UTF-8."""
    return len(text) > limit or 4 * len(text) > limit and len(text.encode("utf-8")) > limit


def _is_integer(value):
    return isinstance(value, int) and not isinstance(value, bool)


def _is_text(value):
    return isinstance(value, str) and not _is_longer(value, MAX_FACT_BYTES)


def _is_text_or_null(value):
    return value is None or _is_text(value)


def _is_base64(value):
    return _is_text(value) and _decoded(value) is not None


def _is_time(value):
    try:
        parse_time(value)
    except (TypeError, ValueError):
        return False
    return _is_text(value)


def _is_time_or_null(value):
    return value is None or _is_time(value)


def _is_count(value):
    return _is_integer(value) and 0 <= value <= MAX_RESULT_BYTES


def _is_exit_status(value):
    return _is_integer(value) and 0 <= value <= MAX_EXIT_STATUS


TEXT = (_is_text, "a text of at most {0} bytes".format(MAX_FACT_BYTES))
TEXT_OR_NULL = (_is_text_or_null, TEXT[1] + " or null")
BASE64 = (_is_base64, "base64")
TIME_OF_DAY = (_is_time, "a time")
HEAD_FACTS = {
    "rowCount": (_is_count, "a number"),
    "exitStatus": (_is_exit_status, "a number from 0 to {0}".format(MAX_EXIT_STATUS)),
    "failure": TEXT,
    "message": TEXT,
}
PROVENANCE_FACTS = {
    "host": TEXT, "url": TEXT_OR_NULL, "document": TEXT_OR_NULL,
    "hostBase64": BASE64, "urlBase64": BASE64, "documentBase64": BASE64,
    "start": TIME_OF_DAY, "end": TIME_OF_DAY,
}
AGENT_FACTS = {"modified": (_is_time_or_null, "a time or null")}


def _check_facts(members, facts, required=(), prefix=""):
    """Raises ResultError if a member is invalid, or missing and required."""
    for name, (is_valid, expectation) in facts.items():
        if name in members or name in required:
            _expect(is_valid(members.get(name)), "{0} '{1}{2}'".format(expectation, prefix, name))


def _check_row(row, number):
    _expect(isinstance(row, dict), "an object as row {0}".format(number))
    for member in ROW_MEMBERS:
        _expect(isinstance(row.get(member), str),
                "a text '{0}' in row {1}".format(member, number))
        if member + "Base64" in row:
            _expect(_decoded(row[member + "Base64"]) is not None,
                    "base64 in '{0}Base64' of row {1}".format(member, number))


def _check_rows(rows):
    _expect(isinstance(rows, list), "an array 'rows'")
    for number, row in enumerate(rows, 1):
        _check_row(row, number)


def _check_provenance(provenance):
    _expect(isinstance(provenance, dict),
            "an object 'provenance'; documents of schema version 1 have none")
    _check_facts(provenance, PROVENANCE_FACTS, ("host", "start", "end"), "provenance.")
    _expect(1 <= len(_exact_bytes(provenance, "host")) <= MAX_HOST_BYTES,
            "a host name of 1 to {0} bytes".format(MAX_HOST_BYTES))
    agent, response = provenance.get("agent"), provenance.get("response")
    if isinstance(agent, dict):
        _check_facts(agent, AGENT_FACTS, (), "provenance.agent.")
    _expect(response is None or isinstance(response, dict) and
            isinstance(response.get("fresh"), bool), "an object or null 'provenance.response'")


def _check_outcome(document):
    outcome = document.get("outcome")
    _expect(outcome in ("finished", "failed"), "'outcome' to be 'finished' or 'failed'")
    if outcome == "failed":
        _check_facts(document, HEAD_FACTS, ("exitStatus", "failure", "message"))
        _check_rows(document.get("rows", []))
        return
    _expect(document["provenance"].get("response") is not None,
            "an object 'provenance.response' of a finished evaluation")
    _check_facts(document, HEAD_FACTS, ("rowCount",))
    rows, count = document.get("rows"), document["rowCount"]
    _check_rows(rows)
    _expect(count == len(rows),
            "{0} rows ('rowCount'), and found {1}".format(count, len(rows)))


def _check_sizes(document):
    """Raises ResultError for a text that is too long, or too many levels of objects and arrays."""
    rest = [(document, 1)]
    while rest:
        value, depth = rest.pop()
        if isinstance(value, str):
            _expect(not _is_longer(value, MAX_TEXT_BYTES),
                    "texts of at most {0} bytes".format(MAX_TEXT_BYTES))
        elif isinstance(value, (dict, list)):
            _expect(depth <= MAX_DEPTH, "at most {0} levels".format(MAX_DEPTH))
            rest.extend((one, depth + 1) for one in value)
            if isinstance(value, dict):
                rest.extend((one, depth + 1) for one in value.values())


def _object(pairs):
    """Returns the members of a JSON object. Raises ResultError for a repeated member."""
    members = dict(pairs)
    if len(members) < len(pairs):
        names = sorted(name for name, _ in pairs)
        name = next(one for one, other in zip(names, names[1:]) if one == other)
        raise ResultError("not a result of compliance-query: the member '{0}' is repeated"
                          .format(name[:MAX_NAME_CHARACTERS]))
    return members


def _refuse_constant(name):
    raise ValueError("{0} is not a number".format(name))


def _number(text):
    value = float(text)
    if value in (float("inf"), float("-inf")):
        raise ValueError("a number is out of range")
    return value


def _integer(text):
    # Not the integer 0, because compliance-report refuses -0 as a count.
    return int(text) if _number(text) or text == "0" else -0.0


def _decode_values(text):
    """Returns the JSON values of the text, which are separated by whitespace."""
    decoder = json.JSONDecoder(object_pairs_hook=_object, parse_constant=_refuse_constant,
                               parse_float=_number, parse_int=_integer)
    place, values = SPACE.match(text).end(), []
    while place < len(text) or not values:
        value, end = decoder.raw_decode(text, place)
        _check_sizes(value)
        values.append(value)
        place = SPACE.match(text, end).end()
    return values


def _decode_document(data):
    """Returns the document of --json, or the equivalent of the lines of --ndjson."""
    text = data[len(BYTE_ORDER_MARK):] if data.startswith(BYTE_ORDER_MARK) else data
    document, *rows = _decode_values(text.decode("utf-8"))
    json.dumps([document, rows], ensure_ascii=False).encode("utf-8")
    _expect(isinstance(document, dict), "an object")
    has_lines = document.get("outcome") == "finished" and "rows" not in document
    _expect(has_lines or not rows, "the end of the file after the object")
    return dict(document, rows=rows) if has_lines else document


def parse_document(data):
    """Parses the output of compliance-query --json or --ndjson. Raises ResultError."""
    try:
        document = _decode_document(data)
    except UnicodeError as error:
        raise ResultError("not UTF-8: {0}".format(error.reason))
    except ValueError as error:
        raise ResultError("not JSON: {0}".format(error))
    except RecursionError:
        raise ResultError("not a result of compliance-query: nested too deeply")
    version = document.get("schemaVersion")
    _expect(_is_integer(version) and version == SCHEMA_VERSION,
            "'schemaVersion' to be {0}".format(SCHEMA_VERSION))
    _check_provenance(document.get("provenance"))
    _check_outcome(document)
    return document


def _open_regular_file(path):
    # O_NONBLOCK: opening a FIFO would wait for a writer.
    descriptor = os.open(path, os.O_RDONLY | os.O_NONBLOCK | os.O_CLOEXEC)
    file = os.fdopen(descriptor, "rb")
    if not stat.S_ISREG(os.fstat(descriptor).st_mode):
        file.close()
        raise ResultError("not a regular file")
    return file


def read_file(path):
    """Reads and parses a file. Raises ResultError, whose message has the path."""
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


def order_of(document):
    """Returns a sort key: the newest result is the one that started last.

    If the times are equal, a failed result is newer, because the other must not hide it.
    """
    provenance = document["provenance"]
    return (parse_time(provenance["start"]), parse_time(provenance["end"]),
            document["outcome"] == "failed")


def _modification_time(path):
    try:
        return int(os.lstat(path).st_mtime) * NANOSECONDS
    except OSError:
        return 0


def _read_candidate(path):
    """Returns the sort key of a file, and its document or a ResultError.

    The key of a file that is not a result is its modification time.
    """
    try:
        document = read_file(path)
        return order_of(document), document
    except ResultError as error:
        time_of_file = _modification_time(path)
        return (time_of_file, time_of_file, True), error


def subject_of(document):
    """Returns the host, the URL and the document of a result, each as bytes or None."""
    return tuple(_exact_bytes(document["provenance"], name) for name in SUBJECT_MEMBERS)


def collected_names(directory):
    """Returns the names of the results that the module collect has stored, the newest last."""
    return sorted(filter(COLLECTED_NAME.match, os.listdir(directory)))


def _result_names(directory):
    try:
        names = os.listdir(directory)
    except OSError as error:
        raise ResultError("{0}: {1}".format(directory, error.strerror))
    names = sorted(name for name in names if name.endswith(".json") and not name.startswith("."))
    if not names:
        raise ResultError("{0}: no result; expected a file *.json".format(directory))
    return names


def _fact_text(fact):
    if fact is None:
        return "the default"
    text = visible(fact.decode("utf-8", "backslashreplace"))
    end = "..." if len(text) > MAX_NAME_CHARACTERS else ""
    return "'{0}'{1}".format(text[:MAX_NAME_CHARACTERS], end)


def _refuse_subjects(newest, other):
    """Raises ResultError with the difference of two results."""
    directory, name = os.path.split(newest.path)
    other_name = visible(os.path.basename(other.path))
    subjects = zip(SUBJECT_MEMBERS, subject_of(newest.document), subject_of(other.document))
    member, fact, other_fact = next(facts for facts in subjects if facts[1] != facts[2])
    raise ResultError(
        "{0}: results of several hosts or documents: the {1} is {2} in {3} and {4} in {5}; "
        "expected one directory for each, or remove {5}".format(
            directory, member, _fact_text(fact), visible(name), _fact_text(other_fact), other_name))


def newest_in(directory, max_age=None):
    """Returns the newest result of the *.json files in the directory. Raises ResultError.

    Files that are not results are sorted by modification time, so an older result does not hide a
    damaged new one. Results of several hosts, sites or documents are an error unless they are older
    than max_age seconds, because the newest would hide the others.
    """
    newest, newest_order, of_subject = None, None, {}
    for name in _result_names(directory):
        path = os.path.join(directory, name)
        order, candidate = _read_candidate(path)
        stored = Stored(path, candidate)
        if not isinstance(candidate, ResultError) and (
                max_age is None or age_seconds(candidate) <= max_age):
            of_subject.setdefault(subject_of(candidate), stored)
        if newest is None or order >= newest_order:
            newest, newest_order = stored, order
    if isinstance(newest.document, ResultError):
        raise newest.document
    for subject, other in of_subject.items():
        if subject != subject_of(newest.document):
            _refuse_subjects(newest, other)
    return newest


def newest_result(path, max_age=None):
    """Returns the result of a file, or the newest one of a directory. Raises ResultError."""
    return newest_in(path, max_age) if os.path.isdir(path) else Stored(path, read_file(path))


def age_seconds(document):
    """Returns the seconds since the end of the evaluation; negative if that is in the future."""
    return time.time() - parse_time(document["provenance"]["end"]) / NANOSECONDS


def format_seconds(seconds):
    for unit, length in (("h", 3600), ("m", 60)):
        if seconds >= 2 * length:
            return "{0} {1}".format(int(seconds // length), unit)
    return "{0} s".format(int(seconds))


def check_fresh(document, max_age=None):
    """Raises ResultError unless the document is the fresh result of a finished evaluation.

    max_age is in seconds; None means no limit.
    """
    if document["outcome"] == "failed":
        raise ResultError("the evaluation failed: {0} ({1}, exit status {2})".format(
            document["message"], document["failure"], document["exitStatus"]))
    if not document["provenance"]["response"]["fresh"]:
        raise ResultError("the agent's response existed before the request")
    if max_age is None:
        return
    age = age_seconds(document)
    if age < -MAX_CLOCK_DIFFERENCE_SECONDS:
        raise ResultError("the result is from the future: by {0}".format(format_seconds(-age)))
    if age > max_age:
        raise ResultError("the result is {0} old, more than {1}".format(
            format_seconds(age), format_seconds(max_age)))


def _decoded(text):
    """Returns the bytes of base64, or None if the text is not in its canonical form."""
    try:
        data = text.encode("ascii")
        decoded = base64.b64decode(data)
    except (AttributeError, UnicodeError, binascii.Error):
        return None
    return decoded if base64.b64encode(decoded) == data else None


def _exact_bytes(members, name):
    """Returns the exact bytes of a text, from its base64 member if there is one; None for null."""
    if name + "Base64" in members:
        return _decoded(members[name + "Base64"])
    text = members.get(name)
    return None if text is None else text.encode("utf-8")


def bad_rows(document, good):
    """Returns the rows whose result is not in `good`, a list of bytes."""
    accepted = set(good)
    return [row for row in document["rows"] if _exact_bytes(row, "result") not in accepted]
