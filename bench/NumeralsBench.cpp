// Conversion of integers to text and back, compared with <charconv> and fmt.
//
// Each numeral is passed to DoNotOptimize, so the compiler cannot omit the digits although only
// their number is used.
#include <charconv>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#ifdef HAVE_FMT
#include <fmt/compile.h>
#include <fmt/format.h>
#endif

#include "bench/Bench.h"
#include "bench/Inputs.h"
#include "data/MakeAsciiNumeral.h"
#include "data/Numeral.h"
#include "data/ReadAsciiNumeral.h"

namespace {

using Numbers = std::vector<std::uint64_t>;

constexpr std::size_t numberCount = 10000;

// Returns numbers of `least` to `most` digits. Each count of digits is equally frequent.
Numbers NumbersOfDigits(unsigned least, unsigned most, std::uint64_t base = 10) {
    Inputs::Numbers random(least + 100 * most);
    Numbers numbers;
    while (numbers.size() < numberCount) {
        std::size_t const digits = random.Between(least, most);
        std::uint64_t from = 1;
        for (std::size_t i = 1; i < digits; ++i)
            from *= base;
        std::uint64_t const top = ~std::uint64_t{0};
        std::uint64_t const to = from > top / base ? top : from * base - 1;
        numbers.push_back(digits == 1 ? random.Between(0, to) : random.Between(from, to));
    }
    return numbers;
}

// ---- Integers to text. The constructor converts.

struct OurDecimal {
    explicit OurDecimal(std::uint64_t value) : made(MakeAsciiDecimalNumeral64(value, 1)) {}
    std::string_view Text() const { return {made.Text(), made.length}; }
    ConstDataWithCapacity<20> made;
};

struct OurNumeral {
    explicit OurNumeral(std::uint64_t value) : made(value, 10) {}
    std::string_view Text() const {
        ConstData const text = made;
        return {reinterpret_cast<char const*>(text.begin), text.Length()};
    }
    Numeral made;
};

struct OurHex {
    explicit OurHex(std::uint64_t value) : made(MakeAsciiHexNumeral64(value, 1)) {}
    std::string_view Text() const { return {made.Text(), made.length}; }
    ConstDataWithCapacity<16> made;
};

template <int base>
struct StandardNumeral {
    explicit StandardNumeral(std::uint64_t value)
        : end(std::to_chars(bytes, bytes + sizeof(bytes), value, base).ptr) {}
    std::string_view Text() const { return {bytes, static_cast<std::size_t>(end - bytes)}; }
    char* end;
    char bytes[20];
};

#ifdef HAVE_FMT
struct FmtDecimal {
    explicit FmtDecimal(std::uint64_t value) : made(value) {}
    std::string_view Text() const { return {made.data(), made.size()}; }
    fmt::format_int made;
};

struct FmtHex {
    explicit FmtHex(std::uint64_t value) : end(fmt::format_to(bytes, FMT_COMPILE("{:x}"), value)) {}
    std::string_view Text() const { return {bytes, static_cast<std::size_t>(end - bytes)}; }
    char* end;
    char bytes[16];
};
#endif

template <class Maker>
std::size_t MakeAll(Numbers const& numbers) {
    std::size_t sum = 0;
    for (std::uint64_t number : numbers) {
        Maker made(number);
        benchmark::DoNotOptimize(made);
        sum += made.Text().size();
    }
    return sum;
}

template <class Maker>
std::string AllTexts(Numbers const& numbers) {
    std::string texts;
    for (std::uint64_t number : numbers)
        texts.append(Maker(number).Text()) += '\n';
    return texts;
}

template <class Ours, class Standard, class Fmt>
void AddMaking(std::string const& name, Operation<Numbers>::MakeInput input) {
    Operation<Numbers> operation("Numerals/" + name, input);
    operation.Add("ours", MakeAll<Ours>, AllTexts<Ours>);
    operation.Add("to_chars", MakeAll<Standard>, AllTexts<Standard>);
    if constexpr (!std::is_void_v<Fmt>)
        operation.Add("fmt", MakeAll<Fmt>, AllTexts<Fmt>);
}

#ifndef HAVE_FMT
using FmtDecimal = void;
using FmtHex = void;
#endif

void AddDecimal(std::string const& name, Operation<Numbers>::MakeInput input) {
    AddMaking<OurDecimal, StandardNumeral<10>, FmtDecimal>("decimal-" + name, input);
    AddMaking<OurNumeral, StandardNumeral<10>, FmtDecimal>("in-place-" + name, input);
}

void AddHex(std::string const& name, Operation<Numbers>::MakeInput input) {
    AddMaking<OurHex, StandardNumeral<16>, FmtHex>("hex-" + name, input);
}

// ---- Text to integers

// Numerals in one contiguous text, separated by spaces, as in a document.
struct Texts {
    template <class Maker>
    static Texts Of(Numbers const& numbers) {
        Texts made;
        std::vector<std::size_t> ends;
        for (std::uint64_t number : numbers) {
            made.all.append(Maker(number).Text());
            ends.push_back(made.all.size());
            made.all += ' ';
        }
        std::size_t from = 0;
        for (std::size_t end : ends) {
            made.each.push_back(std::string_view(made.all).substr(from, end - from));
            from = end + 1;
        }
        return made;
    }

