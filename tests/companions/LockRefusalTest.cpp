#include "companions/LockRefusal.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/PrivateMachine.h"
#include "tests/system/RecordLock.h"

namespace {

namespace fs = std::filesystem;

void CreateAgent() {
    PrivateMachine::CreateAgentDirectories();
    PrivateMachine::InstallAgent();
}

void ExpectRefused(QueryExit status, bool isTemporary, std::string const& message) {
    QueryFailure const failure = DescribeLockRefusal();
    EXPECT_EQ(status, failure.status) << failure.message;
    EXPECT_EQ(isTemporary, failure.temporary);
    EXPECT_NE(std::string::npos, failure.message.find(message)) << failure.message;
}

TEST(LockRefusalTest, MissingAgentIsNotInstalled) {
    PrivateMachine::Run([] {
        ExpectRefused(QueryExit::noAgent, false,
                      "the agent is not installed: /opt/VeskaClient/bin/VeskaClient is missing");
        PrivateMachine::InstallAgent();
        ExpectRefused(QueryExit::noAgent, false, "/var/opt/VeskaClient/RequestDir is missing");
    });
}

TEST(LockRefusalTest, HeldLockIsTemporary) {
    PrivateMachine::Run([] {
        CreateAgent();
        ForeignLock const lock;
        ExpectRefused(QueryExit::busy, true, "the lock is held by process ");
    });
}

// Also where this user cannot write to the directory, which an existing lock file does not need.
TEST(LockRefusalTest, LockThatIsFreeByNowIsTemporary) {
    PrivateMachine::Run([] {
        CreateAgent();
        ExpectRefused(QueryExit::busy, true, "has released it by now");
        std::ofstream(std::string(ScriptedAgent::lockFile)) << "";
        fs::permissions(ScriptedAgent::lockFile, fs::perms(0666));
        fs::permissions(ScriptedAgent::requestDirectory, fs::perms(0555));
        PrivateMachine::DropPrivileges();
        ExpectRefused(QueryExit::busy, true, "has released it by now");
    });
}

TEST(LockRefusalTest, LockFileThatUserCannotUseIsExchangeFailure) {
    PrivateMachine::Run([] {
        CreateAgent();
        fs::create_directory(ScriptedAgent::lockFile);
        ExpectRefused(QueryExit::exchangeFailed, false, ScriptedAgent::lockFile);
    });
}

TEST(LockRefusalTest, DirectoryThatUserCannotUseIsExchangeFailure) {
    PrivateMachine::Run([] {
        CreateAgent();
        fs::permissions(ScriptedAgent::requestDirectory, fs::perms(0555));
        PrivateMachine::DropPrivileges();
        ExpectRefused(QueryExit::exchangeFailed, false, ScriptedAgent::requestDirectory);
    });
}

} // namespace
