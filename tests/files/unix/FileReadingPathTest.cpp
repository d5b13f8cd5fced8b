#include "files/unix/FileReadingPath.h"

#include <cerrno>
#include <memory>
#include <string>
#include <type_traits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/Files.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/VirtualSlot.h"

namespace {

using testing::ElementsAre;

constexpr unsigned long long unknownLength = 0xFFFF'FFFF'FFFF'FFFF;

// Shows the fields.
class ReadingPath : public UnixPlatform::FileReadingPath {
public:
    using FileReadingPath::descriptor;
    using FileReadingPath::FileReadingPath;
    using FileReadingPath::lengthUnknown;
    using FileReadingPath::location;
};

class UnixFileReadingPathTest : public testing::Test {
protected:
    UnixFileReadingPathTest() { WriteWholeFile(name, "hello"); }

    TemporaryDirectory directory;
    std::string const name = directory / "file";
    FileLocation const file = MakeFileLocation(name.c_str());
    FileLocation const missing = MakeFileLocation((directory / "missing").c_str());
};

TEST_F(UnixFileReadingPathTest, HasNothingOpenAtFirst) {
    ReadingPath const path;
    EXPECT_EQ(path.descriptor, -1);
    EXPECT_FALSE(path.lengthUnknown);
    EXPECT_STREQ(path.location.Text(), "");
}

TEST_F(UnixFileReadingPathTest, IsNotCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<UnixPlatform::FileReadingPath>);
    EXPECT_FALSE(std::is_copy_assignable_v<UnixPlatform::FileReadingPath>);
}

TEST_F(UnixFileReadingPathTest, OpensForReadingOnlyAndClosesOnExec) {
    ReadingPath path;
    SystemCalls calls;
    path.OpenExisting(file);
    EXPECT_THAT(calls.Log(), ElementsAre("open RDONLY", "setfd 1"));
    EXPECT_EQ(DescriptorsOn(name), std::set<int>{path.descriptor});
    EXPECT_EQ(OpenFlagsOf(path.descriptor) & O_ACCMODE, O_RDONLY);
    EXPECT_TRUE(IsClosedOnExec(path.descriptor));
    EXPECT_STREQ(path.location.Text(), name.c_str());
}

TEST_F(UnixFileReadingPathTest, TheConstructorOpens) {
    ReadingPath const path(file);
    EXPECT_EQ(DescriptorsOn(name), std::set<int>{path.descriptor});
    EXPECT_EQ(path.Length(), 5u);
}

TEST_F(UnixFileReadingPathTest, DoesNotLookAtTheResultOfTheCloseOnExecMark) {
    ReadingPath path;
    SystemCalls calls;
    calls.Fail("setfd", EPERM);
    path.OpenExisting(file);
    EXPECT_EQ(path.Length(), 5u);
}

TEST_F(UnixFileReadingPathTest, OpensAreVirtual) {
    struct Counting : UnixPlatform::FileReadingPath {
        void OpenExisting(UnixPlatform::FileLocation const&) override { ++opens; }
        int opens = 0;
    } path;
    static_cast<UnixPlatform::FileReadingPath&>(path).OpenExisting(file);
    EXPECT_EQ(path.opens, 1);
}

// The first two slots are the destructor's.
TEST_F(UnixFileReadingPathTest, OnlyOpeningStandsBehindTheDestructor) {
    using UnixPlatform::FileReadingPath;
    EXPECT_EQ(SlotOf(&FileReadingPath::OpenExisting), 2u);
    EXPECT_EQ(SlotOf(&FileReadingPath::Length), notVirtual);
    EXPECT_EQ(SlotOf(&FileReadingPath::Close), notVirtual);
    EXPECT_EQ(SlotOf(&FileReadingPath::ThrowError), notVirtual);
}

