// The push protocol for lines: chunks of text, and the line breaks between them.
//
// All positions are offsets in the whole stream. The lines may be a part of the stream, such as the
// body of a message.
#pragma once

#include "data/ArrayOf.h"
#include "data/ConstData.h"

// A sink of lines.
//
// Calling sequence: Start, any mix of Receive and ReceiveLineBreak, ReceiveEnd. A line can arrive
// in several chunks. Line breaks separate lines: the last line has none, and a stream that ends in
// a break has an empty last line.
//
// Error handling: see DataReceiver.
class LineReceiver {
public:
    virtual ~LineReceiver() = default;

    // `position` is the offset of the first byte.
    virtual void Start(unsigned long long position) = 0;

    // `data` is text of the current line without line breaks, valid during the call only.
    virtual void Receive(ConstData data) = 0;

    // `range` is the position of the line break.
    virtual void ReceiveLineBreak(Range<unsigned long long> range) = 0;

    // `position` is the offset after the last byte.
    virtual void ReceiveEnd(unsigned long long position) = 0;
};
