// What stands at a location, together with the location itself.
#pragma once

#include "files/Instant.h"
#include "files/unix/FileLocation.h"
#include "files/unix/UnixFileInfo.h"

namespace UnixPlatform {

// An item can be filled from anything; what can't be examined is then either reported or, as far as
// `tolerant` allows, kept as it is.
//
// Fill an item by Fill only. The inherited Set examines another path and leaves Location as it was,
// so that SetModificationTime would change the file of the old location.
class FileItem : public UnixFileInfo {
public:
    FileItem() = default;

    // The file system's times need no correction here, and nothing is rounded, not even
    // to the whole seconds that it keeps.
    static Instant GetTimeBias();
    static Instant RoundToFileSystem(Instant time);

    // Fill the item from the location, or from the entry `name` below it; 0 or the error number.
    // The second throws EmptyFileLocationError if `parent` is empty.
    int Fill(FileLocation const& where);
    int Fill(FileLocation const& parent, FileName const& name);

    // A broken link is tolerable, nothing else is.
    bool MustReportError(bool tolerant) const;
    // The opposite of it.
    bool HandleTryToGetError(bool tolerant) const;
    // Throws what ThrowFileError does, if it must be reported; an `error` of 0 never is.
    void HandleGetError(int error, bool tolerant) const;

    // Sets the time on disk and in this object, in whole seconds; the access time stays as this
    // object knows it. Throws InvalidStats if nothing was there when the item was filled,
    // FileNotFoundError for ENOENT, FilePermissionError for EACCES, and the plain FileIOError
    // otherwise, also for EPERM.
    void SetModificationTime(Instant time);

    FileLocation const& Location() const { return location; }

private:
    FileLocation location;
};

} // namespace UnixPlatform
