#include "files/FileReadingLoop.h"

#include <algorithm>

#include "data/Buffer.h"
#include "files/FileReadingPath.h"

FileReadingLoop::FileReadingLoop(Data bufferForChunks) : buffer(bufferForChunks) {}

FileReadingLoop::FileReadingLoop(Data bufferForChunks, FileReadingPath const& path,
                                 unsigned long long start)
    : buffer(bufferForChunks) {
    Start(path, start);
}

FileReadingLoop::FileReadingLoop(Data bufferForChunks, FileReadingPath const& path,
                                 unsigned long long start, unsigned long long stop)
    : buffer(bufferForChunks) {
    Start(path, start, stop);
}

FileReadingLoop::FileReadingLoop(Data bufferForChunks, FileReadingPath const& path,
                                 Range<unsigned long long> range)
    : buffer(bufferForChunks) {
    Start(path, range);
}

void FileReadingLoop::Start(FileReadingPath const& path, unsigned long long start) {
    Start(path, start, path.Length());
}

void FileReadingLoop::Start(FileReadingPath const& path, unsigned long long start,
                            unsigned long long stop) {
    reader.Start(path, start);
    chunk = Data();
    remaining = stop - start;
    if (remaining != 0)
        Read();
}

void FileReadingLoop::Start(FileReadingPath const& path, Range<unsigned long long> range) {
    Start(path, range.begin, range.end);
}

FileReadingLoop& FileReadingLoop::operator++() {
    remaining -= chunk.Length();
    if (remaining != 0)
        Read();
    return *this;
}

void FileReadingLoop::Read() {
    if (!reader.Unfinished())
        throw FileReadingLoopEndOfFileError();
    Buffer target(Data(buffer.begin, std::min<unsigned long long>(buffer.Length(), remaining)));
    reader >> target;
    // The file may have fewer bytes than its length.
    if (target.Written().IsEmpty())
        throw FileReadingLoopEndOfFileError();
    chunk = target.Written();
}
