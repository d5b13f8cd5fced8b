// What stands at a location, with its times.
#pragma once

#include "files/Instant.h"
#include "files/unix/FileStats.h"

namespace UnixPlatform {

class FileLocation;

class UnixFileInfo : public FileStats {
public:
    UnixFileInfo() = default;

    // Filled from the location; what the system refuses shows as the state.
    explicit UnixFileInfo(FileLocation const& location);

    // FileStats::get with the location's text.
    int Set(FileLocation const& location);

    // Of the target, in whole seconds.
    Instant AccessTime() const;
    Instant ModificationTime() const;

    // Changes this object only, never the disk. What is less than a second is cut off.
    void SetModificationTime(Instant const& time);
};

// Whether all that is known is the same, state and both records. Deliberate: two infos of nothing
// are not equal.
bool operator==(UnixFileInfo const& left, UnixFileInfo const& right);

// The times of the file system and an Instant are the same number.
Instant FileTimeToInstant(Instant time);
Instant InstantToFileTime(Instant time);

} // namespace UnixPlatform
