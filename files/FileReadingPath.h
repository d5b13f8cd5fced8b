// A file opened for reading.
//
// A path owns one descriptor, and can open, measure and close. The bytes are the business of the
// streams, FileReader and FileReadingLoop, which point to a path. One thread; streams on the same
// path share the descriptor's position and are safe in turn, since each seeks before it transfers.
#pragma once

#include "files/FileLocation.h"
#include "files/unix/FileReadingPath.h"

// Error handling: a failure of the system becomes the class of FileIOError that its number means to
// this object, with the number as code. An interrupted call (EINTR) is a failure like any other.
class FileReadingPath : public UnixPlatform::FileReadingPath {
public:
    // Nothing open.
    FileReadingPath() = default;
    // As OpenExisting.
    explicit FileReadingPath(FileLocation const& where);

    // The contract is that of the base class. The form on locations of the platform stays visible.
    void OpenExisting(FileLocation const& where);
    using UnixPlatform::FileReadingPath::OpenExisting;
};
