// Compares operations on file names with std::string.

#include "fuzz/Fuzz.h"
#include "fuzz/Outcome.h"
#include "fuzz/ReferenceCase.h"

namespace {

std::string TextOf(FileName const& name) { return std::string(name.Text(), name.Length()); }

// Makes a name without validation, as operations that remove a part do.
FileName Store(std::string const& bytes) {
    FileName name;
    name.SafeSet(bytes.data(), static_cast<unsigned int>(bytes.size()));
    return name;
}

bool IsStored(FileName const& name, std::string const& expected) {
    auto const* const object = reinterpret_cast<char const*>(&name);
    bool const isInside = name.Text() >= object && name.Text() < object + sizeof(name);
    return TextOf(name) == expected && name.Text()[expected.size()] == '\0' &&
           name.IsEmpty() == expected.empty() && isInside == (expected.size() < 24);
}

void CompareSet(std::string const& bytes) {
    Require(OutcomeOf([&] { return TextOf(FileName(ConstData(bytes))); }) ==
                ReferenceOutcomeOf([&] { return RequireFileName(bytes); }),
            "a name is accepted if it is valid");
    FileName name = Store("what it was before, and longer than what lies inside");
    std::string const outcome = OutcomeOf([&] {
        name.Set(bytes.data(), static_cast<unsigned int>(bytes.size()));
        return TextOf(name);
    });
    std::size_t const slash = bytes.find('/');
    if (outcome == "15IllegalFileName")
        Require(name.Length() == bytes.size() &&
                    TextOf(name).substr(0, slash) == bytes.substr(0, slash),
                "the bytes before a slash are stored");
}

// Sets a name to a part of itself, which may then fit into the object.
void CompareParts(std::string const& bytes, std::size_t from) {
    from = std::min(from, bytes.size());
    FileName name = Store(bytes);
    name.SafeSet(name.Text() + from, name.Length() - static_cast<unsigned int>(from));
    Require(IsStored(name, bytes.substr(from)), "a name can be set to its own end");
    FileName start = Store(bytes);
    start.SafeSet(start.Text(), static_cast<unsigned int>(from));
    Require(IsStored(start, bytes.substr(0, from)), "a name can be set to its own start");
    FileName copy = name;
    copy = start;
    copy = static_cast<FileName const&>(copy);
    Require(IsStored(copy, bytes.substr(0, from)), "a copy is equal");
}

void CompareSums(std::string const& first, std::string const& second) {
    auto const reference = [&](std::string const& start) {
        return start.size() + second.size() > 254 ? "15IllegalFileName" : "text " + start + second;
    };
    std::string const text = Fuzz::UpToNul(first);
    FileName const left = Store(first);
    FileName const right = Store(second);
    auto const isSum = [&](auto sum) {
        return OutcomeOf([&] { return TextOf(sum()); }) == reference(first);
    };
    Require(isSum([&] { return left + right; }) &&
                isSum([&] { return left + ConstData(second); }) &&
                isSum([&] { return ConstData(first) + right; }),
            "a combination has at most 254 bytes");
    Require(OutcomeOf([&] { return TextOf(text.c_str() + right); }) == reference(text),
            "a combination with a string has at most 254 bytes");
}

class ReferenceName {
public:
    ReferenceName(std::string const& bytes, bool ignoresCase)
        : name(bytes), ignoreCase(ignoresCase) {}

    bool HasSuffix(std::string const& suffix) const {
        return Folded(name).ends_with(Folded(suffix));
    }
    bool HasPrefix(std::string const& prefix) const {
        return Folded(name).starts_with(Folded(prefix));
    }
    bool HasExtension(std::string const& extension) const {
        return extension.starts_with('.') ? HasSuffix(extension) : HasSuffix('.' + extension);
    }
    std::string BeforeExtension(std::string const& extension) const {
        if (!HasExtension(extension))
            throw ReferenceFailure{"21ExtensionDoesNotMatch"};
        return NotEmpty(name.substr(0, name.size() - extension.size()));
    }
    std::string AfterPrefix(std::string const& prefix) const {
        if (!HasPrefix(prefix))
            throw ReferenceFailure{"18PrefixDoesNotMatch"};
        return NotEmpty(name.substr(prefix.size()));
    }
    std::string PrefixDigits() const {
        return NotEmpty(name.substr(0, name.find_first_not_of("0123456789")));
    }

private:
    std::string Folded(std::string const& text) const {
        return ignoreCase ? ReferenceCase::Lowered(text) : text;
    }

    static std::string NotEmpty(std::string const& text) {
        if (text.empty())
            throw ReferenceFailure{"15IllegalFileName"};
        return text;
    }

    std::string const name;
    bool const ignoreCase;
};

void CompareEnds(std::string const& bytes, std::string const& end, bool ignoreCase) {
    FileName const name = Store(bytes);
    ReferenceName const reference(bytes, ignoreCase);
    char const* const text = end.c_str();
    Require(name.HasSuffix(text, ignoreCase) == reference.HasSuffix(end),
            "HasSuffix agrees with ends_with");
    Require(name.HasPrefix(text, ignoreCase) == reference.HasPrefix(end),
            "HasPrefix agrees with starts_with");
    Require(name.HasExtension(text, ignoreCase) == reference.HasExtension(end),
            "HasExtension adds a missing dot");
    Require(OutcomeOf([&] { return TextOf(name.NameBeforeExtension(text, ignoreCase)); }) ==
                ReferenceOutcomeOf([&] { return reference.BeforeExtension(end); }),
            "NameBeforeExtension removes the extension");
    Require(OutcomeOf([&] { return TextOf(name.NameAfterPrefix(text, ignoreCase)); }) ==
                ReferenceOutcomeOf([&] { return reference.AfterPrefix(end); }),
            "NameAfterPrefix removes the prefix");
    Require(OutcomeOf([&] { return TextOf(name.PrefixDigits()); }) ==
                ReferenceOutcomeOf([&] { return reference.PrefixDigits(); }),
            "PrefixDigits returns the digits at the start");
    Require(TextOf(name.BaseName()) == bytes.substr(0, bytes.rfind('.')),
            "a base name ends at the last dot");
}

} // namespace

// Input: switches, two parts of a name, and a prefix or suffix to search for.
int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    unsigned int const switches = input.Byte();
    std::string const first = input.Text();
    std::string const second = input.Text();
    std::string const end = std::string(input.Rest()).c_str();
    CompareSet(first);
    CompareSet(first + second);
    CompareParts(first, switches);
    CompareSums(first, second);
    CompareEnds(first, end, (switches & 1) != 0);
    return 0;
}
