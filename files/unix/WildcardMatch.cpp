#include "files/unix/WildcardMatch.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <vector>

namespace UnixPlatform {

namespace {

// For a name and the end of a pattern: at each position of the name, and behind its last byte,
// whether that end of the pattern matches all that follows. Growing the end by one character needs
// nothing but this row, which is what keeps hostile patterns harmless.
class MatchRow {
public:
    // For the empty pattern.
    explicit MatchRow(ConstData subject) : name(subject) {
        if (name.Length() >= inside.size()) {
            outside.resize(name.Length() + 1);
            matches = outside.data();
        }
        matches[name.Length()] = true;
    }

    bool AtStart() const { return matches[0]; }

    // A byte or "?" in front.
    void PrependCharacter(char character) {
        for (std::size_t i = 0; i < name.Length(); ++i)
            matches[i] = matches[i + 1] && (character == '?' || IsAt(i, character));
        matches[name.Length()] = false;
    }

    // "*" in front. On a "*" of the name it is a byte like any other. As a wildcard it leaves at
    // least the last byte to what follows, and takes all if nothing follows; behind the last byte
    // it stands for nothing.
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
    // A name in a directory has at most 255 bytes.
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
