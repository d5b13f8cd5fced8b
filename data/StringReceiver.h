// Collects a byte stream in a std::string.
#pragma once

#include <string>

#include "data/ConstData.h"
#include "data/DataReceiver.h"

// Start clears the string.
//
// REQUIRES: bound to a string before Start.
class StringReceiver : private DataReceiver {
public:
    // Binds the stage to the string to fill. Returns the receiver of this stage.
    DataReceiver& operator()(std::string& string);

private:
    void Start() override;
    void Receive(ConstData data) override;
    void ReceiveEnd() override;

    std::string* target = nullptr;
};
