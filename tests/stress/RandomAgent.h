// A randomized agent on a simulated clock, which may violate the protocol.
#pragma once

#include "tests/stress/ExchangeModel.h"
#include "tests/stress/FileModel.h"
#include "tests/stress/RandomDocuments.h"
#include "tests/support/Sandbox.h"

// Observes and changes the files of the model. An AgentEngine then does the same to real files.
class RandomAgent {
public:
    // Does not touch a lock file that another process has locked. Adds the readable responses to
    // the model.
    RandomAgent(Random& choices, FileModel& world, ExchangeModel& reader, bool lockFileIsTaken)
        : random(choices), files(world), model(reader), sparesLockFile(lockFileIsTaken) {
        CreateEntries();
    }

    // Returns the acts in the order of their times. Those at time 0 create the files before the
    // first call.
    std::vector<Act> const& Done() const { return done; }

    // Called when a sleep begins, in which acts may be planned.
    void Notice() {
        if (files.now > endOfActs)
            return planned.clear();
        bool const isAsked = files.entries.contains(request);
        if (planned.empty() && (isAsked ? random.Chance(93) : random.Chance(8)))
            React();
        if (random.Chance(4))
            BehaveOddly();
    }

    // Performs all acts that are due.
    void DoWhatIsDue() {
        std::stable_sort(planned.begin(), planned.end(),
                         [](Act const& one, Act const& other) { return one.when < other.when; });
        while (!planned.empty() && planned.front().when <= files.now) {
            Execute(planned.front());
            planned.erase(planned.begin());
        }
    }

private:
    static constexpr unsigned long long second = 1'000'000;
    // After this time the agent does nothing, so every evaluation terminates.
    static constexpr unsigned long long endOfActs = 300 * second;
    static constexpr char const* request = ScriptedAgent::request;
    static constexpr char const* temporary = ScriptedAgent::requestTemp;
    static constexpr char const* response = ScriptedAgent::response;
    static constexpr char const* requestDirectory = ScriptedAgent::requestDirectory;

    // Creates the initial entries: mostly all that an evaluation needs, and files of an earlier
    // one.
    void CreateEntries() {
        Execute({0, requestDirectory, {Entry::directory}});
        if (!random.Chance(3))
            Execute({0, Sandbox::agentProgram, Entry::File("")});
        if (!random.Chance(3))
            Execute({0, agentLink, Entry::Link(Sandbox::agentProgram)});
        if (random.Chance(25))
            Execute({0, response, random.Chance(70) ? GoodResponse() : Garbage()});
        if (random.Chance(15))
            Execute({0, temporary, random.Chance(50) ? Entry::File("left over") : AnyEntry()});
        if (random.Chance(5))
            Execute({0, request, AnyEntry()});
        if (random.Chance(10))
            Execute({0, Entry::elsewhere, Entry::File("not yours")});
        if (!sparesLockFile && random.Chance(10))
            Execute({0, ScriptedAgent::lockFile, AnyEntry()});
    }

    void React() {
        unsigned long long const first = random.Chance(75) ? ShortDelay() : Delay();
        unsigned long long const later = first + Delay();
        switch (random.Below(20)) {
        case 0: // No response, and the request remains.
            return;
        case 1: // The request is removed before the response.
            Plan(first, request, {});
            return Plan(later, response, GoodResponse());
        case 2: // No response: an old one is read, if any.
            return Plan(first, request, {});
        case 3: // The response, but the request remains.
            return Plan(first, response, GoodResponse());
        case 4: // Not a response; a good one may replace it.
        case 5:
            Plan(first, response, Garbage());
            Plan(first, request, {});
            if (random.Chance(70))
                Plan(later, response, GoodResponse());
            return;
        case 6: // The request comes back.
            Plan(first, response, random.Chance(60) ? GoodResponse() : Garbage());
            Plan(first, request, {});
            Plan(later, request, random.Chance(70) ? Entry::File("again") : AnyEntry());
            return Plan(later + Delay(), request, {});
        case 7: // The response is removed.
            Plan(first, response, {});
            return Plan(first + ShortDelay(), request, {});
        case 8:
            return BehaveOddly();
        default:
            Plan(first, response, GoodResponse());
            Plan(random.Chance(50) ? first : first + ShortDelay(), request, {});
        }
    }

    // Performs acts that violate the protocol, on any path.
    void BehaveOddly() {
        for (unsigned long long times = 1 + random.Below(3); times != 0; --times) {
            unsigned long long const delay = Delay();
            switch (random.Below(10)) {
            case 0: // The whole directory is missing for a while.
                Plan(delay, requestDirectory, {});
                Plan(delay + Delay(), requestDirectory, {Entry::directory});
                break;
            case 1:
                Plan(delay, Sandbox::agentProgram, OrNothing(40, Entry::File("")));
                break;
            case 2:
                Plan(delay, agentLink, OrNothing(40, Entry::Link(Sandbox::agentProgram)));
                break;
            case 3:
                Plan(delay, Entry::elsewhere, random.Chance(50) ? Entry() : GoodResponse());
                break;
            case 4:
                if (sparesLockFile)
                    break;
                Plan(delay, ScriptedAgent::lockFile, AnyEntry());
                break;
            default:
                auto const path = random.Pick({response, temporary, temporary, request, request});
                Plan(delay, path, AnyEntry());
            }
        }
    }

    void Plan(unsigned long long delay, std::string const& path, Entry const& entry) {
        planned.push_back({files.now + delay, path, entry});
    }

    void Execute(Act const& act) {
        Do(act, files.entries);
        done.push_back(act);
    }

    unsigned long long Delay() {
        if (random.Chance(40))
            return ShortDelay();
        // Just before a poll, at it, and just after it.
        if (random.Chance(40)) {
            unsigned long long const poll = random.Pick({1, 3, 7, 10}) * second;
            return poll - 1 + random.Below(3);
        }
        // In the pauses of a retry.
        if (random.Chance(30))
            return 1 + random.Below(2'100'000);
        return 1 + random.Below(13 * second);
    }

    // Never 0: acts at the current time are already done.
    unsigned long long ShortDelay() { return 1 + random.Below(900'000); }

    Entry AnyEntry() {
        static Entry const odd[] = {{},
                                    {},
                                    {Entry::directory},
                                    {Entry::fullDirectory},
                                    {Entry::unixSocket},
                                    Entry::Link(Entry::nowhere),
                                    Entry::Link(Entry::elsewhere)};
        auto const kind = random.Below(10);
        if (kind < std::size(odd))
            return odd[kind];
        return random.Chance(50) ? Entry::File("something") : GoodResponse();
    }

    Entry OrNothing(unsigned int percent, Entry const& entry) {
        return random.Chance(percent) ? Entry() : entry;
    }

    Entry GoodResponse() {
        RandomResponse const made = MakeRandomResponse(random);
        model.contents[made.bytes] = made.says;
        return Entry::File(made.bytes);
    }

    Entry Garbage() { return Entry::File(MakeGarbage(random)); }

    Random& random;
    FileModel& files;
    ExchangeModel& model;
    bool const sparesLockFile;
    std::vector<Act> planned;
    std::vector<Act> done;
};
