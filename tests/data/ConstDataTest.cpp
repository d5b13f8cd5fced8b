#include "data/ConstData.h"
#include "data/BufferWithCapacity.h"
#include "data/ConstDataRopeReference.h"
#include "data/ConstDataWithCapacity.h"
#include "data/DataOverflow.h"
#include "data/ExceptionPL.h"
#include "data/Range.h"

#include <gtest/gtest.h>

namespace {
constexpr ConstData crlf = "\r\n"_bytes;
static_assert(crlf.Length() == 2);
constinit ConstData const lf = "\n"_bytes;

TEST(ConstDataTest, LiteralKeepsItsInnerNuls) {
    EXPECT_EQ(3u, "a\0b"_bytes.Length());
    EXPECT_EQ(0, "a\0b"_bytes[1]);
    std::string s = "xy";
    EXPECT_EQ("axyb", MakeString(ConstDataRope{"a", s, std::string_view("b")}));
    EXPECT_EQ(0u, ConstData(s.data(), 0).Length());
    BufferWithCapacity<3> b;
    b << ConstDataRope{"a", s, crlf, lf};
    EXPECT_EQ("axy", MakeString(b.Written()));
    ConstDataWithCapacity<4> c(s);
    EXPECT_STREQ("xy", c.Text());
    EXPECT_TRUE(c == s);
    EXPECT_TRUE(ConstData("xy") == s);
    unsigned char u[3] = {1, 2, 3};
    ConstData v(u);
    Data d(u);
    EXPECT_EQ(3u, v.Length());
    EXPECT_EQ(3u, ConstData(d).Length());
    ExceptionPL e("abc");
    EXPECT_STREQ("abc", e.what());
}
} // namespace
