#include "compliance/ProcessNames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/compliance/FakeProcess.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/PrivateMachine.h"

namespace {

namespace fs = std::filesystem;
using PrivateMachine::Proc;
using std::nullopt;
using std::string;

// All that ProcessIdToName gives.
struct Answer {
    std::optional<string> name;
    long long parent = 0;
    long long realUser = 0;
    long long effectiveUser = 0;

    bool operator==(Answer const&) const = default;
};

std::ostream& operator<<(std::ostream& out, Answer const& answer) {
    return out << (answer.name ? '"' + *answer.name + '"' : "no name") << ", parent "
               << answer.parent << ", users " << answer.realUser << ' ' << answer.effectiveUser;
}

constexpr unsigned int usualCapacity = 1024;
constexpr char untouched = '\x55';

// Also checks that not a byte is written beside the result.
Answer Ask(unsigned int process, unsigned int capacity = usualCapacity) {
    string buffer(capacity + 1, untouched);
    Answer answer;
    bool const found = ProcessIdToName(process, buffer.data(), capacity, answer.parent,
                                       answer.realUser, answer.effectiveUser);
    if (found)
        answer.name = buffer.c_str();
    size_t const written = found ? answer.name->size() + 1 : 0;
    EXPECT_EQ(string(buffer.size() - written, untouched), buffer.substr(written));
    return answer;
}

std::optional<string> NameOf(unsigned int process, unsigned int capacity = usualCapacity) {
    return Ask(process, capacity).name;
}

std::optional<string> PathOf(unsigned int process, unsigned int capacity) {
    string buffer(capacity + 1, untouched);
    if (!ProcessIdToPath(process, buffer.data(), capacity)) {
        EXPECT_EQ(string(buffer.size(), untouched), buffer);
        return nullopt;
    }
    return string(buffer.c_str());
}

// In a machine of its own with nothing in /proc but what the test lays out.
void WithEmptyProc(std::function<void()> const& body) {
    PrivateMachine::Run({.proc = Proc::empty}, body);
}

std::optional<string> NameOfFake(FakeProcess const& process,
                                 unsigned int capacity = usualCapacity) {
    MakeFakeProcess("77", process);
    return NameOf(77, capacity);
}

Answer AskFake(string const& status) {
    MakeFakeProcess("77", {.exe = "/a/b", .status = status});
    return Ask(77);
}

unsigned int IdOf(OtherProcess const& process) { return static_cast<unsigned int>(process.pid()); }

// Real processes

TEST(ProcessNamesTest, KnowsThisVeryProcess) {
    auto const self = static_cast<unsigned int>(getpid());
    string const program = fs::read_symlink("/proc/self/exe").string();
    Answer const expected{fs::path(program).filename().string(), getppid(), getuid(), geteuid()};
    EXPECT_EQ(expected, Ask(self));
    EXPECT_EQ(program, PathOf(self, 4096));
}

SANDBOX_TEST(ProcessNamesTest, KnowsRunningProgramByItsLink) {
    PrivateMachine::InstallAgent();
    OtherProgram const agent({PrivateMachine::agentProgram, "1000"});
    auto const id = static_cast<unsigned int>(agent.pid());
    EXPECT_EQ((Answer{"VeskaClient", getpid(), 0, 0}), Ask(id));
    EXPECT_EQ(PrivateMachine::agentProgram, PathOf(id, 4096));
}

SANDBOX_TEST(ProcessNamesTest, FollowsTheLinkAndNotTheCommandName) {
    OtherProcess renamed([](Handshake& line) {
        prctl(PR_SET_NAME, "VeskaClient");
        line.Tell();
        line.Await();
    });
    renamed.Await();
    EXPECT_EQ(NameOf(static_cast<unsigned int>(getpid())), NameOf(IdOf(renamed)));
}

// Deliberate: the system marks the link, and the mark belongs to the name.
SANDBOX_TEST(ProcessNamesTest, ProgramWhoseFileWasRemovedHasAnotherName) {
    PrivateMachine::InstallAgent();
    OtherProgram const agent({PrivateMachine::agentProgram, "1000"});
    fs::remove(PrivateMachine::agentProgram);
    EXPECT_EQ("VeskaClient (deleted)", NameOf(static_cast<unsigned int>(agent.pid())));
}

SANDBOX_TEST(ProcessNamesTest, ProcessThatDoesNotExistHasNothing) {
    Answer const nothing{nullopt, -1, -1, -1};
    EXPECT_EQ(nothing, Ask(4000000));
    EXPECT_EQ(nothing, Ask(0));
    EXPECT_EQ(nothing, Ask(4294967295));
    EXPECT_EQ(nullopt, PathOf(4000000, 4096));
}

// The name that another user gets for a process with the given command name.
std::optional<string> NameForOtherUser(char const* commandName) {
    OtherProcess target([&](Handshake& line) {
        prctl(PR_SET_NAME, commandName);
        prctl(PR_SET_DUMPABLE, 0);
        line.Tell();
        line.Await();
    });
    target.Await();
    OtherProcess prober([&](Handshake& line) {
        PrivateMachine::DropPrivileges();
        char target_[16];
        string const link = "/proc/" + std::to_string(target.pid()) + "/exe";
        EXPECT_EQ(-1, readlink(link.c_str(), target_, sizeof target_));
        EXPECT_EQ(EACCES, errno);
        EXPECT_EQ(nullopt, PathOf(IdOf(target), 4096));
        Answer const answer = Ask(IdOf(target));
        EXPECT_EQ((Answer{answer.name, 2, 0, 0}), answer);
        line.Tell(answer.name ? '+' + *answer.name : "-");
    });
    string const told = prober.Await();
    prober.Wait();
    return told == "-" ? nullopt : std::optional(told.substr(1));
}

SANDBOX_TEST(ProcessNamesTest, UnreadableLinkLeavesTheCommandNameWithItsOddParentheses) {
    EXPECT_EQ("VeskaClient", NameForOtherUser("VeskaClient"));
    EXPECT_EQ("x", NameForOtherUser("x"));
    EXPECT_EQ("a b/c", NameForOtherUser("a b/c"));
    EXPECT_EQ("a(b", NameForOtherUser("a(b)c"));
    EXPECT_EQ("VeskaClient", NameForOtherUser("VeskaClient)xy"));
    EXPECT_EQ("(a", NameForOtherUser("(a"));
    EXPECT_EQ(nullopt, NameForOtherUser(")a"));
    EXPECT_EQ(nullopt, NameForOtherUser(""));
    EXPECT_EQ("VeskaClient2345", NameForOtherUser("VeskaClient23456"));
}

SANDBOX_TEST(ProcessNamesTest, ZombieHasItsCommandNameOnly) {
    pid_t const child = fork();
    if (child == 0) {
        prctl(PR_SET_NAME, "VeskaClient");
        _exit(0);
    }
    siginfo_t info{};
    ASSERT_EQ(0, waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT));
    EXPECT_EQ("VeskaClient", NameOf(static_cast<unsigned int>(child)));
    EXPECT_EQ(nullopt, PathOf(static_cast<unsigned int>(child), 4096));
}

