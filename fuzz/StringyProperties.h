// Compares Stringy with a model of its bytes: applies a list of changes, and compares the results
// of other operations after each change.
#pragma once

#include "fuzz/Fuzz.h"
#include "fuzz/ReferenceCase.h"
#include "strings/Stringy.h"

namespace StringyProperties {

// Longer texts are not extended.
constexpr std::size_t maxLength = 2048;

// The null string and the empty string are different states, although both have no bytes.
struct Model {
    bool isNull = true;
    std::string text;

    void MakeNull() { *this = Model(); }
    void Append(std::string const& bytes) {
        if (!bytes.empty())
            *this = {false, text + bytes};
    }
};

using Fuzz::Trimmed;
using Fuzz::UpToNul;
using ReferenceCase::Sign;

constexpr char white[] = " \t\n\r";

// EqualIgnoringCase of a string with itself is false for the null string only.
inline bool Is(Stringy const& ours, Model const& model) {
    return ours.GetLength() == model.text.size() &&
           std::string(ours, ours.GetLength()) == model.text &&
           static_cast<char const*>(ours)[model.text.size()] == '\0' &&
           ours.EqualIgnoringCase(ours) == !model.isNull;
}

// An empty part must be the null string.
inline bool IsPart(Stringy const& ours, std::string const& part) {
    return Is(ours, {part.empty(), part});
}

inline Stringy Make(Model const& model) {
    if (model.text.empty())
        return model.isNull ? Stringy() : Stringy("");
    return Stringy(ConstData(model.text));
}

inline Model Operand(Fuzz::Input& input) {
    Model operand;
    operand.isNull = input.Byte() % 2 == 0;
    operand.text = input.Text();
    operand.isNull = operand.isNull && operand.text.empty();
    return operand;
}

inline int Order(Model const& left, Model const& right) {
    if (left.text.empty() || right.text.empty())
        return static_cast<int>(right.text.empty()) - static_cast<int>(left.text.empty());
    return Sign(UpToNul(left.text).compare(UpToNul(right.text)));
}

inline int OrderNoCase(Model const& left, Model const& right) {
    if (left.isNull || right.isNull)
        return static_cast<int>(right.isNull) - static_cast<int>(left.isNull);
    return ReferenceCase::Compare(left.text + '\0', right.text + '\0', ReferenceCase::Upper);
}

class Pair {
public:
    void Change(Fuzz::Input& input) {
        unsigned int const change = input.Byte() % 14U;
        if (change < 7)
            Assign(change, Operand(input));
        else if (change < 11)
            Append(change, input);
        else
            Shape(change, input);
    }

    void Compare(Model const& other, int number) const {
        Require(Is(ours, model), "the text agrees with std::string");
        CompareCopies(other);
        CompareOrders(other);
        CompareSearches(other.text);
        CompareParts(number, other.text.empty() ? ',' : other.text[0]);
        CompareBytes();
    }

private:
    void Assign(unsigned int change, Model const& source) {
        if (change == 0) {
            ours = source.isNull ? nullptr : source.text.c_str();
            model = {source.isNull, UpToNul(source.text)};
        } else if (change == 1) {
            ours = static_cast<Stringy const&>(ours);
        } else if (change == 2) {
            AssignOwnBytes(source.text.size());
        } else {
            ours = Make(source);
            model = {source.text.empty(), source.text};
        }
    }

    // Assigning its own pointer changes nothing and keeps embedded NULs, except that the null
    // string, whose pointer is that of "", becomes the empty string.
    void AssignOwnBytes(std::size_t from) {
        from = std::min(from, model.text.size());
        ours = static_cast<char const*>(ours) + from;
        model.isNull = false;
        if (from != 0)
            model.text = UpToNul(model.text.substr(from));
    }

    void Append(unsigned int change, Fuzz::Input& input) {
        Model const operand = Operand(input);
        if (model.text.size() > maxLength)
            return;
        if (change == 7) {
            char const byte = operand.text.empty() ? '\0' : operand.text[0];
            ours += byte;
            if (byte != '\0')
                model.Append(std::string(1, byte));
        } else if (change == 8) {
            ours += operand.isNull ? nullptr : operand.text.c_str();
            model.Append(UpToNul(operand.text));
        } else if (change == 9) {
            ours += Make(operand);
            model.Append(operand.text);
        } else {
            AppendOwnPart(operand.text.size());
        }
    }

