#include "files/unix/FileWriter.h"

#include <cerrno>
#include <random>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/unix/FileWritingPath.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/Files.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using testing::ElementsAre;

class WriterPath : public UnixPlatform::FileWritingPath {
public:
    using FileWritingPath::descriptor;
};

class UnixFileWriterTest : public testing::Test {
protected:
    UnixFileWriterTest() { path.OpenNew(MakeFileLocation(name.c_str())); }

    TemporaryDirectory directory;
    std::string const name = directory / "file";
    WriterPath path;
};

TEST_F(UnixFileWriterTest, WritesAtItsPositionAndMovesIt) {
    UnixPlatform::FileWriter writer(path, 2);
    EXPECT_EQ(writer.Position(), 2u);
    SystemCalls calls;
    writer << ConstData("abc") << ConstData("d");
    EXPECT_THAT(calls.Log(), ElementsAre("seek 2 SET", "write 3", "seek 5 SET", "write 1"));
    EXPECT_EQ(writer.Position(), 6u);
    EXPECT_EQ(ReadWholeFile(name), Bytes("\0\0abcd"));
}

TEST_F(UnixFileWriterTest, StartBindsItAnew) {
    UnixPlatform::FileWriter writer;
    EXPECT_EQ(writer.Position(), 0u);
    writer.Start(path, 0);
    writer << ConstData("abcd");
    writer.Start(path, 1);
    EXPECT_EQ(writer.Position(), 1u);
    writer << ConstData("X");
    EXPECT_EQ(ReadWholeFile(name), "aXcd");
    writer.SetPosition(3);
    writer << ConstData("YZ");
    EXPECT_EQ(ReadWholeFile(name), "aXcYZ");
    EXPECT_EQ(writer.Position(), 5u);
}

TEST_F(UnixFileWriterTest, StartAsksTheSystemNothing) {
    path.Close();
    SystemCalls calls;
    UnixPlatform::FileWriter writer(path, 7);
    writer.Start(path, 8);
    EXPECT_THAT(calls.Log(), ElementsAre());
}

TEST_F(UnixFileWriterTest, EmptyDataIsLeftAlone) {
    UnixPlatform::FileWriter writer(path, 100);
    SystemCalls calls;
    writer << ConstData() << ConstData("");
    EXPECT_THAT(calls.Log(), ElementsAre());
    EXPECT_EQ(writer.Position(), 100u);
}

TEST_F(UnixFileWriterTest, ContinuesShortWritesWithASeekBeforeEach) {
    UnixPlatform::FileWriter writer(path, 1);
    SystemCalls calls;
    calls.Limit("write", 3);
    calls.Limit("write", 0);
    calls.Limit("write", 1);
    writer << ConstData("0123456789");
    EXPECT_THAT(calls.Log(), ElementsAre("seek 1 SET", "write 10", "seek 4 SET", "write 7",
                                         "seek 4 SET", "write 7", "seek 5 SET", "write 6"));
    EXPECT_EQ(ReadWholeFile(name), Bytes("\0"
                                         "0123456789"));
    EXPECT_EQ(writer.Position(), 11u);
}

TEST_F(UnixFileWriterTest, APositionCountsWhatWasWrittenBeforeAFailure) {
    for (int error : {EIO, EINTR, EBADF}) {
        UnixPlatform::FileWriter writer(path, 0);
        SystemCalls calls;
        calls.Limit("write", 4);
        calls.Fail("write", error);
        ExpectFileError<FileIOError>(error, "", [&] { writer << ConstData("0123456789"); });
        EXPECT_EQ(writer.Position(), 4u);
        EXPECT_EQ(calls.Count("write"), 2u) << "no interrupted write is taken up again";
        EXPECT_EQ(ReadWholeFile(name), "0123");
    }
}

