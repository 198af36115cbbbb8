// Draining the input after a disturbance.

#include "tests/link/session_fixture.h"

namespace {

using namespace line;

class Drain : public Link {};

TEST_F(Drain, EndsWithHalfASecondOfSilence) {
    pcl_serial_set_time_divisor(1);
    const Elapsed taken =
        timeOf([&] { EXPECT_NO_FAILURE(abecs_link_drain_input(pinpad()->port)); });
    EXPECT_GE(taken, 500ms);
    EXPECT_LT(taken, 900ms);
}

TEST_F(Drain, GoesOnWhileBytesCome) {
    pcl_serial_set_time_divisor(1);
    m_peer.play([](Peer &line) {
        for (int chunk = 0; chunk < 4; ++chunk) {
            line.write(bytes("noise"));
            line.pause(250ms);
        }
        line.write(bytes("!"));
    });
    const Elapsed taken =
        timeOf([&] { EXPECT_NO_FAILURE(abecs_link_drain_input(pinpad()->port)); });
    m_peer.finish();
    EXPECT_GE(taken, 1490ms);
    EXPECT_LT(taken, 2200ms);
    EXPECT_EQ(0U, pcl_serial_bytes_available(pinpad()->port));
}

TEST_F(Drain, TakesControlBytesForNoise) {
    m_peer.play([](Peer &line) { line.write(ACK + NAK + SYN + EOT + ANSWER); });
    m_peer.finish();
    waitForInput(4 + ANSWER.size());
    EXPECT_NO_FAILURE(abecs_link_drain_input(pinpad()->port));
    EXPECT_EQ(0U, pcl_serial_bytes_available(pinpad()->port));
    EXPECT_EQ(0U, m_peer.waiting());
    expectUsable();
}

TEST_F(Drain, LeavesTheReadTimeoutAtHalfASecond) {
    EXPECT_NO_FAILURE(abecs_link_drain_input(pinpad()->port));
    pcl_serial_set_time_divisor(1);
    const Elapsed waited = timeOf([&] {
        EXPECT_FAILURE(pcl_serial_read_byte(pinpad()->port), PCL_RESULT_TIMEOUT_ERROR,
                       "Timeout waiting for data");
    });
    EXPECT_GE(waited, 500ms);
    EXPECT_LT(waited, 900ms);
}

TEST_F(Drain, DoesNotTakeAHangUpForSilence) {
    m_peer.play([](Peer &line) {
        line.write(bytes("noise"));
        line.pause(10ms);
        line.hangUp();
    });
    EXPECT_FAILURE(abecs_link_drain_input(pinpad()->port), PCL_RESULT_IO_ERROR,
                   "ReadFile() error: 5");
    m_peer.finish();
}

TEST_F(Drain, ChecksForANullPort) {
    EXPECT_FAILURE(abecs_link_drain_input(nullptr), PCL_RESULT_ILLEGAL_ARGUMENT, "'port' is NULL");
    const ScopedHandler handler;
    abecs_link_drain_input(nullptr);
    EXPECT_EQ(1U, handler.count());
}

} // namespace
