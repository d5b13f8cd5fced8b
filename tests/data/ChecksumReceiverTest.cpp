#include "data/ChecksumReceiver.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "data/ConstDataRopeReference.h"
#include "data/DataReceiver.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/ForEachSplit.h"

namespace {

// The register by the definition, bit by bit.
std::uint32_t Reference(ConstData data) {
    std::uint32_t value = 0xFFFFFFFF;
    for (unsigned char const* byte = data.begin; byte != data.end; ++byte)
        for (int bit = 7; bit >= 0; --bit) {
            bool const out = (value >> 31) != ((*byte >> bit & 1u) != 0 ? 1u : 0u);
            value = value << 1 ^ (out ? 0x04C11DB7u : 0u);
        }
    return value;
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

TEST(ChecksumReceiverTest, EmptyStreamLeavesInitialValue) {
    EXPECT_EQ(0xFFFFFFFFu, ChecksumReceiver().Value());
    EXPECT_EQ(0xFFFFFFFFu, ValueOf(ConstData()));
}

// Deliberate: ReceiveEnd does not complement the register. The caller does.
TEST(ChecksumReceiverTest, EndKeepsAndStartResetsTheRegister) {
    ChecksumReceiver receiver;
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
        receiver.Start();
        chunks.Feed([&](ConstData chunk) { receiver.Receive(chunk); });
        receiver.ReceiveEnd();
        EXPECT_EQ(expected, receiver.Value());
    });
}

// The lengths at which the fast forms begin and end, at every alignment.
TEST(ChecksumReceiverTest, EveryLengthAgreesWithReference) {
    unsigned const seed = 67;
    std::mt19937 random(seed);
    std::string const bytes = RandomBytes(random, 400, EveryByte());
    std::vector<std::pair<std::size_t, std::size_t>> wrong;
    for (std::size_t offset = 0; offset < 17; ++offset)
        for (std::size_t length = 0; offset + length <= bytes.size(); ++length) {
            ConstData const data(bytes.data() + offset, length);
            if (ValueOf(data) != Reference(data))
                wrong.emplace_back(offset, length);
        }
    EXPECT_TRUE(wrong.empty()) << "seed " << seed << ", offset " << wrong[0].first << ", length "
                               << wrong[0].second;
}

TEST(ChecksumReceiverTest, LongStreamAgreesWithReference) {
    std::mt19937 random(68);
    std::string const bytes = RandomBytes(random, 1000003, EveryByte());
    EXPECT_EQ(Reference(bytes), ValueOf(bytes));
}

TEST(ChecksumReceiverTest, TableHoldsEightStepsOfEachByte) {
    std::uint32_t const* const table = ChecksumReceiver::Table();
    std::vector<std::uint32_t> wrong;
    for (std::uint32_t i = 0; i < 256; ++i) {
        std::uint32_t v = i << 24;
        for (int bit = 0; bit < 8; ++bit)
            v = (v & 0x80000000u) != 0 ? v << 1 ^ 0x04C11DB7u : v << 1;
        if (table[i] != v)
            wrong.push_back(i);
    }
    EXPECT_EQ(std::vector<std::uint32_t>(), wrong);
    EXPECT_EQ(0u, table[0]);
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

TEST(ChecksumReceiverTest, FlagIsClearedBeforeMain) {
    EXPECT_FALSE(ChecksumReceiver::initializeTableAtStartup);
}

TEST(ChecksumReceiverTest, AllocatesNothing) {
    std::string const text(5000, 'x');
    EXPECT_EQ(0u, AllocationsOf([&] { ValueOf(text); }));
}

} // namespace
