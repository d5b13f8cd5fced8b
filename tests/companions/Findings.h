// Checks of the findings of the doctor.
#pragma once

#include "companions/Doctor.h"
#include "tests/companions/CompanionTest.h"

// Expects the words within the message, and a remedy exactly if the finding has a cause. A note
// with a cause may have no remedy.
inline void ExpectFinding(Verdict verdict, std::string const& cause, std::string const& words,
                          Finding const& finding) {
    EXPECT_EQ(verdict, finding.verdict) << finding.message;
    EXPECT_EQ(cause, finding.cause);
    EXPECT_THAT(finding.message, HasSubstr(words));
    if (verdict != Verdict::note) {
        EXPECT_EQ(cause.empty(), finding.remedy.empty());
    }
}

inline void ExpectProblem(std::string const& cause, std::string const& words,
                          Finding const& finding) {
    ExpectFinding(Verdict::problem, cause, words, finding);
}

inline void ExpectNote(std::string const& cause, std::string const& words, Finding const& finding) {
    ExpectFinding(Verdict::note, cause, words, finding);
}

inline void ExpectOk(std::string const& words, Finding const& finding) {
    ExpectFinding(Verdict::ok, "", words, finding);
}

inline void SetMode(std::string const& path, unsigned int mode) {
    fs::permissions(path, fs::perms(mode));
}

// Runs the body as an unprivileged user, in a sandbox.
template <typename Body>
void WithoutRights(Body const& body) {
    OtherProcess other([&] {
        Sandbox::DropPrivileges();
        body();
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
}
