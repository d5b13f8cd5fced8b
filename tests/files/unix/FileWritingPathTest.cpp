#include "files/unix/FileWritingPath.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

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
#include "tests/support/SmallFileSystem.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using testing::ElementsAre;

// Shows the fields.
class WritingPath : public UnixPlatform::FileWritingPath {
public:
    using FileWritingPath::descriptor;
    using FileWritingPath::location;
};

using Open = void (UnixPlatform::FileWritingPath::*)(UnixPlatform::FileLocation const&);

struct OpenMode {
    char const* name;
    Open open;
    char const* call;
    bool createsFiles;
};

using W = UnixPlatform::FileWritingPath;
constexpr OpenMode modes[] = {
    {"OpenExisting", &W::OpenExisting, "open RDWR", false},
    {"OpenExistingOrNew", &W::OpenExistingOrNew, "open RDWR|CREAT 666", true},
    {"OpenNew", &W::OpenNew, "open RDWR|CREAT|EXCL 666", true},
    {"OpenNewOrAsNew", &W::OpenNewOrAsNew, "open RDWR|CREAT|TRUNC 666", true},
};

class UnixFileWritingPathTest : public testing::Test {
protected:
    UnixFileWritingPathTest() { WriteWholeFile(name, "hello"); }

    void Put(int descriptor, char const* text) {
        ASSERT_EQ(write(descriptor, text, strlen(text)), static_cast<ssize_t>(strlen(text)));
    }

    TemporaryDirectory directory;
    std::string const name = directory / "file";
    std::string const newName = directory / "new";
    FileLocation const file = MakeFileLocation(name.c_str());
    FileLocation const newFile = MakeFileLocation(newName.c_str());
};

TEST_F(UnixFileWritingPathTest, EachModeOpensForReadingAndWritingAndClosesOnExec) {
    for (OpenMode const& mode : modes) {
        SCOPED_TRACE(mode.name);
        FileLocation const& where = mode.createsFiles ? newFile : file;
        WritingPath path;
        SystemCalls calls;
        (path.*mode.open)(where);
        EXPECT_THAT(calls.Log(), ElementsAre(mode.call, "setfd 1"));
        EXPECT_EQ(DescriptorsOn(where.Text()), std::set<int>{path.descriptor});
        EXPECT_EQ(OpenFlagsOf(path.descriptor) & O_ACCMODE, O_RDWR);
        EXPECT_TRUE(IsClosedOnExec(path.descriptor));
        std::filesystem::remove(newName);
    }
}

// Deliberate: see the contract.
TEST_F(UnixFileWritingPathTest, NoOpenRecordsTheLocation) {
    for (OpenMode const& mode : modes) {
        WritingPath path;
        (path.*mode.open)(mode.createsFiles ? newFile : file);
        EXPECT_STREQ(path.location.Text(), "") << mode.name;
        std::filesystem::remove(newName);
    }
}

TEST_F(UnixFileWritingPathTest, AnExistingFileIsKeptRefusedOrEmptied) {
    WritingPath path;
    path.OpenExisting(file);
    EXPECT_EQ(path.Length(), 5u);
    path.OpenExistingOrNew(file);
    EXPECT_EQ(path.Length(), 5u);
    ExpectFileError<FileExistsError>(EEXIST, On(name), [&] { path.OpenNew(file); });
    EXPECT_EQ(ReadWholeFile(name), "hello");
    path.OpenNewOrAsNew(file);
    EXPECT_EQ(path.Length(), 0u);
    EXPECT_EQ(ReadWholeFile(name), "");
}

TEST_F(UnixFileWritingPathTest, AMissingFileIsRefusedOrCreated) {
    WritingPath path;
    ExpectFileError<FileNotFoundError>(ENOENT, On(newName), [&] { path.OpenExisting(newFile); });
    for (OpenMode const& mode : modes)
        if (mode.createsFiles) {
            (path.*mode.open)(newFile);
            EXPECT_EQ(path.Length(), 0u) << mode.name;
            EXPECT_TRUE(std::filesystem::is_regular_file(newName)) << mode.name;
            std::filesystem::remove(newName);
        }
}

