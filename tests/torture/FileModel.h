// The files of the exchange as a model keeps them, and what the file layer promises to do to them.
//
// Shares no code with the product. Time is a number here: it passes in Sleep alone, and then the
// agent may act.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/torture/Entries.h"

class FileModel {
public:
    // What a look at a name finds; a link counts as its target.
    enum class Seen { nothing, file, directory, other, brokenLink };

    Entries entries;
    // In microseconds.
    unsigned long long now = 0;
    // What was asked of the system so far, in the words of SystemCalls and RecordedSleeps.
    std::vector<std::string> calls;
    // The agent's part, when a sleep begins and when time has passed.
    std::function<void()> notice;
    std::function<void()> act;

    Seen Look(std::string const& path);
    // Whether a stat of the path succeeds.
    bool Stat(std::string const& path);
    // Opens for reading and writing, and creates what is missing. Whether it worked.
    bool Open(std::string const& path, bool empties);
    // None if the document can't be read.
    std::optional<std::string> Read(std::string const& path);
    // Writes a request and moves it into its place. Whether that worked.
    bool Publish(std::string const& request);
    void Sleep(unsigned int milliseconds);
    void Pass(std::string const& call, unsigned long long microseconds);

private:
    Entry const* At(std::string const& path) const;
    bool Write(std::string const& path, std::string const& bytes);
    bool Move(std::string const& from, std::string const& to);
    bool ForceMove(std::string const& from, std::string const& to);
    bool ForceNonexistence(std::string const& path);
    bool Retry(std::function<bool()> const& operation);
};
