#include "companions/Doctor.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <limits>

#include <fcntl.h>
#include <sys/stat.h>

#include "companions/DoctorFiles.h"
#include "tests/companions/Findings.h"
#include "tests/system/RecordLock.h"

namespace {

namespace fs = std::filesystem;
using Sandbox::CreateAgentDirectories;

constexpr char const* request = ScriptedAgent::request;
constexpr char const* temporary = ScriptedAgent::requestTemp;
constexpr char const* response = ScriptedAgent::response;

// Nothing changes between the examination of the request and that of the lock.
Finding ExamineRequest() {
    FileFacts const before(request);
    LockState const lock = AskForLock();
    return CheckRequest(before, lock);
}

void Create(char const* path, std::chrono::hours age = std::chrono::hours(0)) {
    CreateAgentDirectories();
    std::ofstream(std::string(path)) << "document";
    // A second older, because time(2) is a clock tick late: a date of now may lie in its future.
    fs::last_write_time(path, fs::file_time_type::clock::now() - age - std::chrono::seconds(1));
}

void ExpectAge(std::chrono::seconds age, Finding const& finding) {
    ASSERT_TRUE(finding.ageInSeconds);
    EXPECT_LE(age.count(), *finding.ageInSeconds);
    EXPECT_GT(age.count() + 60, *finding.ageInSeconds);
}

TEST(DoctorDocumentsTest, AcceptsAbsentDocuments) {
    Sandbox::Run([] {
        ExpectOk("no request", ExamineRequest());
        CreateAgentDirectories();
        ExpectOk("no request", ExamineRequest());
        ExpectOk("no temporary request", CheckTemporaryRequest());
        ExpectOk("no response", CheckResponse());
    });
}

TEST(DoctorDocumentsTest, ReportsStaleRequestWithAgeAndOwner) {
    Sandbox::Run([] {
        Create(request, std::chrono::hours(75));
        Finding const finding = ExamineRequest();
        ExpectProblem("request-stale", "3 days old, owned by user root", finding);
        ExpectAge(std::chrono::hours(75), finding);
        EXPECT_NE(std::string::npos, finding.remedy.find(request));
    });
}

TEST(DoctorDocumentsTest, ReportsRequestDatedInTheFutureAsStale) {
    Sandbox::Run([] {
        Create(request, std::chrono::hours(-5));
        ExpectProblem("request-stale", "dated in the future", ExamineRequest());
    });
}

TEST(DoctorDocumentsTest, RequestWithAHeldLockIsInProgress) {
    Sandbox::Run([] {
        Create(request, std::chrono::hours(1));
        ForeignLock lock;
        Finding const finding = ExamineRequest();
        ExpectFinding(Verdict::note, "request-under-way", "60 minutes old", finding);
        ExpectAge(std::chrono::hours(1), finding);
    });
}

// A user who may not read the lock file can't find out whether it is locked.
TEST(DoctorDocumentsTest, DoesNotCallRequestStaleIfLockIsUnreadable) {
    Sandbox::Run([] {
        Create(request);
        std::ofstream(std::string(ScriptedAgent::lockFile)) << "";
        fs::permissions(ScriptedAgent::lockFile, fs::perms::none);
        WithoutRights([] {
            Finding const finding = ExamineRequest();
            ExpectProblem("request-waiting", "unknown", finding);
            EXPECT_EQ(std::string::npos, finding.remedy.find("remove"));
        });
    });
}

TEST(DoctorDocumentsTest, ReportsRequestThatChangedWhileLockWasFree) {
    Sandbox::Run([] {
        CreateAgentDirectories();
        FileFacts const absent(request);
        Create(request);
        FileFacts const first(request);
        ExpectProblem("request-changed", request, CheckRequest(absent, {LockState::none}));
        fs::rename(request, temporary);
        ExpectFinding(Verdict::note, "request-changed", request,
                      CheckRequest(first, {LockState::none}));
        Create(request);
        ExpectProblem("request-changed", request, CheckRequest(first, {LockState::unknown}));
        ExpectFinding(Verdict::note, "request-under-way", "",
                      CheckRequest(first, {LockState::held}));
    });
}

TEST(DoctorDocumentsTest, ReportsDirectoryAtRequestPath) {
    Sandbox::Run([] {
        CreateAgentDirectories();
        fs::create_directory(request);
        ExpectProblem("request-not-a-file", request, ExamineRequest());
    });
}

// A dangling link blocks evaluations as well.
TEST(DoctorDocumentsTest, ReportsDanglingLinkAtRequestPath) {
    Sandbox::Run([] {
        CreateAgentDirectories();
        fs::create_symlink("nowhere", request);
        ExpectProblem("request-not-a-file", request, ExamineRequest());
    });
}

TEST(DoctorDocumentsTest, ReportsTemporaryRequestOnlyIfNotWritable) {
    Sandbox::Run([] {
        Create(temporary);
        fs::permissions(temporary, fs::perms(0444));
        ExpectOk("overwritten", CheckTemporaryRequest());
        WithoutRights([] {
            ExpectProblem("temporary-request-not-writable",
                          "owned by user root and group 0, mode 0444", CheckTemporaryRequest());
        });
    });
}

// The tool opens the temporary request for reading and writing.
TEST(DoctorDocumentsTest, ReportsUnreadableTemporaryRequest) {
    Sandbox::Run([] {
        Create(temporary);
        fs::permissions(temporary, fs::perms(0222));
        WithoutRights([] {
            ExpectProblem("temporary-request-not-writable", "mode 0222", CheckTemporaryRequest());
        });
    });
}

TEST(DoctorDocumentsTest, ReportsDirectoryAtTemporaryRequestPath) {
    Sandbox::Run([] {
        CreateAgentDirectories();
        fs::create_directory(temporary);
        ExpectProblem("temporary-request-not-a-file", temporary, CheckTemporaryRequest());
    });
}

// A document written through a planted link is lost, also if the link is dangling.
TEST(DoctorDocumentsTest, ReportsLinkAtTemporaryRequestPath) {
    Sandbox::Run([] {
        CreateAgentDirectories();
        fs::create_symlink("target", temporary);
        ExpectProblem("temporary-request-link", temporary, CheckTemporaryRequest());
        Create((fs::path(temporary).parent_path() / "target").c_str());
        ExpectProblem("temporary-request-link", temporary, CheckTemporaryRequest());
    });
}

TEST(DoctorDocumentsTest, ReportsLinkAtResponsePath) {
    Sandbox::Run([] {
        CreateAgentDirectories();
        fs::create_symlink("target", response);
        ExpectProblem("response-link", response, CheckResponse());
        Create((fs::path(response).parent_path() / "target").c_str());
        ExpectProblem("response-link", response, CheckResponse());
    });
}

TEST(DoctorDocumentsTest, NotesOldResponseWithItsAge) {
    Sandbox::Run([] {
        Create(response, std::chrono::hours(30));
        Finding const finding = CheckResponse();
        ExpectFinding(Verdict::note, "response-old", "30 hours old", finding);
        ExpectAge(std::chrono::hours(30), finding);
        Create(response);
        ExpectOk("a new response", CheckResponse());
    });
}

TEST(DoctorDocumentsTest, OldResponseNeedsNoRemedy) {
    Sandbox::Run([] {
        Create(response, std::chrono::hours(30));
        EXPECT_EQ("", CheckResponse().remedy);
    });
}

TEST(DoctorDocumentsTest, ReportsResponseLargerThanTheLimit) {
    Sandbox::Run([] {
        Create(response);
        fs::resize_file(response, maxResponseBytes);
        EXPECT_NE(Verdict::problem, CheckResponse().verdict);
        fs::resize_file(response, maxResponseBytes + 1);
        ExpectProblem("response-too-large", "has 1073741825 bytes", CheckResponse());
        fs::resize_file(response, 7'000'000'000'000);
        ExpectProblem("response-too-large", "has 7000000000000 bytes", CheckResponse());
    });
}

// The oldest date that a file can have.
TEST(DoctorDocumentsTest, SaturatesAgeOfTheOldestPossibleDate) {
    Sandbox::Run([] {
        Create(response);
        constexpr auto oldest = std::numeric_limits<time_t>::min();
        timespec const times[] = {{oldest, 0}, {oldest, 0}};
        ASSERT_EQ(0, utimensat(AT_FDCWD, response, times, 0));
        if (FileFacts(response).Facts().st_mtim.tv_sec != oldest)
            GTEST_SKIP() << "this file system can't store the date";
        Finding const finding = CheckResponse();
        ExpectFinding(Verdict::note, "response-old", "days old", finding);
        EXPECT_EQ(std::numeric_limits<long long>::max(), finding.ageInSeconds);
    });
}

TEST(DoctorDocumentsTest, ReportsUnreadableResponse) {
    Sandbox::Run([] {
        Create(response);
        fs::permissions(response, fs::perms::none);
        WithoutRights([] {
            ExpectProblem("response-not-readable", "owned by user root and group 0, mode 0000",
                          CheckResponse());
        });
    });
}

TEST(DoctorDocumentsTest, ReportsFifoAtResponsePath) {
    Sandbox::Run([] {
        CreateAgentDirectories();
        ASSERT_EQ(0, mkfifo(response, 0666));
        ExpectProblem("response-not-a-file", response, CheckResponse());
    });
}

TEST(DoctorDocumentsTest, SkipsDocumentsInUnsearchableDirectory) {
    Sandbox::Run([] {
        Create(request);
        Create(temporary);
        Create(response);
        fs::permissions(ScriptedAgent::requestDirectory, fs::perms::none);
        fs::permissions("/var/opt/VeskaClient/ResponseDir", fs::perms::none);
        WithoutRights([] {
            EXPECT_EQ(Verdict::skipped, ExamineRequest().verdict);
            EXPECT_EQ(Verdict::skipped, CheckTemporaryRequest().verdict);
            EXPECT_EQ(Verdict::skipped, CheckResponse().verdict);
        });
    });
}

} // namespace
