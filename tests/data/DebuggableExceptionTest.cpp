#include "data/DebuggableException.h"

#include <exception>
#include <type_traits>

#include <gtest/gtest.h>

#include "data/ConstData.h"
#include "data/DataReader.h"
#include "data/ReadAsciiNumeral.h"

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

TEST(DebuggableExceptionTest, NotANumeralNamesItselfToAHandlerOfTheStandardRoot) {
    static_assert(sizeof(NotANumeral) == sizeof(std::exception), "no text is stored");
    try {
        throw NotANumeral();
    } catch (std::exception const& caught) {
        EXPECT_STREQ("11NotANumeral", caught.what());
    }
}

template <class... Leaves>
constexpr bool AreBareLeaves = ((std::is_base_of_v<DebuggableException, Leaves> &&
                                 sizeof(Leaves) == sizeof(DebuggableException)) &&
                                ...);

static_assert(AreBareLeaves<ConstDataCapacityExceeded, DataOverflow, NoMoreData, NotANumeral,
                            NumeralTooLarge>);
static_assert(std::is_base_of_v<std::exception, DebuggableException> &&
              std::is_base_of_v<UnixPlatform::ExceptionDebuggingInfo, DebuggableException>);
static_assert(std::is_empty_v<UnixPlatform::ExceptionDebuggingInfo> &&
              !std::is_polymorphic_v<UnixPlatform::ExceptionDebuggingInfo>);

} // namespace
