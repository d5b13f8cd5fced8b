#include "companions/DoctorCommandLine.h"

#include "companions/Arguments.h"
#include "tests/companions/CompanionTest.h"

namespace {

DoctorCommandLine ParseDoctor(Texts const& texts) {
    return ParseLine(ParseDoctorCommandLine, texts);
}

TEST(DoctorCommandLineTest, ParsesJsonOption) {
    EXPECT_EQ(DoctorCommandLine::examine, ParseDoctor({}).action);
    EXPECT_FALSE(ParseDoctor({}).json);
    EXPECT_TRUE(ParseDoctor({"--json"}).json);
}

TEST(DoctorCommandLineTest, ParsesHelpAndVersion) {
    EXPECT_EQ(DoctorCommandLine::showHelp, ParseDoctor({"-h"}).action);
    EXPECT_EQ(DoctorCommandLine::showHelp, ParseDoctor({"--version", "--help"}).action);
    EXPECT_EQ(DoctorCommandLine::showVersion, ParseDoctor({"--version", "--json"}).action);
    EXPECT_EQ(DoctorCommandLine::showVersion, ParseDoctor({"-V"}).action);
}

TEST(DoctorCommandLineTest, RefusesOtherArguments) {
    for (char const* const text : {"--tsv", "url", "--json=no"})
        EXPECT_THROW(ParseDoctor({text}), CommandLineError) << text;
}

} // namespace
