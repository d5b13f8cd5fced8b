#include "companions/Retry.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <string>
#include <string_view>

#include <sys/prctl.h>
#include <unistd.h>

#include "companions/StopSignals.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

constexpr char variable[] = "COMPLIANCE_QUERY_ATTEMPT";
constexpr seconds maxPause(10);

struct State {
    long long processId = 0;
    long long attempt = 0;
    // Nanoseconds of the steady clock, which execve(2) does not reset.
    long long waitEnd = 0;
    long long deadline = 0;
    // The result of HoldStopSignals.
    long long heldSignals = 0;
    // The name of the process (/proc/[pid]/comm, proc(5)).
    std::string name = {};
};

std::optional<State> ParseState(std::string_view text) {
    std::array<long long, 5> numbers{};
    char const* position = text.data();
    char const* const end = position + text.size();
    for (long long& number : numbers) {
        auto const [rest, error] = std::from_chars(position, end, number);
        if (error != std::errc() || rest == end)
            return {};
        position = std::min(rest + 1, end);
    }
    return State{numbers[0], numbers[1], numbers[2], numbers[3], numbers[4], {position, end}};
}

std::string Format(State const& state) {
    std::string text;
    for (long long const number :
         {state.processId, state.attempt, state.waitEnd, state.deadline, state.heldSignals})
        text += std::to_string(number) + ' ';
    return text + state.name;
}

std::string NameOfProcess() {
    std::array<char, 17> name{};
    prctl(PR_GET_NAME, name.data());
    return name.data();
}

std::optional<State> TakeState() {
    char const* const text = std::getenv(variable);
    if (text == nullptr)
        return {};
    std::optional<State> state = ParseState(text);
    unsetenv(variable);
    bool const isOwn = state && state->processId == getpid() && state->attempt > 0;
    return isOwn ? state : std::nullopt;
}

std::optional<Retry::Clock::time_point> EndOf(std::optional<seconds> limit) {
    if (!limit)
        return {};
    return Retry::Clock::now() + *limit;
}

long long Count(std::optional<Retry::Clock::time_point> time) {
    return time ? nanoseconds(time->time_since_epoch()).count() : 0;
}

} // namespace

Retry::Retry(std::optional<seconds> wait, std::optional<seconds> timeout)
    : waitEnd(EndOf(wait)), deadline(EndOf(timeout)) {
    std::optional<State> const state = TakeState();
    if (!state)
        return;
    attempt = state->attempt;
    if (wait)
        waitEnd = Clock::time_point(nanoseconds(state->waitEnd));
    if (timeout)
        deadline = Clock::time_point(nanoseconds(state->deadline));
    // The execution of /proc/self/exe has changed the name to "exe".
    prctl(PR_SET_NAME, state->name.c_str());
    ReleaseStopSignals(static_cast<unsigned int>(state->heldSignals));
}

std::optional<milliseconds> Retry::Pause() const {
    if (!waitEnd)
        return {};
    Clock::time_point const end = deadline ? std::min(*waitEnd, *deadline) : *waitEnd;
    auto const left = std::chrono::ceil<milliseconds>(end - Clock::now());
    // 1, 2, 4, 8, and then always 10 seconds.
    auto const pause = std::min<milliseconds>(seconds(1LL << std::min(attempt - 1, 4LL)), maxPause);
    if (left.count() <= 0)
        return {};
    return std::min(pause, left);
}

void Retry::Execute(char* const* arguments) {
    unsigned int const held = HoldStopSignals();
    if (StopSignal() == 0) {
        State const state = {getpid(),        attempt + 1, Count(waitEnd),
                             Count(deadline), held,        NameOfProcess()};
        setenv(variable, Format(state).c_str(), 1);
        execv("/proc/self/exe", arguments);
    }
    ReleaseStopSignals(held);
}
