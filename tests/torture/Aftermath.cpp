#include "tests/torture/Aftermath.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/system/Documents.h"
#include "tests/system/Tool.h"

namespace {

namespace fs = std::filesystem;

std::array<std::string, 3> CanonicalRequests() {
    return {OpenRequest("url", "doc", "0"), progressRequest, closeRequest};
}

std::string ContentIfThere(char const* path, bool& there) {
    there = fs::exists(fs::symlink_status(path));
    return there ? ReadBytes(path) : "";
}

// Each of the names in the listing is one of those that are known.
void ExpectNamesAmong(std::string const& known, std::string const& listing) {
    std::istringstream names(listing);
    for (std::string name; names >> name;)
        EXPECT_NE(std::string::npos, known.find(' ' + name + ' ')) << listing;
}

WrittenFile ResponseOnDisk() {
    struct stat facts {};
    if (lstat(ScriptedAgent::response, &facts) != 0)
        return {};
    return {ScriptedAgent::response, ReadBytes(ScriptedAgent::response), facts.st_ino,
            facts.st_mtim.tv_sec * 1'000'000'000LL + facts.st_mtim.tv_nsec};
}

void ExpectRefusedByTheRequest() {
    ScriptedAgent const silent;
    std::string const request = ReadBytes(ScriptedAgent::request);
    ToolRun const run = RunTool({"-c", "url", "doc"});
    EXPECT_EQ(OpenError(-5), run.output);
    EXPECT_EQ(ExitStatus::Exited(0), run.status);
    EXPECT_EQ(request, ReadBytes(ScriptedAgent::request));
}

} // namespace

namespace Torture {

void ExpectFreeLock() {
    int const file = open(ScriptedAgent::lockFile, O_RDWR | O_CLOEXEC);
    if (file < 0) {
        EXPECT_EQ(ENOENT, errno) << "the lock file can't be opened";
        return;
    }
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    EXPECT_EQ(0, fcntl(file, F_SETLK, &lock)) << "the lock is still held";
    close(file);
}

void ExpectWholeRequest() {
    bool there = false;
    auto const canonical = CanonicalRequests();
    std::string const request = ContentIfThere(ScriptedAgent::request, there);
    EXPECT_TRUE(!there || std::find(canonical.begin(), canonical.end(), request) != canonical.end())
        << "request.xml: " << request;
    std::string const temporary = ContentIfThere(ScriptedAgent::requestTemp, there);
    EXPECT_TRUE(std::any_of(canonical.begin(), canonical.end(),
                            [&](std::string const& whole) { return whole.starts_with(temporary); }))
        << "requestTemp.xml: " << temporary;
}

void ExpectKnownNames() {
    ExpectNamesAmong(" RequestDir ResponseDir ", ListDirectory("/var/opt/VeskaClient"));
    ExpectNamesAmong(" lockfile request.xml requestTemp.xml ",
                     ListDirectory(ScriptedAgent::requestDirectory));
    ExpectNamesAmong(" response.xml ", ListDirectory("/var/opt/VeskaClient/ResponseDir"));
}

void ExpectResponseOf(ScriptedAgent const& agent) {
    WrittenFile last;
    for (WrittenFile const& file : agent.Written())
        if (file.path == ScriptedAgent::response)
            last = file;
    WrittenFile const found = ResponseOnDisk();
    EXPECT_EQ(last.bytes, found.bytes);
    EXPECT_EQ(last.inode, found.inode);
    EXPECT_EQ(last.modified, found.modified);
}

void ExpectBeginning(std::string const& whole, std::string const& printed) {
    EXPECT_EQ(whole.substr(0, printed.size()), printed);
}

void ExpectNextRun() {
    AgentScript script;
    if (fs::exists(fs::symlink_status(ScriptedAgent::request))) {
        ExpectRefusedByTheRequest();
        script.AwaitRequest().RemoveRequest();
    }
    size_t const taken = script.size();
    script.Answer(OpenAnswer()).Answer(OneRowAnswer()).Answer(CloseAnswer());
    ScriptedAgent const agent(script);
    agent.AwaitSteps(taken);
    ToolRun const run = RunTool({"-c", "url", "doc"});
    EXPECT_EQ(PrintedOneRow(), run.output);
    EXPECT_EQ(ExitStatus::Exited(0), run.status);
    agent.AwaitEnd(std::chrono::seconds(5));
    EXPECT_EQ("lockfile ", ListDirectory(ScriptedAgent::requestDirectory));
    ExpectResponseOf(agent);
    ExpectFreeLock();
}

} // namespace Torture
