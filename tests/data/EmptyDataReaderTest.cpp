#include "data/EmptyDataReader.h"

#include <gtest/gtest.h>

#include "data/Buffer.h"
#include "data/Data.h"
#include "tests/support/Bytes.h"

namespace {

TEST(EmptyDataReaderTest, IsAlwaysFinished) {
    EmptyDataReader const reader;
    EXPECT_TRUE(reader.Finished());
    EXPECT_FALSE(reader.Unfinished());
}

TEST(EmptyDataReaderTest, LeavesABufferUntouched) {
    EmptyDataReader reader;
    unsigned char bytes[] = {'a'};
    Buffer buffer{Data(bytes)};
    EXPECT_EQ(&reader, &(reader >> buffer));
    EXPECT_EQ(bytes, buffer.position);
    EXPECT_EQ('a', bytes[0]);
}

TEST(EmptyDataReaderTest, FillsOnlyAnEmptyRange) {
    unsigned char byte[1];
    EXPECT_EQ(&DataReader::Empty(), &(DataReader::Empty() >> Data()));
    EXPECT_EQ(&DataReader::Empty(), &(DataReader::Empty() >> Data(byte, 0)));
    EXPECT_THROW(DataReader::Empty() >> Data(byte), NoMoreData);
}

} // namespace
