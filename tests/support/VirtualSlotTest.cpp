#include "tests/support/VirtualSlot.h"

#include <gtest/gtest.h>

namespace {

struct First {
    virtual void One() {}
    virtual ~First() = default;
    virtual void Two() = 0;
    void Plain() {}
};

struct Derived : First {
    void Two() override {}
    virtual void Three() {}
};

TEST(VirtualSlotTest, SlotsFollowDeclarationsAndDestructorTakesTwo) {
    EXPECT_EQ(0u, SlotOf(&First::One));
    EXPECT_EQ(3u, SlotOf(&First::Two));
    EXPECT_EQ(3u, SlotOf(&Derived::Two));
    EXPECT_EQ(4u, SlotOf(&Derived::Three));
    EXPECT_EQ(notVirtual, SlotOf(&First::Plain));
}

} // namespace
