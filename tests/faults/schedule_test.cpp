// Every command under every fault of the line, at its own frame, plain and on the secure channel:
// the outcome is the documented one, and the next command on the same session works wherever there
// still is a line.

#include "abecs/commands/display.h"
#include "abecs/link.h"
#include "abecs/open.h"
#include "core/guard.h"
#include "serial/serial.h"
#include "serial/time_divisor.h"
#include "sim/simulator.h"
#include "tests/faults/commands.h"
#include "tests/support/prepared_key.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <tuple>

namespace {

// The library's waits run this much faster: 2 s become 400 ms.
constexpr std::uint32_t TIME_DIVISOR = 5;

// A surplus is what follows a good answer: it is taken for the acknowledgement of the next command,
// and only the one after that works.
enum class Outcome { good, surplus, failure, lineGone };

struct Fault {
    const char *stage;
    const char *action;
    Outcome outcome;
    PclResult_e code = PCL_RESULT_OK;
    /// Exact detail of the failure; of a line that is gone, its beginning.
    const char *detail = "";
    /// The same for an extension command, where it is another one.
    const char *extensionDetail = nullptr;

    std::string detailFor(const faults::Command &command) const {
        return faults::isExtension(command) && extensionDetail != nullptr ? extensionDetail
                                                                          : detail;
    }
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
     "Protocol error (unknown packet response: 0x16)",
     "Protocol error (unknown packet response: 0x2)"},
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
     "Protocol error (expected SYN, read 0xe9)", "Protocol error (expected STX, read 0xfd)"},
    {"response", "prefix 41", Outcome::failure, PCL_RESULT_PROTOCOL_ERROR,
     "Protocol error (expected SYN, read 0x41)", "Protocol error (expected STX, read 0x41)"},
    {"response", "suffix 4142", Outcome::surplus, PCL_RESULT_PROTOCOL_ERROR,
     "Protocol error (unknown packet response: 0x41)"},
    {"response", "twice", Outcome::surplus, PCL_RESULT_PROTOCOL_ERROR,
     "Protocol error (unknown packet response: 0x16)",
     "Protocol error (unknown packet response: 0x2)"},
    {"response", "silent", Outcome::failure, PCL_RESULT_TIMEOUT_ERROR, SILENT},
    {"response", "delay 40", Outcome::good},
    {"response", "stall 3 40", Outcome::good},
    {"response", "unplug 0", Outcome::lineGone, PCL_RESULT_IO_ERROR, "ReadFile() error: "},
    {"response", "unplug 4", Outcome::lineGone, PCL_RESULT_IO_ERROR, "ReadFile() error: "},
};

std::ostream &operator<<(std::ostream &out, const Fault &fault) {
    return out << fault.stage << ' ' << fault.action;
}

std::string fullMessage(PclResult_e code, const std::string &detail) {
    return std::string("[") + pcl_result_to_string(code) + "] " + detail;
}

void expectOutcome(const faults::Command &command, const Fault &fault, const PclException &failure,
                   std::int32_t result) {
    if (fault.outcome == Outcome::good || fault.outcome == Outcome::surplus) {
        EXPECT_EQ(std::string(), failure.message);
        EXPECT_EQ(command.good, result);
        return;
    }
    if (command.polls && fault.code == PCL_RESULT_TIMEOUT_ERROR) {
        EXPECT_EQ(std::string(), failure.message);
        EXPECT_EQ(-1, result);
        return;
    }
    EXPECT_EQ(fault.code, failure.code);
    const std::string expected = fullMessage(fault.code, fault.detailFor(command));
    if (fault.outcome == Outcome::lineGone) {
        EXPECT_EQ(expected, std::string(failure.message).substr(0, expected.size()));
    } else {
        EXPECT_EQ(expected, failure.message);
    }
}

AbecsPinpadPtr openSession(const std::string &port, bool secure) {
    AbecsPinpadPtr pinpad;
    const PclException failure = pcl_attempt([&] {
        pinpad.reset(abecs_pinpad_create(port.c_str()));
        EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad.get(), secure ? 1 : 0));
    });
    EXPECT_EQ(std::string(), failure.message);
    return pinpad;
}

