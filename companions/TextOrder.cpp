#include "companions/TextOrder.h"

#include <algorithm>
#include <optional>

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Removes the digits at the front of the text, and returns them.
std::string_view TakeDigits(std::string_view& text) {
    auto const end = std::ranges::find_if_not(text, IsDigit);
    std::string_view const digits = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    text.remove_prefix(digits.size());
    return digits;
}

std::string_view WithoutLeadingZeros(std::string_view digits) {
    return digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
}

struct Numeral {
    bool isNegative = false;
    // Digits before and after the point, without leading and trailing zeros, respectively. May be
    // empty.
    std::string_view whole = {};
    std::string_view fraction = {};
};

std::optional<Numeral> ParseNumeral(std::string_view text) {
    Numeral numeral;
    numeral.isNegative = text.starts_with('-');
    if (numeral.isNegative || text.starts_with('+'))
        text.remove_prefix(1);
    std::string_view const whole = TakeDigits(text);
    bool const hasPoint = text.starts_with('.');
    if (hasPoint)
        text.remove_prefix(1);
    std::string_view const fraction = TakeDigits(text);
    if (whole.empty() || hasPoint == fraction.empty() || !text.empty())
        return {};
    numeral.whole = WithoutLeadingZeros(whole);
    numeral.fraction = fraction.substr(0, fraction.find_last_not_of('0') + 1);
    // Negative zero equals zero.
    numeral.isNegative &= !numeral.whole.empty() || !numeral.fraction.empty();
    return numeral;
}

std::strong_ordering OrderFirst(bool isLeftFirst) {
    return isLeftFirst ? std::strong_ordering::less : std::strong_ordering::greater;
}

// Compares numbers of any size. REQUIRES: digits without leading zeros.
std::strong_ordering CompareWhole(std::string_view left, std::string_view right) {
    auto const order = left.size() <=> right.size();
    return order != 0 ? order : left <=> right;
}

std::strong_ordering CompareValues(Numeral const& left, Numeral const& right) {
    if (left.isNegative != right.isNegative)
        return OrderFirst(left.isNegative);
    auto order = CompareWhole(left.whole, right.whole);
    if (order == 0)
        order = left.fraction <=> right.fraction;
    return left.isNegative ? 0 <=> order : order;
}

// Compares by bytes, runs of digits by value. The order is transitive: all digits compare in the
// same way with a byte that is not a digit, because their codes are contiguous.
std::strong_ordering CompareRuns(std::string_view left, std::string_view right) {
    while (!left.empty() && !right.empty()) {
        auto order = static_cast<unsigned char>(left[0]) <=> static_cast<unsigned char>(right[0]);
        if (IsDigit(left[0]) && IsDigit(right[0])) {
            order = CompareWhole(WithoutLeadingZeros(TakeDigits(left)),
                                 WithoutLeadingZeros(TakeDigits(right)));
        } else {
            left.remove_prefix(1);
            right.remove_prefix(1);
        }
        if (order != 0)
            return order;
    }
    return left.size() <=> right.size();
}

} // namespace

std::strong_ordering CompareTexts(std::string_view left, std::string_view right) {
    std::optional<Numeral> const leftNumeral = ParseNumeral(left);
    std::optional<Numeral> const rightNumeral = ParseNumeral(right);
    if (leftNumeral.has_value() != rightNumeral.has_value())
        return OrderFirst(leftNumeral.has_value());
    auto const order =
        leftNumeral ? CompareValues(*leftNumeral, *rightNumeral) : CompareRuns(left, right);
    return order != 0 ? order : left <=> right;
}
