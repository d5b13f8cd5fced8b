#include "files/FileLoop.h"

#include <string>

#include "files/AdviceFileTypes.h"
#include "files/FileLocation.h"

namespace {

std::string WildcardOf(TarvikFileType type) {
    return std::string("*") + AdviceFileTypes::ExtensionOfType(type);
}

} // namespace

FileLoop::FileLoop(FileLocation const& where, char const* wildcard, bool)
    : UnixPlatform::FileLoop(where, false, wildcard) {}

FileLoop::FileLoop(FileLocation const& where, TarvikFileType type)
    : UnixPlatform::FileLoop(where, false, WildcardOf(type).c_str()) {}

void FileLoop::Start(FileLocation const& where, char const* wildcard, bool) {
    WildcardStart(where, wildcard);
}

void FileLoop::WildcardStart(FileLocation const& where, char const* wildcard) {
    UnixPlatform::FileLoop::Start(where, false, wildcard);
}

void FileLoop::Start(FileLocation const& where, TarvikFileType type) {
    WildcardStart(where, WildcardOf(type).c_str());
}

FileItem const& FileLoop::operator*() const {
    if (!HasItem())
        throw InvalidIteratorPosition();
    // Not `slot = Item()`, which would convert the item to a temporary FileItem and copy that.
    static_cast<UnixPlatform::FileItem&>(slot) = Item();
    return slot;
}

FileItem const* FileLoop::operator->() const { return &**this; }
