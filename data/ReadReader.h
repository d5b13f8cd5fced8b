// Pumps a reader dry: the bridge from pulling to pushing.
#pragma once

#include <string>

class DataReader;
class DataReceiver;
class LineReceiver;
class MessageReceiver;

// Start, Receive of chunks of at most 4096 bytes (empty ones too) until the reader is finished,
// ReceiveEnd. A reader that is finished from the start gives no Receive.
void ReadReader(DataReader& reader, DataReceiver& receiver);

// The same, through a LineMaker: all the reader's bytes as lines, from offset 0.
void ReadReader(DataReader& reader, LineReceiver& receiver);

// The same, through a MessageMaker: all the reader's lines as one message.
void ReadReader(DataReader& reader, MessageReceiver& receiver);

// All the reader's bytes.
std::string ReadReader(DataReader& reader);
