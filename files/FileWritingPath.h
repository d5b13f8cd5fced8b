// A file opened for reading and writing.
//
// A path owns a file descriptor and opens, flushes and closes it. Streams (FileWriter,
// FileDataSink) point to a path and write its bytes. Only Flush waits until the data is on disk;
// Close does not.
#pragma once

#include "files/FileLocation.h"
#include "files/unix/FileWritingPath.h"

class FileRetryLog;

// Error handling: a failed system call throws according to the column "writing path" of
// files/unix/FileErrorMappers.h, in Length and Close according to the column "reading path". The
// exception has the name of the file only if opening it failed.
class FileWritingPath : public UnixPlatform::FileWritingPath {
public:
    // Select whether the constructor accepts an existing file and whether it creates a missing one.
    struct OpenExistingFile {};
    struct OpenExistingFileOrNewFile {};
    struct OpenNewFile {};
    struct OpenNewFileOrAsNewFile {};

    // Not open.
    FileWritingPath() = default;

    // Each calls the operation named like its tag; the one without a tag calls OpenExisting.
    explicit FileWritingPath(FileLocation const& where);
    FileWritingPath(FileLocation const& where, OpenExistingFile);
    FileWritingPath(FileLocation const& where, OpenExistingFileOrNewFile);
    FileWritingPath(FileLocation const& where, OpenNewFile);
    FileWritingPath(FileLocation const& where, OpenNewFileOrAsNewFile);

    // Open for reading and writing. A file that is still open is closed first. The file descriptor
    // is close-on-exec.
    //
    //                      if the file exists        if it does not exist
    //   OpenExisting       opened, kept              throws FileNotFoundError
    //   OpenExistingOrNew  opened, kept              created
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

    // Calls FlushOnBrokenFilesystems with the retries of files/FileRetry.h, which defines this
    // function. Every exception leads to a retry. `where` is only passed to the log.
    void FlushOnBrokenFilesystemsWithRetry(FileLocation const& where,
                                           FileRetryLog const& log) const;
};
