#include "files/FileErrors.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>

#include <dlfcn.h>

#include "files/FileLocation.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"

namespace {

bool systemHasWords = true;

} // namespace

// Found by the linker before the one of the C library, which has words for every number.
extern "C" char* strerror_r(int number, char* buffer, std::size_t size) noexcept {
    static auto const next =
        reinterpret_cast<char* (*)(int, char*, std::size_t)>(dlsym(RTLD_NEXT, "strerror_r"));
    return systemHasWords ? next(number, buffer, size) : nullptr;
}

namespace {

std::string const longName(300, 'n');

// Constructs the class in each way, and compares the messages.
template <class Error>
void ExpectNamedAs(std::string const& encodedName) {
    static_assert(std::is_base_of_v<FileIOError, Error>);
    static_assert(std::is_base_of_v<DebuggableException, Error>);
    std::string const start = "File error \"" + encodedName + '"';
    FileLocation const where = MakeFileLocation("/a");
    EXPECT_EQ(start, Error(0).what());
    EXPECT_EQ(start + " on \"/a\"", Error(where, 0).what());
    EXPECT_EQ(start + " on \"/a\": Error: 5: Input/output error", Error(where, 5).what());
    EXPECT_EQ(start + " on \"b\"", Error(ConstData("b"), 0).what());
    try {
        throw Error(where, 5);
    } catch (FileIOError const& caught) {
        EXPECT_EQ(start + " on \"/a\": Error: 5: Input/output error", caught.what());
        EXPECT_EQ(5, caught.GetCode());
    }
}

TEST(FileErrorsTest, EveryClassNamesItself) {
    ExpectNamedAs<FileIOError>("11FileIOError");
    ExpectNamedAs<FileNotFoundError>("17FileNotFoundError");
    ExpectNamedAs<FileFoundError>("14FileFoundError");
    ExpectNamedAs<FileExistsError>("15FileExistsError");
    ExpectNamedAs<DirectoryNotFoundError>("22DirectoryNotFoundError");
    ExpectNamedAs<DirectoryFoundError>("19DirectoryFoundError");
    ExpectNamedAs<DirectoryCreateFailed>("21DirectoryCreateFailed");
    ExpectNamedAs<FileCreateFailed>("16FileCreateFailed");
    ExpectNamedAs<EmptyFileLocationError>("22EmptyFileLocationError");
    ExpectNamedAs<InvalidFileLocation>("19InvalidFileLocation");
    ExpectNamedAs<RootHasNoParent>("15RootHasNoParent");
    ExpectNamedAs<InvalidStats>("12InvalidStats");
    ExpectNamedAs<FileItemError>("13FileItemError");
    ExpectNamedAs<FileMoveError>("13FileMoveError");
    ExpectNamedAs<CreateUniqueFileLocationFailed>("30CreateUniqueFileLocationFailed");
    ExpectNamedAs<FilePermissionError>("19FilePermissionError");
    ExpectNamedAs<FileResourceError>("17FileResourceError");
    ExpectNamedAs<FileLockError>("13FileLockError");
    ExpectNamedAs<FileDiskFullError>("17FileDiskFullError");
    ExpectNamedAs<FileSeekError>("13FileSeekError");
    ExpectNamedAs<EndOfFileError>("14EndOfFileError");
    ExpectNamedAs<FileNotOpenError>("16FileNotOpenError");
}

TEST(FileErrorsTest, ClassesStandBesideEachOther) {
    static_assert(!std::is_base_of_v<FileNotFoundError, DirectoryNotFoundError>);
    static_assert(!std::is_base_of_v<FileFoundError, FileExistsError>);
    static_assert(sizeof(FileIOError) == 2 * sizeof(void*));
    EXPECT_EQ(0, FileNotFoundError().GetCode());
    EXPECT_STREQ("File error \"17FileNotFoundError\"", FileNotFoundError().what());
}

TEST(FileErrorsTest, MessageOfAMissingFile) {
    FileNotFoundError const error(MakeFileLocation("/x"), 2);
    EXPECT_STREQ(
        "File error \"17FileNotFoundError\" on \"/x\": Error: 2: No such file or directory",
        error.what());
    EXPECT_EQ(error.what(), error.MakeErrorMessage());
}

TEST(FileErrorsTest, EachPartOfTheMessageStandsForItself) {
    ConstData const none;
    ConstData const first("/f");
    ConstData const second("/s");
    std::string const start = "File error \"13FileMoveError\"";
    std::string const end = ": Error: 18: Invalid cross-device link";
    EXPECT_EQ(start, FileMoveError(none, none, 0).what());
    EXPECT_EQ(start + " on \"/f\"", FileMoveError(first, none, 0).what());
    EXPECT_EQ(start + " and \"/s\"", FileMoveError(none, second, 0).what());
    EXPECT_EQ(start + " on \"/f\" and \"/s\"", FileMoveError(first, second, 0).what());
    EXPECT_EQ(start + end, FileMoveError(none, none, 18).what());
    EXPECT_EQ(start + " and \"/s\"" + end, FileMoveError(none, second, 18).what());
    EXPECT_EQ(start + " on \"/f\" and \"/s\"" + end, FileMoveError(first, second, 18).what());
    FileLocation const from = MakeFileLocation("/f");
    FileLocation const to = MakeFileLocation("/s");
    EXPECT_EQ(start + " on \"/f\" and \"/s\"" + end, FileMoveError(from, to, 18).what());
}

TEST(FileErrorsTest, ErrorWithoutACodeEndsBehindItsNames) {
    EXPECT_STREQ("File error \"17FileNotFoundError\" on \"/x\"",
                 FileNotFoundError(MakeFileLocation("/x"), 0).what());
    EXPECT_STREQ("File error \"22EmptyFileLocationError\"", EmptyFileLocationError(0).what());
}

TEST(FileErrorsTest, SecondNameDoesNotNeedAFirst) {
    EXPECT_STREQ("File error \"13FileMoveError\" and \"/s\"",
                 FileMoveError(ConstData(), "/s", 0).what());
}

TEST(FileErrorsTest, EmptyLocationGivesTheEmptyName) {
    EXPECT_STREQ("File error \"12InvalidStats\"", InvalidStats(FileLocation(), 0).what());
}

TEST(FileErrorsTest, NameKeepsItsNulsInTheMessage) {
    FileIOError const error(Bytes("a\0b"), 0);
    EXPECT_EQ(Bytes("File error \"11FileIOError\" on \"a\0b\""), error.MakeErrorMessage());
    EXPECT_STREQ("File error \"11FileIOError\" on \"a", error.what());
}

TEST(FileErrorsTest, NamesAreCopied) {
    std::string name = longName;
    FileIOError const error(name, name, 0);
    name.assign(name.size(), 'x');
    EXPECT_EQ("File error \"11FileIOError\" on \"" + longName + "\" and \"" + longName + '"',
              error.what());
}

TEST(FileErrorsTest, AskedTwiceItSaysTheSame) {
    FileIOError const error(longName, 2);
    std::string const once = error.what();
    EXPECT_EQ(once, error.what());
}

TEST(FileErrorsTest, NegativeCodeIsShownAsUnsigned) {
    EXPECT_EQ(-1, FileIOError(-1).GetCode());
    EXPECT_EQ(std::string("File error \"11FileIOError\": Error: 4294967295: ") + strerror(-1),
              FileIOError(-1).what());
}

TEST(FileErrorsTest, CopyHasTheSameCodeAndNamesAndAMessageOfItsOwn) {
    FileExistsError const original("first", "second", 17);
    char const* const originalMessage = original.what();
    FileExistsError const copy(original);
    EXPECT_EQ(17, copy.GetCode());
    EXPECT_STREQ(originalMessage, copy.what());
    EXPECT_NE(originalMessage, copy.what());
}

TEST(FileErrorsTest, ThrownCopyCarriesNamesAndCodeAndMakesItsOwnMessage) {
    FileMoveError const original("/from", "/to", 18);
    char const* const originalMessage = original.what();
    try {
        throw original;
    } catch (FileMoveError const& caught) {
        EXPECT_EQ(18, caught.GetCode());
        EXPECT_STREQ("File error \"13FileMoveError\" on \"/from\" and \"/to\": "
                     "Error: 18: Invalid cross-device link",
                     caught.what());
        EXPECT_NE(originalMessage, caught.what());
    }
}

// A copy as the base has another type, and says so.
TEST(FileErrorsTest, CopyAsTheBaseNamesTheBase) {
    FileExistsError const original("first", 17);
    EXPECT_STREQ("File error \"15FileExistsError\" on \"first\": Error: 17: File exists",
                 original.what());
    EXPECT_STREQ("File error \"11FileIOError\" on \"first\": Error: 17: File exists",
                 FileIOError(original).what());
}

TEST(FileErrorsTest, AssignmentTakesCodeAndNamesButLeavesTheMadeMessage) {
    FileIOError target(longName, 2);
    std::string const before = target.what();
    char const* const made = target.what();
    target = FileIOError("first", "second", 17);
    EXPECT_EQ(before, made);
    EXPECT_EQ(17, target.GetCode());
    std::string const after = "File error \"11FileIOError\" on \"first\" and \"second\": "
                              "Error: 17: File exists";
    EXPECT_EQ(after, target.MakeErrorMessage());
    EXPECT_EQ(before, made) << "MakeErrorMessage is not to touch what what() keeps";
    EXPECT_EQ(after, target.what());
}

TEST(FileErrorsTest, SelfAssignmentChangesNothing) {
    FileIOError error(longName, "second", 2);
    std::string const before = error.what();
    FileIOError const& same = error;
    error = same;
    EXPECT_EQ(before, error.what());
    EXPECT_EQ(2, error.GetCode());
}

TEST(FileErrorsTest, WithoutMemoryTheBareTypeNameIsTheText) {
    FileNotFoundError const error(ConstData(longName), 2);
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t n) {
        std::string_view const text = error.what();
        EXPECT_TRUE(text == "17FileNotFoundError" || text.starts_with("File error ")) << n;
    });
    EXPECT_GT(failures, 0u);
    FailingAllocation const failing(1);
    EXPECT_STREQ("17FileNotFoundError", error.what());
}

