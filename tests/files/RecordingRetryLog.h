// What the tests of the retries share: a log that remembers, and the pauses as RecordedSleeps tells
// them.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "files/FileLocation.h"
#include "files/FileRetry.h"

// 16, 32, 64, 128, 256, 512 and 1,024 milliseconds.
inline std::vector<std::string> const allPauses = {
    "usleep 16000",  "usleep 32000",  "usleep 64000", "usleep 128000",
    "usleep 256000", "usleep 512000", "sleep 1",      "usleep 24000"};

inline std::vector<std::string> Pauses(std::size_t count) {
    return std::vector<std::string>(allPauses.begin(), allPauses.begin() + (count < 7 ? count : 8));
}

// Remembers each call, and does then what it is told to.
class RecordingLog : public FileRetryLog {
public:
    void LogRetrySuccess(char const* operation, FileLocation const* first,
                         FileLocation const* second, unsigned int attempts) const override {
        Add("success", operation, first, second, attempts);
        if (onSuccess)
            onSuccess();
    }

    void LogRetryFailure(char const* operation, FileLocation const* first,
                         FileLocation const* second, unsigned int attempts) const override {
        Add("failure", operation, first, second, attempts);
        if (onFailure)
            onFailure();
    }

    mutable std::vector<std::string> entries;
    mutable FileLocation const* lastFirst = nullptr;
    mutable FileLocation const* lastSecond = nullptr;
    std::function<void()> onSuccess;
    std::function<void()> onFailure;

private:
    void Add(std::string const& outcome, char const* operation, FileLocation const* first,
             FileLocation const* second, unsigned int attempts) const {
        entries.push_back(outcome + ' ' + operation + ' ' + first->Text() + ' ' +
                          (second == nullptr ? "-" : second->Text()) + ' ' +
                          std::to_string(attempts));
        lastFirst = first;
        lastSecond = second;
    }
};
