#include "files/FileReadingLoop.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/FileReadingPath.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/Files.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using testing::ElementsAre;

class FileReadingLoopTest : public testing::Test {
protected:
    FileReadingLoopTest() {
        WriteWholeFile(name, "0123456789");
        path.OpenExisting(MakeFileLocation(name.c_str()));
    }

    // The chunks from the first to the last.
    std::vector<std::string> ChunksOf(FileReadingLoop& loop) {
        std::vector<std::string> chunks;
        for (; loop.Remaining() != 0; ++loop)
            chunks.push_back(MakeString(loop.Chunk()));
        return chunks;
    }

    // The chunks up to the error that must follow on them.
    std::vector<std::string> ChunksBeforeTheError(FileReadingLoop& loop) {
        std::vector<std::string> chunks;
        EXPECT_THROW(for (; loop.Remaining() != 0; ++loop)
                         chunks.push_back(MakeString(loop.Chunk())),
                     FileReadingLoopEndOfFileError);
        return chunks;
    }

    TemporaryDirectory directory;
    std::string const name = directory / "file";
    FileReadingPath path;
    unsigned char bytes[4] = {};
};

TEST_F(FileReadingLoopTest, DeliversTheFileInChunksOfTheBuffersSize) {
    FileReadingLoop loop(Data(bytes), path, 0);
    EXPECT_EQ(loop.Remaining(), 10u);
    EXPECT_EQ(loop.Chunk(), ConstData("0123"));
    EXPECT_EQ(loop.Chunk().begin, bytes) << "the chunk stands in the buffer";
    EXPECT_EQ(&++loop, &loop);
    EXPECT_EQ(loop.Remaining(), 6u);
    EXPECT_EQ(loop.Chunk(), ConstData("4567"));
    ++loop;
    EXPECT_EQ(loop.Remaining(), 2u);
    EXPECT_EQ(loop.Chunk(), ConstData("89"));
    ++loop;
    EXPECT_EQ(loop.Remaining(), 0u);
}

TEST_F(FileReadingLoopTest, AllFormsOfTheRangeAreAlike) {
    using Range = ::Range<unsigned long long>;
    FileReadingLoop first(Data(bytes), path, 5);
    EXPECT_THAT(ChunksOf(first), ElementsAre("5678", "9"));
    FileReadingLoop second(Data(bytes), path, 2, 7);
    EXPECT_THAT(ChunksOf(second), ElementsAre("2345", "6"));
    FileReadingLoop third(Data(bytes), path, Range{2, 7});
    EXPECT_THAT(ChunksOf(third), ElementsAre("2345", "6"));

    Data const buffer(bytes);
    FileReadingLoop loop(buffer);
    loop.Start(path, 5);
    EXPECT_THAT(ChunksOf(loop), ElementsAre("5678", "9"));
    loop.Start(path, 2, 7);
    EXPECT_THAT(ChunksOf(loop), ElementsAre("2345", "6"));
    loop.Start(path, Range{2, 7});
    EXPECT_THAT(ChunksOf(loop), ElementsAre("2345", "6"));
}

TEST_F(FileReadingLoopTest, NeverAsksForMoreThanRemains) {
    SystemCalls calls;
    FileReadingLoop loop(Data(bytes), path, 1, 7);
    ++loop;
    EXPECT_EQ(loop.Chunk(), ConstData("56"));
    EXPECT_EQ(calls.Count("read 4"), 1u);
    EXPECT_EQ(calls.Count("read 2"), 1u);
    EXPECT_EQ(calls.Count("read"), 2u);
}

TEST_F(FileReadingLoopTest, AnEmptyFileHasNoChunk) {
    ASSERT_EQ(truncate(name.c_str(), 0), 0);
    FileReadingLoop const loop(Data(bytes), path, 0);
    EXPECT_EQ(loop.Remaining(), 0u);
    EXPECT_TRUE(loop.Chunk().IsEmpty());
}

TEST_F(FileReadingLoopTest, AnEmptyRangeReadsNothing) {
    SystemCalls calls;
    for (unsigned long long at : {0, 5, 10, 1000}) {
        FileReadingLoop const loop(Data(bytes), path, at, at);
        EXPECT_EQ(loop.Remaining(), 0u);
        EXPECT_TRUE(loop.Chunk().IsEmpty());
    }
    EXPECT_EQ(calls.Count("read"), 0u);
}

TEST_F(FileReadingLoopTest, ALoopThatIsStartedAnewOnNothingHasNoChunk) {
    FileReadingLoop loop(Data(bytes), path, 0);
    loop.Start(path, 3, 3);
    EXPECT_EQ(loop.Remaining(), 0u);
    EXPECT_TRUE(loop.Chunk().IsEmpty());
}

TEST_F(FileReadingLoopTest, ARangeBeyondTheFileDeliversWhatIsThereThenThrows) {
    SystemCalls calls;
    FileReadingLoop loop(Data(bytes), path, 3, 12);
    EXPECT_THAT(ChunksBeforeTheError(loop), ElementsAre("3456", "789"));
    EXPECT_EQ(loop.Remaining(), 2u);
    EXPECT_EQ(calls.Count("read"), 2u) << "nothing is read where the length tells the end";
    ExpectExactly<FileReadingLoopEndOfFileError>(
        [&] { FileReadingLoop other(Data(bytes), path, 10, 12); });
    ExpectExactly<FileReadingLoopEndOfFileError>(
        [&] { FileReadingLoop other(Data(bytes), path, 1000, 1001); });
}

