// Random scripts of agents, well-behaved and other ones, in simulated time.
#pragma once

#include <string>
#include <vector>

#include "tests/stress/ExchangeModel.h"
#include "tests/stress/FileModel.h"
#include "tests/stress/Random.h"
#include "tests/support/Entries.h"

// Watches the files of the model and changes them. An AgentEngine then does the same to real files.
class RandomAgent {
public:
    // Does not touch a lock file that another process locks. Adds the responses that can be read to
    // the model.
    RandomAgent(Random& choices, FileModel& world, ExchangeModel& reader, bool lockFileIsTaken);

    // In the order of their times. Those of the time 0 lay out the files before the first call.
    std::vector<Act> const& Done() const { return done; }

    // A sleep begins, in which something may be planned.
    void Notice();
    // Does all that is due.
    void DoWhatIsDue();

private:
    void LayOut();
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
