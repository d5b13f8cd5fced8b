#include "data/AsciiFilters.h"

#include "data/Ascii.h"
#include "data/DataFilterer.h"
#include "tests/data/DataTest.h"

namespace {

DataFilter* const bothFilters[] = {&Ascii::RaiseCase(), &Ascii::LowerCase()};

// Longer than the buffer of a DataFilterer.
TEST(AsciiFiltersTest, FiltersMapEveryByte) {
    std::string const all = EveryByte() + EveryByte() + EveryByte() + EveryByte() + EveryByte();
    EXPECT_EQ(Ascii::RaiseCase(ConstData(all)), ApplyFilter(all, Ascii::RaiseCase()));
    EXPECT_EQ(Ascii::LowerCase(ConstData(all)), ApplyFilter(all, Ascii::LowerCase()));
}

TEST(AsciiFiltersTest, FiltersStopAtAFullTargetAndBufferNothing) {
    for (DataFilter* const filter : bothFilters) {
        char room[2];
        ConstBuffer source(ConstData("123"));
        Buffer target{Data(room)};
        (*filter)(source, target);
        EXPECT_EQ("12", MakeString(target.Written()));
        EXPECT_EQ("3", MakeString(source.Left()));
        EXPECT_TRUE(filter->Flushed());
        target.Reset();
        filter->Flush(target);
        EXPECT_TRUE(target.Written().IsEmpty());
    }
}

TEST(AsciiFiltersTest, OverloadsOfTheBaseClassAreVisible) {
    char room[3];
    Ascii::RaiseCase()(ConstData("xyz"), Data(room));
    EXPECT_EQ("XYZ", std::string(room, 3));
    DataFilter& base = Ascii::LowerCase();
    base(ConstData("XYZ"), Data(room));
    EXPECT_EQ("xyz", std::string(room, 3));
}

TEST(AsciiFiltersTest, EachFilterHasOneSharedInstance) {
    EXPECT_THAT(bothFilters, ElementsAre(&Ascii::RaiseCase(), &Ascii::LowerCase()));
    static_assert(sizeof(DataFilter) == sizeof(Ascii::CaseRaisingFilter));
    static_assert(sizeof(DataFilter) == sizeof(Ascii::CaseLoweringFilter));
}

} // namespace
