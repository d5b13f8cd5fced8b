#include "data/ReadReader.h"

#include <cstddef>

#include "data/Buffer.h"
#include "data/DataReader.h"
#include "data/DataReceiver.h"
#include "data/LineMaker.h"
#include "data/LineReceiver.h"
#include "data/MessageMaker.h"
#include "data/StringReceiver.h"

namespace {

constexpr std::size_t readChunkSize = 4096;

} // namespace

void ReadReader(DataReader& reader, DataReceiver& receiver) {
    unsigned char chunk[readChunkSize];
    Buffer buffer{Data(chunk)};
    receiver.Start();
    while (reader.Unfinished()) {
        buffer.Reset();
        reader >> buffer;
        receiver.Receive(buffer.Written());
    }
    receiver.ReceiveEnd();
}

void ReadReader(DataReader& reader, LineReceiver& receiver) {
    LineMaker lineMaker(receiver);
    ReadReader(reader, static_cast<DataReceiver&>(lineMaker));
}

void ReadReader(DataReader& reader, MessageReceiver& receiver) {
    MessageMaker messageMaker(receiver);
    ReadReader(reader, static_cast<LineReceiver&>(messageMaker));
}

std::string ReadReader(DataReader& reader) {
    std::string text;
    StringReceiver receiver;
    ReadReader(reader, receiver(text));
    return text;
}
