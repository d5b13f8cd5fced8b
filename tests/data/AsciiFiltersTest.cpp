#include "data/AsciiFilters.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "data/Ascii.h"
#include "data/Buffer.h"
#include "data/DataFilterer.h"
#include "tests/support/Bytes.h"
#include "tests/support/ForEachSplit.h"
#include "tests/support/RecordingReceivers.h"

namespace {

TEST(AsciiFiltersTest, FiltersMapEveryByte) {
    std::string const all = EveryByte() + EveryByte() + EveryByte() + EveryByte() + EveryByte();
    EXPECT_EQ(Ascii::RaiseCase(ConstData(all)), ApplyFilter(all, Ascii::RaiseCase()));
    EXPECT_EQ(Ascii::LowerCase(ConstData(all)), ApplyFilter(all, Ascii::LowerCase()));
}

TEST(AsciiFiltersTest, OutputIsIndependentOfChunks) {
    ForEachSplit("aBc\xE9\0[zZ{@"_bytes, [](Chunks const& chunks) {
        for (bool const raises : {true, false}) {
            DataFilter& filter = raises ? static_cast<DataFilter&>(Ascii::RaiseCase())
                                        : static_cast<DataFilter&>(Ascii::LowerCase());
            RecordingDataReceiver receiver;
            DataFilterer filterer;
            DataReceiver& stage = filterer(receiver, filter);
            stage.Start();
            chunks.Feed([&](ConstData chunk) { stage.Receive(chunk); });
            stage.ReceiveEnd();
            EXPECT_EQ(raises ? Bytes("ABC\xE9\0[ZZ{@") : Bytes("abc\xE9\0[zz{@"), receiver.Text());
        }
    });
}

TEST(AsciiFiltersTest, FiltersStopAtAFullTargetAndBufferNothing) {
    for (DataFilter* const filter : {static_cast<DataFilter*>(&Ascii::RaiseCase()),
                                     static_cast<DataFilter*>(&Ascii::LowerCase())}) {
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
    EXPECT_EQ(&Ascii::RaiseCase(), &Ascii::RaiseCase());
    EXPECT_EQ(&Ascii::LowerCase(), &Ascii::LowerCase());
    EXPECT_EQ(sizeof(DataFilter), sizeof(Ascii::CaseRaisingFilter));
    EXPECT_EQ(sizeof(DataFilter), sizeof(Ascii::CaseLoweringFilter));
}

} // namespace
