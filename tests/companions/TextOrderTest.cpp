#include "companions/TextOrder.h"

#include "tests/companions/CompanionTest.h"

namespace {

bool IsLess(std::string const& left, std::string const& right) {
    return CompareTexts(left, right) < 0;
}

// Each text is less than all that follow.
void ExpectAscending(Texts const& texts) {
    for (std::size_t left = 0; left < texts.size(); ++left)
        for (std::size_t right = 0; right < texts.size(); ++right)
            EXPECT_EQ(left <=> right, CompareTexts(texts[left], texts[right]))
                << texts[left] << " and " << texts[right];
}

TEST(TextOrderTest, NumeralsAreOrderedByValue) {
    ExpectAscending({"-1000", "-100.5", "-100", "-20", "-3", "-0.5", "-0.25", "0", "0.009", "0.25",
                     "0.5", "3", "20", "+21", "0100", "100.5", "100.50001", "1000"});
}

TEST(TextOrderTest, LongNumeralsAreExact) {
    std::string const nines(400, '9');
    ExpectAscending({"-1" + nines, "-" + nines, nines, nines + "." + nines, "1" + nines});
}

TEST(TextOrderTest, EqualValuesAreOrderedByBytes) {
    ExpectAscending({"+1", "01", "1", "1.0"});
    ExpectAscending({"+0", "-0", "0", "00"});
}

TEST(TextOrderTest, NumeralsComeBeforeOtherTexts) {
    for (std::string const text : {"", "-", "+", ".", "5.", ".5", "1e3", "1,000", "--1", " 1", "1 ",
                                   "1.2.3", "0x10", "a", "\x01"})
        EXPECT_TRUE(IsLess("99", text)) << text;
}

TEST(TextOrderTest, DigitsInOtherTextsAreOrderedByValue) {
    ExpectAscending({"", "a", "b-9", "b-09x", "b-10", "b-10a", "b-a", "b1.2.3", "b1.10.2", "\xFF"});
    ExpectAscending({"x01", "x1", "x01a", "x1b"});
}

std::string RandomText(std::mt19937& random) {
    std::string const alphabet = "001123999-+.a/:\xC3";
    std::string text(random() % 7, ' ');
    for (char& c : text)
        c = alphabet[random() % alphabet.size()];
    return text;
}

TEST(TextOrderTest, IsATotalOrder) {
    std::mt19937 random(1);
    for (int round = 0; round < 200'000; ++round) {
        std::string const a = RandomText(random);
        std::string const b = RandomText(random);
        std::string const c = RandomText(random);
        ASSERT_EQ(CompareTexts(a, b), 0 <=> CompareTexts(b, a)) << a << " and " << b;
        ASSERT_EQ(a == b, CompareTexts(a, b) == 0) << a << " and " << b;
        if (CompareTexts(a, b) <= 0 && CompareTexts(b, c) <= 0) {
            ASSERT_TRUE(CompareTexts(a, c) <= 0) << a << ", " << b << ", " << c;
        }
    }
}

// Sixteenths are exact in binary.
TEST(TextOrderTest, OrdersNumeralsLikeFloatingPointNumbers) {
    std::mt19937 random(2);
    for (int round = 0; round < 100'000; ++round) {
        double const numbers[] = {(static_cast<int>(random() % 4001) - 2000) / 16.0,
                                  (static_cast<int>(random() % 4001) - 2000) / 16.0};
        std::string const left = std::to_string(numbers[0]);
        std::string const right = std::to_string(numbers[1]);
        ASSERT_EQ(numbers[0] < numbers[1], IsLess(left, right)) << left << " and " << right;
    }
}

} // namespace
