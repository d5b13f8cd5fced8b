// A whole file, or a part of it, pushed through a receiver. Nothing is allocated: the bytes pass
// through 4,096 bytes of stack.
#pragma once

#include "data/ArrayOf.h"

class DataReceiver;
class FileLocation;
class FileReader;
class LineReceiver;
class MessageReceiver;

// Pushes a whole stream: what the file has of the range, from Start to ReceiveEnd. A range that
// goes beyond the file ends with the file, that is also where a read brings nothing though the
// length promises more. The reader is left behind the last byte read, which can lie beyond the
// range. Throws what FileReader throws.
void ReadFileRange(FileReader& reader, Range<unsigned long long> const& range,
                   DataReceiver& receiver);

// Pushes a whole stream: the file from the offset `start` to its end, or up to `stop`. Lines and
// messages are made by LineMaker and MessageMaker on the way.
//
// The receiver is started before the file is opened, so that a file that is missing reaches it as a
// start without an end. Positions given to a receiver of lines or messages count from the first
// byte read, also if `start` is not 0. A failing close goes unnoticed.
//
// Throws what the opening of a FileReadingPath and a FileReadingLoop throw; unlike ReadFileRange,
// that makes a range beyond the end of the file, an unknown length without `stop`, or a file that
// gives less than its length promises, a FileReadingLoopEndOfFileError behind the last byte.
void ReadFile(FileLocation const& where, DataReceiver& receiver, unsigned long long start);
void ReadFile(FileLocation const& where, DataReceiver& receiver, unsigned long long start,
              unsigned long long stop);
void ReadFile(FileLocation const& where, LineReceiver& receiver, unsigned long long start);
void ReadFile(FileLocation const& where, LineReceiver& receiver, unsigned long long start,
              unsigned long long stop);
void ReadFile(FileLocation const& where, MessageReceiver& receiver, unsigned long long start);
void ReadFile(FileLocation const& where, MessageReceiver& receiver, unsigned long long start,
              unsigned long long stop);
