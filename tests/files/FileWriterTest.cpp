#include "files/FileWriter.h"

#include <cerrno>
#include <string>
#include <type_traits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

class FileWriterTest : public testing::Test {
protected:
    FileWriterTest() {
        WriteWholeFile(name, "hello");
        path.OpenExisting(MakeFileLocation(name.c_str()));
    }

    TemporaryDirectory directory;
    std::string const name = directory / "file";
    FileWritingPath path;
};

TEST_F(FileWriterTest, WritesFromItsPositionOn) {
    FileWriter writer(path, 1);
    EXPECT_EQ(&(writer << ConstData("EL")), &writer);
    static_cast<DataWriter&>(writer) << ConstData("L") << ConstData("O!");
    EXPECT_EQ(ReadWholeFile(name), "hELLO!");
}

TEST_F(FileWriterTest, StartBindsItAnew) {
    FileWriter writer;
    writer.Start(path, 0);
    writer << ConstData("J");
    writer.Start(path, 4);
    writer << ConstData("y");
    EXPECT_EQ(ReadWholeFile(name), "Jelly");
}

TEST_F(FileWriterTest, AtTheEndOfTheFileItAppends) {
    FileWriter writer(path, FileWriter::WritePositionEndOfFile());
    writer << ConstData(", ") << ConstData("world");
    EXPECT_EQ(ReadWholeFile(name), "hello, world");
    EXPECT_TRUE(std::is_empty_v<FileWriter::WritePositionEndOfFile>);
}

TEST_F(FileWriterTest, TheEndOfTheFileIsThatOfTheMomentOfBinding) {
    FileWriter first(path, FileWriter::WritePositionEndOfFile());
    FileWriter second(path, FileWriter::WritePositionEndOfFile());
    first << ConstData("12");
    second << ConstData("3");
    EXPECT_EQ(ReadWholeFile(name), "hello32");
    path.Close();
    ExpectFileError<FileNotOpenError>(
        0, "", [&] { FileWriter writer(path, FileWriter::WritePositionEndOfFile()); });
}

TEST_F(FileWriterTest, AGapReadsAsZeros) {
    FileWriter writer(path, 7);
    writer << ConstData("!");
    EXPECT_EQ(ReadWholeFile(name), Bytes("hello\0\0!"));
}

TEST_F(FileWriterTest, FailuresNameNoFile) {
    SystemCalls calls;
    calls.Fail("write", ENOSPC);
    FileWriter writer(path, 0);
    ExpectFileError<FileDiskFullError>(ENOSPC, "", [&] { writer << ConstData("a"); });
}

TEST_F(FileWriterTest, WritingIsItsOneVirtualOperation) {
    EXPECT_EQ(SlotOf(&FileWriter::operator<<), 0u);
    EXPECT_FALSE(std::has_virtual_destructor_v<FileWriter>);
}

} // namespace
