#include "files/FileReadingLoop.h"

#include <numeric>

#include "files/FileReadingPath.h"
#include "tests/files/FileTest.h"

namespace {

static_assert(!std::is_base_of_v<FileIOError, FileReadingLoopEndOfFileError>);
static_assert(std::is_base_of_v<DebuggableException, FileReadingLoopEndOfFileError>);

class FileReadingLoopTest : public OpenFileTest {
protected:
    // The chunks in order, and the description of the exception that ends the loop.
    static Strings ChunksOf(FileReadingLoop& loop) {
        Strings chunks;
        std::string const thrown = Thrown([&] {
            for (; loop.Remaining() != 0; ++loop)
                chunks.push_back(MakeString(loop.Chunk()));
        });
        if (thrown != "nothing")
            chunks.push_back(thrown);
        return chunks;
    }

    template <class... Range>
    Strings ChunksOfRange(Range... range) {
        FileReadingLoop loop(Data(bytes), path, range...);
        return ChunksOf(loop);
    }

    std::string const endOfFile = "FileReadingLoopEndOfFileError";
    FileReadingPath path{file};
    unsigned char bytes[4] = {};
};

TEST_F(FileReadingLoopTest, ReadsTheFileInChunksOfTheBufferSize) {
    FileReadingLoop loop(Data(bytes), path, 0);
    EXPECT_EQ(loop.Remaining(), 10u);
    EXPECT_EQ(loop.Chunk(), ConstData("0123"));
    EXPECT_EQ(loop.Chunk().begin, bytes) << "the chunk is in the buffer";
    EXPECT_EQ(&++loop, &loop);
    EXPECT_EQ(loop.Remaining(), 6u);
    EXPECT_THAT(ChunksOf(loop), ElementsAre("4567", "89"));
    EXPECT_EQ(loop.Remaining(), 0u);
}

TEST_F(FileReadingLoopTest, TakesARangeByEachOfThreeOverloads) {
    using Range = ::Range<unsigned long long>;
    EXPECT_THAT(ChunksOfRange(5), ElementsAre("5678", "9"));
    EXPECT_THAT(ChunksOfRange(2, 7), ElementsAre("2345", "6"));
    EXPECT_THAT(ChunksOfRange(Range{2, 7}), ElementsAre("2345", "6"));
    Data const buffer(bytes);
    FileReadingLoop loop(buffer);
    EXPECT_EQ(loop.Remaining(), 0u);
    loop.Start(path, 5);
    EXPECT_THAT(ChunksOf(loop), ElementsAre("5678", "9"));
    loop.Start(path, 2, 7);
    EXPECT_THAT(ChunksOf(loop), ElementsAre("2345", "6"));
    loop.Start(path, Range{2, 7});
    EXPECT_THAT(ChunksOf(loop), ElementsAre("2345", "6"));
}

TEST_F(FileReadingLoopTest, ReadsNoMoreThanTheRemainingBytes) {
    SystemCalls calls;
    EXPECT_THAT(ChunksOfRange(1, 7), ElementsAre("1234", "56"));
    EXPECT_THAT(calls.Log({"read"}), ElementsAre("read 4", "read 2"));
}

TEST_F(FileReadingLoopTest, EmptyRangeMakesNoReadAndHasNoChunk) {
    FileReadingLoop loop(Data(bytes), path, 0);
    SystemCalls calls;
    for (unsigned long long at : {0, 5, 10, 1000}) {
        loop.Start(path, at, at);
        EXPECT_EQ(loop.Remaining(), 0u);
        EXPECT_TRUE(loop.Chunk().IsEmpty());
    }
    fs::resize_file(name, 0);
    EXPECT_THAT(ChunksOfRange(0), IsEmpty());
    EXPECT_EQ(calls.Count("read"), 0u);
}

TEST_F(FileReadingLoopTest, RangeBeyondTheFileThrowsAfterTheLastByte) {
    SystemCalls calls;
    FileReadingLoop loop(Data(bytes), path, 3, 12);
    EXPECT_THAT(ChunksOf(loop), ElementsAre("3456", "789", endOfFile));
    EXPECT_EQ(loop.Remaining(), 2u);
    EXPECT_EQ(endOfFile, Thrown([&] { ChunksOfRange(10, 12); }));
    EXPECT_EQ(endOfFile, Thrown([&] { ChunksOfRange(1000, 1001); }));
    EXPECT_EQ(calls.Count("read"), 2u) << "a known length needs no read at the end";
    EXPECT_STREQ(FileReadingLoopEndOfFileError().what(), "29FileReadingLoopEndOfFileError");
}

// Deliberate: see the contract.
TEST_F(FileReadingLoopTest, StartAboveItsStopWrapsAround) {
    FileReadingLoop loop(Data(bytes), path, 8, 7);
    EXPECT_EQ(loop.Remaining(), ~0ULL);
    EXPECT_THAT(ChunksOf(loop), ElementsAre("89", endOfFile));
    EXPECT_EQ(endOfFile, Thrown([&] { ChunksOfRange(11); }));
}

TEST_F(FileReadingLoopTest, ReadsUpToTheLengthAtStart) {
    FileReadingLoop loop(Data(bytes), path, 0);
    WriteWholeFile(name, "0123456789abc");
    EXPECT_THAT(ChunksOf(loop), ElementsAre("0123", "4567", "89"));
    loop.Start(path, 0);
    fs::resize_file(name, 6);
    EXPECT_THAT(ChunksOf(loop), ElementsAre("0123", "45", endOfFile));
}

TEST_F(FileReadingLoopTest, ShortReadsReturnShortChunks) {
    SystemCalls calls;
    calls.Limit("read", 1);
    calls.Limit("read", 3);
    EXPECT_THAT(ChunksOfRange(0), ElementsAre("0", "123", "4567", "89"));
}

TEST_F(FileReadingLoopTest, ReadThatReturns0IsTheEndOfTheFile) {
    SystemCalls calls;
    calls.Limit("read", 0, 1);
    FileReadingLoop loop(Data(bytes), path, 0);
    EXPECT_THAT(ChunksOf(loop), ElementsAre("0123", endOfFile));
    EXPECT_EQ(loop.Remaining(), 6u);
    EXPECT_EQ(calls.Count("read"), 2u);
    calls.Limit("read", 0);
    EXPECT_EQ(endOfFile, Thrown([&] { loop.Start(path, 0, 1); }));
}

TEST_F(FileReadingLoopTest, FailedReadThrows) {
    SystemCalls calls;
    calls.Fail("read", EINTR, 1);
    FileReadingLoop loop(Data(bytes), path, 0);
    EXPECT_EQ("FileIOError EINTR" + on, Thrown([&] { ++loop; }));
    path.Close();
    EXPECT_EQ("FileNotOpenError" + on, Thrown([&] { loop.Start(path, 0); }));
}

TEST_F(FileReadingLoopTest, BytesAreIndependentOfTheBufferSize) {
    for (unsigned seed = 0; seed < 30; ++seed) {
        std::mt19937 random(seed);
        std::string const text = RandomBytes(random, random() % 500, EveryByte());
        WriteWholeFile(name, text);
        std::vector<unsigned char> buffer(1 + random() % 100);
        std::size_t const start = random() % (text.size() + 1);
        std::size_t const stop = start + random() % (text.size() - start + 1);
        FileReadingLoop loop(Data(buffer.data(), buffer.size()), path, start, stop);
        Strings const chunks = ChunksOf(loop);
        EXPECT_EQ(std::accumulate(chunks.begin(), chunks.end(), std::string()),
                  text.substr(start, stop - start))
            << seed;
    }
}

} // namespace
