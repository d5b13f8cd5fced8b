#include "companions/Arguments.h"

#include "tests/companions/CompanionTest.h"

namespace {

constexpr std::array exampleRules = {
    OptionRule{"--help", nullptr, 'h'},
    OptionRule{"-x", nullptr, 'x'},
    OptionRule{"--list", "words"},
};
constexpr std::array similarRules = {
    OptionRule{"--time"},
    OptionRule{"--output", "a file", 'o'},
    OptionRule{"--tint"},
    OptionRule{"--tip"},
};
constexpr std::array<char const*, 2> operandNames = {"ONE", "TWO"};
constexpr char unknownOption[] = "' is not an option of this program; --help lists the options";

Arguments Read(Texts const& texts, std::span<OptionRule const> rules = exampleRules,
               std::span<char const* const> operands = operandNames) {
    return ParseLine(
        [&](int count, char const* const* values) {
            return Arguments(rules, operands, count, values);
        },
        texts);
}

Texts Values(Texts const& texts) { return Read(texts).Values("--list"); }

Texts Operands(Texts const& texts) { return Read(texts).Operands(); }

std::string Refusal(Texts const& texts, std::span<OptionRule const> rules = exampleRules,
                    std::span<char const* const> operands = operandNames) {
    return MessageOf<CommandLineError>([&] { Read(texts, rules, operands); });
}

void ExpectUnknown(Texts const& options, std::string const& suggestion = "") {
    for (std::string const& option : options)
        EXPECT_EQ("'" + option + unknownOption + suggestion, Refusal({option, "one"}));
}

TEST(ArgumentsTest, AcceptsEmptyCommandLine) {
    char const* const end = nullptr;
    Arguments const none(exampleRules, operandNames, 0, &end);
    EXPECT_FALSE(none.Has("--help"));
    EXPECT_EQ(Texts(), none.Operands());
    EXPECT_EQ(Texts(), Operands({}));
}

TEST(ArgumentsTest, RecognizesShortAndLongNamesOfOption) {
    for (char const* const text : {"-h", "--help", "-xh"})
        EXPECT_TRUE(Read({text}).Has("--help")) << text;
    EXPECT_TRUE(Read({"-x"}).Has("-x"));
    EXPECT_FALSE(Read({"-x"}).Has("--help"));
}

TEST(ArgumentsTest, ValueFollowsASpaceOrAnEqualsSign) {
    EXPECT_EQ(Texts{"a"}, Values({"--list", "a"}));
    EXPECT_EQ(Texts{"a=b"}, Values({"--list=a=b"}));
    EXPECT_EQ(Texts(), Values({"-x"}));
}

TEST(ArgumentsTest, DoesNotInterpretValues) {
    for (std::string const value : {"", " ", "-", "--help", "-5", "[a,b]", "{}", "a,b", "\"q\"",
                                    "\xFF", "%%", "++", "true", "--", "--list=", "-x-"})
        for (Texts const& texts : {Texts{"--list", value, "one"}, {"--list=" + value, "one"}}) {
            EXPECT_EQ(Texts{value}, Values(texts)) << value;
            EXPECT_EQ(Texts{"one"}, Operands(texts)) << value;
        }
}

TEST(ArgumentsTest, KeepsValuesOfRepeatedOptionInOrder) {
    EXPECT_EQ((Texts{"b", "a", "b"}), Values({"--list=b", "--list", "a", "--list=b"}));
}

TEST(ArgumentsTest, OperandsMayPrecedeOptions) {
    EXPECT_EQ((Texts{"one", "two"}), Operands({"one", "-x", "two", "--list=a"}));
    EXPECT_EQ((Texts{"one", "two"}), Operands({"--list", "a", "one", "two"}));
    for (Texts const& operands : {Texts{"", "++"}, {"[a,b]", "{}"}, {"-", "-"}})
        EXPECT_EQ(operands, Operands({operands[0], "-x", operands[1]}));
}

TEST(ArgumentsTest, ArgumentsAfterTwoDashesAreOperands) {
    EXPECT_EQ((Texts{"-x", "--list="}), Operands({"--", "-x", "--list="}));
    EXPECT_EQ((Texts{"-x-", "-x-"}), Operands({"--", "-x-", "-x-"}));
    EXPECT_FALSE(Read({"--", "-x"}).Has("-x"));
}

TEST(ArgumentsTest, LastOperandMayBeRepeated) {
    constexpr std::array<char const*, 2> repeated = {"ONE", "FILE..."};
    Arguments const arguments = Read({"a", "b", "-x", "c"}, exampleRules, repeated);
    EXPECT_EQ((Texts{"a", "b", "c"}), arguments.Operands());
    EXPECT_TRUE(arguments.Has("-x"));
}

TEST(ArgumentsTest, RefusalNamesArgumentAndAcceptedValues) {
    for (Texts const& texts : {Texts{"one", "two", "three"}, {"one", "--", "two", "three"}})
        EXPECT_EQ("'three' is an extra operand; accepted: ONE TWO", Refusal(texts));
    EXPECT_EQ("'one' is an extra operand; accepted: none", Refusal({"one"}, exampleRules, {}));
    EXPECT_EQ("--list: a value is missing; accepted: words", Refusal({"one", "--list"}));
    EXPECT_EQ("--help: this option takes no value", Refusal({"--help=yes"}));
}

TEST(ArgumentsTest, RefusesUnknownOptions) {
    ExpectUnknown({"--other", "-o", "--=a"});
    // Text after a letter is a part of the same argument.
    ExpectUnknown({"-xo", "-x-", "-x--", "-x--help", "-x ", "-x5", "-xh-"});
    ExpectUnknown({"-5", "- ", "-!", "-:", "-?", "---", "--!", "-- "});
    EXPECT_EQ(std::string("'--other") + unknownOption, Refusal({"one", "--other"}));
}

TEST(ArgumentsTest, SuggestsTheOptionOfAnAbbreviationOrSimilarName) {
    ExpectUnknown({"--l", "--lis", "--lis=a", "--lits", "--lst", "--listt", "--List", "--liist=a,b",
                   "--xxst", "-list", "-list=a", "-lis", "-lits"},
                  "; did you mean --list?");
    ExpectUnknown({"--h=yes"}, "; did you mean --help?");
    ExpectUnknown({"--table", "--xxxt", "--x", "-l", "--listings", "--" + std::string(31, 'l')});
    EXPECT_EQ(std::string("'--list") + unknownOption, Refusal({"--list"}, {}, {}));
}

TEST(ArgumentsTest, SuggestsAllOptionsThatBeginWithTheText) {
    EXPECT_THAT(Refusal({"--ti"}, similarRules),
                EndsWith("; did you mean --time, --tint or --tip?"));
    EXPECT_THAT(Refusal({"--tim"}, similarRules), EndsWith("; did you mean --time?"));
}

// getopt_long would take it as the letter o with the value "utput".
TEST(ArgumentsTest, RefusesLongNameWithOneDash) {
    for (char const* const text : {"-output", "-output=x"})
        EXPECT_THAT(Refusal({text}, similarRules), EndsWith("; did you mean --output?"));
    EXPECT_EQ("accepted", Refusal({"-outputs"}, similarRules));
}

} // namespace
