#include "files/AdviceFileTypes.h"

#include "files/FileName.h"
#include "tests/files/FileTest.h"
#include <climits>

namespace {

namespace Types = AdviceFileTypes;

struct TypeRow {
    TarvikFileType type;
    int number;
    std::string extension;
};

std::vector<TypeRow> Rows() {
    return {{Types::Masthead(), 1, ".qvm"}, {Types::Pool(), 2, ".qvg"},
            {Types::Advice(), 3, ".qvf"},   {Types::HTML(), 4, ".htm"},
            {Types::Text(), 5, ".txt"},     {Types::Log(), 6, ".log"},
            {Types::BackLog(), 7, ".bkg"},  {Types::Inspector(), 8, ".so"},
            {Types::Notation(), 9, ".dat"}, {Types::Site(), 10, ""},
            {Types::Profile(), 11, ""},     {Types::Preferences(), 12, ""}};
}

// Evaluated during static initialization, after the initialization of the table.
TarvikFileType const typeAtStartup = Types::TypeOfExtension(".html");

// Deliberate: three types have the empty extension, and a search for it finds the first one.
TEST(AdviceFileTypesTest, EachTypeHasItsNumberAndExtension) {
    for (TypeRow const& row : Rows()) {
        EXPECT_EQ(row.number, row.type);
        EXPECT_EQ(row.extension, Types::ExtensionOfType(row.type));
        EXPECT_EQ(row.extension.empty() ? Types::Site() : row.type,
                  Types::TypeOfExtension(row.extension.c_str()));
    }
    EXPECT_EQ(13, Types::Miscellany());
    EXPECT_EQ(4u, sizeof(TarvikFileType));
    EXPECT_EQ(Types::HTML(), typeAtStartup);
}

// Deliberate: the name that follows the table is not an extension.
TEST(AdviceFileTypesTest, LookupIsCaseInsensitiveAndComparesTheWholeText) {
    EXPECT_EQ(Types::HTML(), Types::TypeOfExtension(".HTML"));
    EXPECT_EQ(Types::Advice(), Types::TypeOfExtension(".Qvf"));
    for (char const* extension :
         {".qna", "htm", ".", ".ht", ".htmlx", "html", " .htm", ".t\xD4t", "XVeskaClientUI"})
        EXPECT_EQ(Types::Miscellany(), Types::TypeOfExtension(extension)) << extension;
}

// Deliberate: the search ends after the table, at another text.
TEST(AdviceFileTypesTest, TypeWithoutARowHasTheTextThatFollowsTheTable) {
    for (int type : {13, 0, 14, -1, INT_MAX, INT_MIN})
        EXPECT_STREQ("XVeskaClientUI", Types::ExtensionOfType(TarvikFileType(type))) << type;
}

TEST(AdviceFileTypesTest, TypeOfANameIsFoundByItsExtensionOrTheWholeName) {
    for (auto const& [name, type] :
         std::vector<std::pair<char const*, TarvikFileType>>{{"a.htm", Types::HTML()},
                                                             {"A.B.TXT", Types::Text()},
                                                             {"a.txt.qna", Types::Miscellany()},
                                                             {"a.", Types::Miscellany()},
                                                             {".txt", Types::Text()},
                                                             {"txt", Types::Miscellany()},
                                                             {"a", Types::Miscellany()}})
        EXPECT_EQ(type, FileName(name).ExtensionType()) << name;
    EXPECT_EQ(Types::Site(), FileName().ExtensionType()) << "the empty extension";
}

} // namespace
