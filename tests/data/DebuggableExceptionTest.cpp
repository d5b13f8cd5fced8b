#include "data/DebuggableException.h"

#include "data/DataReader.h"
#include "data/ReadAsciiNumeral.h"
#include "tests/data/DataTest.h"

// At global scope, because the tests compare the encoded name of the type.
class SilentError : public DebuggableException {};
class MoreSilentError : public SilentError {};

namespace {

TEST(DebuggableExceptionTest, WhatReturnsTheNameOfTheDynamicType) {
    EXPECT_STREQ("11SilentError", SilentError().what());
    EXPECT_STREQ("12DataOverflow", DataOverflow().what());
    try {
        throw MoreSilentError();
    } catch (std::exception const& caught) {
        EXPECT_STREQ("15MoreSilentError", caught.what());
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
