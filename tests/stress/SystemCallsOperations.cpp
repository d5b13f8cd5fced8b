// Items, the lock, and the search for the agent.
#include "tests/stress/SystemCallsOperations.h"

#include <unistd.h>

#include "compliance/InterProcessLock.h"
#include "compliance/ProcessNames.h"
#include "files/FileItem.h"
#include "files/FileOperations.h"
#include "files/FileRetry.h"

std::vector<Operation> Items() {
    Outcome const times = Maps(Mapper::times, "from");
    Outcome const readOnly = Gives("read-only; from");
    return {
        Operation("FileItem", MakeFile, CC_CALLING(FileItem{from}), "; from",
                  {{"lstat", {freeFrom}}}),
        Operation("FileItemThroughALink", MakeFile, Calling([](auto& from, auto& to) {
                      std::filesystem::create_symlink(from.Text(), to.Text());
                      FileItem{to};
                  }),
                  "; from to", {{"lstat", {freeTo}}, {"stat", {freeTo}}}),
        // The complement of the initial value, which is all ones.
        Operation("Checksum", MakeEmptyFile, CC_CALLING(std::to_string(FileItem(from).Checksum())),
                  "0; from",
                  CallFailures{{"lstat", {freeFrom}}} + Opened(Mapper::readingPath) +
                      Sought({readingFrom}, {endOfLoop, goesOn})),
        Operation("SetModificationTime", MakeFile,
                  CC_CALLING(FileItem(from).SetModificationTime(Instant(0))), "; from",
                  {{"lstat", {freeFrom}}, {"utimes", {times}}}),
        Operation(
            "SetModificationTimeWithRetry", MakeFile,
            CC_CALLING(FileItem(from).SetModificationTimeWithRetry(Instant(0), FileRetryLog())),
            "; from", {{"lstat", {freeFrom}}, {"utimes", {goesOn}, {times}}}),
        Operation("SetFileReadOnly", MakeFile, CC_CALLING(SetFileReadOnly(from, true)), "; from",
                  {{"stat", {freeFrom}}, {"chmod", {freeFrom}}}),
        Operation("IsReadOnly", MakeFile,
                  CC_CALLING(std::string(from.IsReadOnly() ? "read-only" : "writable")),
                  "writable; from",
                  {{"access", {freeFrom}},
                   {"access", {readOnly}, {}, EACCES},
                   {"access", {readOnly}, {}, EROFS}}),
        Operation("CalculateFreeSpace", MakeFile,
                  CC_CALLING(std::string(CalculateFreeSpace(from) < 0 ? "none" : "some")),
                  "some; from", {{"statvfs", {Gives("none; from")}}}),
    };
}

namespace {

std::string PathOfThisProcess() {
    char path[4096];
    bool const known = ProcessIdToPath(static_cast<unsigned int>(getpid()), path, sizeof path);
    return known && std::filesystem::path(path).filename() == program_invocation_short_name
               ? "known"
               : "unknown";
}

std::string NameOfThisProcess() {
    char text[1024] = "";
    long long parent = 0;
    long long real = 0;
    long long effective = 0;
    bool const known = ProcessIdToName(static_cast<unsigned int>(getpid()), text, sizeof text,
                                       parent, real, effective);
    bool const numbers = parent == getppid() && real == getuid() && effective == geteuid();
    bool const noNumbers = parent == -1 && real == -1 && effective == -1;
    return (known ? text : "unknown") + std::string(numbers     ? ", numbers"
                                                    : noNumbers ? ""
                                                                : ", others");
}

} // namespace

std::vector<Operation> LockAndAgentSearch() {
    std::string const name = program_invocation_short_name;
    // Truncated as the kernel truncates the name of a command.
    std::string const command = name.substr(0, 15);
    return {
        Operation("InterProcessLock", MakeNothing, Calling([](auto& from, auto&) {
                      InterProcessLock lock(from.Text());
                      return std::string(lock.Lock() ? "locked" : "refused");
                  }),
                  "locked; from",
                  {{"open", {Throws("InterProcessLockCreateError")}},
                   {"setfd", {goesOn}},
                   {"setlk WRLCK", {Gives("refused; from")}},
                   {"setlk UNLCK", {goesOn}},
                   {"close", {goesOn}}}),
        Operation("ProcessIdToPath", MakeNothing, CC_CALLING(PathOfThisProcess()), "known;",
                  {{"readlink", {Gives("unknown;")}}}),
        // By the link; without it by the command name, which takes three more calls.
        Operation("ProcessIdToName", MakeNothing, CC_CALLING(NameOfThisProcess()),
                  name + ", numbers;",
                  {{"readlink", {Gives(command + ", numbers;")}},
                   {"open", {Gives(name + ";")}},
                   {"read", {Gives(name + ";")}},
                   {"close", {goesOn}}}),
    };
}
