// Case-insensitive comparison of ASCII text, compared with strcasecmp and Boost, and case mapping,
// compared with a loop over tolower and Boost.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>
#include <string>

#include <strings.h>

#ifdef HAVE_BOOST
#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>
#endif

#include "bench/Bench.h"
#include "bench/Inputs.h"
#include "data/Ascii.h"
#include "data/Buffer.h"
#include "strings/StringPL.h"

namespace {

// Two texts that differ only in the case of some letters.
struct Pair {
    std::string left;
    std::string right;
};

std::size_t SizeOfPair(Pair const& pair) { return pair.left.size(); }

Pair MakePair(std::size_t size) {
    Inputs::Numbers random(size);
    Pair pair{Inputs::LongTexts()[0].substr(0, size), {}};
    pair.right = pair.left;
    for (char& byte : pair.right)
        if (std::islower(static_cast<unsigned char>(byte)) != 0 && random.Between(0, 2) == 0)
            byte = static_cast<char>(byte - 'a' + 'A');
    return pair;
}

Pair const& PairOf(std::size_t size) {
    static std::map<std::size_t, Pair> made;
    auto const found = made.find(size);
    return found != made.end() ? found->second : made.emplace(size, MakePair(size)).first->second;
}

#ifdef HAVE_BOOST
bool BoostEqual(Pair const& pair) {
    return boost::algorithm::iequals(pair.left, pair.right, std::locale::classic());
}
#endif

bool StandardEqual(Pair const& pair) {
    return strcasecmp(pair.left.c_str(), pair.right.c_str()) == 0;
}

template <class Ours>
void AddComparing(std::string const& name, std::size_t size, Ours ours) {
    Operation<Pair> operation(
        "Case/" + name + "-" + std::to_string(size), [size]() -> auto& { return PairOf(size); },
        SizeOfPair);
    operation.Add("ours", ours);
    operation.Add("strcasecmp", StandardEqual);
#ifdef HAVE_BOOST
    operation.Add("boost", BoostEqual);
#endif
}

void AddComparisons(std::size_t size) {
    AddComparing("equal", size,
                 [](Pair const& pair) { return Ascii::EqualIgnoringCase(pair.left, pair.right); });
    AddComparing("compare-ranges", size, [](Pair const& pair) {
        return Ascii::CompareLowercase(ConstData(pair.left), ConstData(pair.right)) == 0;
    });
    AddComparing("compare-terminated", size, [](Pair const& pair) {
        return Ascii::CompareLowercase(pair.left.c_str(), pair.right.c_str()) == 0;
    });
}

// Write the mapped text to `target`, which has the size of the source.

void LowerOurs(std::string const& source, std::string& target) {
    Ascii::LowerCase(source, Data(target.data(), target.size()));
}

void LowerByLoop(std::string const& source, std::string& target) {
    std::transform(source.begin(), source.end(), target.begin(),
                   [](unsigned char byte) { return static_cast<char>(std::tolower(byte)); });
}

#ifdef HAVE_BOOST
void LowerByBoost(std::string const& source, std::string& target) {
    boost::algorithm::to_lower_copy(target.begin(), source, std::locale::classic());
}
#endif

template <void Map(std::string const&, std::string&)>
void AddMapping(Operation<Pair>& operation, std::string const& who) {
    auto const work = [target = std::string()](Pair const& pair) mutable {
        if (target.empty())
            target.resize(pair.right.size());
        Map(pair.right, target);
    };
    auto const answer = [](Pair const& pair) {
        std::string target(pair.right.size(), '\0');
        Map(pair.right, target);
        return target;
    };
    operation.Add(who, work, answer);
}

void AddMappings(std::size_t size) {
    Operation<Pair> operation(
        "Case/lower-" + std::to_string(size), [size]() -> auto& { return PairOf(size); },
        SizeOfPair);
    AddMapping<LowerOurs>(operation, "ours");
    AddMapping<LowerByLoop>(operation, "tolower");
#ifdef HAVE_BOOST
    AddMapping<LowerByBoost>(operation, "boost");
#endif
}

// StringPL::MakeLower: in place, and by the letters of the current locale.
//
// The text is lowercase after the first run. It is not restored, because a copy takes more than
// half as long as the mapping. Neither contender branches on a letter, so the time is the same for
// uppercase letters.

void AddMappingsInPlace(std::size_t size) {
    Operation<Pair> operation(
        "Case/lower-StringPL-" + std::to_string(size), [size]() -> auto& { return PairOf(size); },
        SizeOfPair);
    operation.Add(
        "ours",
        [kept = StringPL()](Pair const& pair) mutable {
            if (kept.IsEmpty())
                kept = pair.right.c_str();
            kept.MakeLower();
        },
        [](Pair const& pair) {
            StringPL text(pair.right.c_str());
            text.MakeLower();
            return std::string(text.AsChar());
        });
    operation.Add(
        "tolower",
        [kept = std::string()](Pair const& pair) mutable {
            if (kept.empty())
                kept = pair.right;
            LowerByLoop(kept, kept);
        },
        [](Pair const& pair) {
            std::string text = pair.right;
            LowerByLoop(text, text);
            return text;
        });
}

} // namespace

void RegisterOperations() {
    for (std::size_t size : {8, 16, 64, 256, 4096})
        AddComparisons(size);
    for (std::size_t size : {64, 1024, 65536})
        AddMappings(size);
    AddMappingsInPlace(1024);
}
