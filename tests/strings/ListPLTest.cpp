#include "strings/ListPL.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "strings/SmallContainers.h"
#include "tests/strings/Counted.h"
#include "tests/support/VirtualSlot.h"

namespace {

char const offTheEnd[] = "A ListPL iterator walked off the end of the list.";

// What an enumeration delivers from where the cursor stands.
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

using Values = std::vector<int>;

class ListPLTest : public testing::Test {
protected:
    ListPLTest() { Counted::StartAfresh(); }
    ~ListPLTest() override { EXPECT_EQ(0, Counted::alive); }
};

TEST_F(ListPLTest, NewListHasNoNextAndGetNextThrows) {
    ListPL<Counted> const list;
    EXPECT_FALSE(list.IsNext());
    EXPECT_THROW(list.GetNext(), NoMoreItemsException);
}

TEST_F(ListPLTest, ResetOfAnEmptyListFindsNothing) {
    ListPL<Counted> const list;
    list.ResetEnum();
    EXPECT_FALSE(list.IsNext());
    EXPECT_THROW(list.GetNext(), NoMoreItemsException);
}

TEST_F(ListPLTest, AFilledListHasNoNextBeforeTheFirstReset) {
    ListPL<Counted> list;
    Fill(list, 1, 3);
    EXPECT_FALSE(list.IsNext());
    EXPECT_THROW(list.GetNext(), NoMoreItemsException);
}

TEST_F(ListPLTest, ItemsComeInTheOrderOfTheirAppending) {
    ListPL<Counted> list;
    Fill(list, 1, 100);
    list.ResetEnum();
    for (int value = 1; value <= 100; ++value) {
        ASSERT_TRUE(list.IsNext());
        ASSERT_EQ(value, list.GetNext().value);
    }
    EXPECT_FALSE(list.IsNext());
}

TEST_F(ListPLTest, TwoWalksOverAReadOnlyListDeliverTheSameItems) {
    ListPL<Counted> list;
    Fill(list, 1, 3);
    ListPL<Counted> const& reader = list;
    EXPECT_EQ((Values{1, 2, 3}), Walk(reader));
    EXPECT_EQ((Values{1, 2, 3}), Walk(reader));
}

TEST_F(ListPLTest, ResetInTheMiddleBeginsAgain) {
    ListPL<Counted> list;
    Fill(list, 1, 3);
    list.ResetEnum();
    list.GetNext();
    EXPECT_EQ((Values{1, 2, 3}), Walk(list));
}

TEST_F(ListPLTest, GetNextBehindTheLastItemThrowsWithItsText) {
    ListPL<Counted> list;
    Fill(list, 1, 1);
    Walk(list);
    for (int again = 0; again < 2; ++again) {
        try {
            list.GetNext();
            FAIL() << "delivered an item from behind the end";
        } catch (NoMoreItemsException const& caught) {
            EXPECT_STREQ(offTheEnd, caught.what());
        }
    }
}

TEST_F(ListPLTest, TheExceptionIsOneOfThoseWithAText) {
    ListPL<Counted> const list;
    try {
        list.GetNext();
        FAIL() << "delivered an item from an empty list";
    } catch (ExceptionPL const& caught) {
        EXPECT_STREQ(offTheEnd, caught.what());
    }
}

TEST_F(ListPLTest, AppendYieldsTheStoredCopy) {
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

TEST_F(ListPLTest, AnItemAddedWhileTheCursorStandsOnANodeIsReached) {
    ListPL<Counted> list;
    Fill(list, 1, 2);
    list.ResetEnum();
    list.GetNext();
    Fill(list, 3, 3);
    EXPECT_EQ((Values{2, 3}), Rest(list));
}

TEST_F(ListPLTest, AnItemAddedAfterTheEndIsSeenOnlyAfterAReset) {
    ListPL<Counted> list;
    Fill(list, 1, 1);
    Walk(list);
    Fill(list, 2, 2);
    EXPECT_FALSE(list.IsNext());
    EXPECT_EQ((Values{1, 2}), Walk(list));
}

TEST_F(ListPLTest, MakeEmptyOfAnEmptyListIsHarmless) {
    ListPL<Counted> list;
    list.MakeEmpty();
    list.MakeEmpty();
    EXPECT_EQ(Values{}, Walk(list));
    Fill(list, 1, 2);
    EXPECT_EQ((Values{1, 2}), Walk(list));
}

TEST_F(ListPLTest, MakeEmptyFreesTheItemsAndEndsTheEnumeration) {
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

TEST_F(ListPLTest, ACopyThatThrowsLeavesTheListUnchanged) {
    ListPL<Counted> list;
    Counted const item(9);
    Counted::refuseCopies = true;
    EXPECT_THROW(list.Append(item), Counted::CopyRefused);
    EXPECT_EQ(Values{}, Walk(list));
    Counted::refuseCopies = false;
    Fill(list, 1, 2);
    Counted::refuseCopies = true;
    EXPECT_THROW(list.Append(item), Counted::CopyRefused);
    EXPECT_EQ((Values{1, 2}), Walk(list));
    Counted::refuseCopies = false;
    Fill(list, 3, 3);
    EXPECT_EQ((Values{1, 2, 3}), Walk(list));
}

TEST_F(ListPLTest, AppendAndResetCanBeOverridden) {
    struct Doubling : ListPL<Counted> {
        Counted* Append(Counted const& item) override {
            return ListPL<Counted>::Append(Counted(2 * item.value));
        }
        void ResetEnum() const override {
            ++resets;
            ListPL<Counted>::ResetEnum();
        }
        mutable int resets = 0;
    };
    Doubling doubling;
    ListPL<Counted>& list = doubling;
    Fill(list, 1, 2);
    EXPECT_EQ((Values{2, 4}), Walk(list));
    EXPECT_EQ(1, doubling.resets);
}

TEST_F(ListPLTest, DestructorIsReachedThroughTheBase) {
    struct Derived : ListPL<Counted> {
        Counted another;
    };
    ListPL<Counted>* const list = new Derived;
    list->Append(Counted(1));
    EXPECT_EQ(2, Counted::alive);
    delete list;
    EXPECT_EQ(0, Counted::alive);
}

TEST_F(ListPLTest, AMillionItemsAreFreedWithoutRecursion) {
    ListPL<int> list;
    for (int value = 0; value < 1000000; ++value)
        list.Append(value);
    list.ResetEnum();
    long long sum = 0;
    while (list.IsNext())
        sum += list.GetNext();
    EXPECT_EQ(499999500000LL, sum);
}

TEST_F(ListPLTest, HoldsPairsOfTexts) {
    ListPL<Pair<std::string, std::string>> attributes;
    attributes.Append(Pair<std::string, std::string>("version", "1.0"));
    attributes.ResetEnum();
    Pair<std::string, std::string> const& attribute = attributes.GetNext();
    EXPECT_EQ("version", attribute.first);
    EXPECT_EQ("1.0", attribute.second);
}

// The first two slots are the destructor's.
TEST_F(ListPLTest, VirtualOperationsStandInTheirOrder) {
    EXPECT_EQ(2u, SlotOf(&ListPL<int>::Append));
    EXPECT_EQ(3u, SlotOf(&ListPL<int>::ResetEnum));
    EXPECT_EQ(notVirtual, SlotOf(&ListPL<int>::IsNext));
}

} // namespace
