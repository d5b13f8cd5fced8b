#include "files/FileReadingPath.h"

#include <cerrno>
#include <string>

#include <gtest/gtest.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/Files.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

// What an open file does is tested with its platform form; here is what this level adds.
class FileReadingPathTest : public testing::Test {
protected:
    FileReadingPathTest() { WriteWholeFile(name, "hello"); }

    TemporaryDirectory directory;
    std::string const name = directory / "file";
    FileLocation const file = MakeFileLocation(name.c_str());
};

TEST_F(FileReadingPathTest, AddsNoField) {
    EXPECT_EQ(sizeof(FileReadingPath), sizeof(UnixPlatform::FileReadingPath));
}

TEST_F(FileReadingPathTest, TheConstructorOpens) {
    FileReadingPath const path(file);
    EXPECT_EQ(path.Length(), 5u);
    EXPECT_EQ(DescriptorsOn(name).size(), 1u);
}

TEST_F(FileReadingPathTest, OpensALocationOfEitherLevel) {
    FileReadingPath path;
    path.OpenExisting(file);
    EXPECT_EQ(path.Length(), 5u);
    path.Close();
    path.OpenExisting(static_cast<UnixPlatform::FileLocation const&>(file));
    EXPECT_EQ(path.Length(), 5u);
}

TEST_F(FileReadingPathTest, FailuresNameTheFile) {
    FileLocation const missing = MakeFileLocation((directory / "missing").c_str());
    ExpectFileError<FileNotFoundError>(ENOENT, On(missing.Text()),
                                       [&] { FileReadingPath path(missing); });
    FileReadingPath path(file);
    path.Close();
    ExpectFileError<FileNotOpenError>(0, On(name), [&] { path.Length(); });
}

TEST_F(FileReadingPathTest, TheKernelsLogIsRefused) {
    ExpectFileError<FileIOError>(0, On("/proc/kmsg"),
                                 [&] { FileReadingPath path(MakeFileLocation("/proc/kmsg")); });
}

} // namespace
