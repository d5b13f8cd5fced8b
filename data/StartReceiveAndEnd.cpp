#include "data/StartReceiveAndEnd.h"

#include "data/ConstDataRopeReference.h"
#include "data/DataFilterer.h"
#include "data/DataReceiver.h"

void StartReceiveAndEnd(DataReceiver& receiver, ConstData data) {
    receiver.Start();
    receiver.Receive(data);
    receiver.ReceiveEnd();
}

void StartReceiveAndEnd(DataReceiver& receiver, ConstDataRopeReference rope) {
    receiver.Start();
    receiver.Receive(rope);
    receiver.ReceiveEnd();
}

void StartReceiveAndEnd(DataReceiver& receiver, ConstData data, DataFilter& filter) {
    DataFilterer filterer;
    StartReceiveAndEnd(filterer(receiver, filter), data);
}

void StartReceiveAndEnd(DataReceiver& receiver, ConstDataRopeReference rope, DataFilter& filter) {
    DataFilterer filterer;
    StartReceiveAndEnd(filterer(receiver, filter), rope);
}
