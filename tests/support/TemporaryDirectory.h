// A directory for a test, removed with its content at the end.
//
// Only the process that created it removes it, so a forked child may end in any way.
#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include <stdlib.h>
#include <unistd.h>

class TemporaryDirectory {
public:
    // The directory has the mode 0700, in TMPDIR or else in "/tmp".
    TemporaryDirectory() {
        char const* const parent = std::getenv("TMPDIR");
        where = std::string(parent && *parent ? parent : "/tmp") + "/cc-test-XXXXXX";
        if (!mkdtemp(where.data()))
            throw std::system_error(errno, std::generic_category(), where);
    }

    ~TemporaryDirectory() {
        if (getpid() == owner)
            Remove();
    }

    TemporaryDirectory(TemporaryDirectory const&) = delete;
    TemporaryDirectory& operator=(TemporaryDirectory const&) = delete;

    // Without a "/" at its end.
    std::string const& path() const { return where; }
    std::string operator/(std::string const& name) const { return where + '/' + name; }

private:
    void Remove() {
        std::error_code ignored;
        OpenUp(where);
        std::filesystem::remove_all(where, ignored);
    }

    // An unprivileged user cannot empty a directory that a test has made inaccessible.
    static void OpenUp(std::filesystem::path const& directory) {
        namespace fs = std::filesystem;
        std::error_code ignored;
        fs::permissions(directory, fs::perms::owner_all, fs::perm_options::add, ignored);
        for (auto const& entry : fs::directory_iterator(directory, ignored))
            if (entry.is_directory(ignored) && !entry.is_symlink(ignored))
                OpenUp(entry.path());
    }

    std::string where;
    pid_t const owner = getpid();
};
