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
    // Types once the prompt is shown; before that the terminal is not in its mode yet.
    void type(const std::string &text) {
        m_tool.waitForOutput(PROMPT);
        m_tool.type(text);
    }

    sim::Simulator m_device{"capture keys 47 enter\ncapture 2 live"};
    Tool m_tool{{"--port", m_device.port(), "session"}, Terminal::All};
};

TEST_F(Prompt, RunsCommandsUntilTold) {
    type("display ol\xC3\xA1\r");
    m_tool.waitForOutput("The text is on the display.");
    type("capture\r");
    m_tool.waitForOutput("Typed: 47");
    type("exit\r");
    EXPECT_EQ(m_tool.finish().exit, 0);
    EXPECT_FALSE(m_device.snapshot().open);
    const sim::Bytes body = m_device.commands().at(1);
    EXPECT_EQ(std::string(body.begin(), body.end()), "DEX006003ol\xE1");
}

TEST_F(Prompt, GoesOnAfterAProblem) {
    type("image LOGO\r");
    m_tool.waitForOutput("ABECS_RSP_STAT_ST_MFNFOUND");
    type("dance\r");
    m_tool.waitForOutput("There is no command 'dance'.");
    type("display A\r");
    m_tool.waitForOutput("The text is on the display.");
    type("\x04");
    EXPECT_EQ(m_tool.finish().exit, 0);
    EXPECT_FALSE(m_device.snapshot().open);
}

TEST_F(Prompt, CompletesCommandWords) {
    type("disp\t--cl");
    m_tool.waitForOutput("lay --cl");
    m_tool.type("ear\r");
    m_tool.waitForOutput("The display is clear.");
}

TEST_F(Prompt, OffersWhatCouldFollow) {
    type("c\t");
    m_tool.waitForOutput("capture  close");
    m_tool.type("lose TCHAU\r");
    m_tool.waitForOutput("The session is closed.");
}

TEST_F(Prompt, RemembersLines) {
    type("display A\r");
    m_tool.waitForOutput("The text is on the display.");
    type("\x1b[A\r");
    m_tool.waitForOutput("The text is on the display.");
    EXPECT_EQ(m_device.commands().at(1), m_device.commands().at(2));
}

TEST_F(Prompt, CtrlCDropsTheLine) {
    type("image LO");
    m_tool.waitForOutput("image LO");
    m_tool.type("\x03");
    m_tool.waitForOutput("^C");
    type("display A\r");
    m_tool.waitForOutput("The text is on the display.");
    type("exit\r");
    EXPECT_EQ(m_tool.finish().exit, 0);
}

TEST_F(Prompt, CtrlCAbortsACommandAndComesBack) {
    type("capture\r");
    m_tool.waitForOutput("Typed: 47");
    type("capture\r");
    ASSERT_TRUE(m_device.wait_pending("GCD"));
    m_tool.type("\x03");
    m_tool.waitForOutput("Interrupted.");
    EXPECT_FALSE(m_device.snapshot().waiting);
    type("display A\r");
    m_tool.waitForOutput("The text is on the display.");
    type("exit\r");
    EXPECT_EQ(m_tool.finish().exit, 0);
}

TEST(Completion, OffersWhatBeginsAlike) {
    const std::vector<std::string> words = {"capture", "close", "display"};
    EXPECT_THAT(cli::completionsOf("c", words), testing::ElementsAre("capture", "close"));
    EXPECT_THAT(cli::completionsOf("d", words), testing::ElementsAre("display"));
    EXPECT_THAT(cli::completionsOf("x", words), testing::IsEmpty());
}

} // namespace
