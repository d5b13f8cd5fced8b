// A whole stream in one call: Start, Receive of the text, ReceiveEnd.
#pragma once

#include "data/ConstData.h"

class ConstDataRopeReference;
class DataFilter;
class DataReceiver;

// A rope is received piece by piece. With a filter, the text goes through a DataFilterer.
void StartReceiveAndEnd(DataReceiver& receiver, ConstData data);
void StartReceiveAndEnd(DataReceiver& receiver, ConstDataRopeReference rope);
void StartReceiveAndEnd(DataReceiver& receiver, ConstData data, DataFilter& filter);
void StartReceiveAndEnd(DataReceiver& receiver, ConstDataRopeReference rope, DataFilter& filter);
