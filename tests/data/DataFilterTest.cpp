#include "data/DataFilter.h"

#include "tests/data/DataTest.h"

namespace {

static_assert(sizeof(DataFilter) == sizeof(void*) && !std::is_abstract_v<DataFilter>);

// Counts its calls; otherwise the identity.
class CountingFilter : public DataFilter {
public:
    using DataFilter::operator();

    void operator()(ConstBuffer& source, Buffer& target) override {
        ++calls;
        DataFilter::operator()(source, target);
    }

    int calls = 0;
};

TEST(DataFilterTest, BaseClassIsTheIdentity) {
    unsigned char bytes[4] = {'.', '.', '.', '.'};
    ConstBuffer source(ConstData("abcdef"));
    Buffer target(Data(bytes, 3));
    DataFilter filter;
    filter(source, target);
    EXPECT_EQ(ConstData("abc."), ConstData(bytes));
    EXPECT_EQ(ConstData("def"), source.Left());
    EXPECT_TRUE(target.IsFull());
    EXPECT_TRUE(filter.Flushed());
    Buffer rest{Data(bytes)};
    filter.Flush(rest);
    EXPECT_EQ(bytes, rest.position);
}

TEST(DataFilterTest, EmptyRangesAreNotFiltered) {
    CountingFilter filter;
    unsigned char bytes[3] = {'.', '.', '.'};
    filter(ConstData("ab"), Data(bytes));
    EXPECT_EQ(1, filter.calls);
    EXPECT_EQ(ConstData("ab."), ConstData(bytes));
    filter(ConstData("abcd"), Data(bytes));
    EXPECT_EQ(ConstData("abc"), ConstData(bytes));
    filter(ConstData(), Data(bytes));
    filter(ConstData("ab"), Data());
    filter(ConstData(), Data());
    EXPECT_EQ(2, filter.calls);
}

// Deliberate: the filter is called for a full buffer, but not for an empty source.
TEST(DataFilterTest, EmptyRangeIsNotFilteredIntoABuffer) {
    CountingFilter filter;
    unsigned char bytes[2];
    Buffer target{Data(bytes)};
    filter(ConstData("a"), target);
    EXPECT_EQ(ConstData("a"), target.Written());
    filter(ConstData("bc"), target);
    EXPECT_EQ(ConstData("ab"), target.Written());
    filter(ConstData("d"), target);
    EXPECT_EQ(3, filter.calls);
    filter(ConstData(), target);
    EXPECT_EQ(3, filter.calls);
}

// Deliberate: the filter is called for a source at its end, but not for an empty target.
TEST(DataFilterTest, BufferIsNotFilteredIntoAnEmptyRange) {
    CountingFilter filter;
    unsigned char bytes[2];
    ConstBuffer source(ConstData("abc"));
    filter(source, Data(bytes));
    EXPECT_EQ(ConstData("ab"), ConstData(bytes));
    EXPECT_EQ(ConstData("c"), source.Left());
    filter(source, Data(bytes));
    EXPECT_EQ(ConstData("cb"), ConstData(bytes));
    filter(source, Data(bytes));
    EXPECT_EQ(3, filter.calls);
    filter(source, Data());
    EXPECT_EQ(3, filter.calls);
}

// The destructor takes the first two slots.
TEST(DataFilterTest, VirtualSlotsHaveFixedOrder) {
    EXPECT_EQ(2u, SlotOf<void (DataFilter::*)(ConstBuffer&, Buffer&)>(&DataFilter::operator()));
    EXPECT_EQ(3u, SlotOf(&DataFilter::Flushed));
    EXPECT_EQ(4u, SlotOf(&DataFilter::Flush));
    EXPECT_EQ(notVirtual, SlotOf<void (DataFilter::*)(ConstData, Data)>(&DataFilter::operator()));
}

} // namespace
