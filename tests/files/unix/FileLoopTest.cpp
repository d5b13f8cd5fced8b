#include "files/unix/FileLoop.h"

#include <cerrno>
#include <clocale>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dirent.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/FileName.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/Files.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using testing::ElementsAre;
namespace fs = std::filesystem;
using Loop = UnixPlatform::FileLoop;

class UnixFileLoopTest : public testing::Test {
protected:
    void Make(std::vector<std::string> const& names) {
        for (std::string const& name : names)
            WriteWholeFile(directory / name, name);
    }

    std::string NameOf(Loop const& loop) {
        std::string const path = loop.Item().Location().Text();
        return path.substr(path.rfind('/') + 1);
    }

    // The names from the present entry on.
    std::vector<std::string> Names(Loop& loop) {
        std::vector<std::string> names;
        for (; loop.HasItem(); ++loop)
            names.push_back(NameOf(loop));
        return names;
    }

    std::vector<std::string> NamesOf(char const* wildcard) {
        Loop loop(here, true, wildcard);
        return Names(loop);
    }

    TemporaryDirectory directory;
    FileLocation const here = MakeFileLocation(directory.path().c_str());
};

TEST_F(UnixFileLoopTest, IsEmptyUntilStart) {
    Loop loop;
    EXPECT_FALSE(loop.HasItem());
    EXPECT_TRUE(loop.Item().IsNothingThere());
    EXPECT_FALSE((++loop).HasItem());
    loop.SetLoopItem(false);
    EXPECT_TRUE(loop.Item().Location().IsEmpty());
}

TEST_F(UnixFileLoopTest, IsNotCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<Loop>);
    EXPECT_FALSE(std::is_copy_assignable_v<Loop>);
    EXPECT_TRUE(std::has_virtual_destructor_v<Loop>);
}

TEST_F(UnixFileLoopTest, ItsErrorsAreNoFileIOErrors) {
    EXPECT_TRUE((std::is_base_of_v<DebuggableException, Loop::Error>));
    EXPECT_TRUE((std::is_base_of_v<Loop::Error, Loop::InvalidIteratorPosition>));
    EXPECT_FALSE((std::is_base_of_v<FileIOError, Loop::Error>));
    EXPECT_STREQ(Loop::Error().what(), "N12UnixPlatform8FileLoop5ErrorE");
}

TEST_F(UnixFileLoopTest, DeliversOneItemForEachEntryInOrder) {
    Make({"b", "a", ".c"});
    EXPECT_THAT(NamesOf(nullptr), ElementsAre(".c", "a", "b"));
}

TEST_F(UnixFileLoopTest, TheOrderOfTheCLocaleIsThatOfTheBytes) {
    ASSERT_STREQ(std::setlocale(LC_COLLATE, nullptr), "C");
    Make({"a", "B", "\xC3\xA4", "_", "10", "9", "aa", "a b", "...", "A"});
    EXPECT_THAT(NamesOf(nullptr),
                ElementsAre("...", "10", "9", "A", "B", "_", "a", "a b", "aa", "\xC3\xA4"));
}

TEST_F(UnixFileLoopTest, ItemsHaveTheLocationAndWhatStandsThere) {
    Make({"file"});
    fs::create_directory(directory / "sub");
    Loop loop(here, false, nullptr);
    EXPECT_STREQ(loop.Item().Location().Text(), (directory / "file").c_str());
    EXPECT_TRUE(loop.Item().IsRegularFile());
    EXPECT_EQ(loop.Item().Target().st_size, 4);
    ++loop;
    EXPECT_TRUE(loop.Item().IsDirectory());
}

TEST_F(UnixFileLoopTest, TheDirectoryItselfAndItsParentAreNeverDelivered) {
    Make({".x", "..y"});
    EXPECT_THAT(NamesOf(nullptr), ElementsAre("..y", ".x"));
    EXPECT_THAT(NamesOf("*"), ElementsAre("..y", ".x"));
    EXPECT_THAT(NamesOf(".*"), ElementsAre("..y", ".x"));
    EXPECT_THAT(NamesOf("."), ElementsAre());
    EXPECT_THAT(NamesOf(".."), ElementsAre());
}

TEST_F(UnixFileLoopTest, AWildcardTakesOutWhatItMatches) {
    Make({"a.txt", "b.txt", "c.TXT", "txt", "d.txt.bak"});
    EXPECT_THAT(NamesOf("*.txt"), ElementsAre("a.txt", "b.txt"));
    EXPECT_THAT(NamesOf("?.*"), ElementsAre("a.txt", "b.txt", "c.TXT", "d.txt.bak"));
    EXPECT_THAT(NamesOf("txt"), ElementsAre("txt"));
    EXPECT_THAT(NamesOf("*.doc"), ElementsAre());
    EXPECT_THAT(NamesOf(""), ElementsAre()) << "a pattern too, which no name matches";
}

