// A file as a sink of bytes.
#pragma once

#include "data/DataReceiver.h"
#include "files/unix/FileWriter.h"

class FileWritingPath;

// A position of its own on a path that it does not own. Every transfer seeks to that position
// first, so streams on one path do not disturb each other as long as they work in turn. Nothing is
// held back: when the operator returns, the system has the bytes.
//
// Error handling: FileIOError by the table's column for writers (a full disk is a
// FileDiskFullError, a refused position a FileSeekError), naming no file. After an exception the
// position counts what was written before. An interrupted write (EINTR) is not taken up again.
class FileWriter : public DataWriter {
public:
    // Writing begins behind the last byte that the file has at that moment.
    struct WritePositionEndOfFile {};

    // REQUIRES: Start before any other use.
    FileWriter() = default;

    // As Start.
    FileWriter(FileWritingPath const& path, unsigned long long position);
    FileWriter(FileWritingPath const& path, WritePositionEndOfFile);

    // Writing will begin `position` bytes into the file; a gap reads as zeros. The path must
    // outlive the writing.
    void Start(FileWritingPath const& path, unsigned long long position);

    // Writes all of it, in as many steps as the system takes.
    DataWriter& operator<<(ConstData data) override;

private:
    UnixPlatform::FileWriter writer;
};
