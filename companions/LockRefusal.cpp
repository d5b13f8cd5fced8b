#include "companions/LockRefusal.h"

#include "companions/Doctor.h"
#include "companions/DoctorFiles.h"
#include "compliance/AgentPaths.h"

namespace {

// REQUIRES: a problem.
std::string MessageOf(Finding const& finding) {
    return "the lock was refused: " + finding.message + "; remedy: " + finding.remedy;
}

QueryFailure NoAgent(char const* missing) {
    return {QueryExit::noAgent,
            std::string("the agent is not installed or not started: ") + missing + " is missing"};
}

} // namespace

QueryFailure DescribeLockRefusal() {
    for (char const* const path : {AgentPaths::program, AgentPaths::requestDirectory})
        if (FileFacts(path).IsMissing())
            return NoAgent(path);
    LockState const lock = AskForLock();
    Finding const finding = CheckLock(lock);
    if (lock.what == LockState::held)
        return {QueryExit::busy, MessageOf(finding), true};
    if (finding.verdict == Verdict::problem)
        return {QueryExit::exchangeFailed, MessageOf(finding)};
    // Permission to write to the directory, and space, are required only to create the lock file.
    if (!FileFacts(AgentPaths::lockFile).Exists())
        for (Finding const& obstacle : {CheckRequestDirectory(), CheckSpace()})
            if (obstacle.verdict == Verdict::problem)
                return {QueryExit::exchangeFailed, MessageOf(obstacle)};
    return {QueryExit::busy,
            "the lock was refused, probably because of a process that has released it since", true};
}
