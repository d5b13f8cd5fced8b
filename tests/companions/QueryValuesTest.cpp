#include "companions/QueryValues.h"

#include "tests/companions/CompanionTest.h"

namespace {

TEST(QueryValuesTest, ParsesFlagsByNameAndNumber) {
    for (auto const& [list, flags] : {std::pair{"gather", 1u},
                                      {"all", 2u},
                                      {"idle", 4u},
                                      {"hint", 8u},
                                      {" gather ,\tall", 3u},
                                      {"hint,idle,all,gather", 15u},
                                      {"0", 0u},
                                      {"15", 15u},
                                      {"2,idle", 6u}})
        EXPECT_EQ(flags, ParseFlags(list)) << list;
    for (std::string const name : {"Gather", "16", "-1", "1 2", "0x1", "+1", "gatherall"})
        EXPECT_EQ("'" + name + "' is not accepted",
                  MessageOf<ValueError>([&] { ParseFlags("all," + name); }));
}

} // namespace
