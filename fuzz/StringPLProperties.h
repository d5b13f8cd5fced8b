// Compares StringPL with a model of its bytes and its capacity: applies a list of changes, and
// compares the results of other operations after each change.
#pragma once

#include <climits>
#include <utility>

#include "fuzz/Fuzz.h"
#include "fuzz/ReferenceCase.h"
#include "strings/StringPL.h"

namespace StringPLProperties {

// Longer texts are not extended.
constexpr std::size_t maxLength = 4096;

using Fuzz::UpToNul;

// A copy has NULs after the first NUL.
inline std::string CopiedWithLength(std::string const& text) {
    std::string copy = UpToNul(text);
    copy.resize(text.size());
    return copy;
}

inline int Index(std::size_t position) {
    return position == std::string::npos ? -1 : static_cast<int>(position);
}

using ReferenceCase::Sign;

struct Model {
    std::string text;
    std::size_t capacity = 1;

    void Assign(std::string const& bytes) { *this = {bytes, bytes.size() + 1}; }
    void Append(std::string const& bytes) {
        text += bytes;
        while (capacity < text.size() + 1)
            capacity *= 2;
    }
    void Format(std::string const& output) {
        text = output;
        capacity = std::max<std::size_t>(capacity, 64);
        while (capacity < text.size() + 2)
            capacity *= 2;
    }
    // Returns true if there was a match.
    bool Replace(std::string const& search, std::string const& replacement, bool ignoresCase) {
        auto const folded = [&](std::string const& bytes) {
            return ignoresCase ? ReferenceCase::Lowered(bytes) : bytes;
        };
        std::string const haystack = folded(text);
        std::string const needle = folded(search);
        std::string result;
        std::size_t from = 0;
        for (std::size_t at; (at = haystack.find(needle, from)) != std::string::npos;) {
            result += text.substr(from, at - from) + replacement;
            from = at + needle.size();
        }
        text = result + text.substr(from);
        return from != 0;
    }
};

inline bool Is(StringPL const& ours, Model const& model) {
    return std::string(ours.AsChar(), static_cast<std::size_t>(ours.GetLength())) == model.text &&
           ours.AsChar()[model.text.size()] == '\0' && ours.IsEmpty() == model.text.empty() &&
           ours.GetBufferLength() == model.capacity &&
           (model.capacity == 1) == (ours.AsChar() == StringPL().AsChar());
}

inline bool IsExactly(StringPL const& ours, std::string const& text) {
    return Is(ours, {text, text.size() + 1});
}

template <class Operation>
bool IsOutOfBounds(Operation operation) {
    try {
        operation();
        return false;
    } catch (StringPLOutOfBoundsException const&) {
        return true;
    }
}

class Pair {
public:
    void Change(Fuzz::Input& input) {
        unsigned int const change = input.Byte() % 13U;
        std::string const bytes = model.text.size() > maxLength ? std::string() : input.Text();
        std::string const text = UpToNul(bytes);
        if (change == 0) {
            ours = text.c_str();
            model.Assign(text);
        } else if (change == 1) {
            ours += text.c_str();
            model.Append(text);
        } else if (change == 2) {
            ours.Append(text.c_str(), static_cast<unsigned int>(text.size()));
            model.Append(text);
        } else if (change == 3) {
            ours.Format("%s-%d%s", text.c_str(), 7, text.c_str());
            model.Format(text + "-7" + text);
        } else if (change == 4) {
            Replace(text, UpToNul(input.Text()));
        } else if (change == 5) {
            ours.MakeLower();
            model.text = ReferenceCase::Lowered(model.text);
        } else if (change == 6) {
            AppendOwnBytes(input.Byte(), bytes.size());
        } else if (change == 7) {
            ours.MakeEmpty();
            model.text.clear();
        } else if (change == 8) {
            AppendCounted(text, input.Byte());
        } else if (change == 9) {
            ours.MakeUpper();
            model.text = ReferenceCase::Raised(model.text);
        } else if (change == 10) {
            ReplaceNoCase(text, UpToNul(input.Text()));
        } else if (change == 11) {
            AssignOwnBytes(input.Byte());
        } else {
            CopyOrMove(input.Byte());
        }
    }

