#include "data/StringReceiver.h"

DataReceiver& StringReceiver::operator()(std::string& string) {
    target = &string;
    return *this;
}

void StringReceiver::Start() { target->clear(); }

void StringReceiver::Receive(ConstData data) { target->append(data.View()); }

void StringReceiver::ReceiveEnd() {}
