// A rewriting of bytes between two buffers. The class itself is the identity.
#pragma once

#include "data/ConstData.h"

class Buffer;
class ConstBuffer;
class Data;

// A filter for a stream of bytes, of any length and in any cutting.
//
// Who calls the first operator() again and again relies on progress: each call consumes at least
// one byte while there is room. A filter may hold bytes back across calls; at the end of the stream
// Flush is called, with fresh room, until Flushed is true, so it must turn true at last.
//
// (A derived class that overrides operator() brings the other forms back with
// `using DataFilter::operator();`.)
class DataFilter {
public:
    virtual ~DataFilter();

    // Consumes from `source` and writes to `target`, moving both positions, until either is spent.
    // Here a plain copy.
    virtual void operator()(ConstBuffer& source, Buffer& target);

    // No bytes are held back. Here always true.
    virtual bool Flushed() const;

    // Writes what is held back, as far as there is room. Here does nothing.
    virtual void Flush(Buffer& target);

    // The same over buffers made on the spot, if the ranges given are not empty. How far a range
    // was consumed or filled is not reported.
    void operator()(ConstData source, Data target);
    void operator()(ConstData source, Buffer& target);
    void operator()(ConstBuffer& source, Data target);

    // The identity, from before main to the end of the process.
    static DataFilter copy;
};
