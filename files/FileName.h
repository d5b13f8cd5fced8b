// One component of a path: the portable class. files/unix/FileName.h declares its operations.
#pragma once

#include "data/DebuggableException.h"
#include "files/unix/FileName.h"

// Has the same layout and operations as its base class; both are converted into each other by
// copying.
class FileName : public UnixPlatform::FileName {
public:
    FileName() = default;
    FileName(UnixPlatform::FileName const& name) : UnixPlatform::FileName(name) {}

    using UnixPlatform::FileName::FileName;
};

// The exceptions of operations on names. None is a FileIOError, because no file is involved.
//
// Deliberate: the three classes of illegal names are not derived from each other, because each is
// the violation of another rule. So a handler for IllegalFileName does not catch the other two.

// One of these errors:
// - a "/" in the name
// - an empty result of NameBeforeExtension or NameAfterPrefix
// - a concatenation that is too long
// - a name without digits at its start (PrefixDigits)
// - a name too short for a date (GetDateFromNameInFileLocation)
class IllegalFileName : public DebuggableException {};

// The name is empty or longer than 255 bytes.
class IllegalFileNameLength : public DebuggableException {};

// The name is "." or "..".
class IllegalFileNameReserved : public DebuggableException {};

class ExtensionDoesNotMatch : public DebuggableException {};
class PrefixDoesNotMatch : public DebuggableException {};
