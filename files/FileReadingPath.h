// A file opened for reading.
//
// A FileReadingPath owns a file descriptor: it opens, measures and closes the file. Streams
// (FileReader, FileReadingLoop) point to this object and read the bytes. Not thread-safe. Several
// streams can use a path in turn, because each seeks before a transfer.
#pragma once

#include "files/FileLocation.h"
#include "files/unix/FileReadingPath.h"

// Error handling: a failed system call throws the class of FileIOError in the column "reading path"
// of files/unix/FileErrorMappers.h, with the error number as its code. An interrupted call (EINTR)
// is a failure and is not retried.
class FileReadingPath : public UnixPlatform::FileReadingPath {
public:
    // Not open.
    FileReadingPath() = default;
    // Calls OpenExisting.
    explicit FileReadingPath(FileLocation const& where);

    // Calls OpenExisting of the base class, which specifies it. The overload of the base stays
    // visible.
    void OpenExisting(FileLocation const& where);
    using UnixPlatform::FileReadingPath::OpenExisting;
};
