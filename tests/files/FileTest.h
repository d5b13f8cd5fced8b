// What most tests of the file layer need: its headers, and a directory to work in.
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

// Runs the body with a file system of its own, open to everybody, in a sandbox.
inline void OnDisk(SmallFileSystemOptions const& options,
                   std::function<void(SmallFileSystem&)> const& body) {
    Sandbox::Run([&] {
        SmallFileSystem disk("/opt/disk", options);
        body(disk);
    });
}

// Runs the body in a sandbox whose /tmp is empty, and removed at the end.
inline void WithEmptyTmp(std::function<void()> const& body) {
    Sandbox::Run({.emptyPlaces = {"/tmp"}}, body);
}

// Expects that each error number of a failing call reaches the mapper, once and unchanged: what the
// operation throws then is what the mapper throws. A retry of an interrupted call would not throw.
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

    // Expects that the operation throws the error on the entry, and changes nothing.
    void ExpectRefused(std::string const& error, std::string const& name,
                       std::function<void(FileLocation const&)> const& operation) const {
        Tree const before = Everything();
        EXPECT_EQ(error + On(directory / name), Thrown([&] { operation(Here(name)); }));
        EXPECT_EQ(Everything(), before);
    }

    // Removes all that the directory holds.
    void Clear() const {
        for (auto const& entry : fs::directory_iterator(directory.path()))
            fs::remove_all(entry.path());
    }

    // Runs the body for each kind, with an entry of that kind, named after it, in the directory.
    // The directory is empty afterwards.
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

// With a file that holds "0123456789".
class OpenFileTest : public FileTest {
protected:
    OpenFileTest() { WriteWholeFile(name, "0123456789"); }

    std::string const name = directory / "file";
    std::string const on = On(name);
    FileLocation const file = At(name);
};
