// The common includes of the tests of the file layer, and fixtures with a directory.
#pragma once

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/unix/FileErrorMappers.h"
#include "tests/files/Entries.h"
#include "tests/files/SystemCalls.h"
#include "tests/files/Thrown.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/Sandbox.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/VirtualSlot.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

using Strings = std::vector<std::string>;
using Pairs = std::vector<std::pair<std::string, std::string>>;
using Operations = std::vector<std::function<void()>>;

inline FileLocation At(std::string const& path) { return MakeFileLocation(path.c_str()); }

inline std::string Text(UnixPlatform::FileLocation const& location) { return location.Text(); }

// Returns the text of Thrown for a call with the locations of these paths.
template <class Function, class... Path>
std::string ThrownBy(Function const& function, Path const&... paths) {
    return Thrown([&] { function(At(paths)...); });
}

inline void ExpectEachThrows(std::string const& error, Operations const& operations) {
    for (std::size_t i = 0; i < operations.size(); ++i)
        EXPECT_EQ(error, Thrown(operations[i])) << "operation " << i;
}

// Runs the body in a sandbox with a file system of its own, which all users may write to.
inline void OnDisk(SmallFileSystemOptions const& options,
                   std::function<void(SmallFileSystem&)> const& body) {
    Sandbox::Run([&] {
        SmallFileSystem disk("/opt/disk", options);
        body(disk);
    });
}

// Runs the body in a sandbox whose /tmp is empty at first and discarded at the end.
inline void WithEmptyTmp(std::function<void()> const& body) {
    Sandbox::Run({.emptyPlaces = {"/tmp"}}, body);
}

using Mapper = std::function<void(int)>;

// Returns the error mapper of an object that reads or writes files.
template <class Thrower>
Mapper MapperOf(Thrower const& thrower, FileLocation const& where) {
    return [&thrower, where](int error) {
        thrower.ThrowError(where, error);
    };
}

// Expects that the operation maps each error number of a failing call once and unchanged: it throws
// the exception that the mapper throws. A retry of an interrupted call would not throw.
inline void ExpectMapped(std::string const& call, Mapper const& mapper,
                         std::function<void()> const& operation) {
    for (int error = 1; error <= EHWPOISON; ++error) {
        SystemCalls calls;
        calls.Fail(call, error);
        EXPECT_EQ(Thrown([&] { mapper(error); }), Thrown(operation)) << call << ' ' << error;
    }
}

// Runs the operation repeatedly, each time after `prepare`. `race` runs before the first call of
// lstat, then before the second, and so on. With `start`, only calls after the first call of that
// name count. Returns the results of all runs in which there was such a call.
inline std::set<std::string> OutcomesOfRaces(std::function<void()> const& prepare,
                                             std::function<void()> const& race,
                                             std::function<std::string()> const& operation,
                                             std::string const& start = "") {
    std::set<std::string> outcomes;
    for (std::size_t skip = 0;; ++skip) {
        prepare();
        SystemCalls calls;
        bool raced = false;
        auto const arm = [&] {
            calls.Before(
                "lstat",
                [&] {
                    raced = true;
                    race();
                },
                skip);
        };
        if (start.empty())
            arm();
        else
            calls.Before(start, arm);
        std::string const outcome = operation();
        if (!raced)
            return outcomes;
        outcomes.insert(outcome);
    }
}

// Sets the umask for a scope.
class Umask {
public:
    explicit Umask(mode_t mask) : before(umask(mask)) {}
    ~Umask() { umask(before); }
    Umask(Umask const&) = delete;
    Umask& operator=(Umask const&) = delete;

private:
    mode_t const before;
};

class FileTest : public testing::Test {
protected:
    FileLocation Here(std::string const& name) const { return At(directory / name); }
    Tree Everything() const { return DescribeTree(directory.path()); }

    // Expects that the operation throws the error for the entry and changes nothing.
    void ExpectRejected(std::string const& error, std::string const& name,
                        std::function<void(FileLocation const&)> const& operation) const {
        Tree const before = Everything();
        EXPECT_EQ(error + On(directory / name), Thrown([&] { operation(Here(name)); }));
        EXPECT_EQ(Everything(), before);
    }

    // Removes all entries of the directory.
    void Clear() const {
        for (auto const& entry : fs::directory_iterator(directory.path()))
            fs::remove_all(entry.path());
    }

    // Runs the body for each kind, with an entry of that kind and name in the directory. Empties
    // the directory afterwards.
    void ForEach(Strings const& kinds, std::function<void(std::string const&)> const& body) const {
        for (std::string const& kind : kinds) {
            SCOPED_TRACE(kind);
            MakeEntry(directory / kind, kind);
            body(kind);
            Clear();
        }
    }

    TemporaryDirectory directory;
    std::string const from = directory / "from";
    std::string const to = directory / "to";
};

// A fixture with a file that contains "0123456789".
class OpenFileTest : public FileTest {
protected:
    OpenFileTest() { WriteWholeFile(name, "0123456789"); }

    std::string const name = directory / "file";
    std::string const on = On(name);
    FileLocation const file = At(name);
};
