// An evaluation whose texts are all too long for the small string optimization.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/AgentScript.h"
#include "tests/system/Documents.h"

constexpr char url[] = "http://example.com:52311/cgi-bin/qzgather.exe/actionsite";
constexpr char doc[] = "A document with a name that is long enough.xml";

inline std::string FinishedResponse() {
    return ProgressResponse("1", "0", "100", Row(longRow) + Row(longRow));
}

// Returns the script of an agent that answers each request by its type. Progress requests get 40 %
// and two rows in turn.
inline AgentScript ServingAgent() {
    return AgentScript().Serve(
        OpenResponse(), {ProgressResponse("3", "0", "40"), FinishedResponse()}, CloseResponse());
}

// Expects that the bytes are the start of one of the three requests of such an evaluation.
inline void ExpectPartOfRequest(std::string const& bytes) {
    EXPECT_TRUE(OpenRequest(url, doc, "7").starts_with(bytes) ||
                std::string(progressRequest).starts_with(bytes) ||
                std::string(closeRequest).starts_with(bytes))
        << bytes;
}
