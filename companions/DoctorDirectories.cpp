#include "companions/Doctor.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <unistd.h>

#include "companions/DoctorFiles.h"
#include "compliance/AgentPaths.h"

namespace {

constexpr char giveDirectory[] = "install or start the agent, which creates its directories";

// Checks that a directory of the exchange exists and is reachable.
Finding CheckExistence(char const* check, FileFacts const& directory) {
    if (directory.IsMissing())
        return {check, Verdict::problem, "directory-missing", directory.Path() + " is missing",
                giveDirectory};
    if (directory.IsUnknown())
        return {check, Verdict::problem, "directory-unreachable",
                directory.Path() + " cannot be examined: " + directory.Reason(),
                directory.Remedy()};
    if (!directory.IsDirectory())
        return {check, Verdict::problem, "not-a-directory",
                directory.Path() + " is not a directory",
                "remove or rename it, and start the agent"};
    return {check};
}

Finding CheckModes(char const* check, char const* path) {
    FileFacts const directory(path);
    if (!directory.IsDirectory())
        return {check, Verdict::skipped, "",
                std::string(path) + " is missing, not accessible or not a directory"};
    constexpr char closeToOthers[] =
        "remove the write permission of other users (chmod o-w), and give it to a group";
    if (directory.IsOpenToOthers())
        return {check, Verdict::problem, "unsafe-mode",
                std::string(path) + " allows every user to replace documents of others: " +
                    directory.OwnerAndMode(),
                closeToOthers};
    if ((directory.Facts().st_mode & S_IWOTH) != 0)
        return {check, Verdict::note, "open-to-others",
                std::string(path) +
                    " allows every user to create a missing document: " + directory.OwnerAndMode(),
                closeToOthers};
    return {check, Verdict::ok, "", std::string(path) + " is " + directory.OwnerAndMode()};
}

} // namespace

Finding CheckRequestDirectory() {
    FileFacts const directory(AgentPaths::requestDirectory);
    Finding finding = CheckExistence("request-directory", directory);
    if (finding.verdict == Verdict::problem)
        return finding;
    int const refusal = directory.Refusal(W_OK | X_OK);
    if (refusal == EROFS)
        return DescribeReadOnly("request-directory", directory);
    if (refusal != 0)
        return {finding.check, Verdict::problem, "no-write-permission",
                "this user cannot create files in " + directory.Path() + ": " +
                    directory.OwnerAndMode(),
                "run as a user with write and search permission, or give them to a group of this "
                "user"};
    finding.message = directory.Path() + " is writable";
    return finding;
}

Finding CheckResponseDirectory() {
    FileFacts const directory(AgentPaths::responseDirectory);
    Finding finding = CheckExistence("response-directory", directory);
    if (finding.verdict == Verdict::problem)
        return finding;
    if (directory.Refusal(X_OK) != 0)
        return {finding.check, Verdict::problem, "no-read-permission",
                "this user has no search permission for " + directory.Path() + ": " +
                    directory.OwnerAndMode(),
                "run as a user with search permission, or give it to a group of this user"};
    finding.message = directory.Path() + " is accessible";
    return finding;
}

Finding CheckModesOfRequestDirectory() {
    return CheckModes("request-directory-mode", AgentPaths::requestDirectory);
}

Finding CheckModesOfResponseDirectory() {
    return CheckModes("response-directory-mode", AgentPaths::responseDirectory);
}

bool HasRoom(struct statvfs const& fileSystem, bool isRoot) {
    fsblkcnt_t const blocks = isRoot ? fileSystem.f_bfree : fileSystem.f_bavail;
    // The totals are 0 if the file system does not limit the number of blocks or inodes.
    bool const hasBlock = fileSystem.f_blocks == 0 || blocks != 0;
    return hasBlock && (fileSystem.f_files == 0 || fileSystem.f_ffree != 0);
}

Finding CheckSpace() {
    struct statvfs facts {};
    if (statvfs(AgentPaths::requestDirectory, &facts) != 0)
        return {"space", Verdict::skipped, "",
                std::string("the file system of ") + AgentPaths::requestDirectory +
                    " cannot be examined: " + std::strerror(errno)};
    if (!HasRoom(facts, geteuid() == 0))
        return {"space", Verdict::problem, "disk-full",
                std::string("the file system of ") + AgentPaths::requestDirectory + " is full",
                "free space and inodes on that file system"};
    return {"space", Verdict::ok, "",
            std::string("the file system of ") + AgentPaths::requestDirectory + " has free space"};
}

Finding DescribeReadOnly(char const* check, FileFacts const& entry) {
    return {check, Verdict::problem, "read-only-file-system",
            entry.Path() + " is on a file system that is mounted read-only",
            "remount the file system read-write"};
}

Finding DescribeUnexaminable(char const* check, FileFacts const& entry) {
    std::string const message = entry.Path() + " cannot be examined: " + entry.Reason();
    FileFacts const directory(std::filesystem::path(entry.Path()).parent_path().c_str());
    if (directory.Refusal(X_OK) != 0)
        return {check, Verdict::skipped, "", message};
    return {check, Verdict::problem, "entry-unreachable", message, entry.Remedy()};
}
