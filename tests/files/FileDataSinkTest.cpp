#include "files/FileDataSink.h"

#include <cerrno>
#include <string>
#include <type_traits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "data/DataReceiver.h"
#include "data/LineFlattener.h"
#include "data/LineMaker.h"
#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/FileReadingPath.h"
#include "files/FileWritingPath.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/Files.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using testing::ElementsAre;

class FileDataSinkTest : public testing::Test {
protected:
    FileDataSinkTest() {
        WriteWholeFile(name, "hello");
        path.OpenExisting(MakeFileLocation(name.c_str()));
    }

    // What a stream of "ab" asks of the system.
    std::vector<std::string> CallsOf(FileDataSink& sink) {
        DataReceiver& receiver = sink(path, 0);
        SystemCalls calls;
        receiver.Start();
        receiver.Receive(ConstData("a"));
        receiver.Receive(ConstData("b"));
        receiver.ReceiveEnd();
        return calls.Log();
    }

    TemporaryDirectory directory;
    std::string const name = directory / "file";
    FileWritingPath path;
};

TEST_F(FileDataSinkTest, TheStageIsReachedByBindingOnly) {
    EXPECT_FALSE((std::is_convertible_v<FileDataSink&, DataReceiver&>));
}

TEST_F(FileDataSinkTest, WritesTheStreamFromItsPositionOnAndKeepsTheTail) {
    FileDataSink sink;
    StartReceiveAndEnd(sink(path, 1), ConstData("EL"));
    EXPECT_EQ(ReadWholeFile(name), "hELlo");
    EXPECT_EQ(path.Length(), 5u) << "the path stays open";
}

TEST_F(FileDataSinkTest, FlushesAtTheEndByDefault) {
    FileDataSink sink;
    EXPECT_THAT(CallsOf(sink),
                ElementsAre("seek 0 SET", "write 1", "seek 1 SET", "write 1", "fsync"));
    FileDataSink same(FileDataSink::FlushOnEnd);
    EXPECT_EQ(CallsOf(same), CallsOf(sink));
    EXPECT_EQ(FileDataSink::FlushOnEnd, 0);
}

TEST_F(FileDataSinkTest, EveryOtherModeDoesNotFlush) {
    for (auto mode : {FileDataSink::NoFlushOnEnd, static_cast<FileDataSink::FlushMode>(1),
                      static_cast<FileDataSink::FlushMode>(0x7FFF'FFFF)}) {
        FileDataSink sink(mode);
        EXPECT_THAT(CallsOf(sink), ElementsAre("seek 0 SET", "write 1", "seek 1 SET", "write 1"));
    }
}

TEST_F(FileDataSinkTest, EachStartBeginsAgainAtTheBoundPosition) {
    FileDataSink sink;
    DataReceiver& receiver = sink(path, 2);
    receiver.Start();
    receiver << ConstData("xyz");
    receiver.Start();
    receiver << ConstData("L");
    receiver.ReceiveEnd();
    EXPECT_EQ(ReadWholeFile(name), "heLyz");
}

TEST_F(FileDataSinkTest, CanBeBoundAgain) {
    FileDataSink sink;
    FileWritingPath other(MakeFileLocation((directory / "other").c_str()),
                          FileWritingPath::OpenNewFile());
    StartReceiveAndEnd(sink(path, 0), ConstData("1"));
    StartReceiveAndEnd(sink(other, 0), ConstData("2"));
    EXPECT_EQ(ReadWholeFile(name), "1ello");
    EXPECT_EQ(ReadWholeFile(directory / "other"), "2");
}

TEST_F(FileDataSinkTest, AFailedFlushOrWriteReachesTheCaller) {
    FileDataSink sink;
    DataReceiver& receiver = sink(path, 0);
    receiver.Start();
    SystemCalls calls;
    calls.Fail("write", ENOSPC);
    ExpectFileError<FileDiskFullError>(ENOSPC, "", [&] { receiver << ConstData("a"); });
    calls.Fail("fsync", EIO);
    ExpectFileError<FileIOError>(EIO, "", [&] { receiver.ReceiveEnd(); });
}

TEST_F(FileDataSinkTest, IsTheLastStageOfAChainOfLines) {
    path.OpenNewOrAsNew(MakeFileLocation(name.c_str()));
    FileDataSink sink;
    LineFlattener flattener;
    LineMaker lines(flattener(LineFlattener::crlf, sink(path, 0)));
    StartReceiveAndEnd(lines, ConstData("a\nb\r"));
    EXPECT_EQ(ReadWholeFile(name), "a\r\nb\r\n");
}

TEST_F(FileDataSinkTest, AllocatesNothing) {
    std::string const text(10'000, 'x');
    FileDataSink sink(FileDataSink::NoFlushOnEnd);
    EXPECT_EQ(AllocationsOf([&] { StartReceiveAndEnd(sink(path, 0), ConstData(text)); }), 0u);
    EXPECT_EQ(path.Length(), 10'000u);
}

} // namespace
