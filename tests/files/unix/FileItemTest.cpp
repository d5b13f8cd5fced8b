#include "files/unix/FileItem.h"

#include <cerrno>
#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/Files.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using testing::ElementsAre;
namespace fs = std::filesystem;
using Item = UnixPlatform::FileItem;

// Lets a test examine any location.
class AnyItem : public Item {
public:
    AnyItem(FileLocation const& where, bool tolerant) { HandleGetError(Fill(where), tolerant); }
    explicit AnyItem(FileLocation const& where) { Fill(where); }
};

class UnixFileItemTest : public testing::Test {
protected:
    UnixFileItemTest() {
        WriteWholeFile(directory / "file", "hello");
        fs::create_symlink("missing", directory / "broken");
        fs::create_symlink("file", directory / "link");
    }

    FileLocation At(std::string const& name) {
        return MakeFileLocation((directory / name).c_str());
    }

    struct stat InformationOf(std::string const& name) {
        struct stat information = {};
        EXPECT_EQ(stat((directory / name).c_str(), &information), 0);
        return information;
    }

    TemporaryDirectory directory;
};

TEST_F(UnixFileItemTest, IsNothingWithoutALocationAtFirst) {
    Item const item;
    EXPECT_TRUE(item.IsNothingThere());
    EXPECT_TRUE(item.Location().IsEmpty());
}

TEST_F(UnixFileItemTest, TheFileSystemsClockIsOurs) { EXPECT_EQ(Item::GetTimeBias(), Instant(0)); }

TEST_F(UnixFileItemTest, RoundingToTheFileSystemKeepsTheMicroseconds) {
    for (std::int64_t count : {INT64_MIN, std::int64_t{-1}, std::int64_t{1'234'567}, INT64_MAX})
        EXPECT_EQ(Item::RoundToFileSystem(Instant(count)), Instant(count));
}

TEST_F(UnixFileItemTest, IsFilledFromALocationOrAnEntryBelowOne) {
    Item item;
    EXPECT_EQ(item.Fill(At("file")), 0);
    EXPECT_STREQ(item.Location().Text(), (directory / "file").c_str());
    EXPECT_TRUE(item.IsRegularFile());
    EXPECT_EQ(item.Fill(MakeFileLocation(directory.path().c_str()), FileName("broken")), ENOENT);
    EXPECT_STREQ(item.Location().Text(), (directory / "broken").c_str());
    EXPECT_TRUE(item.IsBrokenLink());
}

TEST_F(UnixFileItemTest, OnlyATolerantViewOfABrokenLinkReportsNothing) {
    for (char const* name : {"file", "link", "missing", "broken"})
        for (bool tolerant : {false, true}) {
            AnyItem const item(At(name));
            bool const reports = !(tolerant && std::string(name) == "broken");
            EXPECT_EQ(item.MustReportError(tolerant), reports) << name << tolerant;
            EXPECT_EQ(item.HandleTryToGetError(tolerant), !reports) << name << tolerant;
        }
}

TEST_F(UnixFileItemTest, HandleGetErrorThrowsWhatTheNumberMeansUnlessItIsZero) {
    AnyItem const file(At("file"));
    EXPECT_NO_THROW(file.HandleGetError(0, false));
    EXPECT_NO_THROW(file.HandleGetError(0, true));
    for (bool tolerant : {false, true})
        ExpectFileError<FilePermissionError>(EACCES, On(directory / "file"),
                                             [&] { file.HandleGetError(EACCES, tolerant); });
    AnyItem const broken(At("broken"));
    EXPECT_NO_THROW(broken.HandleGetError(ENOENT, true));
    ExpectFileError<FileNotFoundError>(ENOENT, On(directory / "broken"),
                                       [&] { broken.HandleGetError(ENOENT, false); });
}

TEST_F(UnixFileItemTest, ABrokenLinkCanBeExaminedTolerantly) {
    AnyItem const item(At("broken"), true);
    EXPECT_TRUE(item.IsBrokenLink());
    EXPECT_THROW(AnyItem(At("broken"), false), FileNotFoundError);
    EXPECT_THROW(AnyItem(At("missing"), true), FileNotFoundError);
}

