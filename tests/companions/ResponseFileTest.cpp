#include "companions/ResponseFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <sys/stat.h>

#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedAgent.h"

namespace {

namespace fs = std::filesystem;
constexpr char const* response = ScriptedAgent::response;

void Publish(std::string const& bytes) {
    std::string const temporary = std::string(response) + ".new";
    std::ofstream(temporary) << bytes;
    fs::rename(temporary, response);
}

// Whether a change of the response counts as a new answer.
template <typename Change>
bool IsNew(Change const& change) {
    ResponseWatch const watch;
    change();
    return !watch.IsUnchanged();
}

// The change time of a file follows the clock of the file system, which moves every few
// milliseconds.
void AwaitClockOfFiles() { usleep(20'000); }

TEST(ResponseFileTest, ReadingAnAnswerDoesNotChangeIt) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        Publish("old");
        EXPECT_FALSE(IsNew([] { std::ifstream(response).get(); }));
    });
}

TEST(ResponseFileTest, MissingAnswerCountsAsChanged) {
    Sandbox::Run([] {
        EXPECT_TRUE(IsNew([] {}));
        Sandbox::CreateAgentDirectories();
        EXPECT_TRUE(IsNew([] {}));
        EXPECT_TRUE(IsNew([] { Publish("first"); }));
        EXPECT_TRUE(IsNew([] { fs::remove(response); }));
    });
}

TEST(ResponseFileTest, DetectsReplacedOverwrittenAndExtendedAnswer) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        Publish("old");
        AwaitClockOfFiles();
        EXPECT_TRUE(IsNew([] { Publish("old"); }));
        AwaitClockOfFiles();
        EXPECT_TRUE(IsNew([] { std::ofstream(std::string(response)) << "old"; }));
        AwaitClockOfFiles();
        EXPECT_TRUE(IsNew([] { std::ofstream(response, std::ios::app) << "more"; }));
    });
}

// An agent that copies an old answer with its times.
TEST(ResponseFileTest, DetectsChangeThatRestoresModificationTime) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        Publish("old");
        AwaitClockOfFiles();
        EXPECT_TRUE(IsNew([] {
            struct stat before {};
            ASSERT_EQ(0, stat(response, &before));
            std::ofstream(std::string(response)) << "new";
            timespec const times[] = {before.st_atim, before.st_mtim};
            ASSERT_EQ(0, utimensat(AT_FDCWD, response, times, 0));
        }));
    });
}

TEST(ResponseFileTest, ExaminesTheLinkAndNotItsTarget) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        std::ofstream("/var/opt/target") << "old";
        fs::create_symlink("/var/opt/target", response);
        EXPECT_FALSE(IsNew([] { std::ofstream("/var/opt/target") << "newer"; }));
        ResponseState const state = LookAtResponse();
        EXPECT_TRUE(state.exists);
        EXPECT_EQ(15, state.size);
    });
}

} // namespace
