#include "files/unix/FileErrorMappers.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <map>
#include <string>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/unix/FileReader.h"
#include "files/unix/FileReadingPath.h"
#include "files/unix/FileWriter.h"
#include "files/unix/FileWritingPath.h"

namespace {

// In the order of the columns below.
using Mapper = void (*)(FileLocation const&, int);

std::array<Mapper, 5> const mappers = {
    [](FileLocation const& where, int number) { ThrowFileError(where, number); },
    [](FileLocation const& where, int number) {
        UnixPlatform::FileReadingPath().ThrowError(where, number);
    },
    [](FileLocation const& where, int number) {
        UnixPlatform::FileWritingPath().ThrowError(where, number);
    },
    [](FileLocation const& where, int number) {
        UnixPlatform::FileReader().ThrowError(where, number);
    },
    [](FileLocation const& where, int number) {
        UnixPlatform::FileWriter().ThrowError(where, number);
    },
};

using Row = std::array<std::string, 5>;

std::string const plain = "FileIOError";

// Written with Linux's numbers, so that it shares nothing with the switches that it judges.
std::map<int, Row> Table() {
    Row const permission = {"FilePermissionError", "FilePermissionError", "FilePermissionError",
                            "FilePermissionError", "FilePermissionError"};
    Row const notFound = {"FileNotFoundError", "FileNotFoundError", "FileNotFoundError", plain,
                          "FileNotFoundError"};
    Row const lock = {"FileLockError", "FileLockError", "FileLockError", plain, "FileLockError"};
    Row const resource = {"FileResourceError", "FileResourceError", "FileResourceError", plain,
                          "FileResourceError"};
    Row const exists = {plain, plain, "FileExistsError", plain, "FileExistsError"};
    Row const directory = {"DirectoryNotFoundError", "DirectoryNotFoundError",
                           "DirectoryNotFoundError", plain, "DirectoryNotFoundError"};
    Row const seek = {plain, plain, plain, "FileSeekError", "FileSeekError"};
    Row const diskFull = {plain, plain, "FileDiskFullError", plain, "FileDiskFullError"};
    Row const endOfFile = {plain, plain, plain, "EndOfFileError", plain};
    return {{1, permission}, {13, permission}, {2, notFound},  {11, lock},      {12, resource},
            {23, resource},  {24, resource},   {17, exists},   {20, directory}, {36, directory},
            {22, seek},      {28, diskFull},   {90, endOfFile}};
}

std::string ExpectedMessage(std::string const& className, int number) {
    return "File error \"" + std::to_string(className.size()) + className +
           "\" on \"/some/where\": Error: " + std::to_string(static_cast<unsigned int>(number)) +
           ": " + strerror(number);
}

void ExpectThrown(Mapper mapper, int number, std::string const& className) {
    FileLocation const where = MakeFileLocation("/some/where");
    try {
        mapper(where, number);
        ADD_FAILURE() << "nothing thrown for " << number;
    } catch (FileIOError const& error) {
        EXPECT_EQ(number, error.GetCode());
        EXPECT_EQ(ExpectedMessage(className, number), error.what());
    }
}

TEST(FileErrorMappersTest, EveryErrorNumberGivesTheClassOfTheTable) {
    std::map<int, Row> const table = Table();
    for (std::size_t column = 0; column < mappers.size(); ++column) {
        SCOPED_TRACE(column);
        for (int number = 1; number <= 133; ++number) {
            auto const row = table.find(number);
            ExpectThrown(mappers[column], number, row == table.end() ? plain : row->second[column]);
        }
    }
}

TEST(FileErrorMappersTest, ZeroIsNoError) {
    for (Mapper mapper : mappers)
        EXPECT_NO_THROW(mapper(MakeFileLocation("/some/where"), 0));
}

TEST(FileErrorMappersTest, NumbersThatNoSystemHasGiveThePlainClass) {
    for (Mapper mapper : mappers) {
        ExpectThrown(mapper, -1, plain);
        ExpectThrown(mapper, 100'000, plain);
    }
}

// A failure behind an open has no name to tell.
TEST(FileErrorMappersTest, EmptyLocationGivesNoName) {
    for (Mapper mapper : mappers) {
        try {
            mapper(FileLocation(), 13);
            ADD_FAILURE() << "nothing thrown";
        } catch (FilePermissionError const& error) {
            EXPECT_STREQ("File error \"19FilePermissionError\": Error: 13: Permission denied",
                         error.what());
        }
    }
}

TEST(FileErrorMappersTest, ExistingFileIsKnownToTheTwoThatWriteOnly) {
    FileLocation const where = MakeFileLocation("/x");
    EXPECT_THROW(UnixPlatform::FileWritingPath().ThrowError(where, 17), FileExistsError);
    try {
        ThrowFileError(where, 17);
        ADD_FAILURE() << "nothing thrown";
    } catch (FileExistsError const&) {
        ADD_FAILURE() << "an operation has no such class";
    } catch (FileIOError const& error) {
        EXPECT_EQ(17, error.GetCode());
    }
}

TEST(FileErrorMappersTest, MissingFileHasItsClassForAWriterButNotForAReader) {
    ExpectThrown(mappers[3], 2, plain);
    ExpectThrown(mappers[4], 2, "FileNotFoundError");
}

TEST(FileErrorMappersTest, NumbersAbove36GiveThePlainClassButForTheReadersEndOfFile) {
    for (int number = 37; number <= 133; ++number) {
        for (std::size_t column = 0; column < mappers.size(); ++column) {
            if (column != 3 || number != 90)
                ExpectThrown(mappers[column], number, plain);
        }
    }
    ExpectThrown(mappers[3], 90, "EndOfFileError");
}

// Deliberate: 90 is the system's number for a message that is too long.
TEST(FileErrorMappersTest, EndOfFileSpeaksTheSystemsWordsForItsCode) {
    EXPECT_EQ(90, EndOfFileCode);
    try {
        UnixPlatform::FileReader().ThrowError(MakeFileLocation("/x"), EndOfFileCode);
        ADD_FAILURE() << "nothing thrown";
    } catch (EndOfFileError const& error) {
        EXPECT_STREQ("File error \"14EndOfFileError\" on \"/x\": Error: 90: Message too long",
                     error.what());
    }
}

} // namespace
