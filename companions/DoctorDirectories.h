// The two directories of the exchange.
#pragma once

#include <sys/statvfs.h>

#include "companions/DoctorFinding.h"

class FileFacts;

// Whether this user can leave requests there. The lock and the requests are looked at only then.
Finding CheckRequestDirectory();
// Whether this user can read answers there.
Finding CheckResponseDirectory();
// Whether a stranger can put a request or an answer in the place of another one. It is a note if
// that can be done only where none stands.
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
