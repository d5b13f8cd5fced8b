#include "files/ReadFile.h"

#include "data/LineMaker.h"
#include "data/MessageMaker.h"
#include "files/FileReader.h"
#include "files/FileReadingLoop.h"
#include "files/FileReadingPath.h"
#include "tests/files/FileTest.h"
#include "tests/support/RecordingReceivers.h"

namespace {

using Offsets = Range<unsigned long long>;

// Records the length of each chunk without allocating.
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
    std::size_t sizes[4] = {};
};

class ReadFileTest : public OpenFileTest {
protected:
    // The calls that a receiver gets for a range, and the exception.
    Strings CallsOf(std::function<void(DataReceiver&)> const& read) {
        RecordingDataReceiver receiver;
        std::string const thrown = Thrown([&] { read(receiver); });
        Strings calls = receiver.Calls();
        if (thrown != "nothing")
            calls.push_back(thrown);
        return calls;
    }

    template <class... Range>
    Strings CallsOfFile(Range... range) {
        return CallsOf([&](DataReceiver& receiver) { ReadFile(file, receiver, range...); });
    }

    Strings CallsOfRange(Offsets const& range) {
        return CallsOf([&](DataReceiver& receiver) { ReadFileRange(reader, range, receiver); });
    }

    FileLocation const missing = Here("missing");
    std::string const endOfFile = "FileReadingLoopEndOfFileError";
    FileReadingPath const path{file};
    FileReader reader{path, 9};
};

using ReadFileRangeTest = ReadFileTest;

TEST_F(ReadFileTest, SendsTheRangeAsOneStream) {
    EXPECT_THAT(CallsOfFile(0), ElementsAre("Start", "Receive 0123456789", "ReceiveEnd"));
    EXPECT_THAT(CallsOfFile(7), ElementsAre("Start", "Receive 789", "ReceiveEnd"));
    EXPECT_THAT(CallsOfFile(2, 5), ElementsAre("Start", "Receive 234", "ReceiveEnd"));
    EXPECT_THAT(CallsOfFile(4, 4), ElementsAre("Start", "ReceiveEnd"));
    // Deliberate: a start greater than the stop wraps around.
    for (unsigned long long const stop : {20, 2})
        EXPECT_THAT(CallsOfFile(4, stop), ElementsAre("Start", "Receive 456789", endOfFile));
    EXPECT_THAT(CallsOfFile(11), ElementsAre("Start", endOfFile));
    WriteWholeFile(name, "");
    EXPECT_THAT(CallsOfFile(0), ElementsAre("Start", "ReceiveEnd"));
}

