#include "compliance/ProcessNames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <utility>
#include <vector>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/compliance/FakeProcess.h"
#include "tests/support/OpenDescriptors.h"
#include "tests/support/OtherProcess.h"

namespace {

namespace fs = std::filesystem;
using std::nullopt;
using std::string;
using Name = std::optional<string>;

// The results of ProcessIdToName: the name, the parent, the real and the effective user.
using Facts = std::tuple<Name, long long, long long, long long>;
Facts const nothing{nullopt, -1, -1, -1};

constexpr unsigned int usualCapacity = 1024;

// Calls `store` with a buffer of that capacity. Returns the stored text, and expects that no other
// bytes are written.
template <typename Store>
Name TextFrom(unsigned int capacity, Store store) {
    constexpr char untouched = '\x55';
    string buffer(capacity + 1, untouched);
    Name const text = store(buffer.data()) ? Name(buffer.c_str()) : nullopt;
    size_t const written = text ? text->size() + 1 : 0;
    EXPECT_EQ(string(buffer.size() - written, untouched), buffer.substr(written));
    return text;
}

Facts Ask(unsigned int process, unsigned int capacity = usualCapacity) {
    long long parent = 0;
    long long realUser = 0;
    long long effectiveUser = 0;
    Name const name = TextFrom(capacity, [&](char* text) {
        return ProcessIdToName(process, text, capacity, parent, realUser, effectiveUser);
    });
    return {name, parent, realUser, effectiveUser};
}

Name NameOf(unsigned int process, unsigned int capacity = usualCapacity) {
    return std::get<Name>(Ask(process, capacity));
}

Name PathOf(unsigned int process, unsigned int capacity = processNameCapacity) {
    return TextFrom(capacity, [&](char* path) { return ProcessIdToPath(process, path, capacity); });
}

Name NameOfFake(FakeProcess const& process, unsigned int capacity = usualCapacity) {
    MakeFakeProcess("77", process);
    return NameOf(77, capacity);
}

unsigned int Id(pid_t process) { return static_cast<unsigned int>(process); }

// Real processes.

TEST(ProcessNamesTest, ReadsThisProcess) {
    string const program = fs::read_symlink("/proc/self/exe").string();
    Facts const expected{fs::path(program).filename().string(), getppid(), getuid(), geteuid()};
    long const open = CountOpenDescriptors();
    EXPECT_EQ(expected, Ask(Id(getpid())));
    EXPECT_EQ(program, PathOf(Id(getpid())));
    EXPECT_EQ(open, CountOpenDescriptors());
    OtherProcess withoutInput([] {
        close(0);
        EXPECT_EQ(getppid(), std::get<1>(Ask(Id(getpid())))) << "by the file descriptor 0";
    });
    EXPECT_EQ(ExitStatus::Exited(0), withoutInput.Wait());
}

// Deliberate: the system appends " (deleted)" to the link, and the name includes it.
SANDBOX_TEST(ProcessNamesTest, RemovedProgramHasAnotherName) {
    OtherProgram const agent(Sandbox::InstallIdleAgent());
    EXPECT_EQ((Facts{"VeskaClient", getpid(), 0, 0}), Ask(Id(agent.pid())));
    EXPECT_EQ(Sandbox::agentProgram, PathOf(Id(agent.pid())));
    fs::remove(Sandbox::agentProgram);
    EXPECT_EQ("VeskaClient (deleted)", NameOf(Id(agent.pid())));
}

SANDBOX_TEST(ProcessNamesTest, MissingProcessHasNoNameAndNoNumbers) {
    for (unsigned int const id : {0U, 4000000U, 4294967295U}) {
        EXPECT_EQ(nothing, Ask(id)) << id;
        EXPECT_EQ(nullopt, PathOf(id)) << id;
    }
}

// The name of a process with the given command name, as another user reads it.
Name NameForOtherUser(char const* commandName) {
    OtherProcess target([&](Handshake& line) {
        prctl(PR_SET_NAME, commandName);
        line.Tell();
        line.Await();
        prctl(PR_SET_DUMPABLE, 0);
        line.Tell();
        line.Await();
    });
    target.Await();
    EXPECT_EQ(NameOf(Id(getpid())), NameOf(Id(target.pid())))
        << "the command name instead of the program name";
    target.Tell();
    target.Await();
    OtherProcess prober([&](Handshake& line) {
        Sandbox::DropPrivileges();
        EXPECT_EQ(nullopt, PathOf(Id(target.pid())));
        Name const name = NameOf(Id(target.pid()));
        EXPECT_EQ((Facts{name, 2, 0, 0}), Ask(Id(target.pid())));
        line.Tell(name ? '+' + *name : "-");
    });
    string const told = prober.Await();
    prober.Wait();
    return told == "-" ? nullopt : Name(told.substr(1));
}

SANDBOX_TEST(ProcessNamesTest, NameIsTheCommandNameIfTheLinkIsUnreadable) {
    EXPECT_EQ("VeskaClient", NameForOtherUser("VeskaClient"));
    EXPECT_EQ("a b/c", NameForOtherUser("a b/c"));
    EXPECT_EQ("VeskaClient", NameForOtherUser("VeskaClient)xy"));
    EXPECT_EQ("(a", NameForOtherUser("(a"));
    EXPECT_EQ(nullopt, NameForOtherUser(")a"));
    EXPECT_EQ(nullopt, NameForOtherUser(""));
    EXPECT_EQ("VeskaClient2345", NameForOtherUser("VeskaClient23456"));
}

SANDBOX_TEST(ProcessNamesTest, ZombieHasACommandNameButNoPath) {
    pid_t const child = fork();
    if (child == 0) {
        prctl(PR_SET_NAME, "VeskaClient");
        _exit(0);
    }
    siginfo_t info{};
    ASSERT_EQ(0, waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT));
    EXPECT_EQ("VeskaClient", NameOf(Id(child)));
    EXPECT_EQ(nullopt, PathOf(Id(child)));
}

