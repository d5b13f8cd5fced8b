#include "tests/files/RecordedSleeps.h"

#include <time.h>
#include <unistd.h>

namespace {

RecordedSleeps* recorder = nullptr;

void SleepOrRecord(char const* function, unsigned int amount, unsigned long long microseconds) {
    if (recorder) {
        recorder->Add(function, amount, microseconds);
        return;
    }
    timespec pause;
    pause.tv_sec = static_cast<time_t>(microseconds / 1'000'000);
    pause.tv_nsec = static_cast<long>(microseconds % 1'000'000 * 1'000);
    nanosleep(&pause, nullptr);
}

} // namespace

RecordedSleeps::RecordedSleeps(Event const& during) : event(during) { recorder = this; }

RecordedSleeps::~RecordedSleeps() { recorder = nullptr; }

void RecordedSleeps::Add(char const* function, unsigned int amount,
                         unsigned long long microseconds) {
    calls.push_back(std::string(function) + ' ' + std::to_string(amount));
    total += microseconds;
    if (event)
        event(calls.back(), microseconds);
}

extern "C" unsigned int sleep(unsigned int seconds) {
    SleepOrRecord("sleep", seconds, seconds * 1'000'000ull);
    return 0;
}

extern "C" int usleep(useconds_t microseconds) {
    SleepOrRecord("usleep", microseconds, microseconds);
    return 0;
}
