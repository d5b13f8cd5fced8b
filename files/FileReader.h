// A file as a source of bytes.
#pragma once

#include "data/DataReader.h"
#include "files/unix/FileReader.h"

class FileReadingPath;
class FileWritingPath;

// A position in a file. Several streams can use the same path in turn, because each transfer first
// seeks to the stream's own position. The path is not owned.
//
// Error handling: FileIOError according to the column "reader" of files/unix/FileErrorMappers.h.
// The exception names the location of a FileReadingPath; with a FileWritingPath, it has no name.
// Start and Finished throw like FileReadingPath::Length. After an exception, the position includes
// the bytes already read. An interrupted read (EINTR) is not retried.
class FileReader : public DataReader {
public:
    // REQUIRES: Start is called before any other operation.
    FileReader() = default;

    // Call Start. A path opened for writing can also be read.
    FileReader(FileReadingPath const& path, unsigned long long position);
    FileReader(FileWritingPath const& path, unsigned long long position);

    // Sets the path and the position, which may be beyond the end of the file. REQUIRES: the path
    // outlives the reading.
    void Start(FileReadingPath const& path, unsigned long long position);

    // True if the position is not less than the length of the file, which each call determines
    // again, because the file may grow. If the length is unknown (many files of /proc), the
    // function reads one byte to find the end. Once found, the end is final until Start. A failure
    // of this read counts as the end. If the read returns a byte, the result stays false until the
    // next operator>>.
    //
    // Deliberate: a known length is trusted, so that the end is found without a read. A file that
    // returns fewer bytes than its length (most files of /sys) is never finished. Its caller must
    // also stop when a read returns no bytes. A file with more bytes than its length is finished
    // early. For example, /proc/self/cmdline has the length 0.
    bool Finished() const override;

    // Calls read(2) once for the free space of `target`, if there is any. The call may return fewer
    // bytes; at the end, none.
    DataReader& operator>>(Buffer& target) override;

    // Fills `target` by one call of read(2); does nothing if it is empty. A short read counts as
    // the end of the file: throws EndOfFileError, not NoMoreData. The bytes read are then in
    // `target`, and the position includes them.
    DataReader& operator>>(Data target) override;

    // The offset of the next byte. If the length is unknown, setting the offset does not discard
    // the byte or the end that Finished has found.
    unsigned long long Position() const { return reader.Position(); }
    void SetPosition(unsigned long long position) { reader.SetPosition(position); }

private:
    UnixPlatform::FileReader reader;
};
