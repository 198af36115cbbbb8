#include "sim/simulator.h"
#include "tests/cli/commands_of.h"
#include "tests/cli/tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using testing::HasSubstr;
using tool::Outcome;
using tool::run;
using tool::TemporaryFile;

constexpr char SCRIPT[] = "# A morning at the till.\n"
                          "\n"
                          "display 'BOM DIA'   # shown first\n"
                          "capture --max 4\n"
                          "event --options \"100099\"\n"
                          "display --clear";

TEST(Script, RunsInOneSession) {
    sim::Simulator device("capture keys 47 enter\nevent key f1");
    const TemporaryFile script(SCRIPT);
    const Outcome outcome = run({"--port", device.port(), "session", script.path()});
    EXPECT_EQ(outcome.exit, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "The text is on the display.\nTyped: 47\nEvent 4: F1 pressed.\n"
                           "The display is clear.\n");
    EXPECT_THAT(commandsOf(device), testing::ElementsAre("OPN", "DEX", "GCD", "CEX", "DEX", "CLO"));
}

TEST(Script, ComesFromStandardInputToo) {
    for (const tool::Arguments &arguments : {tool::Arguments{"--simulate", "session", "-"},
                                             tool::Arguments{"session", "--simulate"}}) {
        const Outcome outcome = run(arguments, "capture\nopen\nexit\nnever reached\n");
        EXPECT_EQ(outcome.exit, 0) << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr("Typed: 12345\nThe PIN pad answered"));
    }
}

TEST(Script, OfNothingOpensAndCloses) {
    sim::Simulator device;
    EXPECT_EQ(run({"--port", device.port(), "session"}).exit, 0);
    EXPECT_THAT(commandsOf(device), testing::ElementsAre("OPN", "CLO"));
}

TEST(Script, StopsAtTheFirstProblemAndNamesItsPlace) {
    sim::Simulator device;
    const TemporaryFile script("display A\nimage LOGO\ndisplay B\n");
    const Outcome outcome = run({"--port", device.port(), "session", script.path()});
    EXPECT_EQ(outcome.exit, 1);
    EXPECT_THAT(outcome.err, testing::StartsWith(script.path() + ":2: The PIN pad answered "
                                                                 "ABECS_RSP_STAT_ST_MFNFOUND"));
    EXPECT_THAT(commandsOf(device), testing::ElementsAre("OPN", "DEX", "DSI", "CLO"));
}

TEST(Script, KeepsGoingWhenTold) {
    sim::Simulator device("capture timeout");
    const TemporaryFile script("image LOGO\ncapture\ndance\ndisplay 'A\ndisplay B\n");
    const Outcome outcome =
        run({"--port", device.port(), "session", script.path(), "--keep-going", "--json"});
    EXPECT_EQ(outcome.exit, 1);
    const std::vector<std::string> lines = tool::linesOf(outcome.out);
    ASSERT_EQ(lines.size(), 5U) << outcome.out;
    const int exits[] = {1, 5, 2, 2, 0};
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(json::parse(lines[i])["exit"], exits[i]) << lines[i];
        EXPECT_EQ(json::parse(lines[i])["line"], i + 1) << lines[i];
    }
    EXPECT_EQ(json::parse(lines[0])["command"], "image");
    EXPECT_THAT(commandsOf(device), testing::ElementsAre("OPN", "DSI", "GCD", "DEX", "CLO"));
}

TEST(Script, KeepsItsSessionWhenTheCustomerIsTooSlow) {
    sim::Simulator device("capture live");
    const Outcome outcome =
        run({"--port", device.port(), "session", "--keep-going", "--timeout", "0.2"},
            "capture\ndisplay B\n");
    EXPECT_EQ(outcome.exit, 5);
    EXPECT_THAT(commandsOf(device), testing::ElementsAre("OPN", "GCD", "DEX", "CLO"));
}

TEST(Script, OpensAgainAfterAFailure) {
    sim::Simulator device("reply DEX id XYZ nth 1");
    const Outcome outcome =
        run({"--port", device.port(), "session", "--keep-going"}, "display A\ndisplay B\n");
    EXPECT_EQ(outcome.exit, 3);
    EXPECT_THAT(outcome.err, testing::StartsWith("-:1: "));
    EXPECT_THAT(commandsOf(device), testing::ElementsAre("OPN", "DEX", "CLO", "OPN", "DEX", "CLO"));
}

TEST(Script, OpensAgainAfterAClose) {
    sim::Simulator device;
    const Outcome outcome =
        run({"--port", device.port(), "session"}, "close TCHAU\ndisplay A\nclose OI\n");
    EXPECT_EQ(outcome.exit, 0) << outcome.err;
    EXPECT_THAT(commandsOf(device), testing::ElementsAre("OPN", "CLO", "OPN", "DEX", "CLO"));
    EXPECT_EQ(device.snapshot().idle_message, "OI");
}

TEST(Script, HelpGoesOn) {
    const Outcome outcome = run({"--simulate", "session"}, "help\ncapture --help\ndisplay A\n");
    EXPECT_EQ(outcome.exit, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("Let the customer type a number"));
    EXPECT_THAT(outcome.out, HasSubstr("--prompt"));
    EXPECT_THAT(outcome.out, HasSubstr("The text is on the display."));
}

TEST(Script, DoesNotNestSessions) {
    const Outcome outcome = run({"--simulate", "session"}, "session x\n");
    EXPECT_EQ(outcome.exit, 2);
    EXPECT_THAT(outcome.err, HasSubstr("There is no command 'session'."));
}

} // namespace
