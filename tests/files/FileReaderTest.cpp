#include "files/FileReader.h"

#include "data/Buffer.h"
#include "data/ReadReader.h"
#include "files/FileReadingPath.h"
#include "files/FileWritingPath.h"
#include "tests/files/FileTest.h"

namespace {

class FileReaderTest : public OpenFileTest {
protected:
    FileReaderTest() {
        path.OpenExisting(file);
        reader.Start(path, 0);
    }

    // Binds the reader to a file whose length is unknown.
    void OpenStatus(unsigned long long position) {
        status.OpenExisting(At("/proc/self/status"));
        reader.Start(status, position);
    }

    // The exceptions of a transfer to a range and of one to a buffer.
    void ExpectBothThrow(std::string const& expected) {
        Buffer buffer(Data(bytes, 20));
        EXPECT_EQ(expected, Thrown([&] { reader >> buffer; }));
        EXPECT_EQ(buffer.position, buffer.start);
        EXPECT_EQ(expected, Thrown([&] { reader >> Data(bytes, 4); }));
    }

    FileReadingPath path;
    FileReadingPath status;
    UnixPlatform::FileReader reader;
    unsigned char bytes[64] = {};
};

TEST_F(FileReaderTest, IsADataReader) {
    FileReader source(path, 3);
    EXPECT_EQ(ReadReader(source), "3456789");
    EXPECT_TRUE(source.Finished());
    source.Start(path, 0);
    Buffer buffer(Data(bytes, 4));
    EXPECT_EQ(&(source >> buffer), &source);
    EXPECT_EQ(buffer.Written(), ConstData("0123"));
    EXPECT_EQ(AllocationsOf([&] { EXPECT_EQ(&(source >> Data(bytes, 3)), &source); }), 0u);
    EXPECT_EQ(ConstData(bytes, 3), ConstData("456"));
    EXPECT_EQ(source.Position(), 7u);
    EXPECT_EQ(SlotOf(&FileReader::Finished), 2u);
    EXPECT_EQ(SlotOf<DataReader& (FileReader::*)(Buffer&)>(&FileReader::operator>>), 4u);
    EXPECT_EQ(SlotOf<DataReader& (FileReader::*)(Data)>(&FileReader::operator>>), 5u);
}

TEST_F(FileReaderTest, UnfinishedNegatesTheVirtualFinished) {
    FileReader source(path, 10);
    EXPECT_TRUE(source.Finished());
    EXPECT_FALSE(source.Unfinished());
    struct Endless : FileReader {
        bool Finished() const override { return false; }
    } endless;
    EXPECT_TRUE(endless.Unfinished());
}

TEST_F(FileReaderTest, NeedsAnOpenPath) {
    FileReadingPath const closed;
    EXPECT_EQ("FileNotOpenError", Thrown([&] { FileReader(closed, 0); }));
    EXPECT_EQ("FileNotOpenError", Thrown([&] { FileReader().Start(closed, 0); }));
    EXPECT_EQ(0u, FileReader().Position());
    EXPECT_EQ("FileNotOpenError", Thrown([&] { FileReader(FileWritingPath(), 0); }));
    path.Close();
    EXPECT_EQ("FileNotOpenError" + on, Thrown([&] { reader.Start(path, 0); }));
}

TEST_F(FileReaderTest, StartStoresPositionAndLength) {
    reader.Start(path, 3);
    EXPECT_EQ(reader.Position(), 3u);
    EXPECT_EQ(reader.LengthAtStart(), 10u);
    WriteWholeFile(name, "012345678901");
    EXPECT_EQ(reader.LengthAtStart(), 10u);
}

TEST_F(FileReaderTest, IsFinishedAtTheCurrentLengthOfTheFile) {
    reader.SetPosition(9);
    SystemCalls calls;
    EXPECT_TRUE(reader.Unfinished());
    EXPECT_EQ(calls.Count("read"), 0u) << "a known length needs no read";
    for (unsigned long long const position : {10, 11, 1000}) {
        reader.SetPosition(position);
        EXPECT_FALSE(reader.Unfinished());
        fs::resize_file(name, position + 1);
        EXPECT_TRUE(reader.Unfinished()) << "the file has grown";
        fs::resize_file(name, 3);
        EXPECT_FALSE(reader.Unfinished()) << "the file has shrunk";
    }
}

TEST_F(FileReaderTest, FillsARangeWithOneReadAtItsPosition) {
    reader.Start(path, 2);
    UnixPlatform::FileReader other;
    other.Start(path, 7);
    other >> Data(bytes + 6, 2); // Another stream moves the file's position.
    SystemCalls calls;
    reader >> Data(bytes, 4) >> Data(bytes + 4, 2);
    EXPECT_THAT(calls.Log({"read"}), ElementsAre("read 4", "read 2"));
    EXPECT_EQ(ConstData(bytes, 8), ConstData("23456778"));
    EXPECT_EQ(reader.Position(), 8u);
}

TEST_F(FileReaderTest, EmptyTargetMakesNoCall) {
    Buffer full(Data(bytes, 4));
    full.position = full.end;
    SystemCalls calls;
    reader >> Data() >> Data(bytes, 0);
    reader >> full;
    EXPECT_THAT(calls.Log(), IsEmpty());
    EXPECT_EQ(reader.Position(), 0u);
}

// Deliberate: the reader throws EndOfFileError, not NoMoreData as other readers do, and takes a
// short read for the end of the file.
TEST_F(FileReaderTest, ShortReadIntoARangeThrowsEndOfFileError) {
    SystemCalls calls;
    calls.Limit("read", 3);
    EXPECT_EQ("EndOfFileError EMSGSIZE" + on, Thrown([&] { reader >> Data(bytes, 8); }));
    EXPECT_EQ(ConstData(bytes, 4), ConstData("012\0", 4));
    EXPECT_EQ(reader.Position(), 3u);
    EXPECT_EQ("EndOfFileError EMSGSIZE" + on, Thrown([&] { reader >> Data(bytes, 10); }));
    EXPECT_EQ(ConstData(bytes, 8), ConstData("3456789\0", 8));
    EXPECT_EQ(reader.Position(), 10u);
    EXPECT_EQ(calls.Count("read"), 2u);
    FileWritingPath const writing(file);
    FileReader source(writing, 8);
    EXPECT_EQ("EndOfFileError EMSGSIZE", Thrown([&] { source >> Data(bytes, 4); }))
        << "a writing path has no name";
    EXPECT_EQ(ConstData(bytes, 2), ConstData("89"));
}

TEST_F(FileReaderTest, EachCallFillsABufferByOneRead) {
    Buffer buffer(Data(bytes, 8));
    buffer.position += 3;
    SystemCalls calls;
    calls.Limit("read", 4);
    reader >> buffer;
    EXPECT_EQ(std::string(3, '\0') + "0123" + '\0', MakeString(ConstData(bytes, 8)));
    reader >> buffer;
    EXPECT_TRUE(buffer.IsFull());
    EXPECT_EQ(reader.Position(), 5u);
    EXPECT_THAT(calls.Log({"read"}), ElementsAre("read 5", "read 1"));
}

TEST_F(FileReaderTest, BufferStaysEmptyAtAndBeyondTheEnd) {
    Buffer buffer(Data(bytes, 20));
    for (unsigned long long position : {10ULL, 11ULL, 1ULL << 40}) {
        reader.Start(path, position);
        EXPECT_NO_THROW(reader >> buffer);
        EXPECT_EQ(buffer.Written().Length(), 0u);
        EXPECT_EQ(reader.Position(), position);
    }
    // Deliberate: a known length is not corrected if a read returns no bytes.
    reader.Start(path, 0);
    SystemCalls calls;
    calls.Limit("read", 0);
    reader >> buffer;
    EXPECT_EQ(buffer.position, buffer.start);
    EXPECT_TRUE(reader.Unfinished());
}

TEST_F(FileReaderTest, FailureKeepsThePositionAndIsMappedForReading) {
    for (std::string const call : {"seek", "read"})
        for (int error = 1; error <= EHWPOISON; ++error) {
            SystemCalls calls;
            calls.FailFromThenOn(call, error);
            ExpectBothThrow(Thrown([&] { reader.ThrowError(file, error); }));
        }
    EXPECT_EQ(reader.Position(), 0u);
    reader.SetPosition(~0ULL);
    ExpectBothThrow("FileSeekError EINVAL" + on);
    EXPECT_EQ(reader.Position(), ~0ULL);
    FileReadingPath const here(At(directory.path()));
    reader.Start(here, 0);
    ExpectBothThrow("FileIOError EISDIR" + On(directory.path()));
}

TEST_F(FileReaderTest, ProbesAnUnknownLengthByReadingOneByteAhead) {
    OpenStatus(0);
    EXPECT_EQ(reader.LengthAtStart(), UnixPlatform::FileReadingPath::unknownLength);
    SystemCalls calls;
    EXPECT_TRUE(reader.Unfinished());
    EXPECT_TRUE(reader.Unfinished());
    EXPECT_EQ(calls.Count("read"), 1u) << "the byte has already been read";
    reader >> Data(bytes, 5);
    EXPECT_EQ(ConstData(bytes, 5), ConstData("Name:"));
    EXPECT_TRUE(reader.Unfinished());
    EXPECT_EQ(calls.Count("read"), 3u) << "the next byte needs another read";
    reader.Start(status, 1 << 20);
    EXPECT_FALSE(reader.Unfinished()) << "the byte is discarded";
}

TEST_F(FileReaderTest, EndOfAnUnknownLengthIsFinalUntilStart) {
    OpenStatus(1 << 20);
    EXPECT_FALSE(reader.Unfinished());
    SystemCalls calls;
    EXPECT_FALSE(reader.Unfinished());
    EXPECT_THAT(calls.Log(), IsEmpty()) << "no further system call";
    reader.SetPosition(0); // Deliberate: the call sets the position only.
    EXPECT_FALSE(reader.Unfinished());
    reader.Start(status, 0);
    EXPECT_TRUE(reader.Unfinished());
}

TEST_F(FileReaderTest, FailedProbeCountsAsTheEndOfTheFile) {
    for (std::string const call : {"seek", "read"}) {
        OpenStatus(0);
        SystemCalls calls;
        calls.Fail(call, EIO);
        EXPECT_FALSE(reader.Unfinished());
        EXPECT_EQ(calls.Count("read"), call == "read" ? 1u : 0u);
    }
}

} // namespace
