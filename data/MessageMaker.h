// Parses lines into a message: header fields, an empty line, and a body.
#pragma once

#include "data/ArrayOf.h"
#include "data/ConstData.h"
#include "data/HeaderMaker.h"
#include "data/LineReceiver.h"

class MessageReceiver;

// The first empty line ends the header and is not delivered. The rest is the body; its positions
// are offsets in the whole stream. A message whose first line is empty has no fields. A message
// without an empty line has an empty body.
//
// Deliberate: a line with an empty chunk of text is not an empty line; LineMaker sends no such
// chunk.
//
// REQUIRES: bound to a receiver before Start.
class MessageMaker : public LineReceiver {
public:
    MessageMaker() = default;
    // GCOVR_EXCL_BR_START: the constructors of members, in object files without a call
    explicit MessageMaker(MessageReceiver& messageReceiver) : receiver(&messageReceiver) {}
    // GCOVR_EXCL_BR_STOP

    // Binds the stage, like the constructor. Returns the receiver of this stage.
    LineReceiver& operator()(MessageReceiver& messageReceiver);

    void Start(unsigned long long position) override;
    void Receive(ConstData data) override;
    void ReceiveLineBreak(Range<unsigned long long> range) override;
    void ReceiveEnd(unsigned long long position) override;

private:
    MessageReceiver* receiver = nullptr;
    HeaderMaker headerMaker;
    // True if Receive was not called since the last line break.
    bool atLineStart = true;
    bool inHeader = true;
    // The receiver of the lines: the header maker, then the receiver of the body.
    LineReceiver* current = nullptr;
};
