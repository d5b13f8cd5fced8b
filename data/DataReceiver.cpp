#include "data/DataReceiver.h"

#include "data/ConstDataRopeReference.h"

namespace {

constinit IgnoreDataReceiver ignore;

} // namespace

DataReceiver::~DataReceiver() = default;

DataReceiver& DataReceiver::operator<<(ConstData data) {
    Receive(data);
    return *this;
}

void DataReceiver::Receive(ConstDataRopeReference rope) {
    for (ConstData const* piece = rope.begin; piece != rope.end; ++piece)
        Receive(*piece);
}

DataReceiver& DataReceiver::Ignore() { return ignore; }

void IgnoreDataReceiver::Start() {}

void IgnoreDataReceiver::Receive(ConstData) {}

void IgnoreDataReceiver::ReceiveEnd() {}

void StartReceiveAndEnd(DataReceiver& receiver, ConstData data) {
    receiver.Start();
    receiver.Receive(data);
    receiver.ReceiveEnd();
}

void StartReceiveAndEnd(DataReceiver& receiver, ConstDataRopeReference rope) {
    receiver.Start();
    receiver.Receive(rope);
    receiver.ReceiveEnd();
}
