#include "companions/Arguments.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using Texts = std::vector<std::string>;

constexpr std::array exampleRules = {
    OptionRule{"--help", nullptr, 'h'},
    OptionRule{"-x", nullptr, 'x'},
    OptionRule{"--list", "words"},
};
constexpr std::array<char const*, 2> operandNames = {"ONE", "TWO"};

Arguments Read(Texts const& texts) {
    std::vector<char const*> pointers{"program"};
    for (std::string const& text : texts)
        pointers.push_back(text.c_str());
    return Arguments(exampleRules, operandNames, static_cast<int>(pointers.size()),
                     pointers.data());
}

std::string Refusal(Texts const& texts) {
    try {
        Read(texts);
    } catch (CommandLineError const& error) {
        return error.what();
    }
    return "accepted";
}

TEST(ArgumentsTest, AcceptsEmptyCommandLine) {
    char const* const end = nullptr;
    Arguments const none(exampleRules, operandNames, 0, &end);
    EXPECT_FALSE(none.Has("--help"));
    EXPECT_EQ(Texts(), none.Operands());
    EXPECT_EQ(Texts(), Read({}).Operands());
}

TEST(ArgumentsTest, RecognizesShortAndLongNamesOfOption) {
    EXPECT_TRUE(Read({"-h"}).Has("--help"));
    EXPECT_TRUE(Read({"--help"}).Has("--help"));
    EXPECT_TRUE(Read({"-x"}).Has("-x"));
    EXPECT_TRUE(Read({"-xh"}).Has("--help"));
    EXPECT_FALSE(Read({"-x"}).Has("--help"));
}

TEST(ArgumentsTest, ValueFollowsASpaceOrAnEqualsSign) {
    EXPECT_EQ(Texts{"a"}, Read({"--list", "a"}).Values("--list"));
    EXPECT_EQ(Texts{"a"}, Read({"--list=a"}).Values("--list"));
    EXPECT_EQ(Texts{"a=b"}, Read({"--list=a=b"}).Values("--list"));
    EXPECT_EQ(Texts(), Read({"-x"}).Values("--list"));
}

TEST(ArgumentsTest, DoesNotInterpretValues) {
    for (std::string const value :
         {"", " ", "-", "--help", "-5", "[a,b]", "{}", "a,b", "\"q\"", "\xFF", "%%", "++", "true"})
        EXPECT_EQ(Texts{value}, Read({"--list", value, "one"}).Values("--list")) << value;
    EXPECT_EQ(Texts{""}, Read({"--list=", "one"}).Values("--list"));
    EXPECT_EQ(Texts{"one"}, Read({"--list=", "one"}).Operands());
}

TEST(ArgumentsTest, ValueMayLookLikeAnOption) {
    EXPECT_EQ(Texts{"--list="}, Read({"--list", "--list=", "one"}).Values("--list"));
    EXPECT_EQ(Texts{"-x-"}, Read({"--list", "-x-", "one"}).Values("--list"));
    EXPECT_EQ((Texts{"--", ""}), Read({"--list", "--", "--list=", "one"}).Values("--list"));
    EXPECT_EQ(Texts{"one"}, Read({"--list", "--", "--list=", "one"}).Operands());
}

TEST(ArgumentsTest, KeepsValuesOfRepeatedOptionInOrder) {
    EXPECT_EQ((Texts{"b", "a", "b"}),
              Read({"--list=b", "--list", "a", "--list=b"}).Values("--list"));
}

TEST(ArgumentsTest, OptionTakesNoMoreThanOneValue) {
    EXPECT_EQ((Texts{"one", "two"}), Read({"--list", "a", "one", "two"}).Operands());
}

TEST(ArgumentsTest, OperandsMayPrecedeOptions) {
    EXPECT_EQ((Texts{"one", "two"}), Read({"one", "-x", "two", "--list=a"}).Operands());
    EXPECT_EQ((Texts{"", "++"}), Read({"", "++"}).Operands());
    EXPECT_EQ((Texts{"[a,b]", "{}"}), Read({"[a,b]", "{}"}).Operands());
}

TEST(ArgumentsTest, ArgumentsAfterTwoDashesAreOperands) {
    EXPECT_EQ((Texts{"-x", "--list="}), Read({"--", "-x", "--list="}).Operands());
    EXPECT_FALSE(Read({"--", "-x"}).Has("-x"));
}

TEST(ArgumentsTest, RefusalNamesArgumentAndAcceptedValues) {
    EXPECT_EQ("'--other' is not an option of this program; --help lists the options",
              Refusal({"one", "--other"}));
    EXPECT_EQ("'-o' is not an option of this program; --help lists the options", Refusal({"-o"}));
    EXPECT_EQ("'-xo' is not an option of this program; --help lists the options", Refusal({"-xo"}));
    EXPECT_EQ("'three' is an extra operand; accepted: ONE TWO", Refusal({"one", "two", "three"}));
    EXPECT_EQ("'three' is an extra operand; accepted: ONE TWO",
              Refusal({"one", "--", "two", "three"}));
    EXPECT_EQ("--list: a value is missing; accepted: words", Refusal({"one", "--list"}));
    EXPECT_EQ("--help: this option takes no value", Refusal({"--help=yes"}));
}

