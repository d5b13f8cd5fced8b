// Runs whole programs as contenders, and measures their processor time.
#pragma once

#include <cerrno>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

struct EndedProgram {
    int status; // The exit status, or -1 if a signal ended the program.
    double processorSeconds;
};

// Runs a program of the PATH with its standard output redirected to /dev/null, and waits for it.
// Throws std::system_error if it cannot be started.
inline EndedProgram RunProgram(std::vector<char const*> command) {
    auto const check = [&](bool succeeded) {
        if (!succeeded)
            throw std::system_error(errno, std::generic_category(), command[0]);
    };
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    command.push_back(nullptr);
    pid_t child = -1;
    errno = posix_spawnp(&child, command[0], &actions, nullptr,
                         const_cast<char* const*>(command.data()), environ);
    posix_spawn_file_actions_destroy(&actions);
    check(errno == 0);
    int status = 0;
    rusage usage = {};
    check(wait4(child, &status, 0, &usage) == child);
    auto const seconds = [](timeval const& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
            seconds(usage.ru_utime) + seconds(usage.ru_stime)};
}
