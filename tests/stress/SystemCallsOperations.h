// The operations that make system calls, and the outcomes of a failing call. Data, written from the
// contracts, for SystemCallsStress.cpp.
//
// The table does not specify how often or in which order an operation makes its calls.
#pragma once

#include <cerrno>
#include <type_traits>

#include "files/FileLocation.h"
#include "tests/files/Files.h"
#include "tests/files/Thrown.h"

// The mappers of error numbers to classes, each with its own rules.
enum class Mapper { freeStanding, readingPath, writingPath, reader, writer, times };

// The outcome of an operation as text, for an error number. Names are relative to the directory of
// the test. None means that the result is that of a run without a failure. Only this outcome need
// not occur.
using Outcome = std::function<std::string(int error)>;
inline Outcome const goesOn;

// The class to which a mapper maps a number; FileIOError by default.
std::string ClassOf(Mapper mapper, int error);

// A file error of the class to which the mapper maps the number, with the number as its code.
inline Outcome Maps(Mapper mapper, std::string const& name = {}) {
    return [=](int error) {
        return ClassOf(mapper, error) + ' ' + strerrorname_np(error) + On(name);
    };
}

// The class of the exception, with the name of its error code if it has one.
inline Outcome Throws(std::string const& error, std::string const& name = {}) {
    return [=](int) {
        return error + On(name);
    };
}

// A normal return with another result than usual, in the form of Operation::result.
inline Outcome Gives(std::string const& result) {
    return [=](int) {
        return "gives " + result;
    };
}

using Outcomes = std::vector<Outcome>;

// The outcomes of a failure of one kind of call.
struct CallFailure {
    // The name of the call and the start of the rest of its record, as far as it is relevant.
    std::string call;
    // The outcomes if any one of these calls fails once.
    Outcomes once;
    // The additional outcomes if all later calls fail too.
    Outcomes lasting = {};
    // If not 0, the row applies to this error number only, instead of the row for all others.
    int error = 0;
};

using CallFailures = std::vector<CallFailure>;

inline CallFailures operator+(CallFailures left, CallFailures const& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

// Has a constructor, because an aggregate is not one argument of a list.
struct Operation {
    using Run = std::function<std::string(FileLocation const&, FileLocation const&)>;

    Operation(std::string itsName, void (*itsPreparation)(std::string const&), Run itself,
              std::string itsResult, CallFailures itsFailures, int errorOfRenames = 0)
        : name(std::move(itsName)),
          prepare(itsPreparation),
          run(std::move(itself)),
          result(std::move(itsResult)),
          failures(std::move(itsFailures)),
          renameError(errorOfRenames) {}

    std::string name;
    // Prepares the directory of the test.
    void (*prepare)(std::string const& directory);
    // Takes "from" and "to" in that directory. Returns the result of the operation, if any.
    Run run;
    // The result of `run` without a failure, a semicolon, and all entries of the directory then,
    // sorted, each with a preceding space.
    std::string result;
    CallFailures failures;
    // Each rename fails with this number, which is not tested itself: the two are on different file
    // systems.
    int renameError;
};

// An operation on "from", or from there to "to", with or without a result.
template <class Run>
auto Calling(Run run) {
    return [run](FileLocation const& from, FileLocation const& to) -> std::string {
        if constexpr (std::is_invocable_v<Run, FileLocation const&>) {
            run(from);
            return {};
        } else if constexpr (std::is_same_v<decltype(run(from, to)), std::string>) {
            return run(from, to);
        } else {
            run(from, to);
            return {};
        }
    };
}

// The same from an expression of `from` and `to`.
#define CC_CALLING(...)                                                              \
    Calling([]([[maybe_unused]] auto const& from, [[maybe_unused]] auto const& to) { \
        return __VA_ARGS__;                                                          \
    })

// The tables of operations.
std::vector<Operation> OpenFiles();
std::vector<Operation> Streams();
std::vector<Operation> Creations();
std::vector<Operation> Deletions();
std::vector<Operation> CopiesAndMoves();
std::vector<Operation> Trees();
std::vector<Operation> Items();
std::vector<Operation> LockAndAgentSearch();

// Preparations.

inline void MakeNothing(std::string const&) {}

inline void MakeFile(std::string const& directory) {
    WriteWholeFile(directory + "/from", "content");
}

inline void MakeEmptyFile(std::string const& directory) { WriteWholeFile(directory + "/from", ""); }

inline void MakeBoth(std::string const& directory) {
    MakeFile(directory);
    WriteWholeFile(directory + "/to", "old");
}

inline void MakeEmptyDirectory(std::string const& directory) {
    std::filesystem::create_directory(directory + "/from");
}

inline void MakeTree(std::string const& directory) {
    MakeEmptyDirectory(directory);
    WriteWholeFile(directory + "/from/a", "content");
}

inline void MakeDeepTree(std::string const& directory) {
    MakeTree(directory);
    std::filesystem::create_directory(directory + "/from/b");
}

// Outcomes and failures that several operations share.

inline Outcome const endOfLoop = Throws("FileReadingLoopEndOfFileError");
inline Outcome const noFrom = Throws("FileNotFoundError", "from");
inline Outcome const noDirectory = Throws("DirectoryNotFoundError", "from");
inline Outcome const vanished = Throws("InvalidStats");
inline Outcome const notEmpty = Throws("FileIOError ENOTEMPTY", "from");
// A parent that is not found is searched for up to the root, which exists.
inline Outcome const rootIsThere = Throws("FileIOError EEXIST", "/");
inline Outcome const freeFrom = Maps(Mapper::freeStanding, "from");
inline Outcome const freeTo = Maps(Mapper::freeStanding, "to");
inline Outcome const readingFrom = Maps(Mapper::readingPath, "from");
inline Outcome const readerFrom = Maps(Mapper::reader, "from");

// An open path that its destructor closes.
inline CallFailures Opened(Mapper mapper) {
    return {{"open", {Maps(mapper, "from")}}, {"setfd", {goesOn}}, {"close", {goesOn}}};
}

// A seek to the end that fails with EINVAL makes the length unknown.
inline CallFailures Sought(Outcomes const& outcomes, Outcomes const& unknown) {
    Outcomes both = outcomes;
    both.insert(both.end(), unknown.begin(), unknown.end());
    return {{"seek", outcomes}, {"seek", both, {}, EINVAL}};
}
