/*
 * Runs an evaluation with a timeout. SIGINT and SIGTERM end the program after the evaluation is
 * closed.
 *
 *     cc -o timed timed.c $(pkg-config --cflags --libs clientcompliance)
 *     ./timed SECONDS URL DOC
 *
 * Techniques:
 *
 *  - Signals are blocked during calls of the C API, and accepted between polls. A signal handler
 *    would interrupt the sleep of a call, and the call could fail too early.
 *  - COMPLIANCE_Close is called after every successful COMPLIANCE_Open, to inform the agent.
 *    Therefore, the program ends up to three calls later than requested: usually up to 3 seconds,
 *    or 30 if the agent responds slowly.
 *  - The timeout is checked between calls, using the monotonic clock.
 *
 * Exit status: 0 finished, 1 no results or lost output, 2 wrong arguments, 3 timeout; or terminated
 * by the signal.
 */
#define _POSIX_C_SOURCE 200809L

#include <compliance/Compliance.h>

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

enum { finished = 0, failed = 1, misused = 2, too_late = 3 };

/* Returns the number, or 0 if the text is not a positive number. */
static long positive_number(char const* text) {
    char* end;
    long const number = strtol(text, &end, 10);
    return *end == '\0' && number > 0 ? number : 0;
}

static double now(void) {
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return (double)time.tv_sec + (double)time.tv_nsec / 1e9;
}

/* Waits for a second or until a signal is pending. Returns the signal, or 0. */
static int wait_a_second(sigset_t const* signals) {
    struct timespec const second = {1, 0};
    int const signal = sigtimedwait(signals, NULL, &second);
    return signal > 0 ? signal : 0;
}

static int print_rows(void) {
    int const count = COMPLIANCE_ResultCount();
    int i;
    for (i = 0; i < count; ++i) {
        char const *designator, *result, *type, *time, *description, *comment;
        if (COMPLIANCE_IndexedValue((unsigned int)i, &designator, &result, &type, &time,
                                    &description, &comment) == 0)
            printf("%s: %s\n", designator, result);
    }
    /* Lost output is a failure, too. */
    return fflush(stdout) == 0 && !ferror(stdout) ? finished : failed;
}

/* Polls until the evaluation ends, the timeout expires or a signal is pending. Returns the exit
   status, and stores the signal in *by_signal. */
static int poll_until(double end, sigset_t const* signals, int* by_signal) {
    for (;;) {
        int percent = 0;
        int error = 0;
        int const state = COMPLIANCE_Progress(&percent, &error);
        if (state == 1)
            return print_rows();
        if (state == 2)
            fprintf(stderr, "timed: the agent reports the error %d\n", error);
        else if (state != 3)
            fprintf(stderr, "timed: the poll failed: %d\n", state);
        if (state != 3)
            return failed;
        fprintf(stderr, "timed: %d%%\n", percent);
        if (now() + 1 >= end)
            return too_late;
        *by_signal = wait_a_second(signals);
        if (*by_signal != 0)
            return failed;
    }
}

/* A signal that is ignored, as SIGINT in a background job of a shell, remains ignored. */
static void add_unless_ignored(sigset_t* signals, int signal) {
    struct sigaction action;
    sigaction(signal, NULL, &action);
    if (action.sa_handler != SIG_IGN)
        sigaddset(signals, signal);
}

/* Terminates the process by the signal, so that a shell sees the cause. */
static void end_by(int signal, sigset_t const* signals) {
    raise(signal);
    sigprocmask(SIG_UNBLOCK, signals, NULL);
}

int main(int count, char** arguments) {
    sigset_t signals;
    double end;
    int by_signal = 0;
    int status;
    int code;
    if (count != 4 || positive_number(arguments[1]) == 0) {
        fprintf(stderr, "usage: timed SECONDS URL DOC\n");
        return misused;
    }
    end = now() + (double)positive_number(arguments[1]);

    sigemptyset(&signals);
    add_unless_ignored(&signals, SIGINT);
    add_unless_ignored(&signals, SIGTERM);
    sigprocmask(SIG_BLOCK, &signals, NULL);
    /* A closed pipe must not terminate the program before COMPLIANCE_Close. */
    signal(SIGPIPE, SIG_IGN);

    code = COMPLIANCE_Open(arguments[2], arguments[3], COMPLIANCE_FLAG_EVALUATE_ALL);
    if (code != 0) {
        fprintf(stderr, "timed: the evaluation could not be opened: %d\n", code);
        return failed;
    }
    status = poll_until(end, &signals, &by_signal);
    COMPLIANCE_Close();

    if (status == too_late)
        fprintf(stderr, "timed: not finished in %s seconds\n", arguments[1]);
    if (by_signal != 0)
        end_by(by_signal, &signals);
    return status;
}
