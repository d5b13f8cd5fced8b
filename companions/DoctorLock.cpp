#include "companions/Doctor.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "companions/DoctorFiles.h"
#include "compliance/AgentPaths.h"
#include "compliance/ProcessNames.h"

namespace {

constexpr char check[] = "lock";

std::string NameOf(pid_t process) {
    std::array<char, processNameCapacity> text{};
    long long ignored = 0;
    auto const id = static_cast<unsigned int>(process);
    if (ProcessIdToPath(id, text.data(), processNameCapacity) ||
        ProcessIdToName(id, text.data(), processNameCapacity, ignored, ignored, ignored))
        return std::string(" (") + text.data() + ")";
    return "";
}

Finding DescribeHolder(pid_t holder) {
    if (holder > 0)
        return {check,
                Verdict::problem,
                "lock-held",
                "the lock is held by process " + std::to_string(holder) + NameOf(holder),
                "wait until that evaluation has finished, or terminate that process",
                holder};
    if (holder == 0)
        return {check, Verdict::problem, "lock-held-in-other-namespace",
                "the lock is held by a process in another PID namespace (such as a container), "
                "which is not visible here",
                "look for the process on the host and in the containers that share the directory"};
    return {check, Verdict::problem, "lock-held-by-open-file",
            "the lock is held through an open file description, for which the system reports no "
            "process",
            "list the processes that have the lock file open (fuser), and look for a program that "
            "makes no evaluation"};
}

// Checks that the exchange could open the lock file for writing.
Finding CheckFile(FileFacts const& file) {
    FileFacts const directory(AgentPaths::requestDirectory);
    if (file.IsLink())
        return {check, Verdict::problem, "lock-link",
                file.Path() +
                    " is a symbolic link: evaluations lock its target, and create it if it is "
                    "missing",
                "remove the link, and check which users can write to its directory"};
    if (file.IsUnexaminable())
        return DescribeUnexaminable(check, file);
    if (file.IsAbsent() && !directory.IsDirectory())
        return {check, Verdict::skipped, "", directory.Path() + " is missing or not a directory"};
    if (file.IsAbsent())
        return {check, Verdict::ok, "", "there is no lock file yet, so the lock is free"};
    if (!file.IsRegularFile())
        return {check, Verdict::problem, "lock-not-a-file", file.Path() + " is not a regular file",
                "remove or rename it"};
    int const refusal = file.Refusal(W_OK);
    if (refusal == EROFS)
        return DescribeReadOnly(check, file);
    if (refusal != 0)
        return {check, Verdict::problem, "lock-not-writable",
                "this user cannot write to " + file.Path() + ": " + file.OwnerAndMode(),
                "run as a user with write permission, or give it to a group of this user "
                "(chmod g+w)"};
    if (IsProtectedByStickyDirectory(file, directory))
        return {check, Verdict::problem, "lock-protected",
                file.Path() +
                    " belongs to another user in a sticky directory, so the kernel refuses to "
                    "open it (fs.protected_regular): " +
                    file.OwnerAndMode(),
                "make the owner of the directory the owner of the lock file (chown)"};
    return {check, Verdict::ok, "", "the lock is free"};
}

// Describes a lock file that passes the other checks, but whose lock AskForLock could not examine.
Finding DescribeUnknown(int error) {
    if (error == 0 || error == EACCES)
        return {check, Verdict::problem, "lock-not-readable",
                "this user cannot read the lock file, which evaluations open for reading and "
                "writing; it is unknown whether the lock is held",
                "run as a user with read permission, or give it to a group of this user "
                "(chmod g+r)"};
    return {
        check, Verdict::problem, "lock-unknown",
        std::string("it is unknown whether the lock is held: the system cannot examine the "
                    "lock of ") +
            AgentPaths::lockFile + ": " + std::strerror(error),
        "check that the file system supports record locks (fcntl), and the limit of open files"};
}

} // namespace

LockState AskForLock() {
    FileFacts const facts(AgentPaths::lockFile);
    if (facts.IsMissing())
        return {LockState::none};
    if (!facts.IsRegularFile())
        return {LockState::unknown};
    // O_NONBLOCK: open(2) would block if a FIFO had replaced the file.
    int const file = open(AgentPaths::lockFile, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
        return {LockState::unknown, 0, errno};
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    int const error = fcntl(file, F_GETLK, &lock) == 0 ? 0 : errno;
    close(file);
    if (error != 0)
        return {LockState::unknown, 0, error};
    return lock.l_type == F_UNLCK ? LockState{LockState::none}
                                  : LockState{LockState::held, lock.l_pid};
}

Finding CheckLock(LockState const& state) {
    if (state.what == LockState::held)
        return DescribeHolder(state.holder);
    Finding finding = CheckFile(FileFacts(AgentPaths::lockFile));
    if (finding.verdict == Verdict::ok && state.what == LockState::unknown)
        return DescribeUnknown(state.error);
    return finding;
}
