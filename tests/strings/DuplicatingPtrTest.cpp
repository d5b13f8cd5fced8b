#include "strings/DuplicatingPtr.h"

#include <list>
#include <type_traits>

#include <gtest/gtest.h>

#include "tests/strings/Counted.h"

namespace {

static_assert(std::has_virtual_destructor_v<DuplicatingPtr<int>>);
static_assert(sizeof(DuplicatingPtr<int>) == 2 * sizeof(void*), "the object and the virtual table");

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

TEST_F(DuplicatingPtrTest, ACopyThatThrowsLeavesNothing) {
    DuplicatingPtr<Counted> const original(new Counted(3));
    Counted::refuseCopies = true;
    EXPECT_THROW(DuplicatingPtr<Counted>{original}, Counted::CopyRefused);
    EXPECT_EQ(1, Counted::alive);
}

} // namespace
