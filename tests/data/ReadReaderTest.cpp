#include "data/ReadReader.h"

#include "tests/data/DataTest.h"
#include "tests/support/ChunkReader.h"

namespace {

TEST(ReadReaderTest, PassesOnOneChunkOfAtMost4096BytesForEachRead) {
    struct {
        std::string text;
        std::size_t size;
        Calls calls;
    } const cases[] = {
        {"", 1, {"Start", "ReceiveEnd"}},
        {"abcde", 2, {"Start", "Receive ab", "Receive cd", "Receive e", "ReceiveEnd"}},
        {std::string(4097, 'a'),
         1000000,
         {"Start", "Receive " + std::string(4096, 'a'), "Receive a", "ReceiveEnd"}},
    };
    for (auto const& [text, size, calls] : cases) {
        ChunkReader reader(text, size);
        RecordingDataReceiver receiver;
        ReadReader(reader, receiver);
        EXPECT_EQ(calls, receiver.Calls());
        ChunkReader again(text, size);
        EXPECT_EQ(text, ReadReader(again));
    }
}

TEST(ReadReaderTest, EmptyReadSendsAnEmptyChunk) {
    ChunkReader reader("ab", 1);
    reader.PauseBeforeEachByte();
    RecordingDataReceiver receiver;
    ReadReader(reader, receiver);
    EXPECT_EQ(Calls({"Start", "Receive ", "Receive a", "Receive ", "Receive b", "ReceiveEnd"}),
              receiver.Calls());
}

TEST(ReadReaderTest, ExceptionOfAReceiverAbandonsTheStream) {
    class ThrowingReceiver : public DataReceiver {
    public:
        void Start() override {}
        void Receive(ConstData) override { throw NoMoreData(); }
        void ReceiveEnd() override { ADD_FAILURE() << "ReceiveEnd after an exception"; }
    };
    ChunkReader reader("abc", 1);
    ThrowingReceiver receiver;
    EXPECT_THROW(ReadReader(reader, receiver), NoMoreData);
    EXPECT_EQ(ConstData("bc"), reader.Left());
}

TEST(ReadReaderTest, AllocatesNothing) {
    ChunkReader reader(std::string(10000, 'x'), 3000);
    IgnoreDataReceiver receiver;
    EXPECT_EQ(0u, AllocationsOf([&] { ReadReader(reader, receiver); }));
}

TEST(ReadReaderTest, ReadsLines) {
    ChunkReader reader("a\r\nb\n", 2);
    RecordingLineReceiver receiver;
    ReadReader(reader, receiver);
    EXPECT_EQ(Calls({"Start 0", "Receive a", "ReceiveLineBreak 1-3", "Receive b",
                     "ReceiveLineBreak 4-5", "ReceiveEnd 5"}),
              receiver.Calls());
}

TEST(ReadReaderTest, ReadsAMessage) {
    ChunkReader reader("Title: hi\n there\n\nbody", 3);
    RecordingMessageReceiver receiver;
    ReadReader(reader, receiver);
    EXPECT_EQ(
        Calls({"Start 0", "ReceiveHeaderField 0 title", "field Start", "field Receive hi there",
               "field ReceiveEnd", "ReceiveHeaderFieldEnd 16", "ReceiveBody 18", "body Start 18",
               "body Receive body", "body ReceiveEnd 22", "ReceiveEnd 22"}),
        receiver.Events());
}

} // namespace
