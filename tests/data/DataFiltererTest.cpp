#include "data/DataFilterer.h"

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "data/AsciiFilters.h"
#include "data/Buffer.h"
#include "data/ConstDataRopeReference.h"
#include "data/DataFilter.h"
#include "data/DataReceiver.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/ForEachSplit.h"
#include "tests/support/RecordingReceivers.h"

namespace {

static_assert(!std::is_convertible_v<DataFilterer*, DataReceiver*>,
              "only the binding call yields the interface");

using Calls = std::vector<std::string>;

// Writes each pair of bytes the other way round, and holds the first of a pair back.
class SwappingFilter : public DataFilter {
public:
    using DataFilter::operator();

    void operator()(ConstBuffer& source, Buffer& target) override {
        while (!source.IsEmpty() && (!holds || target.Room().Length() >= 2)) {
            if (!holds) {
                held = *source.position++;
            } else {
                *target.position++ = *source.position++;
                *target.position++ = held;
            }
            holds = !holds;
        }
    }

    bool Flushed() const override { return !holds; }

    void Flush(Buffer& target) override {
        if (target.IsFull())
            return;
        *target.position++ = held;
        holds = false;
    }

private:
    unsigned char held = 0;
    bool holds = false;
};

// Holds all back, and gives at most 700 bytes for each Flush.
class HoardingFilter : public DataFilter {
public:
    using DataFilter::operator();

    void operator()(ConstBuffer& source, Buffer&) override {
        hoard += MakeString(source.Left());
        source.position = source.end;
    }

    bool Flushed() const override { return hoard.empty(); }

    void Flush(Buffer& target) override {
        ConstBuffer source(ConstData(hoard.data(), std::min<std::size_t>(hoard.size(), 700)));
        target << source;
        hoard.erase(0, static_cast<std::size_t>(source.position - source.start));
    }

private:
    std::string hoard;
};

TEST(DataFiltererTest, PassesTheProtocolOn) {
    RecordingDataReceiver receiver;
    DataFilterer filterer;
    DataReceiver& stage = filterer(receiver, DataFilter::copy);
    stage.Start();
    stage.Receive("abc");
    stage.Receive("de");
    stage.ReceiveEnd();
    EXPECT_EQ(Calls({"Start", "Receive abc", "Receive de", "ReceiveEnd"}), receiver.Calls());
}

TEST(DataFiltererTest, EmptyChunkIsDropped) {
    RecordingDataReceiver receiver;
    DataFilterer filterer;
    DataReceiver& stage = filterer(receiver, DataFilter::copy);
    stage.Start();
    stage.Receive(ConstData());
    stage.Receive("");
    stage.ReceiveEnd();
    EXPECT_EQ(Calls({"Start", "ReceiveEnd"}), receiver.Calls());
}

TEST(DataFiltererTest, LongChunkIsPassedOnInParts) {
    std::string const text = std::string(1024, 'a') + std::string(1024, 'b') + "c";
    RecordingDataReceiver receiver;
    DataFilterer filterer;
    DataReceiver& stage = filterer(receiver, DataFilter::copy);
    stage.Start();
    stage.Receive(text);
    stage.ReceiveEnd();
    EXPECT_EQ(Calls({"Start", "Receive " + std::string(1024, 'a'),
                     "Receive " + std::string(1024, 'b'), "Receive c", "ReceiveEnd"}),
              receiver.Calls());
}

TEST(DataFiltererTest, ChunkOfExactlyOneBufferIsOnePart) {
    RecordingDataReceiver receiver;
    DataFilterer filterer;
    DataReceiver& stage = filterer(receiver, DataFilter::copy);
    stage.Start();
    stage.Receive(std::string(1024, 'a'));
    EXPECT_EQ(2u, receiver.Calls().size());
}

// Deliberate: a filter that holds all back gives an empty chunk.
TEST(DataFiltererTest, NothingFromTheFilterIsAnEmptyChunk) {
    RecordingDataReceiver receiver;
    DataFilterer filterer;
    SwappingFilter filter;
    DataReceiver& stage = filterer(receiver, filter);
    stage.Start();
    stage.Receive("a");
    stage.Receive("b");
    stage.Receive("c");
    stage.ReceiveEnd();
    EXPECT_EQ(Calls({"Start", "Receive ", "Receive ba", "Receive ", "Receive c", "ReceiveEnd"}),
              receiver.Calls());
}

TEST(DataFiltererTest, FlushesUntilTheFilterIsFlushed) {
    RecordingDataReceiver receiver;
    DataFilterer filterer;
    HoardingFilter filter;
    DataReceiver& stage = filterer(receiver, filter);
    stage.Start();
    std::string const text = std::string(700, 'a') + std::string(700, 'b') + "c";
    stage.Receive(text);
    stage.ReceiveEnd();
    EXPECT_EQ(Calls({"Start", "Receive ", "Receive " + std::string(700, 'a'),
                     "Receive " + std::string(700, 'b'), "Receive c", "ReceiveEnd"}),
              receiver.Calls());
}

// At the end, gives nothing at first, then as many bytes as there is room.
class SlowToFlushFilter : public DataFilter {
public:
    using DataFilter::operator();

