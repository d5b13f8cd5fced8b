// The kinds of file that the library knows, and the extensions that go with them.
#pragma once

enum TarvikFileType : int {
    TarvikFileTypeMasthead = 1,
    TarvikFileTypePool = 2,
    TarvikFileTypeAdvice = 3,
    TarvikFileTypeHTML = 4,
    TarvikFileTypeText = 5,
    TarvikFileTypeLog = 6,
    TarvikFileTypeBackLog = 7,
    TarvikFileTypeInspector = 8,
    TarvikFileTypeNotation = 9,
    TarvikFileTypeSite = 10,
    TarvikFileTypeProfile = 11,
    TarvikFileTypePreferences = 12,
    TarvikFileTypeMiscellany = 13,
};

namespace AdviceFileTypes {

constexpr TarvikFileType Masthead() { return TarvikFileTypeMasthead; }
constexpr TarvikFileType Pool() { return TarvikFileTypePool; }
constexpr TarvikFileType Advice() { return TarvikFileTypeAdvice; }
constexpr TarvikFileType HTML() { return TarvikFileTypeHTML; }
constexpr TarvikFileType Text() { return TarvikFileTypeText; }
constexpr TarvikFileType Log() { return TarvikFileTypeLog; }
constexpr TarvikFileType BackLog() { return TarvikFileTypeBackLog; }
constexpr TarvikFileType Inspector() { return TarvikFileTypeInspector; }
constexpr TarvikFileType Notation() { return TarvikFileTypeNotation; }
constexpr TarvikFileType Site() { return TarvikFileTypeSite; }
constexpr TarvikFileType Profile() { return TarvikFileTypeProfile; }
constexpr TarvikFileType Preferences() { return TarvikFileTypePreferences; }
constexpr TarvikFileType Miscellany() { return TarvikFileTypeMiscellany; }

// The kind that goes with an extension, its dot included, by strcasecmp(3); Miscellany if there is
// none. REQUIRES: `extension` is not null.
//
// Three kinds have the empty extension, and the first of them, Site, is the one found.
TarvikFileType TypeOfExtension(char const* extension);

// The first extension of the kind, with its dot. Static storage.
//
// Miscellany and numbers that are no kind give "XVeskaClientUI", so that a loop over
// the files of that kind looks for names that end in it.
char const* ExtensionOfType(TarvikFileType type);

} // namespace AdviceFileTypes
