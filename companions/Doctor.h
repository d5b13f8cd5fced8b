// The checks of compliance-doctor and their findings. No check modifies the machine.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/statvfs.h>
#include <sys/types.h>

class FileFacts;

enum class Verdict {
    ok,
    note,    // no evaluation fails for this reason
    problem, // an evaluation by this user can fail for this reason, or is unsafe
    skipped  // not checked, because of a problem that another finding reports
};

// The result of one check. The names of checks and causes are stable: programs read them in the
// JSON output.
struct Finding {
    std::string check;
    Verdict verdict = Verdict::ok;
    // An identifier of the cause, such as "disk-full"; empty for ok and skipped.
    std::string cause = {};
    std::string message = {};
    // The action that solves the problem; empty for ok and skipped, and for a note without one.
    std::string remedy = {};
    // The process that the message describes, and the age of the file that is the cause, if any.
    std::optional<long> processId = {};
    std::optional<long long> ageInSeconds = {};
};

using Findings = std::vector<Finding>;

// Performs all checks. Returns one finding for each, in a fixed order.
Findings ExamineExchange();

// The agent (DoctorAgent.cpp)

// Checks that the agent's program exists and is executable.
Finding CheckAgentProgram();
// Checks that the agent is running. The exchange counts any process with the agent's name,
// including a zombie and an unrelated program of that name. This check reports a zombie as a
// problem, and a process that may run another program as a note. Of several processes, the finding
// describes the best match.
Finding CheckAgentProcess();

// The two directories of the exchange (DoctorDirectories.cpp)

// Checks that this user can create requests.
Finding CheckRequestDirectory();
// Checks that this user has search permission for the directory, which reading a response requires.
Finding CheckResponseDirectory();
// Check that the directory is not writable by all users. If it is, all users can replace its
// documents (a problem), or with the sticky bit only create missing ones (a note).
Finding CheckModesOfRequestDirectory();
Finding CheckModesOfResponseDirectory();
// Checks that the file system of the request directory has free space and inodes.
Finding CheckSpace();
// Returns whether a block and an inode are free for the user; for CheckSpace. Only root can use the
// reserved blocks of a file system.
bool HasRoom(struct statvfs const& fileSystem, bool isRoot);
// Returns the finding for a file or directory to which nobody can write, because its file system is
// mounted read-only.
Finding DescribeReadOnly(char const* check, FileFacts const& entry);
// Returns the finding for a directory entry that cannot be examined: skipped if the check of its
// directory reports the reason, otherwise a problem.
//
// REQUIRES: entry.IsUnexaminable().
Finding DescribeUnexaminable(char const* check, FileFacts const& entry);

// The lock (DoctorLock.cpp)

struct LockState {
    enum What {
        none,    // the lock is free, or there is no lock file
        held,    // `holder` holds it
        unknown, // the file cannot be examined or opened for reading, or is not a regular file; or
                 // F_GETLK failed
    };

    What what = none;
    // The process ID; set only for `held`. 0: the holder is in another PID namespace. -1: the lock
    // is an open file description lock, which has no process (fcntl(2)).
    pid_t holder = 0;
    // The error of open(2) or F_GETLK; set only for `unknown`, and 0 if neither was called.
    int error = 0;
};

// Returns the state of the lock, by F_GETLK of fcntl(2). Takes no lock, opens the file for reading
// only, and does not create it.
//
// REQUIRES: this process does not hold the lock; closing the file would release it.
LockState AskForLock();
// Checks that this user could take the lock. `state` is the result of AskForLock.
Finding CheckLock(LockState const& state);

// The documents (DoctorDocuments.cpp)

// The tool reads a response into memory and needs up to 4 bytes for each byte of it: 4 GiB for a
// response of this size, which has millions of rows.
constexpr long long maxResponseBytes = 1LL << 30;

// Checks that no abandoned request blocks all evaluations.
//
// REQUIRES: `before` was constructed before AskForLock returned `lock`. If the lock was not held
// and the request has changed since, it may belong to an evaluation that began in between. Such a
// request is not reported as abandoned.
Finding CheckRequest(FileFacts const& before, LockState const& lock);
// Checks that a temporary request, if there is one, can be overwritten and renamed.
Finding CheckTemporaryRequest();
// Checks that the response, if there is one, can be read and has at most maxResponseBytes. An old
// response is a note.
Finding CheckResponse();
