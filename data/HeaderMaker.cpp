#include "data/HeaderMaker.h"

#include <algorithm>

#include "data/Ascii.h"
#include "data/DataReceiver.h"
#include "data/MessageReceiver.h"

HeaderMaker::HeaderMaker()
    : linearWhiteSpace(Ascii::LinearWhiteSpace()), fieldReceiver(&DataReceiver::Ignore()) {}

HeaderMaker::HeaderMaker(MessageReceiver& messageReceiver) : HeaderMaker() {
    receiver = &messageReceiver;
}

LineReceiver& HeaderMaker::operator()(MessageReceiver& messageReceiver) {
    receiver = &messageReceiver;
    return *this;
}

void HeaderMaker::Start(unsigned long long position) {
    fieldName.Reset();
    fieldReceiver = &DataReceiver::Ignore();
    lineBreakBegin = position;
    lineBreakEnd = position;
    state = &HeaderMaker::StartHeaderLine;
    fieldOpen = false;
}

void HeaderMaker::Receive(ConstData data) {
    while (!data.IsEmpty())
        (this->*state)(data); // GCOVR_EXCL_BR_LINE: no state is a virtual function
}

void HeaderMaker::ReceiveLineBreak(Range<unsigned long long> range) {
    lineBreakBegin = range.begin;
    lineBreakEnd = range.end;
    state = &HeaderMaker::StartHeaderLine;
}

void HeaderMaker::ReceiveEnd(unsigned long long position) {
    fieldReceiver->ReceiveEnd();
    EndField(lineBreakEnd == position ? lineBreakBegin : position);
}

// Consumes nothing. The first byte of a line decides whether the line continues the previous field.
void HeaderMaker::StartHeaderLine(ConstData& rest) {
    if (linearWhiteSpace->Contains(*rest.begin)) {
        fieldReceiver->Receive(" "_bytes);
        state = &HeaderMaker::EatWhiteSpace;
        return;
    }
    fieldReceiver->ReceiveEnd();
    fieldReceiver = &DataReceiver::Ignore();
    fieldName.Reset();
    state = &HeaderMaker::HandleFieldName;
    EndField(lineBreakBegin);
}

void HeaderMaker::HandleFieldName(ConstData& rest) {
    std::uint64_t const colon = rest.PositionOf(':');
    bool const isComplete = colon != ConstData::notFound;
    unsigned char const* const nameEnd = isComplete ? rest.begin + colon : rest.end;
    ConstBuffer name(ConstData(rest.begin, nameEnd));
    Ascii::LowerCase(name, fieldName);
    rest.begin = nameEnd;
    if (isComplete) {
        ++rest.begin;
        BeginField();
        state = &HeaderMaker::EatWhiteSpace;
    }
}

void HeaderMaker::EatWhiteSpace(ConstData& rest) {
    rest.begin = std::find_if_not(rest.begin, rest.end, [this](unsigned char byte) {
        return linearWhiteSpace->Contains(byte);
    });
    if (!rest.IsEmpty())
        state = &HeaderMaker::PassText;
}

void HeaderMaker::PassText(ConstData& rest) {
    fieldReceiver->Receive(rest);
    rest.begin = rest.end;
}

// If the buffer is full, the name may be truncated, so the field is dropped.
void HeaderMaker::BeginField() {
    if (fieldName.IsFull()) {
        fieldReceiver = &DataReceiver::Ignore();
        return;
    }
    fieldReceiver = &receiver->ReceiveHeaderField(lineBreakEnd, fieldName.Written());
    fieldOpen = true;
    fieldReceiver->Start();
}

void HeaderMaker::EndField(unsigned long long position) {
    if (fieldOpen) {
        receiver->ReceiveHeaderFieldEnd(position);
        fieldOpen = false;
    }
}
