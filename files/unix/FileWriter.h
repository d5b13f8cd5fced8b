// A position in a file at which bytes are written: the implementation of files/FileWriter.h.
#pragma once

#include "data/ConstData.h"

namespace UnixPlatform {

class FileLocation;
class FileWritingPath;

// The contract is that of the class of the same name in files/FileWriter.h. Exceptions have no
// name, because a path opened for writing does not store its location.
class FileWriter {
public:
    // REQUIRES: Start is called before any other operation, and the path outlives the writing.
    FileWriter() = default;
    FileWriter(FileWritingPath const& newPath, unsigned long long newPosition);

    void Start(FileWritingPath const& newPath, unsigned long long newPosition);

    // The offset of the next byte; after a failure, of the first byte that was not written.
    unsigned long long Position() const { return position; }
    void SetPosition(unsigned long long newPosition) { position = newPosition; }

    // Writes all bytes, in as many calls of write(2) as needed; does nothing if there are none.
    FileWriter& operator<<(ConstData data);

    // Throws the exception for the number in the column "writer" of files/unix/FileErrorMappers.h,
    // with the name `where`. Returns for 0.
    void ThrowError(FileLocation const& where, int errorNumber) const;

private:
    FileWritingPath const* path = nullptr;
    unsigned long long position = 0;
};

} // namespace UnixPlatform
