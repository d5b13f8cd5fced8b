// What the parts of the table of operations share: what an operation finds, the steps that many of
// them take, and the parts themselves. For the sources SystemCallsOf....cpp alone.
#pragma once

#include <cerrno>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "files/FileLocation.h"
#include "files/FileOperations.h"
#include "tests/files/Files.h"
#include "tests/torture/SystemCallsOperations.h"

namespace SystemCallsSteps {

// The parts of Operations(), in the order of the table.
std::vector<Operation> OpenFiles();
std::vector<Operation> Streams();
std::vector<Operation> Creations();
std::vector<Operation> Deletions();
std::vector<Operation> CopiesAndMoves();
std::vector<Operation> Trees();
std::vector<Operation> Items();
std::vector<Operation> LockAndProbe();

namespace fs = std::filesystem;

inline std::string const none;
inline std::string const content = "content";

// Preparations.

inline void MakeNothing(std::string const&) {}

inline void MakeFile(std::string const& place) { WriteWholeFile(place + "/from", content); }

inline void MakeEmptyFile(std::string const& place) { WriteWholeFile(place + "/from", ""); }

inline void MakeBoth(std::string const& place) {
    MakeFile(place);
    WriteWholeFile(place + "/to", "old");
}

inline void MakeLink(std::string const& place) {
    MakeFile(place);
    fs::create_symlink(place + "/from", place + "/link");
}

inline void MakeEmptyDirectory(std::string const& place) { fs::create_directory(place + "/from"); }

inline void MakeTree(std::string const& place) {
    fs::create_directory(place + "/from");
    WriteWholeFile(place + "/from/a", content);
}

inline void MakeDeepTree(std::string const& place) {
    MakeTree(place);
    fs::create_directory(place + "/from/b");
}

inline FileLocation At(std::string const& place, char const* name) {
    return MakeFileLocation((place + '/' + name).c_str());
}

inline FileLocation From(std::string const& place) { return At(place, "from"); }

inline FileLocation To(std::string const& place) { return At(place, "to"); }

// Steps that many share.

inline Outcome const endOfLoop = ThrowsOutsideTheTree("FileReadingLoopEndOfFileError");

inline Steps operator+(Steps left, Steps const& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

// An open, the mark behind it, and, if nobody closes it before, the close of the destructor, of
// which nothing is heard.
inline Steps Opened(Mapper mapper, std::string const& name) {
    return {{"open", Maps(mapper, name)}, {"setfd", GoesOn()}};
}

inline Steps const closedUnheard = {{"close", GoesOn()}};

// What Length asks. A seek to the end that fails with EINVAL makes the length unknown; what that
// comes to, once and where all further seeks fail so too, is for the caller to say.
inline Steps Measured(std::string const& name, Outcome const& unknown,
                      Outcome const& unknownForGood) {
    Outcome const error = Maps(Mapper::readingPath, name);
    return {{"seek", error},
            Step("seek", error).For(EINVAL, unknown).LastingFor(EINVAL, unknownForGood),
            {"seek", error}};
}

// A whole file in one chunk. `lostEnd` is what the end comes to that is met unawares.
inline Steps ReadWholly(std::string const& name, Outcome const& lostEnd) {
    return Measured(name, lostEnd, lostEnd) + Measured(name, GoesOn(), lostEnd) +
           Measured(name, GoesOn(), lostEnd) +
           Steps{{"seek", Maps(Mapper::reader, name)}, {"read", Maps(Mapper::reader, name)}};
}

// The copy of "from" to "to" behind the questions what is there. The writing path has no name.
inline Steps const copied = Opened(Mapper::writingPath, "to") +
                            Opened(Mapper::readingPath, "from") + ReadWholly("from", endOfLoop) +
                            Steps{{"seek", Maps(Mapper::writer, none)},
                                  {"write", Maps(Mapper::writer, none)},
                                  {"close", Maps(Mapper::readingPath, none)},
                                  {"close", Maps(Mapper::readingPath, "from")},
                                  {"lstat", GoesOn()},
                                  {"lstat", GoesOn()}};

// All steps come to the same, but those that go on.
inline Steps AllComeTo(Outcome const& outcome, Steps steps) {
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
inline Steps Retried(Steps const& steps, std::map<std::string, Outcome> const& lasting) {
    Steps retried;
    for (Step const& step : steps) {
        retried.emplace_back(step.call, GoesOn());
        if (auto const found = lasting.find(step.call); found != lasting.end())
            retried.back().Lasting(found->second);
    }
    return retried;
}

inline Outcome const freeFrom = Maps(Mapper::freeStanding, "from");
inline Outcome const noFrom = Throws("FileNotFoundError", "from", 0);
inline Outcome const noDirectory = Throws("DirectoryNotFoundError", "from", 0);
inline Outcome const notEmpty = Throws("FileIOError", "from", ENOTEMPTY);
// A parent that is not seen is looked for up to the root, which nobody can make.
inline Outcome const rootIsThere = Throws("FileIOError", "/", EEXIST);

// Runs an operation on "from", or from there to "to".
using OnOne = void (*)(FileLocation const&);
using OnTwo = void (*)(FileLocation const&, FileLocation const&);

inline std::function<std::string(std::string const&)> On(OnOne operation) {
    return [operation](std::string const& place) {
        operation(From(place));
        return none;
    };
}

inline std::function<std::string(std::string const&)> On(OnTwo operation) {
    return [operation](std::string const& place) {
        operation(From(place), To(place));
        return none;
    };
}

} // namespace SystemCallsSteps
