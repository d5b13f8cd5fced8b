#include "files/unix/FileStats.h"

#include <algorithm>
#include <cstring>

#include "tests/files/FileTest.h"

namespace {

bool IsAllZero(struct stat const& record) {
    auto const* const bytes = reinterpret_cast<unsigned char const*>(&record);
    return std::all_of(bytes, bytes + sizeof(record), [](unsigned char byte) { return byte == 0; });
}

class FileStatsTest : public FileTest {
protected:
    int Get(std::string const& name) { return stats.get((directory / name).c_str()); }

    FileStats stats;
};

TEST_F(FileStatsTest, DefaultHasNoEntry) {
    EXPECT_EQ(stats.State(), StatsNothingThere);
    EXPECT_TRUE(IsAllZero(stats.Target()));
    EXPECT_TRUE(IsAllZero(stats.Link()));
    EXPECT_EQ(StatsValid, 0);
    EXPECT_EQ(StatsValidThroughLink, 1);
    EXPECT_EQ(StatsBrokenLink, 2);
    EXPECT_EQ(StatsNothingThere, 3);
    EXPECT_GE(sizeof(FileStats), sizeof(int) + 2 * sizeof(struct stat));
}

TEST_F(FileStatsTest, LinkCountsAsItsTarget) {
    for (std::string const& kind : everyKind) {
        SCOPED_TRACE(kind);
        MakeEntry(directory / kind, kind);
        bool const isLink = kind.find("link") != std::string::npos;
        bool const isBroken = kind == "dangling link";
        EXPECT_EQ(Get(kind), isBroken ? ENOENT : 0);
        EXPECT_EQ(stats.State(), isBroken ? StatsBrokenLink
                                 : isLink ? StatsValidThroughLink
                                          : StatsValid);
        EXPECT_EQ(stats.IsRegularFile(), fs::is_regular_file(directory / kind));
        EXPECT_EQ(stats.IsDirectory(), fs::is_directory(directory / kind));
        EXPECT_EQ(S_ISLNK(stats.Link().st_mode), isLink);
        EXPECT_EQ(IsAllZero(stats.Target()), isBroken);
        EXPECT_EQ(memcmp(&stats.Target(), &stats.Link(), sizeof(struct stat)) == 0, !isLink);
        if (IsRegularFileKind(kind)) {
            EXPECT_EQ(stats.Target().st_size, 7);
        }
    }
    fs::create_symlink("link to file", directory / "link to link");
    EXPECT_EQ(Get("link to link"), 0);
    EXPECT_TRUE(stats.IsRegularFile());
    EXPECT_EQ(stats.Link().st_size, 12) << "the length of the text of the link";
}

TEST_F(FileStatsTest, DanglingLinkHasTheErrorOfItsTarget) {
    MakeEntry(directory / "file", "file");
    fs::create_symlink("ring", directory / "ring");
    fs::create_symlink("file/below", directory / "through");
    for (auto const& [name, error] : {std::pair("ring", ELOOP), {"through", ENOTDIR}}) {
        EXPECT_EQ(Get(name), error);
        EXPECT_EQ(stats.State(), StatsBrokenLink);
    }
}

TEST_F(FileStatsTest, EntryThatCannotBeExaminedCountsAsMissing) {
    MakeEntry(directory / "file", "file");
    for (auto const& [name, error] : std::vector<std::pair<std::string, int>>{
             {"missing", ENOENT}, {"file/below", ENOTDIR}, {std::string(256, 'x'), ENAMETOOLONG}}) {
        EXPECT_EQ(Get("file"), 0); // The result of the previous call must be cleared.
        EXPECT_EQ(Get(name), error);
        EXPECT_EQ(stats.State(), StatsNothingThere);
        EXPECT_TRUE(IsAllZero(stats.Target()));
        EXPECT_TRUE(IsAllZero(stats.Link()));
    }
    EXPECT_EQ(stats.get(""), ENOENT);
    EXPECT_EQ(stats.get("/dev/null"), 0);
    EXPECT_FALSE(stats.IsDirectory() || stats.IsRegularFile());
}

TEST_F(FileStatsTest, FailedLstatMeansMissingAndFailedStatDangling) {
    MakeEntry(directory / "link", "link to file");
    SystemCalls calls;
    calls.Fail("lstat", EACCES);
    EXPECT_EQ(Get("link"), EACCES);
    EXPECT_EQ(stats.State(), StatsNothingThere);
    calls.Fail("stat", EACCES);
    EXPECT_EQ(Get("link"), EACCES);
    EXPECT_EQ(stats.State(), StatsBrokenLink);
}

} // namespace
