// Reads lines as header fields: a name, a colon, a value, and continuation lines.
#pragma once

#include "data/AsciiSet.h"
#include "data/BufferWithCapacity.h"
#include "data/ConstData.h"
#include "data/LineReceiver.h"
#include "data/Range.h"

class DataReceiver;
class MessageReceiver;

// The header part of a message in the manner of RFC 822, read leniently: what is no field is
// dropped, and there is no error.
//
// - The name is what stands in front of the line's first colon, in lower case. It is not trimmed: a
//   blank in front of the colon stays. A line that starts with a colon has an empty name.
// - The value is delivered without its leading tabs and spaces; trailing ones are kept.
// - A line that starts with a tab or a space continues the field before it: one space stands in
//   place of the break and of all leading white space. Without a field before it, it is dropped.
// - A line without a colon is no field. Its own continuation lines are dropped too.
// - Deliberate: the longest name reported has 47 bytes. A field with a longer one is dropped whole.
//
// Only ReceiveHeaderField and ReceiveHeaderFieldEnd of the receiver are called: Start, the body and
// ReceiveEnd are MessageMaker's. Values are passed on as views; nothing is allocated.
//
// REQUIRES: bound to a receiver before text arrives.
class HeaderMaker : public LineReceiver {
public:
    HeaderMaker();
    explicit HeaderMaker(MessageReceiver& messageReceiver);

    // Binds the stage, as the constructor does.
    LineReceiver& operator()(MessageReceiver& messageReceiver);

    void Start(unsigned long long position) override;
    void Receive(ConstData data) override;
    void ReceiveLineBreak(Range<unsigned long long> range) override;
    void ReceiveEnd(unsigned long long position) override;

private:
    // What to do with the rest of a piece: each consumes some of it, or goes to another state.
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
    // Where the value goes: DataReceiver::Ignore() when no field is open.
    DataReceiver* fieldReceiver;
    // The offsets of the last line break; both the start position before the first.
    unsigned long long lineBreakBegin = 0;
    unsigned long long lineBreakEnd = 0;
    // A ReceiveHeaderField waits for its ReceiveHeaderFieldEnd.
    bool fieldOpen = false;
};