TEST_F(UnixFileReadingPathTest, AFailedOpenNamesTheFileAndLeavesNothingOpen) {
    ReadingPath path;
    ExpectFileError<FileNotFoundError>(ENOENT, On(missing.Text()),
                                       [&] { path.OpenExisting(missing); });
    EXPECT_EQ(path.descriptor, -1);
    EXPECT_STREQ(path.location.Text(), missing.Text());
    ExpectFileError<FileNotFoundError>(ENOENT, On(missing.Text()),
                                       [&] { ReadingPath other(missing); });
}

TEST_F(UnixFileReadingPathTest, FailuresToOpenGoThroughTheReadingMapper) {
    for (int error : {EACCES, EPERM}) {
        SystemCalls calls;
        calls.Fail("open", error);
        ExpectFileError<FilePermissionError>(error, On(name), [&] { ReadingPath path(file); });
    }
    SystemCalls calls;
    calls.Fail("open", EMFILE);
    ExpectFileError<FileResourceError>(EMFILE, On(name), [&] { ReadingPath path(file); });
    calls.Fail("open", EEXIST); // Only the writers know this one.
    ExpectFileError<FileIOError>(EEXIST, On(name), [&] { ReadingPath path(file); });
    calls.Fail("open", EINTR);
    ExpectFileError<FileIOError>(EINTR, On(name), [&] { ReadingPath path(file); });
    EXPECT_EQ(calls.Count("open"), 3u) << "an interrupted open is not taken up again";
}

TEST_F(UnixFileReadingPathTest, AFileOutOfReachIsAPermissionError) {
    PrivateMachine::Run([&] {
        chmod(directory.path().c_str(), 0755);
        chmod(name.c_str(), 0);
        PrivateMachine::DropPrivileges();
        ExpectFileError<FilePermissionError>(EACCES, On(name), [&] { ReadingPath path(file); });
    });
}

TEST_F(UnixFileReadingPathTest, AnEmptyLocationIsAMissingFile) {
    ExpectFileError<FileNotFoundError>(ENOENT, "", [&] { ReadingPath path{FileLocation()}; });
}

TEST_F(UnixFileReadingPathTest, APathThroughAFileIsAMissingDirectory) {
    FileLocation const through = file.Relative("below");
    ExpectFileError<DirectoryNotFoundError>(ENOTDIR, On(through.Text()),
                                            [&] { ReadingPath path(through); });
}

TEST_F(UnixFileReadingPathTest, TheKernelsLogIsRefusedInAnyCaseWithoutAnOpen) {
    for (char const* text : {"/proc/kmsg", "/PROC/KMSG", "/Proc/kMsg", "/proc/kmsg/"}) {
        ReadingPath path;
        SystemCalls calls;
        FileLocation const where = MakeFileLocation(text);
        ExpectFileError<FileIOError>(0, On(where.Text()), [&] { path.OpenExisting(where); });
        EXPECT_THAT(calls.Log(), ElementsAre());
        EXPECT_EQ(path.descriptor, -1);
        EXPECT_STREQ(path.location.Text(), where.Text());
        ExpectFileError<FileIOError>(0, On(where.Text()), [&] { ReadingPath other(where); });
    }
}

TEST_F(UnixFileReadingPathTest, OnlyTheExactTextOfTheKernelsLogIsRefused) {
    for (char const* text :
         {"//proc/kmsg", "/proc/./kmsg", "/proc/kmsg2", "/proc/kms", "proc/kmsg"}) {
        ReadingPath path;
        SystemCalls calls;
        calls.Fail("open", EIO); // So that the real one is not opened either.
        ExpectFileError<FileIOError>(EIO, On(text),
                                     [&] { path.OpenExisting(MakeFileLocation(text)); });
        EXPECT_THAT(calls.Log(), ElementsAre("open RDONLY"));
    }
}

TEST_F(UnixFileReadingPathTest, ARefusedKernelLogLeavesWhatIsOpen) {
    ReadingPath path(file);
    ExpectExactly<FileIOError>([&] { path.OpenExisting(MakeFileLocation("/proc/kmsg")); });
    EXPECT_EQ(path.Length(), 5u);
}

