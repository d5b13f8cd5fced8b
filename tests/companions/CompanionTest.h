// The common includes and helpers of the tests of the companions.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <ostream>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "tests/files/Files.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/support/TemporaryDirectory.h"

namespace fs = std::filesystem;
using Json = nlohmann::json;
using Texts = std::vector<std::string>;
using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

// Returns the message of the exception that the body throws, or "accepted".
template <typename Error, typename Body>
std::string MessageOf(Body const& body) {
    try {
        body();
    } catch (Error const& error) {
        return error.what();
    }
    return "accepted";
}

// Calls a function that takes the arguments of main.
template <typename Parser>
auto ParseLine(Parser const& parse, Texts const& arguments) {
    std::vector<char const*> pointers{"program"};
    for (std::string const& argument : arguments)
        pointers.push_back(argument.c_str());
    return parse(static_cast<int>(pointers.size()), pointers.data());
}

inline void ExpectExit(int status, std::string const& errors, ProgramResult const& result) {
    EXPECT_EQ(ExitStatus::Exited(status), result.status);
    EXPECT_EQ(errors, result.errors);
}

// Runs a command of the shell.
inline ProgramResult RunShell(std::string const& command) {
    return RunProgram({"/bin/sh", "-c", command});
}

// A pipe whose ends are closed on exec.
class Pipe {
public:
    Pipe() {
        if (pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
    }
    ~Pipe() {
        CloseReader();
        CloseWriter();
    }
    Pipe(Pipe const&) = delete;
    Pipe& operator=(Pipe const&) = delete;

    int reader() const { return ends[0]; }
    int writer() const { return ends[1]; }
    void CloseReader() { close(std::exchange(ends[0], -1)); }
    void CloseWriter() { close(std::exchange(ends[1], -1)); }

private:
    int ends[2] = {-1, -1};
};

// Parses JSON with a document on each line.
inline std::vector<Json> ParseLines(std::string const& text) {
    std::istringstream lines(text);
    std::vector<Json> documents;
    for (std::string line; std::getline(lines, line);)
        documents.push_back(Json::parse(line));
    return documents;
}

// Returns the number of entries of the directory.
inline std::size_t CountEntries(std::string const& directory) {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(directory), fs::directory_iterator()));
}

// Encodes any number as UTF-8, also if it is not a Unicode scalar value.
inline std::string EncodeUtf8(std::uint32_t value) {
    auto const byte = [](std::uint32_t bits) {
        return static_cast<char>(bits);
    };
    auto const more = [&](int shift) {
        return byte(0x80 | (value >> shift & 0x3F));
    };
    if (value < 0x80)
        return {byte(value)};
    if (value < 0x800)
        return {byte(0xC0 | value >> 6), more(0)};
    if (value < 0x10000)
        return {byte(0xE0 | value >> 12), more(6), more(0)};
    return {byte(0xF0 | value >> 18), more(12), more(6), more(0)};
}
