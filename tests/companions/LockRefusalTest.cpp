#include "companions/LockRefusal.h"

#include "tests/companions/CompanionTest.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/system/RecordLock.h"

namespace {

void ExpectRefused(QueryExit status, bool isTemporary, std::string const& message) {
    QueryFailure const failure = DescribeLockRefusal();
    EXPECT_EQ(status, failure.status) << failure.message;
    EXPECT_EQ(isTemporary, failure.temporary);
    EXPECT_THAT(failure.message, HasSubstr(message));
}

SANDBOX_TEST(LockRefusalTest, MissingAgentOrRequestDirectoryIsNoAgent) {
    fs::remove_all("/var/opt/VeskaClient");
    ExpectRefused(
        QueryExit::noAgent, false,
        "the agent is not installed or not started: /opt/VeskaClient/bin/VeskaClient is missing");
    Sandbox::InstallAgent();
    ExpectRefused(QueryExit::noAgent, false, "/var/opt/VeskaClient/RequestDir is missing");
}

SANDBOX_TEST(LockRefusalTest, HeldLockIsTemporary) {
    Sandbox::InstallAgent();
    ForeignLock const lock;
    ExpectRefused(QueryExit::busy, true, "the lock is held by process ");
}

// Also if the user cannot write to the directory: an existing lock file does not require it.
SANDBOX_TEST(LockRefusalTest, LockReleasedInTheMeantimeIsTemporary) {
    Sandbox::InstallAgent();
    ExpectRefused(QueryExit::busy, true, "has released it since");
    WriteWholeFile(ScriptedAgent::lockFile, "");
    fs::permissions(ScriptedAgent::lockFile, fs::perms(0666));
    fs::permissions(ScriptedAgent::requestDirectory, fs::perms(0555));
    Sandbox::DropPrivileges();
    ExpectRefused(QueryExit::busy, true, "has released it since");
}

SANDBOX_TEST(LockRefusalTest, UnusableLockFileOrDirectoryIsExchangeFailure) {
    Sandbox::InstallAgent();
    fs::create_directory(ScriptedAgent::lockFile);
    ExpectRefused(QueryExit::exchangeFailed, false, ScriptedAgent::lockFile);
    fs::remove(ScriptedAgent::lockFile);
    fs::permissions(ScriptedAgent::requestDirectory, fs::perms(0555));
    Sandbox::DropPrivileges();
    ExpectRefused(QueryExit::exchangeFailed, false, ScriptedAgent::requestDirectory);
}

SANDBOX_TEST(LockRefusalTest, ReadOnlyFileSystemIsNotAMissingPermission) {
    Sandbox::InstallAgent();
    SmallFileSystem small(ScriptedAgent::requestDirectory);
    WriteWholeFile(ScriptedAgent::lockFile, "");
    small.MakeReadOnly();
    ExpectRefused(QueryExit::exchangeFailed, false,
                  "is on a file system that is mounted read-only");
}

SANDBOX_TEST(LockRefusalTest, FullDiskWithoutLockFileIsExchangeFailure) {
    Sandbox::InstallAgent();
    SmallFileSystem const small(ScriptedAgent::requestDirectory, {.inodes = 1});
    ExpectRefused(QueryExit::exchangeFailed, false, "is full");
}

} // namespace
