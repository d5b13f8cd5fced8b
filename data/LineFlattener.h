// Joins lines into a byte stream, with one fixed line break between them.
#pragma once

#include "data/ArrayOf.h"
#include "data/ConstData.h"
#include "data/DataReceiver.h"
#include "data/LineReceiver.h"

// Replaces every line break by the same bytes. (`nothing` is passed on as an empty chunk.) Text is
// passed on without a copy. Positions are dropped.
//
// REQUIRES: bound before each Start, because ReceiveEnd unbinds the stage.
class LineFlattener : private LineReceiver {
public:
    // Line breaks, in static storage; initialized before main.
    static ConstData const cr;
    static ConstData const lf;
    static ConstData const crlf;
    static ConstData const space;
    static ConstData const nothing;

    // Binds the stage for one stream. Returns the receiver of this stage. REQUIRES: the bytes of
    // `newLineBreak` stay valid until ReceiveEnd.
    LineReceiver& operator()(ConstData newLineBreak, DataReceiver& receiver);

private:
    void Start(unsigned long long position) override;
    void Receive(ConstData data) override;
    void ReceiveLineBreak(Range<unsigned long long> range) override;
    void ReceiveEnd(unsigned long long position) override;

    ConstData lineBreak;
    DataReceiver* target = nullptr;
};
