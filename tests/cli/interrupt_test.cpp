#include "sim/simulator.h"
#include "tests/cli/tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;
using testing::HasSubstr;
using tool::Outcome;
using tool::Tool;

constexpr seconds PATIENCE{20};

milliseconds since(steady_clock::time_point start) {
    return std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
}

TEST(Interrupt, AbortsTheWaitAndClosesTheSession) {
    sim::Simulator device;
    Tool capture({"--port", device.port(), "--idle-message", "LIVRE", "capture"});
    ASSERT_TRUE(device.wait_pending("GCD", PATIENCE));
    const std::size_t abortsBefore = device.snapshot().aborts;
    const auto start = steady_clock::now();
    capture.signal(SIGINT);
    ASSERT_TRUE(device.wait_for(
        [&](const sim::Snapshot &state) { return state.aborts > abortsBefore; }, PATIENCE));
    EXPECT_LT(since(start), milliseconds(1900));
    const Outcome outcome = capture.finish();
    EXPECT_EQ(outcome.exit, 130);
    EXPECT_THAT(outcome.err, HasSubstr("Interrupted."));
    EXPECT_FALSE(device.snapshot().open);
    EXPECT_FALSE(device.snapshot().waiting);
    EXPECT_EQ(device.snapshot().idle_message, "LIVRE");
    EXPECT_EQ(device.snapshot().aborts, abortsBefore + 1);
}

TEST(Interrupt, AnswersOtherRequestsToEndTheSameWay) {
    for (const int signal : {SIGTERM, SIGHUP}) {
        sim::Simulator device;
        Tool event({"--port", device.port(), "event", "--json"});
        ASSERT_TRUE(device.wait_pending("CEX", PATIENCE));
        event.signal(signal);
        const Outcome outcome = event.finish();
        EXPECT_EQ(outcome.exit, 130);
        EXPECT_EQ(nlohmann::json::parse(outcome.out)["problem"], "interrupted");
        EXPECT_FALSE(device.snapshot().open);
    }
}

TEST(Interrupt, OutputThatNobodyReadsIsAFailureAndStillClosesTheSession) {
    sim::Simulator device("capture notify \"A\" wait 100 notify \"B\" keys 1 enter");
    Tool capture({"--port", device.port(), "capture"});
    capture.closeOutput();
    const Outcome outcome = capture.finish();
    EXPECT_EQ(outcome.exit, 3);
    EXPECT_THAT(outcome.err, HasSubstr("Broken pipe"));
    EXPECT_FALSE(device.snapshot().open);
    EXPECT_EQ(device.snapshot().last_captured, "1");
}

TEST(Interrupt, ASecondOneLeavesAtOnce) {
    // The device ignores the abort, so that the tool waits two seconds for its answer.
    sim::Simulator device("fault can nth 2 silent");
    Tool capture({"--port", device.port(), "capture"});
    ASSERT_TRUE(device.wait_pending("GCD", PATIENCE));
    capture.signal(SIGINT);
    ASSERT_TRUE(device.wait_for([](const sim::Snapshot &state) { return state.faults_struck > 0; },
                                PATIENCE));
    const auto start = steady_clock::now();
    capture.signal(SIGINT);
    const Outcome outcome = capture.finish();
    EXPECT_EQ(outcome.exit, 130);
    EXPECT_LT(since(start), milliseconds(1900));
    EXPECT_EQ(outcome.err, "");
    EXPECT_TRUE(device.snapshot().open);
}

TEST(Interrupt, EndsALoadBetweenTwoRecords) {
    const tool::TemporaryFile file(std::string(500000, 'x'));
    sim::SimulatorOptions options;
    options.paced = true;
    sim::Simulator device("", options);
    Tool load({"--port", device.port(), "media", "load", file.path(), "--as", "A"});
    ASSERT_TRUE(
        device.wait_for([](const sim::Snapshot &state) { return state.loading == "A"; }, PATIENCE));
    load.signal(SIGINT);
    const Outcome outcome = load.finish();
    EXPECT_EQ(outcome.exit, 130);
    EXPECT_THAT(outcome.err, HasSubstr("Interrupted."));
    EXPECT_EQ(device.snapshot().find_media("A"), nullptr);
    EXPECT_FALSE(device.snapshot().open);
}

TEST(Interrupt, EndsAScriptWhateverItsErrorsDo) {
    sim::Simulator device;
    Tool script({"--port", device.port(), "session", "--keep-going"});
    script.type("capture\ndisplay NEVER\n");
    ASSERT_TRUE(device.wait_pending("GCD", PATIENCE));
    script.signal(SIGINT);
    const Outcome outcome = script.finish();
    EXPECT_EQ(outcome.exit, 130);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "-:1: Interrupted. The command was aborted and the session closed.\n");
    EXPECT_FALSE(device.snapshot().open);
}

TEST(Interrupt, EndsAScriptThatWaitsForItsNextLine) {
    sim::Simulator device;
    Tool script({"--port", device.port(), "session"});
    script.type("display A\n");
    script.waitForOutput("The text is on the display.");
    script.signal(SIGINT);
    EXPECT_EQ(script.finish().exit, 130);
    EXPECT_FALSE(device.snapshot().open);
}

TEST(Interrupt, ReachesASimulatedDeviceToo) {
    const tool::TemporaryFile scenario("capture live");
    const tool::TemporaryFile trace;
    Tool capture({"--simulate", scenario.path(), "capture", "--trace=" + trace.path()});
    const auto end = steady_clock::now() + PATIENCE;
    while (trace.content().find("-> GCD") == std::string::npos && steady_clock::now() < end) {
    }
    capture.signal(SIGINT);
    EXPECT_EQ(capture.finish().exit, 130);
    EXPECT_THAT(trace.content(), HasSubstr("<- CLO answer"));
}

} // namespace