// Deliberate: see the contract.
TEST_F(UnixFileReadingPathTest, ASecondOpenLosesTheFirstDescriptor) {
    ReadingPath path(file);
    int const first = path.descriptor;
    SystemCalls calls;
    path.OpenExisting(file);
    EXPECT_EQ(calls.Count("close"), 0u);
    EXPECT_NE(path.descriptor, first);
    EXPECT_EQ(DescriptorsOn(name), (std::set<int>{first, path.descriptor}));
    path.Close();
    EXPECT_EQ(DescriptorsOn(name), std::set<int>{first});
    close(first);
}

TEST_F(UnixFileReadingPathTest, AFailedSecondOpenLosesTheFirstDescriptorToo) {
    ReadingPath path(file);
    int const first = path.descriptor;
    EXPECT_THROW(path.OpenExisting(missing), FileNotFoundError);
    EXPECT_EQ(path.descriptor, -1);
    EXPECT_EQ(DescriptorsOn(name), std::set<int>{first});
    close(first);
}

TEST_F(UnixFileReadingPathTest, LengthAsksAnewAndKeepsThePosition) {
    ReadingPath const path(file);
    lseek(path.descriptor, 3, SEEK_SET);
    {
        SystemCalls calls;
        EXPECT_EQ(path.Length(), 5u);
        EXPECT_THAT(calls.Log(), ElementsAre("seek 0 CUR", "seek 0 END", "seek 3 SET"));
    }
    EXPECT_EQ(lseek(path.descriptor, 0, SEEK_CUR), 3);
    WriteWholeFile(name, "hello, world");
    EXPECT_EQ(path.Length(), 12u);
    EXPECT_EQ(truncate(name.c_str(), 1), 0);
    EXPECT_EQ(path.Length(), 1u);
    EXPECT_EQ(truncate(name.c_str(), 1LL << 33), 0);
    EXPECT_EQ(path.Length(), 1ULL << 33);
}

TEST_F(UnixFileReadingPathTest, LengthOfAClosedPathNamesTheLastLocation) {
    ReadingPath path;
    ExpectFileError<FileNotOpenError>(0, "", [&] { path.Length(); });
    path.OpenExisting(file);
    path.Close();
    SystemCalls calls;
    ExpectFileError<FileNotOpenError>(0, On(name), [&] { path.Length(); });
    EXPECT_THAT(calls.Log(), ElementsAre());
}

TEST_F(UnixFileReadingPathTest, AFileThatRefusesToSeekToItsEndHasAnUnknownLength) {
    ReadingPath path(MakeFileLocation("/proc/self/status"));
    lseek(path.descriptor, 7, SEEK_SET);
    {
        SystemCalls calls;
        EXPECT_EQ(path.Length(), unknownLength);
        EXPECT_THAT(calls.Log(), ElementsAre("seek 0 CUR", "seek 0 END"));
        calls.Clear();
        EXPECT_EQ(path.Length(), unknownLength);
        EXPECT_THAT(calls.Log(), ElementsAre()) << "the second time nobody is asked";
    }
    EXPECT_TRUE(path.lengthUnknown);
    EXPECT_EQ(lseek(path.descriptor, 0, SEEK_CUR), 7);
    static_assert(UnixPlatform::FileReadingPath::unknownLength == unknownLength);
}

TEST_F(UnixFileReadingPathTest, AnUnknownLengthStaysUnknown) {
    ReadingPath path(MakeFileLocation("/proc/self/status"));
    EXPECT_EQ(path.Length(), unknownLength);
    path.Close();
    EXPECT_EQ(path.Length(), unknownLength) << "also with nothing open";
    path.OpenExisting(file);
    EXPECT_EQ(path.Length(), unknownLength) << "also with another file";
}

TEST_F(UnixFileReadingPathTest, WhatElseFailsInLengthGoesToTheMapper) {
    ReadingPath const path(file);
    for (std::size_t step = 0; step < 3; ++step) {
        SystemCalls calls;
        calls.Fail("seek", EIO, step);
        ExpectFileError<FileIOError>(EIO, On(name), [&] { path.Length(); });
        EXPECT_EQ(calls.Log().size(), step + 1);
    }
    EXPECT_FALSE(path.lengthUnknown);
}

