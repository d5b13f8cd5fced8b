// The push protocol of a message: header fields, then a body of lines.
//
// All positions are offsets in the stream. This library only calls the interface; whoever wants a
// message read brings an implementation.
#pragma once

#include "data/ConstData.h"

class DataReceiver;
class LineReceiver;

// A sink of one message after another.
//
// Calling sequence: Start; for each field ReceiveHeaderField, a whole stream on the receiver that
// it yields, ReceiveHeaderFieldEnd; then ReceiveBody, a whole stream on the receiver that it
// yields; ReceiveEnd. Every message has a body, possibly without lines.
//
// Error handling: as for DataReceiver.
class MessageReceiver {
public:
    virtual ~MessageReceiver() = default;

    virtual void Start(unsigned long long position) = 0;

    // A field begins at `position`. `name` is in lower case and valid for the call only. Yields the
    // receiver of the field's value, which stays the implementer's and must live until
    // ReceiveHeaderFieldEnd.
    virtual DataReceiver& ReceiveHeaderField(unsigned long long position, ConstData name) = 0;

    // The field ended at `position`: behind its value and in front of the break that ended it.
    virtual void ReceiveHeaderFieldEnd(unsigned long long position) = 0;

    // The body begins at `position`. Yields the receiver of its lines, which stays the
    // implementer's and must live until ReceiveEnd.
    virtual LineReceiver& ReceiveBody(unsigned long long position) = 0;

    virtual void ReceiveEnd(unsigned long long position) = 0;
};
