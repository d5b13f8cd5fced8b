#include "data/MessageMaker.h"

#include "data/MessageReceiver.h"

LineReceiver& MessageMaker::operator()(MessageReceiver& messageReceiver) {
    receiver = &messageReceiver;
    return *this;
}

void MessageMaker::Start(unsigned long long position) {
    current = &headerMaker(*receiver);
    inHeader = true;
    atLineStart = true;
    receiver->Start(position);
    current->Start(position);
}

void MessageMaker::Receive(ConstData data) {
    current->Receive(data);
    atLineStart = false;
}

void MessageMaker::ReceiveLineBreak(Range<unsigned long long> range) {
    if (atLineStart && inHeader) {
        current->ReceiveEnd(range.begin);
        inHeader = false;
        current = &receiver->ReceiveBody(range.end);
        current->Start(range.end);
    } else {
        current->ReceiveLineBreak(range);
    }
    atLineStart = true;
}

void MessageMaker::ReceiveEnd(unsigned long long position) {
    current->ReceiveEnd(position);
    if (inHeader) {
        LineReceiver& body = receiver->ReceiveBody(position);
        body.Start(position);
        body.ReceiveEnd(position);
    }
    receiver->ReceiveEnd(position);
}
