// A pipeline stage that applies a DataFilter, and functions that filter a whole stream.
#pragma once

#include <string>

#include "data/ConstData.h"
#include "data/DataReceiver.h"

class ConstDataRopeReference;
class DataFilter;

// Passes on one chunk of at most 1024 bytes, possibly empty, for each call of the filter. Start
// does not reset the filter: after an abandoned stream, the filter still holds back its bytes.
//
// REQUIRES: bound before Start.
class DataFilterer : private DataReceiver {
public:
    // Binds the stage: its input goes through `dataFilter` to `receiver`. Returns the receiver of
    // this stage.
    DataReceiver& operator()(DataReceiver& receiver, DataFilter& dataFilter);

private:
    void Start() override;
    void Receive(ConstData data) override;
    void ReceiveEnd() override;

    DataReceiver* target = nullptr;
    DataFilter* filter = nullptr;
};

// Send a whole stream through `filter` to `receiver`. The views of a rope are received one by one.
void StartReceiveAndEnd(DataReceiver& receiver, ConstData data, DataFilter& filter);
void StartReceiveAndEnd(DataReceiver& receiver, ConstDataRopeReference rope, DataFilter& filter);

// Returns the output of `filter` for the stream `data`, flushed.
std::string ApplyFilter(ConstData data, DataFilter& filter);
