#include "companions/OptionValues.h"

#include "tests/companions/CompanionTest.h"

namespace {

constexpr std::array testedRules = {
    OptionRule{"--results", acceptedResults},
    OptionRule{"--color", acceptedColor},
};

Arguments With(Texts const& texts) {
    return ParseLine(
        [](int count, char const* const* values) {
            return Arguments(testedRules, {}, count, values);
        },
        texts);
}

Texts Results(Texts const& texts) { return ReadResults(testedRules, With(texts), "--results"); }

template <typename Parse>
std::string ReasonToRefuse(Parse const& parse, std::string const& value) {
    return MessageOf<ValueError>([&] { parse(value); });
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
    EXPECT_EQ((Texts{"a b", "c", "d"}), Results({"--results", " a b ,c", "--results=c,\td"}));
    EXPECT_EQ(Texts(), Results({}));
    for (char const* const list : {"", " ", ",", "a,", ",a", "a,,b", "a,b,a"})
        EXPECT_THROW(Results({"--results", list}), CommandLineError) << list;
}

TEST(OptionValuesTest, UsesLastValueAndValidatesAll) {
    auto const read = [](Texts const& texts) {
        ColorMode color = ColorMode::automatic;
        ReadLast(testedRules, With(texts), "--color", ParseColor, color);
        return color;
    };
    EXPECT_EQ(ColorMode::automatic, read({}));
    EXPECT_EQ(ColorMode::always, read({"--color=never", "--color=always"}));
    EXPECT_EQ(ColorMode::automatic, read({"--color=never", "--color=auto"}));
    EXPECT_EQ("--color: 'red' is not accepted; accepted: auto, always or never",
              MessageOf<CommandLineError>([&] {
                  read({"--color=red", "--color=never"});
              }));
}

} // namespace
