#include "files/FileItem.h"

#include <sys/time.h>

#include "fuzz/ChecksumProperties.h"
#include "tests/files/FileTest.h"

namespace {

using Item = UnixPlatform::FileItem;

// Allows a test to examine any location.
class AnyItem : public Item {
public:
    AnyItem(FileLocation const& where, bool tolerant) { HandleGetError(Fill(where), tolerant); }
    explicit AnyItem(FileLocation const& where) { Fill(where); }
};

class FileItemTest : public OpenFileTest {
protected:
    FileItemTest() {
        fs::create_symlink("missing", directory / "broken");
        fs::create_symlink("file", directory / "link");
    }

    struct stat StatsOf() {
        struct stat stats = {};
        EXPECT_EQ(stat(name.c_str(), &stats), 0);
        return stats;
    }

    std::string const brokenNotFound = "FileNotFoundError ENOENT" + On(directory / "broken");
};

static_assert(sizeof(FileItem) == sizeof(Item));

TEST_F(FileItemTest, DefaultItemHasNoLocationAndNoEntry) {
    Item const item;
    EXPECT_TRUE(item.IsNothingThere());
    EXPECT_TRUE(item.Location().IsEmpty());
}

TEST_F(FileItemTest, FileSystemTimesEqualInstants) {
    EXPECT_EQ(Item::GetTimeBias(), Instant(0));
    for (std::int64_t count : {INT64_MIN, std::int64_t{-1}, std::int64_t{1'234'567}, INT64_MAX})
        EXPECT_EQ(Item::RoundToFileSystem(Instant(count)), Instant(count));
}

TEST_F(FileItemTest, ExaminesALocation) {
    FileItem const item(file);
    EXPECT_STREQ(item.Location().Text(), name.c_str());
    EXPECT_EQ(item.State(), StatsValid);
    EXPECT_EQ(item.Target().st_size, 10);
    EXPECT_TRUE(FileItem(Here(".")).IsDirectory());
    fs::remove(name);
    FileItem const same(static_cast<Item const&>(item));
    EXPECT_TRUE(same.IsRegularFile()) << "a copy does not examine the file again";
    EXPECT_STREQ(same.Location().Text(), name.c_str());
}

TEST_F(FileItemTest, RejectsMissingEntriesAndDanglingLinks) {
    auto const examine = [](FileLocation const& where) {
        FileItem{where};
    };
    for (std::string const& where : {directory / "missing", directory / "broken", std::string()})
        EXPECT_EQ("FileNotFoundError ENOENT" + On(where), ThrownBy(examine, where));
    EXPECT_EQ("DirectoryNotFoundError ENOTDIR" + On(name + "/below"),
              ThrownBy(examine, name + "/below"));
}

TEST_F(FileItemTest, IsFilledFromALocationOrAnEntryBelowOne) {
    Item item;
    EXPECT_EQ(item.Fill(file), 0);
    EXPECT_STREQ(item.Location().Text(), name.c_str());
    EXPECT_TRUE(item.IsRegularFile());
    EXPECT_EQ(item.Fill(At(directory.path()), FileName("broken")), ENOENT);
    EXPECT_STREQ(item.Location().Text(), (directory / "broken").c_str());
    EXPECT_TRUE(item.IsBrokenLink());
}

TEST_F(FileItemTest, OnlyATolerantItemAcceptsADanglingLink) {
    for (std::string const what : {"file", "link", "missing", "broken"})
        for (bool tolerant : {false, true}) {
            AnyItem const item(Here(what));
            bool const reports = !(tolerant && what == "broken");
            EXPECT_EQ(item.MustReportError(tolerant), reports) << what << tolerant;
            EXPECT_EQ(item.HandleTryToGetError(tolerant), !reports) << what << tolerant;
            EXPECT_EQ(reports ? "FilePermissionError EACCES" + On(directory / what) : "nothing",
                      Thrown([&] { item.HandleGetError(EACCES, tolerant); }));
            EXPECT_NO_THROW(item.HandleGetError(0, tolerant));
        }
    EXPECT_TRUE(AnyItem(Here("broken"), true).IsBrokenLink());
    EXPECT_EQ(brokenNotFound, Thrown([&] { AnyItem(Here("broken"), false); }));
}

TEST_F(FileItemTest, SetsModificationTimeAndRestoresTheAccessTimeOfTheItem) {
    for (auto const& [what, wanted, seconds] :
         std::vector<std::tuple<std::string, std::int64_t, long>>{
             {"file", 1'234'567'890'999'999, 1'234'567'890},
             {"file", -10'000'000, -10},
             {"link", 7'000'000, 7}}) {
        AnyItem item(Here(what));
        Instant const access = item.AccessTime();
        timeval const later[2] = {{2'000'000'000, 0}, {2'000'000'000, 0}};
        ASSERT_EQ(utimes(name.c_str(), later), 0);
        item.SetModificationTime(Instant(wanted));
        EXPECT_EQ(item.ModificationTime(), Instant(seconds * 1'000'000)) << "in whole seconds";
        struct stat const now = StatsOf();
        EXPECT_EQ(now.st_mtim.tv_sec, seconds);
        EXPECT_EQ(now.st_mtim.tv_nsec + now.st_atim.tv_nsec, 0);
        EXPECT_EQ(now.st_atim.tv_sec, access.microseconds / 1'000'000)
            << "the access time of the item";
    }
}

TEST_F(FileItemTest, SettingTheTimeOfAMissingEntryFails) {
    SystemCalls calls;
    EXPECT_EQ("InvalidStats", Thrown([] { Item().SetModificationTime(Instant(0)); }));
    AnyItem missing(Here("missing"));
    EXPECT_EQ("InvalidStats", Thrown([&] { missing.SetModificationTime(Instant(0)); }));
    EXPECT_EQ(missing.ModificationTime(), Instant(0));
    EXPECT_EQ(calls.Count("utimes"), 0u);
    AnyItem broken(Here("broken"));
    EXPECT_EQ(brokenNotFound, Thrown([&] { broken.SetModificationTime(Instant(0)); }));
    FileItem item(file);
    fs::remove(name);
    EXPECT_EQ("FileNotFoundError ENOENT" + on,
              Thrown([&] { item.SetModificationTime(Instant(3'000'000)); }));
    EXPECT_EQ(item.ModificationTime(), Instant(3'000'000))
        << "the object has the time although the call failed";
}

// Deliberate: EPERM maps to FileIOError too.
TEST_F(FileItemTest, FailedTimeChangesHaveTheirOwnErrorMapping) {
    AnyItem item(file);
    auto const mapper = [&](int error) {
        if (error == ENOENT)
            throw FileNotFoundError(file, error);
        if (error == EACCES)
            throw FilePermissionError(file, error);
        throw FileIOError(file, error);
    };
    ExpectMapped("utimes", mapper, [&] { item.SetModificationTime(Instant(0)); });
}

TEST_F(FileItemTest, ChecksumIsComputedFromTheCurrentContent) {
    WriteWholeFile(name, "123456789");
    FileItem const item(file);
    EXPECT_EQ(item.Checksum(), 0xFC89'1918u) << "the check value of CRC-32/BZIP2";
    for (std::string const& bytes : {std::string(), EveryByte(), std::string(10'000, '\0')}) {
        WriteWholeFile(name, bytes);
        EXPECT_EQ(item.Checksum(), ~ChecksumProperties::AdvanceByBits(~0u, bytes));
    }
    fs::remove(name);
    EXPECT_EQ("FileNotFoundError ENOENT" + on, Thrown([&] { item.Checksum(); }));
}

} // namespace
