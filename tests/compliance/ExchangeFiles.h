// The files of the exchange, and random texts for their documents.
#pragma once

#include <filesystem>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include "tests/files/Files.h"
#include "tests/support/Sandbox.h"

namespace ExchangeFiles {

inline char const requestDirectory[] = "/var/opt/VeskaClient/RequestDir";
inline char const requestFile[] = "/var/opt/VeskaClient/RequestDir/request.xml";
inline char const requestTemporary[] = "/var/opt/VeskaClient/RequestDir/requestTemp.xml";
inline char const responseDirectory[] = "/var/opt/VeskaClient/ResponseDir";
inline char const responseFile[] = "/var/opt/VeskaClient/ResponseDir/response.xml";
inline char const responseTemporary[] = "/var/opt/VeskaClient/ResponseDir/responseTemp.xml";

inline bool Exists(std::string const& path) {
    return std::filesystem::exists(std::filesystem::symlink_status(path));
}

// Returns the file descriptor that the next open will return.
inline int NextDescriptor() {
    int const next = open("/dev/null", O_RDONLY);
    close(next);
    return next;
}

// Returns text of any bytes but 0, in which those of `special` are more frequent.
inline std::string RandomText(std::mt19937& random, std::size_t longest) {
    static char const special[] = "<>&;\"'\r\n\t#x \xC3\xA9\x80\xFF";
    std::string text(random() % (longest + 1), ' ');
    for (char& c : text)
        c = random() % 3 == 0 ? special[random() % (sizeof special - 1)]
                              : static_cast<char>(1 + random() % 255);
    return text;
}

// Returns a text that is longer than every buffer. Most bytes need no escape, because each escape
// is a separate write.
inline std::string LongText(std::mt19937& random) {
    std::string text(60000 + random() % 80000, 'x');
    for (int i = 0; i < 50; ++i)
        text[random() % text.size()] = static_cast<char>(1 + random() % 255);
    return text;
}

} // namespace ExchangeFiles
