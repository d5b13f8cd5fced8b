// The expected pauses of the retries, as RecordedSleeps records them, and a recording log.
#pragma once

#include <functional>
#include <string>

#include "files/FileRetry.h"
#include "tests/files/FileTest.h"

// 16, 32, 64, 128, 256, 512 and 1,024 milliseconds.
inline Strings const allPauses = {"usleep 16000",  "usleep 32000",  "usleep 64000", "usleep 128000",
                                  "usleep 256000", "usleep 512000", "sleep 1",      "usleep 24000"};

inline Strings Pauses(int count) {
    return Strings(allPauses.begin(), allPauses.begin() + (count < 7 ? count : 8));
}

// Records each call, and then calls the function of the test.
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

    mutable Strings entries;
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