    void Compare(std::string const& pattern, int number) const {
        Require(Is(ours, model), "text and capacity agree with the model");
        Model sum;
        sum.Assign(CopiedWithLength(model.text));
        sum.Append(pattern);
        Require(Is(ours + pattern.c_str(), sum), "a sum is a copy with the text appended");
        CompareOrder(pattern);
        if (number < 0)
            RequireOutOfBounds(pattern, number);
        else {
            CompareSearches(pattern, static_cast<std::size_t>(number));
            CompareParts(static_cast<std::size_t>(number));
        }
    }

private:
    void Replace(std::string const& search, std::string const& replacement) {
        if (model.text.size() * (replacement.size() + 1) > maxLength * 4)
            return;
        ours.Replace(search.c_str(), replacement.c_str());
        if (search.empty())
            return;
        model.Replace(search, replacement, false);
        model.capacity = model.text.size() + 1;
    }

    void ReplaceNoCase(std::string const& search, std::string const& replacement) {
        bool const hasNul = model.text.find('\0') != std::string::npos;
        if (hasNul || model.text.size() * (replacement.size() + 1) > maxLength * 4)
            return;
        char const* const block = ours.AsChar();
        ours.ReplaceNoCase(search.c_str(), replacement.c_str());
        if (!search.empty() && model.Replace(search, replacement, true))
            model.capacity = model.text.size() + 1;
        else
            Require(block == ours.AsChar(), "without a match the string keeps its block");
    }

    void AppendCounted(std::string const& text, std::size_t count) {
        if (model.text.size() > maxLength)
            return;
        ours.Append(text.c_str(), static_cast<unsigned int>(count));
        std::string added = text;
        added.resize(count);
        model.Append(added);
    }

    void AppendOwnBytes(std::size_t from, std::size_t count) {
        if (model.text.size() > maxLength)
            return;
        from = std::min(from, model.text.size());
        std::string added = UpToNul(model.text.substr(from));
        if (count == 0) {
            ours += ours.AsChar() + from;
        } else {
            ours.Append(ours.AsChar() + from, static_cast<unsigned int>(count));
            added.resize(count);
        }
        model.Append(added);
    }

    void AssignOwnBytes(std::size_t from) {
        from = std::min(from, model.text.size());
        char const* const block = ours.AsChar();
        ours = ours.AsChar() + from;
        if (from != 0)
            model.Assign(UpToNul(model.text.substr(from)));
        else
            Require(block == ours.AsChar(), "assigning its own characters changes nothing");
    }

    void CopyOrMove(unsigned int choice) {
        StringPL const copy(ours);
        Require(IsExactly(copy, CopiedWithLength(model.text)), "a copy has the same length");
        if (choice % 3 == 0) {
            char const* const block = ours.AsChar();
            StringPL const moved(std::move(ours));
            Require(moved.AsChar() == block && Is(moved, model) && Is(ours, Model()),
                    "a moved string takes the block and leaves an empty string");
            ours = moved;
            model.Assign(UpToNul(model.text));
        } else if (choice % 3 == 1) {
            ours = copy;
            model.Assign(UpToNul(model.text));
        } else {
            ours = static_cast<StringPL const&>(ours);
        }
    }

    void CompareOrder(std::string const& pattern) const {
        std::string const text = UpToNul(model.text);
        Require(Sign(ours.Compare(pattern.c_str())) == Sign(text.compare(pattern)) &&
                    ours.Equals(pattern.c_str()) == (text == pattern),
                "the order is that of bytes up to the first NUL");
        int const order = strcasecmp(text.c_str(), pattern.c_str());
        Require(Sign(ours.CompareNoCase(pattern.c_str())) == Sign(order) &&
                    ours.EqualsIgnoringCase(pattern.c_str()) == (order == 0),
                "the case-insensitive order is that of strcasecmp");
    }

