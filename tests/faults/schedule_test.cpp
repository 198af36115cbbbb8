// Every command under every fault of the line, at its own frame, plain and on the secure channel:
// the outcome is the documented one, and the next command on the same session works wherever there
// still is a line.

#include "abecs/commands/display.h"
#include "abecs/link.h"
#include "abecs/secure_channel.h"
#include "core/guard.h"
#include "serial/serial.h"
#include "serial/time_divisor.h"
#include "sim/simulator.h"
#include "tests/faults/commands.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <tuple>

namespace {

// The library's waits run this much faster: 2 s become 400 ms.
constexpr std::uint32_t TIME_DIVISOR = 5;

enum class Outcome { good, failure, lineGone };

struct Fault {
    const char *stage;
    const char *action;
    Outcome outcome;
    PclResult_e code = PCL_RESULT_OK;
    /// Exact detail of the failure; of a line that is gone, its beginning.
    const char *detail = "";
};

constexpr const char *SILENT = "Timeout waiting for data";
constexpr const char *EXHAUSTED = "No response in 3 attempts";

const Fault FAULTS[] = {
    {"ack", "nak", Outcome::good},
    {"ack", "nak times 2", Outcome::good},
    {"ack", "nak times 3", Outcome::failure, PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected"},
    {"ack", "byte 41", Outcome::failure, PCL_RESULT_PROTOCOL_ERROR,
     "Protocol error (unknown packet response: 0x41)"},
    {"ack", "garble 16", Outcome::failure, PCL_RESULT_PROTOCOL_ERROR,
     "Protocol error (unknown packet response: 0x16)"},
    {"ack", "silent", Outcome::failure, PCL_RESULT_TIMEOUT_ERROR, SILENT},
    // The answer follows at once where the acknowledgement should have been.
    {"ack", "lost", Outcome::failure, PCL_RESULT_PROTOCOL_ERROR,
     "Protocol error (unknown packet response: 0x16)"},
    {"ack", "delay 40", Outcome::good},
    {"ack", "unplug", Outcome::lineGone, PCL_RESULT_IO_ERROR, "ReadFile() error: "},
    {"response", "bad-crc", Outcome::good},
    {"response", "bad-crc times 2", Outcome::good},
    {"response", "bad-crc times 3", Outcome::failure, PCL_RESULT_TIMEOUT_ERROR, EXHAUSTED},
    {"response", "cut 1", Outcome::good},
    {"response", "cut 5 times 3", Outcome::failure, PCL_RESULT_TIMEOUT_ERROR, EXHAUSTED},
    {"response", "drop 4", Outcome::good},
    {"response", "duplicate 4", Outcome::good},
    {"response", "duplicate 0", Outcome::good},
    {"response", "corrupt 4", Outcome::good},
    {"response", "corrupt 0", Outcome::failure, PCL_RESULT_PROTOCOL_ERROR,
     "Protocol error (expected SYN, read 0xe9)"},
    {"response", "prefix 41", Outcome::failure, PCL_RESULT_PROTOCOL_ERROR,
     "Protocol error (expected SYN, read 0x41)"},
    {"response", "suffix 4142", Outcome::good},
    {"response", "twice", Outcome::good},
    {"response", "silent", Outcome::failure, PCL_RESULT_TIMEOUT_ERROR, SILENT},
    {"response", "delay 40", Outcome::good},
    {"response", "stall 3 40", Outcome::good},
    {"response", "unplug 0", Outcome::lineGone, PCL_RESULT_IO_ERROR, "ReadFile() error: "},
    {"response", "unplug 4", Outcome::lineGone, PCL_RESULT_IO_ERROR, "ReadFile() error: "},
};

std::ostream &operator<<(std::ostream &out, const Fault &fault) {
    return out << fault.stage << ' ' << fault.action;
}

class Schedule : public testing::TestWithParam<std::tuple<std::size_t, bool>> {
protected:
    void SetUp() override { pcl_serial_set_time_divisor(TIME_DIVISOR); }

    static const faults::Command &command() {
        return faults::commands().at(std::get<0>(GetParam()));
    }
    static bool secure() { return std::get<1>(GetParam()); }
};

std::string fullMessage(PclResult_e code, const std::string &detail) {
    return std::string("[") + pcl_result_to_string(code) + "] " + detail;
}

void expectOutcome(const Fault &fault, bool polls, const PclFailure &failure, std::int32_t result,
                   std::int32_t good) {
    if (fault.outcome == Outcome::good) {
        EXPECT_EQ(std::string(), failure.message);
        EXPECT_EQ(good, result);
        return;
    }
    if (polls && fault.code == PCL_RESULT_TIMEOUT_ERROR) {
        EXPECT_EQ(std::string(), failure.message);
        EXPECT_EQ(-1, result);
        return;
    }
    EXPECT_EQ(fault.code, failure.code);
    const std::string expected = fullMessage(fault.code, fault.detail);
    if (fault.outcome == Outcome::lineGone) {
        EXPECT_EQ(expected, std::string(failure.message).substr(0, expected.size()));
    } else {
        EXPECT_EQ(expected, failure.message);
    }
}

AbecsPinpadPtr openSession(const std::string &port, bool secure) {
    AbecsPinpadPtr pinpad;
    const PclFailure failure = pcl_attempt([&] {
        pinpad.reset(abecs_pinpad_create(port.c_str()));
        EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad.get(), secure ? 1 : 0));
    });
    EXPECT_EQ(std::string(), failure.message);
    return pinpad;
}

