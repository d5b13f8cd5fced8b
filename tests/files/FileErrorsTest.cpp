#include "files/FileErrors.h"

#include <cstring>

#include <dlfcn.h>

#include "tests/files/FileTest.h"

namespace {

bool systemHasMessages = true;

} // namespace

// Replaces the function of the C library, which has a message for every number.
extern "C" char* strerror_r(int number, char* buffer, std::size_t size) noexcept {
    static auto const next =
        reinterpret_cast<char* (*)(int, char*, std::size_t)>(dlsym(RTLD_NEXT, "strerror_r"));
    return systemHasMessages ? next(number, buffer, size) : nullptr;
}

namespace {

std::string const longName(300, 'n');

// Constructs the class with each constructor, and compares the messages.
template <class Error>
void ExpectNamedAs(std::string const& encodedName) {
    static_assert(std::is_base_of_v<FileIOError, Error>);
    static_assert(std::is_base_of_v<DebuggableException, Error>);
    std::string const start = "File error \"" + encodedName + '"';
    FileLocation const where = At("/a");
    EXPECT_EQ(start, Error(0).what());
    EXPECT_EQ(start + " on \"/a\"", Error(where, 0).what());
    EXPECT_EQ(start + " on \"b\"", Error(ConstData("b"), 0).what());
    EXPECT_EQ(start, Error(FileLocation(), 0).what()) << "an empty location has no name";
    try {
        throw Error(where, 5);
    } catch (FileIOError const& caught) {
        EXPECT_EQ(start + " on \"/a\": Error: 5: Input/output error", caught.what());
        EXPECT_EQ(5, caught.GetCode());
    }
}

TEST(FileErrorsTest, MessageContainsTheEncodedClassName) {
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
    static_assert(!std::is_base_of_v<FileNotFoundError, DirectoryNotFoundError>);
    static_assert(!std::is_base_of_v<FileFoundError, FileExistsError>);
    static_assert(sizeof(FileIOError) == 2 * sizeof(void*));
    EXPECT_EQ(0, FileNotFoundError().GetCode());
    EXPECT_STREQ("File error \"17FileNotFoundError\"", FileNotFoundError().what());
}

TEST(FileErrorsTest, EachPartOfTheMessageIsOptional) {
    for (char const* const first : {"", "/f"})
        for (char const* const second : {"", "/s"})
            for (int const code : {0, 18}) {
                std::string expected = "File error \"13FileMoveError\"";
                expected += *first ? " on \"/f\"" : "";
                expected += *second ? " and \"/s\"" : "";
                expected += code != 0 ? ": Error: 18: Invalid cross-device link" : "";
                FileMoveError const error(*first ? ConstData(first) : ConstData(),
                                          *second ? ConstData(second) : ConstData(), code);
                EXPECT_EQ(expected, error.what());
                EXPECT_EQ(expected, error.what()) << "the second call returns the same text";
                EXPECT_EQ(expected, error.MakeErrorMessage());
                EXPECT_EQ(expected, FileMoveError(At(first), At(second), code).what());
            }
}

TEST(FileErrorsTest, NamesAreCopiedWithEmbeddedNuls) {
    FileIOError const withNul(Bytes("a\0b"), 0);
    EXPECT_EQ(Bytes("File error \"11FileIOError\" on \"a\0b\""), withNul.MakeErrorMessage());
    EXPECT_STREQ("File error \"11FileIOError\" on \"a", withNul.what());
    std::string name = longName;
    FileIOError const error(name, name, 0);
    name.assign(name.size(), 'x');
    EXPECT_EQ("File error \"11FileIOError\" on \"" + longName + "\" and \"" + longName + '"',
              error.what());
}

TEST(FileErrorsTest, NegativeCodeIsShownAsUnsigned) {
    EXPECT_EQ(-1, FileIOError(-1).GetCode());
    EXPECT_EQ(std::string("File error \"11FileIOError\": Error: 4294967295: ") + strerror(-1),
              FileIOError(-1).what());
}

TEST(FileErrorsTest, CopyHasItsOwnMessage) {
    FileExistsError const original("first", "second", 17);
    char const* const message = original.what();
    try {
        throw original;
    } catch (FileExistsError const& copy) {
        EXPECT_EQ(17, copy.GetCode());
        EXPECT_STREQ(message, copy.what());
        EXPECT_NE(message, copy.what());
    }
    EXPECT_STREQ("File error \"11FileIOError\" on \"first\" and \"second\": Error: 17: File exists",
                 FileIOError(original).what())
        << "a copy as the base class has the name of the base class";
}

TEST(FileErrorsTest, AssignmentKeepsTheMessageAlreadyReturned) {
    FileIOError target(longName, 2);
    char const* const made = target.what();
    std::string const before = made;
    FileIOError const source("first", "second", 17);
    target = source;
    EXPECT_EQ(17, target.GetCode());
    EXPECT_STREQ(source.what(), target.MakeErrorMessage().c_str());
    EXPECT_EQ(before, made) << "MakeErrorMessage does not change the text of what()";
    FileIOError const& same = target;
    target = same;
    EXPECT_STREQ(source.what(), target.what());
    EXPECT_EQ(17, target.GetCode());
}

TEST(FileErrorsTest, WithoutMemoryWhatReturnsTheTypeName) {
    FileNotFoundError const error(ConstData(longName), 2);
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t n) {
        std::string_view const text = error.what();
        EXPECT_TRUE(text == "17FileNotFoundError" || text.starts_with("File error ")) << n;
    });
    EXPECT_GT(failures, 0u);
    FailingAllocation const failing(1);
    EXPECT_STREQ("17FileNotFoundError", error.what());
}

TEST(FileErrorsTest, FailedAllocationInAConstructorThrows) {
    std::size_t thrown = 0;
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t) {
        thrown += Thrown([] {
                      FileIOError const error(longName, longName, 2);
                      FileIOError const copy(error);
                  }) == "std::bad_alloc";
    });
    EXPECT_EQ(6u, failures) << "a record and two names, for the error and for its copy";
    EXPECT_EQ(failures, thrown);
}

TEST(FileErrorsTest, ErrorStringHasTheNumberAndTheMessageOfTheSystem) {
    EXPECT_EQ("Error: 2: No such file or directory", MakeErrorString(2));
    for (unsigned int number = 0; number <= 200; ++number)
        EXPECT_EQ("Error: " + std::to_string(number) + ": " + strerror(static_cast<int>(number)),
                  MakeErrorString(number));
    systemHasMessages = false;
    std::string const text = MakeErrorString(2);
    systemHasMessages = true;
    EXPECT_EQ("Unknown error: 2", text);
}

} // namespace
