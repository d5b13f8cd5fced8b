// StringPL and Stringy: appending byte by byte, copying and searching, compared with std::string,
// the string of Boost and the C library.
#include <cstring>
#include <map>
#include <string>

#ifdef HAVE_BOOST
#include <boost/algorithm/string/find.hpp>
#include <boost/container/string.hpp>
#endif

#include "bench/Bench.h"
#include "bench/Inputs.h"
#include "strings/StringPL.h"
#include "strings/Stringy.h"

namespace {

// ---- Appending

void PushOne(StringPL& text, char byte) { text.Append(&byte, 1); }
void PushOne(Stringy& text, char byte) { text += byte; }
void PushOne(std::string& text, char byte) { text.push_back(byte); }
#ifdef HAVE_BOOST
void PushOne(boost::container::string& text, char byte) { text.push_back(byte); }
#endif

char const* TextOf(StringPL const& text) { return text.AsChar(); }
char const* TextOf(Stringy const& text) { return text; }
template <class String>
char const* TextOf(String const& text) {
    return text.c_str();
}

template <class String>
void Grow(std::string const& source) {
    String text;
    for (char byte : source)
        PushOne(text, byte);
    benchmark::DoNotOptimize(text);
}

template <class String>
std::string Grown(std::string const& source) {
    String text;
    for (char byte : source)
        PushOne(text, byte);
    return TextOf(text);
}

std::string const& TextOfSize(std::size_t size) {
    static std::map<std::size_t, std::string> made;
    return made.emplace(size, Inputs::LongTexts()[0].substr(0, size)).first->second;
}

template <class Ours>
void AddGrowing(std::string const& name, std::size_t size) {
    Operation<std::string> operation(
        "Strings/" + name + "-append-" + std::to_string(size), [size]() -> auto& {
            return TextOfSize(size);
        });
    operation.Add("ours", Grow<Ours>, Grown<Ours>);
    operation.Add("std", Grow<std::string>, Grown<std::string>);
#ifdef HAVE_BOOST
    operation.Add("boost", Grow<boost::container::string>, Grown<boost::container::string>);
#endif
}

// ---- Copying

using Texts = std::vector<std::string>;

Texts const& TextsOfSizes(std::size_t least, std::size_t most) {
    static std::map<std::pair<std::size_t, std::size_t>, Texts> made;
    Texts& texts = made[{least, most}];
    for (Inputs::Numbers random(least); texts.size() < 1000;)
        texts.push_back(
            Inputs::LongTexts()[1].substr(random.Between(0, 60000), random.Between(least, most)));
    return texts;
}

// The texts as strings of the class that copies them.
template <class String>
struct Sources {
    explicit Sources(Texts const& texts) {
        for (std::string const& text : texts)
            strings.emplace_back(text.c_str());
    }
    std::vector<String> strings;
};

template <class String>
void AddCopier(Operation<Texts>& operation, std::string const& who) {
    auto const work = [sources = std::shared_ptr<Sources<String>>()](Texts const& texts) mutable {
        if (sources == nullptr)
            sources = std::make_shared<Sources<String>>(texts);
        for (String const& source : sources->strings) {
            String copy(source);
            benchmark::DoNotOptimize(copy);
        }
    };
    auto const answer = [](Texts const& texts) {
        std::string all;
        for (String const& source : Sources<String>(texts).strings) {
            String const copy(source);
            all.append(TextOf(copy)) += '\n';
        }
        return all;
    };
    operation.Add(who, work, answer);
}

template <class Ours>
void AddCopying(std::string const& name, std::size_t least, std::size_t most) {
    Operation<Texts> operation(
        "Strings/" + name + "-copy-" + std::to_string(least) + "-to-" + std::to_string(most),
        [=]() -> auto& { return TextsOfSizes(least, most); });
    AddCopier<Ours>(operation, "ours");
    AddCopier<std::string>(operation, "std");
#ifdef HAVE_BOOST
    AddCopier<boost::container::string>(operation, "boost");
#endif
}

// ---- Searching

// A text that ends with the needle. Prefixes of the needle also occur before.
struct Haystack {
    std::string text;
    StringPL longString;
    Stringy shortString;
};

constexpr char const* needle = "tan9ent";
constexpr char const* otherNeedle = "TaN9eNt";

std::size_t SizeOfHaystack(Haystack const& haystack) { return haystack.text.size(); }

Haystack const& HaystackOf(std::size_t size) {
    static std::map<std::size_t, Haystack> made;
    Haystack& haystack = made[size];
    if (haystack.text.empty()) {
        haystack.text = Inputs::LongTexts()[2].substr(0, size - std::strlen(needle)) + needle;
        haystack.longString = haystack.text.c_str();
        haystack.shortString = haystack.text.c_str();
    }
    return haystack;
}

template <class Ours, class Library>
void AddSearching(std::string const& name, std::size_t size, Ours ours, Library library,
                  std::string const& who) {
    Operation<Haystack> operation(
        "Strings/" + name + "-" + std::to_string(size),
        [size]() -> auto& { return HaystackOf(size); }, SizeOfHaystack);
    operation.Add("ours", ours);
    operation.Add(who, library);
#ifdef HAVE_BOOST
    if (who == "strcasestr")
        operation.Add("boost", [](Haystack const& haystack) {
            return static_cast<int>(
                boost::algorithm::ifind_first(haystack.text, otherNeedle, std::locale::classic())
                    .begin() -
                haystack.text.begin());
        });
#endif
}

int ByStrstr(Haystack const& haystack) {
    char const* const text = haystack.text.c_str();
    return static_cast<int>(std::strstr(text, needle) - text);
}

int ByStrcasestr(Haystack const& haystack) {
    char const* const text = haystack.text.c_str();
    return static_cast<int>(strcasestr(text, otherNeedle) - text);
}

void AddSearches(std::size_t size) {
    AddSearching(
        "StringPL-find", size,
        [](Haystack const& haystack) { return haystack.longString.Find(needle, 0); }, ByStrstr,
        "strstr");
    AddSearching(
        "StringPL-find-no-case", size,
        [](Haystack const& haystack) { return haystack.longString.FindNoCase(otherNeedle, 0); },
        ByStrcasestr, "strcasestr");
    AddSearching(
        "Stringy-contains", size,
        [](Haystack const& haystack) { return haystack.shortString.Contains(needle); },
        [](Haystack const& haystack) {
            return std::strstr(haystack.text.c_str(), needle) != nullptr;
        },
        "strstr");
}

} // namespace

void RegisterOperations() {
    AddGrowing<StringPL>("StringPL", 16);
    AddGrowing<StringPL>("StringPL", 1024);
    AddGrowing<Stringy>("Stringy", 120);
    AddCopying<StringPL>("StringPL", 1, 15);
    AddCopying<StringPL>("StringPL", 30, 127);
    AddCopying<Stringy>("Stringy", 30, 127);
    for (std::size_t size : {64, 256, 1024, 65536})
        AddSearches(size);
}
