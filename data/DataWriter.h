// The root of the push sinks: something that takes bytes.
#pragma once

#include "data/ConstData.h"

// Deliberate: no virtual destructor. A writer is never owned, or destroyed, through this class.
class DataWriter {
public:
    // Takes these bytes; yields the writer.
    virtual DataWriter& operator<<(ConstData data) = 0;

protected:
    ~DataWriter() = default;
};
