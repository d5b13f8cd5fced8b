#include "strings/SmallContainers.h"

#include <list>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "tests/strings/Counted.h"

namespace {

static_assert(!std::is_polymorphic_v<NullOr<int>>, "a value type");
static_assert(std::has_virtual_destructor_v<DuplicatingPtr<int>>);
static_assert(sizeof(DuplicatingPtr<int>) == 2 * sizeof(void*), "the object and the virtual table");

TEST(PairTest, DefaultPairHoldsTwoDefaultValues) {
    Pair<std::string, int> pair;
    EXPECT_EQ("", pair.first);
    EXPECT_EQ(0, pair.second);
}

TEST(PairTest, CopiesAreIndependent) {
    Pair<std::string, std::string> const original("name", "value");
    Pair<std::string, std::string> copy(original);
    copy.first += "!";
    Pair<std::string, std::string> assigned;
    assigned = copy;
    assigned.second += "?";
    EXPECT_EQ("name", original.first);
    EXPECT_EQ("name!", copy.first);
    EXPECT_EQ("value", copy.second);
    EXPECT_EQ("name!", assigned.first);
    EXPECT_EQ("value?", assigned.second);
}

TEST(PairTest, FirstStandsBeforeSecondAndNothingElseIsThere) {
    Pair<int, int> pair(1, 2);
    EXPECT_EQ(static_cast<void*>(&pair), static_cast<void*>(&pair.first));
    EXPECT_EQ(&pair.first + 1, &pair.second);
    EXPECT_EQ(2 * sizeof(int), sizeof(pair));
}

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

// A node whose children are nodes: the member is declared while its type is still incomplete.
struct Family {
    explicit Family(int number) : value(number), children(new std::list<Family>) {}

    int value;
    DuplicatingPtr<std::list<Family>> children;
};

class DuplicatingPtrTest : public testing::Test {
protected:
    DuplicatingPtrTest() { Counted::StartAfresh(); }
    ~DuplicatingPtrTest() override { EXPECT_EQ(0, Counted::alive); }
};

TEST_F(DuplicatingPtrTest, TakesOwnership) {
    Counted* const object = new Counted(3);
    {
        DuplicatingPtr<Counted> const pointer(object);
        EXPECT_FALSE(pointer.IsNull());
        EXPECT_EQ(object, &*pointer);
        EXPECT_EQ(3, pointer->value);
        EXPECT_EQ(0, Counted::copies);
    }
    EXPECT_EQ(0, Counted::alive);
}

TEST_F(DuplicatingPtrTest, CopyPointsToAnotherObject) {
    DuplicatingPtr<Counted> const original(new Counted(3));
    DuplicatingPtr<Counted> const copy(original);
    EXPECT_NE(&*original, &*copy);
    copy->value = 4;
    EXPECT_EQ(3, original->value);
    EXPECT_EQ(4, copy->value);
}

TEST_F(DuplicatingPtrTest, NullStaysNull) {
    DuplicatingPtr<Counted> const original(nullptr);
    DuplicatingPtr<Counted> const copy(original);
    EXPECT_TRUE(original.IsNull());
    EXPECT_TRUE(copy.IsNull());
}

TEST_F(DuplicatingPtrTest, DestructorIsReachedThroughTheBase) {
    struct Derived : DuplicatingPtr<Counted> {
        using DuplicatingPtr<Counted>::DuplicatingPtr;
        Counted another;
    };
    DuplicatingPtr<Counted>* const pointer = new Derived(new Counted(3));
    EXPECT_EQ(2, Counted::alive);
    delete pointer;
    EXPECT_EQ(0, Counted::alive);
}

TEST_F(DuplicatingPtrTest, CopyingANodeCopiesAllThatHangsBelowIt) {
    Family root(1);
    root.children->push_back(Family(2));
    root.children->back().children->push_back(Family(3));
    Family const copy(root);
    root.children->back().children->back().value = 4;
    ASSERT_EQ(1u, copy.children->size());
    ASSERT_EQ(1u, copy.children->back().children->size());
    EXPECT_EQ(3, copy.children->back().children->back().value);
}

TEST_F(DuplicatingPtrTest, MakingOneInitializesItsObject) {
    EXPECT_EQ(0, *MakeDuplicatingPtr<int>());
    DuplicatingPtr<Counted> const pointer = MakeDuplicatingPtr<Counted>();
    EXPECT_FALSE(pointer.IsNull());
    EXPECT_EQ(1, Counted::alive);
}

TEST_F(DuplicatingPtrTest, ACopyThatThrowsLeavesNothing) {
    DuplicatingPtr<Counted> const original(new Counted(3));
    Counted::refuseCopies = true;
    EXPECT_THROW(DuplicatingPtr<Counted>{original}, Counted::CopyRefused);
    EXPECT_EQ(1, Counted::alive);
}

} // namespace
