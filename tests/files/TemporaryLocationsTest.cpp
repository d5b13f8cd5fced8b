#include "files/TemporaryLocations.h"

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <latch>
#include <list>
#include <new>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "tests/files/At.h"
#include "tests/files/EmptyTmp.h"
#include "tests/files/Entries.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;
using testing::MatchesRegex;

std::string SixCharacters(std::string const& start) { return start + "[0-9A-Za-z]{6}"; }

std::size_t EntriesIn(std::string const& directory) {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(directory), fs::directory_iterator()));
}

TEST(TemporaryLocationsTest, DirectoryIsTheSameWhateverTheEnvironmentSays) {
    WithEmptyTmp([] {
        for (char const* name : {"TMPDIR", "TMP", "TEMP", "TEMPDIR", "HOME"})
            setenv(name, "/opt", 1);
        EXPECT_EQ("/tmp"_bytes, TemporaryFileDirLocation().Bytes());
        EXPECT_EQ("/tmp/Veska/ClientUI"_bytes, UISessionDefaultDirectory("").Bytes());
        EXPECT_EQ("/tmp/Veska/ClientUI/.u"_bytes, UISessionDefaultDirectory("u").Bytes());
        EXPECT_TRUE(fs::is_empty("/tmp"));
    });
}

TEST(TemporaryLocationsTest, EachCallGivesACopy) {
    WithEmptyTmp([] {
        FileLocation first = TemporaryFileDirLocation();
        first = At("/elsewhere");
        EXPECT_EQ("/tmp"_bytes, TemporaryFileDirLocation().Bytes());
    });
}

TEST(TemporaryLocationsTest, UniqueFileIsEmptyAndStays) {
    TemporaryDirectory const directory;
    FileLocation const made = CreateUniqueFileLocation(At(directory.path()), "pre");
    EXPECT_THAT(made.Text(), MatchesRegex(SixCharacters(directory / "pre")));
    EXPECT_EQ("file ", DescribeEntry(made.Text()));
    EXPECT_NE(made.Bytes(), CreateUniqueFileLocation(At(directory.path()), "pre").Bytes());
    EXPECT_EQ(2u, EntriesIn(directory.path()));
}

TEST(TemporaryLocationsTest, UniqueDirectoryIsEmptyAndStays) {
    TemporaryDirectory const directory;
    FileLocation const made = CreateUniqueDirLocation(At(directory.path()), nullptr);
    EXPECT_THAT(made.Text(), MatchesRegex(SixCharacters(directory / "")));
    EXPECT_EQ("directory", DescribeEntry(made.Text()));
    EXPECT_TRUE(fs::is_empty(made.Text()));
}

TEST(TemporaryLocationsTest, EmptyDirectoryLocationIsRefusedBeforeTheSystemIsAsked) {
    SystemCalls calls;
    ExpectFileError<EmptyFileLocationError>(0, "",
                                            [] { CreateUniqueFileLocation(FileLocation(), "x"); });
    ExpectFileError<EmptyFileLocationError>(0, "",
                                            [] { CreateUniqueDirLocation(FileLocation(), "x"); });
    EXPECT_TRUE(calls.Log().empty());
}

TEST(TemporaryLocationsTest, CodeOfAFailureTellsTheKind) {
    TemporaryDirectory const directory;
    FileLocation const missing = At(directory / "missing");
    ExpectFileError<CreateUniqueFileLocationFailed>(
        0, "", [&] { CreateUniqueFileLocation(missing, "x"); });
    ExpectFileError<CreateUniqueFileLocationFailed>(1, "",
                                                    [&] { CreateUniqueDirLocation(missing, "x"); });
}

TEST(TemporaryLocationsTest, WithoutADirectoryTheFileStandsInTheTemporaryOne) {
    WithEmptyTmp([] {
        EXPECT_THAT(CreateUniqueFileLocation("pre").Text(),
                    MatchesRegex(SixCharacters("/tmp/pre")));
        EXPECT_THAT(CreateUniqueFileLocation(nullptr).Text(), MatchesRegex(SixCharacters("/tmp/")));
        EXPECT_EQ(2u, EntriesIn("/tmp"));
    });
}

TEST(TemporaryLocationsTest, TemporaryDirectoryIsCreatedAgainForAUniqueFile) {
    WithEmptyTmp([] {
        TemporaryFileDirLocation();
        SystemCalls calls;
        // The search for what is missing asks for "/tmp" and "/", the creation for "/tmp" again.
        calls.Fail("lstat", ENOENT);
        calls.Fail("lstat", ENOENT, 1);
        calls.Fail("mkdir", EROFS);
        EXPECT_THROW(CreateUniqueFileLocation("x"), FileIOError);
        EXPECT_EQ(1u, calls.Count("mkdir /tmp 777"));
        EXPECT_EQ(0u, calls.Count("mkstemp"));
    });
}

