// Pumps a reader dry: the bridge from pulling to pushing.
#pragma once

#include <string>

class DataReader;
class DataReceiver;

// Start, Receive of chunks of at most 4096 bytes (empty ones too) until the reader is finished,
// ReceiveEnd. A reader that is finished from the start gives no Receive.
void ReadReader(DataReader& reader, DataReceiver& receiver);

// All the reader's bytes.
std::string ReadReader(DataReader& reader);
