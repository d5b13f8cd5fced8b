#include "data/StringReceiver.h"

#include "data/AppendRun.h"

DataReceiver& StringReceiver::operator()(std::string& string) {
    target = &string;
    return *this;
}

void StringReceiver::Start() { target->clear(); }

void StringReceiver::Receive(ConstData data) {
    AppendRuns::Append(*target, data.View().data(), data.Length());
}

void StringReceiver::ReceiveEnd() {}
