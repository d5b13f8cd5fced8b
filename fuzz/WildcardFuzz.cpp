// Compares the wildcard matcher with a recursive reference implementation.

#include "files/unix/WildcardMatch.h"
#include "fuzz/Fuzz.h"

namespace {

// Takes exponential time in the number of stars, which is limited. A star of the pattern that meets
// a star of the name matches only that byte.
bool MatchByTheRule(std::string_view name, std::string_view pattern) {
    if (pattern.empty())
        return name.empty();
    if (name.empty())
        return pattern.find_first_not_of('*') == std::string_view::npos;
    if (pattern[0] == '?' || pattern[0] == name[0])
        return MatchByTheRule(name.substr(1), pattern.substr(1));
    if (pattern[0] != '*')
        return false;
    if (pattern.size() == 1)
        return true;
    for (std::size_t taken = 0; taken < name.size(); ++taken)
        if (MatchByTheRule(name.substr(taken), pattern.substr(1)))
            return true;
    return false;
}

constexpr std::size_t maxStars = 4;
constexpr std::size_t longest = 24;

} // namespace

// Input: a pattern and a name.
int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    std::string const given = input.Text();
    std::string const pattern = given.c_str();
    std::string const name(input.Rest().substr(0, longest));
    if (std::count(pattern.begin(), pattern.end(), '*') > static_cast<long>(maxStars))
        return 0;
    Require(UnixPlatform::MatchWildcard(ConstData(name), pattern.c_str()) ==
                MatchByTheRule(name, pattern),
            "the matcher agrees with the reference");
    return 0;
}
