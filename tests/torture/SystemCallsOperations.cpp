#include "tests/torture/SystemCallsOperations.h"

#include <cerrno>
#include <cstddef>
#include <filesystem>

#include <unistd.h>

#include "compliance/InterProcessLock.h"
#include "compliance/ProcessNames.h"
#include "data/Buffer.h"
#include "data/ConstData.h"
#include "data/Data.h"
#include "data/StringReceiver.h"
#include "files/FileDataSink.h"
#include "files/FileItem.h"
#include "files/FileLocation.h"
#include "files/FileLoop.h"
#include "files/FileOperations.h"
#include "files/FileReader.h"
#include "files/FileReadingLoop.h"
#include "files/FileReadingPath.h"
#include "files/FileRetry.h"
#include "files/FileTrees.h"
#include "files/FileWriter.h"
#include "files/FileWritingPath.h"
#include "files/ReadFile.h"
#include "files/TemporaryLocations.h"
#include "tests/files/Files.h"

Outcome GoesOn() { return {}; }

Outcome Maps(Mapper mapper, std::string const& name) { return {Outcome::maps, mapper, {}, name}; }

Outcome Throws(std::string const& error, std::string const& name, int code) {
    return {Outcome::throws, {}, error, name, code};
}

Outcome ThrowsOutsideTheTree(std::string const& error) {
    return {Outcome::throws, {}, error, {}, -1};
}

Outcome Gives(std::string const& result) { return {Outcome::gives, {}, result}; }

