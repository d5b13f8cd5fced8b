#include "files/TemporaryLocations.h"

#include <algorithm>
#include <iterator>
#include <latch>
#include <list>
#include <thread>

#include "files/FileTrees.h"
#include "files/unix/TemporaryLocations.h"
#include "tests/files/FileTest.h"
#include "tests/support/OtherProcess.h"

namespace {

using testing::MatchesRegex;

// The limit for the length of directory and prefix together.
constexpr std::size_t maxCombinedLength = 4088;

// A function of the portable level, as one of the platform level.
template <FileLocation make(FileLocation const&, char const*)>
UnixPlatform::FileLocation Portable(UnixPlatform::FileLocation const& where, char const* prefix) {
    return make(where, prefix);
}

// A function that creates a unique entry: of both levels and of both kinds.
struct Maker {
    UnixPlatform::FileLocation (*make)(UnixPlatform::FileLocation const&, char const*);
    // The created kind, and its permissions.
    std::string entry;
    mode_t mode;
    // The exception of a failure. Its code is the kind.
    std::string failure;
};

std::vector<Maker> const makers = {
    {UnixPlatform::CreateUniqueFileLocation, "file ", 0600, "CreateUniqueFileLocationFailed"},
    {UnixPlatform::CreateUniqueDirLocation, "directory", 0700,
     "CreateUniqueFileLocationFailed EPERM"},
    {Portable<CreateUniqueFileLocation>, "file ", 0600, "CreateUniqueFileLocationFailed"},
    {Portable<CreateUniqueDirLocation>, "directory", 0700, "CreateUniqueFileLocationFailed EPERM"},
};

std::string SixCharacters(std::string const& start) { return start + "[0-9A-Za-z]{6}"; }

std::size_t EntriesIn(std::string const& directory) {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(directory), fs::directory_iterator()));
}

// The exception of both functions that take a hint, or the directory that they use: that of a new
// file and of an unused name.
std::string DirectoryForHint(std::string const& hint) {
    FileLocation made;
    FileLocation name;
    std::string const thrown =
        Thrown([&] { made = CreateUniqueFileLocationWithHint(At(hint), "x"); });
    EXPECT_EQ(thrown, Thrown([&] { name = LocationForTemporaryFile(At(hint)); }));
    if (thrown != "nothing")
        return thrown;
    EXPECT_EQ("file ", DescribeEntry(made.Text()));
    EXPECT_EQ("nothing", DescribeEntry(name.Text()));
    EXPECT_EQ(made.Parent().Bytes(), name.Parent().Bytes());
    EXPECT_THAT(name.Text(), MatchesRegex(SixCharacters(Text(made.Parent()) + "/temp")));
    return Text(made.Parent());
}

using TemporaryLocationsTest = FileTest;

TEST_F(TemporaryLocationsTest, DirectoriesAreIndependentOfTheEnvironment) {
    WithEmptyTmp([] {
        for (char const* name : {"TMPDIR", "TMP", "TEMP", "TEMPDIR", "HOME"})
            setenv(name, "/opt", 1);
        FileLocation copy = TemporaryFileDirLocation();
        copy = At("/elsewhere");
        EXPECT_EQ("/tmp", Text(TemporaryFileDirLocation()));
        EXPECT_EQ("/tmp", Text(UnixPlatform::TemporaryFileDirLocation()));
        for (auto const& [user, path] :
             Pairs{{"", "/tmp/Veska/ClientUI"},
                   {"u", "/tmp/Veska/ClientUI/.u"},
                   {"/../x/", "/tmp/Veska/ClientUI/./../x"}, // Not validated.
                   {Bytes("a\0b"), "/tmp/Veska/ClientUI/.a"},
                   {std::string(5000, 'u'), "/tmp/Veska/ClientUI/." + std::string(5000, 'u')}}) {
            EXPECT_EQ(path, Text(UISessionDefaultDirectory(user)));
            EXPECT_EQ(path, Text(UnixPlatform::UISessionDefaultDirectory(user)));
        }
        EXPECT_TRUE(fs::is_empty("/tmp"));
    });
}

// Expects that `use` first tries to create a missing /tmp, and throws if that fails.
void ExpectTmpIsCreated(std::function<void()> const& use) {
    SystemCalls calls;
    calls.FailFromThenOn("lstat", ENOENT);
    calls.Fail("mkdir", EROFS);
    EXPECT_NE("nothing", Thrown(use));
    EXPECT_LE(1u, calls.Count("mkdir /"));
    EXPECT_EQ(0u, calls.Count("mkstemp"));
}

TEST_F(TemporaryLocationsTest, TemporaryDirectoryIsCreatedOnceAndForEachUniqueFile) {
    WithEmptyTmp([] {
        ExpectTmpIsCreated([] { UnixPlatform::TemporaryFileDirLocation(); });
        EXPECT_EQ("/tmp", Text(UnixPlatform::TemporaryFileDirLocation())) << "after a failure";
        SystemCalls calls;
        UnixPlatform::TemporaryFileDirLocation();
        EXPECT_THAT(calls.Log(), IsEmpty());
        ExpectTmpIsCreated([] { CreateUniqueFileLocation("x"); });
    });
}

