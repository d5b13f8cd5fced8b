#include "companions/Provenance.h"

#include "companions/QueryCommandLine.h"
#include "tests/companions/CompanionTest.h"
#include "tests/companions/RefusedCall.h"

namespace {

double Seconds(timespec const& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

TEST(ProvenanceTest, DescribesRequestUserAndHost) {
    QueryCommandLine line;
    line.url = "http://host/";
    line.document = "Doc";
    line.flags = 5;
    Provenance const provenance = ProvenanceRecorder(line).Finish({}, true);
    EXPECT_STREQ("http://host/", provenance.url);
    EXPECT_STREQ("Doc", provenance.document);
    EXPECT_EQ(5u, provenance.flags);
    EXPECT_TRUE(provenance.stale);
    EXPECT_EQ(geteuid(), provenance.userId);
    char host[256] = {};
    ASSERT_EQ(0, gethostname(host, sizeof host));
    EXPECT_EQ(host, provenance.host);
}

TEST(ProvenanceTest, HostThatTheSystemDoesNotNameIsEmpty) {
    OtherProcess other([] {
        RefuseCall(SYS_uname, EPERM);
        EXPECT_EQ("", ProvenanceRecorder(QueryCommandLine()).Finish({}, false).host);
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
}

TEST(ProvenanceTest, DefaultRequestHasNeitherUrlNorDocument) {
    Provenance const provenance = ProvenanceRecorder(QueryCommandLine()).Finish({}, false);
    EXPECT_EQ(nullptr, provenance.url);
    EXPECT_EQ(nullptr, provenance.document);
    EXPECT_FALSE(provenance.stale);
}

TEST(ProvenanceTest, MeasuresTimeFromConstructionToEnd) {
    ProvenanceRecorder const recorder{QueryCommandLine()};
    usleep(50'000);
    Provenance const provenance = recorder.Finish({}, false);
    EXPECT_LE(50, provenance.duration.count());
    EXPECT_GT(10'000, provenance.duration.count());
    EXPECT_LE(0.05, Seconds(provenance.end) - Seconds(provenance.start));
}

SANDBOX_TEST(ProvenanceTest, DescribesFilesOfTheAgent) {
    ProvenanceRecorder const recorder{QueryCommandLine()};
    EXPECT_FALSE(recorder.Finish({}, false).agentModified);
    Sandbox::InstallAgent();
    WriteWholeFile(ScriptedAgent::response, "answer");
    struct stat agent {};
    struct stat status {};
    ASSERT_EQ(0, stat(Sandbox::agentProgram, &agent));
    ASSERT_EQ(0, stat(ScriptedAgent::response, &status));
    Provenance const provenance = recorder.Finish(LookAtResponse(), false);
    ASSERT_TRUE(provenance.agentModified);
    EXPECT_EQ(Seconds(agent.st_mtim), Seconds(*provenance.agentModified));
    EXPECT_EQ(status.st_ino, provenance.response.inode);
    EXPECT_EQ(Seconds(status.st_mtim), Seconds(provenance.response.modified));
}

} // namespace
