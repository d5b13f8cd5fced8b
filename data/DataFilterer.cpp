#include "data/DataFilterer.h"

#include <cstddef>

#include "data/Buffer.h"
#include "data/ConstDataRopeReference.h"
#include "data/DataFilter.h"
#include "data/StringReceiver.h"

namespace {

constexpr std::size_t chunkSize = 1024;

} // namespace

DataReceiver& DataFilterer::operator()(DataReceiver& receiver, DataFilter& dataFilter) {
    target = &receiver;
    filter = &dataFilter;
    return *this;
}

void DataFilterer::Start() { target->Start(); }

void DataFilterer::Receive(ConstData data) {
    unsigned char chunk[chunkSize];
    ConstBuffer source(data);
    while (!source.IsEmpty()) {
        Buffer buffer{Data(chunk)};
        (*filter)(source, buffer);
        target->Receive(buffer.Written());
    }
}

void DataFilterer::ReceiveEnd() {
    unsigned char chunk[chunkSize];
    while (!filter->Flushed()) {
        Buffer buffer{Data(chunk)};
        filter->Flush(buffer);
        target->Receive(buffer.Written());
    }
    target->ReceiveEnd();
}

void StartReceiveAndEnd(DataReceiver& receiver, ConstData data, DataFilter& filter) {
    DataFilterer filterer;
    StartReceiveAndEnd(filterer(receiver, filter), data);
}

void StartReceiveAndEnd(DataReceiver& receiver, ConstDataRopeReference rope, DataFilter& filter) {
    DataFilterer filterer;
    StartReceiveAndEnd(filterer(receiver, filter), rope);
}

std::string ApplyFilter(ConstData data, DataFilter& filter) {
    std::string result;
    StringReceiver receiver;
    StartReceiveAndEnd(receiver(result), data, filter);
    return result;
}
