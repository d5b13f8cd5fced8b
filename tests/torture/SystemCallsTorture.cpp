// Each call that an operation of the file layer, the lock and the probe makes fails with each
// number of its manual page, once and from then on: the exact class, names and code, and no
// descriptor is lost. The calls of whole evaluations are in SystemCallsExchange.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <exception>
#include <filesystem>
#include <set>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include <cxxabi.h>
#include <fcntl.h>
#include <unistd.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/FileReadingPath.h"
#include "tests/files/Files.h"
#include "tests/files/RecordedSleeps.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/torture/Cells.h"
#include "tests/torture/ErrorNumbers.h"
#include "tests/torture/SystemCallsOperations.h"

namespace {

namespace fs = std::filesystem;

// Numbers and classes: what each mapper makes of them. A blank stands for the plain class.
struct MapperRow {
    std::vector<int> numbers;
    // In the order of the enumeration.
    std::array<std::string, 6> classes;
};

MapperRow const mapperTable[] = {
    {{EPERM},
     {"FilePermissionError", "FilePermissionError", "FilePermissionError", "FilePermissionError",
      "FilePermissionError", ""}},
    {{EACCES},
     {"FilePermissionError", "FilePermissionError", "FilePermissionError", "FilePermissionError",
      "FilePermissionError", "FilePermissionError"}},
    {{ENOENT},
     {"FileNotFoundError", "FileNotFoundError", "FileNotFoundError", "", "FileNotFoundError",
      "FileNotFoundError"}},
    {{EAGAIN}, {"FileLockError", "FileLockError", "FileLockError", "", "FileLockError", ""}},
    {{ENOMEM, ENFILE, EMFILE},
     {"FileResourceError", "FileResourceError", "FileResourceError", "", "FileResourceError", ""}},
    {{EEXIST}, {"", "", "FileExistsError", "", "FileExistsError", ""}},
    {{ENOTDIR, ENAMETOOLONG},
     {"DirectoryNotFoundError", "DirectoryNotFoundError", "DirectoryNotFoundError", "",
      "DirectoryNotFoundError", ""}},
    {{EINVAL}, {"", "", "", "FileSeekError", "FileSeekError", ""}},
    {{ENOSPC}, {"", "", "FileDiskFullError", "", "FileDiskFullError", ""}},
};

std::string ClassOf(Mapper mapper, int error) {
    for (MapperRow const& row : mapperTable)
        if (std::count(row.numbers.begin(), row.numbers.end(), error) != 0) {
            std::string const& name = row.classes.at(static_cast<size_t>(mapper));
            return name.empty() ? "FileIOError" : name;
        }
    return "FileIOError";
}

// The whole message of a file error.
std::string Message(std::string const& error, std::string const& path, int code) {
    std::string text = "File error \"" + std::to_string(error.size()) + error + "\"";
    if (!path.empty())
        text += " on \"" + path + "\"";
    if (code != 0)
        text += ": Error: " + std::to_string(code) + ": " + std::strerror(code);
    return text;
}

std::string PathOf(std::string const& place, std::string const& name) {
    return name.empty() || name[0] == '/' ? name : place + '/' + name;
}

// What an operation comes to, in words.
std::string Describe(Outcome const& outcome, int error, Operation const& operation,
                     std::string const& place) {
    std::string const path = PathOf(place, outcome.name);
    switch (outcome.kind) {
    case Outcome::goesOn:
        return "gives " + operation.result;
    case Outcome::gives:
        return "gives " + outcome.text;
    case Outcome::maps:
        return "throws " + Message(ClassOf(outcome.mapper, error), path, error) + ", code " +
               std::to_string(error);
    case Outcome::throws:
        break;
    }
    if (outcome.code < 0)
        return "throws " + outcome.text;
    return "throws " + Message(outcome.text, path, outcome.code) + ", code " +
           std::to_string(outcome.code);
}

std::string Listing(std::string const& place) {
    std::set<std::string> names;
    for (auto const& entry : fs::recursive_directory_iterator(place))
        names.insert(entry.path().string().substr(place.size() + 1));
    std::string text = ";";
    for (std::string const& name : names)
        text += ' ' + name;
    return text;
}

std::string CurrentClass() {
    char* const name =
        abi::__cxa_demangle(abi::__cxa_current_exception_type()->name(), nullptr, nullptr, nullptr);
    std::string text = name;
    std::free(name);
    return text;
}

std::string RunToItsEnd(Operation const& operation, std::string const& place) {
    try {
        return "gives " + operation.run(place);
    } catch (FileIOError const& error) {
        return std::string("throws ") + error.what() + ", code " + std::to_string(error.GetCode());
    } catch (...) {
        return "throws " + CurrentClass();
    }
}

std::set<int> OpenDescriptors() {
    std::set<int> open;
    for (int descriptor = 0; descriptor < 256; ++descriptor)
        if (fcntl(descriptor, F_GETFD) != -1)
            open.insert(descriptor);
    return open;
}

// One call of an operation that fails.
struct Cell {
    size_t step;
    int error;
    bool lasting;
};

// How many calls of the same name stand in front of a step.
size_t Occurrence(Operation const& operation, size_t step) {
    auto const first = operation.steps.begin();
    return static_cast<size_t>(
        std::count_if(first, first + static_cast<std::ptrdiff_t>(step),
                      [&](Step const& other) { return other.call == operation.steps[step].call; }));
}

Outcome OnceOutcome(Step const& step, int error) {
    auto const found = step.onceFor.find(error);
    return found == step.onceFor.end() ? step.once : found->second;
}

Outcome LastingOutcome(Operation const& operation, size_t from, int error) {
    for (size_t i = from; i < operation.steps.size(); ++i) {
        Step const& step = operation.steps[i];
        if (step.call != operation.steps[from].call)
            continue;
        if (auto const found = step.lastingFor.find(error); found != step.lastingFor.end())
            return found->second;
        if (!step.lasting.empty() && !step.onceFor.contains(error))
            return step.lasting.front();
        if (Outcome const once = OnceOutcome(step, error); once.kind != Outcome::goesOn)
            return once;
    }
    return GoesOn();
}

std::string NameOf(Operation const& operation, Cell const& cell) {
    return operation.name + ", call " + std::to_string(cell.step) + ", " +
           operation.steps[cell.step].call + ' ' + strerrorname_np(cell.error) +
           (cell.lasting ? " from then on" : " once");
}

// A source that has gone has left all that it held; but for the content of a directory that could
// not be listed, which is told in the table.
void ExpectNothingLost(std::string const& place) {
    if (!fs::exists(place + "/from") && fs::is_regular_file(place + "/to")) {
        EXPECT_EQ("content", ReadWholeFile(place + "/to"));
    }
}

void Try(Operation const& operation, Cell const& cell) {
    SCOPED_TRACE(NameOf(operation, cell));
    TemporaryDirectory const directory;
    std::string const& place = directory.path();
    operation.prepare(place);
    RecordedSleeps const noSleeps;
    std::set<int> const before = OpenDescriptors();
    std::string came;
    {
        SystemCalls calls;
        if (operation.renameError != 0)
            calls.FailFromThenOn("rename", operation.renameError);
        std::string const& call = operation.steps[cell.step].call;
        size_t const skip = Occurrence(operation, cell.step);
        if (cell.lasting)
            calls.FailFromThenOn(call, cell.error, skip);
        else
            calls.Fail(call, cell.error, skip);
        came = RunToItsEnd(operation, place);
    }
    if (came.starts_with("gives"))
        came += Listing(place);
    Outcome const outcome = cell.lasting ? LastingOutcome(operation, cell.step, cell.error)
                                         : OnceOutcome(operation.steps[cell.step], cell.error);
    EXPECT_EQ(Describe(outcome, cell.error, operation, place), came);
    EXPECT_EQ(before, OpenDescriptors());
    ExpectNothingLost(place);
}

std::vector<Cell> CellsOf(Operation const& operation) {
    std::vector<Cell> cells;
    for (size_t step = 0; step < operation.steps.size(); ++step) {
        std::string const& call = operation.steps[step].call;
        if (operation.renameError != 0 && call == "rename")
            continue;
        for (int const error : ErrorsOf(call))
            for (bool const lasting : {false, true})
                cells.push_back({step, error, lasting});
    }
    return cells;
}

std::string NameOfCall(std::string const& text) { return text.substr(0, text.find(' ')); }

// The table names the calls in order, so that each failure is that of the call that is meant.
TEST(QuickOperations, MakeTheCallsOfTheTable) {
    for (Operation const& operation : Operations()) {
        SCOPED_TRACE(operation.name);
        TemporaryDirectory const directory;
        operation.prepare(directory.path());
        std::vector<std::string> expected;
        for (Step const& step : operation.steps)
            expected.push_back(step.call);
        std::vector<std::string> made;
        std::string came;
        {
            SystemCalls calls;
            if (operation.renameError != 0)
                calls.FailFromThenOn("rename", operation.renameError);
            came = RunToItsEnd(operation, directory.path());
            for (std::string const& text : calls.Log())
                made.push_back(NameOfCall(text));
        }
        EXPECT_EQ(expected, made);
        EXPECT_EQ("gives " + operation.result, came + Listing(directory.path()));
    }
}

TEST(QuickOperations, CoverAtLeast150PairsOfACallAndANumber) {
    std::set<std::pair<std::string, int>> pairs;
    for (Operation const& operation : Operations())
        for (Step const& step : operation.steps) {
            EXPECT_FALSE(ErrorsOf(step.call).empty()) << step.call;
            for (int const error : ErrorsOf(step.call))
                pairs.insert({step.call, error});
        }
    EXPECT_LE(150u, pairs.size());
    RecordProperty("pairs", std::to_string(pairs.size()));
}

// Each call of each operation, once and from then on, with a number that changes from call to call.
TEST(QuickOperations, ThrowTheExactErrorWhenACallFails) {
    size_t tried = 0;
    for (Operation const& operation : Operations()) {
        auto const cells = CellsOf(operation);
        for (size_t i = 0; i < cells.size() && !HasFailure(); ++i) {
            size_t const errors = ErrorsOf(operation.steps[cells[i].step].call).size();
            if (i / 2 % errors != cells[i].step * 7 % errors)
                continue;
            Try(operation, cells[i]);
            ++tried;
        }
    }
    Torture::CountCells(tried);
}

// Deliberate: the one way to lose a descriptor.
TEST(QuickOperations, SecondOpeningOfAReadingPathLosesTheFirstDescriptor) {
    TemporaryDirectory const directory;
    WriteWholeFile(directory / "file", "content");
    std::set<int> const before = OpenDescriptors();
    {
        FileReadingPath path;
        path.OpenExisting(MakeFileLocation((directory / "file").c_str()));
        path.OpenExisting(MakeFileLocation((directory / "file").c_str()));
    }
    std::set<int> const after = OpenDescriptors();
    EXPECT_EQ(before.size() + 1, after.size());
    for (int const descriptor : after)
        if (!before.contains(descriptor))
            close(descriptor);
}

class FullOperations : public testing::TestWithParam<size_t> {};

TEST_P(FullOperations, ThrowTheExactErrorWhenACallFails) {
    Operation const& operation = Operations()[GetParam()];
    auto const cells = CellsOf(operation);
    for (Cell const& cell : cells)
        Try(operation, cell);
    Torture::CountCells(cells.size());
}

INSTANTIATE_TEST_SUITE_P(FullTable, FullOperations, testing::Range<size_t>(0, Operations().size()),
                         [](auto const& test) { return Operations()[test.param].name; });

} // namespace
