// Reads a whole file, or a range of it, into a receiver. The bytes pass through a buffer of 4,096
// bytes on the stack; no memory is allocated for them.
#pragma once

#include "data/ArrayOf.h"

class DataReceiver;
class FileLocation;
class FileReader;
class LineReceiver;
class MessageReceiver;

// Sends the bytes of the range to `receiver` as a whole stream, from Start to ReceiveEnd. The
// stream ends early at the end of the file, and if a read returns no bytes before the length is
// reached. If the length is unknown and the reader has already found the end, the stream is empty.
// Afterwards, the reader's position is after the last byte read, which may be beyond the range.
//
// Throws like FileReader. REQUIRES: `reader` was started.
void ReadFileRange(FileReader& reader, Range<unsigned long long> const& range,
                   DataReceiver& receiver);

// Send the file from the offset `start` to its end, or up to `stop`, as a whole stream. The
// overloads for lines and messages use LineMaker and MessageMaker.
//
// The receiver is started before the file is opened, so a missing file results in a Start without a
// ReceiveEnd. Positions in lines and messages count from the first byte read, even if `start` is
// not 0. A failed close is ignored.
//
// Throw like FileReadingPath::OpenExisting and FileReadingLoop. Unlike ReadFileRange, they throw
// FileReadingLoopEndOfFileError after the last byte:
// - if the range extends beyond the file, or `start` is greater than `stop`,
// - if the length is unknown and there is no `stop`,
// - if the file returns fewer bytes than its length, and the range extends beyond these bytes.
void ReadFile(FileLocation const& where, DataReceiver& receiver, unsigned long long start);
void ReadFile(FileLocation const& where, DataReceiver& receiver, unsigned long long start,
              unsigned long long stop);
void ReadFile(FileLocation const& where, LineReceiver& receiver, unsigned long long start);
void ReadFile(FileLocation const& where, LineReceiver& receiver, unsigned long long start,
              unsigned long long stop);
void ReadFile(FileLocation const& where, MessageReceiver& receiver, unsigned long long start);
void ReadFile(FileLocation const& where, MessageReceiver& receiver, unsigned long long start,
              unsigned long long stop);