// The receiver checks in each call whether the file was opened and closed.
TEST_F(ReadFileTest, FileIsOpenFromAfterStartUntilBeforeReceiveEnd) {
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

TEST_F(ReadFileTest, FailureEndsTheStreamWithoutReceiveEndAndClosesTheFile) {
    std::size_t const before = DescriptorsOn(name).size();
    SystemCalls calls;
    calls.Fail("close", EIO);
    EXPECT_THAT(CallsOfFile(0), ElementsAre("Start", "Receive 0123456789", "ReceiveEnd"))
        << "a failed close is ignored";
    calls.Fail("read", EIO);
    EXPECT_THAT(CallsOfFile(0), ElementsAre("Start", "FileIOError EIO" + on));
    struct : DataReceiver {
        void Start() override {}
        void Receive(ConstData) override { throw 42; }
        void ReceiveEnd() override { ADD_FAILURE() << "ReceiveEnd after a failure"; }
    } throwing;
    EXPECT_EQ("int", Thrown([&] { ReadFile(file, throwing, 0); }));
    EXPECT_EQ(before, DescriptorsOn(name).size());
    for (std::string const& where : {directory / "missing", std::string("/proc/kmsg")})
        EXPECT_THAT(CallsOf([&](DataReceiver& receiver) { ReadFile(At(where), receiver, 0); }),
                    ElementsAre("Start", (where == "/proc/kmsg" ? "FileIOError"
                                                                : "FileNotFoundError ENOENT") +
                                             On(where)));
}

TEST_F(ReadFileTest, UnknownOrExcessiveLengthThrowsAfterTheContent) {
    for (std::string const where : {"/proc/version", fileWithExcessiveLength}) {
        if (!fs::exists(where))
            GTEST_SKIP() << "no " << where;
        RecordingDataReceiver receiver;
        EXPECT_EQ(endOfFile, Thrown([&] { ReadFile(At(where), receiver, 0); }));
        EXPECT_EQ(receiver.Text(), ReadWholeFile(where));
        EXPECT_TRUE(receiver.IsOpen());
        // A range ends at the end of the file at the latest.
        FileReadingPath const special(At(where));
        FileReader source(special, 0);
        ReadFileRange(source, Offsets{0, ~0ULL}, receiver);
        EXPECT_EQ(receiver.Text(), ReadWholeFile(where));
        EXPECT_FALSE(receiver.IsOpen());
    }
}

// Deliberate: positions count from the first byte that is read.
TEST_F(ReadFileTest, SendsLinesThroughALineMaker) {
    WriteWholeFile(name, "one\r\ntwo\n");
    RecordingLineReceiver lines;
    ReadFile(file, lines, 5);
    ReadFile(file, lines, 2, 6);
    EXPECT_THAT(lines.Calls(), ElementsAre("Start 0", "Receive two", "ReceiveLineBreak 3-4",
                                           "ReceiveEnd 4", "Start 0", "Receive e",
                                           "ReceiveLineBreak 1-3", "Receive t", "ReceiveEnd 4"));
}

TEST_F(ReadFileTest, SendsMessagesThroughAMessageMaker) {
    auto const callsOf = [](std::string const& message) {
        RecordingMessageReceiver receiver;
        MessageMaker maker(receiver);
        LineMaker lines(maker);
        StartReceiveAndEnd(lines, message);
        return receiver.Calls();
    };
    WriteWholeFile(name, "xxTitle: hi\n\nbody");
    RecordingMessageReceiver whole;
    ReadFile(file, whole, 2);
    EXPECT_EQ(whole.Calls(), callsOf("Title: hi\n\nbody"));
    RecordingMessageReceiver part;
    ReadFile(file, part, 2, 9);
    EXPECT_EQ(part.Calls(), callsOf("Title: "));
    RecordingLineReceiver noLines;
    EXPECT_THROW(ReadFile(missing, noLines, 0, 5), FileNotFoundError);
    EXPECT_THAT(noLines.Calls(), ElementsAre("Start 0"));
    RecordingMessageReceiver noMessage;
    EXPECT_THROW(ReadFile(missing, noMessage, 0, 5), FileNotFoundError);
    EXPECT_THAT(noMessage.Calls(), ElementsAre("Start 0"));
}

TEST_F(ReadFileTest, ReadsChunksOf4096BytesWithoutAllocating) {
    WriteWholeFile(name, std::string(10'000, 'x'));
    CountingReceiver whole;
    EXPECT_EQ(AllocationsOf([&] { ReadFile(file, whole, 0); }), 0u);
    EXPECT_THAT(whole.sizes, ElementsAre(4096, 4096, 1808, 0));
    EXPECT_EQ(whole.starts + whole.ends, 2);
    CountingReceiver range;
    EXPECT_EQ(AllocationsOf([&] { ReadFileRange(reader, Offsets{100, 5000}, range); }), 0u);
    EXPECT_THAT(range.sizes, ElementsAre(4096, 804, 0, 0)) << "the excess bytes are dropped";
    EXPECT_EQ(reader.Position(), 100u + 2 * 4096) << "after the last byte that was read";
}

TEST_F(ReadFileRangeTest, SendsTheBytesOfTheRange) {
    EXPECT_THAT(CallsOfRange({2, 6}), ElementsAre("Start", "Receive 2345", "ReceiveEnd"));
    for (Offsets range : {Offsets{4, 4}, Offsets{7, 3}, Offsets{50, 50}}) {
        EXPECT_THAT(CallsOfRange(range), ElementsAre("Start", "ReceiveEnd"));
        EXPECT_EQ(reader.Position(), range.begin);
    }
}

TEST_F(ReadFileRangeTest, EndsAtTheEndOfTheFile) {
    SystemCalls calls;
    EXPECT_THAT(CallsOfRange({6, 1000}), ElementsAre("Start", "Receive 6789", "ReceiveEnd"));
    EXPECT_THAT(CallsOfRange({100, 1000}), ElementsAre("Start", "ReceiveEnd"));
    EXPECT_EQ(calls.Count("read"), 1u) << "a known length needs no read at the end";
    calls.Limit("read", 3);
    EXPECT_THAT(CallsOfRange({0, 8}),
                ElementsAre("Start", "Receive 012", "Receive 34567", "ReceiveEnd"));
    calls.Limit("read", 3);
    calls.Limit("read", 0);
    EXPECT_THAT(CallsOfRange({0, 8}), ElementsAre("Start", "Receive 012", "ReceiveEnd"));
}

TEST_F(ReadFileRangeTest, EndOfAnUnknownLengthIsFinalUntilStart) {
    FileReadingPath const version(At("/proc/version"));
    reader.Start(version, 1 << 20);
    EXPECT_TRUE(reader.Finished());
    EXPECT_THAT(CallsOfRange({0, 5}), ElementsAre("Start", "ReceiveEnd"));
    reader.Start(version, 0);
    EXPECT_THAT(CallsOfRange({0, 5}), ElementsAre("Start", "Receive Linux", "ReceiveEnd"));
}

TEST_F(ReadFileRangeTest, RandomRangesAgreeWithTheContent) {
    for (unsigned seed = 0; seed < 30; ++seed) {
        std::mt19937 random(seed);
        std::string const text = RandomBytes(random, random() % 20'000, EveryByte());
        WriteWholeFile(name, text);
        std::size_t const begin = random() % (text.size() + 1);
        std::size_t const end = begin + random() % 10'000;
        RecordingDataReceiver receiver;
        ReadFileRange(reader, Offsets{begin, end}, receiver);
        EXPECT_TRUE(receiver.Text() == text.substr(begin, end - begin)) << "seed " << seed;
    }
}

} // namespace
