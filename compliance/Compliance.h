/*
 * The C API to the endpoint agent on this machine: five functions that open a compliance
 * evaluation, poll it, return the result rows and close it.
 *
 * Compiles as C (C89 and later) and as C++. Rules for callers:
 *
 *  1. Calling sequence: call COMPLIANCE_Open once. Call COMPLIANCE_Progress for as long as it
 *     returns 3. After it has returned 1, call COMPLIANCE_ResultCount and COMPLIANCE_IndexedValue
 *     any number of times. Call COMPLIANCE_Close once.
 *     A COMPLIANCE_Open that returns 0 or throws std::bad_alloc (see 8) must be followed by
 *     COMPLIANCE_Close, whatever COMPLIANCE_Progress returns. Otherwise the process keeps the lock
 *     until it ends or loses the lock (see 7). A COMPLIANCE_Open that returns a negative code has
 *     not opened an evaluation, and needs no COMPLIANCE_Close.
 *  2. Return values: the comment of each function describes 0 and the positive values. Every
 *     negative value is one of the COMPLIANCE_ERROR_ codes below. The functions print nothing and
 *     write no log.
 *  3. Strings are NUL-terminated bytes in an unspecified encoding. The library reads its string
 *     arguments only during the call. The strings of the rows belong to the library. They are valid
 *     until COMPLIANCE_Close, and must not be freed.
 *  4. Null: `url` and `doc` may be null, which counts as the empty string. The pointers through
 *     which results are stored must not be null.
 *  5. Time: COMPLIANCE_Open, COMPLIANCE_Progress and COMPLIANCE_Close make one exchange with the
 *     agent each. After it has published the request, an exchange sleeps at least one second, and
 *     at most about ten, while it waits for the response. Before that, it may sleep for up to about
 *     two seconds between attempts to publish the request. An exchange that fails with
 *     COMPLIANCE_ERROR_REQUEST_WRITE sleeps for up to about six seconds, and does not wait for a
 *     response. A call that fails before its exchange does not sleep, and neither does
 *     COMPLIANCE_Progress after it has returned 1. A signal that the program handles ends the
 *     current sleep early, so the exchange may fail early. A FIFO at the path of the response
 *     blocks the exchange, normally until a process opens the FIFO for writing.
 *  6. Threads: not thread-safe. A process can have one open evaluation, and must call all five
 *     functions from the same thread. That thread needs a stack of at least 128 KiB. Thread
 *     cancellation is not supported: cancelling a thread during a call normally aborts the process.
 *     See libclientcompliance(3).
 *  7. The lock between processes is a POSIX record lock on
 *     "/var/opt/VeskaClient/RequestDir/lockfile". The system releases such a lock when the process
 *     closes any file descriptor of that file, so the program must not open and close the lock file
 *     during an evaluation. A program that closes all its file descriptors during an evaluation
 *     loses the lock without an error, and COMPLIANCE_Close may then close another file of the
 *     program. See libclientcompliance(3). A child process created by fork does not hold the lock,
 *     and must not call the functions for the evaluation of its parent.
 *  8. Exceptions: only COMPLIANCE_Open throws, and only std::bad_alloc, if memory is exhausted
 *     after the lock is acquired and before the exchange. The exception terminates a C program. If
 *     memory is exhausted while a program with the library starts, the program is terminated, too.
 */
#ifndef COMPLIANCE_COMPLIANCE_H
#define COMPLIANCE_COMPLIANCE_H

/* Flags of COMPLIANCE_Open, combined by bitwise OR. The agent receives the value unchanged. */
#define COMPLIANCE_FLAG_GATHER 1         /* gather all sites */
#define COMPLIANCE_FLAG_EVALUATE_ALL 2   /* evaluate all pellars */
#define COMPLIANCE_FLAG_IDLE_CPU_USAGE 4 /* use the idle CPU resource level */
#define COMPLIANCE_FLAG_ACTIONHINT 8     /* `doc` is an action id hint */

/* Error codes. If a comment names no function, COMPLIANCE_Open, COMPLIANCE_Progress and
   COMPLIANCE_Close return the code. */

/* From COMPLIANCE_Open: the agent's executable does not exist or is a dangling link, or the user
   has no search permission for one of its directories. */
#define COMPLIANCE_ERROR_NOT_INSTALLED (-1)

/* From COMPLIANCE_Open: no process that the user can see in "/proc" has the agent's name, or
   "/proc" cannot be read. */
#define COMPLIANCE_ERROR_NOT_RUNNING (-2)

/* The agent did not remove the request within 10 seconds. The request stays on disk until the agent
   removes it or the same evaluation sends another one. While it is there, a new COMPLIANCE_Open
   fails, with COMPLIANCE_ERROR_REQUEST_PENDING unless an earlier check fails. */
#define COMPLIANCE_ERROR_NO_PICKUP (-3)

/* The agent is not configured. Never returned: on this platform the check always passes. */
#define COMPLIANCE_ERROR_NOT_CONFIGURED (-4)

