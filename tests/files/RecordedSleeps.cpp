#include "tests/files/RecordedSleeps.h"

#include <time.h>
#include <unistd.h>

namespace {

RecordedSleeps* recorder = nullptr;

// Returns whether the sleep is interrupted.
bool SleepOrRecord(char const* function, unsigned int amount, unsigned long long microseconds) {
    if (recorder)
        return recorder->Add(function, amount, microseconds);
    timespec pause;
    pause.tv_sec = static_cast<time_t>(microseconds / 1'000'000);
    pause.tv_nsec = static_cast<long>(microseconds % 1'000'000 * 1'000);
    return nanosleep(&pause, nullptr) != 0;
}

} // namespace

RecordedSleeps::RecordedSleeps(Event const& during) : event(during) { recorder = this; }

RecordedSleeps::~RecordedSleeps() { recorder = nullptr; }

bool RecordedSleeps::Add(char const* function, unsigned int amount,
                         unsigned long long microseconds) {
    calls.push_back(std::string(function) + ' ' + std::to_string(amount));
    total += microseconds;
    return event && event(calls.back(), microseconds);
}

extern "C" unsigned int sleep(unsigned int seconds) {
    return SleepOrRecord("sleep", seconds, seconds * 1'000'000ull) ? seconds : 0;
}

extern "C" int usleep(useconds_t microseconds) {
    return SleepOrRecord("usleep", microseconds, microseconds) ? -1 : 0;
}
