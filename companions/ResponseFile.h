// The agent's answer on disk, as evidence of its age.
#pragma once

#include <ctime>

#include <sys/types.h>

// The entry of the response by lstat(2). An agent that publishes an answer by renaming changes the
// inode; one that writes into the old file changes the times.
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

// Tells whether the answer to a request was there before the request.
//
// What cannot be detected: the library reads the response, and the agent replaces it before
// IsUnchanged looks at it. And an agent that writes the same number of bytes into the same inode
// twice within the resolution of the file system's clock (about 4 ms).
class ResponseWatch {
public:
    // Construct it before the request. IsUnchanged is called after the answer.
    bool IsUnchanged(ResponseState const& now = LookAtResponse()) const {
        return before.exists && before == now;
    }

private:
    ResponseState const before = LookAtResponse();
};
