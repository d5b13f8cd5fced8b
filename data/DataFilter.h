// A transformation of a byte stream, from one buffer to another. The class itself is the identity.
#pragma once

#include "data/ConstData.h"

class Buffer;
class ConstBuffer;
class Data;

// The output is independent of how the stream is split into buffers.
//
// Progress: each call of the first operator() consumes at least one byte, if there is one and the
// target has room. A filter may hold bytes back between calls. At the end of the stream, the caller
// calls Flush, with room in the buffer, until Flushed returns true.
//
// A derived class that overrides operator() needs `using DataFilter::operator();`, because the
// override hides the other overloads.
class DataFilter {
public:
    virtual ~DataFilter();

    // Consumes from `source` and writes to `target` until `source` is empty or `target` is full,
    // and advances both positions. The default copies.
    virtual void operator()(ConstBuffer& source, Buffer& target);

    // True if no bytes are held back. The default returns true.
    virtual bool Flushed() const;

    // Writes the bytes held back, until `target` is full. The default does nothing.
    virtual void Flush(Buffer& target);

    // The same on ranges. The numbers of bytes consumed from a ConstData and written to a Data are
    // not reported. Does nothing if a range is empty.
    void operator()(ConstData source, Data target);
    void operator()(ConstData source, Buffer& target);
    void operator()(ConstBuffer& source, Data target);

    // The identity, in static storage; initialized before main.
    static DataFilter copy;
};
