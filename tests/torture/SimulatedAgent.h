// An agent of whims, good and bad ones, in simulated time.
#pragma once

#include <string>
#include <vector>

#include "tests/torture/Entries.h"
#include "tests/torture/ExchangeModel.h"
#include "tests/torture/FileModel.h"
#include "tests/torture/Random.h"

// Watches the model's files and changes them; what it has done can then be done to the real ones.
class SimulatedAgent {
public:
    // A lock file that is taken, for another process holds a lock on it, is left alone. The model
    // is told which of the responses it can read.
    SimulatedAgent(Random& whims, FileModel& world, ExchangeModel& reader, bool lockFileIsTaken);

    // In the order in which they are done, with what stood there before the first call.
    std::vector<Act> const& Done() const { return done; }

    // A sleep begins: it may be moved to plan something.
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
    Entry Answer();
    Entry Garbage();

    Random& random;
    FileModel& files;
    ExchangeModel& model;
    bool const sparesLockFile;
    std::vector<Act> planned;
    std::vector<Act> done;
};
