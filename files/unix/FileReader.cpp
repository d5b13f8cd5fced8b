#include "files/unix/FileReader.h"

#include <cerrno>

#include <unistd.h>

#include "data/Buffer.h"
#include "files/FileErrors.h"
#include "files/unix/FileErrorMappers.h"
#include "files/unix/FileReadingPath.h"
#include "files/unix/Seek64.h"

void UnixPlatform::FileReader::Start(FileReadingPath const& newPath,
                                     unsigned long long newPosition) {
    path = &newPath;
    position = newPosition;
    lengthAtStart = path->Length();
    peeked = false;
    atEnd = false;
}

bool UnixPlatform::FileReader::Unfinished() const {
    unsigned long long const length = path->Length();
    if (length != FileReadingPath::unknownLength)
        return position < length;
    return !atEnd && (peeked || FindByteAtPosition());
}

UnixPlatform::FileReader& UnixPlatform::FileReader::operator>>(Data target) {
    if (!target.IsEmpty() && ReadOnce(target) < target.Length())
        ThrowError(path->location, EndOfFileCode);
    return *this;
}

UnixPlatform::FileReader& UnixPlatform::FileReader::operator>>(Buffer& target) {
    if (!target.IsFull())
        target.position += ReadOnce(target.Room());
    return *this;
}

// The byte is read again by the next read, because the position does not change.
bool UnixPlatform::FileReader::FindByteAtPosition() const {
    auto const descriptor = path->descriptor;
    peeked = Seek64(descriptor, position, SEEK_SET) != -1 && read(descriptor, &peekByte, 1) == 1;
    atEnd = !peeked;
    return peeked;
}

unsigned long long UnixPlatform::FileReader::ReadOnce(Data target) {
    peeked = false;
    if (Seek64(path->descriptor, position, SEEK_SET) == -1)
        ThrowError(path->location, errno);
    ssize_t const count = read(path->descriptor, target.begin, target.Length());
    if (count == -1)
        ThrowError(path->location, errno);
    position += count;
    return count;
}

void UnixPlatform::FileReader::ThrowError(FileLocation const& where, int errorNumber) const {
    ThrowReaderError(where, errorNumber);
}
