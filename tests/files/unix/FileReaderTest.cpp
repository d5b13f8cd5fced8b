#include "files/unix/FileReader.h"

#include <cerrno>
#include <cstring>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include "data/Buffer.h"
#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/unix/FileReadingPath.h"
#include "files/unix/FileWritingPath.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/Files.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using testing::ElementsAre;

class Path : public UnixPlatform::FileReadingPath {
public:
    using FileReadingPath::descriptor;
    using FileReadingPath::FileReadingPath;
};

class UnixFileReaderTest : public testing::Test {
protected:
    UnixFileReaderTest() {
        WriteWholeFile(name, "0123456789");
        path.OpenExisting(MakeFileLocation(name.c_str()));
        reader.Start(path, 0);
    }

    // A file whose length nobody knows.
    void OpenStatus(unsigned long long position) {
        status.OpenExisting(MakeFileLocation("/proc/self/status"));
        reader.Start(status, position);
    }

    TemporaryDirectory directory;
    std::string const name = directory / "file";
    Path path;
    Path status;
    UnixPlatform::FileReader reader;
    unsigned char bytes[64] = {};
};

TEST_F(UnixFileReaderTest, StartAsksForTheLength) {
    reader.Start(path, 3);
    EXPECT_EQ(reader.Position(), 3u);
    EXPECT_EQ(reader.LengthAtStart(), 10u);
    WriteWholeFile(name, "012345678901");
    EXPECT_EQ(reader.LengthAtStart(), 10u);
}

TEST_F(UnixFileReaderTest, StartOnAClosedPathThrows) {
    path.Close();
    ExpectFileError<FileNotOpenError>(0, On(name), [&] { reader.Start(path, 0); });
}

TEST_F(UnixFileReaderTest, IsFinishedAtTheLengthThatTheFileHasNow) {
    reader.Start(path, 9);
    EXPECT_TRUE(reader.Unfinished());
    reader.SetPosition(10);
    EXPECT_FALSE(reader.Unfinished());
    WriteWholeFile(name, "0123456789a");
    EXPECT_TRUE(reader.Unfinished()) << "the file has grown";
    EXPECT_EQ(truncate(name.c_str(), 3), 0);
    EXPECT_FALSE(reader.Unfinished()) << "the file has shrunk";
    reader.SetPosition(1000);
    EXPECT_FALSE(reader.Unfinished());
}

TEST_F(UnixFileReaderTest, UnfinishedReadsNothingWhereTheLengthIsKnown) {
    SystemCalls calls;
    EXPECT_TRUE(reader.Unfinished());
    EXPECT_THAT(calls.Log(), ElementsAre("seek 0 CUR", "seek 0 END", "seek 0 SET"));
}

TEST_F(UnixFileReaderTest, FillsARangeWithOneReadAtThePosition) {
    reader.Start(path, 2);
    lseek(path.descriptor, 7, SEEK_SET); // Another stream was here.
    SystemCalls calls;
    reader >> Data(bytes, 4) >> Data(bytes + 4, 2);
    EXPECT_THAT(calls.Log(), ElementsAre("seek 2 SET", "read 4", "seek 6 SET", "read 2"));
    EXPECT_EQ(ConstData(bytes, 6), ConstData("234567"));
    EXPECT_EQ(reader.Position(), 8u);
}

TEST_F(UnixFileReaderTest, AnEmptyTargetIsLeftAlone) {
    Buffer full(Data(bytes, 4));
    full.position = full.end;
    SystemCalls calls;
    reader >> Data() >> Data(bytes, 0);
    reader >> full;
    EXPECT_THAT(calls.Log(), ElementsAre());
    EXPECT_EQ(reader.Position(), 0u);
}

TEST_F(UnixFileReaderTest, ARangeBeyondTheEndGetsWhatIsThereAndAnEndOfFileError) {
    reader.Start(path, 6);
    SystemCalls calls;
    ExpectFileError<EndOfFileError>(90, On(name), [&] { reader >> Data(bytes, 10); });
    EXPECT_THAT(calls.Log(), ElementsAre("seek 6 SET", "read 10"));
    EXPECT_EQ(ConstData(bytes, 5), ConstData("6789\0", 5));
    EXPECT_EQ(reader.Position(), 10u);
}

