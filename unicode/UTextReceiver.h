// The push protocol for text in a known encoding: DataReceiver, with units instead of bytes.
#pragma once

#include "data/ArrayOf.h"
#include "unicode/Encodings.h"

// A sink of text between Start and ReceiveEnd.
//
// Calling sequence and error handling: those of DataReceiver. A sequence of several units may be
// cut anywhere.
//
// Deliberate: nothing is pure. The class itself is the receiver that drops everything, and a
// receiver overrides what it has a use for.
template <TextEncoding E>
class UTextReceiver {
public:
    virtual ~UTextReceiver() = default;

    // The tag only names the encoding.
    virtual void Start(E) {}

    // `units` are valid for the call only.
    virtual void Receive(ConstArrayOf<typename E::Unit>) {}

    // Nothing comes behind this but another Start.
    virtual void ReceiveEnd() {}
};