/* From COMPLIANCE_Open: a request is already waiting for the agent. It is neither removed nor
   overwritten. */
#define COMPLIANCE_ERROR_REQUEST_PENDING (-5)

/* From COMPLIANCE_Open: the lock could not be acquired.
   - If the lock file could not be opened or created, or if memory is exhausted, the next call tries
     again.
   - Otherwise, usually because another process holds the lock, every later COMPLIANCE_Open in this
     process returns this code, too, even when the lock is free.
   From COMPLIANCE_Progress and COMPLIANCE_Close: no evaluation is open. */
#define COMPLIANCE_ERROR_LOCK (-6)

/* The request is gone, but no response could be read within 10 seconds. The agent has removed the
   request, or rename(2) failed for it. A request also counts as gone if its directory was removed
   or may not be searched. If a response of an earlier exchange can be read, it is used instead,
   because neither a failed rename(2) nor a missing response is detected.
   From COMPLIANCE_Progress also: the response has a progress state other than 1, 2 and 3. */
#define COMPLIANCE_ERROR_BAD_RESPONSE (-7)

/* From COMPLIANCE_ResultCount and COMPLIANCE_IndexedValue: no evaluation is open, or it has not
   finished. */
#define COMPLIANCE_ERROR_NO_RESULTS (-8)

/* From COMPLIANCE_Open: an evaluation is already open in this process. It stays open. */
#define COMPLIANCE_ERROR_ALREADY_OPEN (-15)

/* The exchange failed in a step other than writing the request or reading the response, for example
   because memory is exhausted. A published request stays as after COMPLIANCE_ERROR_NO_PICKUP. */
#define COMPLIANCE_ERROR_EXCHANGE (-16)

/* The request could not be written or published. A request, complete or not, may nevertheless be on
   disk. It stays as after COMPLIANCE_ERROR_NO_PICKUP. */
#define COMPLIANCE_ERROR_REQUEST_WRITE (-17)

/* Reserved; never returned. */
#define COMPLIANCE_ERROR_RESERVED (-18)

/* From COMPLIANCE_Progress and COMPLIANCE_Close: a failure outside the exchange, such as exhausted
   memory. */
#define COMPLIANCE_ERROR_INTERNAL (-19)

/* From COMPLIANCE_IndexedValue: `index` is not less than the number of rows. */
#define COMPLIANCE_ERROR_BAD_INDEX (-20)

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Opens an evaluation of the document `doc` of the site with the gather URL `url`. Returns 0, with
 * the lock held, or a negative code. With a negative code other than
 * COMPLIANCE_ERROR_ALREADY_OPEN, no evaluation is open and the lock is not held.
 *
 * Acquires the lock, and checks, in this order, whether the agent is installed, running and
 * configured, and whether a request is waiting. Then sends an Open request to the agent and waits
 * for the response. Any response with a known type results in 0, even if the type is not Open. Its
 * state is ignored.
 *
 * Throws std::bad_alloc if memory is exhausted after the lock is acquired and before the exchange.
 * The lock is then held, and COMPLIANCE_Close must be called to release it.
 */
int COMPLIANCE_Open(char const* url, char const* doc, unsigned int flags);

/*
 * Requests the progress of the evaluation from the agent. Returns
 *   1  finished: the rows can be read, and further calls return 1 at once without an exchange;
 *   2  error: the number that the agent reports is stored in `*error`, or 0 if the response has no
 *      number. The number -22 means that the agent is currently not available. A response without
 *      a progress state counts as an error;
 *   3  in progress: the agent's percentage is stored in `*percent` unchanged;
 *   or a negative code.
 * Stores nothing else. An open evaluation stays open in all cases. After 2 and after a negative
 * code, the caller may call the function again.
 */
int COMPLIANCE_Progress(int* percent, int* error);

/* Returns the number of result rows, or COMPLIANCE_ERROR_NO_RESULTS unless an evaluation is open
   and COMPLIANCE_Progress has returned 1 for it. */
int COMPLIANCE_ResultCount(void);

/*
 * Stores pointers to the six strings of the row `index`, counted from 0. Returns 0,
 * COMPLIANCE_ERROR_NO_RESULTS or COMPLIANCE_ERROR_BAD_INDEX; stores nothing with a negative code.
 *
 * The strings are the agent's texts after XML parsing, neither transcoded nor validated. A text
 * ends at its first NUL. By convention, `evaluationTime` is a number of microseconds.
 */
int COMPLIANCE_IndexedValue(unsigned int index, char const** designator, char const** result,
                            char const** resultType, char const** evaluationTime,
                            char const** description, char const** comment);

/*
 * Closes the evaluation: sends a Close request to the agent, and releases the lock and the rows,
 * even if the exchange fails. Returns 0 or a negative code. Does nothing and returns
 * COMPLIANCE_ERROR_LOCK if no evaluation is open.
 */
int COMPLIANCE_Close(void);

#ifdef __cplusplus
}
#endif

#endif