    Texts() = default;
    Texts(Texts const&) = delete; // `each` refers to `all`.
    Texts& operator=(Texts const&) = delete;
    Texts(Texts&&) noexcept = default; // Safe: moving a long std::string keeps its buffer.

    std::string all;
    std::vector<std::string_view> each;
};

// The value of a text that cannot be read.
constexpr std::uint64_t unreadable = 0xBAD;

template <NumeralReadResult Read(ConstData, unsigned long long&)>
std::uint64_t ReadOurs(std::string_view text) {
    unsigned long long value;
    return Read(ConstData(text.data(), text.size()), value) == NumeralReadOK ? value : unreadable;
}

template <int base>
std::uint64_t ReadStandard(std::string_view text) {
    std::uint64_t value;
    char const* const end = text.data() + text.size();
    auto const result = std::from_chars(text.data(), end, value, base);
    return result.ec == std::errc() && result.ptr == end ? value : unreadable;
}

using Reader = std::uint64_t (*)(std::string_view);

template <Reader Read>
std::uint64_t ReadAll(Texts const& texts) {
    std::uint64_t sum = 0;
    for (std::string_view text : texts.each)
        sum += Read(text);
    return sum;
}

template <Reader Read>
std::string AllValues(Texts const& texts) {
    std::string values;
    for (std::string_view text : texts.each)
        values += std::to_string(Read(text)) + '\n';
    return values;
}

template <Reader Ours, Reader Standard>
void AddReading(std::string const& name, Operation<Texts>::MakeInput input) {
    Operation<Texts> operation("Numerals/" + name, input);
    operation.Add("ours", ReadAll<Ours>, AllValues<Ours>);
    operation.Add("from_chars", ReadAll<Standard>, AllValues<Standard>);
}

template <int base>
auto ReadTexts(Numbers (*make)()) {
    return [make]() -> Texts const& {
        static std::map<Numbers (*)(), Texts> kept;
        auto const found = kept.find(make);
        return found != kept.end()
                   ? found->second
                   : kept.emplace(make, Texts::Of<StandardNumeral<base>>(make())).first->second;
    };
}

} // namespace

void RegisterOperations() {
    AddDecimal(
        "1-to-3-digits", []() -> auto& {
            static Numbers const numbers = NumbersOfDigits(1, 3);
            return numbers;
        });
    AddDecimal(
        "20-digits", []() -> auto& {
            static Numbers const numbers = NumbersOfDigits(20, 20);
            return numbers;
        });
    AddDecimal("mixed", Inputs::MixedNumbers);
    AddHex(
        "1-to-3-digits", []() -> auto& {
            static Numbers const numbers = NumbersOfDigits(1, 3, 16);
            return numbers;
        });
    AddHex("mixed", Inputs::MixedNumbers);

    constexpr Reader decimal = ReadOurs<TryReadAsciiDecimalNumeral>;
    constexpr Reader hex = ReadOurs<TryReadAsciiHexNumeral>;
    auto const mixed = [] {
        return Inputs::MixedNumbers();
    };
    AddReading<decimal, ReadStandard<10>>("read-2-digits",
                                          ReadTexts<10>([] { return NumbersOfDigits(2, 2); }));
    AddReading<decimal, ReadStandard<10>>("read-20-digits",
                                          ReadTexts<10>([] { return NumbersOfDigits(20, 20); }));
    AddReading<decimal, ReadStandard<10>>("read-mixed", ReadTexts<10>(mixed));
    AddReading<hex, ReadStandard<16>>("read-hex-mixed", ReadTexts<16>(mixed));
}
