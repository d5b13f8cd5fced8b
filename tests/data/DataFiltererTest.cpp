#include "data/DataFilterer.h"

#include "data/AsciiFilters.h"
#include "data/DataFilter.h"
#include "tests/data/DataTest.h"

namespace {

static_assert(!std::is_convertible_v<DataFilterer*, DataReceiver*>,
              "only the binding call returns the interface");

// Swaps the bytes of each pair, and holds the first one back.
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

// The calls of a receiver after `filter`, for a stream of these chunks.
Calls CallsBehind(DataFilter& filter, std::vector<std::string> const& chunks) {
    RecordingDataReceiver receiver;
    DataFilterer filterer;
    DataReceiver& stage = filterer(receiver, filter);
    stage.Start();
    for (std::string const& chunk : chunks)
        stage.Receive(chunk);
    stage.ReceiveEnd();
    return receiver.Calls();
}

TEST(DataFiltererTest, PassesOnChunksOfAtMost1024Bytes) {
    std::string const full(1024, 'a');
    EXPECT_EQ(Calls({"Start", "Receive abc", "Receive de", "ReceiveEnd"}),
              CallsBehind(DataFilter::copy, {"abc", "", "de"}))
        << "an empty chunk is dropped";
    EXPECT_EQ(Calls({"Start", "Receive " + full, "ReceiveEnd"}),
              CallsBehind(DataFilter::copy, {full}));
    EXPECT_EQ(Calls({"Start", "Receive " + full, "Receive " + full, "Receive c", "ReceiveEnd"}),
              CallsBehind(DataFilter::copy, {full + full + "c"}));
}

// Deliberate: a filter that holds all bytes back causes an empty chunk.
TEST(DataFiltererTest, PassesOnOneChunkForEachCallOfTheFilter) {
    SwappingFilter swapping;
    EXPECT_EQ(Calls({"Start", "Receive ", "Receive ba", "Receive ", "Receive c", "ReceiveEnd"}),
              CallsBehind(swapping, {"a", "b", "c"}));
}

// Flush writes nothing at first, then fills the buffer.
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

TEST(DataFiltererTest, FlushesInto1024BytesUntilTheFilterIsFlushed) {
    SlowToFlushFilter filter;
    EXPECT_EQ(Calls({"Start", "Receive ", "Receive " + std::string(1024, 'f'), "ReceiveEnd"}),
              CallsBehind(filter, {}));
}

TEST(DataFiltererTest, OutputIsIndependentOfChunks) {
    RecordingDataReceiver receiver;
    DataFilterer filterer;
    SwappingFilter filter;
    ForEachSplit("abcdefg\0hijk\xFF"_bytes, [&](Chunks const& chunks) {
        Send(chunks, filterer(receiver, filter));
        EXPECT_EQ(Bytes("badcfe\0gihkj\xFF"), receiver.Text());
    });
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

TEST(ApplyFilterTest, EmptyRangeMakesNoFilterCall) {
    NeverCalledFilter filter;
    EXPECT_EQ("", ApplyFilter(ConstData(), filter));
    EXPECT_EQ("", ApplyFilter("", filter));
}

TEST(StartReceiveAndEndTest, SendsStreamThroughFilter) {
    RecordingDataReceiver receiver;
    StartReceiveAndEnd(receiver, "abc", DataFilter::copy);
    EXPECT_EQ(Calls({"Start", "Receive abc", "ReceiveEnd"}), receiver.Calls());
    RecordingDataReceiver raised;
    StartReceiveAndEnd(raised, ConstDataRope{"ab", "", "c"}, Ascii::RaiseCase());
    EXPECT_EQ(Calls({"Start", "Receive AB", "Receive C", "ReceiveEnd"}), raised.Calls())
        << "the filter stage drops empty chunks";
}

} // namespace
