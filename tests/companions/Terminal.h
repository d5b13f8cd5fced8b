// A pseudo-terminal, and a regular file to compare with it.
#pragma once

#include <pty.h>
#include <sys/mman.h>
#include <termios.h>

#include "companions/Output.h"
#include "tests/companions/CompanionTest.h"

class Terminal {
public:
    Terminal() : plainFile(memfd_create("errors", MFD_CLOEXEC)) {
        if (openpty(&ownEnd, &programEnd, nullptr, nullptr, nullptr) != 0)
            throw std::runtime_error("cannot open a pseudo-terminal");
        fcntl(ownEnd, F_SETFD, FD_CLOEXEC);
        fcntl(programEnd, F_SETFD, FD_CLOEXEC);
        // Line feeds arrive as they were written.
        termios settings{};
        tcgetattr(programEnd, &settings);
        settings.c_oflag &= ~static_cast<tcflag_t>(OPOST);
        tcsetattr(programEnd, TCSANOW, &settings);
    }
    ~Terminal() {
        close(ownEnd);
        close(programEnd);
        close(plainFile);
    }
    Terminal(Terminal const&) = delete;
    Terminal& operator=(Terminal const&) = delete;

    // The file descriptor that a program uses as its terminal.
    int otherEnd() const { return programEnd; }
    int file() const { return plainFile; }

    // Hangs up: the other end has no terminal from then on.
    void HangUp() { close(std::exchange(ownEnd, -1)); }

    // Simulates typed keys: "\x03" is Ctrl-C.
    void Type(std::string const& keys) const {
        if (write(ownEnd, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size()))
            throw std::runtime_error("cannot write the keys to the terminal");
    }

    // Waits until a program has written to the terminal. Does not read the text.
    void AwaitText(std::chrono::milliseconds limit) const {
        pollfd waiting{ownEnd, POLLIN, 0};
        if (poll(&waiting, 1, static_cast<int>(limit.count())) != 1)
            throw std::runtime_error("the program wrote nothing to the terminal");
    }

    // Returns the text that was written to the terminal since the last call.
    std::string Read() const {
        std::string text;
        char buffer[4096];
        pollfd waiting{ownEnd, POLLIN, 0};
        while (poll(&waiting, 1, 0) == 1) {
            ssize_t const length = read(ownEnd, buffer, sizeof buffer);
            if (length <= 0)
                break;
            text.append(buffer, static_cast<std::size_t>(length));
        }
        return text;
    }

    std::string ReadFile() const {
        std::string text(static_cast<std::size_t>(lseek(plainFile, 0, SEEK_END)), '\0');
        ssize_t const length = pread(plainFile, text.data(), text.size(), 0);
        text.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
        return text;
    }

private:
    int ownEnd = -1;
    int programEnd = -1;
    int const plainFile;
};

// Returns the output of the body, which takes an Output, on a terminal of this width.
template <typename Body>
std::string TerminalOutputOf(Body const& body, unsigned short width = 80) {
    Terminal const screen;
    winsize const size{24, width, 0, 0};
    EXPECT_EQ(0, ioctl(screen.otherEnd(), TIOCSWINSZ, &size));
    Output output(screen.otherEnd());
    body(output);
    output.Flush();
    return screen.Read();
}

// Sets an environment variable during the lifetime of the object.
class EnvironmentVariable {
public:
    EnvironmentVariable(char const* theName, char const* value) : name(theName) {
        if (char const* const before = std::getenv(name))
            former = before;
        if (value != nullptr)
            setenv(name, value, 1);
        else
            unsetenv(name);
    }
    ~EnvironmentVariable() {
        if (former)
            setenv(name, former->c_str(), 1);
        else
            unsetenv(name);
    }
    EnvironmentVariable(EnvironmentVariable const&) = delete;
    EnvironmentVariable& operator=(EnvironmentVariable const&) = delete;

private:
    char const* const name;
    std::optional<std::string> former = {};
};
