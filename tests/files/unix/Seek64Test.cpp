#include "files/unix/Seek64.h"

#include "tests/files/FileTest.h"

namespace {

class Seek64Test : public OpenFileTest {
protected:
    ~Seek64Test() override { close(descriptor); }

    void ExpectFailure(int error, unsigned int where, unsigned long long offset,
                       unsigned int whence) {
        EXPECT_EQ(Seek64(where, offset, whence), -1);
        EXPECT_EQ(errno, error);
    }

    int const descriptor = open(name.c_str(), O_RDONLY);
};

TEST_F(Seek64Test, ReturnsTheNewOffset) {
    EXPECT_EQ(Seek64(descriptor, 4, SEEK_SET), 4);
    EXPECT_EQ(Seek64(descriptor, 3, SEEK_CUR), 7);
    EXPECT_EQ(Seek64(descriptor, ~0ULL, SEEK_CUR), 6) << "the offset is signed";
    EXPECT_EQ(Seek64(descriptor, 2, SEEK_END), 12);
    EXPECT_EQ(lseek(descriptor, 0, SEEK_CUR), 12);
    unsigned long long const beyond32Bits = (1ULL << 40) + 5;
    EXPECT_EQ(Seek64(descriptor, beyond32Bits, SEEK_SET), static_cast<long long>(beyond32Bits));
}

TEST_F(Seek64Test, ReturnsMinusOneAndSetsErrno) {
    ExpectFailure(EINVAL, descriptor, ~0ULL, SEEK_SET);
    ExpectFailure(EINVAL, descriptor, 0, 99);
    ExpectFailure(EBADF, ~0u, 0, SEEK_SET);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ExpectFailure(ESPIPE, ends[0], 0, SEEK_CUR);
    close(ends[0]);
    close(ends[1]);
}

} // namespace
