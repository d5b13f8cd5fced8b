/*
 * The programming interface to the endpoint agent on this machine: five functions with which a
 * caller opens one compliance evaluation, polls it, reads the result rows and closes it.
 *
 * Compiles as C (C89 and later) and as C++. Conventions:
 *
 *  1. Calling order: one COMPLIANCE_Open; COMPLIANCE_Progress as long as it returns 3; after 1,
 *     COMPLIANCE_ResultCount and COMPLIANCE_IndexedValue as often as wanted; one COMPLIANCE_Close.
 *     After a failed COMPLIANCE_Open nothing is open and no COMPLIANCE_Close is owed. After a
 *     successful one it is owed whatever COMPLIANCE_Progress said: only COMPLIANCE_Close releases
 *     the lock.
 *  2. Codes: 0 and the positive values are told with each function; every negative value is one of
 *     the COMPLIANCE_ERROR_ numbers below. Nothing is logged and no text is printed.
 *  3. Texts are bytes up to a NUL, in no particular encoding. What is passed in is only read, and
 *     only during the call. What COMPLIANCE_IndexedValue hands out belongs to the interface, stays
 *     valid until COMPLIANCE_Close, and is not to be freed.
 *  4. Null: `url` and `doc` may be null, which counts as empty text. The pointers through which
 *     results are stored must not be null.
 *  5. Time: COMPLIANCE_Open, COMPLIANCE_Progress and COMPLIANCE_Close sleep, at least one second
 *     and at most about ten while they wait for the agent. Failures to write the request are tried
 *     again for up to about six more. A signal that the program handles cuts short the wait that it
 *     meets, and nothing makes up for that.
 *  6. One thread, one evaluation at a time in a process. Nothing here is guarded: a program with
 *     threads calls all five functions from one of them. That thread needs a stack of at least
 *     128 KiB. Thread cancellation is not supported: a thread that is cancelled during a call
 *     aborts the process. See libclientcompliance(3).
 *  7. The lock between processes is a POSIX record lock on
 *     "/var/opt/VeskaClient/RequestDir/lockfile". The system drops such a lock as soon as the
 *     process closes any descriptor of that file, so a host program must not open and close the
 *     lock file itself. A host that closes all its descriptors during an evaluation loses the lock
 *     without an error, and COMPLIANCE_Close may then close a descriptor of the host. See
 *     libclientcompliance(3). A child made by fork does not hold the lock and must not call the
 *     functions for the evaluation that its parent has open.
 *  8. Exceptions: none leaves COMPLIANCE_Progress and COMPLIANCE_Close. COMPLIANCE_Open stops those
 *     of the exchange, but exhausted memory before the exchange leaves it as std::bad_alloc; a
 *     C++ caller finds the state as told there, a C program ends, and so does any
 *     program that has no memory left while it starts.
 */
#ifndef COMPLIANCE_COMPLIANCE_H
#define COMPLIANCE_COMPLIANCE_H

/* Flags of COMPLIANCE_Open, to be added up. They travel to the agent uninterpreted. */
#define COMPLIANCE_FLAG_GATHER 1         /* gather all sites */
#define COMPLIANCE_FLAG_EVALUATE_ALL 2   /* evaluate all pellars */
#define COMPLIANCE_FLAG_IDLE_CPU_USAGE 4 /* use the idle CPU resource level */
#define COMPLIANCE_FLAG_ACTIONHINT 8     /* `doc` is an action id hint */

/* The negative codes. Where no function is named, the code comes from COMPLIANCE_Open,
   COMPLIANCE_Progress and COMPLIANCE_Close. */

/* The agent's executable is not there. From COMPLIANCE_Open. */
#define COMPLIANCE_ERROR_NOT_INSTALLED (-1)

/* No process with the agent's name runs. From COMPLIANCE_Open. */
#define COMPLIANCE_ERROR_NOT_RUNNING (-2)

