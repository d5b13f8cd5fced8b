// Short writes at every byte, full disks, and read-only or separate file systems. tests/system has
// single cases of each kind.
#include <sys/socket.h>

#include "tests/stress/PreloadedProgram.h"
#include "tests/stress/TestCases.h"
#include "tests/support/ForwardedFailures.h"

namespace {

ProgramResult RunUsual(Preloading const& preloading = {}) {
    return RunPreloaded(DynamicTool(), preloading);
}

void ExpectOutput(std::string const& output, ProgramResult const& result = RunUsual()) {
    ExpectPrinted(output, result);
    EXPECT_FALSE(IsLocked());
}

// The four requests of a usual evaluation are cut in turn.

std::vector<std::string> const usualRequests = {OpenRequest("url", "doc", "0"), progressRequest,
                                                progressRequest, closeRequest};

// One write fails or is short.
ProgramResult RunWithCut(size_t number, size_t offset, int error) {
    PlayedAgent::Reset();
    return RunUsual({.cutWrites = std::to_string(number + 1) + ' ' + std::to_string(offset) + ' ' +
                                  std::to_string(error)});
}

// A short write is continued after the cut, with no visible effect.
void TryShortWrite(size_t number, size_t offset) {
    ExpectOutput(UsualOutput(), RunWithCut(number, offset, 0));
    EXPECT_EQ(usualRequests, PlayedAgent::Seen());
    EXPECT_EQ("lockfile ", Requests());
}

// Deliberate: the bytes before the cut are published. The Close request replaces a part of a
// Progress request before the agent sees it.
void TryFullDisk(size_t number, size_t offset) {
    std::string const outputs[] = {OpenError(-17), "", PrintedPercent("50"), UsualOutput()};
    ExpectOutput(outputs[number], RunWithCut(number, offset, ENOSPC));
    std::vector<std::string> taken(usualRequests.begin(),
                                   usualRequests.begin() + static_cast<std::ptrdiff_t>(number));
    bool const partStays = number == 0 || number == 3;
    if (!partStays)
        taken.emplace_back(closeRequest);
    EXPECT_EQ(taken, PlayedAgent::Seen());
    if (!partStays) {
        EXPECT_EQ("lockfile ", Requests());
        return;
    }
    EXPECT_EQ(usualRequests[number].substr(0, offset), ReadBytes(ScriptedAgent::request));
    EXPECT_EQ("lockfile request.xml ", Requests());
    ExpectOutput(OpenError(-5));
}

void CutAt(size_t number, size_t offset) {
    SCOPED_TRACE("request " + std::to_string(number + 1) + " at byte " + std::to_string(offset));
    if (offset != 0)
        TryShortWrite(number, offset);
    TryFullDisk(number, offset);
}

size_t CutEvery(size_t number, size_t first, size_t step) {
    std::string const& request = usualRequests[number];
    Sandbox::Run({.limit = std::chrono::minutes(10)}, [&] {
        PlayedAgent const agent(UsualResponses());
        for (size_t offset = first; offset < request.size() && !testing::Test::HasFailure();
             offset += step)
            CutAt(number, offset);
    });
    return 2 * ((request.size() - first + step - 1) / step);
}

TEST(QuickShortWrites, AreContinuedUnlessTheDiskIsFull) {
    size_t testCases = 0;
    for (size_t number = 0; number < usualRequests.size(); ++number)
        testCases += CutEvery(number, number * 5, 97);
    CountTestCases(testCases);
}

class FullShortWrites : public testing::TestWithParam<size_t> {};

TEST_P(FullShortWrites, AreContinuedUnlessTheDiskIsFull) {
    CountTestCases(CutEvery(GetParam(), 0, 1));
}

INSTANTIATE_TEST_SUITE_P(FullRequests, FullShortWrites, testing::Range<size_t>(0, 4));

// The same by the system's limit for the size of a file, on the shipped program.

void TryFileSize(size_t limit, bool isIgnored) {
    SCOPED_TRACE("limit " + std::to_string(limit));
    PlayedAgent::Reset();
    // The output is not a file, so the limit does not apply to it.
    auto const [reader, writer] = MakeLine();
    ProgramOptions options{.limits = {{RLIMIT_FSIZE, limit}}};
    options.prepare = [&, output = writer] {
        signal(SIGXFSZ, isIgnored ? SIG_IGN : SIG_DFL);
        return dup2(output, STDOUT_FILENO) == STDOUT_FILENO;
    };
    ProgramResult const result = RunProgram({CC_TOOL_PROGRAM, "-c", "url", "doc"}, options);
    char printed[4096] = "";
    recv(reader, printed, sizeof printed - 1, MSG_DONTWAIT);
    close(reader);
    close(writer);
    std::string const part = usualRequests[0].substr(0, limit);
    EXPECT_FALSE(IsLocked());
    if (isIgnored) {
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
        EXPECT_EQ(OpenError(-17), printed);
        EXPECT_EQ(part, ReadBytes(ScriptedAgent::request));
        EXPECT_EQ("lockfile request.xml ", Requests());
    } else {
        EXPECT_EQ(ExitStatus::Killed(SIGXFSZ), result.status);
        EXPECT_EQ(part, ReadBytes(ScriptedAgent::requestTemp));
        EXPECT_EQ("lockfile requestTemp.xml ", Requests());
    }
}

size_t TryFileSizes(size_t first, size_t step) {
    size_t const size = usualRequests[0].size();
    Sandbox::Run({.limit = std::chrono::minutes(10)}, [=] {
        PlayedAgent const agent({});
        for (size_t limit = first; limit < size && !testing::Test::HasFailure(); limit += step)
            TryFileSize(limit, true);
        TryFileSize(first, false);
    });
    return (size - first + step - 1) / step + 1;
}

TEST(QuickFileSizes, SomeLimitsTruncateTheRequest) { CountTestCases(TryFileSizes(7, 83)); }

TEST(FullFileSizes, EachLimitTruncatesTheRequest) { CountTestCases(TryFileSizes(0, 1)); }

// Full disks.

constexpr size_t page = 4096;

void TryFreePages(size_t pages) {
    SCOPED_TRACE(std::to_string(pages) + " free pages");
    // Four pages and some bytes.
    std::string const url(4 * page, 'u');
    std::string const request = OpenRequest(url, "doc", "0");
    PlayedAgent const agent(UsualResponses());
    PlayedAgent::Reset();
    SmallFileSystem disk(ScriptedAgent::requestDirectory, {.bytes = 16 * page});
    WriteBytes(disk / "room", std::string(pages * page, 'x'));
    disk.FillUp();
    fs::remove(disk / "room");
    ProgramResult const result = RunPreloaded(DynamicTool(url), {});
    if (pages * page >= request.size()) {
        ExpectOutput(UsualOutput(), result);
        EXPECT_EQ("filler lockfile ", Requests());
        return;
    }
    ExpectOutput(OpenError(-17), result);
    EXPECT_EQ(request.substr(0, pages * page), ReadBytes(ScriptedAgent::request));
    EXPECT_EQ("filler lockfile request.xml ", Requests());
    ExpectOutput(OpenError(-5));
}

TEST(QuickFullDisks, FreePagesDetermineThePublishedPart) {
    Sandbox::Run([] {
        for (size_t pages = 0; pages <= 7; ++pages)
            TryFreePages(pages);
    });
    CountTestCases(8);
}

// One is the root of the file system. The lock file is created first, then the request.
TEST(QuickFullDisks, FreeInodesDetermineTheErrorCode) {
    Sandbox::Run([] {
        for (size_t files = 1; files <= 4; ++files) {
            SCOPED_TRACE(std::to_string(files) + " files");
            PlayedAgent const agent(UsualResponses());
            PlayedAgent::Reset();
            SmallFileSystem const disk(ScriptedAgent::requestDirectory, {.inodes = files});
            std::string const outputs[] = {OpenError(-6), OpenError(-17), UsualOutput(),
                                           UsualOutput()};
            ExpectPrinted(outputs[files - 1], RunUsual());
            EXPECT_EQ(files == 1 ? "" : "lockfile ", Requests());
        }
    });
    CountTestCases(4);
}

// Read-only and separate file systems.

void Bind(std::string const& from, std::string const& to) {
    if (mount(from.c_str(), to.c_str(), nullptr, MS_BIND, nullptr) != 0)
        throw std::runtime_error("cannot bind " + to);
}

SANDBOX_TEST(QuickFileSystems, OnlyTheLockFileIsWritable) {
    PlayedAgent const agent(UsualResponses());
    SmallFileSystem disk(ScriptedAgent::requestDirectory);
    WriteBytes(ScriptedAgent::lockFile, "");
    disk.MakeReadOnly();
    ExpectPrinted(OpenError(-6), RunUsual());
    WriteBytes("/opt/lockfile", "");
    Bind("/opt/lockfile", ScriptedAgent::lockFile);
    ExpectOutput(OpenError(-17));
    EXPECT_EQ("lockfile ", Requests());
}

// The agent cannot publish there, but takes the requests.
SANDBOX_TEST(QuickFileSystems, ReadsOldResponseOnReadOnlyFileSystem) {
    PlayedAgent const agent(UsualResponses());
    SmallFileSystem disk(responseDirectory);
    WriteBytes(ScriptedAgent::response, ProgressResponse("2", "5"));
    disk.MakeReadOnly();
    ExpectOutput(PrintedError("5"));
    EXPECT_EQ(ProgressResponse("2", "5"), ReadBytes(ScriptedAgent::response));
    EXPECT_EQ("response.xml ", ListDirectory(responseDirectory));
}

TEST(QuickFileSystems, RequestsAndResponsesOnSeparateFileSystems) {
    Sandbox::Run([] {
        for (char const* const directory : {ScriptedAgent::requestDirectory, responseDirectory}) {
            PlayedAgent const agent(UsualResponses());
            SmallFileSystem const disk(directory);
            ExpectOutput(UsualOutput());
            EXPECT_EQ("lockfile ", Requests());
        }
    });
    CountTestCases(2);
}

// Deliberate: the file of another file system can be written, but not renamed. A refused rename
// counts as successful, so the request counts as taken, and there is no response.
SANDBOX_TEST(QuickFileSystems, CannotRenameDocumentOfAnotherFileSystem) {
    PlayedAgent const agent(UsualResponses());
    WriteBytes("/opt/file", "old");
    WriteBytes(ScriptedAgent::requestTemp, "");
    Bind("/opt/file", ScriptedAgent::requestTemp);
    ExpectOutput(OpenError(-7));
    EXPECT_EQ(usualRequests[0], ReadBytes("/opt/file"));
    EXPECT_EQ("lockfile requestTemp.xml ", Requests());
    // An existing response is read as the response to this request.
    WriteBytes(ScriptedAgent::response, ProgressResponse("2", "5"));
    ExpectOutput(PrintedError("5"));
    EXPECT_EQ(closeRequest, ReadBytes("/opt/file"));
}

SANDBOX_TEST(QuickFileSystems, RequestOnAnotherFileSystemIsPending) {
    PlayedAgent const agent(UsualResponses());
    WriteBytes("/opt/file", "old");
    WriteBytes(ScriptedAgent::request, "");
    Bind("/opt/file", ScriptedAgent::request);
    ExpectOutput(OpenError(-5));
    EXPECT_EQ("old", ReadBytes(ScriptedAgent::request));
}

} // namespace
