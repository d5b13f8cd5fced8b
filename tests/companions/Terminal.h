// A terminal that nobody sits at: a pseudo-terminal, and a plain file to compare it with.
#pragma once

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/mman.h>
#include <termios.h>
#include <unistd.h>

class Terminal {
public:
    Terminal() : plainFile(memfd_create("errors", MFD_CLOEXEC)) {
        if (openpty(&ownEnd, &programEnd, nullptr, nullptr, nullptr) != 0)
            throw std::runtime_error("no pseudo-terminal is to be had");
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

    // The end that a program takes for its terminal.
    int otherEnd() const { return programEnd; }
    int file() const { return plainFile; }

    // What a user types: "\x03" is Ctrl-C.
    void Type(std::string const& keys) const {
        if (write(ownEnd, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size()))
            throw std::runtime_error("the keys can't be typed");
    }

    // Waits until something has been written to the terminal, and leaves it there.
    void AwaitText(std::chrono::milliseconds limit) const {
        pollfd waiting{ownEnd, POLLIN, 0};
        if (poll(&waiting, 1, static_cast<int>(limit.count())) != 1)
            throw std::runtime_error("nothing is written to the terminal");
    }

    // All that has been written to the terminal so far.
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

// An environment variable with another value as long as this object lives.
class EnvironmentVariable {
public:
    EnvironmentVariable(char const* theName, char const* value) : name(theName) {
        if (char const* const before = std::getenv(name))
            former = before;
        setenv(name, value, 1);
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
