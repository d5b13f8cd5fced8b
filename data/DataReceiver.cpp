#include "data/DataReceiver.h"

#include "data/ConstDataRopeReference.h"
#include "data/IgnoreDataReceiver.h"

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
