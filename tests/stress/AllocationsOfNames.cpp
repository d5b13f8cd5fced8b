#include "files/EncodedNames.h"
#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/FileName.h"
#include "files/TemporaryLocations.h"
#include "files/unix/FileErrorMappers.h"
#include "files/unix/WildcardMatch.h"
#include "tests/stress/Operations.h"
#include "tests/stress/TestCases.h"

namespace {

// Longer than the internal storage of FileName and FileLocation.
char const longFileName[] = "17 is aNameThatIsLongEnough.txt";
std::string const longPath = "/tmp/" + std::string(140, 'd');

UStringRef<UTF8> AsUTF8(std::string_view text) {
    auto const bytes = reinterpret_cast<unsigned char const*>(text.data());
    return {bytes, bytes + text.size()};
}

struct NameText : AsText {
    using AsText::operator();
    std::string operator()(UnixPlatform::FileName const& name) const {
        return MakeString(name.Bytes());
    }
    std::string operator()(UnixPlatform::FileLocation const& location) const {
        return location.Text();
    }
    std::string operator()(FileIOError const& error) const {
        return error.MakeErrorMessage() + ' ' + std::to_string(error.GetCode());
    }
};

auto const named = Operation::Giver(NameText());

Operations OfNames() {
    static FileName const name(longFileName);
    static auto const utf8 = AsUTF8(longFileName);
    static std::string const longText(300, 'd');
    auto const changing =
        Operation::Changer([] { return FileName("aNameThatIsLongEnoughToo.txt"); }, NameText());
    return {
        named(CC_TRY(FileName(longFileName))),
        named(CC_TRY(FileName(ConstData(longFileName)))),
        named(CC_TRY(FileName(utf8))),
        named(CC_TRY(FileName(name))),
        named(CC_TRY(FileName::CombineNames(longFileName, 20, longFileName, 20))),
        named(CC_TRY(ConstData("a") + name)),
        named(CC_TRY("a" + name)),
        named(CC_TRY(name + ConstData("a"))),
        named(CC_TRY(name + "a")),
        named(CC_TRY(name + name)),
        named(CC_TRY(utf8 + name)),
        named(CC_TRY(name + utf8)),
        named(CC_TRY(FileName("1234567890123456789012345678x").PrefixDigits())),
        named(CC_TRY(name.NameBeforeExtension(".txt", false))),
        named(CC_TRY(name.NameAfterPrefix("17", false))),
        named(CC_TRY(name.BaseName())),
        named(CC_TRY(std::to_string(name.MakeUTF8String().Length()))),
        changing(CC_TRY_ON(it.Set(longFileName, sizeof longFileName - 1))),
        changing(CC_TRY_ON(it.SafeSet(longFileName, sizeof longFileName - 1))),
        changing(CC_TRY_ON(it = name)),
        named(CC_TRY(UnixPlatform::MatchWildcard(longText, "*d"))),
    };
}

Operations OfLocations() {
    static FileLocation const location = MakeFileLocation((longPath + "/directory").c_str());
    static FileLocation const child = location.Child(FileName(longFileName));
    static FileName const name(longFileName);
    static std::string const pattern = longPath + "/x/*.txt";
    static unsigned int number = 0;
    auto const changing = Operation::Changer([] { return child; }, NameText());
    return {
        named(CC_TRY(FileLocation(location))),
        named(CC_TRY(FileLocation(static_cast<UnixPlatform::FileLocation const&>(location)))),
        named(CC_TRY(FileLocation(location, longFileName))),
        named(CC_TRY(FileLocation(location, ConstData(longFileName)))),
        named(CC_TRY(FileLocation(location, name))),
        named(CC_TRY(location.Child(name))),
        named(CC_TRY(location.Sibling(name))),
        named(CC_TRY(location.Relative("a/b"))),
        named(CC_TRY(location.Parent())),
        named(CC_TRY(child.Name())),
        named(CC_TRY(MakeFileLocation(longPath.c_str()))),
        named(CC_TRY(MakeFileLocation(ConstData(longPath)))),
        named(CC_TRY(MakeFileLocation(AsUTF8(longPath)))),
        named(CC_TRY(MakeRelativeFileLocation(location, "a/b"))),
        changing(CC_TRY_ON(MakeFileLocationWithWildcard(pattern.c_str(), it))),
        changing(CC_TRY_ON(it = location)),
        changing(CC_TRY_ON(
            it.SetFullPathName(longPath.data(), static_cast<unsigned int>(longPath.size())))),
        changing(CC_TRY_ON(it.Set(location, ConstData(longFileName)))),
        Operation::Doing(CC_TRY(FileLocation().RequireNonEmpty())),
        Operation::Doing(CC_TRY(MakeFileLocation("/").Parent())),
        Operation::Doing(CC_TRY(EqualOrDescendant(FileLocation(), location))),
        Operation::Doing(CC_TRY(IsDescendant(FileLocation(), location))),
        Operation::Doing(CC_TRY(GetDateFromNameInFileLocation(child, number, number, number))),
    };
}

Operations OfErrors() {
    static FileLocation const first = MakeFileLocation((longPath + "/first").c_str());
    static FileLocation const second = MakeFileLocation((longPath + "/second").c_str());
    static FileNotFoundError const error(first, second, ENOENT);
    return {
        named(CC_TRY(FileIOError(ENOENT))),
        named(CC_TRY(FileIOError(ConstData(longFileName), ENOENT))),
        named(CC_TRY(FileIOError(ConstData(longFileName), ConstData(longFileName), ENOENT))),
        named(CC_TRY(FileIOError(first, ENOENT))),
        named(CC_TRY(FileIOError(first, second, ENOENT))),
        named(CC_TRY(FileIOError(error))),
        Operation::Changer([] { return FileIOError(ConstData(longFileName), 5); },
                           NameText())(CC_TRY_ON(it = error), {.state = Stated::AnyValue}),
        named(CC_TRY(error.MakeErrorMessage())),
        // Without memory for the message: the name of the type.
        Operation(
            "FileIOError::what", [] { return std::make_pair(error, std::string(200, ' ')); },
            [](auto& pair) {
                char const* const words = pair.first.what();
                pair.second.assign(words, std::min<std::size_t>(std::strlen(words), 200));
            },
            [](auto const& pair) { return pair.second; },
            {.state = Stated::Shown, .shown = "17FileNotFoundError", .outcomes = {""}}),
        named(CC_TRY(MakeErrorString(ENOENT))),
        Operation::Doing(CC_TRY(ThrowFileError(first, ENOENT))),
        Operation::Doing(CC_TRY(UnixPlatform::ThrowReadingPathError(first, ENOENT))),
        Operation::Doing(CC_TRY(UnixPlatform::ThrowWritingPathError(first, ENOENT))),
        Operation::Doing(CC_TRY(UnixPlatform::ThrowReaderError(first, ENOENT))),
        Operation::Doing(CC_TRY(UnixPlatform::ThrowWriterError(first, ENOENT))),
    };
}

TEST(QuickAllocations, FailuresInNamesHaveDocumentedOutcomes) {
    CountTestCases(FailEachOf("names", Join({OfNames(), OfLocations(), OfErrors()})));
}

} // namespace
