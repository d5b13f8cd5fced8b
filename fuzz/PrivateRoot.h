// A private root directory for targets whose subject uses files with fixed paths.
//
// It is a tmpfs that exists only for this process, empty at first. A target that links
// PrivateRoot.cpp creates it before the first input. If the system does not permit that, the
// process exits with status 77, and the test is skipped. With a CI environment variable that is not
// empty, the process exits with status 1.
#pragma once

#include <string>
#include <string_view>

namespace Fuzz {

// Changes the root directory to the private one. The destructor restores the former root. Relative
// paths are not affected, so libFuzzer can save a failing input.
class PrivateRoot {
public:
    PrivateRoot();
    ~PrivateRoot();
    PrivateRoot(PrivateRoot const&) = delete;
    PrivateRoot& operator=(PrivateRoot const&) = delete;
};

// Write and read a whole file. WriteFile throws Violation on failure, ReadFile if the file cannot
// be opened.
void WriteFile(std::string const& path, std::string_view content);
std::string ReadFile(std::string const& path);

} // namespace Fuzz
