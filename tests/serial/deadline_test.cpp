#include "serial/deadline.h"
#include "serial/port_posix.h"
#include "serial/serial.h"
#include "tests/serial/open_port.h"
#include "tests/serial/pty.h"
#include "tests/support/failures.h"
#include "tests/support/stopwatch.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using Timeout = std::optional<nanoseconds>;

/// A clock that moves only while somebody polls, and polls that end as the test says.
class ScriptedWaits : public PclWaits {
public:
    struct Step {
        nanoseconds lasting;
        int result;
        int error;
        short events;
    };

    static Step interrupted(nanoseconds after) { return {after, -1, EINTR, 0}; }
    static Step failed(int error) { return {nanoseconds(0), -1, error, 0}; }
    static Step ready(nanoseconds after, short events) { return {after, 1, 0, events}; }
    static Step idle(nanoseconds after) { return {after, 0, 0, 0}; }

    explicit ScriptedWaits(std::vector<Step> script) : m_script(std::move(script)) {}

    nanoseconds now() override { return m_now; }

    int poll(std::span<pollfd> waitedFor, Timeout timeout) override {
        asked.push_back(timeout);
        if (asked.size() > m_script.size()) {
            ADD_FAILURE() << "one poll too many";
            errno = EBADF;
            return -1;
        }
        const Step &step = m_script[asked.size() - 1];
        m_now += step.lasting;
        if (during) {
            during(asked.size());
        }
        waitedFor[0].revents = step.events;
        errno = step.error;
        return step.result;
    }

    std::vector<Timeout> asked;              ///< the timeout of each poll
    std::function<void(std::size_t)> during; ///< called with the number of each poll

private:
    std::vector<Step> m_script;
    nanoseconds m_now{milliseconds(123456)};
};

using Waits = ScriptedWaits;

PclWaitOutcome outcomeOf(ScriptedWaits &waits, nanoseconds wait) {
    return PclDeadline(waits, wait).wait(0, POLLIN).outcome;
}

TEST(SerialDeadline, WaitsForAllOfItAndLooksOnceMore) {
    Waits waits({Waits::idle(milliseconds(500)), Waits::idle(nanoseconds(0))});
    EXPECT_EQ(outcomeOf(waits, milliseconds(500)), PclWaitOutcome::TIMED_OUT);
    EXPECT_EQ(waits.asked, (std::vector<Timeout>{milliseconds(500), nanoseconds(0)}));
}

TEST(SerialDeadline, GoesOnWithWhatRemainsAfterInterruptions) {
    Waits waits({Waits::interrupted(milliseconds(1)), Waits::interrupted(milliseconds(300)),
                 Waits::idle(milliseconds(199)), Waits::idle(nanoseconds(0))});
    EXPECT_EQ(outcomeOf(waits, milliseconds(500)), PclWaitOutcome::TIMED_OUT);
    EXPECT_EQ(waits.asked, (std::vector<Timeout>{milliseconds(500), milliseconds(499),
                                                 milliseconds(199), nanoseconds(0)}));
}

TEST(SerialDeadline, GoesOnAfterAPollThatReturnsEarly) {
    Waits waits({Waits::idle(milliseconds(499)), Waits::idle(milliseconds(1)),
                 Waits::idle(nanoseconds(0))});
    EXPECT_EQ(outcomeOf(waits, milliseconds(500)), PclWaitOutcome::TIMED_OUT);
    EXPECT_EQ(waits.asked,
              (std::vector<Timeout>{milliseconds(500), milliseconds(1), nanoseconds(0)}));
}

TEST(SerialDeadline, EndsThoughEveryPollIsInterrupted) {
    Waits waits({Waits::interrupted(milliseconds(600)), Waits::interrupted(nanoseconds(0))});
    EXPECT_EQ(outcomeOf(waits, milliseconds(500)), PclWaitOutcome::TIMED_OUT);
    EXPECT_EQ(waits.asked, (std::vector<Timeout>{milliseconds(500), nanoseconds(0)}));
}

TEST(SerialDeadline, TellsWhatIsReadyThoughItHasPassed) {
    Waits waits({Waits::ready(nanoseconds(0), POLLIN)});
    EXPECT_EQ(outcomeOf(waits, nanoseconds(0)), PclWaitOutcome::READY);
    EXPECT_EQ(waits.asked, (std::vector<Timeout>{nanoseconds(0)}));
}

TEST(SerialDeadline, NeverComesWithoutATime) {
    Waits waits({Waits::interrupted(std::chrono::hours(1)), Waits::idle(std::chrono::hours(1)),
                 Waits::ready(std::chrono::hours(1000), POLLOUT)});
    EXPECT_EQ(PclDeadline(waits).wait(0, POLLOUT).outcome, PclWaitOutcome::READY);
    EXPECT_EQ(waits.asked, std::vector<Timeout>(3, std::nullopt));
}

TEST(SerialDeadline, TellsALineThatIsGone) {
    for (const int events : {POLLHUP, POLLERR, POLLNVAL, POLLIN | POLLHUP}) {
        Waits waits({Waits::ready(nanoseconds(0), static_cast<short>(events))});
        EXPECT_EQ(outcomeOf(waits, milliseconds(1)), PclWaitOutcome::HUNG_UP) << events;
    }
}

TEST(SerialDeadline, PassesTheErrorOn) {
    Waits waits({Waits::failed(ENOMEM)});
    const PclWaitResult result = PclDeadline(waits, milliseconds(1)).wait(0, POLLIN);
    EXPECT_EQ(result.outcome, PclWaitOutcome::FAILED);
    EXPECT_EQ(result.error, ENOMEM);
}

