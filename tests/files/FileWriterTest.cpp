#include "files/FileWriter.h"

#include "data/Buffer.h"
#include "files/FileReader.h"
#include "files/FileReadingLoop.h"
#include "files/FileReadingPath.h"
#include "files/FileWritingPath.h"
#include "tests/files/FileTest.h"

namespace {

class FileWriterTest : public OpenFileTest {
protected:
    FileWriterTest() { path.OpenNewOrAsNew(file); }

    FileWritingPath path;
};

TEST_F(FileWriterTest, WritesAtItsPositionAndMovesIt) {
    UnixPlatform::FileWriter writer;
    EXPECT_EQ(writer.Position(), 0u);
    writer.Start(path, 2);
    EXPECT_EQ(writer.Position(), 2u);
    writer << ConstData("abc") << ConstData("d");
    EXPECT_EQ(writer.Position(), 6u);
    EXPECT_EQ(ReadWholeFile(name), Bytes("\0\0abcd")) << "a gap reads as zeros";
    writer.SetPosition(3);
    writer << ConstData("XYZ");
    EXPECT_EQ(ReadWholeFile(name), Bytes("\0\0aXYZ"));
    writer.Start(path, 0);
    writer << ConstData("S");
    EXPECT_EQ(ReadWholeFile(name), Bytes("S\0aXYZ"));
}

TEST_F(FileWriterTest, IsADataWriter) {
    FileWriter writer(path, 1);
    EXPECT_EQ(&(writer << ConstData("EL")), &writer);
    static_cast<DataWriter&>(writer) << ConstData("L") << ConstData("O!");
    writer.Start(path, 0);
    writer << ConstData("H");
    EXPECT_EQ(ReadWholeFile(name), "HELLO!");
    EXPECT_EQ(SlotOf(&FileWriter::operator<<), 0u);
    EXPECT_FALSE(std::has_virtual_destructor_v<FileWriter>);
}

TEST_F(FileWriterTest, WritingAndReadingAllocateNothing) {
    std::string const text(100'000, 'x');
    unsigned char bytes[4096];
    unsigned long long total = 0;
    FileReadingPath const written(file);
    EXPECT_EQ(AllocationsOf([&] {
                  FileWriter(path, 0) << ConstData(text) << ConstData("abc");
                  for (FileReadingLoop loop(Data(bytes), written, 0); loop.Remaining() != 0; ++loop)
                      total += loop.Chunk().Length();
                  for (FileReader reader(written, 0); reader.Unfinished();) {
                      Buffer buffer{Data(bytes)};
                      reader >> buffer;
                      total += buffer.Written().Length();
                  }
              }),
              0u);
    EXPECT_EQ(total, 2 * 100'003u);
}

TEST_F(FileWriterTest, AppendsAtTheLengthWhenItIsBound) {
    WriteWholeFile(name, "hello");
    EXPECT_TRUE(std::is_empty_v<FileWriter::WritePositionEndOfFile>);
    FileWriter first(path, FileWriter::WritePositionEndOfFile());
    FileWriter second(path, FileWriter::WritePositionEndOfFile());
    first << ConstData("12") << ConstData("34");
    second << ConstData("x");
    EXPECT_EQ(ReadWholeFile(name), "hellox234");
    path.Close();
    EXPECT_EQ("FileNotOpenError",
              Thrown([&] { FileWriter(path, FileWriter::WritePositionEndOfFile()); }));
}

TEST_F(FileWriterTest, BindingAndEmptyDataMakeNoSystemCall) {
    path.Close();
    SystemCalls calls;
    UnixPlatform::FileWriter writer(path, 7);
    writer.Start(path, 100);
    writer << ConstData() << ConstData("");
    EXPECT_THAT(calls.Log(), IsEmpty());
    EXPECT_EQ(writer.Position(), 100u);
    EXPECT_EQ("FileIOError EBADF", Thrown([&] { writer << ConstData("a"); }));
}

TEST_F(FileWriterTest, ContinuesShortWritesWithASeekBeforeEach) {
    UnixPlatform::FileWriter writer(path, 1);
    SystemCalls calls;
    calls.Limit("write", 3);
    calls.Limit("write", 0);
    calls.Limit("write", 1);
    writer << ConstData("0123456789");
    EXPECT_THAT(calls.Log(), ElementsAre("seek 1 SET", "write 10", "seek 4 SET", "write 7",
                                         "seek 4 SET", "write 7", "seek 5 SET", "write 6"));
    EXPECT_EQ(ReadWholeFile(name), '\0' + std::string("0123456789"));
    EXPECT_EQ(writer.Position(), 11u);
}

TEST_F(FileWriterTest, PositionIncludesTheBytesWrittenBeforeAFailure) {
    UnixPlatform::FileWriter writer;
    for (std::string const call : {"write", "seek"}) {
        path.OpenNewOrAsNew(file);
        for (int error = 1; error <= EHWPOISON; ++error) {
            writer.Start(path, 0);
            SystemCalls calls;
            calls.Limit("write", 4);
            calls.Fail(call, error, call == "seek" ? 1 : 0);
            EXPECT_EQ(Thrown([&] { writer.ThrowError(FileLocation(), error); }),
                      Thrown([&] { writer << ConstData("0123456789"); }));
            EXPECT_EQ(writer.Position(), 4u);
        }
        EXPECT_EQ(ReadWholeFile(name), "0123");
    }
    writer.Start(path, ~0ULL);
    EXPECT_EQ("FileSeekError EINVAL", Thrown([&] { writer << ConstData("a"); }));
    EXPECT_EQ(writer.Position(), ~0ULL);
}

TEST_F(FileWriterTest, ResultIsIndependentOfChunksAndShortWrites) {
    for (unsigned seed = 0; seed < 50; ++seed) {
        std::mt19937 random(seed);
        std::string const text = RandomBytes(random, 1 + random() % 300, EveryByte());
        path.OpenNewOrAsNew(file);
        FileWriter writer(path, 0);
        SystemCalls calls;
        for (unsigned i = 0; i < 20; ++i)
            calls.Limit("write", random() % 20, random() % 3);
        for (std::size_t done = 0; done < text.size();) {
            std::size_t const length = std::min<std::size_t>(random() % 50, text.size() - done);
            writer << ConstData(text.data() + done, length);
            done += length;
        }
        EXPECT_TRUE(ReadWholeFile(name) == text) << "seed " << seed;
    }
}

} // namespace
