#include "files/ReadFile.h"

#include <cstddef>

#include "data/Buffer.h"
#include "data/DataReceiver.h"
#include "data/LineMaker.h"
#include "data/MessageMaker.h"
#include "files/FileLocation.h"
#include "files/FileReader.h"
#include "files/FileReadingLoop.h"
#include "files/FileReadingPath.h"

namespace {

constexpr std::size_t chunkSize = 4096;

// `stop` is one offset, or is absent.
template <class... Stop>
void ReadBytes(FileLocation const& where, DataReceiver& receiver, unsigned long long start,
               Stop... stop) {
    receiver.Start();
    {
        FileReadingPath path(where);
        unsigned char bytes[chunkSize];
        for (FileReadingLoop loop(Data(bytes), path, start, stop...); loop.Remaining() != 0; ++loop)
            receiver.Receive(loop.Chunk());
    }
    receiver.ReceiveEnd();
}

template <class... Stop>
void ReadLines(FileLocation const& where, LineReceiver& receiver, unsigned long long start,
               Stop... stop) {
    LineMaker lines(receiver);
    ReadFile(where, static_cast<DataReceiver&>(lines), start, stop...);
}

template <class... Stop>
void ReadMessage(FileLocation const& where, MessageReceiver& receiver, unsigned long long start,
                 Stop... stop) {
    MessageMaker message(receiver);
    ReadFile(where, static_cast<LineReceiver&>(message), start, stop...);
}

} // namespace

void ReadFileRange(FileReader& reader, Range<unsigned long long> const& range,
                   DataReceiver& receiver) {
    reader.SetPosition(range.begin);
    receiver.Start();
    unsigned char bytes[chunkSize];
    Buffer chunk{Data(bytes)};
    while (reader.Position() < range.end && reader.Unfinished()) {
        chunk.Reset();
        reader >> chunk;
        if (chunk.Written().IsEmpty())
            break;
        if (reader.Position() > range.end)
            chunk.position -= reader.Position() - range.end;
        receiver.Receive(chunk.Written());
    }
    receiver.ReceiveEnd();
}

void ReadFile(FileLocation const& where, DataReceiver& receiver, unsigned long long start) {
    ReadBytes(where, receiver, start);
}

void ReadFile(FileLocation const& where, DataReceiver& receiver, unsigned long long start,
              unsigned long long stop) {
    ReadBytes(where, receiver, start, stop);
}

void ReadFile(FileLocation const& where, LineReceiver& receiver, unsigned long long start) {
    ReadLines(where, receiver, start);
}

void ReadFile(FileLocation const& where, LineReceiver& receiver, unsigned long long start,
              unsigned long long stop) {
    ReadLines(where, receiver, start, stop);
}

void ReadFile(FileLocation const& where, MessageReceiver& receiver, unsigned long long start) {
    ReadMessage(where, receiver, start);
}

void ReadFile(FileLocation const& where, MessageReceiver& receiver, unsigned long long start,
              unsigned long long stop) {
    ReadMessage(where, receiver, start, stop);
}
