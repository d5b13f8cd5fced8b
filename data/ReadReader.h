// Reads a DataReader to its end: as bytes, lines or a message, or as a string.
#pragma once

#include <string>

class DataReader;
class DataReceiver;
class LineReceiver;
class MessageReceiver;

// Calls Start, then Receive with chunks of at most 4096 bytes, possibly empty, until the reader is
// finished, then ReceiveEnd.
void ReadReader(DataReader& reader, DataReceiver& receiver);

// The same, through a LineMaker. Positions start at 0.
void ReadReader(DataReader& reader, LineReceiver& receiver);

// The same, through a LineMaker and a MessageMaker.
void ReadReader(DataReader& reader, MessageReceiver& receiver);

// Returns all bytes.
std::string ReadReader(DataReader& reader);
