// The portable name of a path component. All that it can do stands in files/unix/FileName.h.
#pragma once

#include "data/DebuggableException.h"
#include "files/unix/FileName.h"

// Same layout and operations as the platform's name, and convertible from and to it by copying.
class FileName : public UnixPlatform::FileName {
public:
    FileName() = default;
    FileName(UnixPlatform::FileName const& name) : UnixPlatform::FileName(name) {}

    using UnixPlatform::FileName::FileName;
};

// What the operations on names throw. Nothing of it is a FileIOError: no file is concerned.
//
// Deliberate: the classes stand beside each other. Who catches IllegalFileName does not catch the
// other two kinds of illegal name.

// A "/" in the name; also a cut that leaves nothing, a combination that grows too long, and a name
// without the digits that were asked for.
class IllegalFileName : public DebuggableException {};

// Empty, or longer than 255 bytes.
class IllegalFileNameLength : public DebuggableException {};

// "." or "..".
class IllegalFileNameReserved : public DebuggableException {};

class ExtensionDoesNotMatch : public DebuggableException {};
class PrefixDoesNotMatch : public DebuggableException {};
