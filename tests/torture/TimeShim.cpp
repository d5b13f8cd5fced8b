#include "tests/torture/TimeShim.h"

#include "tests/torture/Replay.h"

namespace {

// From before the program's main until after its last destructor.
class Preloaded {
public:
    ~Preloaded() {
        std::vector<std::string> const lines = time.Calls();
        SystemCalls::Pause const pause;
        std::ofstream file(TimeShim::calls);
        for (std::string const& line : lines)
            file << line << '\n';
    }

private:
    // Those of the beginning were done before.
    static std::vector<Act> LaterActs() {
        std::vector<Act> later = ReadActs(TimeShim::acts);
        std::erase_if(later, [](Act const& act) { return act.when == 0; });
        return later;
    }

    std::vector<Act> const acts = LaterActs();
    Replay replay{acts};
    SimulatedTime time{replay};
};

Preloaded preloaded;

} // namespace
