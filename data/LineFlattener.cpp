#include "data/LineFlattener.h"

constinit ConstData const LineFlattener::cr = "\r"_bytes;
constinit ConstData const LineFlattener::lf = "\n"_bytes;
constinit ConstData const LineFlattener::crlf = "\r\n"_bytes;
constinit ConstData const LineFlattener::space = " "_bytes;
constinit ConstData const LineFlattener::nothing;

LineReceiver& LineFlattener::operator()(ConstData newLineBreak, DataReceiver& receiver) {
    lineBreak = newLineBreak;
    target = &receiver;
    return *this;
}

void LineFlattener::Start(unsigned long long) { target->Start(); }

void LineFlattener::Receive(ConstData data) { target->Receive(data); }

void LineFlattener::ReceiveLineBreak(Range<unsigned long long>) { target->Receive(lineBreak); }

void LineFlattener::ReceiveEnd(unsigned long long) {
    target->ReceiveEnd();
    target = nullptr;
}
