// Simulates processes as files, for a sandbox with an empty /proc.
#pragma once

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "tests/support/Sandbox.h"

inline Sandbox::Options const emptyProc{.proc = Sandbox::Proc::empty};
inline Sandbox::Options const noProc{.proc = Sandbox::Proc::none};

// The contents of the files. A file without a value does not exist.
struct FakeProcess {
    // The target of the link; it need not exist.
    std::optional<std::string> exe = {};
    std::optional<std::string> stat = {};
    std::optional<std::string> status = {};
};

// Creates "/proc/<place>", and replaces an existing directory of that name.
inline void MakeFakeProcess(std::string const& place, FakeProcess const& process) {
    std::string const path = "/proc/" + place + '/';
    std::filesystem::remove_all("/proc/" + place);
    std::filesystem::create_directories(path);
    if (process.exe)
        std::filesystem::create_symlink(*process.exe, path + "exe");
    if (process.stat)
        std::ofstream(path + "stat", std::ios::binary) << *process.stat;
    if (process.status)
        std::ofstream(path + "status", std::ios::binary) << *process.status;
}
