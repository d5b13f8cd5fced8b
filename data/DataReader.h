// The pull protocol: a consumer asks a source for bytes.
#pragma once

#include "data/DebuggableException.h"

class Buffer;
class Data;

// The reader ended before a range was full.
class NoMoreData : public DebuggableException {};

// A source of bytes. (A derived class that overrides one operator>> brings the other back with
// `using DataReader::operator>>;`.)
class DataReader {
public:
    virtual ~DataReader();

    // No byte is left.
    virtual bool Finished() const = 0;
    virtual bool Unfinished() const;

    // Puts bytes into `target` and moves its `position`: as many as are at hand and fit, which may
    // be fewer than fit. Yields the reader.
    virtual DataReader& operator>>(Buffer& target) = 0;

    // Fills the whole range. Throws NoMoreData if the reader finishes with room left; the bytes got
    // before that stay in the range. An empty range always succeeds. Yields the reader.
    virtual DataReader& operator>>(Data target);

    // The one reader that is always finished. It lives from before main to the end of the process.
    static DataReader& Empty();
};
