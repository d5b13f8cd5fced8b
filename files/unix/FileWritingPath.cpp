#include "files/unix/FileWritingPath.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

#include "files/unix/FileErrorMappers.h"
#include "files/unix/Seek64.h"

void UnixPlatform::FileWritingPath::OpenExisting(FileLocation const& where) { Open(where, O_RDWR); }

void UnixPlatform::FileWritingPath::OpenExistingOrNew(FileLocation const& where) {
    Open(where, O_RDWR | O_CREAT);
}

void UnixPlatform::FileWritingPath::OpenNew(FileLocation const& where) {
    Open(where, O_RDWR | O_CREAT | O_EXCL);
}

void UnixPlatform::FileWritingPath::OpenNewOrAsNew(FileLocation const& where) {
    Open(where, O_RDWR | O_CREAT | O_TRUNC);
}

void UnixPlatform::FileWritingPath::SetLength(unsigned long long length) {
    if (Length() < length)
        AppendZeroByte(static_cast<unsigned int>(length - 1));
    else if (ftruncate64(descriptor, static_cast<off64_t>(Length())) == -1)
        ThrowError(location, errno); // GCOVR_EXCL_BR_LINE: always throws
}

void UnixPlatform::FileWritingPath::Flush() const {
    if (fsync(descriptor) == -1)
        ThrowError(location, errno); // GCOVR_EXCL_BR_LINE: always throws
}

void UnixPlatform::FileWritingPath::FlushOnBrokenFilesystems() const { Flush(); }

void UnixPlatform::FileWritingPath::Open(FileLocation const& where, int flags) {
    Close();
    // The system uses the mode only with O_CREAT.
    descriptor = open(where.Text(), flags, 0666);
    if (descriptor == -1)
        ThrowError(where, errno);
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

void UnixPlatform::FileWritingPath::AppendZeroByte(unsigned int whence) {
    if (Seek64(static_cast<unsigned int>(descriptor), 0, whence) == -1)
        ThrowError(location, errno); // GCOVR_EXCL_BR_LINE: always throws
    char const zero = 0;
    ssize_t count = 0;
    while ((count = write(descriptor, &zero, 1)) != 1)
        if (count == -1)
            ThrowError(location, errno); // GCOVR_EXCL_BR_LINE: always throws
}

void UnixPlatform::FileWritingPath::ThrowError(FileLocation const& where, int errorNumber) const {
    ThrowWritingPathError(where, errorNumber);
}
