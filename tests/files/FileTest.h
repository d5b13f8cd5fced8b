// The common includes of the tests of the file layer, and fixtures with a directory.
#pragma once

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <string>
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

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using Strings = std::vector<std::string>;

inline FileLocation At(std::string const& path) { return MakeFileLocation(path.c_str()); }

inline std::string Text(UnixPlatform::FileLocation const& location) { return location.Text(); }

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

// Expects that the operation maps each error number of a failing call once and unchanged: it throws
// the exception that the mapper throws. A retry of an interrupted call would not throw.
inline void ExpectMapped(std::string const& call, std::function<void()> const& operation,
                         std::function<void(int)> const& mapper, std::size_t skip = 0) {
    for (int error = 1; error <= EHWPOISON; ++error) {
        SystemCalls calls;
        calls.Fail(call, error, skip);
        EXPECT_EQ(Thrown([&] { mapper(error); }), Thrown(operation)) << call << ' ' << error;
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
};

// A fixture with a file that contains "0123456789".
class OpenFileTest : public FileTest {
protected:
    OpenFileTest() { WriteWholeFile(name, "0123456789"); }

    std::string const name = directory / "file";
    std::string const on = On(name);
    FileLocation const file = At(name);
};
