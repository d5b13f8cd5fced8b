// scripts/demo, inside of its sandbox.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include "tests/support/OtherProcess.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

std::vector<std::string> Demo(std::string const& buildFolder) {
    return {"/bin/bash", PROJECT_FOLDER "/scripts/demo", "--inside", buildFolder};
}

SANDBOX_TEST(DemoTest, RunsInABuildFolderWithAQuoteInItsName) {
    TemporaryDirectory const scratch;
    std::string const folder = scratch / "it's";
    std::filesystem::create_directory_symlink(BUILD_FOLDER, folder);
    ProgramResult const result = RunProgram(Demo(folder));
    EXPECT_EQ(ExitStatus::Exited(0), result.status) << result.errors;
    EXPECT_NE(std::string::npos, result.output.find("COMPLIANCE_ResultCount is 4."));
}

SANDBOX_TEST(DemoTest, EndsWithStatus130AfterSigint) {
    OtherProgram demo(Demo(BUILD_FOLDER));
    while (demo.IsRunning() && demo.Output().find("answered") == std::string::npos)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    demo.Kill(SIGINT);
    ProgramResult const result = demo.Wait();
    EXPECT_EQ(ExitStatus::Exited(130), result.status) << result.errors;
    EXPECT_EQ(std::string::npos, result.output.find("Exit status")) << result.output;
}

} // namespace
