// Forwards the failures of a forked process to the process that runs the test.
//
// A failed check in a forked child only marks the child's copy of the test. Therefore, it is sent
// to the parent, which reports it with its file, line and text. Used by OtherProcess and Sandbox,
// not by tests.
#pragma once

#include <gtest/gtest.h>

#include <string_view>

// Returns the message without a newline at its end. GoogleTest appends one from version 1.15 on,
// each time that a failure is reported.
std::string_view WithoutLastNewline(std::string_view message);

// Returns the two ends of a new socket pair, at descriptors above those that tests count or close.
std::pair<int, int> MakeLine();
// Moves a descriptor above those that tests count or close, and returns the new one. Throws if it
// is invalid.
int MovedUp(int descriptor);

class ForwardedFailures {
public:
    ForwardedFailures();
    ~ForwardedFailures();
    ForwardedFailures(ForwardedFailures const&) = delete;
    ForwardedFailures& operator=(ForwardedFailures const&) = delete;

    // Called in the child after the fork. From now on, failures of the child and of all processes
    // that it forks are sent, and only the parent prints them.
    void BecomeChild();
    // Called in the parent after the fork.
    void BecomeParent();

    // Called in the child. Drops the failure if about 200 kB are unread.
    void SendFailure(testing::TestPartResult const& failure);
    void SendFailure(std::string const& text);
    // Called in the child when the body has ended, or the system does not permit a step.
    void SendFinished();
    void SendUnavailable(std::string const& reason);

    // Called in the parent. The descriptor is readable if Take has messages to read, or at the end.
    int descriptor() const { return parentEnd; }
    // Reads and reports all available failures without waiting. Returns false after the child and
    // all processes that it forked have ended.
    bool Take();
    // The messages that Take has read so far: a failure, SendFinished, and the reason of
    // SendUnavailable.
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
// Checks for memory leaks, and writes the counters of a coverage build.
void EndForkedBody();

// Runs the body of a forked process. Reports an exception that propagates from it and, with
// LeakSanitizer, leaked memory as a failure.
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
