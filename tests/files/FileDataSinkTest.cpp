#include "files/FileDataSink.h"

#include "data/DataReceiver.h"
#include "files/FileWritingPath.h"
#include "tests/files/FileTest.h"

namespace {

class FileDataSinkTest : public OpenFileTest {
protected:
    FileWritingPath const path{file};
};

TEST_F(FileDataSinkTest, WritesTheStreamAtTheBoundPosition) {
    EXPECT_FALSE((std::is_convertible_v<FileDataSink&, DataReceiver&>));
    FileDataSink sink;
    DataReceiver& receiver = sink(path, 2);
    receiver.Start();
    receiver << ConstData("xyz");
    receiver.Start();
    receiver << ConstData("L");
    receiver.ReceiveEnd();
    EXPECT_EQ(ReadWholeFile(name), "01Lyz56789") << "each stream starts at the same position";
    FileWritingPath const other(Here("other"), FileWritingPath::OpenNewFile());
    StartReceiveAndEnd(sink(other, 0), ConstData("2"));
    EXPECT_EQ(ReadWholeFile(directory / "other"), "2");
    EXPECT_EQ(path.Length(), 10u) << "the path stays open";
}

TEST_F(FileDataSinkTest, FlushesAtTheEndOnlyInFlushMode) {
    EXPECT_EQ(FileDataSink::FlushOnEnd, 0);
    auto const callsOf = [this](FileDataSink sink) {
        DataReceiver& receiver = sink(path, 0);
        SystemCalls calls;
        receiver.Start();
        receiver.Receive(ConstData("a"));
        receiver.Receive(ConstData("b"));
        receiver.ReceiveEnd();
        return calls.Log();
    };
    EXPECT_EQ(callsOf(FileDataSink()).back(), "fsync");
    EXPECT_EQ(callsOf(FileDataSink(FileDataSink::FlushOnEnd)), callsOf(FileDataSink()));
    for (auto mode : {FileDataSink::NoFlushOnEnd, static_cast<FileDataSink::FlushMode>(1),
                      static_cast<FileDataSink::FlushMode>(0x7FFF'FFFF)})
        EXPECT_THAT(callsOf(FileDataSink(mode)), testing::Not(testing::Contains("fsync")));
    EXPECT_EQ(ReadWholeFile(name), "ab23456789");
}

TEST_F(FileDataSinkTest, FailedFlushOrWriteThrows) {
    FileDataSink sink;
    DataReceiver& receiver = sink(path, 0);
    receiver.Start();
    SystemCalls calls;
    calls.Fail("write", ENOSPC);
    EXPECT_EQ("FileDiskFullError ENOSPC", Thrown([&] { receiver << ConstData("a"); }));
    calls.Fail("fsync", EIO);
    EXPECT_EQ("FileIOError EIO", Thrown([&] { receiver.ReceiveEnd(); }));
}

TEST_F(FileDataSinkTest, AllocatesNothing) {
    std::string const text(10'000, 'x');
    FileDataSink sink(FileDataSink::NoFlushOnEnd);
    EXPECT_EQ(AllocationsOf([&] { StartReceiveAndEnd(sink(path, 0), ConstData(text)); }), 0u);
    EXPECT_EQ(path.Length(), 10'000u);
}

} // namespace
