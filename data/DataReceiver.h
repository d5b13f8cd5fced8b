// The push protocol: a producer passes bytes to a sink, in chunks of any size.
//
// The stages of a pipeline are on the stack of the function that runs it. They refer to each other
// by pointer and own nothing, so a target is declared before the stage that writes to it. A
// pipeline is not thread-safe.
#pragma once

#include "data/ConstData.h"

class ConstDataRopeReference;

// A sink of bytes.
//
// Deliberate: no virtual destructor. A writer is never destroyed through this class.
class DataWriter {
public:
    // Takes the bytes. Returns the writer.
    virtual DataWriter& operator<<(ConstData data) = 0;

protected:
    ~DataWriter() = default;
};

// A sink of streams.
//
// Calling sequence, for each stream: Start, any number of Receive (empty chunks too), ReceiveEnd.
// The effect is independent of how the stream is split into chunks. Start resets the receiver at
// any time. The order of calls is not checked.
//
// A stage in the middle of a pipeline forwards the protocol. Its Start calls the Start of the next
// stage. Its ReceiveEnd delivers the bytes still held, then calls the ReceiveEnd of the next stage.
//
// A stage that derives privately from its receiver class has an operator() that binds its target
// and returns the stage as a receiver.
//
// Error handling: an exception of a stage passes through all stages before it, and ReceiveEnd is
// not called. The pipeline is then abandoned, or restarted by Start.
class DataReceiver : public DataWriter {
public:
    // The same as Receive.
    DataReceiver& operator<<(ConstData data) final;

    virtual ~DataReceiver();

    virtual void Start() = 0;

    // `data` is valid during the call only.
    virtual void Receive(ConstData data) = 0;

    virtual void ReceiveEnd() = 0;

    // Calls Receive for each view in order, including empty ones. An override of Receive hides this
    // overload, unless the class has `using DataReceiver::Receive;`.
    void Receive(ConstDataRopeReference rope);

    // Returns the shared IgnoreDataReceiver, in static storage; initialized before main.
    static DataReceiver& Ignore();
};

// A receiver that drops everything.
class IgnoreDataReceiver : public DataReceiver {
public:
    using DataReceiver::Receive;

    void Start() override;
    void Receive(ConstData data) override;
    void ReceiveEnd() override;
};

// Call Start, Receive and ReceiveEnd. The views of a rope are received one by one. DataFilterer.h
// declares the overloads with a filter.
void StartReceiveAndEnd(DataReceiver& receiver, ConstData data);
void StartReceiveAndEnd(DataReceiver& receiver, ConstDataRopeReference rope);
