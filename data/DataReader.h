// The pull protocol: a consumer requests bytes from a source.
#pragma once

#include "data/DebuggableException.h"

class Buffer;
class Data;

// The reader ended before a range was full.
class NoMoreData : public DebuggableException {};

// A source of bytes. A derived class that overrides one operator>> needs `using
// DataReader::operator>>;`, because the override hides the other overload.
class DataReader {
public:
    virtual ~DataReader();

    // True if no bytes are left.
    virtual bool Finished() const = 0;
    virtual bool Unfinished() const;

    // Writes available bytes to `target` and advances its position. May write fewer bytes than
    // fit. Returns the reader.
    virtual DataReader& operator>>(Buffer& target) = 0;

    // Fills the whole range. Throws NoMoreData if the reader finishes first; the bytes read so far
    // stay in the range. Does not throw NoMoreData for an empty range. Returns the reader.
    virtual DataReader& operator>>(Data target);

    // Returns the shared EmptyDataReader, in static storage; initialized before main.
    static DataReader& Empty();
};

// A reader that is always finished.
class EmptyDataReader : public DataReader {
public:
    using DataReader::operator>>;

    bool Finished() const override;

    // Leaves `target` unchanged.
    DataReader& operator>>(Buffer& target) override;
};
