#include "companions/ReportInput.h"

#include "companions/Arguments.h"
#include "tests/companions/StoredResults.h"
#include "tests/support/OpenDescriptors.h"

namespace {

std::string HostsRefusal(std::string const& file) {
    return MessageOf<CommandLineError>([&] { ReadHosts(file); });
}

class ReportInputTest : public testing::Test {
protected:
    std::string WriteHosts(std::string const& text) const { return WriteFile(hosts, text); }

    void ExpectRefusedHosts(std::string const& text, std::string const& reason) const {
        EXPECT_EQ("--hosts: " + hosts + ":" + reason, HostsRefusal(WriteHosts(text)));
    }

    TemporaryDirectory const directory;
    std::string const hosts = directory / "hosts";
};

TEST_F(ReportInputTest, ClosesTheFileOfHosts) {
    long const open = CountOpenDescriptors();
    ReadHosts(WriteHosts("web1\n"));
    EXPECT_EQ(open, CountOpenDescriptors());
}

TEST_F(ReportInputTest, DirectoryIncludesFilesBelowExceptHiddenAndTemporary) {
    for (char const* const name : {"b.json", "a/deep/er", "a/README", ".hidden", ".git/x.json",
                                   "b.json.a1B2c3", "b.ndjson.09AZaz"})
        WriteFile(directory / name, "");
    fs::create_directory_symlink(directory.path(), directory / "a/loop");
    fs::create_symlink("none", directory / "dangling");
    ReportFiles const files = ListReportFiles({directory.path()});
    EXPECT_EQ((Texts{directory / "a/README", directory / "a/deep/er", directory / "b.json",
                     directory / "dangling"}),
              files.paths);
    EXPECT_EQ(0u, files.problems.size());
}

TEST_F(ReportInputTest, DirectoryIncludesNamesThatOnlyResembleTemporaryOnes) {
    Texts const paths = {directory / "b.json.1.json", directory / "b.json.a1B2c_",
                         directory / "report.a.json"};
    for (std::string const& path : paths)
        WriteFile(path, "");
    EXPECT_EQ(paths, ListReportFiles({directory.path()}, {{"--html", directory / "report"}}).paths);
}

TEST_F(ReportInputTest, FilesAreListedOnceAndSorted) {
    std::string const file = WriteFile(directory / "x/.named", "");
    WriteFile(directory / "x/a", "");
    EXPECT_EQ((Texts{file, directory / "x/a", "none"}),
              ListReportFiles({"none", file, directory / "x", directory / "x", file}).paths);
    EXPECT_EQ((Texts{file, directory / "x/a"}), ListReportFiles({directory / "x", file}).paths);
}

TEST_F(ReportInputTest, ReadsHostNames) {
    for (std::string const byteOrderMark : {"", "\xEF\xBB\xBF"})
        EXPECT_EQ((Texts{"web1", "db.example.com", std::string(255, 'a')}),
                  ReadHosts(WriteHosts(byteOrderMark + "web1\t\n# All.\n\n#web2\r\n" +
                                       " db.example.com\r\n" + std::string(255, 'a'))));
}

TEST_F(ReportInputTest, RefusesInvalidHostFiles) {
    std::string const expected = " expected one host name of at most 255 bytes";
    ExpectRefusedHosts("a\nb c\n", "2:" + expected);
    for (std::string const& line : {std::string("a\x1b[2J\n"), std::string("a\x7f\n"),
                                    std::string(256, 'a'), std::string("web3 # comment\n")})
        ExpectRefusedHosts(line, "1:" + expected);
    ExpectRefusedHosts("# none\n", " expected a host name on each line");
    for (std::string const& file :
         {WriteHosts(std::string(maxHostsBytes + 1, '\n')), std::string("/dev/zero")})
        EXPECT_EQ("--hosts: " + file + ": expected at most 16777216 bytes", HostsRefusal(file));
}

TEST_F(ReportInputTest, ReportsErrorIfHostFileCannotBeRead) {
    for (auto const& [file, reason] : {std::pair{directory.path(), "read: Is a directory"},
                                       {"/proc/self/mem", "read: Input/output error"},
                                       {hosts, "opened: No such file or directory"}})
        EXPECT_EQ("--hosts: " + file + " could not be " + reason, HostsRefusal(file));
}

} // namespace
