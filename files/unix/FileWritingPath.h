// One open descriptor on a file to be written, on the system's side. See files/FileWritingPath.h.
#pragma once

#include "files/unix/FileReadingPath.h"

namespace UnixPlatform {

// What the portable class of this name promises holds here, on locations of the platform.
//
// Deliberate: no open of this class records its location. A failed open names the file, what fails
// later (Flush, SetLength, the writes) names none.
class FileWritingPath : public FileReadingPath {
public:
    // All four close what is still open first, and open for reading and writing; the mode of a new
    // file is 0666 less the umask. The descriptor is closed on exec. A failure leaves nothing open.
    void OpenExisting(FileLocation const& where) override;
    void OpenExistingOrNew(FileLocation const& where);
    void OpenNew(FileLocation const& where);
    void OpenNewOrAsNew(FileLocation const& where);

    // Deliberate, and kept for those who count on it: this is not a resize. If the file is shorter
    // than `length`, `length` - 1, cut to 32 bits, goes to the system as the whence of a seek by 0
    // (so 1, 2 and 3 mean the start, the present position and the end, and most else is refused),
    // and one zero byte is written where that leads. Otherwise the file is truncated to the length
    // that it has: it does not shrink.
    void SetLength(unsigned long long length);

    // Waits until the data is on the disk: fsync(2).
    void Flush() const;

    // The flush for file systems on which Flush is not enough. Here there is nothing to add to it.
    void FlushOnBrokenFilesystems() const;

    // As in the base class, by the column "writing path" of files/unix/FileErrorMappers.h. The
    // inherited Length and Close use the column "reading path".
    void ThrowError(FileLocation const& where, int errorNumber) const;

private:
    void Open(FileLocation const& where, int flags);
    void AppendZeroByte(unsigned int whence);
};

} // namespace UnixPlatform
