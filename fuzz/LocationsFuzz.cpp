// Compares operations on file locations with std::string: applies a list of changes, and compares
// all queries after each.

#include "files/FileLocation.h"
#include "fuzz/Fuzz.h"
#include "fuzz/Outcome.h"
#include "fuzz/ReferenceCase.h"

namespace {

// Longer paths are not extended.
constexpr std::size_t longest = 1024;

std::string WithoutSlashes(std::string path, std::size_t least) {
    while (path.size() > least && path.back() == '/')
        path.pop_back();
    return path;
}

void RequirePath(std::string const& path) {
    if (path.empty())
        throw ReferenceFileError("22EmptyFileLocationError", "");
}

std::string Join(std::string const& parent, std::string const& name) {
    RequirePath(parent);
    if (name.empty())
        return parent;
    return parent + (name[0] == '/' ? "" : "/") + WithoutSlashes(name, 0);
}

std::string ParentOf(std::string const& path) {
    RequirePath(path);
    if (path == "/")
        throw ReferenceFileError("15RootHasNoParent", path);
    std::size_t const slash = path.rfind('/');
    if (slash == std::string::npos)
        throw ReferenceFileError("19InvalidFileLocation", path);
    return WithoutSlashes(path.substr(0, std::max<std::size_t>(slash, 1)), 1);
}

std::string NameOf(std::string const& path) {
    return path.empty() ? path : RequireFileName(path.substr(path.rfind('/') + 1));
}

bool EqualPaths(std::string const& left, std::string const& right) {
    return ReferenceCase::Lowered(left) == ReferenceCase::Lowered(right);
}

char const* Answer(bool yes) { return yes ? "yes" : "no"; }

char const* ReferenceClimb(std::string const& ancestor, std::string path) {
    RequirePath(ancestor);
    RequirePath(path);
    while (!EqualPaths(path, ancestor)) {
        if (path == "/")
            return Answer(false);
        path = ParentOf(path);
    }
    return Answer(true);
}

std::string DateOf(std::string const& path) {
    std::string const name = NameOf(path);
    if (name.size() < 9)
        throw ReferenceFailure{"15IllegalFileName"};
    std::string date;
    for (auto const& [at, end] : {std::pair(0U, 4U), std::pair(4U, 6U), std::pair(6U, 8U)}) {
        unsigned int value = 0;
        for (unsigned char const digit : name.substr(at, end - at))
            value = value * 10 + digit - '0';
        date += ' ' + std::to_string(value);
    }
    return date;
}

std::string ReadDate(FileLocation const& location) {
    unsigned int year = 0, month = 0, day = 0;
    GetDateFromNameInFileLocation(location, year, month, day);
    return ' ' + std::to_string(year) + ' ' + std::to_string(month) + ' ' + std::to_string(day);
}

class Pair {
public:
    void Change(Fuzz::Input& input) {
        unsigned int const change = input.Byte() % 9U;
        std::size_t const place = input.Byte();
        std::string const text =
            path.size() > longest ? std::string() : Fuzz::UpToNul(input.Text());
        if (change == 0)
            Both([&] { location.SetFullPathName(text.data(), Length(text)); },
                 [&] { Take(WithoutSlashes(text, 1)); });
        else if (change == 1)
            Both([&] { location = MakeRelativeFileLocation(location, text.c_str()); },
                 [&] { Take(Join(path, text)); });
        else if (change == 2)
            Both([&] { location = location.Parent(); }, [&] { Take(ParentOf(path)); });
        else if (change == 3)
            Both([&] { location = FileLocation(location, text.c_str()); },
                 [&] { Take(Join(path, RequireFileName(text))); });
        else if (change == 4)
            Both([&] { location = location.Sibling(FileName(text.c_str())); },
                 [&] {
                     std::string const& name = RequireFileName(text);
                     Take(Join(ParentOf(path), name));
                 });
        else if (change == 5)
            SetBelowItself(place);
        else if (change == 6)
            SetToItsEnd(place);
        else if (change == 7)
            Both([&] { location = location.Child(FileName(text.c_str())); },
                 [&] { Take(Join(path, RequireFileName(text))); });
        else
            SplitPattern(text);
    }