TEST_F(UnixFileWritingPathTest, ANewFileHasTheModeThatTheUmaskLeaves) {
    for (mode_t mask : {0, 022, 077, 0222}) {
        for (OpenMode const& mode : modes)
            if (mode.createsFiles) {
                WritingPath path;
                mode_t const before = umask(mask);
                (path.*mode.open)(newFile);
                umask(before);
                struct stat information;
                ASSERT_EQ(stat(newName.c_str(), &information), 0);
                EXPECT_EQ(information.st_mode & 07777, 0666 & ~mask) << mode.name;
                std::filesystem::remove(newName);
            }
    }
}

TEST_F(UnixFileWritingPathTest, ARealDirectoryCannotBeOpened) {
    FileLocation const here = MakeFileLocation(directory.path().c_str());
    for (OpenMode const& mode : modes) {
        WritingPath path;
        if (mode.open == &W::OpenNew)
            ExpectFileError<FileExistsError>(EEXIST, On(here.Text()),
                                             [&] { (path.*mode.open)(here); });
        else
            ExpectFileError<FileIOError>(EISDIR, On(here.Text()), [&] { (path.*mode.open)(here); });
    }
}

TEST_F(UnixFileWritingPathTest, EachOpenClosesWhatIsOpenFirst) {
    for (OpenMode const& mode : modes) {
        SCOPED_TRACE(mode.name);
        WritingPath path;
        path.OpenExisting(file);
        SystemCalls calls;
        (path.*mode.open)(mode.createsFiles ? newFile : file);
        EXPECT_THAT(calls.Log(), ElementsAre("close", mode.call, "setfd 1"));
        EXPECT_EQ(DescriptorsOn(name).size() + DescriptorsOn(newName).size(), 1u);
        std::filesystem::remove(newName);
    }
}

TEST_F(UnixFileWritingPathTest, AFailedOpenHasClosedWhatWasOpen) {
    WritingPath path;
    path.OpenExisting(file);
    EXPECT_THROW(path.OpenExisting(newFile), FileNotFoundError);
    EXPECT_EQ(path.descriptor, -1);
    EXPECT_TRUE(DescriptorsOn(name).empty());
}

TEST_F(UnixFileWritingPathTest, AFailedCloseStopsTheOpenAndNamesNoFile) {
    WritingPath path;
    path.OpenExisting(file);
    SystemCalls calls;
    calls.Fail("close", EIO);
    ExpectFileError<FileIOError>(EIO, "", [&] { path.OpenNew(newFile); });
    EXPECT_THAT(calls.Log(), ElementsAre("close"));
    EXPECT_EQ(path.descriptor, -1);
}

// Deliberate: the close is that of the base, which knows no full disk and no existing file.
TEST_F(UnixFileWritingPathTest, AFailedCloseGoesThroughTheReadingMapper) {
    WritingPath path;
    for (int error : {ENOSPC, EEXIST}) {
        path.OpenExisting(file);
        SystemCalls calls;
        calls.Fail("close", error);
        ExpectFileError<FileIOError>(error, "", [&] { path.Close(); });
    }
}

TEST_F(UnixFileWritingPathTest, FailuresToOpenGoThroughTheWritingMapper) {
    for (OpenMode const& mode : modes) {
        SCOPED_TRACE(mode.name);
        WritingPath path;
        SystemCalls calls;
        calls.Fail("open", ENOSPC);
        ExpectFileError<FileDiskFullError>(ENOSPC, On(name), [&] { (path.*mode.open)(file); });
        calls.Fail("open", EACCES);
        ExpectFileError<FilePermissionError>(EACCES, On(name), [&] { (path.*mode.open)(file); });
        calls.Fail("open", EINTR);
        ExpectFileError<FileIOError>(EINTR, On(name), [&] { (path.*mode.open)(file); });
        EXPECT_EQ(calls.Log().size(), 3u) << "an interrupted open is not taken up again";
        EXPECT_EQ(path.descriptor, -1);
    }
}

TEST_F(UnixFileWritingPathTest, TheKernelsLogIsNotRefusedHere) {
    WritingPath path;
    SystemCalls calls;
    calls.Fail("open", EIO);
    ExpectFileError<FileIOError>(EIO, On("/proc/kmsg"),
                                 [&] { path.OpenExisting(MakeFileLocation("/proc/kmsg")); });
    EXPECT_THAT(calls.Log(), ElementsAre("open RDWR"));
}

TEST_F(UnixFileWritingPathTest, IsReachedThroughTheVirtualOpenOfItsBase) {
    WritingPath path;
    static_cast<UnixPlatform::FileReadingPath&>(path).OpenExisting(file);
    EXPECT_EQ(OpenFlagsOf(path.descriptor) & O_ACCMODE, O_RDWR);
}

