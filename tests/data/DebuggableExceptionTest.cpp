#include "data/DebuggableException.h"

#include <gtest/gtest.h>

// At global scope, since the encoded name of the type is what these tests read.
class SilentError : public DebuggableException {};
class MoreSilentError : public SilentError {};

namespace {

TEST(DebuggableExceptionTest, DerivedClassWithNoCodeOfItsOwnNamesItself) {
    EXPECT_STREQ("11SilentError", SilentError().what());
    EXPECT_STREQ("15MoreSilentError", MoreSilentError().what());
}

TEST(DebuggableExceptionTest, NameIsReadFromTheDynamicType) {
    MoreSilentError error;
    DebuggableException& root = error;
    EXPECT_STREQ("15MoreSilentError", root.what());
}

TEST(DebuggableExceptionTest, IsCaughtAsStandardException) {
    try {
        throw SilentError();
    } catch (std::exception const& caught) {
        EXPECT_STREQ("11SilentError", caught.what());
    }
}

} // namespace
