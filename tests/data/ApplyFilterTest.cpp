#include "data/ApplyFilter.h"

#include <string>

#include <gtest/gtest.h>

#include "data/AsciiFilters.h"
#include "data/DataFilter.h"
#include "tests/support/Bytes.h"

namespace {

class NeverCalledFilter : public DataFilter {
public:
    using DataFilter::operator();
    void operator()(ConstBuffer&, Buffer&) override { ADD_FAILURE() << "a filter call"; }
};

TEST(ApplyFilterTest, IdentityYieldsTheInput) {
    EXPECT_EQ(EveryByte(), ApplyFilter(EveryByte(), DataFilter::copy));
    std::string const text(5000, 'x');
    EXPECT_EQ(text, ApplyFilter(text, DataFilter::copy));
}

TEST(ApplyFilterTest, RaisesCase) { EXPECT_EQ("ABC", ApplyFilter("abc", Ascii::RaiseCase())); }

TEST(ApplyFilterTest, EmptyRangeMakesNoFilterCall) {
    NeverCalledFilter filter;
    EXPECT_EQ("", ApplyFilter(ConstData(), filter));
    EXPECT_EQ("", ApplyFilter("", filter));
}

} // namespace
