// compliance-query compared with compliance-doctor where an evaluation cannot be opened: for each
// kind of directory entry at each path that the lock needs, the exit status is the one that follows
// from the findings. No agent runs, so nothing is published.
#include "tests/companions/CompanionTest.h"
#include "tests/companions/EntryKinds.h"
#include "tests/system/RecordLock.h"

namespace {

constexpr int lockRefused = -6;

class ComparedPrograms {
public:
    explicit ComparedPrograms(bool isUser) : asUser(isUser) {}

    // The program's document on standard output.
    Json DocumentOfDoctor() const { return Json::parse(RunAs(asUser, {doctor, "--json"}).output); }
    Json DocumentOfQuery() const {
        ProgramResult const result = RunAs(asUser, {query, "-d", "--json"});
        Json const document = Json::parse(result.output);
        EXPECT_EQ(ExitStatus::Exited(document.at("exitStatus")), result.status);
        return document;
    }

private:
    bool const asUser;
    std::string const doctor = AccessibleCopy(CC_DOCTOR_PROGRAM);
    std::string const query = AccessibleCopy(CC_QUERY_PROGRAM);
};

// The status of a refused lock by the findings of the doctor; 0 if they do not explain it.
int StatusByFindings(Json const& findings) {
    if (ProblemOf("agent-program", findings) == "agent-missing" ||
        ProblemOf("request-directory", findings) == "directory-missing")
        return 3;
    std::string const lock = ProblemOf("lock", findings);
    if (lock.starts_with("lock-held"))
        return 4;
    return lock.empty() && ProblemOf("request-directory", findings).empty() ? 0 : 7;
}

// Returns the status of the query.
int ExpectSameReason(ComparedPrograms const& programs) {
    Json const document = programs.DocumentOfQuery();
    Json const findings = programs.DocumentOfDoctor();
    if (document.at("code") == lockRefused) {
        EXPECT_EQ(StatusByFindings(findings), document.at("exitStatus")) << document << findings;
        return document.at("exitStatus");
    }
    // The lock was taken; the doctor may call it unsafe.
    EXPECT_EQ(3, document.at("exitStatus")) << document;
    EXPECT_NE("", ProblemOf("agent-process", findings)) << findings;
    return 3;
}

// Compares for each kind of entry at the path, with and without an installed agent, as root and as
// a user.
void CompareAll(std::string const& path, std::vector<Kind> const& kinds) {
    for (auto const& [hasAgent, asUser] :
         {std::pair{false, false}, {false, true}, {true, false}, {true, true}})
        Sandbox::Run([&, agent = hasAgent, user = asUser] {
            MountForDevices();
            if (agent)
                Sandbox::InstallAgent();
            ComparedPrograms const programs(user);
            std::set<int> statuses;
            for (Kind const& kind : kinds) {
                SCOPED_TRACE(kind.name + " at " + path + (user ? ", user" : ", root"));
                Place(kind, path);
                statuses.insert(ExpectSameReason(programs));
            }
            EXPECT_EQ(agent ? (std::set<int>{3, 7}) : (std::set<int>{3}), statuses);
        });
}

TEST(QueryAgreementTest, AgreesOnEachEntryKindAtLockFilePath) {
    CompareAll(ScriptedAgent::lockFile, KindsOfEntries());
}

TEST(QueryAgreementTest, AgreesOnEachEntryKindAtRequestDirectoryPath) {
    CompareAll(
        ScriptedAgent::requestDirectory,
        KindsOfDirectories({"0000", "0100", "0200", "0400", "0500", "0600", "0300", "0700"}));
}

TEST(QueryAgreementTest, AgreesOnEachEntryKindAtParentDirectoryPath) {
    CompareAll(agentDirectory, KindsOfDirectories({"0000", "0200", "0400"}));
}

SANDBOX_TEST(QueryAgreementTest, ExitsWith4ForEachUserIfLockIsHeld) {
    Sandbox::InstallAgent();
    LayOut();
    ForeignLock const lock;
    fs::permissions(ScriptedAgent::lockFile, fs::perms(0666));
    for (bool const asUser : {false, true})
        EXPECT_EQ(4, ExpectSameReason(ComparedPrograms(asUser)));
}

} // namespace
