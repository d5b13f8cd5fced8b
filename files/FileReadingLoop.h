// Reads a file, or a range of it, as a sequence of chunks in the caller's buffer.
//
//     unsigned char bytes[4096];
//     for (FileReadingLoop loop(Data(bytes), path, 0); loop.Remaining() != 0; ++loop)
//         Consume(loop.Chunk());
#pragma once

#include "data/ArrayOf.h"
#include "data/Buffer.h"
#include "data/ConstData.h"
#include "data/DebuggableException.h"
#include "files/FileReader.h"

class FileReadingPath;

// The file ended before the end of the range.
class FileReadingLoopEndOfFileError : public DebuggableException {};

// Delivers exactly the bytes from `start` to `stop` (exclusive), or throws
// FileReadingLoopEndOfFileError after the last byte of the file. The loop throws if the range
// extends beyond the file, or if the file shrinks. It also throws if a read returns no bytes before
// the length is reached. (Most files of /sys have the length 4,096 and return fewer bytes.) So a
// chunk that was read is never empty. Nothing is allocated.
//
// Deliberate: an unknown length is the all-ones value, so the overloads without `stop` deliver the
// file from `start` to its end and then throw. The same happens if `start` is greater than `stop`,
// because the difference wraps around. Callers depend on receiving all bytes before the exception:
// see CopyFile and ReadFile.h.
//
// Error handling: also throws like FileReader.
class FileReadingLoop {
public:
    // REQUIRES: the buffer is not empty, and Start is called before any other operation.
    explicit FileReadingLoop(Data bufferForChunks);

    // Call the Start with the same arguments. REQUIRES: the buffer is not empty.
    FileReadingLoop(Data bufferForChunks, FileReadingPath const& path, unsigned long long start);
    FileReadingLoop(Data bufferForChunks, FileReadingPath const& path, unsigned long long start,
                    unsigned long long stop);
    FileReadingLoop(Data bufferForChunks, FileReadingPath const& path,
                    Range<unsigned long long> range);

    // Read the first chunk, unless the range is empty. Without `stop`, the range ends at the
    // current length of the file. REQUIRES: the path outlives the loop.
    void Start(FileReadingPath const& path, unsigned long long start);
    void Start(FileReadingPath const& path, unsigned long long start, unsigned long long stop);
    void Start(FileReadingPath const& path, Range<unsigned long long> range);

    // Reads the next chunk, unless all bytes are delivered. REQUIRES: Remaining() is not 0.
    FileReadingLoop& operator++();

    // Returns the bytes of the last read(2), inside the buffer. A chunk may be shorter than the
    // buffer. Empty before the first read.
    ConstData Chunk() const { return chunk; }

    // Returns the number of bytes to be delivered, including the current chunk.
    unsigned long long Remaining() const { return remaining; }

private:
    void Read();

    Data buffer;
    FileReader reader;
    Data chunk;
    unsigned long long remaining = 0;
};
