// Collects a stream in a std::string.
#pragma once

#include <string>

#include "data/ConstData.h"
#include "data/DataReceiver.h"

// Start empties the string, so that the object can be used for stream after stream.
//
// REQUIRES: bound to a string before Start.
class StringReceiver : private DataReceiver {
public:
    // Binds the stage to the string that it is to fill.
    DataReceiver& operator()(std::string& string);

private:
    void Start() override;
    void Receive(ConstData data) override;
    void ReceiveEnd() override;

    std::string* target = nullptr;
};
