// A value that counts its living instances, and whose copy constructor can throw.
#pragma once

#include <gtest/gtest.h>

struct Counted {
    struct CopyRefused {};

    explicit Counted(int number = 0) : value(number) { ++alive; }
    Counted(Counted const& source) : value(source.value) {
        if (refuseCopies)
            throw CopyRefused();
        ++alive;
        ++copies;
    }
    Counted& operator=(Counted const&) = delete;
    ~Counted() { --alive; }

    int value;

    inline static int alive = 0;
    inline static int copies = 0;
    inline static bool refuseCopies = false;
};

// No value is alive at the start and the end of each test.
class CountedTest : public testing::Test {
protected:
    CountedTest() {
        Counted::alive = Counted::copies = 0;
        Counted::refuseCopies = false;
    }
    ~CountedTest() override { EXPECT_EQ(0, Counted::alive); }
};