TEST_F(UnixFileWritingPathTest, FlushIsOneFsync) {
    WritingPath path;
    path.OpenExisting(file);
    SystemCalls calls;
    path.Flush();
    EXPECT_THAT(calls.Log(), ElementsAre("fsync"));
    path.FlushOnBrokenFilesystems();
    EXPECT_THAT(calls.Log(), ElementsAre("fsync", "fsync"));
}

TEST_F(UnixFileWritingPathTest, AFailedFlushNamesNoFile) {
    WritingPath path;
    path.OpenExisting(file);
    SystemCalls calls;
    calls.Fail("fsync", ENOSPC);
    ExpectFileError<FileDiskFullError>(ENOSPC, "", [&] { path.Flush(); });
    calls.Fail("fsync", EIO);
    ExpectFileError<FileIOError>(EIO, "", [&] { path.FlushOnBrokenFilesystems(); });
    calls.Fail("fsync", EINTR);
    ExpectFileError<FileIOError>(EINTR, "", [&] { path.Flush(); });
}

TEST_F(UnixFileWritingPathTest, FlushWithNothingOpenFails) {
    WritingPath const path;
    ExpectFileError<FileIOError>(EBADF, "", [&] { path.Flush(); });
}

TEST_F(UnixFileWritingPathTest, AFlushThatTheSystemCannotDoIsReported) {
    std::string const pipe = directory / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    WritingPath path;
    path.OpenExisting(MakeFileLocation(pipe.c_str()));
    ExpectFileError<FileIOError>(EINVAL, "", [&] { path.Flush(); });
}

TEST_F(UnixFileWritingPathTest, NeitherCloseNorTheDestructorFlushes) {
    auto path = std::make_unique<WritingPath>();
    path->OpenExisting(file);
    SystemCalls calls;
    path->Close();
    path->OpenExisting(file);
    path.reset();
    EXPECT_EQ(calls.Count("fsync"), 0u);
    EXPECT_EQ(calls.Count("close"), 2u);
}

TEST_F(UnixFileWritingPathTest, TheDestructorOfABaseSwallowsAFailedClose) {
    std::unique_ptr<UnixPlatform::FileReadingPath> path;
    {
        auto writing = std::make_unique<WritingPath>();
        writing->OpenExisting(file);
        close(writing->descriptor);
        path = std::move(writing);
    }
    EXPECT_NO_THROW(path.reset());
}

TEST_F(UnixFileWritingPathTest, LengthOfAClosedPathNamesNoFile) {
    WritingPath path;
    path.OpenExisting(file);
    path.Close();
    ExpectFileError<FileNotOpenError>(0, "", [&] { path.Length(); });
}

// All that SetLength does is odd, and deliberate: see the contract.

TEST_F(UnixFileWritingPathTest, SetLengthDoesNotShrinkAFile) {
    WritingPath path;
    path.OpenExisting(file);
    for (unsigned long long length : {0, 1, 2, 3, 4, 5}) {
        path.SetLength(length);
        EXPECT_EQ(ReadWholeFile(name), "hello") << length;
    }
    SystemCalls calls;
    path.SetLength(2);
    EXPECT_EQ(calls.Log().back(), "ftruncate 5");
    EXPECT_EQ(calls.Count("write"), 0u);
}

TEST_F(UnixFileWritingPathTest, SetLengthToOneWritesAZeroAtTheStart) {
    WritingPath path;
    path.OpenNew(newFile);
    SystemCalls calls;
    path.SetLength(1);
    EXPECT_THAT(calls.Log(), ElementsAre("seek 0 CUR", "seek 0 END", "seek 0 SET", // The length.
                                         "seek 0 SET", "write 1"));
    EXPECT_EQ(ReadWholeFile(newName), std::string(1, '\0'));
}

TEST_F(UnixFileWritingPathTest, SetLengthToTwoWritesAZeroAtThePresentPosition) {
    WriteWholeFile(name, "h");
    WritingPath path;
    path.OpenExisting(file);
    SystemCalls calls;
    path.SetLength(2);
    EXPECT_EQ(calls.Log()[3], "seek 0 CUR");
    EXPECT_EQ(ReadWholeFile(name), std::string(1, '\0'));
}

