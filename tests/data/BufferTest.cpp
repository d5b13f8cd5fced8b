#include "data/Buffer.h"

#include <type_traits>

#include <gtest/gtest.h>

#include "data/ConstDataRopeReference.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"

namespace {

static_assert(!std::is_copy_constructible_v<BufferWithCapacity<8>>);
static_assert(!std::is_copy_assignable_v<BufferWithCapacity<8>>);

TEST(BufferTest, NewBufferStartsAtTheBeginOfItsRange) {
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

TEST(BufferTest, CopyMovesBothPositions) {
    unsigned char bytes[4];
    Buffer target{Data(bytes)};
    ConstBuffer source(ConstData("abc"));
    EXPECT_EQ(&target, &(target << source));
    EXPECT_EQ(bytes + 3, target.position);
    EXPECT_EQ(source.end, source.position);
    EXPECT_TRUE(source.IsEmpty());
    EXPECT_FALSE(target.IsFull());
    EXPECT_EQ(ConstData("abc"), target.Written());
}

TEST(BufferTest, CopyStopsAtAFullTarget) {
    unsigned char bytes[4];
    Buffer target{Data(bytes)};
    ConstBuffer source(ConstData("abcdef"));
    target << source;
    EXPECT_TRUE(target.IsFull());
    EXPECT_EQ(ConstData("ef"), source.Left());
    target << source;
    EXPECT_EQ(ConstData("ef"), source.Left());
    target.Reset();
    target << source;
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
    BufferWithCapacity<48> buffer;
    unsigned char* const object = reinterpret_cast<unsigned char*>(&buffer);
    EXPECT_EQ(48, buffer.end - buffer.start);
    EXPECT_EQ(buffer.start, buffer.position);
    EXPECT_LE(object, buffer.start);
    EXPECT_LE(buffer.end, object + sizeof(buffer));
}

TEST(BufferWithCapacityTest, TakesUpToItsCapacityWithoutAllocating) {
    BufferWithCapacity<3> buffer;
    EXPECT_EQ(0u, AllocationsOf([&] { buffer << ConstDataRope{"ab", "cd"}; }));
    EXPECT_TRUE(buffer.IsFull());
    EXPECT_EQ(ConstData("abc"), buffer.Written());
}

} // namespace