/* The agent did not take the request within 10 seconds. The request stays on disk, so that the next
   COMPLIANCE_Open gives COMPLIANCE_ERROR_REQUEST_PENDING until the agent takes it. */
#define COMPLIANCE_ERROR_NO_PICKUP (-3)

/* The agent is not configured. Does not occur: on this platform the check always passes. */
#define COMPLIANCE_ERROR_NOT_CONFIGURED (-4)

/* A request is already waiting for the agent. It is neither removed nor overwritten. From
   COMPLIANCE_Open. */
#define COMPLIANCE_ERROR_REQUEST_PENDING (-5)

/* From COMPLIANCE_Open: the lock could not be taken, because the lock file could not be opened or
   created, or because another process holds it. After a refusal by another holder every further
   COMPLIANCE_Open in this process gives this code as well, even once the lock is free; after a lock
   file that could not be opened the next call tries afresh.
   From COMPLIANCE_Progress and COMPLIANCE_Close: nothing is open. */
#define COMPLIANCE_ERROR_LOCK (-6)

/* The response stayed unreadable up to the time limit, or held a progress state other than 1, 2
   and 3. */
#define COMPLIANCE_ERROR_BAD_RESPONSE (-7)

/* No final response is held yet. From COMPLIANCE_ResultCount and COMPLIANCE_IndexedValue. */
#define COMPLIANCE_ERROR_NO_RESULTS (-8)

/* An evaluation is already open in this process. It stays open. From COMPLIANCE_Open. */
#define COMPLIANCE_ERROR_ALREADY_OPEN (-15)

/* The exchange failed other than in writing the request or reading the response. The request stays
   on disk if it was written. */
#define COMPLIANCE_ERROR_EXCHANGE (-16)

/* The request could not be written. What had been written of it, finished or not, may stand on disk
   as a request all the same, and is then in the way of the next COMPLIANCE_Open. */
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
 * Opens an evaluation of the document `doc` of the site `url` and hands it to the agent. Takes the
 * lock, then looks, in this order, whether the agent is installed, running and configured, and
 * whether a request is waiting; each refusal releases the lock. Returns 0, with the lock held, or a
 * negative code, with nothing open.
 *
 * The content of the agent's answer is not looked at: 0 says that there was one.
 *
 * Exhausted memory before the exchange begins leaves this function as std::bad_alloc. The lock is
 * then held, if it had been taken, and COMPLIANCE_Close releases it.
 */
int COMPLIANCE_Open(char const* url, char const* doc, unsigned int flags);

/*
 * Asks the agent how the evaluation goes. Returns
 *   1  finished: the rows can be read, and further calls return 1 at once without asking;
 *   2  the agent reports an error: its number is stored through `error`. The number -22 says that
 *      the agent is not available right now;
 *   3  in progress: the agent's percentage is stored through `percent`, as it stands;
 *   or a negative code, after which one may go on asking.
 * Only the variable that belongs to the returned value is written.
 */
int COMPLIANCE_Progress(int* percent, int* error);

/* The number of result rows, or COMPLIANCE_ERROR_NO_RESULTS before COMPLIANCE_Progress returned 1.
 */
int COMPLIANCE_ResultCount(void);

/*
 * Stores the six texts of the row `index`, counted from 0. They are the agent's bytes as they came;
 * by custom `evaluationTime` is a number of microseconds. Returns 0, COMPLIANCE_ERROR_NO_RESULTS or
 * COMPLIANCE_ERROR_BAD_INDEX; at a negative code nothing is stored.
 */
int COMPLIANCE_IndexedValue(unsigned int index, char const** designator, char const** result,
                            char const** resultType, char const** evaluationTime,
                            char const** description, char const** comment);

/*
 * Tells the agent that the evaluation is over, and in every case but COMPLIANCE_ERROR_LOCK releases
 * the lock and forgets the rows. A negative code only tells what became of this last exchange.
 */
int COMPLIANCE_Close(void);

#ifdef __cplusplus
}
#endif

#endif
