#include "data/DataReader.h"

#include "data/ReadReader.h"
#include "tests/data/DataTest.h"
#include "tests/support/ChunkReader.h"

namespace {

static_assert(sizeof(DataReader) == sizeof(void*) && std::has_virtual_destructor_v<DataReader>);
static_assert(std::is_base_of_v<DebuggableException, NoMoreData>);

TEST(DataReaderTest, FillsRangeIndependentlyOfTheChunkSize) {
    for (std::size_t chunk = 1; chunk <= 12; ++chunk) {
        ChunkReader reader("0123456789ABCDEF", chunk);
        unsigned char bytes[10];
        EXPECT_EQ(&reader, &(reader >> Data(bytes)));
        EXPECT_EQ(ConstData("0123456789"), ConstData(bytes));
        EXPECT_EQ(ConstData("ABCDEF"), reader.Left());
        reader >> Data() >> Data(bytes, 6);
        EXPECT_EQ(ConstData("ABCDEF"), ConstData(bytes, 6));
        EXPECT_TRUE(reader.Finished());
    }
}

TEST(DataReaderTest, StoresBytesBeforeThrowingNoMoreData) {
    ChunkReader reader("0123456789", 4);
    unsigned char bytes[11] = {0};
    bytes[10] = '.';
    EXPECT_THROW(reader >> Data(bytes), NoMoreData);
    EXPECT_EQ(ConstData("0123456789."), ConstData(bytes));
    EXPECT_STREQ("10NoMoreData", NoMoreData().what());
}

// Overrides Unfinished in addition to Finished.
class OwnUnfinishedReader : public DataReader {
public:
    using DataReader::operator>>;

    bool Finished() const override {
        ADD_FAILURE() << "Finished was called, although Unfinished is overridden";
        return true;
    }
    bool Unfinished() const override { return left != 0; }
    DataReader& operator>>(Buffer& target) override {
        *target.position++ = 'x';
        --left;
        return *this;
    }

private:
    int left = 3;
};

TEST(DataReaderTest, CallsUnfinishedRatherThanFinished) {
    OwnUnfinishedReader reader;
    unsigned char bytes[4];
    EXPECT_THROW(reader >> Data(bytes), NoMoreData);
    EXPECT_EQ(ConstData("xxx"), ConstData(bytes, 3));
    OwnUnfinishedReader other;
    EXPECT_EQ("xxx", ReadReader(other));
}

TEST(DataReaderTest, ReadsAgainAfterAReadOfNoBytes) {
    ChunkReader reader("abc", 1);
    reader.PauseBeforeEachByte();
    unsigned char bytes[3];
    reader >> Data(bytes);
    EXPECT_EQ(ConstData("abc"), ConstData(bytes));
}

TEST(DataReaderTest, EmptyIsASharedFinishedReader) {
    DataReader& empty = DataReader::Empty();
    EXPECT_EQ(&empty, &DataReader::Empty());
    EXPECT_NE(nullptr, dynamic_cast<EmptyDataReader*>(&empty));
    EXPECT_TRUE(empty.Finished());
    EXPECT_FALSE(empty.Unfinished());
}

// The destructor takes the first two slots.
TEST(DataReaderTest, VirtualSlotsHaveFixedOrder) {
    EXPECT_EQ(2u, SlotOf(&DataReader::Finished));
    EXPECT_EQ(3u, SlotOf(&DataReader::Unfinished));
    EXPECT_EQ(4u, SlotOf<DataReader& (DataReader::*)(Buffer&)>(&DataReader::operator>>));
    EXPECT_EQ(5u, SlotOf<DataReader& (DataReader::*)(Data)>(&DataReader::operator>>));
}

TEST(EmptyDataReaderTest, FillsOnlyAnEmptyRange) {
    EmptyDataReader reader;
    unsigned char byte[] = {'a'};
    Buffer buffer{Data(byte)};
    EXPECT_EQ(&reader, &(reader >> buffer));
    EXPECT_EQ(byte, buffer.position);
    EXPECT_EQ(&reader, &(reader >> Data()));
    EXPECT_EQ(&reader, &(reader >> Data(byte, 0)));
    EXPECT_THROW(reader >> Data(byte), NoMoreData);
    EXPECT_EQ('a', byte[0]);
}

} // namespace