namespace {

namespace fs = std::filesystem;

std::string const none;
std::string const content = "content";

// Preparations.

void MakeNothing(std::string const&) {}

void MakeFile(std::string const& place) { WriteWholeFile(place + "/from", content); }

void MakeEmptyFile(std::string const& place) { WriteWholeFile(place + "/from", ""); }

void MakeBoth(std::string const& place) {
    MakeFile(place);
    WriteWholeFile(place + "/to", "old");
}

void MakeLink(std::string const& place) {
    MakeFile(place);
    fs::create_symlink(place + "/from", place + "/link");
}

void MakeEmptyDirectory(std::string const& place) { fs::create_directory(place + "/from"); }

void MakeTree(std::string const& place) {
    fs::create_directory(place + "/from");
    WriteWholeFile(place + "/from/a", content);
}

void MakeDeepTree(std::string const& place) {
    MakeTree(place);
    fs::create_directory(place + "/from/b");
}

FileLocation At(std::string const& place, char const* name) {
    return MakeFileLocation((place + '/' + name).c_str());
}

FileLocation From(std::string const& place) { return At(place, "from"); }

FileLocation To(std::string const& place) { return At(place, "to"); }

// Steps that many share.

Outcome const endOfLoop = ThrowsOutsideTheTree("FileReadingLoopEndOfFileError");

Steps operator+(Steps left, Steps const& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

// An open, the mark behind it, and, if nobody closes it before, the close of the destructor, of
// which nothing is heard.
Steps Opened(Mapper mapper, std::string const& name) {
    return {{"open", Maps(mapper, name)}, {"setfd", GoesOn()}};
}

Steps const closedUnheard = {{"close", GoesOn()}};

// What Length asks. A seek to the end that fails with EINVAL makes the length unknown; what that
// comes to, once and where all further seeks fail so too, is for the caller to say.
Steps Measured(std::string const& name, Outcome const& unknown, Outcome const& unknownForGood) {
    Outcome const error = Maps(Mapper::readingPath, name);
    return {{"seek", error},
            Step("seek", error).For(EINVAL, unknown).LastingFor(EINVAL, unknownForGood),
            {"seek", error}};
}

// A whole file in one chunk. `lostEnd` is what the end comes to that is met unawares.
Steps ReadWholly(std::string const& name, Outcome const& lostEnd) {
    return Measured(name, lostEnd, lostEnd) + Measured(name, GoesOn(), lostEnd) +
           Measured(name, GoesOn(), lostEnd) +
           Steps{{"seek", Maps(Mapper::reader, name)}, {"read", Maps(Mapper::reader, name)}};
}

// The copy of "from" to "to" behind the questions what is there. The writing path has no name.
Steps const copied = Opened(Mapper::writingPath, "to") + Opened(Mapper::readingPath, "from") +
                     ReadWholly("from", endOfLoop) +
                     Steps{{"seek", Maps(Mapper::writer, none)},
                           {"write", Maps(Mapper::writer, none)},
                           {"close", Maps(Mapper::readingPath, none)},
                           {"close", Maps(Mapper::readingPath, "from")},
                           {"lstat", GoesOn()},
                           {"lstat", GoesOn()}};

// All steps come to the same, but those that go on.
Steps AllComeTo(Outcome const& outcome, Steps steps) {
    auto const replace = [&outcome](Outcome& old) {
        if (old.kind != Outcome::goesOn)
            old = outcome;
    };
    for (Step& step : steps) {
        replace(step.once);
        for (Outcome& lasting : step.lasting)
            replace(lasting);
        for (auto* const outcomes : {&step.onceFor, &step.lastingFor})
            for (auto& [error, old] : *outcomes)
                replace(old);
    }
    return steps;
}

// One failure does no harm. Of calls that always fail, the first of an attempt tells.
Steps Retried(Steps const& steps, std::map<std::string, Outcome> const& lasting) {
    Steps retried;
    for (Step const& step : steps) {
        retried.emplace_back(step.call, GoesOn());
        if (auto const found = lasting.find(step.call); found != lasting.end())
            retried.back().Lasting(found->second);
    }
    return retried;
}

Outcome const freeFrom = Maps(Mapper::freeStanding, "from");
Outcome const noFrom = Throws("FileNotFoundError", "from", 0);
Outcome const noDirectory = Throws("DirectoryNotFoundError", "from", 0);
Outcome const notEmpty = Throws("FileIOError", "from", ENOTEMPTY);
// A parent that is not seen is looked for up to the root, which nobody can make.
Outcome const rootIsThere = Throws("FileIOError", "/", EEXIST);

// Open files.

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

// Whole files.

using OnOne = void (*)(FileLocation const&);
using OnTwo = void (*)(FileLocation const&, FileLocation const&);

std::function<std::string(std::string const&)> On(OnOne operation) {
    return [operation](std::string const& place) {
        operation(From(place));
        return none;
    };
}

std::function<std::string(std::string const&)> On(OnTwo operation) {
    return [operation](std::string const& place) {
        operation(From(place), To(place));
        return none;
    };
}

std::vector<Operation> Creations() {
    Outcome const freeNew = Maps(Mapper::freeStanding, "new");
    Outcome const freeNewer = Maps(Mapper::freeStanding, "new/newer");
    return {
        {"CreateFile",
         MakeNothing,
         [](std::string const& place) {
             CreateFile(At(place, "new"), FileCreatingInfo{0600});
             return none;
         },
         "; new",
         {{"lstat", GoesOn()}, {"fopen", freeNew}, {"chmod", freeNew}}},
        // Deliberate: the file of the attempt that could not set the permissions stands in the way
        // of the next one.
        {"CreateFileWithRetry",
         MakeNothing,
         [](std::string const& place) {
             CreateFileWithRetry(At(place, "new"), FileCreatingInfo{0600}, FileRetryLog());
             return none;
         },
         "; new",
         {{"lstat", GoesOn()},
          Step("fopen", GoesOn()).Lasting(freeNew),
          {"chmod", Throws("FileFoundError", "new", 0)}}},
        {"CreateDirectory",
         MakeNothing,
         [](std::string const& place) {
             CreateDirectory(At(place, "new"), DirectoryCreatingInfo());
             return none;
         },
         "; new",
         {{"lstat", GoesOn()}, {"mkdir", freeNew}}},
        {"CreateDirectoryWithRetry",
         MakeNothing,
         [](std::string const& place) {
             CreateDirectoryWithRetry(At(place, "new"), DirectoryCreatingInfo(), FileRetryLog());
             return none;
         },
         "; new",
         {{"lstat", GoesOn()}, Step("mkdir", GoesOn()).Lasting(freeNew)}},
        {"ForceDirectoryExistence",
         MakeNothing,
         [](std::string const& place) {
             ForceDirectoryExistence(At(place, "new"), DirectoryCreatingInfo());
             return none;
         },
         "; new",
         {{"lstat", GoesOn()}, {"mkdir", freeNew}}},
        // A directory that is not seen is made, and in the way of that.
        {"ForceDirectoryExistenceOfWhatIsThere",
         MakeEmptyDirectory,
         [](std::string const& place) {
             ForceDirectoryExistence(From(place), DirectoryCreatingInfo());
             return none;
         },
         "; from",
         {{"lstat", Throws("FileIOError", "from", EEXIST)}}},
        {"CreateDirectoryTree",
         MakeNothing,
         [](std::string const& place) {
             CreateDirectoryTree(At(place, "new/newer"));
             return none;
         },
         "; new new/newer",
         {Step("lstat", GoesOn()).Lasting(rootIsThere),
          Step("lstat", GoesOn()).Lasting(rootIsThere),
          Step("lstat", GoesOn()).Lasting(rootIsThere),
          {"lstat", GoesOn()},
          {"mkdir", freeNew},
          {"lstat", GoesOn()},
          {"mkdir", freeNewer}}},
        {"CreateUniqueFileLocation",
         MakeEmptyDirectory,
         [](std::string const& place) {
             fs::remove(MakeString(CreateUniqueFileLocation(From(place), "x").Bytes()));
             return none;
         },
         "; from",
         {{"mkstemp", Throws("CreateUniqueFileLocationFailed", none, 0)}, {"close", GoesOn()}}},
        {"CreateUniqueDirLocation",
         MakeEmptyDirectory,
         [](std::string const& place) {
             fs::remove(MakeString(CreateUniqueDirLocation(From(place), "x").Bytes()));
             return none;
         },
         "; from",
         {{"mkdtemp", Throws("CreateUniqueFileLocationFailed", none, 1)}}},
    };
}

std::vector<Operation> Deletions() {
    Outcome const freeA = Maps(Mapper::freeStanding, "from/a");
    Outcome const freeB = Maps(Mapper::freeStanding, "from/b");
    Outcome const noB = Throws("DirectoryNotFoundError", "from/b", 0);
    // An entry that is not seen when it is to go stays, which shows when the directory is to go.
    Steps const contents = {
        {"scandir", notEmpty}, {"lstat", freeA}, Step("lstat", notEmpty).Lasting(freeB),
        {"unlink", freeA},     {"lstat", freeB}, {"scandir", GoesOn()},
        {"lstat", noB},        {"rmdir", freeB}};
    Steps const tree = Steps{{"lstat", noDirectory}} + contents +
                       Steps{{"lstat", noDirectory}, {"rmdir", freeFrom}};
    Steps justContents = Steps{{"lstat", noDirectory}} + contents;
    justContents[1] = Step("scandir", Gives("; from from/a from/b"));
    justContents[3] = Step("lstat", Gives("; from from/a")).Lasting(freeB);
    return {
        {"DeleteFile", MakeFile, On(DeleteFile), ";", {{"unlink", freeFrom}}},
        {"DeleteFileWithRetry",
         MakeFile,
         [](std::string const& place) {
             DeleteFileWithRetry(From(place), FileRetryLog());
             return none;
         },
         ";",
         {Step("unlink", GoesOn()).Lasting(freeFrom)}},
        {"DeleteDirectory",
         MakeEmptyDirectory,
         On(DeleteDirectory),
         ";",
         {{"lstat", noDirectory}, {"rmdir", freeFrom}}},
        {"DeleteDirectoryWithRetry",
         MakeEmptyDirectory,
         [](std::string const& place) {
             DeleteDirectoryWithRetry(From(place), FileRetryLog());
             return none;
         },
         ";",
         {Step("lstat", GoesOn()).Lasting(noDirectory), Step("rmdir", GoesOn()).Lasting(freeFrom)}},
        // What is not seen stays, without an error.
        {"ForceNonexistence",
         MakeFile,
         On(ForceNonexistence),
         ";",
         {{"lstat", Gives("; from")}, {"unlink", freeFrom}}},
        {"ForceNonexistenceOfADirectory",
         MakeEmptyDirectory,
         On(ForceNonexistence),
         ";",
         {{"lstat", Gives("; from")}, {"lstat", noDirectory}, {"rmdir", freeFrom}}},
        {"ForceNonexistenceWithRetry",
         MakeFile,
         [](std::string const& place) {
             ForceNonexistenceWithRetry(From(place), FileRetryLog());
             return none;
         },
         ";",
         {{"lstat", Gives("; from")}, Step("unlink", GoesOn()).Lasting(freeFrom)}},
        {"DeleteRecursive", MakeDeepTree, On(DeleteRecursive), ";", tree},
        {"DeleteContents", MakeDeepTree, On(DeleteContents), "; from", justContents},
        {"ForceDeleteRecursive", MakeDeepTree, On(ForceDeleteRecursive), ";",
         Steps{{"lstat", Gives("; from from/a from/b")}} + tree},
        {"ForceDeleteContents", MakeDeepTree, On(ForceDeleteContents), "; from",
         Steps{{"lstat", Gives("; from from/a from/b")}} + justContents},
    };
}

// A refused rename counts as done, whatever the number, but for the one that says that the places
// are on different file systems: then the file is copied.
Step Renamed(std::string const& refused) {
    return Step("rename", Gives(refused)).For(EXDEV, GoesOn()).LastingFor(EXDEV, GoesOn());
}

std::vector<Operation> CopiesAndMoves() {
    Outcome const freeTo = Maps(Mapper::freeStanding, "to");
    Outcome const toIsThere = Throws("FileExistsError", "to", EEXIST);
    Outcome const toFound = Throws("FileFoundError", "to", 0);
    Outcome const vanished = Throws("InvalidStats", none, 0);
    Steps const copiedAcross =
        Steps{{"lstat", noFrom}, {"lstat", GoesOn()}} + copied + Steps{{"unlink", freeFrom}};
    Steps const forced = {{"lstat", noFrom},
                          Step("lstat", toFound).Lasting(noFrom),
                          {"lstat", vanished},
                          {"lstat", vanished},
                          Step("lstat", toFound).Lasting(noFrom),
                          {"unlink", freeTo},
                          {"lstat", noFrom},
                          {"lstat", GoesOn()},
                          Renamed("; from")};
    return {
        {"CopyFile", MakeFile, On(CopyFile), "; from to",
         Steps{{"lstat", noFrom}, {"lstat", GoesOn()}} + copied},
        // Deliberate: what an attempt has written stands in the way of the next one.
        {"CopyFileWithRetry", MakeFile,
         [](std::string const& place) {
             CopyFileWithRetry(From(place), To(place), FileRetryLog());
             return none;
         },
         "; from to",
         Steps{Step("lstat", GoesOn()).Lasting(noFrom),
               {"lstat", GoesOn()},
               Step("open", GoesOn()).Lasting(Maps(Mapper::writingPath, "to")),
               {"setfd", GoesOn()}} +
             AllComeTo(Throws("FileExistsError", "to", 0),
                       Steps(copied.begin() + 2, copied.end()))},
        {"ForceCopyFile", MakeBoth, On(ForceCopyFile), "; from to",
         Steps{{"lstat", noFrom}, {"lstat", toIsThere}, {"unlink", freeTo}} + copied},
        // Every attempt clears the way first.
        {"ForceCopyFileWithRetry", MakeBoth,
         [](std::string const& place) {
             ForceCopyFileWithRetry(From(place), To(place), FileRetryLog());
             return none;
         },
         "; from to",
         Steps{Step("lstat", GoesOn()).Lasting(noFrom), Step("lstat", GoesOn()).Lasting(noFrom),
               Step("unlink", GoesOn()).Lasting(freeTo)} +
             Retried(copied, {{"open", Maps(Mapper::writingPath, "to")},
                              {"seek", Maps(Mapper::readingPath, "from")},
                              {"read", Maps(Mapper::reader, "from")},
                              {"write", Maps(Mapper::writer, none)},
                              {"close", Maps(Mapper::readingPath, none)}})},
        {"MoveFile",
         MakeFile,
         On(MoveFile),
         "; to",
         {{"lstat", noFrom}, {"lstat", GoesOn()}, Renamed("; from")}},
        {"MoveFileWithRetry",
         MakeFile,
         [](std::string const& place) {
             MoveFileWithRetry(From(place), To(place), FileRetryLog());
             return none;
         },
         "; to",
         {Step("lstat", GoesOn()).Lasting(noFrom), {"lstat", GoesOn()}, Renamed("; from")}},
        {"ForceMoveFile", MakeBoth, On(ForceMoveFile), "; to", forced},
        {"MoveFileAcross", MakeFile, On(MoveFile), "; to",
         Steps{{"lstat", noFrom}, {"lstat", GoesOn()}, {"rename", GoesOn()}, {"lstat", vanished}} +
             copiedAcross,
         EXDEV},
    };
}

// A directory that goes to another file system: copied as a tree, with retries for each file, and
// deleted. What an attempt at a file has written stands in the way of the next one.
Steps const treeCopied = Steps{{"lstat", noDirectory},
                               {"lstat", Throws("InvalidStats", none, 0)},
                               Step("lstat", GoesOn()).Lasting(rootIsThere),
                               Step("lstat", GoesOn()).Lasting(rootIsThere),
                               {"lstat", GoesOn()},
                               {"mkdir", Maps(Mapper::freeStanding, "to")}};

Outcome const noA = Throws("FileNotFoundError", "from/a", 0);

Steps const entryCopied =
    Steps{{"lstat", Maps(Mapper::freeStanding, "from/a")},
          Step("lstat", GoesOn()).Lasting(noA),
          {"lstat", GoesOn()},
          Step("open", GoesOn()).Lasting(Maps(Mapper::writingPath, "to/a")),
          {"setfd", GoesOn()}} +
    AllComeTo(Throws("FileExistsError", "to/a", 0), Steps(copied.begin() + 2, copied.end()));

std::vector<Operation> Trees() {
    Outcome const freeA = Maps(Mapper::freeStanding, "from/a");
    return {
        {"CopyDirectoryContents", MakeTree, On(CopyDirectoryContents), "; from from/a to to/a",
         treeCopied + Steps{{"scandir", Gives("; from from/a to")}} + entryCopied},
        // Deliberate: a directory that can't be listed counts as empty. Where that is so for the
        // copy, but no more for the deletion, the content is lost.
        {"MoveDirectoryAcross", MakeTree, On(MoveFile), "; to to/a",
         Steps{{"lstat", noFrom},
               {"lstat", GoesOn()},
               {"rename", GoesOn()},
               {"lstat", Throws("InvalidStats", none, 0)},
               {"lstat", Throws("InvalidStats", none, 0)}} +
             treeCopied + Steps{Step("scandir", Gives("; to")).Lasting(notEmpty)} + entryCopied +
             Steps{{"lstat", noDirectory},
                   {"scandir", notEmpty},
                   {"lstat", freeA},
                   Step("lstat", notEmpty).Lasting(noDirectory),
                   {"unlink", freeA},
                   {"lstat", noDirectory},
                   {"rmdir", freeFrom}},
         EXDEV},
        {"FileLoop",
         MakeDeepTree,
         [](std::string const& place) {
             std::string names;
             for (FileLoop loop(From(place), nullptr, false); loop.HasItem(); ++loop)
                 names += MakeString(loop->Location().Name().Bytes());
             return names;
         },
         "ab; from from/a from/b",
         {{"scandir", Gives("; from from/a from/b")},
          {"lstat", freeA},
          {"lstat", Maps(Mapper::freeStanding, "from/b")}}},
    };
}

// Facts about files, and their changes.

std::vector<Operation> Items() {
    Outcome const times = Maps(Mapper::times, "from");
    return {
        {"FileItem",
         MakeFile,
         [](std::string const& place) {
             FileItem const item(From(place));
             return none;
         },
         "; from",
         {{"lstat", freeFrom}}},
        {"FileItemThroughALink",
         MakeLink,
         [](std::string const& place) {
             FileItem const item(At(place, "link"));
             return none;
         },
         "; from link",
         {{"lstat", Maps(Mapper::freeStanding, "link")},
          {"stat", Maps(Mapper::freeStanding, "link")}}},
        {"Checksum", MakeEmptyFile,
         [](std::string const& place) { return std::to_string(FileItem(From(place)).Checksum()); },
         // The complement of the start value, which is all ones.
         "0; from",
         Steps{{"lstat", freeFrom}} + Opened(Mapper::readingPath, "from") +
             Measured("from", endOfLoop, endOfLoop) + Measured("from", GoesOn(), GoesOn()) +
             closedUnheard},
        {"SetModificationTime",
         MakeFile,
         [](std::string const& place) {
             FileItem(From(place)).SetModificationTime(Instant(0));
             return none;
         },
         "; from",
         {{"lstat", freeFrom}, {"utimes", times}}},
        {"SetModificationTimeWithRetry",
         MakeFile,
         [](std::string const& place) {
             FileItem(From(place)).SetModificationTimeWithRetry(Instant(0), FileRetryLog());
             return none;
         },
         "; from",
         {{"lstat", freeFrom}, Step("utimes", GoesOn()).Lasting(times)}},
        {"SetFileReadOnly",
         MakeFile,
         [](std::string const& place) {
             SetFileReadOnly(From(place), true);
             return none;
         },
         "; from",
         {{"stat", freeFrom}, {"chmod", freeFrom}}},
        {"IsReadOnly",
         MakeFile,
         [](std::string const& place) {
             return std::string(From(place).IsReadOnly() ? "read-only" : "writable");
         },
         "writable; from",
         {Step("access", freeFrom)
              .For(EACCES, Gives("read-only; from"))
              .For(EROFS, Gives("read-only; from"))}},
        {"CalculateFreeSpace",
         MakeNothing,
         [](std::string const& place) {
             return std::string(CalculateFreeSpace(MakeFileLocation(place.c_str())) < 0 ? "none"
                                                                                        : "some");
         },
         "some;",
         {{"statvfs", Gives("none;")}}},
    };
}

// The lock, and what asks for the agent.

std::vector<Operation> LockAndProbe() {
    std::string const name = program_invocation_short_name;
    // As the kernel cuts the name of a command.
    std::string const command = name.substr(0, 15);
    return {
        {"InterProcessLock",
         MakeNothing,
         [](std::string const& place) {
             InterProcessLock lock((place + "/lock").c_str());
             return std::string(lock.Lock() ? "locked" : "refused");
         },
         "locked; lock",
         {{"open", ThrowsOutsideTheTree("InterProcessLockCreateError")},
          {"setfd", GoesOn()},
          {"setlk", Gives("refused; lock")},
          {"setlk", GoesOn()},
          {"close", GoesOn()}}},
        {"ProcessIdToPath",
         MakeNothing,
         [](std::string const&) {
             char path[4096];
             bool const known =
                 ProcessIdToPath(static_cast<unsigned int>(getpid()), path, sizeof path);
             return std::string(known && fs::path(path).filename() ==
                                             std::string(program_invocation_short_name)
                                    ? "known"
                                    : "unknown");
         },
         "known;",
         {{"readlink", Gives("unknown;")}}},
        {"ProcessIdToName",
         MakeNothing,
         [](std::string const&) {
             char text[1024] = "";
             long long parent = 0;
             long long real = 0;
             long long effective = 0;
             bool const known = ProcessIdToName(static_cast<unsigned int>(getpid()), text,
                                                sizeof text, parent, real, effective);
             bool const numbers = parent == getppid() && real == getuid() && effective == geteuid();
             bool const noNumbers = parent == -1 && real == -1 && effective == -1;
             return (known ? text : "unknown") + std::string(numbers     ? ", numbers"
                                                             : noNumbers ? ""
                                                                         : ", others");
         },
         name + ", numbers;",
         // By the link, without it by the command, which takes three calls more.
         {{"readlink", Gives(command + ", numbers;")},
          {"open", Gives(name + ";")},
          {"read", Gives(name + ";")},
          {"close", GoesOn()}}},
    };
}

} // namespace

std::vector<Operation> const& Operations() {
    static std::vector<Operation> const all = [] {
        std::vector<Operation> operations;
        for (auto const& some : {OpenFiles(), Streams(), Creations(), Deletions(), CopiesAndMoves(),
                                 Trees(), Items(), LockAndProbe()})
            operations.insert(operations.end(), some.begin(), some.end());
        return operations;
    }();
    return all;
}
