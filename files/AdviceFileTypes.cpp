#include "files/AdviceFileTypes.h"

#include <cstring>

#include "files/FileName.h"
#include "files/ReservedNames.h"

namespace {

struct Row {
    char const* extension;
    TarvikFileType type;
};

// In the order of the search. Constant-initialized, so initializers of other files can use it.
constinit Row const table[] = {
    {cRESERVED_FILE_EXTENSION_SITE_DEFINITION, AdviceFileTypes::Masthead()},
    {cRESERVED_FILE_EXTENSION_ADVICE_POOL, AdviceFileTypes::Pool()},
    {cRESERVED_FILE_EXTENSION_ADVICE_FILE, AdviceFileTypes::Advice()},
    {cRESERVED_EXTENSION, AdviceFileTypes::HTML()},
    {cRESERVED_EXTENSION_LONG, AdviceFileTypes::HTML()},
    {cRESERVED_FILE_EXTENSION_TEXT, AdviceFileTypes::Text()},
    {cRESERVED_FILE_EXTENSION_SITE_LOG_FILE, AdviceFileTypes::Log()},
    {cRESERVED_FILE_EXTENSION_SITE_BACKUP_LOG_FILE, AdviceFileTypes::BackLog()},
    {cRESERVED_FILE_EXTENSION_DLL, AdviceFileTypes::Inspector()},
    {cRESERVED_FILE_EXTENSION_NOTATION, AdviceFileTypes::Notation()},
    {cRESERVED_FILE_EXTENSION_SITE_DATA, AdviceFileTypes::Site()},
    {cRESERVED_FILE_EXTENSION_PREFERENCES, AdviceFileTypes::Preferences()},
    {cRESERVED_FILE_EXTENSION_PROFILE, AdviceFileTypes::Profile()},
};

// Returns the last dot and the bytes after it, or the whole name if it has no dot.
ConstData ExtensionOf(ConstData name) {
    if (name.IsEmpty())
        return name;
    unsigned char const* start = name.end - 1;
    while (start != name.begin && *start != '.')
        --start;
    return ConstData(start, name.end);
}

} // namespace

TarvikFileType AdviceFileTypes::TypeOfExtension(char const* extension) {
    for (Row const& row : table) {
        if (strcasecmp(row.extension, extension) == 0)
            return row.type;
    }
    return Miscellany();
}

char const* AdviceFileTypes::ExtensionOfType(TarvikFileType type) {
    for (Row const& row : table) {
        if (row.type == type)
            return row.extension;
    }
    return cRESERVED_FILENAME_UIAPP;
}

// The name is NUL-terminated, so the extension is, too.
TarvikFileType UnixPlatform::FileName::ExtensionType() const {
    return AdviceFileTypes::TypeOfExtension(
        reinterpret_cast<char const*>(ExtensionOf(Bytes()).begin));
}
