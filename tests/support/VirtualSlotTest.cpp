#include "tests/support/VirtualSlot.h"

#include <gtest/gtest.h>

namespace {

struct First {
    virtual void One() {}
    virtual void Two() {}
    void Plain() {}
};

struct WithDestructor {
    virtual ~WithDestructor() = default;
    virtual void Behind(int) const {}
    virtual int Pure() = 0;
};

struct Derived : First {
    void Two() override {}
    virtual void Three() {}
};

TEST(VirtualSlotTest, OperationsAreCountedInTheOrderOfTheirDeclaration) {
    EXPECT_EQ(0u, SlotOf(&First::One));
    EXPECT_EQ(1u, SlotOf(&First::Two));
}

TEST(VirtualSlotTest, DestructorTakesTwo) {
    EXPECT_EQ(2u, SlotOf(&WithDestructor::Behind));
    EXPECT_EQ(3u, SlotOf(&WithDestructor::Pure));
}

TEST(VirtualSlotTest, OverrideStandsInTheSlotOfItsBase) {
    EXPECT_EQ(1u, SlotOf(&Derived::Two));
    EXPECT_EQ(2u, SlotOf(&Derived::Three));
}

TEST(VirtualSlotTest, OtherOperationsHaveNone) { EXPECT_EQ(notVirtual, SlotOf(&First::Plain)); }

} // namespace
