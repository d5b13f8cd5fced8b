#!/usr/bin/env python3
"""Evaluates a compliance document from Python, with ctypes and libclientcompliance.so.1.

As a module:

    import compliance
    with compliance.Evaluation("http://example.com:52311/...", "Baseline.xml") as evaluation:
        for row in evaluation.wait():
            print(row.designator, row.result)

As a program, which prints one JSON object for each row:

    python3 compliance.py URL DOC

Exit status: 0 finished, 1 no results or lost output, 2 wrong arguments, 130 interrupted by Ctrl-C.

Not thread-safe; one evaluation at a time in a process. If another process holds the lock, this and
each further evaluation of this process fail with error code -6, so retry in a new process. A
signal with a handler, including Ctrl-C, interrupts the sleep of the current call, which may fail
for this reason. Python runs the handler after the call.
"""

import collections
import ctypes
import json
import sys
import time

# Texts are bytes in an unspecified encoding. The error handler converts bytes that are not UTF-8 to
# lone surrogates, and back to the same bytes.
ENCODING = ("utf-8", "surrogateescape")

# The error codes of the C API; see libclientcompliance(3).
CODES = {
    -1: "the agent is not installed, or this user cannot access its program",
    -2: "the agent is not running, or this user cannot see its process",
    -3: "the agent did not take the request in time",
    -4: "the agent is not configured",
    -5: "a request is already waiting for the agent",
    -6: "another process holds the lock, or the lock file cannot be opened, as without an agent",
    -7: "the agent's response cannot be read",
    -8: "the evaluation has not finished",
    -15: "an evaluation is already open in this process",
    -16: "the exchange with the agent failed",
    -17: "the request could not be written or published",
    -19: "the evaluation failed outside of the exchange",
    -20: "the row index is not below the row count",
}
# Error numbers of the agent.
AGENT_ERRORS = {-22: "the agent is not available right now"}

Row = collections.namedtuple(
    "Row", "designator result result_type evaluation_time description comment")


class Error(Exception):
    """A failed evaluation. `number` is an error code of the C API, or an error number of the agent."""

    def __init__(self, text, number, meanings):
        meaning = f"{meanings[number]} ({number})" if number in meanings else str(number)
        super().__init__(f"{text}: {meaning}")
        self.number = number


def _load():
    library = ctypes.CDLL("libclientcompliance.so.1")
    library.COMPLIANCE_Open.argtypes = [ctypes.c_char_p, ctypes.c_char_p, ctypes.c_uint]
    library.COMPLIANCE_Progress.argtypes = [ctypes.POINTER(ctypes.c_int)] * 2
    text = ctypes.POINTER(ctypes.c_char_p)
    library.COMPLIANCE_IndexedValue.argtypes = [ctypes.c_uint] + [text] * 6
    return library


class Evaluation:
    """An evaluation: the constructor opens it; close() or the end of a `with` block closes it."""

    def __init__(self, url, doc, flags=0):
        self._library = _load()
        try:
            code = self._library.COMPLIANCE_Open(url.encode(*ENCODING), doc.encode(*ENCODING),
                                                 flags)
        except KeyboardInterrupt:
            # Raised after the call, so the evaluation may be open.
            self.close()
            raise
        if code != 0:
            raise Error("the evaluation could not be opened", code, CODES)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        """Closes the evaluation. Releases the lock even if the exchange with the agent fails."""
        self._library.COMPLIANCE_Close()

    def poll(self):
        """Requests the progress. Returns the percentage, or None if the evaluation has finished."""
        percent, error = ctypes.c_int(), ctypes.c_int()
        state = self._library.COMPLIANCE_Progress(ctypes.byref(percent), ctypes.byref(error))
        if state == 1:
            return None
        if state == 2:
            raise Error("the agent reports an error", error.value, AGENT_ERRORS)
        if state == 3:
            return percent.value
        raise Error("the poll failed", state, CODES)

    def wait(self, progress=lambda percent: None):
        """Polls until the evaluation has finished, and returns its rows."""
        while (percent := self.poll()) is not None:
            progress(percent)
            time.sleep(1)
        return self.rows()

    def rows(self):
        """Returns copies of all rows; an empty list before the evaluation has finished."""
        return [self._row(index) for index in range(max(0, self._library.COMPLIANCE_ResultCount()))]

    def _row(self, index):
        texts = [ctypes.c_char_p() for _ in Row._fields]
        code = self._library.COMPLIANCE_IndexedValue(index, *map(ctypes.byref, texts))
        if code != 0:
            raise Error("there is no such row", code, CODES)
        return Row(*(text.value.decode(*ENCODING) for text in texts))


def main():
    if len(sys.argv) != 3:
        print("usage: compliance.py URL DOC", file=sys.stderr)
        return 2
    try:
        with Evaluation(sys.argv[1], sys.argv[2]) as evaluation:
            rows = evaluation.wait(lambda percent: print(f"{percent}%", file=sys.stderr))
        # Unlike sys.stdout, raises OSError if output is lost.
        with open(1, "w", encoding="ascii", closefd=False) as output:
            for row in rows:
                print(json.dumps(row._asdict()), file=output)
    except (Error, OSError) as error:
        print(f"compliance.py: {error}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        # The `with` statement has closed the evaluation.
        print("compliance.py: interrupted", file=sys.stderr)
        return 130
    return 0


if __name__ == "__main__":
    sys.exit(main())