// Deliberate: see the contract.
TEST_F(UnixFileReaderTest, AShortReadIsTakenForTheEndOfTheFile) {
    SystemCalls calls;
    calls.Limit("read", 3);
    ExpectFileError<EndOfFileError>(90, On(name), [&] { reader >> Data(bytes, 8); });
    EXPECT_EQ(calls.Count("read"), 1u);
    EXPECT_EQ(ConstData(bytes, 4), ConstData("012\0", 4));
    EXPECT_EQ(reader.Position(), 3u);
}

TEST_F(UnixFileReaderTest, FillsTheRoomOfABufferWithOneRead) {
    Buffer buffer(Data(bytes, 8));
    buffer.position += 3;
    SystemCalls calls;
    reader >> buffer;
    EXPECT_THAT(calls.Log(), ElementsAre("seek 0 SET", "read 5"));
    EXPECT_TRUE(buffer.IsFull());
    EXPECT_EQ(ConstData(bytes, 8), ConstData("\0\0\0"
                                             "01234",
                                             8));
    EXPECT_EQ(reader.Position(), 5u);
}

TEST_F(UnixFileReaderTest, AShortReadIsNormalForABuffer) {
    Buffer buffer(Data(bytes, 20));
    SystemCalls calls;
    calls.Limit("read", 4);
    reader >> buffer;
    EXPECT_EQ(buffer.Written(), ConstData("0123"));
    EXPECT_EQ(reader.Position(), 4u);
    reader >> buffer;
    EXPECT_EQ(buffer.Written(), ConstData("0123456789"));
    EXPECT_EQ(reader.Position(), 10u);
}

TEST_F(UnixFileReaderTest, ABufferGetsNothingAtTheEndAndBeyond) {
    Buffer buffer(Data(bytes, 20));
    for (unsigned long long position : {10ULL, 11ULL, 1ULL << 40}) {
        reader.Start(path, position);
        EXPECT_NO_THROW(reader >> buffer);
        EXPECT_EQ(buffer.Written().Length(), 0u);
        EXPECT_EQ(reader.Position(), position);
    }
}

// Deliberate: see the contract.
TEST_F(UnixFileReaderTest, AKnownLengthIsBelievedThoughAReadBringsNothing) {
    Buffer buffer(Data(bytes, 20));
    SystemCalls calls;
    calls.Limit("read", 0);
    reader >> buffer;
    EXPECT_EQ(buffer.position, buffer.start);
    EXPECT_EQ(reader.Position(), 0u);
    EXPECT_TRUE(reader.Unfinished());
}

TEST_F(UnixFileReaderTest, APositionThatIsNoneIsASeekError) {
    Buffer buffer(Data(bytes, 20));
    reader.SetPosition(~0ULL);
    ExpectFileError<FileSeekError>(EINVAL, On(name), [&] { reader >> buffer; });
    ExpectFileError<FileSeekError>(EINVAL, On(name), [&] { reader >> Data(bytes, 1); });
    EXPECT_EQ(reader.Position(), ~0ULL);
}

TEST_F(UnixFileReaderTest, AFailedReadKeepsThePosition) {
    Buffer buffer(Data(bytes, 20));
    SystemCalls calls;
    for (int error : {EIO, EINTR, ENOENT, EAGAIN, ENOSPC}) {
        calls.Fail("read", error);
        ExpectFileError<FileIOError>(error, On(name), [&] { reader >> buffer; });
        calls.Fail("read", error);
        ExpectFileError<FileIOError>(error, On(name), [&] { reader >> Data(bytes, 4); });
    }
    EXPECT_EQ(calls.Count("read"), 10u) << "no interrupted read is taken up again";
    EXPECT_EQ(reader.Position(), 0u);
    EXPECT_EQ(buffer.position, buffer.start);
}

TEST_F(UnixFileReaderTest, ADirectoryCannotBeRead) {
    Path const here(MakeFileLocation(directory.path().c_str()));
    reader.Start(here, 0);
    ExpectFileError<FileIOError>(EISDIR, On(directory.path()), [&] { reader >> Data(bytes, 4); });
}

TEST_F(UnixFileReaderTest, ADescriptorClosedBehindItsBackIsAFailure) {
    close(path.descriptor);
    ExpectFileError<FileIOError>(EBADF, On(name), [&] { reader >> Data(bytes, 4); });
    ExpectFileError<FileIOError>(EBADF, On(name), [&] { reader.Unfinished(); });
    EXPECT_THROW(path.Close(), FileIOError);
}

