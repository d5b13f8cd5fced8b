#include "files/CreatingInfo.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

TEST(CreatingInfoTest, HasTheLayoutOfOneNumber) {
    static_assert(sizeof(DirectoryCreatingInfo) == 4 && sizeof(FileCreatingInfo) == 4);
    static_assert(std::is_trivially_copyable_v<DirectoryCreatingInfo>);
    static_assert(std::is_trivially_copyable_v<FileCreatingInfo>);
    EXPECT_EQ(0750u, DirectoryCreatingInfo{0750}.permissions);
    EXPECT_EQ(0640u, FileCreatingInfo{0640}.permissions);
    EXPECT_EQ(0777u, DirectoryCreatingInfo().permissions);
    EXPECT_EQ(0666u, FileCreatingInfo().permissions);
    EXPECT_EQ(0666u, FileCreatingInfo::systemDefault);
}

} // namespace
