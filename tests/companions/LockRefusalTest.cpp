#include "companions/LockRefusal.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/Sandbox.h"
#include "tests/system/RecordLock.h"

namespace {

namespace fs = std::filesystem;

void CreateAgent() {
    Sandbox::CreateAgentDirectories();
    Sandbox::InstallAgent();
}

void ExpectRefused(QueryExit status, bool isTemporary, std::string const& message) {
    QueryFailure const failure = DescribeLockRefusal();
    EXPECT_EQ(status, failure.status) << failure.message;
    EXPECT_EQ(isTemporary, failure.temporary);
    EXPECT_NE(std::string::npos, failure.message.find(message)) << failure.message;
}

TEST(LockRefusalTest, ReportsThatAgentIsNotInstalled) {
    Sandbox::Run([] {
        ExpectRefused(QueryExit::noAgent, false,
                      "the agent is not installed: /opt/VeskaClient/bin/VeskaClient is missing");
        Sandbox::InstallAgent();
        ExpectRefused(QueryExit::noAgent, false, "/var/opt/VeskaClient/RequestDir is missing");
    });
}

TEST(LockRefusalTest, HeldLockIsTemporary) {
    Sandbox::Run([] {
        CreateAgent();
        ForeignLock const lock;
        ExpectRefused(QueryExit::busy, true, "the lock is held by process ");
    });
}

// Also if the user cannot write to the directory: an existing lock file does not require it.
TEST(LockRefusalTest, LockReleasedInTheMeantimeIsTemporary) {
    Sandbox::Run([] {
        CreateAgent();
        ExpectRefused(QueryExit::busy, true, "has released it since");
        std::ofstream(std::string(ScriptedAgent::lockFile)) << "";
        fs::permissions(ScriptedAgent::lockFile, fs::perms(0666));
        fs::permissions(ScriptedAgent::requestDirectory, fs::perms(0555));
        Sandbox::DropPrivileges();
        ExpectRefused(QueryExit::busy, true, "has released it since");
    });
}

TEST(LockRefusalTest, LockFileThatUserCannotUseIsExchangeFailure) {
    Sandbox::Run([] {
        CreateAgent();
        fs::create_directory(ScriptedAgent::lockFile);
        ExpectRefused(QueryExit::exchangeFailed, false, ScriptedAgent::lockFile);
    });
}

TEST(LockRefusalTest, UnwritableDirectoryWithoutLockFileIsExchangeFailure) {
    Sandbox::Run([] {
        CreateAgent();
        fs::permissions(ScriptedAgent::requestDirectory, fs::perms(0555));
        Sandbox::DropPrivileges();
        ExpectRefused(QueryExit::exchangeFailed, false, ScriptedAgent::requestDirectory);
    });
}

} // namespace
