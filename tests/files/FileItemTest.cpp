#include "files/FileItem.h"

#include <cerrno>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/Files.h"
#include "tests/support/Bytes.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;

// CRC-32/BZIP2, bit by bit.
std::uint32_t PlainChecksum(std::string const& bytes) {
    std::uint32_t value = ~0u;
    for (unsigned char const byte : bytes) {
        value ^= std::uint32_t{byte} << 24;
        for (int bit = 0; bit < 8; ++bit)
            value = (value & 0x8000'0000u) ? (value << 1) ^ 0x04C1'1DB7u : value << 1;
    }
    return ~value;
}

class FileItemTest : public testing::Test {
protected:
    FileItemTest() { WriteWholeFile(directory / "file", "123456789"); }

    FileLocation At(std::string const& name) {
        return MakeFileLocation((directory / name).c_str());
    }

    TemporaryDirectory directory;
};

TEST_F(FileItemTest, AddsNoField) { EXPECT_EQ(sizeof(FileItem), sizeof(UnixPlatform::FileItem)); }

TEST_F(FileItemTest, IsMadeOfWhatStandsAtALocation) {
    FileItem const item(At("file"));
    EXPECT_STREQ(item.Location().Text(), (directory / "file").c_str());
    EXPECT_EQ(item.State(), StatsValid);
    EXPECT_EQ(item.Target().st_size, 9);
    EXPECT_TRUE(FileItem(At(".")).IsDirectory());
}

TEST_F(FileItemTest, ALinkToADirectoryIsADirectory) {
    fs::create_symlink(".", directory / "link");
    FileItem const item(At("link"));
    EXPECT_EQ(item.State(), StatsValidThroughLink);
    EXPECT_TRUE(item.IsDirectory());
}

TEST_F(FileItemTest, CannotBeMadeOfNothingNorOfABrokenLink) {
    fs::create_symlink("missing", directory / "broken");
    ExpectFileError<FileNotFoundError>(ENOENT, On(directory / "missing"),
                                       [&] { FileItem item(At("missing")); });
    ExpectFileError<FileNotFoundError>(ENOENT, On(directory / "broken"),
                                       [&] { FileItem item(At("broken")); });
    ExpectFileError<FileNotFoundError>(ENOENT, "", [&] { FileItem item{FileLocation()}; });
    ExpectFileError<DirectoryNotFoundError>(ENOTDIR, On(directory / "file/below"),
                                            [&] { FileItem item(At("file/below")); });
}

TEST_F(FileItemTest, IsMadeOfAnItemWithoutALook) {
    FileItem const item(At("file"));
    fs::remove(directory / "file");
    FileItem const same(static_cast<UnixPlatform::FileItem const&>(item));
    EXPECT_TRUE(same.IsRegularFile());
    EXPECT_STREQ(same.Location().Text(), item.Location().Text());
    EXPECT_TRUE(FileItem(UnixPlatform::FileItem()).IsNothingThere());
}

TEST_F(FileItemTest, TheChecksumIsThePublishedOne) {
    EXPECT_EQ(FileItem(At("file")).Checksum(), 0xFC89'1918u); // The check value of CRC-32/BZIP2.
}

TEST_F(FileItemTest, TheChecksumIsThatOfTheBytesNow) {
    FileItem const item(At("file"));
    for (std::string const& bytes : {std::string(), EveryByte(), std::string(10'000, '\0')}) {
        WriteWholeFile(directory / "file", bytes);
        EXPECT_EQ(item.Checksum(), PlainChecksum(bytes));
    }
    fs::remove(directory / "file");
    ExpectFileError<FileNotFoundError>(ENOENT, On(directory / "file"), [&] { item.Checksum(); });
}

TEST_F(FileItemTest, TheTimeOfAFileThatHasGoneCannotBeSet) {
    FileItem item(At("file"));
    fs::remove(directory / "file");
    EXPECT_THROW(item.SetModificationTime(Instant(0)), FileNotFoundError);
}

} // namespace
