// Cuts a stream of bytes into lines.
#pragma once

#include "data/ConstData.h"
#include "data/DataReceiver.h"

class LineReceiver;

// CR and LF are both breaks; CR LF and LF CR are one break of two bytes, also where a chunk ends
// between the two; two equal bytes are two breaks. A break byte at the end of a chunk is held back
// until the next byte, or ReceiveEnd, tells which of these it is.
//
// Text is passed on as views into the chunk: never empty, one for each run of text in a chunk.
// Nothing is copied or allocated.
//
// REQUIRES: bound to a target before Start.
class LineMaker : public DataReceiver {
public:
    LineMaker() = default;
    explicit LineMaker(LineReceiver& receiver) : target(&receiver) {}

    // Binds the stage, as the constructor does.
    DataReceiver& operator()(LineReceiver& receiver);

    using DataReceiver::Receive;

    void Start() override;
    void Receive(ConstData data) override;
    void ReceiveEnd() override;

    // Start for a stream that begins in mid-file: `offset` is that of its first byte.
    void Start(unsigned long long offset);

private:
    void DeliverPendingBreak(unsigned long long length);

    LineReceiver* target = nullptr;
    // The offset of the next byte not yet delivered; does not count a pending break.
    unsigned long long position = 0;
    // The CR or LF seen last, if its break is not yet delivered, else 0.
    unsigned char pendingBreak = 0;
};
