// A location and the state of the file there.
#pragma once

#include "files/Instant.h"
#include "files/unix/FileLocation.h"
#include "files/unix/UnixFileInfo.h"

namespace UnixPlatform {

// An item can be filled from any location. If Fill returns an error, the Handle functions decide
// whether to report it: with `tolerant`, a dangling link is not an error.
//
// Fill an item by Fill only. The inherited Set examines another path without changing Location, so
// SetModificationTime would change the file at the old location.
class FileItem : public UnixFileInfo {
public:
    FileItem() = default;

    // Returns 0: on this platform, times need no correction.
    static Instant GetTimeBias();
    // Returns `time`: it is not rounded to the whole seconds that an item stores.
    static Instant RoundToFileSystem(Instant time);

    // Fill the item from a location, or from the entry `name` below `parent`. Return 0 or the error
    // number. The second overload throws EmptyFileLocationError if `parent` is empty.
    int Fill(FileLocation const& where);
    int Fill(FileLocation const& parent, FileName const& name);

    // False if the item is a dangling link and `tolerant` is set, otherwise true.
    bool MustReportError(bool tolerant) const;
    // Returns the negation of MustReportError.
    bool HandleTryToGetError(bool tolerant) const;
    // Throws like ThrowFileError if `error` is not 0 and MustReportError is true.
    void HandleGetError(int error, bool tolerant) const;

    // Sets the modification time in this object and on disk, in whole seconds. Also sets the access
    // time on disk, to that of this object. Throws InvalidStats if the item has the state
    // StatsNothingThere, FileNotFoundError for ENOENT, FilePermissionError for EACCES, otherwise
    // FileIOError, even for EPERM. If setting the times on disk fails, this object has the new
    // time.
    void SetModificationTime(Instant time);

    FileLocation const& Location() const { return location; }

private:
    FileLocation location;
};

} // namespace UnixPlatform
