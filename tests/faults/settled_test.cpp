// What each command leaves on a session: a healthy one when its answer was understood, and one
// whose line is cleared before the next command when it was not.

#include "abecs/open.h"
#include "core/guard.h"
#include "serial/time_divisor.h"
#include "sim/simulator.h"
#include "tests/faults/commands.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

const std::vector<faults::Command> &everyCommand() {
    static const std::vector<faults::Command> all = [] {
        std::vector<faults::Command> both = faults::commands();
        const std::vector<faults::Command> &more = faults::extensionCommands();
        both.insert(both.end(), more.begin(), more.end());
        return both;
    }();
    return all;
}

class Settled : public testing::TestWithParam<std::size_t> {
protected:
    static const faults::Command &command() { return everyCommand().at(GetParam()); }

    void SetUp() override { pcl_serial_set_time_divisor(5); }
    void TearDown() override { pcl_serial_set_time_divisor(1); }

    /// Runs the command on a session of its own and yields the failure.
    PclException run(const std::string &rules) {
        const sim::Simulator device(faults::scenario() + rules);
        AbecsPinpadPtr pinpad;
        EXPECT_NO_FAILURE(pinpad.reset(abecs_pinpad_create(device.port().c_str())));
        EXPECT_NO_FAILURE(abecs_open(pinpad.get(), 0));
        EXPECT_EQ(ABECS_LINE_HEALTHY, pinpad->lineState);
        if (command().prepare != nullptr) {
            EXPECT_NO_FAILURE(command().prepare(pinpad.get()));
            EXPECT_EQ(ABECS_LINE_HEALTHY, pinpad->lineState);
        }
        const PclException failure =
            pcl_attempt([&] { EXPECT_EQ(command().good, command().run(pinpad.get())); });
        m_healthy = pinpad->lineState == ABECS_LINE_HEALTHY;
        return failure;
    }

    bool m_healthy = false;
};

TEST_P(Settled, AHealthySessionIsLeftByACommandThatWorked) {
    const PclException failure = run("");
    EXPECT_STREQ("", failure.message);
    EXPECT_TRUE(m_healthy);
}

TEST_P(Settled, AnAnswerThatIsNotUnderstoodIsAFailedExchange) {
    const std::string &frame = command().frame;
    const std::string strange =
        "reply " + frame + (frame == "OPN" ? " nth 2" : " nth 1") + " body \"XYZW000\"\n";
    const PclException failure = run(strange);
    EXPECT_EQ(command().receives, static_cast<bool>(failure)) << failure.message;
    EXPECT_EQ(command().receives, !m_healthy);
}

INSTANTIATE_TEST_SUITE_P(Commands, Settled, testing::Range<std::size_t>(0, everyCommand().size()),
                         [](const auto &instance) {
                             return everyCommand().at(instance.param).name;
                         });

} // namespace
