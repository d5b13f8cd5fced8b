#include "companions/Doctor.h"

#include <unistd.h>

#include "companions/DoctorFiles.h"
#include "compliance/AgentPaths.h"

namespace {

// An exchange waits at most this long for the response, so an older response does not belong to the
// current exchange.
constexpr long long maxExchangeSeconds = 10;

// A problem if there is a request now: other evaluations fail until the one that wrote it ends.
Finding DescribeChange(FileFacts const& file) {
    return {"request", file.IsAbsent() ? Verdict::note : Verdict::problem, "request-changed",
            file.Path() + " changed while it was examined", "run the doctor again"};
}

Finding DescribeWaiting(FileFacts const& file, LockState::What lock) {
    constexpr char check[] = "request";
    long long const age = file.AgeInSeconds();
    std::string const facts = DescribeAge(age) + ", " + file.OwnerAndMode();
    if (lock == LockState::held)
        return {check,
                Verdict::note,
                "request-under-way",
                "a request of the evaluation that holds the lock is waiting: " + facts,
                "wait for the end of that evaluation",
                {},
                age};
    if (lock == LockState::unknown)
        return {check,
                Verdict::problem,
                "request-waiting",
                "a request is waiting, and it is not known whether an evaluation waits for it: " +
                    facts,
                "run the doctor as a user who may read the lock file",
                {},
                age};
    return {check,
            Verdict::problem,
            "request-stale",
            "a request that nobody waits for any more keeps off all evaluations: " + facts,
            "start the agent, which takes it; or remove " + file.Path(),
            {},
            age};
}

} // namespace

Finding CheckRequest(FileFacts const& before, LockState const& lock) {
    FileFacts const file(AgentPaths::request);
    if (lock.what != LockState::held && !file.HasSameEntryAs(before))
        return DescribeChange(file);
    if (file.IsUnexaminable())
        return DescribeUnexaminable("request", file);
    if (file.IsAbsent())
        return {"request", Verdict::ok, "", "no request is waiting"};
    if (!file.IsRegularFile())
        return {"request", Verdict::problem, "request-not-a-file",
                file.Path() + " is no regular file, and keeps off all evaluations",
                "move away what stands there"};
    return DescribeWaiting(file, lock.what);
}

Finding CheckTemporaryRequest() {
    constexpr char check[] = "temporary-request";
    FileFacts const file(AgentPaths::temporaryRequest);
    FileFacts const directory(AgentPaths::requestDirectory);
    if (file.IsUnexaminable())
        return DescribeUnexaminable(check, file);
    if (file.IsLink())
        return {check, Verdict::problem, "temporary-request-link",
                file.Path() + " is a symbolic link: the next request is written over the file that "
                              "it leads to",
                "remove the link, and see who may write to its directory"};
    if (file.IsAbsent())
        return {check, Verdict::ok, "", "no temporary request is in the way"};
    if (!file.IsRegularFile())
        return {check, Verdict::problem, "temporary-request-not-a-file",
                file.Path() + " is no regular file, and no request can be written",
                "move away what stands there"};
    if (file.Refusal(R_OK | W_OK) != 0 || IsProtectedByStickyDirectory(file, directory))
        return {check, Verdict::problem, "temporary-request-not-writable",
                "this user may not read and write " + file.Path() +
                    ", left by an evaluation that broke off: " + file.OwnerAndMode(),
                "let its owner remove it"};
    if (IsKeptByStickyDirectory(file, directory))
        return {check, Verdict::problem, "temporary-request-not-movable",
                "this user may not rename " + file.Path() +
                    ", since its directory is sticky: " + file.OwnerAndMode(),
                "let its owner remove it"};
    return {check, Verdict::ok, "", "a temporary request is left over, and will be overwritten"};
}

Finding CheckResponse() {
    constexpr char check[] = "response";
    FileFacts const file(AgentPaths::response);
    if (file.IsUnexaminable())
        return DescribeUnexaminable(check, file);
    if (file.IsLink())
        return {check, Verdict::problem, "response-link",
                file.Path() + " is a symbolic link: the file that it leads to is read as the "
                              "agent's answer",
                "remove the link, and see who may write to its directory"};
    if (file.IsAbsent())
        return {check, Verdict::ok, "", "no response is there"};
    if (!file.IsRegularFile())
        return {check, Verdict::problem, "response-not-a-file",
                file.Path() + " is no regular file, and may keep an evaluation waiting for ever",
                "move away what stands there"};
    if (file.Refusal(R_OK) != 0)
        return {check, Verdict::problem, "response-not-readable",
                "this user may not read " + file.Path() + ": " + file.OwnerAndMode(),
                "run as a user who may, or set the agent up to let this user read"};
    if (file.Facts().st_size > maxResponseBytes)
        return {check, Verdict::problem, "response-too-large",
                file.Path() + " has " + std::to_string(file.Facts().st_size) +
                    " bytes, and the tool reads a response into memory",
                "remove it, and see why the agent wrote it"};
    long long const age = file.AgeInSeconds();
    if (age >= 0 && age <= maxExchangeSeconds)
        return {check, Verdict::ok, "", "a new response is there"};
    return {check,
            Verdict::note,
            "response-old",
            "the response of an earlier exchange is there, " + DescribeAge(age) +
                "; should the agent take a request and answer nothing, it counts as the answer",
            "",
            {},
            age};
}
