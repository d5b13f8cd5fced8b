#include "files/FileReader.h"

#include <cerrno>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "data/Buffer.h"
#include "data/ReadReader.h"
#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/FileReadingPath.h"
#include "files/FileWritingPath.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/Files.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/Bytes.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/VirtualSlot.h"

namespace {

using testing::ElementsAre;

class FileReaderTest : public testing::Test {
protected:
    FileReaderTest() { WriteWholeFile(name, "0123456789"); }

    TemporaryDirectory directory;
    std::string const name = directory / "file";
    FileLocation const file = MakeFileLocation(name.c_str());
    unsigned char bytes[32] = {};
};

TEST_F(FileReaderTest, IsASourceForThePipelines) {
    FileReadingPath const path(file);
    FileReader reader(path, 3);
    EXPECT_EQ(ReadReader(reader), "3456789");
    EXPECT_TRUE(reader.Finished());
}

TEST_F(FileReaderTest, FinishedAndUnfinishedAreOpposites) {
    FileReadingPath const path(file);
    FileReader reader(path, 9);
    DataReader const& source = reader;
    EXPECT_FALSE(source.Finished());
    EXPECT_TRUE(source.Unfinished());
    reader.Start(path, 10);
    EXPECT_TRUE(source.Finished());
    EXPECT_FALSE(source.Unfinished());
    WriteWholeFile(name, "0123456789a");
    EXPECT_FALSE(source.Finished()) << "the file has grown";
}

TEST_F(FileReaderTest, UnfinishedIsTheNegationOfTheVirtualFinished) {
    struct Endless : FileReader {
        bool Finished() const override { return false; }
    } reader;
    EXPECT_TRUE(reader.Unfinished());
}

TEST_F(FileReaderTest, BothTransfersYieldTheReader) {
    FileReadingPath const path(file);
    FileReader reader(path, 0);
    Buffer buffer(Data(bytes, 4));
    EXPECT_EQ(&(reader >> buffer), &reader);
    EXPECT_EQ(buffer.Written(), ConstData("0123"));
    EXPECT_EQ(&(reader >> Data(bytes, 3)), &reader);
    EXPECT_EQ(ConstData(bytes, 3), ConstData("456"));
    EXPECT_EQ(reader.Position(), 7u);
}

// Deliberate: a file has an error of its own for what other readers call NoMoreData.
TEST_F(FileReaderTest, ARangeThatIsNotFilledIsAnEndOfFileErrorAfterOneRead) {
    FileReadingPath const path(file);
    FileReader reader(path, 6);
    SystemCalls calls;
    ExpectFileError<EndOfFileError>(90, On(name),
                                    [&] { static_cast<DataReader&>(reader) >> Data(bytes, 10); });
    EXPECT_THAT(calls.Log(), ElementsAre("seek 6 SET", "read 10"));
    EXPECT_EQ(ConstData(bytes, 4), ConstData("6789"));
    EXPECT_EQ(reader.Position(), 10u);
}

TEST_F(FileReaderTest, ABufferGetsNothingAtTheEnd) {
    FileReadingPath const path(file);
    FileReader reader(path, 10);
    Buffer buffer(Data(bytes, 4));
    reader >> buffer;
    EXPECT_EQ(buffer.Written().Length(), 0u);
}

TEST_F(FileReaderTest, ReadsAWritingPath) {
    FileWritingPath const path(file);
    FileReader reader(path, 8);
    EXPECT_EQ(ReadReader(reader), "89");
}

TEST_F(FileReaderTest, NeedsAnOpenPath) {
    FileReadingPath path;
    ExpectFileError<FileNotOpenError>(0, "", [&] { FileReader reader(path, 0); });
    FileReader reader;
    ExpectFileError<FileNotOpenError>(0, "", [&] { reader.Start(path, 0); });
    FileWritingPath closed;
    ExpectFileError<FileNotOpenError>(0, "", [&] { FileReader other(closed, 0); });
}

TEST_F(FileReaderTest, TwoReadersOnOnePathKeepTheirPositions) {
    FileReadingPath const path(file);
    FileReader first(path, 0);
    FileReader second(path, 5);
    first >> Data(bytes, 2);
    second >> Data(bytes + 2, 2);
    first >> Data(bytes + 4, 2);
    EXPECT_EQ(ConstData(bytes, 6), ConstData("015623"));
}

TEST_F(FileReaderTest, AFileOfUnknownLengthIsReadToItsEnd) {
    std::string const status = "/proc/version";
    FileReadingPath const path(MakeFileLocation(status.c_str()));
    FileReader reader(path, 0);
    std::string const text = ReadReader(reader);
    EXPECT_EQ(text, ReadWholeFile(status));
    EXPECT_EQ(text.substr(0, 5), "Linux");
}

TEST_F(FileReaderTest, OverridesStandInTheSlotsOfADataReader) {
    EXPECT_EQ(SlotOf(&FileReader::Finished), 2u);
    EXPECT_EQ(SlotOf<DataReader& (FileReader::*)(Buffer&)>(&FileReader::operator>>), 4u);
    EXPECT_EQ(SlotOf<DataReader& (FileReader::*)(Data)>(&FileReader::operator>>), 5u);
}

} // namespace