void expectNextCommandWorks(AbecsPinpad *pinpad) {
    const PclFailure failure = pcl_attempt([&] {
        if (abecs_pinpad_get_pending(pinpad).text[0] != '\0') {
            abecs_link_abort(pinpad);
        }
        EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_dex(pinpad, "STILL HERE"));
    });
    EXPECT_EQ(std::string(), failure.message);
}

void strike(const faults::Command &command, bool secure, const Fault &fault) {
    SCOPED_TRACE(testing::Message() << fault);
    // The session is opened undisturbed, so that the first OPN is not the one that is struck.
    const std::string nth = command.frame == "OPN" ? " nth 2" : "";
    sim::Simulator device(std::string(faults::scenario()) + "fault " + fault.stage + " " +
                          command.frame + nth + " " + fault.action + "\n");
    const AbecsPinpadPtr pinpad = openSession(device.port(), secure);
    ASSERT_NE(nullptr, pinpad);
    if (command.prepare != nullptr) {
        const PclFailure failure = pcl_attempt([&] { command.prepare(pinpad.get()); });
        ASSERT_EQ(std::string(), failure.message);
    }
    std::int32_t result = -99;
    const PclFailure failure = pcl_attempt([&] { result = command.run(pinpad.get()); });
    expectOutcome(fault, command.polls, failure, result, command.good);
    EXPECT_GT(device.snapshot().faults_struck, 0U);

    if (fault.outcome == Outcome::lineGone) {
        device.replug();
        const AbecsPinpadPtr again = openSession(device.port(), secure);
        ASSERT_NE(nullptr, again);
        expectNextCommandWorks(again.get());
        return;
    }
    if (failure && command.changesChannel && secure) {
        // Host and device may disagree on the channel now; opening it again settles that.
        const PclFailure reopened =
            pcl_attempt([&] { EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad.get(), 1)); });
        EXPECT_EQ(std::string(), reopened.message);
    }
    expectNextCommandWorks(pinpad.get());
}

TEST_P(Schedule, EveryFaultAtTheCommandsFrame) {
    std::size_t struck = 0;
    for (const Fault &fault : FAULTS) {
        const bool atAck = std::string(fault.stage) == "ack";
        if (atAck ? command().sends : command().receives) {
            strike(command(), secure(), fault);
            ++struck;
        }
    }
    EXPECT_GE(struck, 9U);
}

INSTANTIATE_TEST_SUITE_P(Commands, Schedule,
                         testing::Combine(testing::Range<std::size_t>(0, faults::commands().size()),
                                          testing::Bool()),
                         [](const auto &instance) {
                             return faults::commands().at(std::get<0>(instance.param)).name +
                                    (std::get<1>(instance.param) ? "Secure" : "Plain");
                         });

} // namespace
