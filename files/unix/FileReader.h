// A position in a file from which bytes are read: the implementation of files/FileReader.h.
#pragma once

#include "data/Buffer.h"

namespace UnixPlatform {

class FileLocation;
class FileReadingPath;

// The contract is that of the class of the same name in files/FileReader.h, including the names in
// its exceptions.
class FileReader {
public:
    // REQUIRES: Start is called before any other operation, and the path outlives the reading.
    FileReader() = default;

    // Throws like FileReadingPath::Length.
    void Start(FileReadingPath const& newPath, unsigned long long newPosition);

    // True if the position is less than the length of the file, which each call determines again,
    // because the file may grow. If the length is unknown, reads one byte to find the end. If this
    // read returns no byte or fails, the result stays false until Start; otherwise it stays true
    // until the next operator>>.
    bool Unfinished() const;

    // Fills `target` by one call of read(2); does nothing if it is empty. If fewer bytes are read,
    // throws EndOfFileError; the position includes these bytes.
    FileReader& operator>>(Data target);

    // Calls read(2) once for the free space of `target`, if there is any. The call may return fewer
    // bytes; at the end, none.
    FileReader& operator>>(Buffer& target);

    // The offset of the next byte. If the length is unknown, setting the offset does not discard
    // the byte or the end that Unfinished has found.
    unsigned long long Position() const { return position; }
    void SetPosition(unsigned long long newPosition) { position = newPosition; }

    // Returns the Length of the path at the time of Start.
    unsigned long long LengthAtStart() const { return lengthAtStart; }

    // Throws the exception for the number in the column "reader" of files/unix/FileErrorMappers.h,
    // which includes EndOfFileCode, with the name `where`. Returns for 0.
    void ThrowError(FileLocation const& where, int errorNumber) const;

private:
    bool FindByteAtPosition() const;
    unsigned long long ReadOnce(Data target);

    FileReadingPath const* path = nullptr;
    unsigned long long position = 0;
    unsigned long long lengthAtStart = 0;
    mutable unsigned char peekByte = 0;
    mutable bool peeked = false;
    mutable bool atEnd = false;
};

} // namespace UnixPlatform
