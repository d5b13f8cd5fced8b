#include "data/ChecksumReceiver.h"

#include "fuzz/ChecksumProperties.h"
#include "tests/data/DataTest.h"

namespace {

std::uint32_t Reference(ConstData data) {
    return ChecksumProperties::AdvanceByBits(0xFFFFFFFF, data.View());
}

std::uint32_t ValueOf(ConstData data) {
    ChecksumReceiver receiver;
    StartReceiveAndEnd(receiver, data);
    return receiver.Value();
}

// 0xFC891918 is the check value that the catalogues of CRCs give for CRC-32/BZIP2.
TEST(ChecksumReceiverTest, CheckValueIsThatOfBzip2) {
    EXPECT_EQ(0x0376E6E7u, ValueOf("123456789"));
    EXPECT_EQ(0xFC891918u, ~ValueOf("123456789"));
}

// Deliberate: ReceiveEnd does not complement the register. The caller does.
TEST(ChecksumReceiverTest, EndKeepsAndStartResetsTheRegister) {
    ChecksumReceiver receiver;
    EXPECT_EQ(0xFFFFFFFFu, receiver.Value());
    for (int stream = 0; stream < 2; ++stream) {
        receiver.Start();
        EXPECT_EQ(0xFFFFFFFFu, receiver.Value());
        receiver.Receive(ConstDataRope{"12", "", "345", "6789"});
        EXPECT_EQ(0x0376E6E7u, receiver.Value());
        receiver.ReceiveEnd();
        EXPECT_EQ(0x0376E6E7u, receiver.Value());
    }
}

TEST(ChecksumReceiverTest, ValueIsIndependentOfChunks) {
    std::mt19937 random(66);
    std::string const input = RandomBytes(random, 300, EveryByte());
    std::uint32_t const expected = Reference(input);
    ForEachSplit(input, [&](Chunks const& chunks) {
        ChecksumReceiver receiver;
        Send(chunks, receiver);
        EXPECT_EQ(expected, receiver.Value());
    });
}

// The lengths include several blocks of the fast path, at every alignment.
TEST(ChecksumReceiverTest, EveryLengthAgreesWithReference) {
    unsigned const seed = 67;
    std::mt19937 random(seed);
    std::string const bytes = RandomBytes(random, 400, EveryByte());
    for (std::size_t offset = 0; offset < 17; ++offset)
        for (std::size_t length = 0; offset + length <= bytes.size(); ++length) {
            ConstData const data(bytes.data() + offset, length);
            ASSERT_EQ(Reference(data), ValueOf(data))
                << "seed " << seed << ", offset " << offset << ", length " << length;
        }
}

TEST(ChecksumReceiverTest, TableHasTheRemainderOfEachByte) {
    std::uint32_t const* const table = ChecksumReceiver::Table();
    for (std::uint32_t i = 0; i < 256; ++i)
        EXPECT_EQ(ChecksumProperties::AdvanceByBits(0, std::string(1, static_cast<char>(i))),
                  table[i])
            << i;
    EXPECT_EQ(0x04C11DB7u, table[1]);
}

TEST(ChecksumReceiverTest, ConstructorRestoresTheSharedTable) {
    std::uint32_t* const table = const_cast<std::uint32_t*>(ChecksumReceiver::MakeTable());
    EXPECT_EQ(ChecksumReceiver::Table(), table);
    table[1] = 5;
    table[255] = 6;
    EXPECT_EQ(0x0376E6E7u, ValueOf("123456789"));
    EXPECT_EQ(0x04C11DB7u, table[1]);
    EXPECT_EQ(0xB1F740B4u, table[255]);
}

TEST(ChecksumReceiverTest, StartupFlagIsClearedBeforeMain) {
    EXPECT_FALSE(ChecksumReceiver::initializeTableAtStartup);
}

TEST(ChecksumReceiverTest, AllocatesNothing) {
    std::string const text(5000, 'x');
    EXPECT_EQ(0u, AllocationsOf([&] { ValueOf(text); }));
}

} // namespace