TEST_F(UnixFileWritingPathTest, SetLengthToThreeAppendsAZero) {
    WriteWholeFile(name, "h");
    WritingPath path;
    path.OpenExisting(file);
    SystemCalls calls;
    path.SetLength(3);
    EXPECT_EQ(calls.Log()[3], "seek 0 END");
    EXPECT_EQ(ReadWholeFile(name), std::string("h\0", 2));
}

TEST_F(UnixFileWritingPathTest, SetLengthToMoreIsAsARuleRefused) {
    WritingPath path;
    path.OpenExisting(file);
    for (unsigned long long length : {6ULL, 7ULL, 100ULL, 1ULL << 32}) {
        ExpectFileError<FileIOError>(EINVAL, "", [&] { path.SetLength(length); });
        EXPECT_EQ(ReadWholeFile(name), "hello") << length;
    }
}

TEST_F(UnixFileWritingPathTest, TheLengthOfSetLengthIsCutTo32Bits) {
    WritingPath path;
    path.OpenExisting(file);
    path.SetLength((1ULL << 32) + 1);
    EXPECT_EQ(ReadWholeFile(name), std::string("\0ello", 5));
    path.SetLength((1ULL << 32) + 3);
    EXPECT_EQ(ReadWholeFile(name), std::string("\0ello\0", 6));
}

TEST_F(UnixFileWritingPathTest, SetLengthRepeatsUntilTheByteIsTaken) {
    WritingPath path;
    path.OpenNew(newFile);
    SystemCalls calls;
    calls.Limit("write", 0);
    calls.Limit("write", 0);
    path.SetLength(1);
    EXPECT_EQ(calls.Count("write 1"), 3u);
    EXPECT_EQ(ReadWholeFile(newName), std::string(1, '\0'));
}

TEST_F(UnixFileWritingPathTest, FailuresOfSetLengthGoThroughTheWritingMapper) {
    WritingPath path;
    path.OpenNew(newFile);
    SystemCalls calls;
    calls.Fail("write", ENOSPC);
    ExpectFileError<FileDiskFullError>(ENOSPC, "", [&] { path.SetLength(1); });
    calls.Fail("write", EINTR);
    ExpectFileError<FileIOError>(EINTR, "", [&] { path.SetLength(1); });
    calls.Fail("ftruncate", EPERM);
    ExpectFileError<FilePermissionError>(EPERM, "", [&] { path.SetLength(0); });
    path.Close();
    ExpectFileError<FileNotOpenError>(0, "", [&] { path.SetLength(1); });
}

TEST_F(UnixFileWritingPathTest, SetLengthOnAnUnknownLengthIsRefused) {
    // This file tells no length, and its owner may open it for writing without any effect.
    WritingPath path;
    path.OpenExisting(MakeFileLocation("/proc/self/timerslack_ns"));
    EXPECT_EQ(path.Length(), UnixPlatform::FileReadingPath::unknownLength);
    SystemCalls calls;
    ExpectExactly<FileIOError>([&] { path.SetLength(1); });
    EXPECT_THAT(calls.Log(), ElementsAre("ftruncate -1"));
}

TEST_F(UnixFileWritingPathTest, AFullDiskIsReportedByTheWritersOnly) {
    PrivateMachine::Run([&] {
        SmallFileSystem disk(directory / "disk", {.bytes = 4096});
        disk.FillUp();
        WritingPath path;
        path.OpenNew(MakeFileLocation((disk / "file").c_str()));
        ExpectFileError<FileDiskFullError>(ENOSPC, "", [&] { path.SetLength(1); });
    });
}

TEST_F(UnixFileWritingPathTest, AFileSystemWithoutRoomForAFileIsAFullDisk) {
    PrivateMachine::Run([&] {
        SmallFileSystem disk(directory / "disk", {.inodes = 1});
        FileLocation const where = MakeFileLocation((disk / "file").c_str());
        WritingPath path;
        ExpectFileError<FileDiskFullError>(ENOSPC, On(where.Text()), [&] { path.OpenNew(where); });
    });
}

TEST_F(UnixFileWritingPathTest, TheMapperTakesZeroForSuccess) {
    WritingPath const path;
    EXPECT_NO_THROW(path.ThrowError(file, 0));
    ExpectFileError<FileExistsError>(EEXIST, On(name), [&] { path.ThrowError(file, EEXIST); });
    ExpectFileError<FileIOError>(EINVAL, On(name), [&] { path.ThrowError(file, EINVAL); });
}

} // namespace