    void RequireOutOfBounds(std::string const& pattern, int number) const {
        Require(IsOutOfBounds([&] { ours.Find(pattern.c_str(), number); }) &&
                    IsOutOfBounds([&] { ours.FindNoCase(pattern.c_str(), number); }) &&
                    IsOutOfBounds([&] { ours.Find('a', number); }) &&
                    IsOutOfBounds([&] { ours.ReverseFind('a', number); }) &&
                    IsOutOfBounds([&] { ours.Mid(number); }) &&
                    IsOutOfBounds([&] { ours.Mid(number, 1); }) &&
                    IsOutOfBounds([&] { ours.Mid(0, number); }) &&
                    IsOutOfBounds([&] { ours.Left(number); }) &&
                    IsOutOfBounds([&] { ours.Right(number); }) &&
                    IsOutOfBounds([&] { ours.GetAt(number); }),
                "negative numbers are out of bounds");
    }

    void CompareSearches(std::string const& pattern, std::size_t from) const {
        int const start = static_cast<int>(from);
        int const found = Index(model.text.find(pattern, from));
        Require(ours.Find(pattern.c_str(), start) == found, "Find agrees with find");
        std::string const lower = ReferenceCase::Lowered(model.text);
        int const foundNoCase = Index(lower.find(ReferenceCase::Lowered(pattern), from));
        Require(ours.FindNoCase(pattern.c_str(), start) == foundNoCase,
                "FindNoCase agrees with find in lower case");
        if (from == 0)
            Require(ours.Contains(pattern.c_str()) == (found != -1) &&
                        ours.ContainsNoCase(pattern.c_str()) == (foundNoCase != -1),
                    "Contains agrees with Find");
        char const byte = pattern.c_str()[0];
        Require(ours.Find(byte, start) == Index(model.text.find(byte, from)) &&
                    ours.Contains(byte) == (model.text.find(byte) != std::string::npos),
                "Find of a byte agrees with find");
        Require(ours.ReverseFind(byte, start) ==
                    (from < model.text.size()
                         ? Index(model.text.rfind(byte, model.text.size() - from - 1))
                         : -1),
                "ReverseFind agrees with rfind");
    }

    void CompareParts(std::size_t number) const {
        int const count = static_cast<int>(number);
        std::size_t const length = model.text.size();
        auto const isPart = [&](StringPL const& part, std::size_t from, std::size_t size) {
            return IsExactly(part, CopiedWithLength(model.text.substr(from, size)));
        };
        Require(isPart(ours.Left(count), 0, number), "Left agrees with substr");
        Require(isPart(ours.Right(count), length - std::min(number, length), number),
                "Right agrees with substr");
        Require(isPart(ours.Mid(0, count), 0, number), "Mid returns up to count bytes");
        bool const isInside = number <= length;
        Require(isInside ? isPart(ours.Mid(count), number, length) &&
                               isPart(ours.Mid(count, 3), number, 3)
                         : IsOutOfBounds([&] { ours.Mid(count); }) &&
                               IsOutOfBounds([&] { ours.Mid(count, 0); }),
                "Mid agrees with substr");
        Require(number < length ? ours.GetAt(count) == model.text[number]
                                : IsOutOfBounds([&] { ours.GetAt(count); }),
                "GetAt agrees with std::string, without the NUL");
    }

    StringPL ours;
    Model model;
};

// Input: a pattern to search for, a number for positions and counts, and the changes.
inline void Check(Fuzz::Input input) {
    std::string const pattern = UpToNul(input.Text());
    int number = input.Byte();
    if (number == 0xFF)
        number = INT_MIN;
    else if (number == 0xFE)
        number = INT_MAX;
    else if (number >= 0xF0)
        number -= 0x100;
    Pair pair;
    pair.Compare(pattern, number);
    for (int changes = 0; changes < 64 && !input.IsEmpty(); ++changes) {
        pair.Change(input);
        pair.Compare(pattern, number);
    }
}

} // namespace StringPLProperties
