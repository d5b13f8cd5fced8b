// The push protocol: a producer hands bytes to a sink in as many chunks as it likes.
//
// Stages live on the stack of the function that runs them and refer to each other by pointer; none
// owns its target, so the target is declared first and outlives the stage. One thread for a chain.
#pragma once

#include "data/ConstData.h"
#include "data/DataWriter.h"

class ConstDataRopeReference;

// A sink between Start and ReceiveEnd.
//
// Calling sequence, for each stream: Start, any number of Receive (empty chunks too), ReceiveEnd.
// Where the chunks are cut carries no meaning: a receiver does the same for any cutting of the same
// bytes. Start is also the reset: it may follow anything. Nothing enforces the order.
//
// A stage in the middle passes the protocol on: its Start calls the next stage's Start, its
// ReceiveEnd first delivers what it still holds and then calls the next stage's ReceiveEnd.
//
// A stage that derives in private is bound by its operator(), which takes what the stage needs and
// yields the interface.
//
// Error handling: what a stage throws passes through all stages before it; nobody calls ReceiveEnd
// then. A chain that has thrown is abandoned, or begun again with Start.
class DataReceiver : public DataWriter {
public:
    // The same as Receive.
    DataReceiver& operator<<(ConstData data) final;

    virtual ~DataReceiver();

    virtual void Start() = 0;

    // `data` is valid for the call only.
    virtual void Receive(ConstData data) = 0;

    virtual void ReceiveEnd() = 0;

    // Receive once for each piece in order, empty ones too. (A derived class hides this form; it
    // stays reachable through a DataReceiver&.)
    void Receive(ConstDataRopeReference rope);

    // The one receiver that drops everything. It lives from before main to the end of the process.
    static DataReceiver& Ignore();
};
