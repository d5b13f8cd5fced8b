// The findings and the checks of compliance-doctor. A check changes nothing on the machine.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/statvfs.h>
#include <sys/types.h>

class FileFacts;

enum class Verdict {
    ok,
    note,    // worth knowing, but no evaluation fails because of it
    problem, // an evaluation by this user fails because of it, or is not safe
    skipped  // could not be checked, because of a problem that another finding reports
};

// The names of checks and causes are an interface: programs read them in the JSON.
struct Finding {
    std::string check;
    Verdict verdict = Verdict::ok;
    // What was found, as one word; empty for ok and skipped.
    std::string cause = {};
    std::string message = {};
    // What to do about it; empty for ok and skipped, and for a note that asks for nothing.
    std::string remedy = {};
    // Where the cause is a process or a file left over.
    std::optional<long> processId = {};
    std::optional<long long> ageInSeconds = {};
};

using Findings = std::vector<Finding>;

// Makes all checks below, one finding each, in a fixed order.
Findings ExamineExchange();

// The agent (DoctorAgent.cpp)

// Whether the agent's program exists and is executable.
Finding CheckAgentProgram();
// Whether the agent runs, and how that is known. The exchange counts any process with the agent's
// name as the agent, also a zombie and another program of that name.
Finding CheckAgentProcess();

// The two directories of the exchange (DoctorDirectories.cpp)

// Whether this user can leave requests there. The lock and the requests are checked only then.
Finding CheckRequestDirectory();
// Whether this user can read answers there.
Finding CheckResponseDirectory();
// Whether any user can replace a request or an answer of another one. It is a note if that is
// possible only while there is none.
Finding CheckModesOfRequestDirectory();
Finding CheckModesOfResponseDirectory();
// Whether there is room for a request.
Finding CheckSpace();
// The decision of CheckSpace. Only root may use the blocks that a file system reserves.
bool HasRoom(struct statvfs const& fileSystem, bool isRoot);
// The finding for an entry that can't be examined: skipped where the check of its directory reports
// the reason, otherwise a problem.
//
// REQUIRES: entry.IsUnexaminable().
Finding DescribeUnexaminable(char const* check, FileFacts const& entry);

// The lock (DoctorLock.cpp)

struct LockState {
    enum What {
        none,    // also if there is no lock file
        held,    // by the process below
        unknown, // the file can't be opened for reading, or is not a regular file
    };

    What what = none;
    // 0 if the holder lives in a process namespace that this process can't see into, -1 if the lock
    // belongs to an open file and not to a process.
    pid_t holder = 0;
};

// Asks the system which process keeps a writer off the lock file. The file is opened for reading
// only and is never created; no lock is taken.
//
// REQUIRES: this process holds no lock on the file, which would be lost.
LockState AskForLock();
// Whether this user could take the lock, as AskForLock returned it.
Finding CheckLock(LockState const& state);

// The documents (DoctorDocuments.cpp)

// The tool reads a response into memory, which takes up to four bytes for each of its bytes: 4 GiB
// at this limit, for millions of rows.
constexpr long long maxResponseBytes = 1LL << 30;

// Whether a request is left over, which keeps off all evaluations.
//
// `before` describes the request before AskForLock returned `lock`; the request is examined again
// here. Where the lock is free, the request is left over only if it did not change in between:
// otherwise it may belong to an evaluation that began after the lock was examined.
Finding CheckRequest(FileFacts const& before, LockState const& lock);
// Whether a temporary request is left over that can't be overwritten.
Finding CheckTemporaryRequest();
// An old response is usual; it is a problem if it can't be read, or not into memory.
Finding CheckResponse();