    // Appends all or the last bytes of the string, which may be in an array that the append frees.
    void AppendOwnPart(std::size_t from) {
        if (from == 0) {
            ours += ours;
            model.Append(std::string(model.text));
            return;
        }
        from = std::min(from, model.text.size());
        char const* const text = ours;
        ours += ConstData(text + from, model.text.size() - from);
        model.Append(model.text.substr(from));
    }

    void Shape(unsigned int change, Fuzz::Input& input) {
        unsigned char const byte = input.Byte();
        unsigned char const other = input.Byte();
        if (change == 11) {
            char const from = static_cast<char>(byte);
            auto const count = std::count(model.text.begin(), model.text.end(), from);
            std::replace(model.text.begin(), model.text.end(), from, static_cast<char>(other));
            Require(ours.Replace(from, static_cast<char>(other)) == count, "each byte is replaced");
        } else if (change == 12) {
            if (byte % 2 == 0)
                ours.MakeLower();
            else
                ours.MakeUpper();
            model.text = byte % 2 == 0 ? ReferenceCase::Lowered(model.text)
                                       : ReferenceCase::Raised(model.text);
        } else if (byte % 2 == 0) {
            ours.TrimLeft();
            TrimLeft();
        } else {
            ours.StripLeadingAndTrailingWhite();
            Strip();
        }
    }

    void TrimLeft() {
        std::size_t const first = model.text.find_first_not_of(white);
        if (first == std::string::npos && !model.text.empty())
            model.MakeNull();
        else if (!model.text.empty())
            model.text.erase(0, first);
    }

    // Whitespace followed by an embedded NUL results in the null string.
    void Strip() {
        std::size_t const first = model.text.find_first_not_of(white);
        if (first == std::string::npos || model.text[first] == '\0')
            model.MakeNull();
        else
            model.text = Trimmed(model.text);
    }

    void CompareCopies(Model const& other) const {
        Stringy const copy(ours);
        Require(Is(copy, model), "a copy is equal, null or not");
        char const* const text = copy;
        auto const* const object = reinterpret_cast<char const*>(&copy);
        bool const isInside = text >= object && text < object + sizeof(copy);
        Require(isInside == (!model.isNull && model.text.size() < Stringy::smallSize),
                "text of up to 127 bytes is stored in the object");
        Model sum = model;
        sum.Append(other.text);
        Require(Is(ours + Make(other), sum), "a sum is the concatenation");
    }

    void CompareOrders(Model const& otherModel) const {
        Stringy const other = Make(otherModel);
        int const order = Order(model, otherModel);
        Require(Sign(ours.Compare(other)) == order, "the order is that of the bytes");
        Require((ours == other) == (order == 0) && (ours != other) == (order != 0) &&
                    (ours < other) == (order < 0) && (ours <= other) == (order <= 0) &&
                    (ours > other) == (order > 0) && (ours >= other) == (order >= 0),
                "the relational operators agree with the order");
        char const* const text = other;
        int const textOrder = Order(model, {false, UpToNul(otherModel.text)});
        Require((ours < text) == (textOrder < 0) && (text < ours) == (textOrder > 0) &&
                    (ours == text) == (textOrder == 0) && (text >= ours) == (textOrder <= 0),
                "the relational operators stop at the NUL of a string");
        Require(ours.CompareNoCase(other) == OrderNoCase(model, otherModel),
                "the order is that of upper case, and null is the least");
        bool const bothAreThere = !model.isNull && !otherModel.isNull;
        Require(ours.EqualIgnoringCase(other) ==
                    (bothAreThere &&
                     ReferenceCase::Lowered(model.text) == ReferenceCase::Lowered(otherModel.text)),
                "EqualIgnoringCase agrees with lower case, and null equals nothing");
    }

    void CompareSearches(std::string const& bytes) const {
        std::string const pattern = UpToNul(bytes);
        char const byte = bytes.empty() ? 'a' : bytes[0];
        Require(ours.Find(byte) == static_cast<int>(model.text.find(byte)),
                "a byte is found where find finds it");
        Require(ours.FindFromRight(byte) == static_cast<int>(model.text.rfind(byte)),
                "a byte is found from the end where rfind finds it");
        Require(ours.Contains(pattern.c_str()) ==
                    (!model.isNull && UpToNul(model.text).find(pattern) != std::string::npos),
                "Contains agrees with find");
        Require(ours.StartsWith(pattern.c_str()) == model.text.starts_with(pattern),
                "StartsWith agrees with starts_with");
        std::string const lower = ReferenceCase::Lowered(model.text);
        Require(ours.StartsWithIgnoringCase(pattern.c_str()) ==
                    lower.starts_with(ReferenceCase::Lowered(pattern)),
                "StartsWithIgnoringCase agrees with lower case");
        Require(ours.StartsWithIgnoringCase(Stringy(ConstData(bytes))) ==
                    lower.starts_with(ReferenceCase::Lowered(bytes)),
                "StartsWithIgnoringCase of a Stringy agrees with lower case");
    }

