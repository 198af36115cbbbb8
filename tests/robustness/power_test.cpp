// The device is killed at every stage of every command: the line is reported as gone at once, and
// the port can be opened again as soon as a device is back.

#include "abecs/commands/display.h"
#include "abecs/open.h"
#include "serial/time_divisor.h"
#include "tests/robustness/device_program.h"
#include "tests/robustness/rig.h"
#include "tests/soak/commands.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// The device halts for longer than the test lasts, and is killed while it does.
constexpr const char *HALT = "1800";
constexpr milliseconds UNTIL_HALTED{60};
// Far less than the wait that is going on, and enough for a busy machine.
constexpr milliseconds AT_ONCE{1000};

struct Stage {
    const char *name;
    std::string fault;
};

std::vector<Stage> stagesOf(const faults::Command &command) {
    std::vector<Stage> stages;
    if (command.frame == soak::ABORT) {
        stages.push_back({"before the answer", std::string("fault can nth 2 delay ") + HALT});
    }
    if (command.sends && command.frame != soak::ABORT) {
        const std::string nth = command.frame == "OPN" ? " nth 2" : "";
        stages.push_back(
            {"before the acknowledgement", "fault ack " + command.frame + nth + " delay " + HALT});
    }
    if (command.receives) {
        const std::string start =
            "fault response " + command.frame + (command.frame == "OPN" ? " nth 2 " : " ");
        stages.push_back({"after the acknowledgement", start + "delay " + HALT});
        stages.push_back({"inside the answer", start + "stall 4 " + HALT});
    }
    return stages;
}

AbecsPinpadPtr openPlain(const std::string &port) {
    // The silence before the first command is the same every time.
    pcl_serial_set_time_divisor(robustness::Rig::TIME_DIVISOR);
    AbecsPinpadPtr pinpad;
    EXPECT_NO_FAILURE(pinpad.reset(abecs_pinpad_create(port.c_str())));
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad.get(), 0)));
    pcl_serial_set_time_divisor(1);
    return pinpad;
}

void expectLineGone(const PclException &failure) {
    const std::string message = failure.message;
    EXPECT_EQ(PCL_RESULT_IO_ERROR, failure.code);
    EXPECT_TRUE(message == failures::text(PCL_RESULT_IO_ERROR, "ReadFile() error: 5") ||
                message == failures::text(PCL_RESULT_IO_ERROR, "WriteFile() error: 5"))
        << message;
}

void killAt(const faults::Command &command, const Stage &stage) {
    SCOPED_TRACE(stage.name);
    const robustness::TemporaryFolder folder;
    robustness::DeviceProgram device(folder.path(), soak::scenario() + stage.fault + "\n");
    AbecsPinpadPtr pinpad = openPlain(device.port());
    if (command.prepare != nullptr) {
        EXPECT_NO_FAILURE(command.prepare(pinpad.get()));
    }
    Clock::time_point killed;
    std::thread killer([&] {
        std::this_thread::sleep_for(UNTIL_HALTED);
        killed = Clock::now();
        device.kill();
    });
    const PclException failure = pcl_attempt([&] { command.run(pinpad.get()); });
    const Clock::time_point failed = Clock::now();
    killer.join();
    expectLineGone(failure);
    EXPECT_LT(failed - killed, AT_ONCE);

    EXPECT_NO_FAILURE(pinpad.reset());
    const robustness::DeviceProgram next(folder.path(), "");
    const AbecsPinpadPtr again = openPlain(next.port());
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_dex(again.get(), "BACK")));
}

class PowerLoss : public testing::TestWithParam<std::size_t> {};

TEST_P(PowerLoss, AtEveryStage) {
    const faults::Command &command = soak::commands().at(GetParam());
    const std::vector<Stage> stages = stagesOf(command);
    ASSERT_FALSE(stages.empty());
    for (const Stage &stage : stages) {
        killAt(command, stage);
    }
}

INSTANTIATE_TEST_SUITE_P(Commands, PowerLoss,
                         testing::Range<std::size_t>(0, soak::commands().size()),
                         robustness::commandName);

} // namespace
