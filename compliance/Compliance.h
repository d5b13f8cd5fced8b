/*
 * The C API to the endpoint agent on this machine: five functions that open a compliance
 * evaluation, poll it, return the result rows and close it.
 *
 * Compiles as C (C89 and later) and as C++. Conventions:
 *
 *  1. Calling order: one COMPLIANCE_Open; COMPLIANCE_Progress as long as it returns 3; after 1,
 *     any number of COMPLIANCE_ResultCount and COMPLIANCE_IndexedValue; one COMPLIANCE_Close.
 *     If COMPLIANCE_Open returns a negative code, nothing is open and no COMPLIANCE_Close is
 *     needed. If it returns 0 or throws std::bad_alloc (see 8), COMPLIANCE_Close must follow,
 *     whatever COMPLIANCE_Progress returns: only COMPLIANCE_Close releases the lock.
 *  2. Codes: each function describes 0 and its positive values; every negative value is one of the
 *     COMPLIANCE_ERROR_ numbers below. Nothing is logged and no text is printed.
 *  3. Strings are NUL-terminated bytes in an unspecified encoding. Arguments are only read, and
 *     only during the call. The strings that COMPLIANCE_IndexedValue stores belong to the library,
 *     are valid until COMPLIANCE_Close, and must not be freed.
 *  4. Null: `url` and `doc` may be null, which counts as the empty string. The pointers through
 *     which results are stored must not be null.
 *  5. Time: an exchange with the agent sleeps at least one second and at most about ten while it
 *     waits for the response. A failed write of the request is retried for up to about six more
 *     seconds. A handled signal ends the current sleep early. COMPLIANCE_Open, COMPLIANCE_Progress
 *     and COMPLIANCE_Close make one exchange each. A call that fails without one does not sleep
 *     (COMPLIANCE_ERROR_NOT_INSTALLED, _NOT_RUNNING, _REQUEST_PENDING, _LOCK, _ALREADY_OPEN), and
 *     neither does COMPLIANCE_Progress after it has returned 1.
 *  6. Not thread-safe; one evaluation at a time in a process. A program with several threads must
 *     call all five functions from the same one. That thread needs a stack of at least
 *     128 KiB. Thread cancellation is not supported: a thread that is cancelled during a call
 *     aborts the process. See libclientcompliance(3).
 *  7. The lock between processes is a POSIX record lock on
 *     "/var/opt/VeskaClient/RequestDir/lockfile". The system releases such a lock when the process
 *     closes any file descriptor of that file, so a host program must not open and close the lock
 *     file itself. A host that closes all its descriptors during an evaluation loses the lock
 *     without an error, and COMPLIANCE_Close may then close a descriptor of the host. See
 *     libclientcompliance(3). A child made by fork does not hold the lock and must not call the
 *     functions for the evaluation that its parent has open.
 *  8. Exceptions: COMPLIANCE_Progress and COMPLIANCE_Close throw none. COMPLIANCE_Open throws
 *     std::bad_alloc if memory is exhausted before the exchange begins, and nothing else. That
 *     exception terminates a C program. Exhausted memory while a program starts terminates it too.
 */
#ifndef COMPLIANCE_COMPLIANCE_H
#define COMPLIANCE_COMPLIANCE_H

/* Flags of COMPLIANCE_Open, combined by addition. The agent receives the sum unchanged. */
#define COMPLIANCE_FLAG_GATHER 1         /* gather all sites */
#define COMPLIANCE_FLAG_EVALUATE_ALL 2   /* evaluate all pellars */
#define COMPLIANCE_FLAG_IDLE_CPU_USAGE 4 /* use the idle CPU resource level */
#define COMPLIANCE_FLAG_ACTIONHINT 8     /* `doc` is an action id hint */

/* The negative codes. Where no function is named, COMPLIANCE_Open, COMPLIANCE_Progress and
   COMPLIANCE_Close return the code. */

/* The agent's executable does not exist. From COMPLIANCE_Open. */
#define COMPLIANCE_ERROR_NOT_INSTALLED (-1)

/* No process has the agent's name. From COMPLIANCE_Open. */
#define COMPLIANCE_ERROR_NOT_RUNNING (-2)

/* The agent did not remove the request within 10 seconds. The request stays on disk, so the next
   COMPLIANCE_Open returns COMPLIANCE_ERROR_REQUEST_PENDING until the agent removes it. */
#define COMPLIANCE_ERROR_NO_PICKUP (-3)

