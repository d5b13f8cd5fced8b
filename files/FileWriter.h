// A file as a sink of bytes.
#pragma once

#include "data/DataReceiver.h"
#include "files/unix/FileWriter.h"

class FileWritingPath;

// A position in a file. Several streams can use the same path in turn, because each transfer first
// seeks to the stream's own position. The path is not owned. Nothing is buffered: when the operator
// returns, the system has the bytes.
//
// Error handling: FileIOError according to the column "writer" of files/unix/FileErrorMappers.h,
// without a name. After an exception, the position includes the bytes already written. An
// interrupted write (EINTR) is not retried.
class FileWriter : public DataWriter {
public:
    // Selects the current end of the file as the start position.
    struct WritePositionEndOfFile {};

    // REQUIRES: Start is called before any other operation.
    FileWriter() = default;

    // The first overload calls Start; the second one starts at the end of the file, and throws like
    // FileWritingPath::Length.
    FileWriter(FileWritingPath const& path, unsigned long long position);
    FileWriter(FileWritingPath const& path, WritePositionEndOfFile);

    // Sets the path and the position. Writing beyond the end leaves a gap that reads as zeros.
    // REQUIRES: the path outlives the writing.
    void Start(FileWritingPath const& path, unsigned long long position);

    // Writes all bytes, in as many calls of write(2) as needed.
    DataWriter& operator<<(ConstData data) override;

private:
    UnixPlatform::FileWriter writer;
};