void expectNextCommandFails(const faults::Command &command, const Fault &fault,
                            AbecsPinpad *pinpad) {
    const PclException failure = pcl_attempt([&] { abecs_dex(pinpad, "TOO MUCH"); });
    EXPECT_EQ(fullMessage(fault.code, fault.detailFor(command)), failure.message);
}

void expectNextCommandWorks(AbecsPinpad *pinpad) {
    const PclException failure = pcl_attempt([&] {
        if (abecs_pinpad_get_pending(pinpad).text[0] != '\0') {
            abecs_link_abort(pinpad);
        }
        EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_dex(pinpad, "STILL HERE"));
    });
    EXPECT_EQ(std::string(), failure.message);
}

// A device and a session with it, struck by one fault after the other.
class Session {
public:
    explicit Session(bool secure) : m_device(faults::scenario()), m_secure(secure) {
        pcl_serial_set_time_divisor(TIME_DIVISOR);
        m_pinpad = openSession(m_device.port(), m_secure);
    }

    void strike(const faults::Command &command, const Fault &fault) {
        SCOPED_TRACE(testing::Message() << fault);
        ASSERT_NE(nullptr, m_pinpad);
        const std::size_t before = m_device.snapshot().faults_struck;
        m_device.arm_fault(std::string("fault ") + fault.stage + " " + command.frame + " " +
                           fault.action);
        if (command.prepare != nullptr) {
            const PclException failure = pcl_attempt([&] { command.prepare(m_pinpad.get()); });
            ASSERT_EQ(std::string(), failure.message);
        }
        std::int32_t result = -99;
        const PclException failure = pcl_attempt([&] { result = command.run(m_pinpad.get()); });
        expectOutcome(command, fault, failure, result);
        EXPECT_GT(m_device.snapshot().faults_struck, before);
        m_device.clear_faults();

        if (fault.outcome == Outcome::lineGone) {
            m_device.replug();
            m_pinpad = openSession(m_device.port(), m_secure);
            ASSERT_NE(nullptr, m_pinpad);
        } else if (failure && command.changesChannel && m_secure) {
            reopen();
        } else if (fault.outcome == Outcome::surplus) {
            expectNextCommandFails(command, fault, m_pinpad.get());
        }
        expectNextCommandWorks(m_pinpad.get());
        if (command.changesChannel) {
            reopen();
        }
    }

private:
    // Host and device may disagree on the channel, or have given it up; opening it again settles
    // that.
    void reopen() {
        const PclException failure = pcl_attempt(
            [&] { EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(m_pinpad.get(), m_secure ? 1 : 0)); });
        EXPECT_EQ(std::string(), failure.message);
    }

    PreparedKey m_key;
    sim::Simulator m_device;
    bool m_secure;
    AbecsPinpadPtr m_pinpad;
};

void strikeWithEveryFault(const faults::Command &command, bool secure) {
    Session session(secure);
    std::size_t struck = 0;
    for (const Fault &fault : FAULTS) {
        const bool atAck = std::string(fault.stage) == "ack";
        if (atAck ? command.sends : command.receives) {
            session.strike(command, fault);
            ++struck;
        }
    }
    EXPECT_GE(struck, 9U);
}

class Schedule : public testing::TestWithParam<std::tuple<std::size_t, bool>> {};

TEST_P(Schedule, EveryFaultAtTheCommandsFrame) {
    strikeWithEveryFault(faults::commands().at(std::get<0>(GetParam())), std::get<1>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Commands, Schedule,
                         testing::Combine(testing::Range<std::size_t>(0, faults::commands().size()),
                                          testing::Bool()),
                         [](const auto &instance) {
                             return faults::commands().at(std::get<0>(instance.param)).name +
                                    (std::get<1>(instance.param) ? "Secure" : "Plain");
                         });

class ExtensionSchedule : public testing::TestWithParam<std::tuple<std::size_t, bool>> {};

TEST_P(ExtensionSchedule, EveryFaultAtTheCommandsFrame) {
    strikeWithEveryFault(faults::extensionCommands().at(std::get<0>(GetParam())),
                         std::get<1>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Commands, ExtensionSchedule,
    testing::Combine(testing::Range<std::size_t>(0, faults::extensionCommands().size()),
                     testing::Bool()),
    [](const auto &instance) {
        return faults::extensionCommands().at(std::get<0>(instance.param)).name +
               (std::get<1>(instance.param) ? "Secure" : "Plain");
    });

} // namespace
