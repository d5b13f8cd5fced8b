#include "strings/ListPL.h"

#include <gmock/gmock.h>

#include "tests/strings/Counted.h"
#include "tests/support/VirtualSlot.h"

namespace {

// Returns the items from the cursor on.
std::vector<int> Rest(ListPL<Counted> const& list) {
    std::vector<int> values;
    while (list.IsNext())
        values.push_back(list.GetNext().value);
    return values;
}

std::vector<int> Walk(ListPL<Counted> const& list) {
    list.ResetEnum();
    return Rest(list);
}

void Fill(ListPL<Counted>& list, int from, int to) {
    for (int value = from; value <= to; ++value)
        list.Append(Counted(value));
}

using ListPLTest = CountedTest;
using Values = std::vector<int>;

void ExpectEnd(ListPL<Counted> const& list) {
    EXPECT_FALSE(list.IsNext());
    EXPECT_THROW(list.GetNext(), NoMoreItemsException);
}

TEST_F(ListPLTest, EnumeratesItemsInOrderAfterEachReset) {
    ListPL<Counted> list;
    list.MakeEmpty();
    ExpectEnd(list);
    EXPECT_EQ(Values{}, Walk(list));
    Fill(list, 1, 3);
    ExpectEnd(list);
    for (int taken = 0; taken <= 3; ++taken) {
        EXPECT_EQ((Values{1, 2, 3}), Walk(list));
        ExpectEnd(list);
        list.ResetEnum();
        for (int i = 0; i < taken; ++i)
            list.GetNext();
    }
}

TEST_F(ListPLTest, ReadingBeyondTheEndThrowsAnExceptionWithAMessage) {
    EXPECT_THAT(
        [] { ListPL<Counted>().GetNext(); },
        testing::ThrowsMessage<ExceptionPL>("A ListPL iterator walked off the end of the list."));
}

TEST_F(ListPLTest, AppendReturnsTheStoredCopy) {
    ListPL<Counted> list;
    Counted const item(5);
    Counted* const stored = list.Append(item);
    EXPECT_NE(&item, stored);
    stored->value = 6;
    list.Append(item);
    list.ResetEnum();
    EXPECT_EQ(stored, &list.GetNext());
    EXPECT_EQ((Values{6, 5}), Walk(list));
}

TEST_F(ListPLTest, EnumerationReachesNewItemsUnlessItHasEnded) {
    ListPL<Counted> list;
    Fill(list, 1, 2);
    list.ResetEnum();
    list.GetNext();
    Fill(list, 3, 3);
    EXPECT_EQ((Values{2, 3}), Rest(list));
    Fill(list, 4, 4);
    EXPECT_FALSE(list.IsNext());
    EXPECT_EQ((Values{1, 2, 3, 4}), Walk(list));
}

TEST_F(ListPLTest, MakeEmptyFreesItemsAndEndsEnumeration) {
    ListPL<Counted> list;
    Fill(list, 1, 3);
    list.ResetEnum();
    list.MakeEmpty();
    EXPECT_EQ(0, Counted::alive);
    EXPECT_FALSE(list.IsNext());
    Fill(list, 4, 5);
    EXPECT_FALSE(list.IsNext());
    EXPECT_EQ((Values{4, 5}), Walk(list));
}

TEST_F(ListPLTest, FailedCopyLeavesTheListUnchanged) {
    ListPL<Counted> list;
    Counted const item(9);
    for (Values const& values : {Values{}, Values{1}, Values{1, 2}}) {
        Counted::refuseCopies = true;
        EXPECT_THROW(list.Append(item), Counted::CopyRefused);
        EXPECT_EQ(values, Walk(list));
        Counted::refuseCopies = false;
        list.Append(Counted(static_cast<int>(values.size()) + 1));
    }
}

TEST_F(ListPLTest, AppendResetAndDestructorAreVirtual) {
    struct Doubling : ListPL<Counted> {
        Counted* Append(Counted const& item) override {
            return ListPL<Counted>::Append(Counted(2 * item.value));
        }
        void ResetEnum() const override {
            ++resets;
            ListPL<Counted>::ResetEnum();
        }
        mutable int resets = 0;
        Counted another;
    };
    Doubling* const doubling = new Doubling;
    ListPL<Counted>* const list = doubling;
    Fill(*list, 1, 2);
    EXPECT_EQ((Values{2, 4}), Walk(*list));
    EXPECT_EQ(1, doubling->resets);
    EXPECT_EQ(3, Counted::alive);
    delete list;
    EXPECT_EQ(0, Counted::alive);
}

TEST_F(ListPLTest, FreesAMillionItemsWithoutRecursion) {
    ListPL<int> list;
    for (int value = 0; value < 1000000; ++value)
        list.Append(value);
    list.ResetEnum();
    long long sum = 0;
    while (list.IsNext())
        sum += list.GetNext();
    EXPECT_EQ(499999500000LL, sum);
}

// The destructor takes the first two slots.
TEST_F(ListPLTest, VirtualSlotsHaveFixedOrder) {
    EXPECT_EQ(2u, SlotOf(&ListPL<int>::Append));
    EXPECT_EQ(3u, SlotOf(&ListPL<int>::ResetEnum));
    EXPECT_EQ(notVirtual, SlotOf(&ListPL<int>::IsNext));
}

} // namespace