SANDBOX_TEST_WITH(ProcessNamesTest, WithoutProcNothingIsKnown, noProc) {
    EXPECT_EQ((Answer{nullopt, -1, -1, -1}), Ask(static_cast<unsigned int>(getpid())));
    EXPECT_FALSE(ProcessIdToPathWorks());
}

// The link

SANDBOX_TEST_WITH(ProcessNamesTest, NameIsWhatStandsBehindTheLastSlashOfTheLink, emptyProc) {
    EXPECT_EQ("c", NameOfFake({.exe = "/a/b/c"}));
    EXPECT_EQ("b", NameOfFake({.exe = "a/b"}));
    EXPECT_EQ("plain", NameOfFake({.exe = "plain"}));
    EXPECT_EQ("b", NameOfFake({.exe = "//b"}));
}

// Deliberate: so such a name is never the agent's.
SANDBOX_TEST_WITH(ProcessNamesTest, LinkWithItsOnlySlashInFrontKeepsIt, emptyProc) {
    EXPECT_EQ("/VeskaClient", NameOfFake({.exe = "/VeskaClient"}));
    EXPECT_EQ("/", NameOfFake({.exe = "/"}));
}

TEST(ProcessNamesTest, LinkThatEndsInSlashGivesNoNameThoughStatWould) {
    WithEmptyProc([] { EXPECT_EQ(nullopt, NameOfFake({.exe = "a/", .stat = "77 (other) S"})); });
}