TEST_F(TemporaryLocationsTest, UniqueEntryIsEmptyAndIsKept) {
    fs::create_directory(directory / "below");
    for (Maker const& maker : makers)
        for (char const* const prefix : {static_cast<char const*>(nullptr), "", "pre", "below/x"}) {
            auto const made = maker.make(At(directory.path()), prefix);
            EXPECT_THAT(made.Text(),
                        MatchesRegex(SixCharacters(directory / (prefix ? prefix : ""))));
            EXPECT_EQ(maker.entry, DescribeEntry(made.Text()));
            EXPECT_EQ(maker.mode, ModeOf(made.Text()));
            EXPECT_THAT(DescriptorsOn(made.Text()), IsEmpty());
        }
    EXPECT_EQ(4u * 3u + 1, EntriesIn(directory.path()));
}

TEST_F(TemporaryLocationsTest, FailureHasTheKindAsItsCode) {
    for (Maker const& maker : makers) {
        EXPECT_EQ(maker.failure, Thrown([&] { maker.make(Here("missing"), "x"); }));
        bool const isFile = maker.mode == 0600;
        auto const failure = [&](int) {
            throw CreateUniqueFileLocationFailed(isFile ? 0 : 1);
        };
        ExpectMapped(isFile ? "mkstemp" : "mkdtemp", failure, [&] { maker.make(At("/tmp"), "x"); });
    }
    EXPECT_TRUE(fs::is_empty(directory.path()));
}

// Deliberate: for the functions of the platform level, an empty directory is the root.
TEST_F(TemporaryLocationsTest, PortableFunctionsRejectAnEmptyLocationBeforeAnyCall) {
    SystemCalls calls;
    FileLocation const none;
    ExpectEachThrows("EmptyFileLocationError", {[&] { CreateUniqueFileLocation(none, "x"); },
                                                [&] { CreateUniqueDirLocation(none, "x"); },
                                                [&] {
                                                    LocationForTemporaryFile(none);
                                                }});
    EXPECT_THAT(calls.Log(), IsEmpty());
    calls.Fail("mkstemp", EACCES);
    EXPECT_THROW(UnixPlatform::CreateUniqueFileLocation({}, "x"), CreateUniqueFileLocationFailed);
    EXPECT_THAT(calls.Log(), ElementsAre("mkstemp /xXXXXXX"));
}

TEST_F(TemporaryLocationsTest, LongestDirectoryIsAccepted) {
    std::string deep = directory.path();
    while (deep.size() + 200 < maxCombinedLength - 1)
        deep += '/' + std::string(149, 'd');
    deep += '/' + std::string(maxCombinedLength - deep.size() - 2, 'd');
    CreateDirectoryTree(At(deep));
    for (Maker const& maker : makers) {
        auto const made = maker.make(At(deep), nullptr);
        EXPECT_EQ(maxCombinedLength - 1 + 7, made.Bytes().Length());
        EXPECT_EQ(maker.entry, DescribeEntry(made.Text()));
        EXPECT_EQ(maker.failure, Thrown([&] { maker.make(At(deep), "x"); }));
        auto const shorter = maker.make(At(deep).Parent(), "xyz");
        EXPECT_EQ(maker.entry, DescribeEntry(shorter.Text()));
    }
}

