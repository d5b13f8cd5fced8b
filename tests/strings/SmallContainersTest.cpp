#include "strings/SmallContainers.h"

#include <list>
#include <string>
#include <type_traits>

#include "tests/strings/Counted.h"

namespace {

static_assert(!std::is_polymorphic_v<NullOr<int>>, "a value type");
static_assert(std::has_virtual_destructor_v<DuplicatingPtr<int>>);
static_assert(sizeof(DuplicatingPtr<int>) == 2 * sizeof(void*), "the object and the virtual table");

TEST(PairTest, CopiesAreIndependent) {
    Pair<std::string, int> const original("name", 1);
    Pair<std::string, int> copy(original);
    copy.first += "!";
    Pair<std::string, int> assigned;
    EXPECT_EQ("", assigned.first);
    EXPECT_EQ(0, assigned.second);
    assigned = copy;
    ++assigned.second;
    EXPECT_EQ("name", original.first);
    EXPECT_EQ("name!", copy.first);
    EXPECT_EQ(1, copy.second);
    EXPECT_EQ("name!", assigned.first);
    EXPECT_EQ(2, assigned.second);
}

TEST(PairTest, HasNoMembersExceptFirstAndSecond) {
    Pair<int, int> pair(1, 2);
    EXPECT_EQ(static_cast<void*>(&pair), static_cast<void*>(&pair.first));
    EXPECT_EQ(&pair.first + 1, &pair.second);
    EXPECT_EQ(2 * sizeof(int), sizeof(pair));
}

using NullOrTest = CountedTest;

TEST_F(NullOrTest, CopiesHoldTheirOwnValues) {
    Counted value(7);
    NullOr<Counted> some(value);
    NullOr<Counted> copy(some);
    value.value = 8;
    ++copy->value;
    ++(*copy).value;
    NullOr<Counted> const& constant = some;
    EXPECT_EQ(7, constant->value);
    EXPECT_EQ(7, (*constant).value);
    EXPECT_EQ(9, copy->value);
    EXPECT_EQ(3, Counted::alive);
}

TEST_F(NullOrTest, AssignmentReplacesNullAndValue) {
    for (bool const fromNull : {true, false})
        for (bool const toNull : {true, false}) {
            NullOr<Counted> target = fromNull ? NullOr<Counted>() : NullOr<Counted>(Counted(1));
            NullOr<Counted> const source = toNull ? NullOr<Counted>() : NullOr<Counted>(Counted(2));
            target = source;
            EXPECT_EQ(toNull, target.IsNull());
            EXPECT_EQ(toNull, NullOr<Counted>(target).IsNull());
            EXPECT_EQ(toNull ? 0 : 2, Counted::alive);
            if (!toNull) {
                EXPECT_EQ(2, target->value);
                EXPECT_NE(&*source, &*target);
            }
        }
}

TEST_F(NullOrTest, SelfAssignmentHasNoEffect) {
    NullOr<Counted> target{Counted(1)};
    Counted const* const before = &*target;
    int const copies = Counted::copies;
    NullOr<Counted> const& itself = target;
    target = itself;
    EXPECT_EQ(before, &*target);
    EXPECT_EQ(copies, Counted::copies);
}

TEST_F(NullOrTest, FailedCopyKeepsTheOldValue) {
    NullOr<Counted> target{Counted(1)};
    Counted const value(2);
    NullOr<Counted> const source{value};
    Counted::refuseCopies = true;
    EXPECT_THROW(target = source, Counted::CopyRefused);
    EXPECT_THROW(NullOr<Counted>{value}, Counted::CopyRefused);
    EXPECT_THROW(NullOr<Counted>{source}, Counted::CopyRefused);
    EXPECT_EQ(1, target->value);
    EXPECT_EQ(3, Counted::alive);
}

// A node whose children are nodes: the member is declared while its type is still incomplete.
struct Family {
    explicit Family(int number) : value(number), children(new std::list<Family>) {}

    int value;
    DuplicatingPtr<std::list<Family>> children;
};

using DuplicatingPtrTest = CountedTest;

TEST_F(DuplicatingPtrTest, OwnsItsObjectAndCopiesIt) {
    Counted* const object = new Counted(3);
    DuplicatingPtr<Counted> const pointer(object);
    EXPECT_FALSE(pointer.IsNull());
    EXPECT_EQ(object, &*pointer);
    EXPECT_EQ(0, Counted::copies);
    DuplicatingPtr<Counted> const copy(pointer);
    copy->value = 4;
    EXPECT_EQ(3, pointer->value);
    EXPECT_EQ(4, copy->value);
    DuplicatingPtr<Counted> const null(nullptr);
    EXPECT_TRUE(null.IsNull() && DuplicatingPtr<Counted>(null).IsNull());
}

TEST_F(DuplicatingPtrTest, DestructorIsVirtual) {
    struct Derived : DuplicatingPtr<Counted> {
        using DuplicatingPtr<Counted>::DuplicatingPtr;
        Counted another;
    };
    DuplicatingPtr<Counted>* const pointer = new Derived(new Counted(3));
    EXPECT_EQ(2, Counted::alive);
    delete pointer;
    EXPECT_EQ(0, Counted::alive);
}

TEST_F(DuplicatingPtrTest, CopyOfANodeCopiesItsSubtree) {
    Family root(1);
    root.children->push_back(Family(2));
    root.children->back().children->push_back(Family(3));
    Family const copy(root);
    root.children->back().children->back().value = 4;
    ASSERT_EQ(1u, copy.children->size());
    ASSERT_EQ(1u, copy.children->back().children->size());
    EXPECT_EQ(3, copy.children->back().children->back().value);
}

TEST_F(DuplicatingPtrTest, MakeDuplicatingPtrInitializesTheObject) {
    EXPECT_EQ(0, *MakeDuplicatingPtr<int>());
    DuplicatingPtr<Counted> const pointer = MakeDuplicatingPtr<Counted>();
    EXPECT_FALSE(pointer.IsNull());
    EXPECT_EQ(1, Counted::alive);
}

TEST_F(DuplicatingPtrTest, FailedCopyLeaksNothing) {
    DuplicatingPtr<Counted> const original(new Counted(3));
    Counted::refuseCopies = true;
    EXPECT_THROW(DuplicatingPtr<Counted>{original}, Counted::CopyRefused);
    EXPECT_EQ(1, Counted::alive);
}

} // namespace