TEST_F(UnixFileLoopTest, ADirectoryThatCannotBeListedIsAnEmptyLoop) {
    Make({"file"});
    for (char const* name : {"missing", "file", "file/below"}) {
        Loop loop(MakeFileLocation((directory / name).c_str()), false, nullptr);
        EXPECT_FALSE(loop.HasItem()) << name;
        EXPECT_FALSE((++loop).HasItem());
    }
    EXPECT_FALSE(Loop(FileLocation(), false, nullptr).HasItem());
    fs::create_directory(directory / "empty");
    EXPECT_FALSE(Loop(MakeFileLocation((directory / "empty").c_str()), false, nullptr).HasItem());
}

TEST_F(UnixFileLoopTest, ADirectoryOutOfReachIsAnEmptyLoop) {
    PrivateMachine::Run([&] {
        Make({"file"});
        fs::permissions(directory.path(), fs::perms(0111));
        PrivateMachine::DropPrivileges();
        EXPECT_FALSE(Loop(here, false, nullptr).HasItem());
    });
}

TEST_F(UnixFileLoopTest, EntriesThatMayNotBeExaminedAreReported) {
    PrivateMachine::Run([&] {
        Make({"a", "b"});
        fs::permissions(directory.path(), fs::perms(0444));
        PrivateMachine::DropPrivileges();
        ExpectFileError<FilePermissionError>(EACCES, On(directory / "a"),
                                             [&] { Loop loop(here, true, nullptr); });
        Loop loop;
        EXPECT_THROW(loop.Start(here, true, nullptr), FilePermissionError);
        ExpectFileError<FilePermissionError>(EACCES, On(directory / "b"), [&] { ++loop; });
        EXPECT_FALSE((++loop).HasItem());
    });
}

TEST_F(UnixFileLoopTest, ABrokenLinkIsDeliveredIfTolerated) {
    Make({"a", "c"});
    fs::create_symlink("missing", directory / "b");
    EXPECT_THAT(NamesOf(nullptr), ElementsAre("a", "b", "c"));
    Loop loop(here, true, "b");
    EXPECT_TRUE(loop.Item().IsBrokenLink());
}

TEST_F(UnixFileLoopTest, ABrokenLinkIsReportedOtherwiseAndCanBeSteppedOver) {
    Make({"a", "c"});
    fs::create_symlink("missing", directory / "b");
    Loop loop(here, false, nullptr);
    ExpectFileError<FileNotFoundError>(ENOENT, On(directory / "b"), [&] { ++loop; });
    EXPECT_TRUE(loop.HasItem());
    EXPECT_EQ(NameOf(loop), "b");
    EXPECT_TRUE(loop.Item().IsBrokenLink());
    ++loop;
    EXPECT_EQ(NameOf(loop), "c");
}

TEST_F(UnixFileLoopTest, AFailedStartKeepsTheListButAFailedInitDoesNot) {
    Make({"b"});
    fs::create_symlink("missing", directory / "a");
    Loop loop;
    EXPECT_THROW(loop.Start(here, false, nullptr), FileNotFoundError);
    EXPECT_TRUE(loop.HasItem());
    ++loop;
    EXPECT_EQ(NameOf(loop), "b");
    EXPECT_THROW(loop.init(here, false, nullptr), FileNotFoundError);
    EXPECT_FALSE(loop.HasItem());
    EXPECT_THROW(Loop(here, false, nullptr), FileNotFoundError);
    loop.init(here, true, nullptr);
    EXPECT_TRUE(loop.HasItem());
}

TEST_F(UnixFileLoopTest, TheListIsThatOfTheStart) {
    Make({"a", "b", "d"});
    Loop loop(here, true, nullptr);
    fs::remove(directory / "b");
    Make({"c"});
    ExpectFileError<FileNotFoundError>(ENOENT, On(directory / "b"), [&] { ++loop; });
    EXPECT_TRUE(loop.Item().IsNothingThere());
    ++loop;
    EXPECT_EQ(NameOf(loop), "d") << "c came too late";
    EXPECT_FALSE((++loop).HasItem());
}

TEST_F(UnixFileLoopTest, StaysAtItsEnd) {
    Make({"a"});
    Loop loop(here, false, nullptr);
    EXPECT_FALSE((++loop).HasItem());
    EXPECT_FALSE((++loop).HasItem());
    EXPECT_EQ(NameOf(loop), "a") << "the item stays that of the last entry";
}

