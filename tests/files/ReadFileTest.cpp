#include "files/ReadFile.h"

#include <cerrno>
#include <filesystem>
#include <random>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "data/DataReceiver.h"
#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/FileReader.h"
#include "files/FileReadingLoop.h"
#include "files/FileReadingPath.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/Files.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/RecordingReceivers.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using testing::ElementsAre;
using Offsets = Range<unsigned long long>;

// Counts the bytes of each Receive.
class CountingReceiver : public DataReceiver {
public:
    void Start() override { ++starts; }
    void Receive(ConstData data) override {
        if (count < std::size(sizes))
            sizes[count] = data.Length();
        ++count;
    }
    void ReceiveEnd() override { ++ends; }

    int starts = 0;
    int ends = 0;
    std::size_t count = 0;
    std::size_t sizes[8] = {};
};

class ReadFileTest : public testing::Test {
protected:
    ReadFileTest() { WriteWholeFile(name, "0123456789"); }

    TemporaryDirectory directory;
    std::string const name = directory / "file";
    FileLocation const file = MakeFileLocation(name.c_str());
    FileLocation const missing = MakeFileLocation((directory / "missing").c_str());
    RecordingDataReceiver receiver;
};

using ReadFileRangeTest = ReadFileTest;

TEST_F(ReadFileTest, PushesTheFileAsOneStream) {
    ReadFile(file, receiver, 0);
    EXPECT_THAT(receiver.Calls(), ElementsAre("Start", "Receive 0123456789", "ReceiveEnd"));
}

TEST_F(ReadFileTest, PushesAPart) {
    ReadFile(file, receiver, 7);
    ReadFile(file, receiver, 2, 5);
    ReadFile(file, receiver, 4, 4);
    EXPECT_THAT(receiver.Calls(), ElementsAre("Start", "Receive 789", "ReceiveEnd", "Start",
                                              "Receive 234", "ReceiveEnd", "Start", "ReceiveEnd"));
}

TEST_F(ReadFileTest, AnEmptyFileIsAnEmptyStream) {
    WriteWholeFile(name, "");
    ReadFile(file, receiver, 0);
    EXPECT_THAT(receiver.Calls(), ElementsAre("Start", "ReceiveEnd"));
}

