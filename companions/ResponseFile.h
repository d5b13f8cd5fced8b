// Detects stale responses: responses that the agent wrote before the request.
#pragma once

#include <ctime>

#include <sys/types.h>

// The result of lstat(2) for the response. An agent that publishes a response by renaming changes
// the inode; one that overwrites the file changes the times.
struct ResponseState {
    bool operator==(ResponseState const& other) const;

    // False if there is no response, or if it cannot be examined.
    bool exists = false;
    ino_t inode = 0;
    off_t size = 0;
    timespec modified = {};
    timespec changed = {};
};

ResponseState LookAtResponse();

// Compares the response before a request with the response after it. Construct it before the
// request, and call IsUnchanged after the exchange.
//
// Limitations: a stale response is not detected if the agent replaces it after the library has read
// it, but before IsUnchanged. A new response with the same inode and size is reported as unchanged
// if its times are the same. The kernel sets times with the resolution of its timer, such as 4 ms.
class ResponseWatch {
public:
    // True if there was a response before, and it is the same file with the same size and times.
    bool IsUnchanged(ResponseState const& now = LookAtResponse()) const {
        return before.exists && before == now;
    }

private:
    ResponseState const before = LookAtResponse();
};
