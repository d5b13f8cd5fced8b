#include "strings/NullOr.h"

#include <type_traits>

#include <gtest/gtest.h>

#include "tests/strings/Counted.h"

namespace {

static_assert(!std::is_polymorphic_v<NullOr<int>>, "a value type");

// Each test begins with no value alive and ends the same way.
class NullOrTest : public testing::Test {
protected:
    NullOrTest() { Counted::StartAfresh(); }
    ~NullOrTest() override { EXPECT_EQ(0, Counted::alive); }
};

TEST_F(NullOrTest, DefaultIsNull) {
    NullOr<Counted> const none;
    EXPECT_TRUE(none.IsNull());
    EXPECT_EQ(0, Counted::alive);
}

TEST_F(NullOrTest, HoldsItsOwnCopyOfTheValue) {
    Counted value(7);
    NullOr<Counted> some(value);
    value.value = 8;
    EXPECT_FALSE(some.IsNull());
    EXPECT_EQ(7, some->value);
    EXPECT_EQ(2, Counted::alive);
}

TEST_F(NullOrTest, ValueCanBeChangedInPlace) {
    NullOr<int> some(1);
    ++*some;
    NullOr<int> const& reader = some;
    EXPECT_EQ(2, *reader);
}

TEST_F(NullOrTest, CopyHoldsAnotherObject) {
    NullOr<Counted> const original{Counted(7)};
    NullOr<Counted> copy(original);
    copy->value = 8;
    EXPECT_EQ(7, original->value);
    EXPECT_NE(&*original, &*copy);
    EXPECT_EQ(2, Counted::alive);
}

TEST_F(NullOrTest, CopyOfNullIsNull) {
    NullOr<Counted> const original;
    EXPECT_TRUE(NullOr<Counted>(original).IsNull());
}

TEST_F(NullOrTest, AssigningReplacesTheValueByAnotherCopy) {
    NullOr<Counted> target{Counted(1)};
    NullOr<Counted> const source{Counted(2)};
    target = source;
    EXPECT_EQ(2, target->value);
    EXPECT_NE(&*source, &*target);
    EXPECT_EQ(2, Counted::alive);
}

TEST_F(NullOrTest, AssigningAValueFillsANull) {
    NullOr<Counted> target;
    target = NullOr<Counted>(Counted(2));
    ASSERT_FALSE(target.IsNull());
    EXPECT_EQ(2, target->value);
}

TEST_F(NullOrTest, AssigningNullFreesTheValue) {
    NullOr<Counted> target{Counted(1)};
    EXPECT_EQ(1, Counted::alive);
    target = NullOr<Counted>();
    EXPECT_TRUE(target.IsNull());
    EXPECT_EQ(0, Counted::alive);
}

TEST_F(NullOrTest, AssigningNullToNullIsHarmless) {
    NullOr<Counted> target;
    target = NullOr<Counted>();
    EXPECT_TRUE(target.IsNull());
}

TEST_F(NullOrTest, SelfAssignmentDoesNothing) {
    NullOr<Counted> target{Counted(1)};
    Counted const* const before = &*target;
    int const copies = Counted::copies;
    NullOr<Counted> const& itself = target;
    target = itself;
    EXPECT_EQ(before, &*target);
    EXPECT_EQ(copies, Counted::copies);
}

TEST_F(NullOrTest, TheOldValueSurvivesACopyThatThrows) {
    NullOr<Counted> target{Counted(1)};
    NullOr<Counted> const source{Counted(2)};
    Counted::refuseCopies = true;
    EXPECT_THROW(target = source, Counted::CopyRefused);
    ASSERT_FALSE(target.IsNull());
    EXPECT_EQ(1, target->value);
}

TEST_F(NullOrTest, AConstructionThatThrowsLeavesNothing) {
    Counted const value(1);
    NullOr<Counted> const source(value);
    Counted::refuseCopies = true;
    EXPECT_THROW(NullOr<Counted>{value}, Counted::CopyRefused);
    EXPECT_THROW(NullOr<Counted>{source}, Counted::CopyRefused);
    EXPECT_EQ(2, Counted::alive);
}

} // namespace
