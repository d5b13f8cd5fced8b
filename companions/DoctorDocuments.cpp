#include "companions/Doctor.h"

#include <cerrno>

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
            file.Path() + " changed while it was examined", "run compliance-doctor again"};
}

Finding DescribeWaiting(FileFacts const& file, LockState::What lock) {
    constexpr char check[] = "request";
    long long const age = file.AgeInSeconds();
    std::string const facts = DescribeAge(age) + ", " + file.OwnerAndMode();
    if (lock == LockState::held)
        return {check,
                Verdict::note,
                "request-under-way",
                "a request is waiting for the agent, while a process holds the lock: " + facts,
                "wait until the lock is released",
                {},
                age};
    if (lock == LockState::unknown)
        return {check,
                Verdict::problem,
                "request-waiting",
                "a request is waiting for the agent, and it is unknown whether its evaluation has "
                "ended: " +
                    facts,
                "solve the problem of the lock first, and run compliance-doctor again",
                {},
                age};
    return {check,
            Verdict::problem,
            "request-stale",
            "a request of an evaluation that has ended blocks all evaluations: " + facts,
            "start the agent, which takes the request, or remove " + file.Path(),
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
                file.Path() + " is not a regular file, and blocks all evaluations",
                "remove or rename it"};
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
                file.Path() + " is a symbolic link: a request can overwrite its target",
                "remove the link, and check which users can write to its directory"};
    if (file.IsAbsent())
        return {check, Verdict::ok, "", "there is no temporary request"};
    if (!file.IsRegularFile())
        return {check, Verdict::problem, "temporary-request-not-a-file",
                file.Path() + " is not a regular file, so no request can be written",
                "remove or rename it"};
    int const refusal = file.Refusal(R_OK | W_OK);
    if (refusal == EROFS)
        return DescribeReadOnly(check, file);
    if (refusal != 0 || IsProtectedByStickyDirectory(file, directory))
        return {check, Verdict::problem, "temporary-request-not-writable",
                "this user cannot read and write " + file.Path() + ": " + file.OwnerAndMode(),
                "remove it as its owner or as root"};
    if (IsKeptByStickyDirectory(file, directory))
        return {check, Verdict::problem, "temporary-request-not-movable",
                "this user cannot rename " + file.Path() +
                    ", because its directory is sticky: " + file.OwnerAndMode(),
                "remove it as its owner or as root"};
    return {check, Verdict::ok, "", "a temporary request exists, and will be overwritten"};
}

Finding CheckResponse() {
    constexpr char check[] = "response";
    FileFacts const file(AgentPaths::response);
    if (file.IsUnexaminable())
        return DescribeUnexaminable(check, file);
    if (file.IsLink())
        return {check, Verdict::problem, "response-link",
                file.Path() + " is a symbolic link: its target is read as the agent's response",
                "remove the link, and check which users can write to its directory"};
    if (file.IsAbsent())
        return {check, Verdict::ok, "", "there is no response"};
    if (!file.IsRegularFile())
        return {
            check, Verdict::problem, "response-not-a-file",
            file.Path() +
                " is not a regular file, and can make an evaluation fail or block without limit",
            "remove or rename it"};
    if (file.Refusal(R_OK) != 0)
        return {check, Verdict::problem, "response-not-readable",
                "this user cannot read " + file.Path() + ": " + file.OwnerAndMode(),
                "run as a user with read permission, or configure the agent to give it to this "
                "user"};
    if (file.Facts().st_size > maxResponseBytes)
        return {check, Verdict::problem, "response-too-large",
                file.Path() + " has " + std::to_string(file.Facts().st_size) +
                    " bytes, and the tool reads a response into memory",
                "remove it, and look for the reason in the agent's log"};
    long long const age = file.AgeInSeconds();
    if (age >= 0 && age <= maxExchangeSeconds)
        return {check, Verdict::ok, "", "there is a new response"};
    return {check,
            Verdict::note,
            "response-old",
            "there is a response of an earlier exchange, " + DescribeAge(age) +
                "; if the agent takes a request and does not answer, this response counts as the "
                "new one",
            "",
            {},
            age};
}
