// A file, or a part of it, as a sequence of chunks in the caller's buffer.
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

// The file ended before the range did.
class FileReadingLoopEndOfFileError : public DebuggableException {};

// Delivers exactly the bytes from `start` up to, but without, `stop`, or throws: if the range goes
// beyond the file, or the file shrinks, FileReadingLoopEndOfFileError follows on the bytes that are
// there. So it does where a read brings nothing though the length promises more: most files of /sys
// claim 4,096 bytes and give fewer. A chunk is therefore never empty. Nothing is allocated.
//
// Deliberate: a file of unknown length has the all-ones value for its length, so that the forms
// without `stop` deliver all of it and then throw. The same happens where `start` is above `stop`,
// since the difference wraps around.
//
// Error handling: besides, what FileReader throws.
class FileReadingLoop {
public:
    // REQUIRES: the buffer is not empty; Start before any other use.
    explicit FileReadingLoop(Data bufferForChunks);

    // As the first, and the Start of the same arguments.
    FileReadingLoop(Data bufferForChunks, FileReadingPath const& path, unsigned long long start);
    FileReadingLoop(Data bufferForChunks, FileReadingPath const& path, unsigned long long start,
                    unsigned long long stop);
    FileReadingLoop(Data bufferForChunks, FileReadingPath const& path,
                    Range<unsigned long long> range);

    // Reads the first chunk, if there is anything to read. Without `stop`: up to the length that
    // the file has now. The path must outlive the loop.
    void Start(FileReadingPath const& path, unsigned long long start);
    void Start(FileReadingPath const& path, unsigned long long start, unsigned long long stop);
    void Start(FileReadingPath const& path, Range<unsigned long long> range);

    // Reads the next chunk, if anything remains. REQUIRES: Remaining() is not 0.
    FileReadingLoop& operator++();

    // The bytes that the last read brought, inside the buffer; one read(2) each, so a chunk can be
    // shorter than the buffer. Empty before the first read.
    ConstData Chunk() const { return chunk; }

    // How many bytes are still to be delivered, with those of the present chunk.
    unsigned long long Remaining() const { return remaining; }

private:
    void Read();

    Data buffer;
    FileReader reader;
    Data chunk;
    unsigned long long remaining = 0;
};
