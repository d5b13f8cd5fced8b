// The state of a file, with its times.
#pragma once

#include "files/Instant.h"
#include "files/unix/FileStats.h"

namespace UnixPlatform {

class FileLocation;

class UnixFileInfo : public FileStats {
public:
    UnixFileInfo() = default;

    // Calls Set; a failed system call results in the state StatsNothingThere or StatsBrokenLink.
    explicit UnixFileInfo(FileLocation const& location);

    // Fills the object by FileStats::get, and returns its result.
    int Set(FileLocation const& location);

    // Return the times of the target, in whole seconds.
    Instant AccessTime() const;
    Instant ModificationTime() const;

    // Changes this object only, not the disk. Truncates the time to whole seconds.
    void SetModificationTime(Instant const& time);
};

// True if state, stat record and lstat record are equal.
//
// Deliberate: two objects in the state StatsNothingThere are not equal, because neither describes a
// file.
bool operator==(UnixFileInfo const& left, UnixFileInfo const& right);

// Return the argument: the times of the file system are Instants.
Instant FileTimeToInstant(Instant time);
Instant InstantToFileTime(Instant time);

} // namespace UnixPlatform
