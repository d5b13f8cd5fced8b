#include "companions/ResponseFile.h"

#include "tests/companions/CompanionTest.h"

namespace {

constexpr char const* response = ScriptedAgent::response;

void Publish(std::string const& bytes) {
    std::string const temporary = std::string(response) + ".new";
    std::ofstream(temporary) << bytes;
    fs::rename(temporary, response);
}

// Whether a change of the response counts as a new response.
template <typename Change>
bool IsNew(Change const& change) {
    ResponseWatch const watch;
    change();
    return !watch.IsUnchanged();
}

SANDBOX_TEST(ResponseFileTest, ReadingAResponseDoesNotChangeIt) {
    Publish("old");
    EXPECT_FALSE(IsNew([] { ReadWholeFile(response); }));
}

SANDBOX_TEST(ResponseFileTest, MissingResponseCountsAsChanged) {
    EXPECT_TRUE(IsNew([] {}));
    EXPECT_TRUE(IsNew([] { Publish("first"); }));
    EXPECT_TRUE(IsNew([] { fs::remove(response); }));
    fs::remove_all("/var/opt/VeskaClient");
    EXPECT_TRUE(IsNew([] {}));
}

// Writes to the file, and restores its modification time like an agent that copies an old response.
void Restore() {
    struct stat before {};
    ASSERT_EQ(0, stat(response, &before));
    WriteWholeFile(response, "new");
    timespec const times[] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(0, utimensat(AT_FDCWD, response, times, 0));
}

SANDBOX_TEST(ResponseFileTest, DetectsReplacedOverwrittenAndExtendedResponse) {
    Publish("old");
    for (auto const& change : std::vector<std::function<void()>>{
             [] { Publish("old"); }, [] { WriteWholeFile(response, "old"); },
             [] { std::ofstream(response, std::ios::app) << "more"; }, Restore}) {
        // The change time of a file follows the clock of the file system, which moves every few
        // milliseconds.
        usleep(20'000);
        EXPECT_TRUE(IsNew(change));
    }
}

SANDBOX_TEST(ResponseFileTest, ExaminesTheLinkAndNotItsTarget) {
    WriteWholeFile("/var/opt/target", "old");
    fs::create_symlink("/var/opt/target", response);
    EXPECT_FALSE(IsNew([] { WriteWholeFile("/var/opt/target", "newer"); }));
    ResponseState const state = LookAtResponse();
    EXPECT_TRUE(state.exists);
    EXPECT_EQ(15, state.size);
}

} // namespace
