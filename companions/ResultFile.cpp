#include "companions/ResultFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

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

// REQUIRES: stat(2) failed for the path, and errno has its error.
std::string ReasonAgainstNewFile(std::string const& path) {
    struct stat facts {};
    if (errno == ENAMETOOLONG)
        return "is too long";
    if (lstat(path.c_str(), &facts) == 0)
        return "is a symbolic link without a target";
    bool const isMissing = errno == ENOENT || errno == ENOTDIR;
    bool const hasDirectory = stat(DirectoryOf(path).c_str(), &facts) == 0 && !path.ends_with('/');
    return isMissing && !hasDirectory ? "is in no directory that exists" : "";
}

// The target of a symbolic link, or the path itself.
std::string ResolveTarget(std::string const& path) {
    std::string const reason = ReasonAgainstResultFile(path);
    if (!reason.empty())
        throw ResultFileError("'" + path + "' " + reason);
    struct stat facts {};
    if (lstat(path.c_str(), &facts) != 0 || !S_ISLNK(facts.st_mode))
        return path;
    std::unique_ptr<char, decltype(&std::free)> const target(realpath(path.c_str(), nullptr),
                                                             std::free);
    if (target == nullptr)
        Fail(path, "resolved");
    return target.get();
}

mode_t ModeOfNewFile() {
    mode_t const mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

// A rename is on the disk once its directory is.
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
    return S_ISREG(facts.st_mode) ? "" : "is no regular file";
}

ResultFile::ResultFile(std::string const& path, std::optional<mode_t> mode)
    : target(ResolveTarget(path)), temporary(target + ".XXXXXX") {
    descriptor = mkostemp(temporary.data(), O_CLOEXEC);
    if (descriptor < 0)
        Fail(target, "replaced");
    if (fchmod(descriptor, mode.value_or(ModeOfNewFile())) != 0 && mode) {
        int const reason = errno;
        close(descriptor);
        unlink(temporary.c_str());
        errno = reason;
        Fail(target, "given its mode");
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