    void Compare(std::string const& other) const {
        Require(location.Text() == path && MakeString(location.Bytes()) == path,
                "the path agrees with std::string");
        Require(location.StoredLength() == stored, "the stored length is that of the last change");
        FileLocation const copy(location);
        Require(copy.Text() == path && copy.StoredLength() == path.size(),
                "the stored length of a copy is that of the path");
        Require(location.IsEmpty() == path.empty(), "a location is empty if its path is empty");
        Require(IsAbsolutePath(location.Text()) == path.starts_with('/'),
                "an absolute path begins with a slash");
        Is([&] { return MakeString(location.Name().Bytes()); }, [&] { return NameOf(path); },
           "the name is the last component");
        Is([&] { return Answer(location.IsRoot()); },
           [&] { return RequirePath(path), Answer(path == "/"); }, "the root is a slash");
        Is([&] { return ReadDate(location); }, [&] { return DateOf(path); },
           "the date agrees with the reference");
        CompareDescent(other);
    }

private:
    static unsigned int Length(std::string const& text) {
        return static_cast<unsigned int>(text.size());
    }

    template <class Ours, class Reference>
    static void Is(Ours ours, Reference reference, char const* what) {
        Require(OutcomeOf(ours) == ReferenceOutcomeOf(reference), what);
    }

    // Applies a change to both sides. The outcomes must be equal; a failure changes nothing.
    template <class Ours, class Reference>
    void Both(Ours ours, Reference reference) {
        auto const nothing = [](auto run) {
            return [run] {
                run();
                return "";
            };
        };
        Require(OutcomeOf(nothing(ours)) == ReferenceOutcomeOf(nothing(reference)),
                "an operation fails like the reference");
    }

    void Take(std::string const& newPath) {
        path = newPath;
        stored = path.size();
    }

    // Appends a name that is a part of the path itself. An empty name changes nothing.
    void SetBelowItself(std::size_t place) {
        if (path.size() > longest)
            return;
        place = std::min(place, path.size());
        std::string const name = path.substr(place);
        std::size_t const joined = stored + WithoutSlashes(name, 0).size() + 1;
        Both([&] { location.Set(location, ConstData(location.Text() + place, name.size())); },
             [&] { path = Join(path, name); });
        if (!name.empty())
            stored = joined;
    }

    // Assigns the end of the path to itself. The whole path changes nothing.
    void SetToItsEnd(std::size_t place) {
        place = std::min(place, path.size());
        std::string const end = path.substr(place);
        location.SetFullPathName(location.Text() + place, Length(end));
        if (place != 0)
            Take(WithoutSlashes(end, 1));
    }

    void SplitPattern(std::string const& pattern) {
        std::size_t const component = pattern.rfind('/') + 1;
        bool const hasWildcard = pattern.find_first_of("*?", component) != std::string::npos;
        char const* wildcard = nullptr;
        Both([&] { wildcard = MakeFileLocationWithWildcard(pattern.c_str(), location); },
             [&] {
                 RequirePath(pattern);
                 Take(WithoutSlashes(hasWildcard ? pattern.substr(0, component) : pattern, 1));
             });
        Require(wildcard == (hasWildcard ? pattern.c_str() + component : nullptr),
                "the wildcard is the last component");
    }

    void CompareDescent(std::string const& other) const {
        FileLocation const ancestor = MakeFileLocation(other.c_str());
        std::string const referenceAncestor = WithoutSlashes(other, 1);
        Is([&] { return Answer(EqualOrDescendant(ancestor, location)); },
           [&] { return ReferenceClimb(referenceAncestor, path); },
           "EqualOrDescendant agrees with the reference");
        Is([&] { return Answer(IsDescendant(ancestor, location)); },
           [&] {
               if (!referenceAncestor.empty() && EqualPaths(referenceAncestor, path))
                   return Answer(false);
               return ReferenceClimb(referenceAncestor, path);
           },
           "IsDescendant agrees with the reference");
    }

    FileLocation location;
    std::string path;
    std::size_t stored = 0;
};

} // namespace

// Input: a path that may be an ancestor, and the changes.
int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    std::string const other = Fuzz::UpToNul(input.Text());
    Pair pair;
    for (int changes = 0; changes < 32 && !input.IsEmpty(); ++changes) {
        pair.Change(input);
        pair.Compare(other);
    }
    return 0;
}
