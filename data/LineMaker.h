// Splits a byte stream into lines.
#pragma once

#include "data/ConstData.h"
#include "data/DataReceiver.h"

class LineReceiver;

// Line breaks are CR, LF, CR LF and LF CR, also across a chunk boundary. CR CR is two breaks, and
// so is LF LF. A break byte at the end of a chunk is held back until the next byte or ReceiveEnd.
//
// Text is passed on as views into the chunk: one for each run of text, never empty. Nothing is
// copied or allocated.
//
// REQUIRES: bound to a target before Start; chunks smaller than 4 GiB.
class LineMaker : public DataReceiver {
public:
    LineMaker() = default;
    explicit LineMaker(LineReceiver& receiver) : target(&receiver) {}

    // Binds the stage, like the constructor. Returns the receiver of this stage.
    DataReceiver& operator()(LineReceiver& receiver);

    using DataReceiver::Receive;

    void Start() override;
    void Receive(ConstData data) override;
    void ReceiveEnd() override;

    // Starts a stream that is a part of a file; `offset` is the position of its first byte.
    void Start(unsigned long long offset);

private:
    void DeliverPendingBreak(unsigned long long length);

    LineReceiver* target = nullptr;
    // The offset of the next byte to deliver: of the pending break, if there is one.
    unsigned long long position = 0;
    // The CR or LF of a break that is not yet delivered, or 0.
    unsigned char pendingBreak = 0;
};
