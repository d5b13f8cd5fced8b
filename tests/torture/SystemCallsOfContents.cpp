// What is read and written: open files and streams.
#include "tests/torture/SystemCallsSteps.h"

#include <cerrno>

#include "data/Buffer.h"
#include "data/ConstData.h"
#include "data/StringReceiver.h"
#include "files/FileDataSink.h"
#include "files/FileLocation.h"
#include "files/FileReader.h"
#include "files/FileReadingLoop.h"
#include "files/FileReadingPath.h"
#include "files/FileRetry.h"
#include "files/FileWriter.h"
#include "files/FileWritingPath.h"
#include "files/ReadFile.h"

namespace SystemCallsSteps {

using Opening = void (FileWritingPath::*)(FileLocation const&);

Operation OpeningForWriting(std::string const& name, bool isThere, Opening open) {
    return {name, isThere ? MakeFile : MakeNothing,
            [open](std::string const& place) {
                FileWritingPath path;
                (path.*open)(From(place));
                return none;
            },
            "; from", Opened(Mapper::writingPath, "from") + closedUnheard};
}

std::vector<Operation> OpenFiles() {
    Outcome const readingFrom = Maps(Mapper::readingPath, "from");
    Outcome const writingNone = Maps(Mapper::writingPath, none);
    std::string const unknown = "18446744073709551615; from";
    Steps const openedForReading = Opened(Mapper::readingPath, "from");
    Steps const openedForWriting = Opened(Mapper::writingPath, "from");
    return {
        OpeningForWriting("OpenExisting", true, &FileWritingPath::OpenExisting),
        OpeningForWriting("OpenExistingOrNew", false, &FileWritingPath::OpenExistingOrNew),
        OpeningForWriting("OpenNew", false, &FileWritingPath::OpenNew),
        OpeningForWriting("OpenNewOrAsNew", true, &FileWritingPath::OpenNewOrAsNew),
        {"OpenExistingForReading", MakeFile,
         [](std::string const& place) {
             FileReadingPath path;
             path.OpenExisting(From(place));
             return none;
         },
         "; from", openedForReading + closedUnheard},
        {"Length", MakeFile,
         [](std::string const& place) {
             return std::to_string(FileReadingPath(From(place)).Length());
         },
         "7; from",
         openedForReading + Measured("from", Gives(unknown), Gives(unknown)) + closedUnheard},
        {"CloseAfterReading", MakeFile,
         [](std::string const& place) {
             FileReadingPath path(From(place));
             path.Close();
             return none;
         },
         "; from", openedForReading + Steps{{"close", readingFrom}}},
        // The reading mapper, and no name.
        {"CloseAfterWriting", MakeFile,
         [](std::string const& place) {
             FileWritingPath path(From(place));
             path.Close();
             return none;
         },
         "; from", openedForWriting + Steps{{"close", Maps(Mapper::readingPath, none)}}},
        {"Flush", MakeFile,
         [](std::string const& place) {
             FileWritingPath(From(place)).Flush();
             return none;
         },
         "; from", openedForWriting + Steps{{"fsync", writingNone}} + closedUnheard},
        {"FlushOnBrokenFilesystemsWithRetry", MakeFile,
         [](std::string const& place) {
             FileWritingPath const path(From(place));
             path.FlushOnBrokenFilesystemsWithRetry(From(place), FileRetryLog());
             return none;
         },
         "; from",
         openedForWriting + Steps{Step("fsync", GoesOn()).Lasting(writingNone)} + closedUnheard},
        // With an unknown length nothing is longer, and the cut to that length is refused.
        {"SetLengthThatGrows", MakeEmptyFile,
         [](std::string const& place) {
             FileWritingPath(From(place)).SetLength(1);
             return none;
         },
         "; from",
         openedForWriting +
             Measured(none, Throws("FileIOError", none, EINVAL),
                      Throws("FileIOError", none, EINVAL)) +
             Steps{{"seek", writingNone}, {"write", writingNone}} + closedUnheard},
        {"SetLengthThatDoesNotGrow", MakeFile,
         [](std::string const& place) {
             FileWritingPath(From(place)).SetLength(7);
             return none;
         },
         "; from",
         openedForWriting +
             Measured(none, Throws("FileIOError", none, EINVAL),
                      Throws("FileIOError", none, EINVAL)) +
             Measured(none, Throws("FileIOError", none, EINVAL),
                      Throws("FileIOError", none, EINVAL)) +
             Steps{{"ftruncate", writingNone}} + closedUnheard},
    };
}

// Streams.

std::vector<Operation> Streams() {
    Outcome const readerFrom = Maps(Mapper::reader, "from");
    Outcome const badPosition = Throws("FileSeekError", "from", EINVAL);
    Outcome const writerNone = Maps(Mapper::writer, none);
    Steps const openedForReading = Opened(Mapper::readingPath, "from");
    Steps const openedForWriting = Opened(Mapper::writingPath, "from");
    Steps const readOnce = openedForReading + Measured("from", GoesOn(), badPosition) +
                           Steps{{"seek", readerFrom}, {"read", readerFrom}} + closedUnheard;
    Steps const written = openedForWriting + Steps{{"seek", writerNone}, {"write", writerNone}};
    return {
        {"ReadIntoData", MakeFile,
         [](std::string const& place) {
             FileReadingPath const path(From(place));
             unsigned char bytes[6];
             FileReader(path, 0) >> Data(bytes);
             return std::string(reinterpret_cast<char const*>(bytes), sizeof bytes);
         },
         "conten; from", readOnce},
        {"ReadIntoBuffer", MakeFile,
         [](std::string const& place) {
             FileReadingPath const path(From(place));
             unsigned char bytes[100];
             Buffer buffer{Data(bytes)};
             FileReader(path, 0) >> buffer;
             return MakeString(buffer.Written());
         },
         "content; from", readOnce},
        // Where the length is unknown, a byte that can't be read is the end.
        {"Unfinished", MakeFile,
         [](std::string const& place) {
             FileReadingPath const path(From(place));
             return std::string(FileReader(path, 0).Unfinished() ? "true" : "false");
         },
         "true; from",
         openedForReading + Measured("from", GoesOn(), Gives("false; from")) +
             Measured("from", GoesOn(), Gives("false; from")) + closedUnheard},
        {"Write", MakeEmptyFile,
         [](std::string const& place) {
             FileWritingPath const path(From(place));
             FileWriter(path, 0) << ConstData("content");
             return none;
         },
         "; from", written + closedUnheard},
        // The end of a file of unknown length is no position.
        {"WriteAtTheEnd", MakeFile,
         [](std::string const& place) {
             FileWritingPath const path(From(place));
             FileWriter(path, FileWriter::WritePositionEndOfFile()) << ConstData("more");
             return none;
         },
         "; from",
         openedForWriting +
             Measured(none, Throws("FileSeekError", none, EINVAL),
                      Throws("FileSeekError", none, EINVAL)) +
             Steps{{"seek", writerNone}, {"write", writerNone}} + closedUnheard},
        {"FileDataSink", MakeEmptyFile,
         [](std::string const& place) {
             FileWritingPath const path(From(place));
             FileDataSink sink;
             DataReceiver& receiver = sink(path, 0);
             receiver.Start();
             receiver.Receive(ConstData("content"));
             receiver.ReceiveEnd();
             return none;
         },
         "; from", written + Steps{{"fsync", Maps(Mapper::writingPath, none)}} + closedUnheard},
        {"FileReadingLoop", MakeFile,
         [](std::string const& place) {
             FileReadingPath const path(From(place));
             unsigned char bytes[100];
             std::string text;
             for (FileReadingLoop loop(Data(bytes), path, 0); loop.Remaining() != 0; ++loop)
                 text += MakeString(loop.Chunk());
             return text;
         },
         "content; from", openedForReading + ReadWholly("from", endOfLoop) + closedUnheard},
        {"ReadFile", MakeFile,
         [](std::string const& place) {
             std::string text;
             StringReceiver receiver;
             ReadFile(From(place), receiver(text), 0);
             return text;
         },
         "content; from", openedForReading + ReadWholly("from", endOfLoop) + closedUnheard},
        // Unlike ReadFile it ends with the file, wherever that is.
        {"ReadFileRange", MakeFile,
         [](std::string const& place) {
             FileReadingPath const path(From(place));
             FileReader reader(path, 0);
             std::string text;
             StringReceiver receiver;
             ReadFileRange(reader, Range<unsigned long long>{0, 7}, receiver(text));
             return text;
         },
         "content; from",
         openedForReading + Measured("from", GoesOn(), Gives("; from")) +
             Measured("from", GoesOn(), Gives("; from")) +
             Steps{{"seek", readerFrom}, {"read", readerFrom}} + closedUnheard},
    };
}

} // namespace SystemCallsSteps
