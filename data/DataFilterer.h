// A filter as a stage: what it receives goes through a DataFilter to the next receiver.
#pragma once

#include "data/ConstData.h"
#include "data/DataReceiver.h"

class DataFilter;

// Chunks of at most 1024 bytes are passed on, one for each call of the filter, empty ones too.
//
// REQUIRES: bound before Start.
class DataFilterer : private DataReceiver {
public:
    // Binds the stage: what it receives goes through `dataFilter` to `receiver`.
    DataReceiver& operator()(DataReceiver& receiver, DataFilter& dataFilter);

private:
    void Start() override;
    void Receive(ConstData data) override;
    void ReceiveEnd() override;

    DataReceiver* target = nullptr;
    DataFilter* filter = nullptr;
};