TEST(SerialDeadline, TheSystemWaitsAndTellsTheTime) {
    Pty pty;
    PclWaits &waits = pcl_system_waits();
    const Stopwatch watch;
    const nanoseconds start = waits.now();
    pollfd waitedFor{pty.master(), POLLPRI, 0};
    EXPECT_EQ(waits.poll({&waitedFor, 1}, milliseconds(1100)), 0);
    EXPECT_GE(waits.now() - start, milliseconds(1100));
    EXPECT_LT(watch.elapsed(), milliseconds(1400));
}

/// Reads and writes on a scripted clock: none of these sleeps.
class SerialOnScript : public testing::Test {
protected:
    void follow(ScriptedWaits &waits) { m_port->waits = &waits; }

    /// Sends a byte and waits for it to get there, so that the next read finds it.
    void deliver(char byte) {
        m_pty.send(std::string_view(&byte, 1));
        ASSERT_TRUE(eventually([&] { return pcl_serial_bytes_available(m_port.get()) == 1; }));
    }

    Pty m_pty;
    PortPtr m_port = openPort(m_pty.name());
};

TEST_F(SerialOnScript, AByteLateInTheTimeLeavesTheNextOneTheRest) {
    Waits waits({Waits::ready(milliseconds(1900), POLLIN), Waits::idle(milliseconds(100)),
                 Waits::idle(nanoseconds(0))});
    waits.during = [&](std::size_t poll) {
        if (poll == 1) {
            deliver('a');
        }
    };
    follow(waits);
    pcl_serial_set_timeout(m_port.get(), 20);
    EXPECT_FAILURE(pcl_serial_read_u16(m_port.get(), 0), PCL_RESULT_TIMEOUT_ERROR,
                   "Timeout waiting for data");
    EXPECT_EQ(waits.asked,
              (std::vector<Timeout>{milliseconds(2000), milliseconds(100), nanoseconds(0)}));
}

TEST_F(SerialOnScript, AByteThatAnotherThreadTookIsWaitedForAgain) {
    Waits waits({Waits::ready(milliseconds(500), POLLIN), Waits::ready(milliseconds(500), POLLIN)});
    waits.during = [&](std::size_t poll) {
        if (poll == 2) {
            deliver('a');
        }
    };
    follow(waits);
    pcl_serial_set_timeout(m_port.get(), 20);
    EXPECT_EQ(pcl_serial_read_byte(m_port.get()), 'a');
    EXPECT_EQ(waits.asked, (std::vector<Timeout>{milliseconds(2000), milliseconds(1500)}));
}

TEST_F(SerialOnScript, EveryTimeoutIsTenthsOfASecond) {
    for (const int tenths : {1, 5, 100, 255}) {
        const milliseconds whole(tenths * 100);
        Waits waits({Waits::idle(whole), Waits::idle(nanoseconds(0))});
        follow(waits);
        pcl_serial_set_timeout(m_port.get(), static_cast<std::uint8_t>(tenths));
        char byte = 0;
        EXPECT_EQ(pcl_serial_read(m_port.get(), &byte, 1), 0U);
        EXPECT_EQ(waits.asked, (std::vector<Timeout>{whole, nanoseconds(0)}));
    }
}

TEST_F(SerialOnScript, ALineThatPollsAsGoneButYieldsNothingIsAnError) {
    Waits waits({Waits::ready(nanoseconds(0), POLLHUP)});
    follow(waits);
    EXPECT_FAILURE(pcl_serial_read_byte(m_port.get()), PCL_RESULT_IO_ERROR,
                   "ReadFile() error: " + std::to_string(EIO));
}

TEST_F(SerialOnScript, ByteBeforeTheHangUpIsReadFirst) {
    Waits waits({Waits::ready(nanoseconds(0), POLLIN | POLLHUP)});
    waits.during = [&](std::size_t) { deliver('a'); };
    follow(waits);
    char bytes[2];
    EXPECT_EQ(pcl_serial_read(m_port.get(), bytes, 2), 1U);
    EXPECT_EQ(bytes[0], 'a');
}

TEST_F(SerialOnScript, AFailedWaitIsAnErrorOfTheTransfer) {
    Waits reading({Waits::failed(ENOMEM)});
    follow(reading);
    EXPECT_FAILURE(pcl_serial_read_byte(m_port.get()), PCL_RESULT_IO_ERROR,
                   "ReadFile() error: " + std::to_string(ENOMEM));
    Waits writing({Waits::failed(ENOMEM)});
    follow(writing);
    const std::string moreThanFits(200'000, 'x');
    EXPECT_FAILURE(pcl_serial_write(m_port.get(), moreThanFits.data(), moreThanFits.size()),
                   PCL_RESULT_IO_ERROR, "WriteFile() error: " + std::to_string(ENOMEM));
}

TEST_F(SerialOnScript, AWriteWithoutRoomOnALineThatIsGoneIsAnError) {
    Waits waits({Waits::ready(nanoseconds(0), POLLHUP)});
    follow(waits);
    const std::string moreThanFits(200'000, 'x');
    EXPECT_FAILURE(pcl_serial_write(m_port.get(), moreThanFits.data(), moreThanFits.size()),
                   PCL_RESULT_IO_ERROR, "WriteFile() error: " + std::to_string(EIO));
    EXPECT_EQ(waits.asked, (std::vector<Timeout>{std::nullopt}));
}

} // namespace
