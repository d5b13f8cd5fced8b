#include "companions/OptionValues.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using std::chrono::seconds;

constexpr std::array testedRules = {
    OptionRule{"--results", acceptedResults},
    OptionRule{"--color", acceptedColor},
};

Arguments With(std::vector<char const*> texts) {
    texts.insert(texts.begin(), "program");
    return Arguments(testedRules, {}, static_cast<int>(texts.size()), texts.data());
}

template <typename Parse>
std::string ReasonToRefuse(Parse const& parse, std::string const& value) {
    try {
        parse(value);
    } catch (ValueError const& error) {
        return error.what();
    }
    return "accepted";
}

TEST(OptionValuesTest, TrimsSpacesAndTabs) {
    EXPECT_EQ("a b", TrimSpaces(" \ta b\t "));
    EXPECT_EQ("", TrimSpaces(" \t"));
    EXPECT_EQ("\n", TrimSpaces("\n"));
}

TEST(OptionValuesTest, AcceptsOnlyDigitsAsNumber) {
    EXPECT_EQ(0, ParseNumber("0"));
    EXPECT_EQ(9223372036854775807, ParseNumber("9223372036854775807"));
    for (char const* const text : {"", "-0", "-1", "+1", " 1", "1 ", "1x", "9223372036854775808"})
        EXPECT_EQ(std::nullopt, ParseNumber(text)) << text;
}

TEST(OptionValuesTest, RefusalNamesTheValueAndTheReason) {
    EXPECT_EQ("'a,,b' has an empty entry", ReasonToRefuse(ParseList, "a,,b"));
    EXPECT_EQ("'a,b,a' has 'a' twice", ReasonToRefuse(ParseList, "a,b,a"));
    EXPECT_EQ("'5d' is not accepted", ReasonToRefuse(ParseDuration, "5d"));
    EXPECT_EQ("'/dev/null' is not a regular file", ReasonToRefuse(ParseFile, "/dev/null"));
}

TEST(OptionValuesTest, CombinesResultsOfRepeatedOption) {
    EXPECT_EQ(
        (std::vector<std::string>{"a b", "c", "d"}),
        ReadResults(testedRules, With({"--results", " a b ,c", "--results=c,\td"}), "--results"));
    EXPECT_EQ(0u, ReadResults(testedRules, With({}), "--results").size());
    for (char const* const list : {"", " ", ",", "a,", ",a", "a,,b", "a,b,a"})
        EXPECT_THROW(ReadResults(testedRules, With({"--results", list}), "--results"),
                     CommandLineError)
            << list;
}

TEST(OptionValuesTest, AcceptsUnitsOfDurations) {
    EXPECT_EQ(seconds(90), ParseDuration("90"));
    EXPECT_EQ(seconds(90), ParseDuration("90s"));
    EXPECT_EQ(seconds(300), ParseDuration("5m"));
    EXPECT_EQ(seconds(7200), ParseDuration("2h"));
    for (char const* const text : {"", "0", "-1", "1d", "1.5", "m", "2147483648", "35791395m"})
        EXPECT_THROW(ParseDuration(text), ValueError) << text;
}

TEST(OptionValuesTest, UsesLastValueAndValidatesAll) {
    ColorMode color = ColorMode::automatic;
    ReadLast(testedRules, With({}), "--color", ParseColor, color);
    EXPECT_EQ(ColorMode::automatic, color);
    ReadLast(testedRules, With({"--color=never", "--color=always"}), "--color", ParseColor, color);
    EXPECT_EQ(ColorMode::always, color);
    EXPECT_THROW(
        ReadLast(testedRules, With({"--color=red", "--color=never"}), "--color", ParseColor, color),
        CommandLineError);
}

TEST(OptionValuesTest, RefusalListsAcceptedValues) {
    try {
        ParseOption(testedRules, "--color", "red", ParseColor);
        ADD_FAILURE() << "accepted";
    } catch (CommandLineError const& error) {
        EXPECT_STREQ("--color: 'red' is not accepted; accepted: auto, always or never",
                     error.what());
    }
}

} // namespace
