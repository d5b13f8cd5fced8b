// The receiver that does nothing. DataReceiver::Ignore() is the instance for all who need one.
#pragma once

#include "data/ConstData.h"
#include "data/DataReceiver.h"

class IgnoreDataReceiver : public DataReceiver {
public:
    using DataReceiver::Receive;

    void Start() override;
    void Receive(ConstData data) override;
    void ReceiveEnd() override;
};
