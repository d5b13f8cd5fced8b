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
            std::string("the agent is not installed: ") + missing + " is missing"};
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
    // Write permission for the directory is required only to create the lock file.
    Finding const directory = CheckRequestDirectory();
    if (directory.verdict == Verdict::problem && !FileFacts(AgentPaths::lockFile).Exists())
        return {QueryExit::exchangeFailed, MessageOf(directory)};
    return {QueryExit::busy, "the lock was held by a process that has released it since", true};
}
