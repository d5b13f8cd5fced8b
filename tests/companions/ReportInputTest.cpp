#include "companions/ReportInput.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "companions/Arguments.h"
#include "tests/companions/StoredResults.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

class ReportInputTest : public testing::Test {
protected:
    std::string HostsRefusal(std::string const& text) const {
        try {
            ReadHosts(WriteFile(directory / "hosts", text));
        } catch (CommandLineError const& error) {
            std::string const message = error.what();
            std::string const start = "--hosts: " + directory / "hosts" + ":";
            EXPECT_TRUE(message.starts_with(start)) << message;
            return message.substr(start.size());
        }
        return "accepted";
    }

    TemporaryDirectory const directory;
};

TEST_F(ReportInputTest, DirectoryIncludesAllFilesBelow) {
    WriteFile(directory / "b.json", "");
    WriteFile(directory / "a/deep/er", "");
    WriteFile(directory / "a/README", "");
    WriteFile(directory / ".hidden", "");
    WriteFile(directory / ".git/x.json", "");
    WriteFile(directory / "b.json.a1B2c3", "");
    WriteFile(directory / "b.ndjson.a1B2c3", "");
    std::filesystem::create_directory_symlink(directory.path(), directory / "a/loop");
    std::filesystem::create_symlink("none", directory / "dangling");
    ReportFiles const files = ListReportFiles({directory.path()});
    EXPECT_EQ((std::vector<std::string>{directory / "a/README", directory / "a/deep/er",
                                        directory / "b.json", directory / "dangling"}),
              files.paths);
    EXPECT_EQ(0u, files.problems.size());
}

TEST_F(ReportInputTest, FilesAreListedOnceAndSorted) {
    std::string const file = WriteFile(directory / "x/.named", "");
    WriteFile(directory / "x/a", "");
    EXPECT_EQ((std::vector<std::string>{file, directory / "x/a", "none"}),
              ListReportFiles({"none", file, directory / "x", directory / "x", file}).paths);
    EXPECT_EQ((std::vector<std::string>{file, directory / "x/a"}),
              ListReportFiles({directory / "x", file}).paths);
}

TEST_F(ReportInputTest, ReadsHostNames) {
    EXPECT_EQ((std::vector<std::string>{"web1", "db.example.com"}),
              ReadHosts(WriteFile(directory / "hosts",
                                  "# All.\n\n  web1\t\n#web2\r\ndb.example.com\r\n")));
}

TEST_F(ReportInputTest, SkipsByteOrderMarkOfHosts) {
    EXPECT_EQ((std::vector<std::string>{"web1"}),
              ReadHosts(WriteFile(directory / "hosts", "\xEF\xBB\xBFweb1\n")));
}

TEST_F(ReportInputTest, RefusesInvalidHostFiles) {
    EXPECT_EQ("2: expected one host name of at most 255 bytes", HostsRefusal("a\nb c\n"));
    EXPECT_EQ("1: expected one host name of at most 255 bytes", HostsRefusal("a\x1b[2J\n"));
    EXPECT_EQ("1: expected one host name of at most 255 bytes",
              HostsRefusal(std::string(256, 'a')));
    EXPECT_EQ("accepted", HostsRefusal(std::string(255, 'a')));
    EXPECT_EQ(" expected a host name on each line", HostsRefusal("# none\n"));
    EXPECT_EQ("1: expected one host name of at most 255 bytes", HostsRefusal("web3 # comment\n"));
    EXPECT_EQ(" expected at most 16777216 bytes",
              HostsRefusal(std::string(maxHostsBytes + 1, '\n')));
    EXPECT_THROW(ReadHosts("/dev/zero"), CommandLineError);
    EXPECT_THROW(ReadHosts(directory / "none"), CommandLineError);
    EXPECT_THROW(ReadHosts(directory.path()), CommandLineError);
}

TEST_F(ReportInputTest, ReportsErrorIfHostFileCannotBeRead) {
    for (auto const& [file, error] :
         {std::pair{directory.path(), EISDIR}, std::pair{std::string("/proc/self/mem"), EIO}})
        try {
            ReadHosts(file);
            ADD_FAILURE() << file;
        } catch (CommandLineError const& refusal) {
            EXPECT_EQ("--hosts: " + file + " could not be read: " + std::strerror(error),
                      refusal.what());
        }
}

} // namespace
