#include "companions/Color.h"

#include "companions/Output.h"
#include "tests/companions/Terminal.h"

namespace {

bool ColorsTerminal(ColorMode mode) {
    Terminal const screen;
    return UsesColor(mode, Output(screen.otherEnd()));
}

TEST(ColorTest, AutomaticModeColorsTerminalsUnlessNoColorIsSet) {
    EnvironmentVariable const terminal("TERM", "xterm");
    EXPECT_TRUE(ColorsTerminal(ColorMode::automatic));
    EnvironmentVariable const emptyOne("NO_COLOR", "");
    EXPECT_TRUE(ColorsTerminal(ColorMode::automatic));
    EnvironmentVariable const noColor("NO_COLOR", "1");
    EXPECT_FALSE(ColorsTerminal(ColorMode::automatic));
    EXPECT_TRUE(ColorsTerminal(ColorMode::always));
}

TEST(ColorTest, AutomaticModeDoesNotColorDumbTerminals) {
    for (char const* const type : {"dumb", ""}) {
        EnvironmentVariable const dumb("TERM", type);
        EXPECT_FALSE(ColorsTerminal(ColorMode::automatic)) << type;
        EXPECT_TRUE(ColorsTerminal(ColorMode::always)) << type;
        EXPECT_FALSE(ColorsTerminal(ColorMode::never)) << type;
    }
}

} // namespace