TEST_F(FileReadingLoopTest, TheEndOfFileIsNoFileIOError) {
    EXPECT_FALSE((std::is_base_of_v<FileIOError, FileReadingLoopEndOfFileError>));
    EXPECT_TRUE((std::is_base_of_v<DebuggableException, FileReadingLoopEndOfFileError>));
    EXPECT_STREQ(FileReadingLoopEndOfFileError().what(), "29FileReadingLoopEndOfFileError");
}

// Deliberate: see the contract.
TEST_F(FileReadingLoopTest, AStartAboveItsStopWrapsAround) {
    FileReadingLoop loop(Data(bytes), path, 8, 7);
    EXPECT_EQ(loop.Remaining(), ~0ULL);
    EXPECT_THAT(ChunksBeforeTheError(loop), ElementsAre("89"));
    ExpectExactly<FileReadingLoopEndOfFileError>(
        [&] { FileReadingLoop beyond(Data(bytes), path, 11); });
}

TEST_F(FileReadingLoopTest, AFileThatShrinksEndsInTheError) {
    FileReadingLoop loop(Data(bytes), path, 0);
    ASSERT_EQ(truncate(name.c_str(), 6), 0);
    EXPECT_THAT(ChunksBeforeTheError(loop), ElementsAre("0123", "45"));
}

TEST_F(FileReadingLoopTest, AFileThatGrowsIsReadUpToTheLengthAtStart) {
    FileReadingLoop loop(Data(bytes), path, 0);
    WriteWholeFile(name, "0123456789abc");
    EXPECT_THAT(ChunksOf(loop), ElementsAre("0123", "4567", "89"));
}

TEST_F(FileReadingLoopTest, ShortReadsGiveShortChunks) {
    SystemCalls calls;
    calls.Limit("read", 1);
    calls.Limit("read", 3);
    FileReadingLoop loop(Data(bytes), path, 0);
    EXPECT_THAT(ChunksOf(loop), ElementsAre("0", "123", "4567", "89"));
}

TEST_F(FileReadingLoopTest, AReadThatBringsNothingIsTheEndOfTheFile) {
    SystemCalls calls;
    calls.Limit("read", 0, 1);
    FileReadingLoop loop(Data(bytes), path, 0);
    EXPECT_THAT(ChunksBeforeTheError(loop), ElementsAre("0123"));
    EXPECT_EQ(loop.Remaining(), 6u);
    EXPECT_EQ(calls.Count("read"), 2u);
    calls.Limit("read", 0);
    ExpectExactly<FileReadingLoopEndOfFileError>([&] { loop.Start(path, 0, 1); });
}

TEST_F(FileReadingLoopTest, AFileThatClaimsMoreThanItGivesIsDeliveredWholeThenThrows) {
    if (!std::filesystem::exists(fileThatClaimsTooMuch))
        GTEST_SKIP() << "no " << fileThatClaimsTooMuch;
    path.Close();
    path.OpenExisting(MakeFileLocation(fileThatClaimsTooMuch));
    std::string const content = ReadWholeFile(fileThatClaimsTooMuch);
    ASSERT_GT(path.Length(), content.size());
    std::string text;
    FileReadingLoop loop(Data(bytes), path, 0);
    for (std::string const& chunk : ChunksBeforeTheError(loop))
        text += chunk;
    EXPECT_EQ(text, content);
}

// Deliberate: see the contract.
TEST_F(FileReadingLoopTest, AFileOfUnknownLengthIsDeliveredWholeThenThrows) {
    std::string const version = ReadWholeFile("/proc/version");
    path.Close();
    path.OpenExisting(MakeFileLocation("/proc/version"));
    std::string text;
    FileReadingLoop loop(Data(bytes), path, 0);
    EXPECT_EQ(loop.Remaining(), ~0ULL);
    for (std::string const& chunk : ChunksBeforeTheError(loop))
        text += chunk;
    EXPECT_EQ(text, version);
}

TEST_F(FileReadingLoopTest, AFailedReadReachesTheCaller) {
    SystemCalls calls;
    calls.Fail("read", EINTR, 1);
    FileReadingLoop loop(Data(bytes), path, 0);
    ExpectFileError<FileIOError>(EINTR, On(name), [&] { ++loop; });
    path.Close();
    ExpectFileError<FileNotOpenError>(0, On(name), [&] { loop.Start(path, 0); });
}

TEST_F(FileReadingLoopTest, AnyBufferAndAnyRangeGiveTheSameBytes) {
    for (unsigned seed = 0; seed < 30; ++seed) {
        std::mt19937 random(seed);
        std::string const text = RandomBytes(random, random() % 500, EveryByte());
        WriteWholeFile(name, text);
        std::vector<unsigned char> buffer(1 + random() % 100);
        std::size_t const start = random() % (text.size() + 1);
        std::size_t const stop = start + random() % (text.size() - start + 1);
        std::string got;
        FileReadingLoop loop(Data(buffer.data(), buffer.size()), path, start, stop);
        for (std::string const& chunk : ChunksOf(loop))
            got += chunk;
        EXPECT_TRUE(got == text.substr(start, stop - start)) << "seed " << seed;
    }
}

TEST_F(FileReadingLoopTest, AllocatesNothing) {
    unsigned long long total = 0;
    EXPECT_EQ(AllocationsOf([&] {
                  for (FileReadingLoop loop(Data(bytes), path, 0); loop.Remaining() != 0; ++loop)
                      total += loop.Chunk().Length();
              }),
              0u);
    EXPECT_EQ(total, 10u);
}

} // namespace
