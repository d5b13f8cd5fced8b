// Lists processes in Linux's "/proc", and returns the name and the program of a process.
//
// No function reports the reason for a failure: the process may have ended, or may belong to
// another user. Only AnyProcess throws and allocates.
#pragma once

#include <functional>

// Returns true if `matches(id)` returns true for a process in "/proc". Calls `matches` in the order
// of the directory, up to the first match. Returns false if "/proc" cannot be opened, or cannot be
// read up to a match. Throws std::bad_alloc, and the exceptions of `matches`.
//
// It is unspecified whether processes that start or end during the call are included. The directory
// is open during the calls of `matches`. Every directory whose name begins with a number other than
// 0 counts as a process. The number is truncated to 32 bits.
bool AnyProcess(std::function<bool(unsigned int id)> const& matches);

// A capacity that is sufficient for every path.
constexpr unsigned int processNameCapacity = 4096;

// Stores the name of a process in `name`, NUL-terminated. Returns false and leaves `name` unchanged
// if the process has no name, or if the name and its NUL do not fit into `capacity` bytes.
//
// The name is the last component of the target of the link "/proc/<id>/exe". Links that cannot be
// read include those of zombies and kernel threads, and, without privileges, those of other users'
// processes. The name is then the text between the first "(" and the first ")" of
// "/proc/<id>/stat": for programs, at most the first 15 bytes of the command's name.
//
// The three numbers are from "/proc/<id>/status", of which only the first 511 bytes are read. A
// number that is not found is -1; both user ids are -1 if one of them is not found. The numbers are
// set even if the function returns false.
//
// Special cases of the link: if the only "/" of its target is the first byte, the name includes it
// ("/agent"). If the file of the program was removed, the name ends in " (deleted)".
//
// REQUIRES: `name` has room for `capacity` bytes.
bool ProcessIdToName(unsigned int processId, char* name, unsigned int capacity,
                     long long& parentProcessId, long long& realUserId, long long& effectiveUserId);

// Stores the path of the program of a process in `path`, NUL-terminated. Returns false and leaves
// `path` unchanged if the link "/proc/<id>/exe" cannot be read, or if `capacity` is too small. A
// path longer than 4,095 bytes is truncated to that length.
//
// REQUIRES: `path` has room for `capacity` bytes.
bool ProcessIdToPath(unsigned int processId, char* path, unsigned int capacity);

// True if ProcessIdToPath succeeds for this process with a capacity of 1,024 bytes. The first call
// tests it, and later calls return the same result.
bool ProcessIdToPathWorks();
