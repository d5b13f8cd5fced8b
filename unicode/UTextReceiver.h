// The push protocol for text: like DataReceiver, with code units of a known encoding.
#pragma once

#include "data/ArrayOf.h"
#include "unicode/Encodings.h"

// Calling sequence and error handling: see DataReceiver. A chunk boundary may be inside a sequence.
//
// The class itself drops all text. A derived class overrides the functions that it needs.
template <TextEncoding E>
class UTextReceiver {
public:
    virtual ~UTextReceiver() = default;

    // The argument is a tag without a value.
    virtual void Start(E) {}

    // The code units are valid during the call only.
    virtual void Receive(ConstArrayOf<typename E::Unit>) {}

    // Only another Start may follow.
    virtual void ReceiveEnd() {}
};
