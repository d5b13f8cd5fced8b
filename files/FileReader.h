// A file as a source of bytes.
#pragma once

#include "data/DataReader.h"
#include "files/unix/FileReader.h"

class FileReadingPath;
class FileWritingPath;

// A position of its own on a path that it does not own. Every transfer seeks to that position
// first, so streams on one path do not disturb each other as long as they work in turn.
//
// Error handling: FileIOError by the table's column for readers (a refused position is a
// FileSeekError), naming the path's location. After an exception the position stands behind the
// last complete transfer. An interrupted read (EINTR) is not taken up again.
class FileReader : public DataReader {
public:
    // REQUIRES: Start before any other use.
    FileReader() = default;

    // As Start. A writing path is open for reading too.
    FileReader(FileReadingPath const& path, unsigned long long position);
    FileReader(FileWritingPath const& path, unsigned long long position);

    // Reading will begin `position` bytes into the file, which need not be inside it. Throws
    // FileNotOpenError if nothing is open on the path, which must outlive the reading.
    void Start(FileReadingPath const& path, unsigned long long position);

    // The file's length is asked anew each time, so that a file that grows is followed. Where the
    // system tells no length (files of /proc), a byte is read and set aside to find out, and the
    // end, once found, is final until Start.
    //
    // Deliberate: a length that is known is believed. A file that gives less than it claims (most
    // of /sys) is never finished; who reads it to its end looks for a read that brings nothing.
    bool Finished() const override;

    // One read(2) for the room in `target`: what comes can be less, and is nothing at the end.
    DataReader& operator>>(Buffer& target) override;

    // One read(2) too, so that a short read counts as the end of the file. Unlike other
    // readers it says so by EndOfFileError, with the bytes that came in `target` and counted in the
    // position.
    DataReader& operator>>(Data target) override;

    // The offset of the next byte. Setting it does not undo that an end was found.
    unsigned long long Position() const { return reader.Position(); }
    void SetPosition(unsigned long long position) { reader.SetPosition(position); }

private:
    UnixPlatform::FileReader reader;
};
