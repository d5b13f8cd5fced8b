#include "files/unix/FileReadingPath.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "data/Ascii.h"
#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/unix/FileErrorMappers.h"
#include "files/unix/Seek64.h"

namespace {

// The kernel's log: reading it blocks until the next message. A constant expression, so
// initializers of other files can open files.
constexpr ConstData kernelLog = "/proc/kmsg"_bytes;

} // namespace

UnixPlatform::FileReadingPath::FileReadingPath(FileLocation const& where) {
    FileReadingPath::OpenExisting(where);
}

UnixPlatform::FileReadingPath::~FileReadingPath() {
    try {
        Close();
    } catch (...) {
        // A destructor cannot report the error. A caller that needs it calls Close first.
    }
}

void UnixPlatform::FileReadingPath::OpenExisting(FileLocation const& where) {
    location = where;
    if (Ascii::EqualIgnoringCase(where.Bytes(), kernelLog))
        throw FileIOError(where, 0);
    descriptor = open(where.Text(), O_RDONLY);
    if (descriptor == -1)
        ThrowError(where, errno);
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

unsigned long long UnixPlatform::FileReadingPath::Length() const {
    if (lengthUnknown)
        return unknownLength;
    if (descriptor == -1)
        throw FileNotOpenError(location, 0);
    long long const position = Seek64(descriptor, 0, SEEK_CUR);
    if (position == -1)
        ThrowError(location, errno);
    long long const end = Seek64(descriptor, 0, SEEK_END);
    if (end == -1) {
        if (errno == EINVAL) {
            lengthUnknown = true;
            return unknownLength;
        }
        ThrowError(location, errno);
    }
    if (Seek64(descriptor, position, SEEK_SET) == -1)
        ThrowError(location, errno);
    return end;
}

void UnixPlatform::FileReadingPath::Close() {
    if (descriptor == -1)
        return;
    int const closing = std::exchange(descriptor, -1);
    if (close(closing) == -1)
        ThrowError(location, errno);
}

void UnixPlatform::FileReadingPath::ThrowError(FileLocation const& where, int errorNumber) const {
    ThrowReadingPathError(where, errorNumber);
}