    bool Flushed() const override { return flushes == 2; }

    void Flush(Buffer& target) override {
        if (++flushes == 1)
            return;
        std::fill(target.position, target.end, static_cast<unsigned char>('f'));
        target.position = target.end;
    }

private:
    int flushes = 0;
};

TEST(DataFiltererTest, FlushHasRoomFor1024BytesAndMayGiveNone) {
    RecordingDataReceiver receiver;
    DataFilterer filterer;
    SlowToFlushFilter filter;
    DataReceiver& stage = filterer(receiver, filter);
    stage.Start();
    stage.ReceiveEnd();
    EXPECT_EQ(Calls({"Start", "Receive ", "Receive " + std::string(1024, 'f'), "ReceiveEnd"}),
              receiver.Calls());
}

TEST(DataFiltererTest, AnyCuttingGivesTheSameBytes) {
    ForEachSplit("abcdefg\0hijk\xFF"_bytes, [](Chunks const& chunks) {
        auto const filtered = [&](DataFilter& filter) {
            RecordingDataReceiver receiver;
            DataFilterer filterer;
            DataReceiver& stage = filterer(receiver, filter);
            stage.Start();
            chunks.Feed([&](ConstData chunk) { stage.Receive(chunk); });
            stage.ReceiveEnd();
            return receiver.Text();
        };
        SwappingFilter swapping;
        EXPECT_EQ(Bytes("badcfe\0gihkj\xFF"), filtered(swapping));
        EXPECT_EQ(Bytes("abcdefg\0hijk\xFF"), filtered(DataFilter::copy));
    });
}

TEST(DataFiltererTest, KeepsItsTargetForTheNextStream) {
    RecordingDataReceiver receiver;
    DataFilterer filterer;
    DataReceiver& stage = filterer(receiver, DataFilter::copy);
    for (int stream = 0; stream < 2; ++stream) {
        stage.Start();
        stage.Receive("x");
        stage.ReceiveEnd();
    }
    EXPECT_EQ(Calls({"Start", "Receive x", "ReceiveEnd", "Start", "Receive x", "ReceiveEnd"}),
              receiver.Calls());
}

TEST(DataFiltererTest, AllocatesNothing) {
    std::string const text(5000, 'x');
    IgnoreDataReceiver ignore;
    EXPECT_EQ(0u, AllocationsOf([&] {
                  DataFilterer filterer;
                  filterer(ignore, DataFilter::copy).Receive(text);
              }));
}

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

TEST(StartReceiveAndEndTest, FilterStandsBetween) {
    RecordingDataReceiver receiver;
    StartReceiveAndEnd(receiver, "abc", DataFilter::copy);
    EXPECT_EQ(Calls({"Start", "Receive abc", "ReceiveEnd"}), receiver.Calls());
    RecordingDataReceiver raised;
    StartReceiveAndEnd(raised, ConstDataRope{"ab", "", "c"}, Ascii::RaiseCase());
    EXPECT_EQ(Calls({"Start", "Receive AB", "Receive C", "ReceiveEnd"}), raised.Calls())
        << "the filter stage drops empty chunks";
}

} // namespace
