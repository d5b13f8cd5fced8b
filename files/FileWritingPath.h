// A file opened for writing, and for reading too.
//
// A path owns one descriptor, and can open, flush and close. The bytes are the business of the
// streams, FileWriter and FileDataSink, which point to a path. Nothing here writes behind the
// caller's back: what was written reaches the disk by a Flush alone, a close does not wait for it.
#pragma once

#include "files/FileLocation.h"
#include "files/unix/FileWritingPath.h"

class FileRetryLog;

// Error handling: error numbers become exceptions by the column "writing path" of the table in
// files/unix/FileErrorMappers.h, and in Length and Close by the column "reading path". Only a
// failure to open names the file; the operations on an open path name none.
class FileWritingPath : public UnixPlatform::FileWritingPath {
public:
    // What a constructor does with a file that is there, and with one that is not.
    struct OpenExistingFile {};
    struct OpenExistingFileOrNewFile {};
    struct OpenNewFile {};
    struct OpenNewFileOrAsNewFile {};

    // Nothing open.
    FileWritingPath() = default;

    // Each opens as the operation of the tag's name does; without a tag, as OpenExisting.
    explicit FileWritingPath(FileLocation const& where);
    FileWritingPath(FileLocation const& where, OpenExistingFile);
    FileWritingPath(FileLocation const& where, OpenExistingFileOrNewFile);
    FileWritingPath(FileLocation const& where, OpenNewFile);
    FileWritingPath(FileLocation const& where, OpenNewFileOrAsNewFile);

    // What is still open is closed first. The descriptor is closed on exec.
    //
    //                      a file is there           none is there
    //   OpenExisting       opened, kept              FileNotFoundError
    //   OpenExistingOrNew  opened, kept              created
    //   OpenNew            FileExistsError           created
    //   OpenNewOrAsNew     truncated                 created
    void OpenExisting(FileLocation const& where);
    void OpenExistingOrNew(FileLocation const& where);
    void OpenNew(FileLocation const& where);
    void OpenNewOrAsNew(FileLocation const& where);

    using UnixPlatform::FileWritingPath::OpenExisting;
    using UnixPlatform::FileWritingPath::OpenExistingOrNew;
    using UnixPlatform::FileWritingPath::OpenNew;
    using UnixPlatform::FileWritingPath::OpenNewOrAsNew;

    // FlushOnBrokenFilesystems under the retries of files/FileRetry.h, where it is defined. Here no
    // exception ends the retries early. `where` is only what the log is told.
    void FlushOnBrokenFilesystemsWithRetry(FileLocation const& where,
                                           FileRetryLog const& log) const;
};
