#include "companions/DoctorCommandLine.h"

#include <gtest/gtest.h>

#include <vector>

#include "companions/Arguments.h"

namespace {

DoctorCommandLine Parse(std::vector<char const*> texts) {
    texts.insert(texts.begin(), "compliance-doctor");
    return ParseDoctorCommandLine(static_cast<int>(texts.size()), texts.data());
}

TEST(DoctorCommandLineTest, ParsesJsonOption) {
    EXPECT_EQ(DoctorCommandLine::examine, Parse({}).action);
    EXPECT_FALSE(Parse({}).json);
    EXPECT_TRUE(Parse({"--json"}).json);
}

TEST(DoctorCommandLineTest, ParsesHelpAndVersion) {
    EXPECT_EQ(DoctorCommandLine::showHelp, Parse({"-h"}).action);
    EXPECT_EQ(DoctorCommandLine::showHelp, Parse({"--version", "--help"}).action);
    EXPECT_EQ(DoctorCommandLine::showVersion, Parse({"--version", "--json"}).action);
    EXPECT_EQ(DoctorCommandLine::showVersion, Parse({"-V"}).action);
}

TEST(DoctorCommandLineTest, RefusesOtherArguments) {
    EXPECT_THROW(Parse({"--tsv"}), CommandLineError);
    EXPECT_THROW(Parse({"url"}), CommandLineError);
    EXPECT_THROW(Parse({"--json=no"}), CommandLineError);
}

} // namespace
