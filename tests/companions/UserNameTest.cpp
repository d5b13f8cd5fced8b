#include "companions/UserName.h"

#include "tests/companions/CompanionTest.h"

namespace {

TEST(UserNameTest, ReturnsFirstMatchingNameOrTheNumber) {
    TemporaryDirectory const directory;
    std::string const file = directory.path() + "/passwd";
    std::ofstream(file) << "root:x:0:0::/root:/bin/sh\n"
                           "no entry\n"
                           "\n"
                           "anna:x:1000:100:Anna:/home/anna:/bin/sh\n"
                           "toor:x:0:0::/root:/bin/sh\n";
    EXPECT_EQ("root", UserName(0, file.c_str()));
    EXPECT_EQ("anna", UserName(1000, file.c_str()));
    EXPECT_EQ("100", UserName(100, file.c_str()));
    EXPECT_EQ("4294967294", UserName(4294967294U, file.c_str()));
}

TEST(UserNameTest, ReturnsNumberWithoutFile) {
    EXPECT_EQ("0", UserName(0, "/nowhere/passwd"));
    EXPECT_EQ("0", UserName(0, "/dev/null"));
}

} // namespace
