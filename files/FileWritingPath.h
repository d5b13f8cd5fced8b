// A file opened for reading and writing.
//
// A FileWritingPath owns a file descriptor: it opens, flushes and closes the file. Streams
// (FileWriter, FileDataSink) point to this object and write the bytes. Flush waits until the data
// is on disk; Close does not.
#pragma once

#include "files/FileLocation.h"
#include "files/unix/FileWritingPath.h"

class FileRetryLog;

// Error handling: a failed system call throws the class of FileIOError in the column "writing path"
// of files/unix/FileErrorMappers.h; Length and Close use the column "reading path". The exception
// names the file only if open(2) failed.
class FileWritingPath : public UnixPlatform::FileWritingPath {
public:
    // Tags that select the operation of the constructor.
    struct OpenExistingFile {};
    struct OpenExistingFileOrNewFile {};
    struct OpenNewFile {};
    struct OpenNewFileOrAsNewFile {};

    // Not open.
    FileWritingPath() = default;

    // Each calls the operation that corresponds to its tag; without a tag, OpenExisting.
    explicit FileWritingPath(FileLocation const& where);
    FileWritingPath(FileLocation const& where, OpenExistingFile);
    FileWritingPath(FileLocation const& where, OpenExistingFileOrNewFile);
    FileWritingPath(FileLocation const& where, OpenNewFile);
    FileWritingPath(FileLocation const& where, OpenNewFileOrAsNewFile);

    // Open for reading and writing. A file that is still open is closed first. The file descriptor
    // is close-on-exec.
    //
    //                      if the file exists        if it does not exist
    //   OpenExisting       opened, contents kept     throws FileNotFoundError
    //   OpenExistingOrNew  opened, contents kept     created
    //   OpenNew            throws FileExistsError    created
    //   OpenNewOrAsNew     truncated                 created
    void OpenExisting(FileLocation const& where);
    void OpenExistingOrNew(FileLocation const& where);
    void OpenNew(FileLocation const& where);
    void OpenNewOrAsNew(FileLocation const& where);

    using UnixPlatform::FileWritingPath::OpenExisting;
    using UnixPlatform::FileWritingPath::OpenExistingOrNew;
    using UnixPlatform::FileWritingPath::OpenNew;
    using UnixPlatform::FileWritingPath::OpenNewOrAsNew;

    // Calls FlushOnBrokenFilesystems with the retries of files/FileRetry.h. Every exception leads
    // to a retry. `where` is only passed to the log. Defined in files/FileRetry.cpp.
    void FlushOnBrokenFilesystemsWithRetry(FileLocation const& where,
                                           FileRetryLog const& log) const;
};
