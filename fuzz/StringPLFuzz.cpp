// StringPL against std::string: a list of changes, and after each what can be asked of the text.
#include <algorithm>
#include <string>

#include "fuzz/Fuzz.h"
#include "fuzz/PlainCase.h"
#include "strings/StringPL.h"

namespace {

using PlainCase::Lowered;

// StringPL takes texts that end with a NUL; this keeps both sides to the same bytes.
std::string Text(Fuzz::Input& input) { return input.Text().c_str(); }

int Place(std::size_t found) { return found == std::string::npos ? -1 : static_cast<int>(found); }

void ReplaceAll(std::string& text, std::string const& search, std::string const& replacement) {
    if (search.empty())
        return;
    for (std::size_t at = 0; (at = text.find(search, at)) != std::string::npos;
         at += replacement.size())
        text.replace(at, search.size(), replacement);
}

// Past this length nothing is added, so that replacements of replacements come to an end.
constexpr std::size_t longest = 4096;

class Pair {
public:
    void Change(Fuzz::Input& input) {
        unsigned int const change = input.Byte() % 8U;
        std::string const text = model.size() > longest ? std::string() : Text(input);
        switch (change) {
        case 0:
            ours = text.c_str();
            model = text;
            break;
        case 1:
            ours += text.c_str();
            model += text;
            break;
        case 2:
            ours.Append(text.c_str(), static_cast<unsigned int>(text.size()));
            model += text;
            break;
        case 3:
            ours.Format("%s-%d%s", text.c_str(), 7, text.c_str());
            model = text + "-7" + text;
            break;
        case 4:
            Replace(text, Text(input));
            break;
        case 5:
            ours.MakeLower();
            model = Lowered(model);
            break;
        case 6:
            AppendOwnEnd(input.Byte());
            break;
        default:
            ours.MakeEmpty();
            model.clear();
            break;
        }
    }

    void Compare(std::string const& pattern, int number) const {
        Fuzz::Require(Is(ours, model), "the text is that of std::string");
        Fuzz::Require(ours.GetBufferLength() > model.size(), "the text and its NUL have room");
        Fuzz::Require(Is(StringPL(ours) + pattern.c_str(), model + pattern), "a sum is both texts");
        CompareSearches(pattern, number);
        auto const count = static_cast<std::size_t>(number);
        Fuzz::Require(Is(ours.Left(number), model.substr(0, count)), "the left part is the first");
        Fuzz::Require(
            Is(ours.Right(number), model.substr(model.size() - std::min(count, model.size()))),
            "the right part is the last");
        CompareMiddle(count);
    }

private:
    static bool Is(StringPL const& string, std::string const& expected) {
        return string.GetLength() == static_cast<int>(expected.size()) &&
               string.AsChar() == expected && string.IsEmpty() == expected.empty();
    }

    void Replace(std::string const& search, std::string const& replacement) {
        // Each byte could become a replacement.
        if (model.size() * (replacement.size() + 1) > longest * 4)
            return;
        ours.Replace(search.c_str(), replacement.c_str());
        ReplaceAll(model, search, replacement);
    }

    void AppendOwnEnd(std::size_t from) {
        if (model.size() > longest)
            return;
        from = std::min(from, model.size());
        ours += ours.AsChar() + from;
        model += std::string(model, from);
    }

    void CompareSearches(std::string const& pattern, int start) const {
        auto const from = static_cast<std::size_t>(start);
        Fuzz::Require(ours.Find(pattern.c_str(), start) == Place(model.find(pattern, from)),
                      "a pattern is where find finds it");
        Fuzz::Require(ours.FindNoCase(pattern.c_str(), start) ==
                          Place(Lowered(model).find(Lowered(pattern), from)),
                      "a pattern of any case is where find finds it");
        Fuzz::Require((ours.Compare(pattern.c_str()) < 0) == (model < pattern),
                      "the order is that of bytes");
        if (pattern.empty())
            return;
        Fuzz::Require(ours.Find(pattern[0], start) == Place(model.find(pattern[0], from)),
                      "a byte is where find finds it");
        std::size_t const last = model.size() > from
                                     ? model.rfind(pattern[0], model.size() - from - 1)
                                     : std::string::npos;
        Fuzz::Require(ours.ReverseFind(pattern[0], start) == Place(last),
                      "a byte from the end is where rfind finds it");
    }

    void CompareMiddle(std::size_t start) const {
        try {
            StringPL const middle = ours.Mid(static_cast<int>(start), 3);
            Fuzz::Require(start <= model.size() && Is(middle, model.substr(start, 3)),
                          "the middle part is that of substr");
        } catch (StringPLOutOfBoundsException const&) {
            Fuzz::Require(start > model.size(), "a start within the text is good");
        }
    }

    StringPL ours;
    std::string model;
};

} // namespace

// A pattern to look for, a number for places and counts, and the changes.
int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    std::string const pattern = Text(input);
    int const number = input.Byte();
    Pair pair;
    for (int changes = 0; changes < 64 && !input.IsEmpty(); ++changes) {
        pair.Change(input);
        pair.Compare(pattern, number);
    }
    return 0;
}
