// The push protocol of text: pieces of lines, and the breaks between them.
//
// All positions are offsets in the stream, so that a consumer can tell where each piece stands.
#pragma once

#include "data/ConstData.h"
#include "data/Range.h"

// A sink of lines.
//
// Calling sequence: Start, any mix of Receive and ReceiveLineBreak, ReceiveEnd. A line can arrive
// in several pieces. A break separates lines: the last line need not have one, and a stream that
// ends in a break has a last line without text.
//
// Error handling: as for DataReceiver.
class LineReceiver {
public:
    virtual ~LineReceiver() = default;

    // `position` is the offset of the stream's first byte.
    virtual void Start(unsigned long long position) = 0;

    // Text of the current line, without any part of a break; valid for the call only.
    virtual void Receive(ConstData data) = 0;

    // `range` holds the offsets of the break's bytes.
    virtual void ReceiveLineBreak(Range<unsigned long long> range) = 0;

    // `position` is the offset behind the stream's last byte.
    virtual void ReceiveEnd(unsigned long long position) = 0;
};
