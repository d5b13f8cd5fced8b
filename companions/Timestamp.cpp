#include "companions/Timestamp.h"

#include <array>

namespace {

std::string Format(char const* format, tm const& time) {
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), format, &time)};
}

} // namespace

std::string FormatTimestamp(timespec const& time) {
    tm local{};
    localtime_r(&time.tv_sec, &local);
    std::string const thousandths = std::to_string(1000 + time.tv_nsec / 1'000'000).substr(1);
    std::string const offset = Format("%z", local); // "+0100"
    return Format("%Y-%m-%dT%H:%M:%S", local) + "." + thousandths + offset.substr(0, 3) + ":" +
           offset.substr(3);
}

timespec CurrentTime() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}