TEST_F(UnixFileReaderTest, ReadsAWritingPathWhoseFailuresNameNoFile) {
    UnixPlatform::FileWritingPath writing;
    writing.OpenExisting(MakeFileLocation(name.c_str()));
    reader.Start(writing, 8);
    ExpectFileError<EndOfFileError>(90, "", [&] { reader >> Data(bytes, 4); });
    EXPECT_EQ(ConstData(bytes, 2), ConstData("89"));
}

TEST_F(UnixFileReaderTest, AnUnknownLengthIsProbedByAByteThatIsNotDelivered) {
    OpenStatus(0);
    EXPECT_EQ(reader.LengthAtStart(), UnixPlatform::FileReadingPath::unknownLength);
    SystemCalls calls;
    EXPECT_TRUE(reader.Unfinished());
    EXPECT_THAT(calls.Log(), ElementsAre("seek 0 SET", "read 1"));
    EXPECT_TRUE(reader.Unfinished());
    EXPECT_EQ(calls.Log().size(), 2u) << "the byte is there already";
    reader >> Data(bytes, 5);
    EXPECT_EQ(ConstData(bytes, 5), ConstData("Name:"));
    EXPECT_THAT(calls.Log(), ElementsAre("seek 0 SET", "read 1", "seek 0 SET", "read 5"));
    calls.Clear();
    EXPECT_TRUE(reader.Unfinished());
    EXPECT_THAT(calls.Log(), ElementsAre("seek 5 SET", "read 1")) << "the next byte is another";
}

TEST_F(UnixFileReaderTest, AFileOfUnknownLengthIsReadToItsEnd) {
    OpenStatus(0);
    std::string text;
    while (reader.Unfinished()) {
        Buffer buffer(Data(bytes, 64));
        reader >> buffer;
        text += MakeString(buffer.Written());
    }
    EXPECT_EQ(text.substr(0, 5), "Name:");
    EXPECT_EQ(text.back(), '\n');
    EXPECT_EQ(reader.Position(), text.size());
}

TEST_F(UnixFileReaderTest, TheEndOfAnUnknownLengthIsFinalUntilStart) {
    OpenStatus(1 << 20);
    SystemCalls calls;
    EXPECT_FALSE(reader.Unfinished());
    EXPECT_THAT(calls.Log(), ElementsAre("seek 1048576 SET", "read 1"));
    EXPECT_FALSE(reader.Unfinished());
    EXPECT_EQ(calls.Log().size(), 2u) << "nobody is asked again";
    reader.SetPosition(0); // Deliberate: the position is all that this sets.
    EXPECT_FALSE(reader.Unfinished());
    reader.Start(status, 0);
    EXPECT_TRUE(reader.Unfinished());
}

TEST_F(UnixFileReaderTest, AProbedByteIsForgottenByStart) {
    OpenStatus(0);
    EXPECT_TRUE(reader.Unfinished());
    reader.Start(status, 1 << 20);
    EXPECT_FALSE(reader.Unfinished());
}

TEST_F(UnixFileReaderTest, AFailedProbeIsTheEndAndNoFailure) {
    OpenStatus(0);
    SystemCalls calls;
    calls.Fail("seek", EIO);
    EXPECT_FALSE(reader.Unfinished());
    EXPECT_EQ(calls.Count("read"), 0u);
    OpenStatus(0);
    calls.Fail("read", EIO);
    EXPECT_FALSE(reader.Unfinished());
}

TEST_F(UnixFileReaderTest, ReadingAllocatesNothing) {
    std::size_t const count = AllocationsOf([&] {
        reader.Start(path, 0);
        while (reader.Unfinished()) {
            Buffer buffer(Data(bytes, 3));
            reader >> buffer;
        }
        reader.Start(path, 0);
        reader >> Data(bytes, 10);
    });
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(ConstData(bytes, 10), ConstData("0123456789"));
}

TEST_F(UnixFileReaderTest, TheMapperTakesZeroForSuccess) {
    FileLocation const where = MakeFileLocation("/x");
    EXPECT_NO_THROW(reader.ThrowError(where, 0));
    ExpectFileError<FileIOError>(ENOENT, On("/x"), [&] { reader.ThrowError(where, ENOENT); });
    ExpectFileError<EndOfFileError>(90, On("/x"), [&] { reader.ThrowError(where, EndOfFileCode); });
    ExpectFileError<FilePermissionError>(EPERM, On("/x"), [&] { reader.ThrowError(where, EPERM); });
}

} // namespace