TEST_F(ReadFileTest, ChunksHave4096Bytes) {
    WriteWholeFile(name, std::string(10'000, 'x'));
    CountingReceiver counting;
    ReadFile(file, counting, 0);
    EXPECT_THAT(counting.sizes, ElementsAre(4096, 4096, 1808, 0, 0, 0, 0, 0));
    EXPECT_EQ(counting.count, 3u);
}

// The receiver looks at the system while it is called.
TEST_F(ReadFileTest, TheFileIsOpenFromBehindStartToBeforeReceiveEnd) {
    struct : DataReceiver {
        void Start() override { atStart = calls.Log().size(); }
        void Receive(ConstData) override {
            openAtReceive = calls.Count("open") == 1 && calls.Count("close") == 0;
        }
        void ReceiveEnd() override { closedAtEnd = calls.Count("close") == 1; }

        SystemCalls calls;
        std::size_t atStart = 99;
        bool openAtReceive = false;
        bool closedAtEnd = false;
    } looking;
    ReadFile(file, looking, 0);
    EXPECT_EQ(looking.atStart, 0u);
    EXPECT_TRUE(looking.openAtReceive);
    EXPECT_TRUE(looking.closedAtEnd);
}

TEST_F(ReadFileTest, AMissingFileIsAStartWithoutAnEnd) {
    ExpectFileError<FileNotFoundError>(ENOENT, On(missing.Text()),
                                       [&] { ReadFile(missing, receiver, 0); });
    EXPECT_THAT(receiver.Calls(), ElementsAre("Start"));
}

TEST_F(ReadFileTest, AFailingCloseGoesUnnoticed) {
    SystemCalls calls;
    calls.Fail("close", EIO);
    ReadFile(file, receiver, 0);
    EXPECT_THAT(receiver.Calls(), ElementsAre("Start", "Receive 0123456789", "ReceiveEnd"));
}

TEST_F(ReadFileTest, AFailedReadHasNoEndAndLeavesNothingOpen) {
    SystemCalls calls;
    calls.Fail("read", EIO);
    ExpectFileError<FileIOError>(EIO, On(name), [&] { ReadFile(file, receiver, 0); });
    EXPECT_THAT(receiver.Calls(), ElementsAre("Start"));
    EXPECT_TRUE(DescriptorsOn(name).empty());
}

TEST_F(ReadFileTest, WhatAReceiverThrowsPassesThroughAndLeavesNothingOpen) {
    struct : DataReceiver {
        void Start() override {}
        void Receive(ConstData) override { throw 42; }
        void ReceiveEnd() override { ADD_FAILURE() << "an end behind a failure"; }
    } throwing;
    EXPECT_THROW(ReadFile(file, throwing, 0), int);
    EXPECT_TRUE(DescriptorsOn(name).empty());
}

TEST_F(ReadFileTest, ARangeBeyondTheFileThrowsBehindTheLastByte) {
    EXPECT_THROW(ReadFile(file, receiver, 4, 20), FileReadingLoopEndOfFileError);
    EXPECT_THAT(receiver.Calls(), ElementsAre("Start", "Receive 456789"));
}

// Deliberate: the difference wraps around.
TEST_F(ReadFileTest, AStartAboveItsStopReadsToTheEndOfTheFileThenThrows) {
    EXPECT_THROW(ReadFile(file, receiver, 4, 2), FileReadingLoopEndOfFileError);
    EXPECT_THAT(receiver.Calls(), ElementsAre("Start", "Receive 456789"));
    RecordingDataReceiver other;
    EXPECT_THROW(ReadFile(file, other, 11), FileReadingLoopEndOfFileError);
    EXPECT_THAT(other.Calls(), ElementsAre("Start"));
}

TEST_F(ReadFileTest, AnUnknownLengthIsPushedWholeThenThrows) {
    EXPECT_THROW(ReadFile(MakeFileLocation("/proc/version"), receiver, 0),
                 FileReadingLoopEndOfFileError);
    EXPECT_EQ(receiver.Text(), ReadWholeFile("/proc/version"));
    EXPECT_TRUE(receiver.IsOpen());
}

TEST_F(ReadFileTest, AFileThatClaimsMoreThanItGivesIsPushedWholeThenThrows) {
    if (!std::filesystem::exists(fileThatClaimsTooMuch))
        GTEST_SKIP() << "no " << fileThatClaimsTooMuch;
    EXPECT_THROW(ReadFile(MakeFileLocation(fileThatClaimsTooMuch), receiver, 0),
                 FileReadingLoopEndOfFileError);
    EXPECT_EQ(receiver.Text(), ReadWholeFile(fileThatClaimsTooMuch));
    EXPECT_TRUE(receiver.IsOpen());
}

TEST_F(ReadFileTest, TheKernelsLogIsRefused) {
    ExpectFileError<FileIOError>(0, On("/proc/kmsg"),
                                 [&] { ReadFile(MakeFileLocation("/proc/kmsg"), receiver, 0); });
}

TEST_F(ReadFileTest, LinesAreMadeOnTheWay) {
    WriteWholeFile(name, "one\r\ntwo\n");
    RecordingLineReceiver lines;
    ReadFile(file, lines, 0);
    EXPECT_THAT(lines.Calls(), ElementsAre("Start 0", "Receive one", "ReceiveLineBreak 3-5",
                                           "Receive two", "ReceiveLineBreak 8-9", "ReceiveEnd 9"));
}

// Deliberate: positions count from the first byte read.
TEST_F(ReadFileTest, PositionsOfLinesCountFromTheFirstByteRead) {
    WriteWholeFile(name, "one\r\ntwo\n");
    RecordingLineReceiver lines;
    ReadFile(file, lines, 5);
    ReadFile(file, lines, 2, 6);
    EXPECT_THAT(lines.Calls(), ElementsAre("Start 0", "Receive two", "ReceiveLineBreak 3-4",
                                           "ReceiveEnd 4", "Start 0", "Receive e",
                                           "ReceiveLineBreak 1-3", "Receive t", "ReceiveEnd 4"));
}

TEST_F(ReadFileTest, MessagesAreMadeOnTheWay) {
    WriteWholeFile(name, "xxTitle: hi\n\nbody");
    RecordingMessageReceiver message;
    ReadFile(file, message, 2);
    EXPECT_THAT(message.Calls(),
                ElementsAre("Start 0", "ReceiveHeaderField 0 title", "field Start",
                            "field Receive hi", "field ReceiveEnd", "ReceiveHeaderFieldEnd 9",
                            "ReceiveBody 11", "body Start 11", "body Receive body",
                            "body ReceiveEnd 15", "ReceiveEnd 15"));
    RecordingMessageReceiver part;
    ReadFile(file, part, 2, 9);
    EXPECT_THAT(part.Calls(),
                ElementsAre("Start 0", "ReceiveHeaderField 0 title", "field Start",
                            "field ReceiveEnd", "ReceiveHeaderFieldEnd 7", "ReceiveBody 7",
                            "body Start 7", "body ReceiveEnd 7", "ReceiveEnd 7"));
}

TEST_F(ReadFileTest, AMissingFileReachesLinesAndMessagesAsAStart) {
    RecordingLineReceiver lines;
    EXPECT_THROW(ReadFile(missing, lines, 0, 5), FileNotFoundError);
    EXPECT_THAT(lines.Calls(), ElementsAre("Start 0"));
    RecordingMessageReceiver message;
    EXPECT_THROW(ReadFile(missing, message, 0, 5), FileNotFoundError);
    EXPECT_THAT(message.Calls(), ElementsAre("Start 0"));
}

TEST_F(ReadFileTest, AllocatesNothing) {
    WriteWholeFile(name, std::string(10'000, 'x'));
    CountingReceiver counting;
    EXPECT_EQ(AllocationsOf([&] { ReadFile(file, counting, 0); }), 0u);
    EXPECT_EQ(counting.count, 3u);
    EXPECT_EQ(counting.starts + counting.ends, 2);
}

TEST_F(ReadFileRangeTest, PushesThePartFromItsBegin) {
    FileReadingPath const path(file);
    FileReader reader(path, 9);
    ReadFileRange(reader, Offsets{2, 6}, receiver);
    EXPECT_THAT(receiver.Calls(), ElementsAre("Start", "Receive 2345", "ReceiveEnd"));
}

TEST_F(ReadFileRangeTest, AnEmptyRangeIsAnEmptyStream) {
    FileReadingPath const path(file);
    FileReader reader(path, 0);
    for (Offsets range : {Offsets{4, 4}, Offsets{7, 3}, Offsets{50, 50}}) {
        RecordingDataReceiver one;
        ReadFileRange(reader, range, one);
        EXPECT_THAT(one.Calls(), ElementsAre("Start", "ReceiveEnd"));
        EXPECT_EQ(reader.Position(), range.begin);
    }
}

TEST_F(ReadFileRangeTest, ARangeBeyondTheFileEndsWithTheFile) {
    FileReadingPath const path(file);
    FileReader reader(path, 0);
    SystemCalls calls;
    ReadFileRange(reader, Offsets{6, 1000}, receiver);
    ReadFileRange(reader, Offsets{100, 1000}, receiver);
    EXPECT_EQ(calls.Count("read"), 1u) << "nothing is read where the length tells the end";
    EXPECT_THAT(receiver.Calls(),
                ElementsAre("Start", "Receive 6789", "ReceiveEnd", "Start", "ReceiveEnd"));
}

TEST_F(ReadFileRangeTest, ReadsWholeChunksAndCutsTheOverrun) {
    WriteWholeFile(name, std::string(10'000, 'x'));
    FileReadingPath const path(file);
    FileReader reader(path, 0);
    CountingReceiver counting;
    SystemCalls calls;
    ReadFileRange(reader, Offsets{100, 5000}, counting);
    EXPECT_EQ(calls.Count("read 4096"), 2u);
    EXPECT_THAT(counting.sizes, ElementsAre(4096, 804, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(reader.Position(), 100u + 2 * 4096) << "the reader stands behind what it has read";
}

TEST_F(ReadFileRangeTest, ShortReadsGiveShortChunks) {
    FileReadingPath const path(file);
    FileReader reader(path, 0);
    SystemCalls calls;
    calls.Limit("read", 3);
    ReadFileRange(reader, Offsets{0, 8}, receiver);
    EXPECT_THAT(receiver.Calls(),
                ElementsAre("Start", "Receive 012", "Receive 34567", "ReceiveEnd"));
}

TEST_F(ReadFileRangeTest, AReadThatBringsNothingIsTheEndOfTheFile) {
    FileReadingPath const path(file);
    FileReader reader(path, 0);
    SystemCalls calls;
    calls.Limit("read", 3);
    calls.Limit("read", 0);
    ReadFileRange(reader, Offsets{0, 8}, receiver);
    EXPECT_THAT(receiver.Calls(), ElementsAre("Start", "Receive 012", "ReceiveEnd"));
    EXPECT_EQ(calls.Count("read"), 2u);
}

TEST_F(ReadFileRangeTest, AFileThatClaimsMoreThanItGivesEndsWithWhatItGives) {
    if (!std::filesystem::exists(fileThatClaimsTooMuch))
        GTEST_SKIP() << "no " << fileThatClaimsTooMuch;
    FileReadingPath const path(MakeFileLocation(fileThatClaimsTooMuch));
    FileReader reader(path, 0);
    ASSERT_GT(path.Length(), ReadWholeFile(fileThatClaimsTooMuch).size());
    ReadFileRange(reader, Offsets{0, ~0ULL}, receiver);
    EXPECT_EQ(receiver.Text(), ReadWholeFile(fileThatClaimsTooMuch));
    EXPECT_FALSE(receiver.IsOpen());
}

TEST_F(ReadFileRangeTest, ReadsAnUnknownLength) {
    FileReadingPath const path(MakeFileLocation("/proc/version"));
    FileReader reader(path, 0);
    ReadFileRange(reader, Offsets{0, ~0ULL}, receiver);
    EXPECT_EQ(receiver.Text(), ReadWholeFile("/proc/version"));
    ReadFileRange(reader, Offsets{0, 5}, receiver);
    EXPECT_EQ(receiver.Text(), "") << "an end once found is final until Start";
    reader.Start(path, 0);
    ReadFileRange(reader, Offsets{0, 5}, receiver);
    EXPECT_EQ(receiver.Text(), "Linux");
}

TEST_F(ReadFileRangeTest, AnyRangeIsThePartOfTheFile) {
    for (unsigned seed = 0; seed < 30; ++seed) {
        std::mt19937 random(seed);
        std::string const text = RandomBytes(random, random() % 20'000, EveryByte());
        WriteWholeFile(name, text);
        FileReadingPath const path(file);
        FileReader reader(path, 0);
        std::size_t const begin = random() % (text.size() + 1);
        std::size_t const end = begin + random() % 10'000;
        ReadFileRange(reader, Offsets{begin, end}, receiver);
        EXPECT_TRUE(receiver.Text() == text.substr(begin, end - begin)) << "seed " << seed;
    }
}

TEST_F(ReadFileRangeTest, AllocatesNothing) {
    FileReadingPath const path(file);
    FileReader reader(path, 0);
    CountingReceiver counting;
    EXPECT_EQ(AllocationsOf([&] { ReadFileRange(reader, Offsets{0, 10}, counting); }), 0u);
    EXPECT_EQ(counting.count, 1u);
}

} // namespace
