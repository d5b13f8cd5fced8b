#include "simd/Crc32.h"

#include "fuzz/ChecksumProperties.h"
#include "fuzz/RandomInputs.h"

namespace {

TEST(Crc32Test, TableHasTheRemainderOfEachByte) {
    for (unsigned i = 0; i < 256; ++i)
        EXPECT_EQ(ChecksumProperties::AdvanceByBits(0, std::string(1, static_cast<char>(i))),
                  Simd::crc32Table[i])
            << i;
}

TEST(Crc32Test, EveryFunctionAgreesWithReference) {
    ForRandomInputs(70, 400, 900, EveryByte(), ChecksumProperties::Check);
}

TEST(Crc32Test, AcceptsNullPointerWithNoBytes) {
    EXPECT_EQ(5u, Simd::Crc32(5, nullptr, 0));
    EXPECT_EQ(5u, Simd::Crc32Scalar(5, nullptr, 0));
}

} // namespace
