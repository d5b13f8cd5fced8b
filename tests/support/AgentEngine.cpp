#include "tests/support/AgentEngine.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using Nanoseconds = AgentEngine::Nanoseconds;
using std::string_view;

// A NUL-terminated path with an optional suffix.
struct Path {
    explicit Path(string_view path, string_view suffix = "") {
        if (path.size() + suffix.size() >= sizeof text)
            std::abort();
        suffix.copy(text + path.copy(text, path.size()), suffix.size());
    }

    char text[4097] = {};
};

class Digits {
public:
    template <class Integer>
    explicit Digits(Integer number) : end(std::to_chars(text, text + sizeof text, number).ptr) {}
    operator string_view() const { return {text, static_cast<size_t>(end - text)}; }

private:
    char text[24];
    char const* const end;
};

long long Number(string_view digits) {
    long long number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number;
}

int Open(char const* path, int flags) {
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags | O_CLOEXEC, 0666));
}

bool WriteAll(int file, string_view bytes) {
    while (!bytes.empty()) {
        long const written = syscall(SYS_write, file, bytes.data(), bytes.size());
        if (written <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

// A file read into memory; empty if it cannot be read.
class FileContent {
public:
    explicit FileContent(char const* path) : file(Open(path, O_RDONLY | O_NONBLOCK)) {
        struct stat facts {};
        if (syscall(SYS_fstat, file, &facts) != 0 || !S_ISREG(facts.st_mode))
            return;
        capacity = static_cast<size_t>(facts.st_size) + 1;
        memory =
            reinterpret_cast<char*>(syscall(SYS_mmap, nullptr, capacity, PROT_READ | PROT_WRITE,
                                            MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        for (long got = 0; (got = syscall(SYS_read, file, memory + size, capacity - size - 1)) > 0;)
            size += static_cast<size_t>(got);
    }
    ~FileContent() {
        syscall(SYS_munmap, memory, capacity);
        syscall(SYS_close, file);
    }
    FileContent(FileContent const&) = delete;
    FileContent& operator=(FileContent const&) = delete;

    bool IsOpen() const { return file >= 0; }
    string_view bytes() const { return {memory, size}; }

private:
    int const file;
    char* memory = nullptr;
    size_t capacity = 0;
    size_t size = 0;
};

Nanoseconds TimeOf(timespec const& time) { return time.tv_sec * 1'000'000'000LL + time.tv_nsec; }

bool Stat(char const* path, struct stat& facts) {
    return syscall(SYS_newfstatat, AT_FDCWD, path, &facts, AT_SYMLINK_NOFOLLOW) == 0;
}

bool Remove(char const* path) { return syscall(SYS_unlink, path) == 0; }

bool Move(char const* from, char const* to) { return syscall(SYS_rename, from, to) == 0; }

// Removes any kind of entry, and with a directory its entry "inside". Succeeds if there is no
// entry.
bool Clear(string_view name) {
    Path const path(name);
    Path const inside(name, "/inside");
    if (Remove(path.text) || errno == ENOENT)
        return true;
    Remove(inside.text) || syscall(SYS_rmdir, inside.text) == 0;
    return syscall(SYS_rmdir, path.text) == 0;
}

bool MakeSocket(string_view path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    long const made = syscall(SYS_socket, AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    bool const bound = syscall(SYS_bind, made, &address, sizeof address) == 0;
    syscall(SYS_close, made);
    return bound;
}

// A link replaces the device where the process may not create one.
bool MakeNullDevice(char const* path) {
    return syscall(SYS_mknod, path, S_IFCHR | 0666, makedev(1, 3)) == 0 ||
           syscall(SYS_symlink, "/dev/null", path) == 0;
}

bool Make(string_view kind, char const* path) {
    if (kind == "directory")
        return syscall(SYS_mkdir, path, 0777) == 0;
    if (kind == "socket")
        return MakeSocket(path);
    if (kind == "fifo")
        return syscall(SYS_mknod, path, S_IFIFO | 0666, 0) == 0;
    return kind == "device" && MakeNullDevice(path);
}

// Removes the operand at the start of the text. Returns false if there is none.
bool TakeOperand(string_view& text, string_view& operand) {
    size_t const colon = text.find(':');
    if (colon == string_view::npos)
        return false;
    auto const size = static_cast<size_t>(Number(text.substr(0, colon)));
    if (text.size() - colon - 1 <= size)
        return false;
    operand = text.substr(colon + 1, size);
    text.remove_prefix(colon + 1 + size);
    return true;
}

} // namespace

AgentEngine::Step AgentEngine::TakeStep(string_view& text) {
    string_view rest = text;
    Step step;
    string_view const word = rest.substr(0, rest.find_first_of(" \n"));
    rest.remove_prefix(word.size());
    while (rest.starts_with(' ') && step.count < maxOperands) {
        rest.remove_prefix(1);
        if (!TakeOperand(rest, step.operands[step.count++]))
            return {};
    }
    if (!rest.starts_with('\n'))
        return {};
    rest.remove_prefix(1);
    text = rest;
    step.word = word;
    return step;
}

void AgentEngine::Advance(Nanoseconds now) {
    time = now;
    while (!rest.empty()) {
        string_view following = rest;
        Step const step = TakeStep(following);
        if (!IsDue(step))
            return;
        Finish(step, Run(step));
        if (step.word != "serve")
            rest = following;
    }
}

// Returns an identity of zeros if there is no entry.
AgentEngine::Identity AgentEngine::IdentityOfRequest() {
    struct stat facts {};
    return Stat(request, facts) ? Identity{facts.st_ino, TimeOf(facts.st_ctim)} : Identity();
}

bool AgentEngine::IsDue(Step const& step) const {
    if (step.word == "until")
        return time >= lastSeen + Number(step.operands[0]);
    if (step.word == "at")
        return time >= Number(step.operands[0]);
    if (step.word != "await" && step.word != "serve")
        return true;
    Identity const now = IdentityOfRequest();
    return now != Identity() && now != lastRequest;
}

bool AgentEngine::Run(Step const& step) {
    string_view const word = step.word;
    if (word == "until" || word == "at")
        return true;
    if (word == "await")
        return Await();
    if (word == "serve")
        return Await() && Serve(step);
    Path const path(step.operands[0]);
    bool made = false;
    if (word == "remove")
        return Remove(path.text);
    if (word == "clear")
        return Clear(step.operands[0]);
    if (word == "write")
        made = Publish(step.operands[0], step.operands[1]);
    if (word == "make")
        made = Make(step.operands[1], path.text);
    if (word == "link")
        made = syscall(SYS_symlink, Path(step.operands[1]).text, path.text) == 0;
    if (word == "move")
        made = Move(Path(step.operands[1]).text, path.text);
    // A request that the agent itself published is not awaited.
    if (made && step.operands[0] == request)
        lastRequest = IdentityOfRequest();
    return made;
}

bool AgentEngine::Await() {
    lastSeen = time;
    lastRequest = IdentityOfRequest();
    FileContent const content(request);
    if (content.IsOpen())
        Record({"request", Digits(time), content.bytes()});
    return content.IsOpen();
}

// The operands are the responses to Open, to Close, and to each Progress request in turn.
bool AgentEngine::Serve(Step const& step) {
    FileContent const content(request);
    string_view answer = step.operands[0];
    if (content.bytes().find("<RequestType>Close<") != string_view::npos)
        answer = step.operands[1];
    else if (content.bytes().find("<RequestType>Open<") == string_view::npos)
        answer = step.operands[2 + polls++ % (step.count - 2)];
    return Publish(response, answer) && Remove(request);
}

bool AgentEngine::Publish(string_view path, string_view bytes) {
    Path const other(path, ".agent");
    int const file = Open(other.text, O_WRONLY | O_CREAT | O_TRUNC);
    struct stat facts {};
    bool const written =
        file >= 0 && WriteAll(file, bytes) && syscall(SYS_fstat, file, &facts) == 0;
    syscall(SYS_close, file);
    if (!written || !Move(other.text, Path(path).text))
        return false;
    Record({"wrote", path, bytes, Digits(facts.st_ino), Digits(TimeOf(facts.st_mtim))});
    return true;
}

void AgentEngine::Finish(Step const& step, bool succeeded) {
    int const error = errno;
    if (succeeded)
        return Record({"done"});
    ++failures;
    Record({"failed", step.word, step.operands[0], Digits(error)});
}

// Writes a line of the record. The first word is written as it is, the others as operands.
void AgentEngine::Record(std::initializer_list<string_view> words) const {
    if (recordFile < 0)
        return;
    for (string_view const* word = words.begin(); word != words.end(); ++word) {
        if (word != words.begin()) {
            WriteAll(recordFile, " ");
            WriteAll(recordFile, Digits(static_cast<long long>(word->size())));
            WriteAll(recordFile, ":");
        }
        WriteAll(recordFile, *word);
    }
    WriteAll(recordFile, "\n");
}
