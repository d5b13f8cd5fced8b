#include "tests/torture/ExchangeModel.h"

#include "tests/support/PrivateMachine.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/system/Documents.h"

int ExchangeModel::Open(char const* url, char const* doc, unsigned int flags) {
    if (isOpen)
        return -15;
    if (!Lock())
        return -6;
    int const code = OpenLocked(url, doc, flags);
    isOpen = code == 0;
    return code;
}

// Who was refused once is refused for good; a lock file that can't be opened is tried afresh.
bool ExchangeModel::Lock() {
    if (isRefusedForGood || !files.Open(ScriptedAgent::lockFile, false))
        return false;
    isRefusedForGood = isLockedElsewhere;
    return !isLockedElsewhere;
}

int ExchangeModel::OpenLocked(char const* url, char const* doc, unsigned int flags) {
    if (!files.Stat(PrivateMachine::agentProgram))
        return -1;
    if (!files.entries.contains(agentLink))
        return -2;
    if (files.Look(ScriptedAgent::request) != FileModel::Seen::nothing)
        return -5;
    Answer notLookedAt;
    return Exchange(
        OpenRequest(Escaped(url ? url : ""), Escaped(doc ? doc : ""), std::to_string(flags)),
        notLookedAt);
}

int ExchangeModel::Exchange(std::string const& request, Answer& answer) {
    answer = Answer();
    if (!files.Publish(request))
        return -17;
    bool readFailed = false;
    for (unsigned int waited = 0, step = 1000, limit = 10000;; step *= 2) {
        unsigned int const pause = step + waited > limit ? limit - waited : step;
        files.Sleep(pause);
        waited += pause;
        if (files.Look(ScriptedAgent::request) == FileModel::Seen::nothing) {
            if (ReadResponse(answer))
                return 0;
            readFailed = true;
        }
        if (waited >= limit)
            return readFailed ? -7 : -3;
    }
}

bool ExchangeModel::ReadResponse(Answer& answer) {
    auto const bytes = files.Read(ScriptedAgent::response);
    auto const known = bytes ? answers.find(*bytes) : answers.end();
    if (known == answers.end())
        return false;
    answer = known->second;
    return true;
}

int ExchangeModel::Progress(int& percent, int& error) {
    if (!isOpen)
        return -6;
    if (isFinished)
        return 1;
    if (int const code = Exchange(progressRequest, held); code != 0)
        return code;
    if (held.state == 2)
        error = held.error;
    else if (held.state == 3)
        percent = held.percent;
    isFinished = held.state == 1;
    return held.state >= 1 && held.state <= 3 ? held.state : -7;
}

int ExchangeModel::ResultCount() const {
    return isFinished ? static_cast<int>(held.rows.size()) : -8;
}

int ExchangeModel::IndexedValue(unsigned int index, Row& row) const {
    if (!isFinished)
        return -8;
    if (index >= held.rows.size())
        return -20;
    row = held.rows[index];
    return 0;
}

int ExchangeModel::Close() {
    if (!isOpen)
        return -6;
    Answer notLookedAt;
    int const code = Exchange(closeRequest, notLookedAt);
    isOpen = isFinished = false;
    return code;
}
