// Checks of the findings of the doctor.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "companions/Doctor.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/Sandbox.h"

// Expects the words within the message, and a remedy exactly if the finding has a cause. A note may
// have either.
inline void ExpectFinding(Verdict verdict, std::string const& cause, std::string const& words,
                          Finding const& finding) {
    EXPECT_EQ(verdict, finding.verdict) << finding.message;
    EXPECT_EQ(cause, finding.cause);
    EXPECT_NE(std::string::npos, finding.message.find(words)) << finding.message;
    if (verdict != Verdict::note) {
        EXPECT_EQ(cause.empty(), finding.remedy.empty());
    }
}

inline void ExpectProblem(std::string const& cause, std::string const& words,
                          Finding const& finding) {
    ExpectFinding(Verdict::problem, cause, words, finding);
}

inline void ExpectOk(std::string const& words, Finding const& finding) {
    ExpectFinding(Verdict::ok, "", words, finding);
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