SANDBOX_TEST_WITH(ProcessNamesTest, NoNamesAreKnownWithoutProc, noProc) {
    EXPECT_EQ(nothing, Ask(Id(getpid())));
    EXPECT_FALSE(ProcessIdToPathWorks());
    EXPECT_FALSE(AnyProcess([](unsigned int) { return true; }));
}

// Simulated processes.

// Deliberate: a single slash at the start is kept, so the name never equals that of the agent.
SANDBOX_TEST_WITH(ProcessNamesTest, NameIsTheLastComponentOfTheLink, emptyProc) {
    for (auto const& [link, name] :
         std::vector<std::pair<char const*, Name>>{{"/a/b/c", "c"},
                                                   {"a/b", "b"},
                                                   {"plain", "plain"},
                                                   {"//b", "b"},
                                                   {"/VeskaClient", "/VeskaClient"},
                                                   {"/", "/"},
                                                   {"a/", nullopt}})
        EXPECT_EQ(name, NameOfFake({.exe = link, .stat = "77 (other) S"})) << link;
    for (unsigned int const id : {0U, 4294967295U}) {
        MakeFakeProcess(std::to_string(id), {.exe = "/a/b"});
        EXPECT_EQ("/a/b", PathOf(id)) << "a process ID has 32 bits";
    }
}

SANDBOX_TEST_WITH(ProcessNamesTest, StatHasTheNameInItsFirstParentheses, emptyProc) {
    string const longest(511 - 5, 'n');
    for (auto const& [stat, name] :
         std::vector<std::pair<string, Name>>{{"(a)", "a"},
                                              {"77 (a (b) c) S", "a (b"},
                                              {"77 ((a)) S", "(a"},
                                              {"77 (a\nb) S", "a\nb"},
                                              {"77 () S", nullopt},
                                              {"77 )(a) S", nullopt},
                                              {"77 (a S", nullopt},
                                              {"", nullopt},
                                              {string("77 (a\0) S", 9), nullopt},
                                              {"77 (" + longest + ") S", longest},
                                              {"77 (" + longest + "n) S", nullopt}})
        EXPECT_EQ(name, NameOfFake({.stat = stat})) << stat;
}

// The parent is sign-extended, the users are zero-extended.
SANDBOX_TEST_WITH(ProcessNamesTest, StatusNumbersFollowTheirLabels, emptyProc) {
    struct {
        char const* rule;
        string status;
        long long parent = -1;
        long long realUser = -1;
        long long effectiveUser = -1;
    } const cases[] = {
        {"any order", "\nUid:\t6\t7\nPPid:\t5\n", 5, 6, 7},
        {"one user is none", "\nUid:\t6\nPPid:\t5\n", 5},
        {"one bad user is none", "\nUid:\t6\tx\nPPid:\t5\n", 5},
        {"a label begins a line", "\n PPid:\t5\n"},
        {"a label of the first line is not found", "PPid:\t5\nUid:\t6\t7\n", -1, 6, 7},
        {"the first label counts", "\nPPid:\tx\nPPid:\t5\n"},
        {"any whitespace or none", "\nPPid: \v\f\r\n5\nUid:6\t\t 7", 5, 6, 7},
        {"a number ends at another byte", "\nPPid:\t5x", 5},
        {"decimal only", "\nPPid:\t0x5", 0},
        {"one sign", "\nPPid:\t+5\nUid:\t6+7", 5, 6, 7},
        {"two signs", "\nPPid:\t--5"},
        {"lowest parent", "\nPPid:\t-2147483648\n", -2147483648LL},
        {"highest users", "\nUid:\t4294967295\t-2\n", -1, 4294967295, 4294967294},
        {"only 511 bytes are read", string(502, 'x') + "\nPPid:\t1234", 12},
    };
    for (auto const& [rule, status, parent, realUser, effectiveUser] : cases) {
        MakeFakeProcess("77", {.exe = "/a/b", .status = status});
        EXPECT_EQ((Facts{"b", parent, realUser, effectiveUser}), Ask(77)) << rule;
    }
}

