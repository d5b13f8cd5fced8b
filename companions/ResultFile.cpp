#include "companions/ResultFile.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

[[noreturn]] void Fail(std::string const& path, char const* action) {
    throw ResultFileError("'" + path + "' could not be " + action + ": " + std::strerror(errno));
}

std::string DirectoryOf(std::string const& path) {
    std::size_t const slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

std::string NameOf(std::string const& path) { return path.substr(path.rfind('/') + 1); }

// True for a link with which another user could make this program replace a file elsewhere. The
// kernel has the same rule (fs.protected_symlinks of proc(5)), but it may be disabled, and does not
// apply to readlink(2).
bool IsForeignLink(std::string const& path, struct stat const& link) {
    std::string const parent = DirectoryOf(path);
    struct stat directory {};
    bool const isShared = stat(parent.c_str(), &directory) == 0 &&
                          (directory.st_mode & S_ISVTX) != 0 && (directory.st_mode & S_IWOTH) != 0;
    return isShared && link.st_uid != geteuid() && link.st_uid != directory.st_uid;
}

// The end of a chain of symbolic links, and the reason if it must not be followed.
struct Target {
    std::string path;
    std::string reason = {};
};

Target FollowLinks(std::string path) {
    constexpr int maxLinks = 40;
    for (int count = 0; count < maxLinks; ++count) {
        struct stat facts {};
        if (lstat(path.c_str(), &facts) != 0 || !S_ISLNK(facts.st_mode))
            return {path};
        if (IsForeignLink(path, facts))
            return {path, "is a symbolic link of another user in a directory that is writable by "
                          "all"};
        std::error_code ignored;
        path = std::filesystem::path(path).parent_path() /
               std::filesystem::read_symlink(path, ignored);
    }
    return {path, "has too many symbolic links"};
}

// Returns why the file at the path cannot be replaced, or an empty string.
std::string ReasonAgainstTarget(std::string const& path) {
    constexpr std::size_t maxLength = NAME_MAX - temporarySuffix.size();
    Target const target = FollowLinks(path);
    if (!target.reason.empty())
        return target.reason;
    return NameOf(target.path).size() > maxLength ? "is too long" : "";
}

// Returns why the file cannot be created, or an empty string.
//
// REQUIRES: stat(2) failed for the path, and errno has its error.
std::string ReasonAgainstNewFile(std::string const& path) {
    if (errno == ENAMETOOLONG)
        return "is too long";
    std::string const directory = DirectoryOf(path);
    struct stat facts {};
    if (lstat(path.c_str(), &facts) == 0)
        return "is a symbolic link without an accessible target";
    bool const isMissing = errno == ENOENT || errno == ENOTDIR;
    bool const hasDirectory = stat(directory.c_str(), &facts) == 0 && !path.ends_with('/');
    return isMissing && !hasDirectory ? "is in no directory that exists"
                                      : ReasonAgainstTarget(path);
}

// Returns the path with its final symbolic links resolved. Throws ResultFileError.
std::string ResolveTarget(std::string const& path) {
    std::string const reason = ReasonAgainstResultFile(path);
    // Checked again, because links may have changed since ReasonAgainstResultFile followed them.
    Target const target = FollowLinks(path);
    if (!reason.empty() || !target.reason.empty())
        throw ResultFileError("'" + path + "' " + (reason.empty() ? target.reason : reason));
    return target.path;
}

mode_t ModeOfNewFile() {
    mode_t const mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

// Makes a rename durable, because rename(2) does not flush the directory entry. Ignores errors.
void FlushDirectoryOf(std::string const& path) {
    int const descriptor = open(DirectoryOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    fsync(descriptor);
    close(descriptor);
}

} // namespace

std::string ReasonAgainstResultFile(std::string const& path) {
    if (path.empty())
        return "is empty";
    struct stat facts {};
    if (stat(path.c_str(), &facts) != 0)
        return ReasonAgainstNewFile(path);
    if (S_ISDIR(facts.st_mode))
        return "is a directory";
    return S_ISREG(facts.st_mode) ? ReasonAgainstTarget(path) : "is not a regular file";
}

ResultFile::ResultFile(std::string const& path, std::optional<mode_t> mode)
    : target(ResolveTarget(path)), temporary(target + std::string(temporarySuffix)) {
    descriptor = mkostemp(temporary.data(), O_CLOEXEC);
    if (descriptor < 0)
        Fail(target, "replaced");
    if (fchmod(descriptor, mode.value_or(ModeOfNewFile())) != 0 && mode) {
        int const reason = errno;
        close(descriptor);
        unlink(temporary.c_str());
        errno = reason;
        Fail(target, "set to its mode");
    }
}

ResultFile::~ResultFile() {
    close(descriptor);
    if (!temporary.empty())
        unlink(temporary.c_str());
}

void ResultFile::Publish() {
    if (fsync(descriptor) != 0)
        Fail(target, "flushed to the disk");
    if (rename(temporary.c_str(), target.c_str()) != 0)
        Fail(target, "replaced");
    temporary.clear();
    FlushDirectoryOf(target);
}
