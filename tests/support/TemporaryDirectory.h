// A directory for a test, removed with its content at the end.
//
// The destructor has no effect in a forked child.
#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include <stdlib.h>
#include <unistd.h>

class TemporaryDirectory {
public:
    // Creates the directory with mode 0700 in TMPDIR, by default "/tmp". Throws std::system_error.
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

    // The path, without a slash at its end.
    std::string const& path() const { return where; }
    std::string operator/(std::string const& name) const { return where + '/' + name; }

private:
    void Remove() {
        std::error_code ignored;
        OpenUp(where);
        std::filesystem::remove_all(where, ignored);
    }

    // Makes directories accessible, because only root can empty inaccessible ones.
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
