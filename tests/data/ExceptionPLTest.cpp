#include "data/ExceptionPL.h"

#include <new>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "data/ConstData.h"
#include "data/DataOverflow.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"

class TextError : public ExceptionPL {
public:
    using ExceptionPL::ExceptionPL;
};

namespace {

static_assert(!std::is_default_constructible_v<ExceptionPL>, "it always has a text");

TEST(ExceptionPLTest, KeepsACopyOfTheText) {
    std::string text = "the text";
    ExceptionPL const error(text.c_str());
    ExceptionPL const ofRange{ConstData(text)};
    text.assign("overwritten");
    EXPECT_STREQ("the text", error.what());
    EXPECT_STREQ("the text", ofRange.what());
}

TEST(ExceptionPLTest, EmptyTextIsAnEmptyStringNotNull) {
    EXPECT_STREQ("", ExceptionPL("").what());
    EXPECT_STREQ("", ExceptionPL(ConstData()).what());
    EXPECT_STREQ("", ExceptionPL(ExceptionPL("")).what());
}

TEST(ExceptionPLTest, RangeWithANulIsStoredWholeButShownUpToTheNul) {
    ExceptionPL const error("ab\0cd"_bytes);
    EXPECT_STREQ("ab", error.what());
    EXPECT_EQ("ab\0cd"_bytes, ConstData(error.what(), 5));
}

// Deliberate: a copy is counted up to the first NUL.
TEST(ExceptionPLTest, CopiesDropWhatStandsBehindANul) {
    ExceptionPL const error(ConstData(std::string("ab\0", 3) + std::string(60, 'x')));
    AllocationCounter const counter;
    ExceptionPL const copy(error);
    EXPECT_EQ(3u, counter.Bytes()) << "two bytes and a NUL";
    ExceptionPL assigned("other");
    assigned = error;
    EXPECT_STREQ("ab", copy.what());
    EXPECT_STREQ("ab", assigned.what());
}

TEST(ExceptionPLTest, CopiesShareNothing) {
    ExceptionPL first("first");
    ExceptionPL const second(first);
    EXPECT_NE(first.what(), second.what());
    first = ExceptionPL("changed");
    EXPECT_STREQ("changed", first.what());
    EXPECT_STREQ("first", second.what());
}

TEST(ExceptionPLTest, AssignmentYieldsTheObject) {
    ExceptionPL error("a");
    EXPECT_EQ(&error, &(error = ExceptionPL("a longer text than before")));
    EXPECT_STREQ("a longer text than before", error.what());
}

TEST(ExceptionPLTest, SelfAssignmentKeepsTheText) {
    ExceptionPL error("text");
    ExceptionPL const& same = error;
    char const* const before = error.what();
    error = same;
    EXPECT_EQ(before, error.what());
    EXPECT_STREQ("text", error.what());
}

TEST(ExceptionPLTest, DerivedClassesYieldTheirTextToo) {
    try {
        throw TextError("what went wrong");
    } catch (DebuggableException const& caught) {
        EXPECT_STREQ("what went wrong", caught.what());
    }
}

TEST(ExceptionPLTest, FailedAllocationInAConstructorPassesThrough) {
    ExceptionPL const source("text");
    FailingAllocation const failing(1);
    EXPECT_THROW(ExceptionPL copy(source), std::bad_alloc);
}

// Deliberate: the old text is released first, so nothing is left to show. Nothing is freed twice.
TEST(ExceptionPLTest, FailedAssignmentLeavesNoText) {
    ExceptionPL error("old");
    ExceptionPL const source("new");
    {
        FailingAllocation const failing(1);
        EXPECT_THROW(error = source, std::bad_alloc);
    }
    EXPECT_EQ(nullptr, error.what());
    EXPECT_STREQ("", ExceptionPL(error).what());
    error = source;
    EXPECT_STREQ("new", error.what());
}

TEST(ExceptionPLTest, BareClassNamesItself) {
    try {
        throw DataOverflow();
    } catch (std::exception const& caught) {
        EXPECT_STREQ("12DataOverflow", caught.what());
    }
}

} // namespace
