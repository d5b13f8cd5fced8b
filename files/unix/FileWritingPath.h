// The file descriptor of a file opened for writing: the implementation of files/FileWritingPath.h.
#pragma once

#include "files/unix/FileReadingPath.h"

namespace UnixPlatform {

// The contract is that of the class of the same name in files/FileWritingPath.h.
//
// Deliberate: this class does not store its location, so that opening does not copy the path. The
// exception for a failed open(2) names the file; all other exceptions have no name.
class FileWritingPath : public FileReadingPath {
public:
    // Open for reading and writing. A file that is still open is closed first. A new file has the
    // permissions 0666 less the umask. The file descriptor is close-on-exec. After a failure,
    // the path is not open.
    void OpenExisting(FileLocation const& where) override;
    void OpenExistingOrNew(FileLocation const& where);
    void OpenNew(FileLocation const& where);
    void OpenNewOrAsNew(FileLocation const& where);

    // Deliberate: this function does not set the length. Kept for compatibility.
    // - If the file is shorter than `length`, calls lseek with offset 0 and, as its whence,
    //   `length` - 1 truncated to 32 bits. Then writes one NUL byte at the resulting position. So
    //   the lengths 1, 2 and 3 mean the start, the current position and the end; most other values
    //   are refused.
    // - Otherwise the file is truncated to its current length, so it does not become shorter.
    void SetLength(unsigned long long length);

    // Waits until the data is on disk: fsync(2).
    void Flush() const;

    // The flush for file systems where Flush is not sufficient. On this platform, the same as
    // Flush.
    void FlushOnBrokenFilesystems() const;

    // Like the base class, with the column "writing path" of files/unix/FileErrorMappers.h. The
    // inherited Length and Close use the column "reading path".
    void ThrowError(FileLocation const& where, int errorNumber) const;

private:
    void Open(FileLocation const& where, int flags);
    void AppendZeroByte(unsigned int whence);
};

} // namespace UnixPlatform
