// A randomized agent on a simulated clock, which may violate the protocol.
#pragma once

#include <string>
#include <vector>

#include "tests/stress/ExchangeModel.h"
#include "tests/stress/FileModel.h"
#include "tests/stress/Random.h"
#include "tests/support/Entries.h"

// Observes and changes the files of the model. An AgentEngine then does the same to real files.
class RandomAgent {
public:
    // Does not touch a lock file that another process has locked. Adds the readable responses to
    // the model.
    RandomAgent(Random& choices, FileModel& world, ExchangeModel& reader, bool lockFileIsTaken);

    // Returns the acts in the order of their times. Those at time 0 create the files before the
    // first call.
    std::vector<Act> const& Done() const { return done; }

    // Called when a sleep begins, in which acts may be planned.
    void Notice();
    // Performs all acts that are due.
    void DoWhatIsDue();

private:
    void CreateEntries();
    void React();
    void BehaveOddly();
    void Plan(unsigned long long delay, std::string const& path, Entry const& entry);
    void Execute(Act const& act);
    unsigned long long Delay();
    unsigned long long ShortDelay();
    Entry AnyEntry();
    Entry OrNothing(unsigned int percent, Entry const& entry);
    Entry Answer();
    Entry Garbage();

    Random& random;
    FileModel& files;
    ExchangeModel& model;
    bool const sparesLockFile;
    std::vector<Act> planned;
    std::vector<Act> done;
};