TEST_F(UnixFileItemTest, SetsTheTimeOnDiskInWholeSecondsAndKeepsTheAccessTime) {
    AnyItem item(At("file"));
    Instant const access = item.AccessTime();
    SystemCalls calls;
    item.SetModificationTime(Instant(1'234'567'890'999'999));
    EXPECT_THAT(calls.Log(), ElementsAre("utimes " + directory / "file"));
    EXPECT_EQ(item.ModificationTime(), Instant(1'234'567'890'000'000));
    struct stat const now = InformationOf("file");
    EXPECT_EQ(now.st_mtim.tv_sec, 1'234'567'890);
    EXPECT_EQ(now.st_mtim.tv_nsec, 0);
    EXPECT_EQ(now.st_atim.tv_sec, access.microseconds / 1'000'000);
    EXPECT_EQ(now.st_atim.tv_nsec, 0);
}

TEST_F(UnixFileItemTest, TheAccessTimeGoesBackToThatOfTheItem) {
    AnyItem item(At("file"));
    timeval const later[2] = {{2'000'000'000, 0}, {2'000'000'000, 0}};
    ASSERT_EQ(utimes((directory / "file").c_str(), later), 0);
    item.SetModificationTime(Instant(1'000'000));
    EXPECT_EQ(InformationOf("file").st_atim.tv_sec, item.AccessTime().microseconds / 1'000'000);
    EXPECT_LT(InformationOf("file").st_atim.tv_sec, 2'000'000'000);
}

TEST_F(UnixFileItemTest, TimesBeforeTheEpochAreSetToo) {
    AnyItem item(At("file"));
    item.SetModificationTime(Instant(-10'000'000));
    EXPECT_EQ(InformationOf("file").st_mtim.tv_sec, -10);
}

TEST_F(UnixFileItemTest, SetsTheTimeOfALinksTarget) {
    AnyItem item(At("link"));
    item.SetModificationTime(Instant(7'000'000));
    EXPECT_EQ(InformationOf("file").st_mtim.tv_sec, 7);
}

TEST_F(UnixFileItemTest, AnItemWithoutInformationHasNoTimeToSet) {
    SystemCalls calls;
    Item empty;
    ExpectFileError<InvalidStats>(0, "", [&] { empty.SetModificationTime(Instant(0)); });
    AnyItem missing(At("missing"));
    ExpectFileError<InvalidStats>(0, "", [&] { missing.SetModificationTime(Instant(0)); });
    EXPECT_EQ(calls.Count("utimes"), 0u);
    EXPECT_EQ(missing.ModificationTime(), Instant(0));
}

TEST_F(UnixFileItemTest, AFileThatHasGoneSinceIsNotFound) {
    AnyItem item(At("file"));
    fs::remove(directory / "file");
    ExpectFileError<FileNotFoundError>(ENOENT, On(directory / "file"),
                                       [&] { item.SetModificationTime(Instant(3'000'000)); });
    EXPECT_EQ(item.ModificationTime(), Instant(3'000'000)) << "the object has it all the same";
}

TEST_F(UnixFileItemTest, ABrokenLinkIsNotFound) {
    AnyItem item(At("broken"));
    ExpectFileError<FileNotFoundError>(ENOENT, On(directory / "broken"),
                                       [&] { item.SetModificationTime(Instant(0)); });
}

TEST_F(UnixFileItemTest, RefusalsHaveAMappingOfTheirOwn) {
    AnyItem item(At("file"));
    std::string const on = On(directory / "file");
    auto const set = [&] {
        item.SetModificationTime(Instant(0));
    };
    SystemCalls calls;
    calls.Fail("utimes", EACCES);
    ExpectFileError<FilePermissionError>(EACCES, on, set);
    for (int error :
         {EPERM, EROFS, ENOTDIR, EAGAIN}) { // Deliberate: the plain class for EPERM too.
        calls.Fail("utimes", error);
        ExpectFileError<FileIOError>(error, on, set);
    }
}

TEST_F(UnixFileItemTest, AnotherUsersFileIsRefusedWithThePlainClass) {
    PrivateMachine::Run([&] {
        fs::permissions(directory.path(), fs::perms(0755));
        fs::permissions(directory / "file", fs::perms(0444));
        AnyItem item(At("file"));
        PrivateMachine::DropPrivileges();
        if (InformationOf("file").st_uid == getuid())
            GTEST_SKIP() << "the machine knows no second user";
        ExpectFileError<FileIOError>(EPERM, On(directory / "file"),
                                     [&] { item.SetModificationTime(Instant(0)); });
    });
}

} // namespace