TEST_F(UnixFileLoopTest, GivesItsListBackAtItsEndAndNotOnlyInTheDestructor) {
    Make({"a", "b", "c"});
    // By name, as the list has to be; what deletes give back is left out.
    auto const freed = [counter = AllocationCounter()] {
        return SystemCalls::Freed() - counter.Releases();
    };
    std::size_t const atFirst = freed();
    {
        Loop loop(here, false, nullptr);
        ++loop;
        ++loop;
        EXPECT_EQ(freed() - atFirst, 1u) << "the array of the system's list";
        ++loop;
        EXPECT_EQ(freed() - atFirst, 5u) << "three entries and their array";
    }
    EXPECT_EQ(freed() - atFirst, 5u);
    { Loop const loop(here, false, nullptr); }
    EXPECT_EQ(freed() - atFirst, 10u) << "the destructor gives back what is left";
}

TEST_F(UnixFileLoopTest, ANewStartReplacesTheList) {
    Make({"a", "b"});
    fs::create_directory(directory / "z");
    WriteWholeFile(directory / "z/c", "");
    Loop loop(here, false, nullptr);
    loop.Start(MakeFileLocation((directory / "z").c_str()), false, nullptr);
    EXPECT_THAT(Names(loop), ElementsAre("c"));
    loop.Start(here, false, "b");
    EXPECT_THAT(Names(loop), ElementsAre("b"));
    loop.Start(MakeFileLocation("/missing"), false, nullptr);
    EXPECT_FALSE(loop.HasItem());
}

TEST_F(UnixFileLoopTest, ASelectorChoosesTheEntries) {
    Make({"a", "bb", "c"});
    Loop loop(here, false, nullptr);
    loop.DoScanDirectory(
        [](dirent const* entry) {
            return int{entry->d_name[1] == '\0' && entry->d_name[0] != '.'};
        },
        nullptr, false);
    EXPECT_THAT(Names(loop), ElementsAre("a", "c"));
}

TEST_F(UnixFileLoopTest, ANameThatIsNoneStopsTheLoop) {
    Make({"a"});
    Loop loop(here, false, nullptr);
    loop.BuildNameList([](dirent const*) { return 1; }, nullptr);
    ExpectExactly<IllegalFileNameReserved>([&] { loop.SetLoopItem(false); });
    EXPECT_TRUE(loop.HasItem()) << "it stays on the entry";
    ExpectExactly<IllegalFileNameReserved>([&] { ++loop; });
    EXPECT_EQ(NameOf(++loop), "a");
}

TEST_F(UnixFileLoopTest, EachEntryCostsOneLookAtIt) {
    Make({"a", "b"});
    fs::create_symlink("a", directory / "c");
    SystemCalls calls;
    Loop loop(here, false, nullptr);
    EXPECT_THAT(calls.Log(),
                ElementsAre("scandir " + directory.path(), "lstat " + directory / "a"));
    calls.Clear();
    ++loop;
    EXPECT_THAT(calls.Log(), ElementsAre("lstat " + directory / "b"));
    calls.Clear();
    ++loop;
    EXPECT_THAT(calls.Log(), ElementsAre("lstat " + directory / "c", "stat " + directory / "c"));
}

TEST_F(UnixFileLoopTest, ItemsOfShortPathsAreMadeWithoutAllocation) {
    Make({"a", "b", "c-23-bytes-long-name..."});
    Loop loop(here, false, nullptr);
    EXPECT_EQ(AllocationsOf([&] { ++loop; }), 0u);
    EXPECT_EQ(AllocationsOf([&] { ++loop; }), 0u);
    EXPECT_EQ(NameOf(loop), "c-23-bytes-long-name...");
}

TEST_F(UnixFileLoopTest, WithoutMemoryForTheListItThrowsAndIsEmpty) {
    Make({"a", "b"});
    Loop loop(here, false, nullptr);
    SystemCalls::FailMalloc();
    EXPECT_THROW(loop.Start(here, false, "a"), std::bad_alloc);
    EXPECT_FALSE(loop.HasItem());
    loop.Start(here, false, "a");
    EXPECT_TRUE(loop.HasItem());
}

TEST_F(UnixFileLoopTest, LongNamesAndManyEntriesAreDelivered) {
    std::string const longest(255, 'y');
    Make({longest});
    for (int i = 1000; i < 1300; ++i)
        Make({std::to_string(i)});
    Loop loop(here, false, nullptr);
    std::vector<std::string> const names = Names(loop);
    ASSERT_EQ(names.size(), 301u);
    for (int i = 0; i < 300; ++i)
        EXPECT_EQ(names[i], std::to_string(1000 + i));
    EXPECT_EQ(names.back(), longest);
}

TEST_F(UnixFileLoopTest, TheRootsEntriesHaveADoubledSlash) {
    Loop loop(MakeFileLocation("/"), true, "proc");
    ASSERT_TRUE(loop.HasItem());
    EXPECT_STREQ(loop.Item().Location().Text(), "//proc");
}

} // namespace
