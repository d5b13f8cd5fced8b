#include "files/unix/FileWriter.h"

#include <cerrno>

#include <unistd.h>

#include "files/unix/FileErrorMappers.h"
#include "files/unix/FileWritingPath.h"
#include "files/unix/Seek64.h"

UnixPlatform::FileWriter::FileWriter(FileWritingPath const& newPath, unsigned long long newPosition)
    : path(&newPath), position(newPosition) {}

void UnixPlatform::FileWriter::Start(FileWritingPath const& newPath,
                                     unsigned long long newPosition) {
    path = &newPath;
    position = newPosition;
}

UnixPlatform::FileWriter& UnixPlatform::FileWriter::operator<<(ConstData data) {
    while (!data.IsEmpty()) {
        if (Seek64(path->descriptor, position, SEEK_SET) == -1)
            ThrowError(path->location, errno);
        ssize_t const count = write(path->descriptor, data.begin, data.Length());
        if (count == -1)
            ThrowError(path->location, errno);
        position += count;
        data.begin += count;
    }
    return *this;
}

void UnixPlatform::FileWriter::ThrowError(FileLocation const& where, int errorNumber) const {
    ThrowWriterError(where, errorNumber);
}
