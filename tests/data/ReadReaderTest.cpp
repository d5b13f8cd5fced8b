#include "data/ReadReader.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "data/DataReader.h"
#include "data/DataReceiver.h"
#include "tests/support/Bytes.h"
#include "tests/support/ChunkReader.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/RecordingReceivers.h"

namespace {

using Calls = std::vector<std::string>;

TEST(ReadReaderTest, EmptyReaderGivesNoReceive) {
    RecordingDataReceiver receiver;
    ReadReader(DataReader::Empty(), receiver);
    EXPECT_EQ(Calls({"Start", "ReceiveEnd"}), receiver.Calls());
    EXPECT_EQ("", ReadReader(DataReader::Empty()));
}

TEST(ReadReaderTest, HandsOnWhatEachCallGives) {
    ChunkReader reader("abcde", 2);
    RecordingDataReceiver receiver;
    ReadReader(reader, receiver);
    EXPECT_EQ(Calls({"Start", "Receive ab", "Receive cd", "Receive e", "ReceiveEnd"}),
              receiver.Calls());
}

TEST(ReadReaderTest, CallThatGivesNothingIsAnEmptyChunk) {
    ChunkReader reader("ab", 1);
    reader.PauseBeforeEachByte();
    RecordingDataReceiver receiver;
    ReadReader(reader, receiver);
    EXPECT_EQ(Calls({"Start", "Receive ", "Receive a", "Receive ", "Receive b", "ReceiveEnd"}),
              receiver.Calls());
}

TEST(ReadReaderTest, ChunksHaveAtMost4096Bytes) {
    ChunkReader reader(std::string(4096, 'a') + std::string(4096, 'b') + "c", 1000000);
    RecordingDataReceiver receiver;
    ReadReader(reader, receiver);
    EXPECT_EQ(Calls({"Start", "Receive " + std::string(4096, 'a'),
                     "Receive " + std::string(4096, 'b'), "Receive c", "ReceiveEnd"}),
              receiver.Calls());
}

TEST(ReadReaderTest, YieldsAllBytesAsAString) {
    std::string text;
    for (int i = 0; i < 100; ++i)
        text += EveryByte();
    ChunkReader reader(text, 777);
    EXPECT_EQ(text, ReadReader(reader));
}

TEST(ReadReaderTest, FailureOfAStageLeavesWithoutAnEnd) {
    class ThrowingReceiver : public DataReceiver {
    public:
        void Start() override {}
        void Receive(ConstData) override { throw NoMoreData(); }
        void ReceiveEnd() override { ADD_FAILURE() << "ReceiveEnd behind an exception"; }
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
