#include "files/unix/WildcardMatch.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <vector>

namespace UnixPlatform {

namespace {

// For each position in the name, including its end: whether the pattern's suffix processed so far
// matches the rest of the name from there on. Each step extends the suffix by one character and
// needs only this row. So the time is at most proportional to the product of the lengths.
class MatchRow {
public:
    // Starts with the empty suffix.
    explicit MatchRow(ConstData subject) : name(subject) {
        if (name.Length() >= inside.size()) {
            outside.resize(name.Length() + 1);
            matches = outside.data();
        }
        matches[name.Length()] = true;
    }

    bool AtStart() const { return matches[0]; }

    // Puts a byte or "?" in front of the suffix.
    void PrependCharacter(char character) {
        for (std::size_t i = 0; i < name.Length(); ++i)
            matches[i] = matches[i + 1] && (character == '?' || IsAt(i, character));
        matches[name.Length()] = false;
    }

    // Puts "*" in front of the suffix.
    // - At a "*" of the name, it matches only that byte.
    // - At any other byte it is a wildcard. It matches all remaining bytes if it is the last
    //   character of the pattern; otherwise it leaves at least the last byte to the suffix.
    // - At the end of the name, it matches no bytes.
    void PrependStar(bool isLastOfPattern) {
        bool any = isLastOfPattern;
        bool next = matches[name.Length()];
        for (std::size_t i = name.Length(); i-- > 0;) {
            bool const here = matches[i];
            any = any || here;
            matches[i] = IsAt(i, '*') ? next : any;
            next = here;
        }
    }

private:
    bool IsAt(std::size_t i, char character) const {
        return name[i] == static_cast<unsigned char>(character);
    }

    ConstData name;
    // A file name has at most 255 bytes.
    std::array<unsigned char, 256> inside{};
    std::vector<unsigned char> outside;
    unsigned char* matches = inside.data();
};

} // namespace

bool MatchWildcard(ConstData name, char const* pattern) {
    MatchRow row(name);
    std::size_t const length = std::strlen(pattern);
    for (std::size_t i = length; i-- > 0;) {
        if (pattern[i] == '*')
            row.PrependStar(i + 1 == length);
        else
            row.PrependCharacter(pattern[i]);
    }
    return row.AtStart();
}

} // namespace UnixPlatform