/* The agent is not configured. Never returned: on this platform the check always passes. */
#define COMPLIANCE_ERROR_NOT_CONFIGURED (-4)

/* A request is already waiting for the agent. It is neither removed nor overwritten. From
   COMPLIANCE_Open. */
#define COMPLIANCE_ERROR_REQUEST_PENDING (-5)

/* From COMPLIANCE_Open: the lock could not be taken, because the lock file could not be opened or
   created, or because another process holds it. If another process held it, every later
   COMPLIANCE_Open in this process returns this code, too, even when the lock is free. If the lock
   file could not be opened, the next call tries again.
   From COMPLIANCE_Progress and COMPLIANCE_Close: nothing is open. */
#define COMPLIANCE_ERROR_LOCK (-6)

/* The agent removed the request, but no response could be read within the timeout.
   From COMPLIANCE_Progress also: the response has a progress state other than 1, 2 and 3. */
#define COMPLIANCE_ERROR_BAD_RESPONSE (-7)

/* The evaluation has not finished yet. From COMPLIANCE_ResultCount and COMPLIANCE_IndexedValue. */
#define COMPLIANCE_ERROR_NO_RESULTS (-8)

/* An evaluation is already open in this process. It stays open. From COMPLIANCE_Open. */
#define COMPLIANCE_ERROR_ALREADY_OPEN (-15)

/* The exchange failed, but not in writing the request or reading the response. The request stays on
   disk if it was written. */
#define COMPLIANCE_ERROR_EXCHANGE (-16)

/* The request could not be written. An incomplete request may have been published; the
   next COMPLIANCE_Open then returns COMPLIANCE_ERROR_REQUEST_PENDING. */
#define COMPLIANCE_ERROR_REQUEST_WRITE (-17)

/* Reserved; never returned. */
#define COMPLIANCE_ERROR_RESERVED (-18)

/* A failure outside the exchange. From COMPLIANCE_Progress and COMPLIANCE_Close. */
#define COMPLIANCE_ERROR_INTERNAL (-19)

/* The row index is not below the row count. From COMPLIANCE_IndexedValue. */
#define COMPLIANCE_ERROR_BAD_INDEX (-20)

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Opens an evaluation of the document `doc` of the site `url`: sends an Open request to the agent
 * and waits for the response. Before that, acquires the lock and checks, in this order, whether the
 * agent is installed, running and configured, and whether a request is waiting. Returns 0, with the
 * lock held, or a negative code, with the lock released and nothing open.
 *
 * The result 0 means that the agent has responded. The contents of the response are not examined.
 *
 * Throws std::bad_alloc if memory is exhausted before the exchange begins. The lock is then held,
 * and COMPLIANCE_Close must be called to release it.
 */
int COMPLIANCE_Open(char const* url, char const* doc, unsigned int flags);

/*
 * Requests the progress of the evaluation from the agent. Returns
 *   1  finished: the rows can be read, and further calls return 1 at once without an exchange;
 *   2  the agent reports an error: its number is stored in `*error`. The number -22 means that the
 *      agent is currently not available;
 *   3  in progress: the agent's percentage is stored in `*percent` unchanged;
 *   or a negative code, after which the caller may call the function again.
 * Writes no other variable than the one named for the result.
 */
int COMPLIANCE_Progress(int* percent, int* error);

/* Returns the number of result rows, or COMPLIANCE_ERROR_NO_RESULTS until COMPLIANCE_Progress has
   returned 1. */
int COMPLIANCE_ResultCount(void);

/*
 * Stores pointers to the six strings of the row `index`, counted from 0. They are the agent's
 * bytes, unchanged; by convention `evaluationTime` is a number of microseconds. Returns 0,
 * COMPLIANCE_ERROR_NO_RESULTS or COMPLIANCE_ERROR_BAD_INDEX; stores nothing with a negative code.
 */
int COMPLIANCE_IndexedValue(unsigned int index, char const** designator, char const** result,
                            char const** resultType, char const** evaluationTime,
                            char const** description, char const** comment);

/*
 * Closes the evaluation: sends a Close request to the agent, and releases the lock and the rows,
 * even if the exchange fails. Returns 0, or the negative code of this exchange. Does nothing and
 * returns COMPLIANCE_ERROR_LOCK if nothing is open.
 */
int COMPLIANCE_Close(void);

#ifdef __cplusplus
}
#endif

#endif
