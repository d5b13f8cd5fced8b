// Reads lines as a message: header fields, an empty line, and a body.
#pragma once

#include "data/ConstData.h"
#include "data/HeaderMaker.h"
#include "data/LineReceiver.h"
#include "data/Range.h"

class MessageReceiver;

// The first empty line ends the header and reaches nobody; all behind it is body, with positions in
// the whole stream. A message whose first line is empty has no fields; one without an empty line
// has an empty body at its end.
//
// Deliberate: an empty piece of text counts as text, so that its line is not an empty line.
//
// REQUIRES: bound to a receiver before Start.
class MessageMaker : public LineReceiver {
public:
    MessageMaker() = default;
    explicit MessageMaker(MessageReceiver& messageReceiver) : receiver(&messageReceiver) {}

    // Binds the stage, as the constructor does.
    LineReceiver& operator()(MessageReceiver& messageReceiver);

    void Start(unsigned long long position) override;
    void Receive(ConstData data) override;
    void ReceiveLineBreak(Range<unsigned long long> range) override;
    void ReceiveEnd(unsigned long long position) override;

private:
    MessageReceiver* receiver = nullptr;
    HeaderMaker headerMaker;
    // No text has arrived since the last break.
    bool atLineStart = true;
    bool inHeader = true;
    // Where the lines go: the header maker, then the receiver of the body.
    LineReceiver* current = nullptr;
};