// Where a unique file goes for a hint: its directory, as the location spells it.
std::string DirectoryForHint(std::string const& hint) {
    FileLocation const made = CreateUniqueFileLocationWithHint(At(hint), "x");
    EXPECT_EQ("file ", DescribeEntry(made.Text()));
    FileLocation const name = LocationForTemporaryFile(At(hint));
    EXPECT_EQ(made.Parent().Bytes(), name.Parent().Bytes());
    EXPECT_EQ("nothing", DescribeEntry(name.Text()));
    return made.Parent().Text();
}

TEST(TemporaryLocationsTest, HintThatIsADirectoryIsUsedItself) {
    TemporaryDirectory const directory;
    for (char const* kind : {"directory", "full directory", "link to directory"}) {
        std::string const hint = directory / kind;
        MakeEntry(hint, kind);
        EXPECT_EQ(hint, DirectoryForHint(hint));
    }
}

TEST(TemporaryLocationsTest, HintThatIsNoDirectoryGivesItsParent) {
    TemporaryDirectory const directory;
    for (char const* kind : {"file", "link to file", "broken link", "fifo"}) {
        MakeEntry(directory / kind, kind);
        EXPECT_EQ(directory.path(), DirectoryForHint(directory / kind)) << kind;
    }
    EXPECT_EQ(directory.path(), DirectoryForHint(directory / "missing"));
}

TEST(TemporaryLocationsTest, ParentOfAHintMustExist) {
    TemporaryDirectory const directory;
    FileLocation const hint = At(directory / "missing/file");
    ExpectFileError<CreateUniqueFileLocationFailed>(
        0, "", [&] { CreateUniqueFileLocationWithHint(hint, "x"); });
    ExpectFileError<CreateUniqueFileLocationFailed>(0, "", [&] { LocationForTemporaryFile(hint); });
}

TEST(TemporaryLocationsTest, EmptyHintIsRefusedBeforeTheSystemIsAsked) {
    SystemCalls calls;
    ExpectFileError<EmptyFileLocationError>(0, "",
                                            [] { LocationForTemporaryFile(FileLocation()); });
    EXPECT_TRUE(calls.Log().empty());
}

TEST(TemporaryLocationsTest, HintWithoutAParentIsRefused) {
    ExpectFileError<EmptyFileLocationError>(
        0, "", [] { CreateUniqueFileLocationWithHint(FileLocation(), "x"); });
    ExpectFileError<EmptyFileLocationError>(0, "",
                                            [] { LocationForTemporaryFile(FileLocation()); });
    std::string const name = "no-such-entry-of-this-directory";
    ExpectFileError<InvalidFileLocation>(0, On(name),
                                         [&] { CreateUniqueFileLocationWithHint(At(name), "x"); });
    ExpectFileError<InvalidFileLocation>(0, On(name), [&] { LocationForTemporaryFile(At(name)); });
}

TEST(TemporaryLocationsTest, LocationForATemporaryFileIsAFreeName) {
    WithEmptyTmp([] {
        FileLocation const name = LocationForTemporaryFile();
        EXPECT_THAT(name.Text(), MatchesRegex(SixCharacters("/tmp/temp")));
        EXPECT_TRUE(fs::is_empty("/tmp"));
        fs::create_directory("/tmp/hint");
        EXPECT_THAT(LocationForTemporaryFile(At("/tmp/hint")).Text(),
                    MatchesRegex(SixCharacters("/tmp/hint/temp")));
        EXPECT_TRUE(fs::is_empty("/tmp/hint"));
    });
}

TEST(TemporaryLocationsTest, LocationForATemporaryFileIsCreatedBeforeItIsFree) {
    WithEmptyTmp([] {
        TemporaryFileDirLocation();
        SystemCalls calls;
        FileLocation const name = LocationForTemporaryFile();
        EXPECT_EQ(1u, calls.Count("mkstemp /tmp/tempXXXXXX"));
        EXPECT_EQ(1u, calls.Count("unlink " + std::string(name.Text())));
        calls.Fail("unlink", EACCES);
        ExpectExactly<FilePermissionError>([] { LocationForTemporaryFile(); });
        EXPECT_EQ(1u, EntriesIn("/tmp"));
    });
}

