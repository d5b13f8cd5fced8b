#include "companions/QueryConfig.h"

#include "companions/OptionValues.h"
#include "tests/companions/CompanionTest.h"
#include "tests/companions/RefusedCall.h"
#include "tests/support/OpenDescriptors.h"

namespace {

class QueryConfigTest : public testing::Test {
protected:
    QueryConfig Read(std::string const& content) const {
        std::ofstream(path) << content;
        return ReadQueryConfig(path);
    }

    // The mistakes without the path of the file.
    Texts Mistakes(std::string const& content) const {
        Texts mistakes = Read(content).mistakes;
        for (std::string& mistake : mistakes) {
            EXPECT_TRUE(mistake.starts_with(path + ":")) << mistake;
            mistake.erase(0, path.size() + 1);
        }
        return mistakes;
    }

    TemporaryDirectory const directory;
    std::string const path = directory.path() + "/x.conf";
};

TEST_F(QueryConfigTest, ReadsAllKeys) {
    QueryConfig const config = Read("# The nightly evaluation.\n"
                                    "; Another comment\n"
                                    "\n"
                                    "URL=http://host:52311/cgi-bin/a?b=c#d\n"
                                    "  DOCUMENT = \"R&D baseline.xml\" \n"
                                    "FLAGS='gather, idle'\n"
                                    "GOOD_RESULTS=Compliant,Not Applicable\n"
                                    "KEEP_RESULTS=30");
    EXPECT_EQ(Texts(), config.mistakes);
    EXPECT_EQ("http://host:52311/cgi-bin/a?b=c#d", config.url);
    EXPECT_EQ("R&D baseline.xml", config.document);
    EXPECT_EQ(5u, config.flags);
    EXPECT_EQ((Texts{"Compliant", "Not Applicable"}), config.goodResults);
    EXPECT_EQ(30, config.keptResults);
}

TEST_F(QueryConfigTest, EmptyFileIsTheDefaultRequest) {
    QueryConfig const config = Read("");
    EXPECT_EQ(Texts(), config.mistakes);
    EXPECT_EQ(std::nullopt, config.url);
    EXPECT_EQ(std::nullopt, config.document);
    EXPECT_EQ(0u, config.flags);
    EXPECT_EQ(Texts(), config.goodResults);
    EXPECT_EQ(std::nullopt, config.keptResults);
}

TEST_F(QueryConfigTest, ReportsLineOfEachMistake) {
    EXPECT_EQ(
        (Texts{"1: 'URI' is not a key; accepted: URL, DOCUMENT, FLAGS, GOOD_RESULTS, "
               "KEEP_RESULTS",
               "2: FLAGS: 'fast' is not accepted; accepted: a comma-separated list of gather, "
               "all, idle, hint or numbers from 0 to 15",
               "4: 'DOCUMENT' has no '='; accepted: KEY=VALUE, or # and a comment",
               "5: GOOD_RESULTS: 'a,' has an empty entry; accepted: a comma-separated list "
               "of results",
               "6: KEEP_RESULTS: '0' is not accepted; accepted: a number from 1 to 10000"}),
        Mistakes("URI=x\nFLAGS=fast\n\nDOCUMENT\nGOOD_RESULTS=a,\nKEEP_RESULTS=0\n"));
}

TEST_F(QueryConfigTest, ClosesTheFile) {
    long const open = CountOpenDescriptors();
    Mistakes("FLAGS=all\n");
    EXPECT_EQ(open, CountOpenDescriptors());
}

TEST_F(QueryConfigTest, RefusesRepeatedKey) {
    EXPECT_EQ(Texts{"3: FLAGS: accepted once; it is also in line 1"},
              Mistakes("FLAGS=all\n\nFLAGS=all\n"));
}

TEST_F(QueryConfigTest, RefusesUrlOrDocumentAlone) {
    EXPECT_EQ(Texts{"2: URL: requires DOCUMENT"}, Mistakes("#\nURL=x\n"));
    EXPECT_EQ(Texts{"1: DOCUMENT: requires URL"}, Mistakes("DOCUMENT=x\n"));
}

TEST_F(QueryConfigTest, RefusesEmptyValuesAndThoseThatSystemdReadsOtherwise) {
    auto const refusal = [&](std::string const& value) {
        return Mistakes("URL=" + value + "\nDOCUMENT=x\n").at(0);
    };
    std::string const accepted = "; accepted: the site gather URL";
    for (std::string const value : {"a\"b", "it's", "\"a", "\"", "a\\b", "a\\"})
        EXPECT_EQ("1: URL: '" + value + "' has a quote or a backslash" + accepted, refusal(value));
    for (char const* const value : {"", "  ", "\"\"", "''"})
        EXPECT_EQ("1: URL: '' is empty" + accepted, refusal(value));
    EXPECT_EQ("1: URL: 'a\\r' has a control character" + accepted, refusal("a\r"));
    EXPECT_EQ("1: URL: 'a\\x00b' has a control character" + accepted,
              refusal(std::string("a\0b", 3)));
    EXPECT_EQ("1: URL: 'a\\x7f' has a control character" + accepted, refusal("a\x7f"));
    EXPECT_EQ("1: URL: 'a\\xff' is not UTF-8" + accepted, refusal("a\xff"));
}

TEST_F(QueryConfigTest, RefusesTextThatSystemdReadsDifferently) {
    EXPECT_EQ(Texts{"1: begins with a byte order mark; accepted: UTF-8 without one"},
              Mistakes("\xEF\xBB\xBFURL=a\nDOCUMENT=x\n"));
    for (std::string const comment : {"# a \\", "; a\\\\", "#\\\r"})
        EXPECT_EQ(Texts{"1: the comment ends with a backslash, after which some versions of "
                        "systemd skip the next line; accepted: a comment that does not"},
                  Mistakes(comment + "\nFLAGS=all\n"))
            << comment;
}

// For systemd, a carriage return ends a comment. It refuses a file with a NUL byte.
TEST_F(QueryConfigTest, RefusesCarriageReturnAndNulInComment) {
    for (std::string const& comment :
         {std::string("# a\rURL=http://host/"), std::string("#\r\r"), std::string("; a\0b", 5)})
        EXPECT_EQ(Texts{"1: the comment has a carriage return, at which systemd ends it, or a NUL "
                        "byte; accepted: a comment without them"},
                  Mistakes(comment + "\nFLAGS=all\n"))
            << comment;
    EXPECT_EQ(2u, Read("# tab\tand line end\r\nFLAGS=all\n").flags);
}

TEST_F(QueryConfigTest, MessagesAreShort) {
    std::string const longText(60'000, 'x');
    for (std::string const& content :
         {longText, longText + "=1", "URL=" + longText, "GOOD_RESULTS=," + longText}) {
        Texts const mistakes = Mistakes(content);
        EXPECT_LT(mistakes.at(0).size(), 300u);
        EXPECT_NE(std::string::npos, mistakes.at(0).find("accepted: "));
    }
}

TEST_F(QueryConfigTest, LimitsNumberOfKeptResults) {
    EXPECT_EQ(1, Read("KEEP_RESULTS=1").keptResults);
    EXPECT_EQ(10'000, Read("KEEP_RESULTS=10000").keptResults);
    for (std::string const value : {"10001", "-1", "many"})
        EXPECT_EQ(1u, Mistakes("KEEP_RESULTS=" + value).size()) << value;
}

TEST_F(QueryConfigTest, RefusesUnreadableAndTooLargeFiles) {
    EXPECT_EQ(Texts{path + ": cannot be read: No such file or directory"},
              ReadQueryConfig(path).mistakes);
    EXPECT_EQ(Texts{"/proc/self/mem: cannot be read: Input/output error"},
              ReadQueryConfig("/proc/self/mem").mistakes);
    EXPECT_EQ(Texts{directory.path() + ": not a regular file"},
              ReadQueryConfig(directory.path()).mistakes);
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    EXPECT_EQ(Texts{path + ": not a regular file"}, ReadQueryConfig(path).mistakes);
    fs::remove(path);
    EXPECT_EQ(Texts(), Mistakes("#" + std::string(65'535, 'x')));
    EXPECT_EQ(Texts{" too large; accepted: at most 65536 bytes"},
              Mistakes("#" + std::string(65'536, 'x')));
}

TEST_F(QueryConfigTest, ReadsFileOfUnknownType) {
    std::ofstream(path) << "FLAGS=all\n";
    OtherProcess other([this] {
        // The C library makes one of these calls for fstat(2).
        RefuseCall(SYS_fstat, EOVERFLOW);
        RefuseCall(SYS_newfstatat, EOVERFLOW, {{3, AT_EMPTY_PATH}});
        QueryConfig const config = ReadQueryConfig(path);
        EXPECT_EQ(Texts(), config.mistakes);
        EXPECT_EQ(2u, config.flags);
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
}

TEST(QueryConfigNameTest, IdentifiesFileInConfigurationDirectory) {
    EXPECT_EQ("/etc/clientcompliance/night.conf", QueryConfigPath("night"));
    EXPECT_EQ("web-1@x", ParseConfigName("web-1@x"));
    for (std::string const& name : {std::string(), std::string("a/b"), std::string("../x"),
                                    std::string(".x"), std::string(101, 'x')})
        EXPECT_THROW(ParseConfigName(name), ValueError) << name;
}

TEST_F(QueryConfigTest, ValueHasAtMost4096Bytes) {
    EXPECT_EQ(Texts(), Mistakes("GOOD_RESULTS=" + std::string(4096, 'r')));
    EXPECT_EQ(Texts{"1: GOOD_RESULTS: '" + std::string(100, 'r') +
                    "...' has more than 4096 bytes; accepted: " + acceptedResults},
              Mistakes("GOOD_RESULTS=" + std::string(4097, 'r')));
}

} // namespace
