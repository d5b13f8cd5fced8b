// The push protocol for messages: header fields, then a body of lines.
//
// All positions are offsets in the stream. This library has no implementation of the interface.
#pragma once

#include "data/ConstData.h"

class DataReceiver;
class LineReceiver;

// A sink of messages.
//
// Calling sequence, for each message:
// 1. Start
// 2. for each field: ReceiveHeaderField, a whole stream on the receiver that it returned, then
//    ReceiveHeaderFieldEnd
// 3. ReceiveBody, then a whole stream on the receiver that it returned. Every message has a body,
//    which may be empty.
// 4. ReceiveEnd
//
// Error handling: see DataReceiver.
class MessageReceiver {
public:
    virtual ~MessageReceiver() = default;

    virtual void Start(unsigned long long position) = 0;

    // A field begins at `position`. `name` is in lower case and valid during the call only. Returns
    // the receiver of the field's value. The receiver must live until ReceiveHeaderFieldEnd, and
    // the caller does not own it.
    virtual DataReceiver& ReceiveHeaderField(unsigned long long position, ConstData name) = 0;

    // The field ended at `position`: the start of the line break that ended it, or the end of the
    // stream.
    virtual void ReceiveHeaderFieldEnd(unsigned long long position) = 0;

    // The body begins at `position`. Returns the receiver of its lines. The receiver must live
    // until ReceiveEnd, and the caller does not own it.
    virtual LineReceiver& ReceiveBody(unsigned long long position) = 0;

    virtual void ReceiveEnd(unsigned long long position) = 0;
};
