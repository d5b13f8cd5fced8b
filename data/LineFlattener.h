// Joins lines to a stream of bytes, with one chosen break between them.
#pragma once

#include "data/ConstData.h"
#include "data/DataReceiver.h"
#include "data/LineReceiver.h"
#include "data/Range.h"

// Whatever breaks come in, the break that goes out is always the same: line ends are normalised.
// With `space` the lines are joined to one, with `nothing` the breaks vanish. (A `nothing` is
// passed on as an empty chunk.)
//
// Text is passed on as it comes, without a copy. Positions are dropped.
//
// REQUIRES: bound before each Start, since ReceiveEnd drops the target.
class LineFlattener : private LineReceiver {
public:
    // Breaks to choose from, there from before main to the end of the process.
    static ConstData const cr;
    static ConstData const lf;
    static ConstData const crlf;
    static ConstData const space;
    static ConstData const nothing;

    // Binds the stage. The bytes of `newLineBreak` must live as long as the stream.
    LineReceiver& operator()(ConstData newLineBreak, DataReceiver& receiver);

private:
    void Start(unsigned long long position) override;
    void Receive(ConstData data) override;
    void ReceiveLineBreak(Range<unsigned long long> range) override;
    void ReceiveEnd(unsigned long long position) override;

    ConstData lineBreak;
    DataReceiver* target = nullptr;
};
