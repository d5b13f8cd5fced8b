// A position on an open file, from which bytes are read, on the system's side. See
// files/FileReader.h.
#pragma once

#include "data/Buffer.h"

class Buffer;

namespace UnixPlatform {

class FileLocation;
class FileReadingPath;

// What the portable class of this name promises holds here, with the path given to Start.
class FileReader {
public:
    // REQUIRES, for all that follows: Start was called; the path lives as long as it is read.
    FileReader() = default;

    // Throws FileNotOpenError if nothing is open on the path.
    void Start(FileReadingPath const& newPath, unsigned long long newPosition);

    // A byte is left at the position. The length is asked anew each time, so that a file that grows
    // is followed. Where the length is unknown, a byte is read and set aside to find out; once
    // there was none, the answer stays false until Start.
    bool Unfinished() const;

    // Reads once, for all of `target`; an empty one is left alone. What came counts, also if that
    // was too little: then EndOfFileError is thrown, with no second read.
    FileReader& operator>>(Data target);

    // Reads once, as much as `target` has room for, or less; nothing at the end of the file.
    FileReader& operator>>(Buffer& target);

    // The offset of the next byte. Setting it does not bring back a file of unknown
    // length that has been found at its end.
    unsigned long long Position() const { return position; }
    void SetPosition(unsigned long long newPosition) { position = newPosition; }

    // What the path's Length was at Start.
    unsigned long long LengthAtStart() const { return lengthAtStart; }

    // Throws what the number means to a reader, naming `where`; returns for 0. EndOfFileCode is one
    // of the numbers. The table stands in files/unix/FileErrorMappers.h.
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
