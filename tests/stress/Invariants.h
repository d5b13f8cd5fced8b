// Invariants of a sandbox after a tool was killed in it. Their numbers are those of
// docs/testing.md.
//
// REQUIRES: the body of a Sandbox; the requests are those of `-c url doc`.
#pragma once

#include <sstream>

#include "tests/stress/TestCases.h"

// Each name of the listing is a known name.
inline void ExpectNamesAmong(std::string const& known, std::string const& listing) {
    std::istringstream names(listing);
    for (std::string name; names >> name;)
        EXPECT_NE(std::string::npos, known.find(' ' + name + ' ')) << listing;
}

inline void ExpectRefusedByTheRequest() {
    ScriptedAgent const silent;
    std::string const request = ReadBytes(ScriptedAgent::request);
    ExpectPrinted(OpenError(-5), RunTool({"-c", "url", "doc"}));
    EXPECT_EQ(request, ReadBytes(ScriptedAgent::request));
}

// I2: a new process can lock the whole lock file immediately.
inline void ExpectFreeLock() {
    int const file = open(ScriptedAgent::lockFile, O_RDWR | O_CLOEXEC);
    if (file < 0) {
        EXPECT_EQ(ENOENT, errno) << "cannot open the lock file";
        return;
    }
    struct flock lock = WantedLock().Record();
    EXPECT_EQ(0, fcntl(file, F_SETLK, &lock)) << "the lock is still held";
    close(file);
}

// I1: the request is absent or one of the three complete documents. The temporary document is
// absent or the start of one.
inline void ExpectWholeRequest() {
    std::string const whole[] = {OpenRequest("url", "doc", "0"), progressRequest, closeRequest};
    Entry const request = EntryOnDisk(ScriptedAgent::request);
    EXPECT_TRUE(request == Entry() || std::ranges::count(whole, request.bytes) == 1)
        << "request.xml: " << request;
    std::string const temporary = EntryOnDisk(ScriptedAgent::requestTemp).bytes;
    EXPECT_TRUE(std::ranges::any_of(whole, [&](auto& all) { return all.starts_with(temporary); }))
        << "requestTemp.xml: " << temporary;
}

// I4: the two directories contain only the fixed names.
inline void ExpectKnownNames() {
    ExpectNamesAmong(" RequestDir ResponseDir ", ListDirectory("/var/opt/VeskaClient"));
    ExpectNamesAmong(" lockfile request.xml requestTemp.xml ", Requests());
    ExpectNamesAmong(" response.xml ", ListDirectory("/var/opt/VeskaClient/ResponseDir"));
}

// I3: the response is the last file that the agent has published, or absent if there is none.
inline void ExpectResponseOf(ScriptedAgent const& agent) {
    WrittenFile last;
    for (WrittenFile const& file : agent.Written())
        if (file.path == ScriptedAgent::response)
            last = file;
    EXPECT_EQ(last, FileOnDisk(ScriptedAgent::response));
}

// I5: `printed` is the start of the expected output. It may end within a line, because output to a
// file or a pipe is written in blocks.
inline void ExpectBeginning(std::string const& whole, std::string const& printed) {
    EXPECT_EQ(whole.substr(0, printed.size()), printed);
}

// I6: while a request is pending, the next tool fails with -5 and changes nothing. When the agent
// has taken the request, an evaluation succeeds.
inline void ExpectNextRun() {
    AgentScript script;
    if (EntryOnDisk(ScriptedAgent::request) != Entry()) {
        ExpectRefusedByTheRequest();
        script.AwaitRequest().RemoveRequest();
    }
    size_t const taken = script.size();
    script.Answer(OpenResponse()).Answer(OneRowResponse()).Answer(CloseResponse());
    ScriptedAgent const agent(script);
    agent.AwaitSteps(taken);
    ExpectPrinted(PrintedOneRow(), RunTool({"-c", "url", "doc"}));
    agent.AwaitEnd(std::chrono::seconds(5));
    EXPECT_EQ("lockfile ", Requests());
    ExpectResponseOf(agent);
    ExpectFreeLock();
}
