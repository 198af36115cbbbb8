#include "cli/prompt.h"
#include "sim/simulator.h"
#include "tests/cli/tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using tool::Terminal;
using tool::Tool;

constexpr char PROMPT[] = "pinpad> ";

class Prompt : public testing::Test {
protected:
    Prompt() { m_tool.waitForOutput(PROMPT); }

    sim::Simulator m_device{"capture keys 47 enter\ncapture 2 live"};
    Tool m_tool{{"--port", m_device.port(), "session"}, Terminal::All};
};

TEST_F(Prompt, RunsCommandsUntilTold) {
    m_tool.type("display ol\xC3\xA1\r");
    m_tool.waitForOutput("The text is on the display.");
    m_tool.type("capture\r");
    m_tool.waitForOutput("Typed: 47");
    m_tool.type("exit\r");
    EXPECT_EQ(m_tool.finish().exit, 0);
    EXPECT_FALSE(m_device.snapshot().open);
}

TEST_F(Prompt, GoesOnAfterAProblem) {
    m_tool.type("image LOGO\r");
    m_tool.waitForOutput("ABECS_RSP_STAT_ST_MFNFOUND");
    m_tool.type("dance\r");
    m_tool.waitForOutput("There is no command 'dance'.");
    m_tool.type("display A\r");
    m_tool.waitForOutput("The text is on the display.");
    m_tool.type("\x04");
    EXPECT_EQ(m_tool.finish().exit, 0);
    EXPECT_FALSE(m_device.snapshot().open);
}

TEST_F(Prompt, CompletesCommandWords) {
    m_tool.type("disp\t--cl");
    m_tool.waitForOutput("lay --cl");
    m_tool.type("ear\r");
    m_tool.waitForOutput("The display is clear.");
}

TEST_F(Prompt, RemembersLines) {
    m_tool.type("display A\r");
    m_tool.waitForOutput("The text is on the display.");
    m_tool.type("\x1b[A\r");
    ASSERT_TRUE(m_device.wait_commands(3));
}

TEST_F(Prompt, CtrlCDropsTheLine) {
    m_tool.type("image LO");
    m_tool.waitForOutput("image LO");
    m_tool.type("\x03");
    m_tool.waitForOutput("^C");
    m_tool.type("display A\r");
    m_tool.waitForOutput("The text is on the display.");
    m_tool.type("exit\r");
    EXPECT_EQ(m_tool.finish().exit, 0);
}

TEST_F(Prompt, CtrlCAbortsACommandAndComesBack) {
    m_tool.type("capture\r");
    m_tool.waitForOutput("Typed: 47");
    m_tool.type("capture\r");
    ASSERT_TRUE(m_device.wait_pending("GCD"));
    m_tool.type("\x03");
    m_tool.waitForOutput("Interrupted.");
    EXPECT_FALSE(m_device.snapshot().waiting);
    m_tool.type("display A\r");
    m_tool.waitForOutput("The text is on the display.");
    m_tool.type("exit\r");
    EXPECT_EQ(m_tool.finish().exit, 0);
}

TEST(Completion, OffersWhatBeginsAlike) {
    const std::vector<std::string> words = {"capture", "close", "display"};
    EXPECT_THAT(cli::completionsOf("c", words), testing::ElementsAre("capture", "close"));
    EXPECT_THAT(cli::completionsOf("d", words), testing::ElementsAre("display"));
    EXPECT_THAT(cli::completionsOf("x", words), testing::IsEmpty());
}

} // namespace
