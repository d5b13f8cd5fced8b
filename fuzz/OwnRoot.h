// A root directory of their own for targets whose subject knows files by fixed names.
//
// It is empty at first, lies in memory, and is gone with the process. Linked into a target it is
// made before the first input. Where the host forbids it, the process ends with the status 77, for
// which the replay of a corpus counts as skipped; with the status 1 if the variable CI is set.
#pragma once

#include <string>
#include <string_view>

namespace Fuzz {

// From its construction to its destruction "/" is that directory. Relative names lead to where they
// always do, so that libFuzzer keeps an input that fails in there.
class OwnRoot {
public:
    OwnRoot();
    ~OwnRoot();
    OwnRoot(OwnRoot const&) = delete;
    OwnRoot& operator=(OwnRoot const&) = delete;
};

// End the process where that cannot be done.
void WriteFile(std::string const& path, std::string_view content);
std::string ReadFile(std::string const& path);

} // namespace Fuzz
