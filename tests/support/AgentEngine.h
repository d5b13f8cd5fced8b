// Plays the script of an agent: executes file operations on raw bytes, in order.
//
// It shares no code with the product, allocates no memory, and makes its system calls directly.
// Therefore it can also run inside a program whose allocations or C library calls fail.
#pragma once

#include <initializer_list>
#include <string_view>

#include <sys/types.h>

// A script is a list of lines, each a word and its operands: "write 3:/xy 5:bytes". An operand is
// the number of its bytes in decimal digits, a colon, and the bytes. AgentScript writes scripts.
//
// The record has the same form. Its lines are
//
//   request TIME BYTES                 an awaited request, and when it was first seen
//   wrote PATH BYTES INODE MODIFIED    a published file, and its modification time
//   done                               a step is complete
//   failed WORD PATH ERROR             a step failed; the engine continues with the next one
//
// All times are in nanoseconds.
class AgentEngine {
public:
    using Nanoseconds = long long;
    static constexpr char const* request = "/var/opt/VeskaClient/RequestDir/request.xml";
    static constexpr char const* response = "/var/opt/VeskaClient/ResponseDir/response.xml";

    // Appends the record to a file descriptor, which must outlive the engine. -1: no record.
    constexpr explicit AgentEngine(int record = -1) : recordFile(record) {}

    // Sets the steps to run. The text must outlive the engine. REQUIRES: HasEnded().
    void Play(std::string_view script) { rest = script; }

    // Runs the steps that are due at the time `now`, in order. REQUIRES: `now` is not less than in
    // the previous call.
    void Advance(Nanoseconds now);

    bool HasEnded() const { return rest.empty(); }
    int Failures() const { return failures; }

    static constexpr int maxOperands = 8;
    struct Step {
        std::string_view word;
        std::string_view operands[maxOperands];
        int count = 0;
    };
    // Removes the first line from the text and returns it. The step has no word if the line is
    // incomplete.
    static Step TakeStep(std::string_view& text);

private:
    // Identifies a request, because two requests may have the same bytes.
    struct Identity {
        ino_t number = 0;
        Nanoseconds changed = 0;

        bool operator==(Identity const&) const = default;
    };

    static Identity IdentityOfRequest();
    bool IsDue(Step const& step) const;
    bool Run(Step const& step);
    bool Await();
    bool Serve(Step const& step);
    bool Publish(std::string_view path, std::string_view bytes);
    void Finish(Step const& step, bool succeeded);
    void Record(std::initializer_list<std::string_view> words) const;

    int const recordFile;
    std::string_view rest;
    Nanoseconds time = 0;
    Nanoseconds lastSeen = 0;
    Identity lastRequest;
    int polls = 0;
    int failures = 0;
};