SANDBOX_TEST_WITH(ProcessNamesTest, StatIsLookedAtOnlyWithoutLink, emptyProc) {
    EXPECT_EQ("link", NameOfFake({.exe = "/a/link", .stat = "77 (stat) S"}));
    EXPECT_EQ("stat", NameOfFake({.stat = "77 (stat) S"}));
    // No link at all, so it can't be read as one.
    MakeFakeProcess("77", {.stat = "77 (stat) S"});
    fs::create_directory("/proc/77/exe");
    EXPECT_EQ("stat", NameOf(77));
}

SANDBOX_TEST_WITH(ProcessNamesTest, NameHasToFitWithItsZero, emptyProc) {
    string const fitting(usualCapacity - 1, 'n');
    EXPECT_EQ(fitting, NameOfFake({.exe = "/a/" + fitting}));
    EXPECT_EQ(nullopt, NameOfFake({.exe = "/a/" + fitting + 'n'}));
    EXPECT_EQ("abc", NameOfFake({.exe = "/a/abc"}, 4));
    EXPECT_EQ(nullopt, NameOfFake({.exe = "/a/abc"}, 3));
    EXPECT_EQ(nullopt, NameOfFake({.exe = "/a/abc"}, 1));
    EXPECT_EQ(nullopt, NameOfFake({.exe = "/a/abc"}, 0));
    EXPECT_EQ("abc", NameOfFake({.stat = "77 (abc)"}, 4));
    EXPECT_EQ(nullopt, NameOfFake({.stat = "77 (abc)"}, 3));
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

SANDBOX_TEST_WITH(ProcessNamesTest, EveryProcessIdOf32BitsIsTaken, emptyProc) {
    MakeFakeProcess("0", {.exe = "/a/zero"});
    MakeFakeProcess("4294967295", {.exe = "/a/last"});
    EXPECT_EQ("zero", NameOf(0));
    EXPECT_EQ("last", NameOf(4294967295));
    EXPECT_EQ("/a/last", PathOf(4294967295, 4096));
}

// stat

SANDBOX_TEST_WITH(ProcessNamesTest, StatGivesTheTextBetweenTheFirstParentheses, emptyProc) {
    std::vector<std::pair<string, std::optional<string>>> const cases = {
        {"77 (a) S", "a"},
        {"(a)", "a"},
        {"77 (a (b) c) S", "a (b"},
        {"77 ((a)) S", "(a"},
        {"77 (a\nb) S", "a\nb"},
        {"77 () S", nullopt},
        {"77 )(a) S", nullopt},
        {") (a", nullopt},
        {"77 (a S", nullopt},
        {"77 a) S", nullopt},
        {"", nullopt},
        {"77 a S", nullopt},
    };
    for (auto const& [content, name] : cases)
        EXPECT_EQ(name, NameOfFake({.stat = content})) << content;
}

SANDBOX_TEST_WITH(ProcessNamesTest, StatEndsAtItsFirstZero, emptyProc) {
    EXPECT_EQ(nullopt, NameOfFake({.stat = string("77 (a\0) S", 9)}));
    EXPECT_EQ("a", NameOfFake({.stat = string("77 (a)\0 (", 9)}));
}

SANDBOX_TEST_WITH(ProcessNamesTest, OnlyTheFirst511BytesOfStatCount, emptyProc) {
    string const fitting(511 - 5, 'n');
    EXPECT_EQ(fitting, NameOfFake({.stat = "77 (" + fitting + ") S"}));
    EXPECT_EQ(nullopt, NameOfFake({.stat = "77 (" + fitting + "n) S"}));
}

SANDBOX_TEST_WITH(ProcessNamesTest, StatThatCannotBeReadGivesNoName, emptyProc) {
    MakeFakeProcess("77", {.status = "Name:\tx\nPPid:\t5\n"});
    fs::create_directory("/proc/77/stat");
    EXPECT_EQ((Answer{nullopt, 5, -1, -1}), Ask(77));
}

// status

SANDBOX_TEST_WITH(ProcessNamesTest, UnreadableStatusLeavesTheNumbersUnknownAndTheNameGood,
                  emptyProc) {
    MakeFakeProcess("77", {.exe = "/a/b"});
    EXPECT_EQ((Answer{"b", -1, -1, -1}), Ask(77));
    fs::create_directory("/proc/77/status");
    EXPECT_EQ((Answer{"b", -1, -1, -1}), Ask(77));
}

SANDBOX_TEST_WITH(ProcessNamesTest, NumbersAreSetAlsoWithoutName, emptyProc) {
    MakeFakeProcess("77", {.status = "Name:\tx\nPPid:\t5\nUid:\t6\t7\t8\t9\n"});
    EXPECT_EQ((Answer{nullopt, 5, 6, 7}), Ask(77));
}

SANDBOX_TEST_WITH(ProcessNamesTest, ParentAndUsersAreFoundIndependently, emptyProc) {
    EXPECT_EQ((Answer{"b", 5, -1, -1}), AskFake("Name:\tx\nPPid:\t5\n"));
    EXPECT_EQ((Answer{"b", -1, 6, 7}), AskFake("Name:\tx\nUid:\t6\t7\n"));
    EXPECT_EQ((Answer{"b", 5, 6, 7}), AskFake("\nUid:\t6\t7\nPPid:\t5\n"));
    EXPECT_EQ((Answer{"b", 5, -1, -1}), AskFake("\nUid:\t6\nPPid:\t5\n"));
    EXPECT_EQ((Answer{"b", 5, -1, -1}), AskFake("\nUid:\tx\t7\nPPid:\t5\n"));
    EXPECT_EQ((Answer{"b", -1, 6, 7}), AskFake("\nPPid:\tx\nUid:\t6\t7\n"));
    EXPECT_EQ((Answer{"b", -1, -1, -1}), AskFake(""));
}

SANDBOX_TEST_WITH(ProcessNamesTest, LabelStandsAtTheStartOfLineButNotOfTheFirst, emptyProc) {
    EXPECT_EQ((Answer{"b", -1, -1, -1}), AskFake("PPid:\t5\n"));
    EXPECT_EQ((Answer{"b", -1, -1, -1}), AskFake("Uid:\t6\t7\n"));
    EXPECT_EQ((Answer{"b", -1, -1, -1}), AskFake("\n PPid:\t5\n"));
    EXPECT_EQ((Answer{"b", 5, -1, -1}), AskFake("\nTracerPid:\t4\nPPid:\t5\n"));
}

SANDBOX_TEST_WITH(ProcessNamesTest, OnlyTheFirstOfTwoLabelsCounts, emptyProc) {
    EXPECT_EQ(4, AskFake("\nPPid:\t4\nPPid:\t5\n").parent);
    EXPECT_EQ(-1, AskFake("\nPPid:\tx\nPPid:\t5\n").parent);
}

// White space of a scan format stands for any white space, or none, and so it is before a number.
SANDBOX_TEST_WITH(ProcessNamesTest, AnyWhiteSpaceMayStandBeforeTheNumbers, emptyProc) {
    for (char const* const space : {"", " ", "\t", "\t\t  ", "\n", " \v\f\r\n"}) {
        EXPECT_EQ(5, AskFake(string("\nPPid:") + space + "5\n").parent) << space;
        EXPECT_EQ((Answer{"b", -1, 6, -7 + (1LL << 32)}),
                  AskFake(string("\nUid:") + space + "6" + space + "-7"))
            << space;
    }
}

SANDBOX_TEST_WITH(ProcessNamesTest, NumberEndsAtTheFirstByteThatIsNoDigit, emptyProc) {
    EXPECT_EQ(5, AskFake("\nPPid:\t5x").parent);
    EXPECT_EQ(5, AskFake("\nPPid:\t+5").parent);
    EXPECT_EQ(-1, AskFake("\nPPid:\t+ 5").parent);
    EXPECT_EQ(-1, AskFake("\nPPid:\t--5").parent);
    EXPECT_EQ(0, AskFake("\nPPid:\t0x5").parent);
    EXPECT_EQ((Answer{"b", -1, -1, -1}), AskFake("\nUid:\t6x7"));
    EXPECT_EQ((Answer{"b", -1, 6, 7}), AskFake("\nUid:\t6+7"));
}

SANDBOX_TEST_WITH(ProcessNamesTest, ParentIsSignExtendedAndUsersAreZeroExtended, emptyProc) {
    EXPECT_EQ(2147483647, AskFake("\nPPid:\t2147483647\n").parent);
    EXPECT_EQ(-2147483648LL, AskFake("\nPPid:\t-2147483648\n").parent);
    EXPECT_EQ(-2, AskFake("\nPPid:\t-2\n").parent);
    EXPECT_EQ((Answer{"b", -1, 4294967295, 4294967294}),
              AskFake("\nUid:\t4294967295\t4294967294\n"));
    EXPECT_EQ((Answer{"b", -1, 4294967295, 2147483648}), AskFake("\nUid:\t-1\t-2147483648\n"));
}

SANDBOX_TEST_WITH(ProcessNamesTest, OnlyTheFirst511BytesOfStatusCount, emptyProc) {
    auto const parentBehind = [](size_t padding) {
        return AskFake("Name:" + string(padding - 5, 'x') + "\nPPid:\t1234\n").parent;
    };
    // "\nPPid:\t1234" has 11 bytes.
    EXPECT_EQ(1234, parentBehind(500));
    EXPECT_EQ(123, parentBehind(501));
    EXPECT_EQ(1, parentBehind(503));
    EXPECT_EQ(-1, parentBehind(504));
    EXPECT_EQ(-1, parentBehind(506));
    EXPECT_EQ(-1, parentBehind(600));
}

// The whole path

SANDBOX_TEST_WITH(ProcessNamesTest, PathIsTheWholeLinkAndHasToFit, emptyProc) {
    MakeFakeProcess("77", {.exe = "/a/b c", .stat = "77 (other) S"});
    EXPECT_EQ("/a/b c", PathOf(77, 4096));
    EXPECT_EQ("/a/b c", PathOf(77, 7));
    EXPECT_EQ(nullopt, PathOf(77, 6));
    EXPECT_EQ(nullopt, PathOf(77, 0));
    MakeFakeProcess("77", {.stat = "77 (other) S"});
    EXPECT_EQ(nullopt, PathOf(77, 4096));
}

// The answer is kept as long as the process lives, so each of these has a process of its own.
TEST(ProcessNamesTest, PathsWorkOnOrdinaryMachine) {
    PrivateMachine::Run([] { EXPECT_TRUE(ProcessIdToPathWorks()); });
}

TEST(ProcessNamesTest, WhetherPathsWorkIsFoundOutOnce) {
    WithEmptyProc([] {
        EXPECT_FALSE(ProcessIdToPathWorks());
        MakeFakeProcess(std::to_string(getpid()), {.exe = "/a/b"});
        EXPECT_FALSE(ProcessIdToPathWorks());
        OtherProcess forked([] { EXPECT_FALSE(ProcessIdToPathWorks()); });
        forked.Wait();
    });
    WithEmptyProc([] {
        MakeFakeProcess(std::to_string(getpid()), {.exe = "/a/b"});
        EXPECT_TRUE(ProcessIdToPathWorks());
        fs::remove_all("/proc/" + std::to_string(getpid()));
        EXPECT_TRUE(ProcessIdToPathWorks());
    });
}

TEST(ProcessNamesTest, OwnPathOf1024BytesCountsAsNotWorking) {
    auto const worksWith = [](size_t length) {
        WithEmptyProc([=] {
            MakeFakeProcess(std::to_string(getpid()), {.exe = string(length, 'p')});
            EXPECT_EQ(length < 1024, ProcessIdToPathWorks());
        });
    };
    worksWith(1023);
    worksWith(1024);
}

TEST(ProcessNamesTest, NoDescriptorStaysOpen) {
    auto const open = [] {
        fs::directory_iterator const entries("/proc/self/fd");
        return std::distance(begin(entries), end(entries));
    };
    auto const before = open();
    Ask(static_cast<unsigned int>(getpid()));
    Ask(4000000);
    EXPECT_EQ(before, open());
}

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

SANDBOX_TEST_WITH(ProcessNamesTest, VisitsEachDirectoryThatBeginsWithANumber, emptyProc) {
    for (string const name : {"7", "12", "31x", "4294967297", "0", "self", "x31"})
        fs::create_directory("/proc/" + name);
    std::ofstream("/proc/5");
    EXPECT_EQ((Ids{1, 7, 12, 31}), AllProcesses());
}

SANDBOX_TEST_WITH(ProcessNamesTest, StopsAtTheFirstProcessThatMatches, emptyProc) {
    for (string const name : {"7", "8", "9"})
        fs::create_directory("/proc/" + name);
    int calls = 0;
    EXPECT_TRUE(AnyProcess([&calls](unsigned int) { return ++calls == 2; }));
    EXPECT_EQ(2, calls);
}

TEST(ProcessNamesTest, VisitsNothingWithoutProc) {
    PrivateMachine::Run({.proc = Proc::none}, [] { EXPECT_EQ(Ids(), AllProcesses()); });
}

} // namespace