    // Returns up to `count` bytes from `start`; both may be negative, which means 0.
    std::string Part(int start, int count) const {
        auto const from = static_cast<std::size_t>(std::max(start, 0));
        if (from > model.text.size())
            return std::string();
        return model.text.substr(from, static_cast<std::size_t>(std::max(count, 0)));
    }

    void CompareParts(int number, char separator) const {
        int const length = static_cast<int>(model.text.size());
        Require(IsPart(ours.Left(number), Part(0, number)), "Left agrees with substr");
        Require(IsPart(ours.Right(number), Part(length - std::max(number, 0), number)),
                "Right agrees with substr");
        Require(IsPart(ours.Mid(number, 5), Part(number, 5)), "Mid agrees with substr");
        Require(IsPart(ours.Mid(3, number), Part(3, number)), "Mid returns up to count bytes");
        Require(IsPart(ours.Mid(number), Part(number, length)),
                "Mid without a count extends to the end");
        std::size_t const last = model.text.rfind(separator);
        std::string const behind =
            last == std::string::npos ? std::string() : model.text.substr(last + 1);
        std::size_t const first = behind.find_first_not_of(white);
        bool const endsAtZero = first != std::string::npos && behind[first] == '\0';
        Require(IsPart(ours.SubstringAfterLastSeparator(separator),
                       endsAtZero ? std::string() : Trimmed(behind)),
                "the part after the last separator is trimmed");
    }

    void CompareBytes() const {
        auto const length = static_cast<unsigned int>(model.text.size());
        for (unsigned int i = 0; i <= length; ++i)
            Require(ours[i] == model.text.c_str()[i], "operator[] agrees with std::string");
        Require(ours[length + 2] == '\0', "operator[] returns NUL beyond the text");
    }

    Stringy ours;
    Model model;
};

// If the separator is NUL, items end at each NUL of `text` and at its terminating NUL.
inline void CompareSplit(std::string const& text, char separator, unsigned int maximum,
                         bool strip) {
    std::vector<std::string> expected;
    std::string rest = separator == '\0' ? text : UpToNul(text);
    if (UpToNul(text).empty())
        maximum = 0;
    else if (separator == '\0')
        maximum = std::min(
            maximum, 1 + static_cast<unsigned int>(std::count(rest.begin(), rest.end(), '\0')));
    while (expected.size() < maximum) {
        std::size_t const end = rest.find(separator);
        std::string const item = rest.substr(0, end);
        expected.push_back(strip ? Trimmed(item) : item);
        if (end == std::string::npos)
            break;
        rest.erase(0, end + 1);
    }
    std::vector<Stringy> items;
    unsigned int const count =
        Stringy::SplitSeparatedStringsIntoArray(text.c_str(), separator, items, maximum, strip);
    Require(count == expected.size() && items.size() == expected.size(),
            "the number of items agrees with the reference");
    for (std::size_t i = 0; i < items.size(); ++i)
        Require(IsPart(items[i], expected[i]), "an item is the text between separators");
}

inline void CompareNumbers(unsigned long long number) {
    auto const narrow = static_cast<unsigned int>(number);
    auto const signedNarrow = static_cast<int>(narrow);
    Require(Is(Stringy(number), {false, std::to_string(number)}) &&
                Is(Stringy(narrow), {false, std::to_string(narrow)}) &&
                Is(Stringy(signedNarrow), {false, std::to_string(signedNarrow)}),
            "a number agrees with to_string");
}

// Input: a number for positions and counts, switches, another text, and the changes. The start of
// the input is also a number to format, and the changes are also a text to split.
inline void Check(Fuzz::Input input) {
    CompareNumbers(Fuzz::Input(input).Number64());
    int const number = static_cast<signed char>(input.Byte());
    unsigned int const switches = input.Byte();
    Model const other = Operand(input);
    char const separator = other.text.empty() ? '\0' : other.text[0];
    CompareSplit(std::string(input.Rest()), separator, switches / 2, (switches & 1) != 0);
    Pair pair;
    pair.Compare(other, number);
    for (int changes = 0; changes < 48 && !input.IsEmpty(); ++changes) {
        pair.Change(input);
        pair.Compare(other, number);
    }
}

} // namespace StringyProperties
