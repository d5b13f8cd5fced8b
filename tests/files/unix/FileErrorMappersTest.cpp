#include "files/unix/FileErrorMappers.h"

#include <map>

#include "files/unix/FileReader.h"
#include "files/unix/FileReadingPath.h"
#include "files/unix/FileWriter.h"
#include "files/unix/FileWritingPath.h"
#include "tests/files/FileTest.h"

namespace {

struct MapperCase {
    char const* name;
    void (*throwError)(FileLocation const&, int);
    // The error numbers whose class is not FileIOError. The table has the numbers of Linux instead
    // of their names, to be independent of the code under test.
    std::map<int, std::string> classes;
};

template <class Thrower>
void ThrowBy(FileLocation const& where, int number) {
    Thrower().ThrowError(where, number);
}

std::vector<MapperCase> Mappers() {
    std::map<int, std::string> const common = {
        {1, "FilePermissionError"}, {13, "FilePermissionError"},    {2, "FileNotFoundError"},
        {11, "FileLockError"},      {12, "FileResourceError"},      {23, "FileResourceError"},
        {24, "FileResourceError"},  {20, "DirectoryNotFoundError"}, {36, "DirectoryNotFoundError"}};
    std::map<int, std::string> writing = common;
    writing.insert({{17, "FileExistsError"}, {28, "FileDiskFullError"}});
    std::map<int, std::string> writer = writing;
    writer[22] = "FileSeekError";
    return {
        {"operations", [](FileLocation const& where, int number) { ThrowFileError(where, number); },
         common},
        {"reading path", ThrowBy<UnixPlatform::FileReadingPath>, common},
        {"writing path", ThrowBy<UnixPlatform::FileWritingPath>, writing},
        {"reader",
         ThrowBy<UnixPlatform::FileReader>,
         {{1, "FilePermissionError"},
          {13, "FilePermissionError"},
          {22, "FileSeekError"},
          {90, "EndOfFileError"}}},
        {"writer", ThrowBy<UnixPlatform::FileWriter>, writer},
    };
}

TEST(FileErrorMappersTest, EveryErrorNumberMapsToTheClassOfTheTable) {
    FileLocation const where = At("/some/where");
    for (MapperCase const& mapper : Mappers()) {
        SCOPED_TRACE(mapper.name);
        EXPECT_NO_THROW(mapper.throwError(where, 0));
        for (int number = 1; number <= EHWPOISON; ++number) {
            auto const found = mapper.classes.find(number);
            std::string const expected =
                found == mapper.classes.end() ? "FileIOError" : found->second;
            char const* const name = strerrorname_np(number);
            std::string const code = ' ' + (name ? std::string(name) : std::to_string(number));
            EXPECT_EQ(expected + code + On("/some/where"),
                      Thrown([&] { mapper.throwError(where, number); }));
        }
        EXPECT_EQ("FileIOError 100000" + On("/some/where"),
                  Thrown([&] { mapper.throwError(where, 100'000); }));
        EXPECT_THROW(mapper.throwError(where, -1), FileIOError);
    }
}

// Deliberate: 90 is the number of EMSGSIZE, and the message contains the text for it.
TEST(FileErrorMappersTest, EndOfFileErrorHasTheSystemMessageOfItsCode) {
    EXPECT_EQ(90, EndOfFileCode);
    try {
        UnixPlatform::FileReader().ThrowError(At("/x"), EndOfFileCode);
        ADD_FAILURE() << "no exception";
    } catch (EndOfFileError const& error) {
        EXPECT_STREQ("File error \"14EndOfFileError\" on \"/x\": Error: 90: Message too long",
                     error.what());
    }
}

} // namespace