TEST(TemporaryLocationsTest, MadeTemporaryFileStaysForTheCaller) {
    WithEmptyTmp([] {
        FileLocation result = At("/before");
        EXPECT_TRUE(MakeTemporaryFileLocation(result, nullptr));
        EXPECT_THAT(result.Text(), MatchesRegex(SixCharacters("/tmp/tarvik")));
        EXPECT_EQ("file ", DescribeEntry(result.Text()));
        EXPECT_TRUE(MakeTemporaryFileLocation(result, "other"));
        EXPECT_THAT(result.Text(), MatchesRegex(SixCharacters("/tmp/other")));
        EXPECT_TRUE(MakeTemporaryFileLocation(result, ""));
        EXPECT_THAT(result.Text(), MatchesRegex(SixCharacters("/tmp/")));
        EXPECT_EQ(3u, EntriesIn("/tmp"));
    });
}

TEST(TemporaryLocationsTest, FailureToMakeATemporaryFileLeavesTheResultAsItWas) {
    WithEmptyTmp([] {
        FileLocation result = At("/before");
        EXPECT_FALSE(MakeTemporaryFileLocation(result, "missing/x"));
        EXPECT_FALSE(MakeTemporaryFileLocation(result, std::string(5000, 'x').c_str()));
        {
            SystemCalls calls;
            calls.Fail("mkstemp", ENOSPC);
            EXPECT_FALSE(MakeTemporaryFileLocation(result, nullptr));
        }
        fs::permissions("/tmp", fs::perms(0555));
        PrivateMachine::DropPrivileges();
        EXPECT_FALSE(MakeTemporaryFileLocation(result, nullptr));
        EXPECT_EQ("/before"_bytes, result.Bytes());
        EXPECT_TRUE(fs::is_empty("/tmp"));
    });
}

TEST(TemporaryLocationsTest, MissingMemoryIsAFailureToMakeATemporaryFileToo) {
    WithEmptyTmp([] {
        // So long that the result needs a block of its own.
        std::string const prefix(200, 'x');
        std::size_t const failures = ForEachFailingAllocation([&](std::size_t n) {
            FileLocation result = At("/before");
            if (!MakeTemporaryFileLocation(result, prefix.c_str())) {
                EXPECT_EQ("/before"_bytes, result.Bytes()) << n;
            } else {
                EXPECT_NE("/before"_bytes, result.Bytes()) << n;
            }
        });
        EXPECT_LT(0u, failures);
        EXPECT_EQ(failures + 1, EntriesIn("/tmp")) << "what was created stays";
    });
}

// The first use of the temporary directory is part of the race.
TEST(TemporaryLocationsTest, ManyThreadsAtOnceNeverGetTheSameName) {
    WithEmptyTmp([] {
        constexpr std::size_t threads = 8;
        constexpr std::size_t each = 50;
        std::vector<std::string> names(threads * each);
        std::latch begin(threads);
        std::vector<std::thread> running;
        for (std::size_t i = 0; i < threads; ++i)
            running.emplace_back([&, i] {
                begin.arrive_and_wait();
                for (std::size_t n = 0; n < each; ++n)
                    names[i * each + n] = CreateUniqueFileLocation("u").Text();
            });
        for (std::thread& thread : running)
            thread.join();
        EXPECT_EQ(names.size(), std::set<std::string>(names.begin(), names.end()).size());
        EXPECT_EQ(names.size(), EntriesIn("/tmp"));
    });
}

// Each process makes files and directories of one prefix in one place, and notes their names.
TEST(TemporaryLocationsTest, ManyProcessesAtOnceNeverGetTheSameName) {
    constexpr std::size_t processes = 8;
    constexpr std::size_t each = 250;
    TemporaryDirectory const directory;
    TemporaryDirectory const notes;
    FileLocation const place = At(directory.path());
    std::list<OtherProcess> running;
    for (std::size_t i = 0; i < processes; ++i)
        running.emplace_back([&, i](Handshake& line) {
            std::ofstream names(notes / std::to_string(i));
            line.Await();
            for (std::size_t n = 0; n < each; ++n)
                names << CreateUniqueFileLocation(place, "u").Text() << '\n'
                      << CreateUniqueDirLocation(place, "u").Text() << '\n';
        });
    for (OtherProcess& process : running)
        process.Tell();
    for (OtherProcess& process : running)
        EXPECT_EQ(ExitStatus::Exited(0), process.Wait());

    std::multiset<std::string> given;
    for (std::size_t i = 0; i < processes; ++i) {
        std::ifstream names(notes / std::to_string(i));
        for (std::string name; std::getline(names, name);)
            given.insert(name);
    }
    std::multiset<std::string> found;
    for (auto const& entry : fs::directory_iterator(directory.path()))
        found.insert(entry.path());
    EXPECT_EQ(processes * each * 2, found.size());
    EXPECT_EQ(found, given);
}

} // namespace
