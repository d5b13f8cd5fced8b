// Processes, and the name and the program of a process by its id, through Linux's "/proc".
//
// No function here reports the reason for a failure: the process may have ended, or may belong to
// another user. Only AnyProcess throws and allocates.
#pragma once

#include <functional>

// Calls `matches(id)` for the processes in "/proc", in the order of the directory, until it returns
// true. Returns whether it did; false also where "/proc" can't be opened. Whether a process that
// starts or ends meanwhile is visited is unspecified. `matches` runs with the directory open.
//
// Every directory whose name begins with a number other than 0 is a process. The number is cut to
// 32 bits.
//
// Throws std::bad_alloc, and what `matches` throws.
bool AnyProcess(std::function<bool(unsigned int id)> const& matches);

// The capacity that is enough for every path.
constexpr unsigned int processNameCapacity = 4096;

// Stores the name of a process in `name`, NUL-terminated, and returns true if the process has a
// name and it fits into `capacity` bytes with its NUL. Otherwise returns false, and leaves `name`
// unchanged.
//
// The name is the last component of what the link "/proc/<id>/exe" holds. Only if that can't be
// read (another user's process; a thread of the kernel) it is the text between the first "(" and
// the first ")" of "/proc/<id>/stat", where the kernel puts the first 15 bytes of the command's
// name.
//
// The three numbers come from "/proc/<id>/status", of which only the first 511 bytes are read; each
// that isn't found there is -1. They are set also where the result is false.
//
// A link with its only "/" in front keeps it ("/agent"); a name of the second kind ends
// at the first ")" that it holds; a program whose file was removed is called "agent (deleted)".
//
// REQUIRES: `name` has room for `capacity` bytes.
bool ProcessIdToName(unsigned int processId, char* name, unsigned int capacity,
                     long long& parentProcessId, long long& realUserId, long long& effectiveUserId);

// Stores the whole path of the program of a process in `path`, NUL-terminated. Returns false, and
// leaves `path` unchanged, if the link "/proc/<id>/exe" can't be read or does not fit into
// `capacity` bytes with its NUL. Of the link at most 4,095 bytes are read.
//
// REQUIRES: `path` has room for `capacity` bytes.
bool ProcessIdToPath(unsigned int processId, char* path, unsigned int capacity);

// Whether ProcessIdToPath works here, tried once on this very process; later calls repeat the
// answer.
bool ProcessIdToPathWorks();
