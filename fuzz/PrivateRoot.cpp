#include "fuzz/PrivateRoot.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include "fuzz/Fuzz.h"

namespace {

// The mount point of the private root. It hides the files below it from this process.
constexpr char const* place = "/var/opt";

int oldRoot = -1;
int newRoot = -1;
int workingDirectory = -1;

[[noreturn]] void GiveUp(char const* step) {
    std::fprintf(stderr,
                 "fuzz: no private root directory: %s: %s; run with permission to create "
                 "namespaces\n",
                 step, std::strerror(errno));
    char const* const ci = std::getenv("CI");
    std::_Exit(ci != nullptr && *ci != '\0' ? 1 : 77);
}

int Open(char const* path) {
    int const descriptor = open(path, O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        GiveUp(path);
    return descriptor;
}

void WriteControlFile(char const* path, std::string const& text) {
    int const file = open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0 || write(file, text.data(), text.size()) < 0)
        GiveUp(path);
    close(file);
}

// For processes without root privileges: maps this user to root of a user namespace.
void EnterUserNamespace() {
    std::string const user = "0 " + std::to_string(geteuid()) + " 1";
    std::string const group = "0 " + std::to_string(getegid()) + " 1";
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
        GiveUp("namespaces");
    WriteControlFile("/proc/self/setgroups", "deny");
    WriteControlFile("/proc/self/uid_map", user);
    WriteControlFile("/proc/self/gid_map", group);
}

void MountRoot() {
    if (unshare(CLONE_NEWNS) != 0)
        EnterUserNamespace();
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        GiveUp("private propagation");
    if (mount("tmpfs", place, "tmpfs", MS_NOSUID | MS_NODEV, "mode=0755") != 0)
        GiveUp(place);
}

void ChangeRoot(int root) {
    if (fchdir(root) != 0 || chroot(".") != 0 || fchdir(workingDirectory) != 0)
        GiveUp("chroot");
}

} // namespace

// Called before libFuzzer starts threads: a multithreaded process cannot create a user namespace.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    workingDirectory = Open(".");
    MountRoot();
    oldRoot = Open("/");
    newRoot = Open(place);
    return 0;
}

namespace Fuzz {

PrivateRoot::PrivateRoot() { ChangeRoot(newRoot); }

PrivateRoot::~PrivateRoot() { ChangeRoot(oldRoot); }

void WriteFile(std::string const& path, std::string_view content) {
    std::ofstream stream(path, std::ios::binary);
    stream << content << std::flush;
    Require(stream.good(), "a file is written");
}

std::string ReadFile(std::string const& path) {
    std::ifstream stream(path, std::ios::binary);
    Require(stream.good(), "a file exists");
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

} // namespace Fuzz
