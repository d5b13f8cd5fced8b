// Sends the failures of a forked process to the process that runs the test.
//
// A check that fails in a forked child would only mark the child's copy of the test. Here it is
// sent to the parent and repeated there, with its file, line and text. For OtherProcess and
// Sandbox; tests do not use it directly.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>

// From version 1.15, GoogleTest ends the message of a failure with a newline. It would get another
// one each time that the failure is reported again.
std::string_view WithoutLastNewline(std::string_view message);

// The two ends of a socket pair, above the descriptors that tests count or close.
std::pair<int, int> MakeLine();
// Moves the descriptor there. Throws if it is invalid.
int MovedUp(int descriptor);

class ForwardedFailures {
public:
    ForwardedFailures();
    ~ForwardedFailures();
    ForwardedFailures(ForwardedFailures const&) = delete;
    ForwardedFailures& operator=(ForwardedFailures const&) = delete;

    // Called in the child after the fork. From now on the failures of the child and of all
    // processes that it forks are sent. They are not printed here, because the parent prints them.
    void BecomeChild();
    // Called in the parent after the fork.
    void BecomeParent();

    // Called in the child. Failures are dropped if about 200 kB are unread.
    void SendFailure(testing::TestPartResult const& failure);
    void SendFailure(std::string const& text);
    // Sends a message other than a failure: the body ended, or the system refused a step.
    void SendFinished();
    void SendUnavailable(std::string const& reason);

    // Called in the parent. Readable when Take has something to read, or at the end.
    int descriptor() const { return parentEnd; }
    // Takes all available failures without waiting. Returns false at the end, when the child and
    // all processes that it forked have ended.
    bool Take();
    // The messages that Take has read so far.
    bool hasFailed() const { return failed; }
    bool isFinished() const { return finished; }
    std::string const& unavailable() const { return refusal; }

private:
    void Send(char kind, std::string const& text, bool mayDrop);
    void Interpret(char const* packet, size_t length);

    int parentEnd = -1;
    int childEnd = -1;
    bool failed = false;
    bool finished = false;
    std::string refusal;
};

void ReportForkedException(char const* what);
// Checks for leaks, and writes the counters of a coverage build.
void EndForkedBody();

// Runs the body of a forked process. An exception that propagates from it is a failure, and so is
// leaked memory, under the leak sanitizer.
template <typename Body>
void RunForkedBody(Body const& body) {
    try {
        body();
    } catch (std::exception const& caught) {
        ReportForkedException(caught.what());
    } catch (...) {
        ReportForkedException("not a std::exception");
    }
    EndForkedBody();
}