TEST_F(UnixFileReadingPathTest, NoErrorButEINVALMakesALengthUnknown) {
    ReadingPath const path(file);
    for (int error = 1; error <= EHWPOISON; ++error) {
        if (error == EINVAL)
            continue;
        SystemCalls calls;
        calls.Fail("seek", error, 1);
        EXPECT_THROW(path.Length(), FileIOError) << error;
        EXPECT_FALSE(path.lengthUnknown) << error;
    }
    EXPECT_EQ(path.Length(), 5u);
}

TEST_F(UnixFileReadingPathTest, OnlyTheSeekToTheEndCanTellThatALengthIsUnknown) {
    ReadingPath const path(file);
    for (std::size_t step : {0, 2}) {
        SystemCalls calls;
        calls.Fail("seek", EINVAL, step);
        ExpectFileError<FileIOError>(EINVAL, On(name), [&] { path.Length(); });
    }
    EXPECT_EQ(path.Length(), 5u);
}

TEST_F(UnixFileReadingPathTest, APipeHasNoLength) {
    std::string const pipe = directory / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    int const other = open(pipe.c_str(), O_RDWR);
    ReadingPath const path(MakeFileLocation(pipe.c_str()));
    ExpectFileError<FileIOError>(ESPIPE, On(pipe), [&] { path.Length(); });
    close(other);
}

TEST_F(UnixFileReadingPathTest, CloseGivesTheDescriptorBack) {
    ReadingPath path(file);
    path.Close();
    EXPECT_EQ(path.descriptor, -1);
    EXPECT_TRUE(DescriptorsOn(name).empty());
}

TEST_F(UnixFileReadingPathTest, ClosingTwiceIsHarmless) {
    ReadingPath path(file);
    path.Close();
    SystemCalls calls;
    path.Close();
    EXPECT_THAT(calls.Log(), ElementsAre());
}

TEST_F(UnixFileReadingPathTest, AFailedCloseIsReportedAndTheDescriptorIsGone) {
    ReadingPath path(file);
    close(path.descriptor);
    ExpectFileError<FileIOError>(EBADF, On(name), [&] { path.Close(); });
    EXPECT_EQ(path.descriptor, -1);
    path.Close();

    path.OpenExisting(file);
    SystemCalls calls;
    calls.Fail("close", EACCES);
    ExpectFileError<FilePermissionError>(EACCES, On(name), [&] { path.Close(); });
    EXPECT_EQ(path.descriptor, -1);
}

TEST_F(UnixFileReadingPathTest, TheDestructorCloses) {
    { ReadingPath const path(file); }
    EXPECT_TRUE(DescriptorsOn(name).empty());
    SystemCalls calls;
    { ReadingPath const path; }
    EXPECT_THAT(calls.Log(), ElementsAre()) << "nothing is open";
}

TEST_F(UnixFileReadingPathTest, TheDestructorSwallowsAFailedClose) {
    auto path = std::make_unique<ReadingPath>(file);
    close(path->descriptor);
    EXPECT_NO_THROW(path.reset());
    auto another = std::make_unique<ReadingPath>(file);
    SystemCalls calls;
    calls.Fail("close", EIO);
    EXPECT_NO_THROW(another.reset());
    EXPECT_THAT(calls.Log(), ElementsAre("close"));
}

TEST_F(UnixFileReadingPathTest, TheMapperTakesZeroForSuccess) {
    ReadingPath const path;
    EXPECT_NO_THROW(path.ThrowError(file, 0));
    ExpectFileError<FileLockError>(EAGAIN, On(name), [&] { path.ThrowError(file, EAGAIN); });
    ExpectFileError<FileIOError>(ENOSPC, On(name), [&] { path.ThrowError(file, ENOSPC); });
    ExpectFileError<FileIOError>(EINVAL, On(name), [&] { path.ThrowError(file, EINVAL); });
}

} // namespace
