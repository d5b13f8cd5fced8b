#include "files/FileWritingPath.h"

#include <cerrno>
#include <string>
#include <type_traits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/Files.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using testing::ElementsAre;

// What an open file does is tested with its platform form; here is what this level adds.
class FileWritingPathTest : public testing::Test {
protected:
    FileWritingPathTest() { WriteWholeFile(name, "hello"); }

    // What the opening of a file asks of the system.
    template <class... Tag>
    std::string CallOf(Tag... tag) {
        SystemCalls calls;
        FileWritingPath const path(newFile, tag...);
        return calls.Log().front();
    }

    TemporaryDirectory directory;
    std::string const name = directory / "file";
    FileLocation const file = MakeFileLocation(name.c_str());
    FileLocation const newFile = MakeFileLocation((directory / "new").c_str());
};

TEST_F(FileWritingPathTest, AddsNoField) {
    EXPECT_EQ(sizeof(FileWritingPath), sizeof(UnixPlatform::FileReadingPath));
    EXPECT_TRUE((std::is_base_of_v<UnixPlatform::FileWritingPath, FileWritingPath>));
}

TEST_F(FileWritingPathTest, TheTagChoosesHowTheConstructorOpens) {
    EXPECT_EQ(CallOf(FileWritingPath::OpenNewFile()), "open RDWR|CREAT|EXCL 666");
    EXPECT_EQ(CallOf(), "open RDWR");
    EXPECT_EQ(CallOf(FileWritingPath::OpenExistingFile()), "open RDWR");
    EXPECT_EQ(CallOf(FileWritingPath::OpenExistingFileOrNewFile()), "open RDWR|CREAT 666");
    EXPECT_EQ(CallOf(FileWritingPath::OpenNewFileOrAsNewFile()), "open RDWR|CREAT|TRUNC 666");
}

TEST_F(FileWritingPathTest, TheTagsAreEmpty) {
    EXPECT_TRUE(std::is_empty_v<FileWritingPath::OpenExistingFile>);
    EXPECT_TRUE(std::is_empty_v<FileWritingPath::OpenExistingFileOrNewFile>);
    EXPECT_TRUE(std::is_empty_v<FileWritingPath::OpenNewFile>);
    EXPECT_TRUE(std::is_empty_v<FileWritingPath::OpenNewFileOrAsNewFile>);
}

TEST_F(FileWritingPathTest, EachOpenIsThatOfItsName) {
    FileWritingPath path;
    SystemCalls calls;
    path.OpenNew(newFile);
    path.OpenExisting(newFile);
    path.OpenExistingOrNew(newFile);
    path.OpenNewOrAsNew(newFile);
    EXPECT_THAT(calls.Log(),
                ElementsAre("open RDWR|CREAT|EXCL 666", "setfd 1", "close", "open RDWR", "setfd 1",
                            "close", "open RDWR|CREAT 666", "setfd 1", "close",
                            "open RDWR|CREAT|TRUNC 666", "setfd 1"));
}

TEST_F(FileWritingPathTest, OpensALocationOfEitherLevel) {
    UnixPlatform::FileLocation const& where = newFile;
    FileWritingPath path;
    path.OpenNew(where);
    path.OpenExisting(where);
    path.OpenExistingOrNew(where);
    path.OpenNewOrAsNew(where);
    EXPECT_EQ(path.Length(), 0u);
}

TEST_F(FileWritingPathTest, OpenNewOnAnExistingFileNamesIt) {
    ExpectFileError<FileExistsError>(
        EEXIST, On(name), [&] { FileWritingPath path(file, FileWritingPath::OpenNewFile()); });
    EXPECT_EQ(ReadWholeFile(name), "hello");
}

// Deliberate: only the open itself knows the name.
TEST_F(FileWritingPathTest, AMissingFileIsNamedButAFailedFlushNamesNone) {
    FileWritingPath path;
    ExpectFileError<FileNotFoundError>(ENOENT, On(newFile.Text()),
                                       [&] { path.OpenExisting(newFile); });
    ExpectFileError<FileIOError>(EBADF, "", [&] { path.Flush(); });
}

} // namespace
