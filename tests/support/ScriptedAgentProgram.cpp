// The program behind ScriptedAgent: follows the script on its standard input.
//
// One step a line: a word and its operands, paths and bytes in hexadecimal digits. On standard
// output one line for each request seen, one for each file published, one for each step done, and
// one for the step that fails. SIGTERM ends it behind the step under way, or in the middle of a
// wait.
//
// Its only argument is the path of the request. It stands alone on purpose: nothing of the product
// and nothing of the other test support is in it.
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iostream>
#include <sstream>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Nanoseconds = long long;

// Tells one request from the next, also if both have the same bytes.
struct Identity {
    ino_t number = 0;
    Nanoseconds changed = 0;

    bool operator==(Identity const&) const = default;
};

volatile std::sig_atomic_t isStopped = 0;
std::string requestPath;
Identity lastRequest;
Nanoseconds lastSeen = 0;

[[noreturn]] void Fail(std::string const& what) {
    std::printf("failed %s: %s\n", what.c_str(), std::strerror(errno));
    std::fflush(stdout);
    std::exit(1);
}

Nanoseconds Now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

// In short pieces, so that a signal that comes just before a sleep is soon seen.
void SleepUntil(Nanoseconds when) {
    constexpr Nanoseconds piece = 20'000'000;
    for (Nanoseconds now = Now(); now < when && !isStopped; now = Now()) {
        Nanoseconds const next = std::min(when, now + piece);
        timespec const deadline{next / 1'000'000'000, next % 1'000'000'000};
        clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr);
    }
}

// All zero if nothing stands there.
Identity IdentityOfRequest() {
    struct stat facts {};
    if (lstat(requestPath.c_str(), &facts) != 0)
        return {};
    return {facts.st_ino, facts.st_ctim.tv_sec * 1'000'000'000LL + facts.st_ctim.tv_nsec};
}

int Digit(char digit) { return digit <= '9' ? digit - '0' : digit - 'a' + 10; }

std::string Operand(std::istream& line) {
    std::string text;
    std::string bytes;
    line >> text;
    for (size_t i = 0; i + 1 < text.size(); i += 2)
        bytes += static_cast<char>(Digit(text[i]) * 16 + Digit(text[i + 1]));
    return bytes;
}

std::string ReadAll(int file) {
    std::string bytes;
    char chunk[65536];
    for (ssize_t got = 0; (got = read(file, chunk, sizeof chunk)) > 0;)
        bytes.append(chunk, static_cast<size_t>(got));
    return bytes;
}

std::string Hexadecimal(std::string const& bytes) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text(bytes.empty() ? "-" : "");
    for (char const byte : bytes) {
        text += digits[static_cast<unsigned char>(byte) >> 4];
        text += digits[static_cast<unsigned char>(byte) & 15];
    }
    return text;
}

void TellRequest(Nanoseconds when, std::string const& bytes) {
    std::printf("request %lld %s\n", when, Hexadecimal(bytes).c_str());
}

void TellWritten(std::string const& path, std::string const& bytes, struct stat const& facts) {
    Nanoseconds const modified = facts.st_mtim.tv_sec * 1'000'000'000LL + facts.st_mtim.tv_nsec;
    std::printf("wrote %s %s %llu %lld\n", Hexadecimal(path).c_str(), Hexadecimal(bytes).c_str(),
                static_cast<unsigned long long>(facts.st_ino), modified);
}

void Await(std::istream&) {
    Identity now;
    while ((now = IdentityOfRequest()) == Identity() || now == lastRequest) {
        if (isStopped)
            std::exit(0);
        SleepUntil(Now() + 1'000'000);
    }
    lastSeen = Now();
    lastRequest = now;
    int const file = open(requestPath.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0)
        Fail("opening the request");
    TellRequest(lastSeen, ReadAll(file));
    close(file);
}

void PauseUntil(std::istream& line) {
    long long milliseconds = 0;
    line >> milliseconds;
    SleepUntil(lastSeen + milliseconds * 1'000'000);
}

void NoteOwn(std::string const& path) {
    if (path == requestPath)
        lastRequest = IdentityOfRequest();
}

void Write(std::istream& line) {
    std::string const path = Operand(line);
    std::string const bytes = Operand(line);
    std::string const other = path + ".agent";
    int const file = open(other.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    struct stat facts {};
    if (file < 0 || write(file, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()) ||
        fstat(file, &facts) != 0 || close(file) != 0 || rename(other.c_str(), path.c_str()) != 0)
        Fail("writing " + path);
    NoteOwn(path);
    TellWritten(path, bytes, facts);
}

void Remove(std::istream& line) {
    std::string const path = Operand(line);
    if (unlink(path.c_str()) != 0)
        Fail("removing " + path);
}

void MakeDirectory(std::istream& line) {
    std::string const path = Operand(line);
    if (mkdir(path.c_str(), 0777) != 0)
        Fail("creating " + path);
    NoteOwn(path);
}

void MakeLink(std::istream& line) {
    std::string const target = Operand(line);
    std::string const path = Operand(line);
    if (symlink(target.c_str(), path.c_str()) != 0)
        Fail("linking " + path);
    NoteOwn(path);
}

void Move(std::istream& line) {
    std::string const from = Operand(line);
    std::string const to = Operand(line);
    if (rename(from.c_str(), to.c_str()) != 0)
        Fail("moving " + from);
    NoteOwn(to);
}

struct Step {
    char const* word;
    void (*run)(std::istream&);
};

constexpr Step steps[] = {
    {"await", Await},         {"until", PauseUntil}, {"write", Write}, {"remove", Remove},
    {"mkdir", MakeDirectory}, {"link", MakeLink},    {"move", Move},
};

void Stop(int) { isStopped = 1; }

void RunStep(std::string const& text) {
    std::istringstream line(text);
    std::string word;
    line >> word;
    for (Step const& step : steps) {
        if (word == step.word) {
            step.run(line);
            std::printf("done\n");
            std::fflush(stdout);
            return;
        }
    }
    errno = EINVAL;
    Fail("step " + word);
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2)
        return 2;
    std::signal(SIGTERM, Stop);
    requestPath = arguments[1];
    for (std::string line; !isStopped && std::getline(std::cin, line);)
        RunStep(line);
    // From here on the signal may simply end it.
    std::signal(SIGTERM, SIG_DFL);
    while (!isStopped)
        pause();
}