// At each length, the system gets the whole text or no call. Text is never truncated.
TEST_F(TemporaryLocationsTest, TextBeyondTheLimitIsRejectedWithoutACall) {
    std::vector<std::pair<std::size_t, std::size_t>> lengths = {{1'000'000, 1'000'000},
                                                                {1, 1'000'000}};
    for (std::size_t prefix : {0, 1, 7, 100, 4000, 4087, 4088, 4089, 5000, 70'000})
        for (std::size_t total = std::max<std::size_t>(prefix, 4070); total < 4110; ++total)
            lengths.emplace_back(total - prefix, prefix);
    std::string wrong;
    for (auto const& [directoryLength, prefixLength] : lengths) {
        std::string const where(directoryLength, 'd');
        std::string const prefix(prefixLength, 'p');
        SystemCalls calls;
        calls.Fail("mkstemp", ENOENT);
        calls.Fail("mkdtemp", ENOENT);
        for (std::size_t kind : {0, 1})
            EXPECT_EQ(makers[kind].failure,
                      Thrown([&] { makers[kind].make(At(where), prefix.c_str()); }));
        std::string const pattern = where + '/' + prefix + "XXXXXX";
        Strings expected = {"mkstemp " + pattern, "mkdtemp " + pattern};
        if (directoryLength + prefixLength >= maxCombinedLength)
            expected.clear();
        if (calls.Log() != expected)
            wrong += std::to_string(directoryLength) + '+' + std::to_string(prefixLength) + ' ';
    }
    EXPECT_EQ("", wrong);
}

TEST_F(TemporaryLocationsTest, DirectoryOfAHintIsTheHintOrItsParent) {
    ForEach(everyKind, [&](std::string const& kind) {
        std::string const hint = directory / kind;
        EXPECT_EQ(fs::is_directory(hint) ? hint : directory.path(), DirectoryForHint(hint));
    });
    EXPECT_EQ(directory.path(), DirectoryForHint(directory / "missing"));
    EXPECT_EQ("CreateUniqueFileLocationFailed", DirectoryForHint(directory / "missing/file"));
    EXPECT_EQ("EmptyFileLocationError", DirectoryForHint(""));
    std::string const name = "no-such-entry-of-this-directory";
    EXPECT_EQ("InvalidFileLocation" + On(name), DirectoryForHint(name));
}

TEST_F(TemporaryLocationsTest, WithoutADirectoryTheTemporaryOneIsUsed) {
    WithEmptyTmp([] {
        EXPECT_THAT(CreateUniqueFileLocation("pre").Text(),
                    MatchesRegex(SixCharacters("/tmp/pre")));
        EXPECT_THAT(CreateUniqueFileLocation(nullptr).Text(), MatchesRegex(SixCharacters("/tmp/")));
        EXPECT_EQ(2u, EntriesIn("/tmp"));
        SystemCalls calls;
        FileLocation const name = LocationForTemporaryFile();
        EXPECT_THAT(name.Text(), MatchesRegex(SixCharacters("/tmp/temp")));
        EXPECT_EQ(1u, calls.Count("mkstemp /tmp/tempXXXXXX")) << "created, and then removed";
        EXPECT_EQ(2u, EntriesIn("/tmp"));
        calls.Fail("unlink", EACCES);
        EXPECT_THROW(LocationForTemporaryFile(), FilePermissionError);
        EXPECT_EQ(3u, EntriesIn("/tmp"));
    });
}

TEST_F(TemporaryLocationsTest, CreatedTemporaryFileIsKept) {
    WithEmptyTmp([] {
        for (auto const& [prefix, start] : {std::pair<char const*, char const*>(nullptr, "tarvik"),
                                            {"other", "other"},
                                            {"", ""}}) {
            FileLocation result = At("/before");
            EXPECT_TRUE(MakeTemporaryFileLocation(result, prefix));
            EXPECT_THAT(result.Text(), MatchesRegex(SixCharacters(std::string("/tmp/") + start)));
            EXPECT_EQ("file ", DescribeEntry(result.Text()));
        }
        EXPECT_EQ(3u, EntriesIn("/tmp"));
    });
}

TEST_F(TemporaryLocationsTest, FailedCreationKeepsTheResult) {
    WithEmptyTmp([] {
        FileLocation result = At("/before");
        EXPECT_FALSE(MakeTemporaryFileLocation(result, "missing/x"));
        EXPECT_FALSE(MakeTemporaryFileLocation(result, std::string(5000, 'x').c_str()));
        {
            SystemCalls calls;
            calls.Fail("mkstemp", ENOSPC);
            EXPECT_FALSE(MakeTemporaryFileLocation(result, nullptr));
        }
        // A result of this length needs an allocation.
        std::string const prefix(200, 'x');
        std::size_t const failures = ForEachFailingAllocation([&](std::size_t n) {
            FileLocation made = At("/before");
            bool const isMade = MakeTemporaryFileLocation(made, prefix.c_str());
            EXPECT_EQ(isMade, made.Bytes() != "/before"_bytes) << n;
        });
        EXPECT_LT(0u, failures);
        EXPECT_EQ(failures + 1, EntriesIn("/tmp")) << "the created file is kept";
        EXPECT_EQ("/before", Text(result));
    });
}

// The threads also race for the first use of the temporary directory. A duplicate name would leave
// fewer entries than calls.
TEST_F(TemporaryLocationsTest, ThreadsNeverGetTheSameName) {
    WithEmptyTmp([] {
        std::latch begin(8);
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i)
            threads.emplace_back([&] {
                begin.arrive_and_wait();
                for (int n = 0; n < 50; ++n)
                    CreateUniqueFileLocation("u");
            });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(8u * 50u, EntriesIn("/tmp"));
    });
}

TEST_F(TemporaryLocationsTest, ProcessesNeverGetTheSameName) {
    std::list<OtherProcess> running;
    for (int i = 0; i < 8; ++i)
        running.emplace_back([&](Handshake& line) {
            line.Await();
            for (int n = 0; n < 250; ++n)
                for (std::size_t kind : {0, 1})
                    makers[kind].make(At(directory.path()), "u");
        });
    for (OtherProcess& process : running)
        process.Tell();
    for (OtherProcess& process : running)
        EXPECT_EQ(ExitStatus::Exited(0), process.Wait());
    EXPECT_EQ(8u * 250u * 2u, EntriesIn(directory.path()));
}

} // namespace
