#include "tests/stress/RandomAgent.h"

#include <algorithm>

#include "tests/stress/RandomDocuments.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedAgent.h"

namespace {

constexpr unsigned long long second = 1'000'000;
// After this time the agent does nothing, so every evaluation terminates.
constexpr unsigned long long endOfActs = 300 * second;

std::string const request = ScriptedAgent::request;
std::string const temporary = ScriptedAgent::requestTemp;
std::string const response = ScriptedAgent::response;
std::string const requestDirectory = ScriptedAgent::requestDirectory;

} // namespace

RandomAgent::RandomAgent(Random& choices, FileModel& world, ExchangeModel& reader,
                         bool lockFileIsTaken)
    : random(choices), files(world), model(reader), sparesLockFile(lockFileIsTaken) {
    CreateEntries();
}

// Creates the initial entries: mostly all that an evaluation needs, and files of an earlier one.
void RandomAgent::CreateEntries() {
    Execute({0, requestDirectory, {Entry::directory}});
    if (!random.Chance(3))
        Execute({0, Sandbox::agentProgram, Entry::File("")});
    if (!random.Chance(3))
        Execute({0, agentLink, Entry::Link(Sandbox::agentProgram)});
    if (random.Chance(25))
        Execute({0, response, random.Chance(70) ? Answer() : Garbage()});
    if (random.Chance(15))
        Execute({0, temporary, random.Chance(50) ? Entry::File("left over") : AnyEntry()});
    if (random.Chance(5))
        Execute({0, request, AnyEntry()});
    if (random.Chance(10))
        Execute({0, Entry::elsewhere, Entry::File("not yours")});
    if (!sparesLockFile && random.Chance(10))
        Execute({0, ScriptedAgent::lockFile, AnyEntry()});
}

void RandomAgent::Execute(Act const& act) {
    Do(act, files.entries);
    done.push_back(act);
}

void RandomAgent::Plan(unsigned long long delay, std::string const& path, Entry const& entry) {
    planned.push_back({files.now + delay, path, entry});
}

void RandomAgent::Notice() {
    if (files.now > endOfActs)
        return planned.clear();
    bool const isAsked = files.entries.contains(request);
    if (planned.empty() && (isAsked ? random.Chance(93) : random.Chance(8)))
        React();
    if (random.Chance(4))
        BehaveOddly();
}

void RandomAgent::DoWhatIsDue() {
    std::stable_sort(planned.begin(), planned.end(),
                     [](Act const& one, Act const& other) { return one.when < other.when; });
    while (!planned.empty() && planned.front().when <= files.now) {
        Execute(planned.front());
        planned.erase(planned.begin());
    }
}

// Never 0: acts at the current time are already done.
unsigned long long RandomAgent::ShortDelay() { return 1 + random.Below(900'000); }

unsigned long long RandomAgent::Delay() {
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

void RandomAgent::React() {
    unsigned long long const first = random.Chance(75) ? ShortDelay() : Delay();
    unsigned long long const later = first + Delay();
    switch (random.Below(20)) {
    case 0: // No answer.
        return;
    case 1: // The request is removed before the response.
        Plan(first, request, {});
        return Plan(later, response, Answer());
    case 2: // No response: an old one is read, if any.
        return Plan(first, request, {});
    case 3: // The response, but the request remains.
        return Plan(first, response, Answer());
    case 4: // Not a response; a good one may replace it.
    case 5:
        Plan(first, response, Garbage());
        Plan(first, request, {});
        if (random.Chance(70))
            Plan(later, response, Answer());
        return;
    case 6: // The request comes back.
        Plan(first, response, random.Chance(60) ? Answer() : Garbage());
        Plan(first, request, {});
        Plan(later, request, random.Chance(70) ? Entry::File("again") : AnyEntry());
        return Plan(later + Delay(), request, {});
    case 7: // The response is removed.
        Plan(first, response, {});
        return Plan(first + ShortDelay(), request, {});
    case 8:
        return BehaveOddly();
    default:
        Plan(first, response, Answer());
        Plan(random.Chance(50) ? first : first + ShortDelay(), request, {});
    }
}

// Performs acts that violate the protocol, on any path.
void RandomAgent::BehaveOddly() {
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
            Plan(delay, Entry::elsewhere, random.Chance(50) ? Entry() : Answer());
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

Entry RandomAgent::OrNothing(unsigned int percent, Entry const& entry) {
    return random.Chance(percent) ? Entry() : entry;
}

Entry RandomAgent::AnyEntry() {
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
    return random.Chance(50) ? Entry::File("something") : Answer();
}

Entry RandomAgent::Answer() {
    RandomAnswer const answer = MakeRandomAnswer(random);
    model.answers[answer.bytes] = answer.says;
    return Entry::File(answer.bytes);
}

Entry RandomAgent::Garbage() { return Entry::File(MakeGarbage(random)); }