TEST(ArgumentsTest, TextAfterALetterIsPartOfTheSameArgument) {
    for (std::string const letters : {"-x-", "-x--", "-x--help", "-x ", "-x5", "-xh-"})
        EXPECT_EQ("'" + letters + "' is not an option of this program; --help lists the options",
                  Refusal({letters, "one"}));
    EXPECT_EQ((Texts{"-x-", "-x-"}), Read({"--", "-x-", "-x-"}).Operands());
}

TEST(ArgumentsTest, SingleDashIsAnOperand) {
    EXPECT_EQ((Texts{"-", "-"}), Read({"-", "-x", "-"}).Operands());
}

TEST(ArgumentsTest, RefusesDigitsAndPunctuationAfterDash) {
    for (std::string const text : {"-5", "- ", "-!", "-:", "-?", "---", "--!", "-- "})
        EXPECT_EQ("'" + text + "' is not an option of this program; --help lists the options",
                  Refusal({"one", text}));
}

TEST(ArgumentsTest, RefusesAbbreviatedName) {
    std::string const unknown = "' is not an option of this program; --help lists the options";
    EXPECT_EQ("'--=a" + unknown, Refusal({"--=a"}));
    for (std::string const text : {"--l", "--lis", "--lis=a"})
        EXPECT_EQ("'" + text + unknown + "; did you mean --list?", Refusal({text}));
    EXPECT_EQ("'--h=yes" + unknown + "; did you mean --help?", Refusal({"--h=yes"}));
}

TEST(ArgumentsTest, SuggestsSimilarOption) {
    std::string const unknown = "' is not an option of this program; --help lists the options";
    for (std::string const text : {"--lits", "--lst", "--listt", "--List", "--liist=a,b"})
        EXPECT_EQ("'" + text + unknown + "; did you mean --list?", Refusal({text}));
    for (std::string const text : {"--table", "--x", "-l", "-", "--listings"})
        EXPECT_EQ(std::string::npos, Refusal({text, "", "", ""}).find("did you mean")) << text;
}

TEST(ArgumentsTest, SuggestsLongOptionForOneDash) {
    for (std::string const text : {"-list", "-list=a", "-lis", "-lits"})
        EXPECT_EQ("'" + text +
                      "' is not an option of this program; --help lists the options; did you mean "
                      "--list?",
                  Refusal({text}));
}

constexpr std::array similarRules = {
    OptionRule{"--time"},
    OptionRule{"--output", "a file", 'o'},
    OptionRule{"--tint"},
    OptionRule{"--tip"},
};

std::string RefusalOfSimilar(char const* text) {
    std::array<char const*, 2> const texts = {"program", text};
    try {
        Arguments(similarRules, operandNames, 2, texts.data());
    } catch (CommandLineError const& error) {
        return error.what();
    }
    return "accepted";
}

TEST(ArgumentsTest, SuggestsAllOptionsThatBeginWithTheText) {
    EXPECT_TRUE(RefusalOfSimilar("--ti").ends_with("; did you mean --time, --tint or --tip?"));
    EXPECT_TRUE(RefusalOfSimilar("--tim").ends_with("; did you mean --time?"));
}

// getopt_long would take it as the letter o with the value "utput".
TEST(ArgumentsTest, RefusesLongNameWithOneDash) {
    for (char const* const text : {"-output", "-output=x"})
        EXPECT_TRUE(RefusalOfSimilar(text).ends_with("; did you mean --output?"));
    EXPECT_EQ("accepted", RefusalOfSimilar("-outputs"));
}

TEST(ArgumentsTest, MakesNoSuggestionForLongWordsOrWithoutRules) {
    std::string const longWord = "--" + std::string(31, 'l');
    EXPECT_EQ(std::string::npos, Refusal({longWord}).find("did you mean"));
    std::array<char const*, 2> const texts = {"program", "--list"};
    try {
        Arguments({}, {}, 2, texts.data());
        FAIL();
    } catch (CommandLineError const& error) {
        EXPECT_STREQ("'--list' is not an option of this program; --help lists the options",
                     error.what());
    }
}

TEST(ArgumentsTest, OperandIsRefusedByProgramWithoutOperands) {
    std::array<char const*, 2> const texts = {"program", "one"};
    try {
        Arguments(exampleRules, {}, 2, texts.data());
        FAIL();
    } catch (CommandLineError const& error) {
        EXPECT_STREQ("'one' is an extra operand; accepted: none", error.what());
    }
}

TEST(ArgumentsTest, LastOperandMayBeRepeated) {
    constexpr std::array<char const*, 2> repeated = {"ONE", "FILE..."};
    std::array<char const*, 5> const texts = {"program", "a", "b", "-x", "c"};
    Arguments const arguments(exampleRules, repeated, static_cast<int>(texts.size()), texts.data());
    EXPECT_EQ((Texts{"a", "b", "c"}), arguments.Operands());
    EXPECT_TRUE(arguments.Has("-x"));
}

} // namespace
