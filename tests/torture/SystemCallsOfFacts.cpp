// What is asked and changed of an item; the lock, and what asks for the agent.
#include "tests/torture/SystemCallsSteps.h"

#include <cerrno>
#include <filesystem>

#include <unistd.h>

#include "compliance/InterProcessLock.h"
#include "compliance/ProcessNames.h"
#include "files/FileItem.h"
#include "files/FileLocation.h"
#include "files/FileRetry.h"
#include "files/FileTrees.h"

namespace SystemCallsSteps {

std::vector<Operation> Items() {
    Outcome const times = Maps(Mapper::times, "from");
    return {
        {"FileItem",
         MakeFile,
         [](std::string const& place) {
             FileItem const item(From(place));
             return none;
         },
         "; from",
         {{"lstat", freeFrom}}},
        {"FileItemThroughALink",
         MakeLink,
         [](std::string const& place) {
             FileItem const item(At(place, "link"));
             return none;
         },
         "; from link",
         {{"lstat", Maps(Mapper::freeStanding, "link")},
          {"stat", Maps(Mapper::freeStanding, "link")}}},
        {"Checksum", MakeEmptyFile,
         [](std::string const& place) { return std::to_string(FileItem(From(place)).Checksum()); },
         // The complement of the start value, which is all ones.
         "0; from",
         Steps{{"lstat", freeFrom}} + Opened(Mapper::readingPath, "from") +
             Measured("from", endOfLoop, endOfLoop) + Measured("from", GoesOn(), GoesOn()) +
             closedUnheard},
        {"SetModificationTime",
         MakeFile,
         [](std::string const& place) {
             FileItem(From(place)).SetModificationTime(Instant(0));
             return none;
         },
         "; from",
         {{"lstat", freeFrom}, {"utimes", times}}},
        {"SetModificationTimeWithRetry",
         MakeFile,
         [](std::string const& place) {
             FileItem(From(place)).SetModificationTimeWithRetry(Instant(0), FileRetryLog());
             return none;
         },
         "; from",
         {{"lstat", freeFrom}, Step("utimes", GoesOn()).Lasting(times)}},
        {"SetFileReadOnly",
         MakeFile,
         [](std::string const& place) {
             SetFileReadOnly(From(place), true);
             return none;
         },
         "; from",
         {{"stat", freeFrom}, {"chmod", freeFrom}}},
        {"IsReadOnly",
         MakeFile,
         [](std::string const& place) {
             return std::string(From(place).IsReadOnly() ? "read-only" : "writable");
         },
         "writable; from",
         {Step("access", freeFrom)
              .For(EACCES, Gives("read-only; from"))
              .For(EROFS, Gives("read-only; from"))}},
        {"CalculateFreeSpace",
         MakeNothing,
         [](std::string const& place) {
             return std::string(CalculateFreeSpace(MakeFileLocation(place.c_str())) < 0 ? "none"
                                                                                        : "some");
         },
         "some;",
         {{"statvfs", Gives("none;")}}},
    };
}

// The lock, and what asks for the agent.

std::vector<Operation> LockAndProbe() {
    std::string const name = program_invocation_short_name;
    // As the kernel cuts the name of a command.
    std::string const command = name.substr(0, 15);
    return {
        {"InterProcessLock",
         MakeNothing,
         [](std::string const& place) {
             InterProcessLock lock((place + "/lock").c_str());
             return std::string(lock.Lock() ? "locked" : "refused");
         },
         "locked; lock",
         {{"open", ThrowsOutsideTheTree("InterProcessLockCreateError")},
          {"setfd", GoesOn()},
          {"setlk", Gives("refused; lock")},
          {"setlk", GoesOn()},
          {"close", GoesOn()}}},
        {"ProcessIdToPath",
         MakeNothing,
         [](std::string const&) {
             char path[4096];
             bool const known =
                 ProcessIdToPath(static_cast<unsigned int>(getpid()), path, sizeof path);
             return std::string(known && fs::path(path).filename() ==
                                             std::string(program_invocation_short_name)
                                    ? "known"
                                    : "unknown");
         },
         "known;",
         {{"readlink", Gives("unknown;")}}},
        {"ProcessIdToName",
         MakeNothing,
         [](std::string const&) {
             char text[1024] = "";
             long long parent = 0;
             long long real = 0;
             long long effective = 0;
             bool const known = ProcessIdToName(static_cast<unsigned int>(getpid()), text,
                                                sizeof text, parent, real, effective);
             bool const numbers = parent == getppid() && real == getuid() && effective == geteuid();
             bool const noNumbers = parent == -1 && real == -1 && effective == -1;
             return (known ? text : "unknown") + std::string(numbers     ? ", numbers"
                                                             : noNumbers ? ""
                                                                         : ", others");
         },
         name + ", numbers;",
         // By the link, without it by the command, which takes three calls more.
         {{"readlink", Gives(command + ", numbers;")},
          {"open", Gives(name + ";")},
          {"read", Gives(name + ";")},
          {"close", GoesOn()}}},
    };
}

} // namespace SystemCallsSteps
