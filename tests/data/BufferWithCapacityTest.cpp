#include "data/BufferWithCapacity.h"

#include <type_traits>

#include <gtest/gtest.h>

#include "data/ConstDataRopeReference.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"

namespace {

static_assert(!std::is_copy_constructible_v<BufferWithCapacity<8>>);
static_assert(!std::is_copy_assignable_v<BufferWithCapacity<8>>);

TEST(BufferWithCapacityTest, HoldsItsBytesInside) {
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
