#include "companions/Doctor.h"

#include "companions/DoctorFiles.h"
#include "tests/companions/Findings.h"
#include "tests/system/RecordLock.h"

namespace {

constexpr char const* request = ScriptedAgent::request;
constexpr char const* temporary = ScriptedAgent::requestTemp;
constexpr char const* response = ScriptedAgent::response;

// Checks one document. Nothing changes between the examinations of the request and of the lock.
Finding Examine(std::string const& path) {
    if (path == response)
        return CheckResponse();
    return path == request ? CheckRequest(FileFacts(request), AskForLock())
                           : CheckTemporaryRequest();
}

void Create(std::string const& path, hours age = hours(0)) {
    WriteWholeFile(path, "document");
    // A second older, because time(2) is a clock tick late: a date of now may lie in its future.
    fs::last_write_time(path, fs::file_time_type::clock::now() - age - seconds(1));
}

void ExpectAge(seconds age, Finding const& finding) {
    ASSERT_TRUE(finding.ageInSeconds);
    EXPECT_LE(age.count(), *finding.ageInSeconds);
    EXPECT_GT(age.count() + 60, *finding.ageInSeconds);
}

void ExpectAbsent() {
    ExpectOk("no request", Examine(request));
    ExpectOk("no temporary request", Examine(temporary));
    ExpectOk("no response", Examine(response));
}

TEST(DoctorDocumentsTest, AcceptsAbsentDocuments) {
    Sandbox::Run([] { ExpectOk("no request", Examine(request)); });
    Sandbox::RunWithDirectories(ExpectAbsent);
}

SANDBOX_TEST(DoctorDocumentsTest, ReportsStaleRequestWithAgeAndOwner) {
    Create(request, hours(75));
    Finding const finding = Examine(request);
    ExpectProblem("request-stale", "3 days old, owned by user root", finding);
    ExpectAge(hours(75), finding);
    EXPECT_THAT(finding.remedy, HasSubstr(request));
    Create(request, hours(-5));
    ExpectProblem("request-stale", "dated in the future", Examine(request));
}

SANDBOX_TEST(DoctorDocumentsTest, RequestWithAHeldLockIsInProgress) {
    Create(request, hours(1));
    ForeignLock lock;
    Finding const finding = Examine(request);
    ExpectNote("request-under-way", "60 minutes old", finding);
    ExpectAge(hours(1), finding);
}

// A user who may not read the lock file can't find out whether it is locked.
SANDBOX_TEST(DoctorDocumentsTest, DoesNotCallRequestStaleIfLockIsUnreadable) {
    Create(request);
    WriteWholeFile(ScriptedAgent::lockFile, "");
    SetMode(ScriptedAgent::lockFile, 0);
    WithoutRights([] {
        Finding const finding = Examine(request);
        ExpectProblem("request-waiting", "unknown", finding);
        EXPECT_THAT(finding.remedy, Not(HasSubstr("remove")));
    });
}

SANDBOX_TEST(DoctorDocumentsTest, ReportsRequestThatChangedUnlessLockIsHeld) {
    FileFacts const absent(request);
    Create(request);
    FileFacts const first(request);
    ExpectProblem("request-changed", request, CheckRequest(absent, {LockState::none}));
    fs::rename(request, temporary);
    ExpectNote("request-changed", request, CheckRequest(first, {LockState::none}));
    Create(request);
    ExpectProblem("request-changed", request, CheckRequest(first, {LockState::unknown}));
    ExpectNote("request-under-way", "", CheckRequest(first, {LockState::held}));
}

SANDBOX_TEST(DoctorDocumentsTest, ReportsEntriesThatAreNotRegularFiles) {
    fs::create_directory(request);
    ExpectProblem("request-not-a-file", request, Examine(request));
    fs::remove(request);
    // A dangling link blocks evaluations as well.
    fs::create_symlink("nowhere", request);
    ExpectProblem("request-not-a-file", request, Examine(request));
    fs::create_directory(temporary);
    ExpectProblem("temporary-request-not-a-file", temporary, Examine(temporary));
    ASSERT_EQ(0, mkfifo(response, 0666));
    ExpectProblem("response-not-a-file", response, Examine(response));
}

// A dangling link is a problem, too.
SANDBOX_TEST(DoctorDocumentsTest, ReportsLinksAtTemporaryRequestAndResponse) {
    for (auto const& [path, cause] :
         {std::pair{temporary, "temporary-request-link"}, std::pair{response, "response-link"}}) {
        fs::create_symlink("target", path);
        ExpectProblem(cause, path, Examine(path));
        Create(fs::path(path).parent_path() / "target");
        ExpectProblem(cause, path, Examine(path));
    }
}

// The tool opens the temporary request for reading and writing.
SANDBOX_TEST(DoctorDocumentsTest, ReportsTemporaryRequestOnlyIfNotUsable) {
    Create(temporary);
    for (std::string const mode : {"0444", "0222"}) {
        SetMode(temporary, static_cast<unsigned int>(std::stoul(mode, nullptr, 8)));
        ExpectOk("overwritten", Examine(temporary));
        WithoutRights([&] {
            ExpectProblem("temporary-request-not-writable",
                          "owned by user root and group 0, mode " + mode, Examine(temporary));
        });
    }
}

SANDBOX_TEST(DoctorDocumentsTest, NotesOldResponseWithItsAge) {
    Create(response, hours(30));
    Finding const finding = Examine(response);
    ExpectNote("response-old", "30 hours old", finding);
    ExpectAge(hours(30), finding);
    EXPECT_EQ("", finding.remedy);
    Create(response, hours(-5));
    ExpectNote("response-old", "dated in the future", Examine(response));
    Create(response);
    ExpectOk("a new response", Examine(response));
}

SANDBOX_TEST(DoctorDocumentsTest, ReportsResponseLargerThanTheLimit) {
    Create(response);
    fs::resize_file(response, maxResponseBytes);
    EXPECT_NE(Verdict::problem, Examine(response).verdict);
    fs::resize_file(response, maxResponseBytes + 1);
    ExpectProblem("response-too-large", "has 1073741825 bytes", Examine(response));
    fs::resize_file(response, 7'000'000'000'000);
    ExpectProblem("response-too-large", "has 7000000000000 bytes", Examine(response));
}

SANDBOX_TEST(DoctorDocumentsTest, SaturatesAgeOfTheOldestPossibleDate) {
    Create(response);
    constexpr auto oldest = std::numeric_limits<time_t>::min();
    timespec const times[] = {{oldest, 0}, {oldest, 0}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, response, times, 0));
    if (FileFacts(response).Facts().st_mtim.tv_sec != oldest)
        GTEST_SKIP() << "this file system can't store the date";
    Finding const finding = Examine(response);
    ExpectNote("response-old", "days old", finding);
    EXPECT_EQ(std::numeric_limits<long long>::max(), finding.ageInSeconds);
}

SANDBOX_TEST(DoctorDocumentsTest, ReportsUnreadableResponse) {
    Create(response);
    SetMode(response, 0);
    WithoutRights([] {
        ExpectProblem("response-not-readable", "owned by user root and group 0, mode 0000",
                      Examine(response));
    });
}

SANDBOX_TEST(DoctorDocumentsTest, SkipsDocumentsInUnsearchableDirectory) {
    for (char const* const path : {request, temporary, response})
        Create(path);
    SetMode(ScriptedAgent::requestDirectory, 0);
    SetMode("/var/opt/VeskaClient/ResponseDir", 0);
    WithoutRights([] {
        for (char const* const path : {request, temporary, response})
            EXPECT_EQ(Verdict::skipped, Examine(path).verdict) << path;
    });
}

} // namespace