TEST(FileErrorsTest, FailureToConstructPassesThrough) {
    std::size_t thrown = 0;
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t) {
        try {
            FileIOError const error(longName, longName, 2);
            FileIOError const copy(error);
        } catch (std::bad_alloc const&) {
            ++thrown;
        }
    });
    // A record and two names, for the error and for its copy.
    EXPECT_EQ(6u, failures);
    EXPECT_EQ(failures, thrown);
}

TEST(FileErrorsTest, ErrorStringHasTheNumberAndTheSystemsWords) {
    EXPECT_EQ("Error: 2: No such file or directory", MakeErrorString(2));
    EXPECT_EQ("Error: 0: Success", MakeErrorString(0));
    for (unsigned int number = 0; number <= 200; ++number) {
        EXPECT_EQ("Error: " + std::to_string(number) + ": " + strerror(static_cast<int>(number)),
                  MakeErrorString(number));
    }
    EXPECT_EQ(std::string("Error: 4294967295: ") + strerror(-1), MakeErrorString(4'294'967'295u));
}

TEST(FileErrorsTest, NumberForWhichTheSystemHasNoWordsIsUnknown) {
    systemHasWords = false;
    std::string const text = MakeErrorString(2);
    std::string const message = FileIOError("/x", 12345).what();
    systemHasWords = true;
    EXPECT_EQ("Unknown error: 2", text);
    EXPECT_EQ("File error \"11FileIOError\" on \"/x\": Unknown error: 12345", message);
}

} // namespace
