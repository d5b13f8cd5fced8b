// The file types that the library knows, and their extensions.
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

// Returns the type with this extension, including the dot, or Miscellany. Case-insensitive, by
// strcasecmp(3). REQUIRES: `extension` is not null.
//
// Three types have the empty extension, for which the function returns the first one, Site.
TarvikFileType TypeOfExtension(char const* extension);

// Returns the first extension of the type, including the dot, in static storage.
//
// Returns "XVeskaClientUI" for Miscellany and for numbers that are not a type. So a FileLoop over
// such a type has the wildcard "*XVeskaClientUI".
char const* ExtensionOfType(TarvikFileType type);

} // namespace AdviceFileTypes
