#include "data/Buffer.h"

#include "tests/data/DataTest.h"

namespace {

static_assert(!std::is_copy_constructible_v<BufferWithCapacity<8>>);
static_assert(!std::is_copy_assignable_v<BufferWithCapacity<8>>);

TEST(BufferTest, NewBufferStartsAtTheBeginningOfItsRange) {
    unsigned char bytes[4];
    Buffer const buffer{Data(bytes)};
    EXPECT_EQ(bytes, buffer.position);
    EXPECT_EQ(bytes, buffer.start);
    EXPECT_EQ(bytes + 4, buffer.end);
    EXPECT_TRUE(buffer.Written().IsEmpty());
    EXPECT_EQ(4u, buffer.Room().Length());
    ConstBuffer const source(ConstData("abc"));
    EXPECT_EQ(source.position, source.start);
    EXPECT_EQ(ConstData("abc"), source.Left());
}

TEST(BufferTest, CopyMovesBothPositionsUntilEitherRangeEnds) {
    unsigned char bytes[4];
    Buffer target{Data(bytes)};
    ConstBuffer source(ConstData("abc"));
    EXPECT_EQ(&target, &(target << source));
    EXPECT_TRUE(source.IsEmpty());
    EXPECT_FALSE(target.IsFull());
    EXPECT_EQ(ConstData("abc"), target.Written());
    ConstBuffer more(ConstData("def"));
    for (int round = 0; round < 2; ++round) {
        target << more;
        EXPECT_TRUE(target.IsFull());
        EXPECT_EQ(ConstData("abcd"), target.Written());
        EXPECT_EQ(ConstData("ef"), more.Left());
    }
    target.Reset();
    target << more;
    EXPECT_EQ(ConstData("ef"), target.Written());
    EXPECT_EQ(ConstData("efcd"), ConstData(bytes))
        << "the bytes after the position are not changed";
}

TEST(BufferTest, CopyOfNoBytesHasNoEffect) {
    Buffer target{Data()};
    ConstBuffer source{ConstData()};
    target << source;
    EXPECT_EQ(nullptr, target.position);
    EXPECT_EQ(nullptr, source.position);
}

TEST(BufferWithCapacityTest, StoresItsBytesInTheObject) {
    BufferWithCapacity<3> buffer;
    unsigned char* const object = reinterpret_cast<unsigned char*>(&buffer);
    EXPECT_EQ(3, buffer.end - buffer.start);
    EXPECT_EQ(buffer.start, buffer.position);
    EXPECT_LE(object, buffer.start);
    EXPECT_LE(buffer.end, object + sizeof(buffer));
    EXPECT_EQ(0u, AllocationsOf([&] { buffer << ConstDataRope{"ab", "cd"}; }));
    EXPECT_TRUE(buffer.IsFull());
    EXPECT_EQ(ConstData("abc"), buffer.Written());
}

} // namespace
