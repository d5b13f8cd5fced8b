// From a process id to the name and the program of the process, through Linux's "/proc".
//
// No reason is ever told for a failure: the process may have gone, or may not be ours to look at.
// No function here throws or allocates.
#pragma once

// Gives the name of a process in `name`, with a terminating zero, and returns true if the process
// has a name and it fits into `capacity` bytes with its zero. Otherwise returns false, and `name`
// is left as it is.
//
// The name is the last component of what the link "/proc/<id>/exe" holds. Only if that can't be
// read (another user's process; a thread of the kernel) it is the text between the first "(" and
// the first ")" of "/proc/<id>/stat", where the kernel puts the first 15 bytes of the command's
// name.
//
// The three numbers come from "/proc/<id>/status", of which only the first 511 bytes are read; each
// that isn't found there is -1. They are set also where the result is false.
//
// Deliberate: a link with its only "/" in front keeps it ("/agent"); a name of the second kind ends
// at the first ")" that it holds; a program whose file was removed is called "agent (deleted)".
//
// REQUIRES: `name` has room for `capacity` bytes.
bool ProcessIdToName(unsigned int processId, char* name, unsigned int capacity,
                     long long& parentProcessId, long long& realUserId, long long& effectiveUserId);

// Gives the whole path of the program of a process in `path`, with a terminating zero. Returns
// false, and leaves `path` as it is, if the link "/proc/<id>/exe" can't be read or does not fit
// into `capacity` bytes with its zero. Of the link at most 4,095 bytes are read.
//
// REQUIRES: `path` has room for `capacity` bytes.
bool ProcessIdToPath(unsigned int processId, char* path, unsigned int capacity);

// Whether ProcessIdToPath works here, tried once on this very process; later calls repeat the
// answer.
bool ProcessIdToPathWorks();
