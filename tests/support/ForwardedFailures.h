// A one-way line for the failures of a forked process to the process that runs the test.
//
// A check that fails in a forked child would only mark the child's copy of the test. Here it is
// sent up the line and made again in the parent, with its file, line and text. Used by OtherProcess
// and Sandbox; a test has no need of it.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>

// From version 1.15, GoogleTest ends the message of a failure with a newline. It would get another
// one each time that the failure is reported again.
std::string_view WithoutLastNewline(std::string_view message);

// The two ends of a line of packets, above the descriptors that tests count or close.
std::pair<int, int> MakeLine();
// The descriptor, in that place. Throws if it is none.
int MovedUp(int descriptor);

class ForwardedFailures {
public:
    ForwardedFailures();
    ~ForwardedFailures();
    ForwardedFailures(ForwardedFailures const&) = delete;
    ForwardedFailures& operator=(ForwardedFailures const&) = delete;

    // After the fork, in the child: from now on what fails goes up this line, in the child and in
    // all that it forks. Nothing is printed here, since the parent prints it.
    void BecomeChild();
    // After the fork, in the parent.
    void BecomeParent();

    // In the child. Failures beyond some 200 kB that nobody has read yet are dropped.
    void SendFailure(testing::TestPartResult const& failure);
    void SendFailure(std::string const& text);
    // Something that is no failure: that the body came to its end, or that the machine refused.
    void SendFinished();
    void SendUnavailable(std::string const& reason);

    // In the parent: readable, or at its end, when there is something to take.
    int descriptor() const { return parentEnd; }
    // Takes all that has come, without waiting. Returns false at the end of the line, which comes
    // when the child and all that it forked are gone.
    bool Take();
    // What Take has seen so far.
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
// Looks for lost memory, and keeps the counts of a build for coverage.
void EndForkedBody();

// Runs the body of a forked process: an exception that leaves it is a failure, and so is, under the
// leak sanitizer, memory that it lost.
template <typename Body>
void RunForkedBody(Body const& body) {
    try {
        body();
    } catch (std::exception const& caught) {
        ReportForkedException(caught.what());
    } catch (...) {
        ReportForkedException("something that is no std::exception");
    }
    EndForkedBody();
}
