// A position on an open file, at which bytes are written, on the system's side. See
// files/FileWriter.h.
#pragma once

#include "data/ConstData.h"

namespace UnixPlatform {

class FileLocation;
class FileWritingPath;

// What the portable class of this name promises holds here, with the path given to Start.
class FileWriter {
public:
    // REQUIRES, for all that follows: Start was called; the path lives as long as it is written.
    FileWriter() = default;
    FileWriter(FileWritingPath const& newPath, unsigned long long newPosition);

    void Start(FileWritingPath const& newPath, unsigned long long newPosition);

    // The offset of the next byte: after a failure, behind what was written before it.
    unsigned long long Position() const { return position; }
    void SetPosition(unsigned long long newPosition) { position = newPosition; }

    // Writes all of it, in as many steps as the system takes; empty data is left alone.
    FileWriter& operator<<(ConstData data);

    // Throws what the number means to a writer, naming `where`; returns for 0. The table stands in
    // files/unix/FileErrorMappers.h.
    void ThrowError(FileLocation const& where, int errorNumber) const;

private:
    FileWritingPath const* path = nullptr;
    unsigned long long position = 0;
};

} // namespace UnixPlatform
