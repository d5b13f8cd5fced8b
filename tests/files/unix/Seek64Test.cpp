#include "files/unix/Seek64.h"

#include <cerrno>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include "tests/files/Files.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

class Seek64Test : public testing::Test {
protected:
    ~Seek64Test() override { close(descriptor); }

    TemporaryDirectory directory;
    std::string const path = directory / "file";
    int const descriptor = (WriteWholeFile(path, "0123456789"), open(path.c_str(), O_RDONLY));
};

TEST_F(Seek64Test, YieldsTheNewOffset) {
    EXPECT_EQ(Seek64(descriptor, 4, SEEK_SET), 4);
    EXPECT_EQ(Seek64(descriptor, 3, SEEK_CUR), 7);
    EXPECT_EQ(Seek64(descriptor, 2, SEEK_END), 12);
    EXPECT_EQ(lseek(descriptor, 0, SEEK_CUR), 12);
}

TEST_F(Seek64Test, TakesOffsetsBeyond32Bits) {
    unsigned long long const far = (1ULL << 40) + 5;
    EXPECT_EQ(Seek64(descriptor, far, SEEK_SET), static_cast<long long>(far));
}

TEST_F(Seek64Test, TheOffsetIsSigned) {
    Seek64(descriptor, 4, SEEK_SET);
    EXPECT_EQ(Seek64(descriptor, ~0ULL, SEEK_CUR), 3);
}

TEST_F(Seek64Test, FailsWithMinusOneAndTheSystemsError) {
    EXPECT_EQ(Seek64(descriptor, ~0ULL, SEEK_SET), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(Seek64(descriptor, 0, 99), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(Seek64(~0u, 0, SEEK_SET), -1);
    EXPECT_EQ(errno, EBADF);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    EXPECT_EQ(Seek64(ends[0], 0, SEEK_CUR), -1);
    EXPECT_EQ(errno, ESPIPE);
    close(ends[0]);
    close(ends[1]);
}

} // namespace
