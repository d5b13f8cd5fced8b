// Reading and writing: open files and streams.
#include "tests/stress/SystemCallsOperations.h"

#include "data/Buffer.h"
#include "data/ConstData.h"
#include "data/StringReceiver.h"
#include "files/FileDataSink.h"
#include "files/FileReader.h"
#include "files/FileReadingLoop.h"
#include "files/FileReadingPath.h"
#include "files/FileRetry.h"
#include "files/FileWriter.h"
#include "files/FileWritingPath.h"
#include "files/ReadFile.h"

namespace {

Outcome const writingNone = Maps(Mapper::writingPath);
Outcome const readingNone = Maps(Mapper::readingPath);
CallFailures const forReading = Opened(Mapper::readingPath);
CallFailures const forWriting = Opened(Mapper::writingPath);

// An opened path that reports an error on close.
CallFailures OpenedAndClosed(Mapper mapper, Outcome const& closed) {
    return {{"open", {Maps(mapper, "from")}}, {"setfd", {goesOn}}, {"close", {closed}}};
}

} // namespace

std::vector<Operation> OpenFiles() {
    return {
        {"OpenExisting", MakeFile, CC_CALLING(FileWritingPath().OpenExisting(from)), "; from",
         forWriting},
        {"OpenExistingOrNew", MakeNothing, CC_CALLING(FileWritingPath().OpenExistingOrNew(from)),
         "; from", forWriting},
        {"OpenNew", MakeNothing, CC_CALLING(FileWritingPath().OpenNew(from)), "; from", forWriting},
        {"OpenNewOrAsNew", MakeFile, CC_CALLING(FileWritingPath().OpenNewOrAsNew(from)), "; from",
         forWriting},
        {"OpenExistingForReading", MakeFile, CC_CALLING(FileReadingPath().OpenExisting(from)),
         "; from", forReading},
        {"Length", MakeFile, CC_CALLING(std::to_string(FileReadingPath(from).Length())), "7; from",
         forReading + Sought({readingFrom}, {Gives("18446744073709551615; from")})},
        {"CloseAfterReading", MakeFile, CC_CALLING(FileReadingPath(from).Close()), "; from",
         OpenedAndClosed(Mapper::readingPath, readingFrom)},
        {"CloseAfterWriting", MakeFile, CC_CALLING(FileWritingPath(from).Close()), "; from",
         OpenedAndClosed(Mapper::writingPath, readingNone)},
        {"Flush", MakeFile, CC_CALLING(FileWritingPath(from).Flush()), "; from",
         forWriting + CallFailures{{"fsync", {writingNone}}}},
        {"FlushOnBrokenFilesystemsWithRetry", MakeFile,
         CC_CALLING(FileWritingPath(from).FlushOnBrokenFilesystemsWithRetry(from, FileRetryLog())),
         "; from", forWriting + CallFailures{{"fsync", {goesOn}, {writingNone}}}},
        // With an unknown length no length is larger, and truncation to that length is refused.
        {"SetLengthThatGrows", MakeEmptyFile, CC_CALLING(FileWritingPath(from).SetLength(1)),
         "; from", forWriting + CallFailures{{"seek", {writingNone}}, {"write", {writingNone}}}},
        {"SetLengthThatDoesNotGrow", MakeFile, CC_CALLING(FileWritingPath(from).SetLength(7)),
         "; from",
         forWriting + CallFailures{{"seek", {writingNone}}, {"ftruncate", {writingNone}}}},
    };
}

std::vector<Operation> Streams() {
    Outcomes const soughtForReading = {readingFrom, readerFrom};
    CallFailures const read = forReading + CallFailures{{"read", {readerFrom}}};
    // At an unexpected end.
    CallFailures const readWholly = read + Sought(soughtForReading, {endOfLoop, goesOn});
    Outcome const writerNone = Maps(Mapper::writer);
    CallFailures const written = forWriting + CallFailures{{"write", {writerNone}}};
    return {
        {"ReadIntoData", MakeFile, Calling([](auto& from, auto&) {
             FileReadingPath const path(from);
             unsigned char bytes[6];
             FileReader(path, 0) >> Data(bytes);
             return MakeString(ConstData(bytes, sizeof bytes));
         }),
         "conten; from", read + Sought(soughtForReading, {goesOn})},
        {"ReadIntoBuffer", MakeFile, Calling([](auto& from, auto&) {
             FileReadingPath const path(from);
             unsigned char bytes[100];
             Buffer buffer{Data(bytes)};
             FileReader(path, 0) >> buffer;
             return MakeString(buffer.Written());
         }),
         "content; from", read + Sought(soughtForReading, {goesOn})},
        // If the length is unknown, a byte that cannot be read is the end.
        {"Unfinished", MakeFile, Calling([](auto& from, auto&) {
             FileReadingPath const path(from);
             return std::string(FileReader(path, 0).Unfinished() ? "true" : "false");
         }),
         "true; from",
         forReading +
             CallFailures{{"seek", {readingFrom}},
                          {"seek", {readingFrom, goesOn}, {Gives("false; from")}, EINVAL}}},
        {"Write", MakeEmptyFile, Calling([](auto& from, auto&) {
             FileWritingPath const path(from);
             FileWriter(path, 0) << ConstData("content");
         }),
         "; from", written + CallFailures{{"seek", {writerNone}}}},
        // The end of a file of unknown length is not a position.
        {"WriteAtTheEnd", MakeFile, Calling([](auto& from, auto&) {
             FileWritingPath const path(from);
             FileWriter(path, FileWriter::WritePositionEndOfFile()) << ConstData("more");
         }),
         "; from", written + CallFailures{{"seek", {readingNone, writerNone}}}},
        {"FileDataSink", MakeEmptyFile, Calling([](auto& from, auto&) {
             FileWritingPath const path(from);
             FileDataSink sink;
             StartReceiveAndEnd(sink(path, 0), ConstData("content"));
         }),
         "; from", written + CallFailures{{"seek", {writerNone}}, {"fsync", {writingNone}}}},
        {"FileReadingLoop", MakeFile, Calling([](auto& from, auto&) {
             FileReadingPath const path(from);
             unsigned char bytes[100];
             std::string text;
             for (FileReadingLoop loop(Data(bytes), path, 0); loop.Remaining() != 0; ++loop)
                 text += MakeString(loop.Chunk());
             return text;
         }),
         "content; from", readWholly},
        {"ReadFile", MakeFile, Calling([](auto& from, auto&) {
             std::string text;
             StringReceiver receiver;
             ReadFile(from, receiver(text), 0);
             return text;
         }),
         "content; from", readWholly},
        // Unlike ReadFile it ends at the end of the file.
        {"ReadFileRange", MakeFile, Calling([](auto& from, auto&) {
             FileReadingPath const path(from);
             FileReader reader(path, 0);
             std::string text;
             StringReceiver receiver;
             ReadFileRange(reader, Range<unsigned long long>{0, 7}, receiver(text));
             return text;
         }),
         "content; from",
         read +
             CallFailures{{"seek", soughtForReading},
                          {"seek", {readingFrom, readerFrom, goesOn}, {Gives("; from")}, EINVAL}}},
    };
}