TEST_F(UnixFileWriterTest, APositionThatIsNoneIsASeekError) {
    UnixPlatform::FileWriter writer(path, ~0ULL);
    ExpectFileError<FileSeekError>(EINVAL, "", [&] { writer << ConstData("a"); });
    EXPECT_EQ(writer.Position(), ~0ULL);
}

TEST_F(UnixFileWriterTest, APipeCannotBeWrittenSinceItHasNoPosition) {
    std::string const pipe = directory / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    path.OpenExisting(MakeFileLocation(pipe.c_str()));
    UnixPlatform::FileWriter writer(path, 0);
    ExpectFileError<FileIOError>(ESPIPE, "", [&] { writer << ConstData("a"); });
}

TEST_F(UnixFileWriterTest, AFullDeviceNamesNoFile) {
    path.OpenExisting(MakeFileLocation("/dev/full"));
    UnixPlatform::FileWriter writer(path, 0);
    ExpectFileError<FileDiskFullError>(ENOSPC, "", [&] { writer << ConstData("a"); });
    EXPECT_EQ(writer.Position(), 0u);
}

TEST_F(UnixFileWriterTest, ADescriptorClosedBehindItsBackIsAFailure) {
    UnixPlatform::FileWriter writer(path, 0);
    close(path.descriptor);
    ExpectFileError<FileIOError>(EBADF, "", [&] { writer << ConstData("a"); });
    EXPECT_THROW(path.Close(), FileIOError);
    ExpectFileError<FileIOError>(EBADF, "", [&] { writer << ConstData("a"); });
}

TEST_F(UnixFileWriterTest, WhatFitsOnAFullDiskIsWrittenAndCounted) {
    PrivateMachine::Run([&] {
        SmallFileSystem disk(directory / "disk", {.bytes = 2 * 4096});
        path.OpenNew(MakeFileLocation((disk / "file").c_str()));
        UnixPlatform::FileWriter writer(path, 0);
        std::string const text(3 * 4096, 'x');
        ExpectFileError<FileDiskFullError>(ENOSPC, "", [&] { writer << ConstData(text); });
        EXPECT_EQ(writer.Position(), 2u * 4096);
        EXPECT_EQ(ReadWholeFile(disk / "file"), text.substr(0, 2 * 4096));
    });
}

TEST_F(UnixFileWriterTest, AnyCuttingsAndShortWritesGiveTheSameFile) {
    for (unsigned seed = 0; seed < 50; ++seed) {
        std::mt19937 random(seed);
        std::string const text = RandomBytes(random, 1 + random() % 300, EveryByte());
        path.OpenNewOrAsNew(MakeFileLocation(name.c_str()));
        UnixPlatform::FileWriter writer(path, 0);
        SystemCalls calls;
        for (unsigned i = 0; i < 20; ++i)
            calls.Limit("write", random() % 20, random() % 3);
        for (std::size_t done = 0; done < text.size();) {
            std::size_t const length = std::min<std::size_t>(random() % 50, text.size() - done);
            writer << ConstData(text.data() + done, length);
            done += length;
        }
        EXPECT_TRUE(ReadWholeFile(name) == text) << "seed " << seed;
    }
}

TEST_F(UnixFileWriterTest, WritingAllocatesNothing) {
    std::string const text(100'000, 'x');
    UnixPlatform::FileWriter writer(path, 0);
    EXPECT_EQ(AllocationsOf([&] { writer << ConstData(text) << ConstData("abc"); }), 0u);
    EXPECT_EQ(writer.Position(), 100'003u);
}

TEST_F(UnixFileWriterTest, TheMapperTakesZeroForSuccess) {
    UnixPlatform::FileWriter const writer;
    FileLocation const where = MakeFileLocation("/x");
    EXPECT_NO_THROW(writer.ThrowError(where, 0));
    ExpectFileError<FileNotFoundError>(ENOENT, On("/x"), [&] { writer.ThrowError(where, ENOENT); });
    ExpectFileError<FileIOError>(90, On("/x"), [&] { writer.ThrowError(where, 90); });
}

} // namespace