SANDBOX_TEST_WITH(ProcessNamesTest, NameMustFitWithItsNul, emptyProc) {
    string const name(usualCapacity - 1, 'n');
    EXPECT_EQ(name, NameOfFake({.exe = "/a/" + name}));
    EXPECT_EQ(nullopt, NameOfFake({.exe = "/a/" + name + 'n'}));
}

SANDBOX_TEST_WITH(ProcessNamesTest, LongestLinkOfTheSystemIsRead, emptyProc) {
    string const longest(4093, 'n');
    EXPECT_EQ(longest, NameOfFake({.exe = "a/" + longest}, 5000));
    EXPECT_EQ("a/" + longest, PathOf(77, 4096));
    EXPECT_EQ(nullopt, PathOf(77, 4095));
    string const noSlash(4095, 'n');
    EXPECT_EQ(noSlash, NameOfFake({.exe = noSlash}, 4096));
    EXPECT_EQ(nullopt, NameOfFake({.exe = noSlash}, 4095));
}

SANDBOX_TEST_WITH(ProcessNamesTest, FilesAreReadIndependentlyOfEachOther, emptyProc) {
    EXPECT_EQ("stat", NameOfFake({.stat = "77 (stat) S"}));
    fs::create_directory("/proc/77/exe");
    EXPECT_EQ("stat", NameOf(77)) << "an entry that is not a link is not read as one";
    MakeFakeProcess("77", {.exe = "/a/b"});
    EXPECT_EQ((Facts{"b", -1, -1, -1}), Ask(77));
    fs::create_directory("/proc/77/status");
    EXPECT_EQ((Facts{"b", -1, -1, -1}), Ask(77));
    MakeFakeProcess("77", {.status = "Name:\tx\nPPid:\t5\nUid:\t6\t7\t8\t9\n"});
    EXPECT_EQ((Facts{nullopt, 5, 6, 7}), Ask(77));
    fs::create_directory("/proc/77/stat");
    EXPECT_EQ((Facts{nullopt, 5, 6, 7}), Ask(77));
}

TEST(ProcessNamesTest, AvailabilityOfPathsIsDeterminedOnce) {
    string const self = "2"; // the body of a sandbox
    Sandbox::Run([] { EXPECT_TRUE(ProcessIdToPathWorks()); });
    Sandbox::Run(emptyProc, [&] {
        EXPECT_FALSE(ProcessIdToPathWorks());
        MakeFakeProcess(self, {.exe = "/a/b"});
        EXPECT_FALSE(ProcessIdToPathWorks());
        OtherProcess forked([] {
            MakeFakeProcess(std::to_string(getpid()), {.exe = "/a/b"});
            EXPECT_EQ("/a/b", PathOf(Id(getpid())));
            EXPECT_FALSE(ProcessIdToPathWorks());
        });
        EXPECT_EQ(ExitStatus::Exited(0), forked.Wait());
    });
    for (size_t const length : {4, 1023, 1024})
        Sandbox::Run(emptyProc, [&] {
            MakeFakeProcess(self, {.exe = string(length, 'p')});
            EXPECT_EQ(length < 1024, ProcessIdToPathWorks());
            fs::remove_all("/proc/" + self);
            EXPECT_EQ(length < 1024, ProcessIdToPathWorks());
        });
}

// All processes.

using Ids = std::vector<unsigned int>;

Ids AllProcesses() {
    Ids ids;
    EXPECT_FALSE(AnyProcess([&ids](unsigned int id) {
        ids.push_back(id);
        return false;
    }));
    std::sort(ids.begin(), ids.end());
    return ids;
}

// Deliberate: the leading number is the process, truncated to 32 bits; the rest of the name is
// ignored.
SANDBOX_TEST_WITH(ProcessNamesTest, VisitsEachDirectoryThatBeginsWithANonzeroNumber, emptyProc) {
    for (string const name :
         {"7", "012", "31x", " 32", "4294967329", "8589934626 and more", "-4294967261",
          "4294967296", "0", "00", "-0", "0x1", "self", "x31", "a1"})
        fs::create_directory("/proc/" + name);
    fs::create_directory("/proc/" + string(255, '9'));
    fs::create_directory_symlink("self", "/proc/36");
    fs::create_symlink("nowhere", "/proc/37");
    std::ofstream("/proc/38");
    EXPECT_EQ((Ids{0, 7, 12, 31, 32, 33, 34, 35, 36, 4294967295}), AllProcesses());
}

SANDBOX_TEST_WITH(ProcessNamesTest, StopsAtTheFirstMatchingProcess, emptyProc) {
    for (string const name : {"7", "8", "9"})
        fs::create_directory("/proc/" + name);
    int calls = 0;
    EXPECT_TRUE(AnyProcess([&calls](unsigned int) { return ++calls == 2; }));
    EXPECT_EQ(2, calls);
}

} // namespace
