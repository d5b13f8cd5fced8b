// Parses lines into header fields: a name, a colon, a value, and continuation lines.
#pragma once

#include "data/ArrayOf.h"
#include "data/Buffer.h"
#include "data/ConstData.h"
#include "data/LineReceiver.h"

class DataReceiver;
class MessageReceiver;
struct AsciiSet;

// The header of a message, similar to RFC 822. Lines that are not fields are dropped without an
// error.
//
// - The name is the text before the first colon of the line, in lower case. It is not trimmed: a
//   space before the colon stays. A line that starts with a colon has an empty name.
// - The value loses the tabs and spaces after the colon, and keeps trailing ones.
// - A line that starts with a tab or a space continues the previous field: one space replaces the
//   line break and the leading whitespace, even if the value was empty so far. Without a previous
//   field the line is dropped.
// - A line without a colon is dropped, with its continuation lines.
// - A name has at most 47 bytes. A field with a longer name is dropped.
//
// Calls only ReceiveHeaderField and ReceiveHeaderFieldEnd of the receiver. MessageMaker calls the
// other operations. Values are passed on as views; nothing is allocated.
//
// REQUIRES: bound to a receiver before the first Receive.
class HeaderMaker : public LineReceiver {
public:
    HeaderMaker();
    explicit HeaderMaker(MessageReceiver& messageReceiver);

    // Binds the stage, like the constructor. Returns the receiver of this stage.
    LineReceiver& operator()(MessageReceiver& messageReceiver);

    void Start(unsigned long long position) override;
    void Receive(ConstData data) override;
    void ReceiveLineBreak(Range<unsigned long long> range) override;
    void ReceiveEnd(unsigned long long position) override;

private:
    // The states: each consumes bytes of a chunk, or changes the state.
    using State = void (HeaderMaker::*)(ConstData& rest);
    void StartHeaderLine(ConstData& rest);
    void HandleFieldName(ConstData& rest);
    void EatWhiteSpace(ConstData& rest);
    void PassText(ConstData& rest);

    void BeginField();
    void EndField(unsigned long long position);

    MessageReceiver* receiver = nullptr;
    AsciiSet const* linearWhiteSpace;
    State state = &HeaderMaker::StartHeaderLine;
    BufferWithCapacity<48> fieldName;
    // The receiver of the value; DataReceiver::Ignore() if no field is open.
    DataReceiver* fieldReceiver;
    // The range of the last line break. Until the first line break, both are the start position.
    unsigned long long lineBreakBegin = 0;
    unsigned long long lineBreakEnd = 0;
    // True from ReceiveHeaderField to ReceiveHeaderFieldEnd.
    bool fieldOpen = false;
};
