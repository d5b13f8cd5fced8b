// What the tests of the exchange share: its machine, raw access to its files, and random texts.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "tests/support/PrivateMachine.h"

namespace ExchangeFiles {

inline char const requestDirectory[] = "/var/opt/VeskaClient/RequestDir";
inline char const requestFile[] = "/var/opt/VeskaClient/RequestDir/request.xml";
inline char const requestTemporary[] = "/var/opt/VeskaClient/RequestDir/requestTemp.xml";
inline char const responseDirectory[] = "/var/opt/VeskaClient/ResponseDir";
inline char const responseFile[] = "/var/opt/VeskaClient/ResponseDir/response.xml";
inline char const responseTemporary[] = "/var/opt/VeskaClient/ResponseDir/responseTemp.xml";

// Runs the body on a machine with the agent's directories.
template <typename Body>
void OnMachine(Body body) {
    PrivateMachine::Run([&] {
        PrivateMachine::CreateAgentDirectories();
        body();
    });
}

inline void Write(char const* path, std::string const& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string Read(char const* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline bool Exists(char const* path) {
    return std::filesystem::exists(std::filesystem::symlink_status(path));
}

// Of every byte value but 0, with those that the documents escape often enough.
inline std::string RandomText(std::mt19937& random, std::size_t longest) {
    static char const special[] = "<>&;\"'\r\n\t#x \xC3\xA9\x80\xFF";
    std::string text(random() % (longest + 1), ' ');
    for (char& c : text)
        c = random() % 3 == 0 ? special[random() % (sizeof special - 1)]
                              : static_cast<char>(1 + random() % 255);
    return text;
}

// Longer than any buffer on the way; mostly plain bytes, since each escape is a write of its own.
inline std::string LongText(std::mt19937& random) {
    std::string text(60000 + random() % 80000, 'x');
    for (int i = 0; i < 50; ++i)
        text[random() % text.size()] = static_cast<char>(1 + random() % 255);
    return text;
}

} // namespace ExchangeFiles
