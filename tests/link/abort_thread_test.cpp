// The abort handshake from a second thread while the first one waits. Both read from the line, so
// either may get what the device answers; what must hold is that both come back, each with its own
// failure or none, and that the session is fit for use afterwards.

#include "abecs/commands/capture.h"
#include "abecs/open.h"
#include "sim/simulator.h"
#include "tests/link/session_fixture.h"

#include <array>
#include <functional>
#include <string>
#include <thread>

namespace {

using namespace line;

class AbortThread : public Link {
protected:
    // What came of a wait and of an abort during it.
    struct Outcome {
        PclException wait;
        PclException abort;
    };

    static Outcome abortDuring(AbecsPinpad *pinpad, const std::function<void()> &wait) {
        Outcome outcome;
        std::thread second([&] {
            pcl_sleep_millis(20);
            outcome.abort = pcl_attempt([&] { abecs_link_abort(pinpad); });
        });
        outcome.wait = pcl_attempt(wait);
        second.join();
        return outcome;
    }

    // The one without a byte timed out; the other got a byte that it did not expect.
    static void expectShared(const Outcome &outcome, const std::string &disturbed) {
        const std::string timedOut =
            failures::text(PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
        if (outcome.abort) {
            EXPECT_EQ(timedOut, outcome.abort.message);
            EXPECT_EQ(disturbed, outcome.wait.message);
        } else {
            EXPECT_EQ(timedOut, outcome.wait.message);
        }
    }

    void expectUsableAfterAbort() {
        m_peer.finish();
        m_peer.play([](Peer &line) {
            line.expect(CAN);
            line.write(EOT);
        });
        EXPECT_NO_FAILURE(abecs_link_abort(pinpad()));
        EXPECT_STREQ("", abecs_pinpad_get_pending(pinpad()).text);
        expectUsable();
    }
};

TEST_F(AbortThread, DuringAWaitForAResponse) {
    for (int round = 0; round < 5; ++round) {
        ASSERT_NO_FAILURE(abecs_pinpad_set_pending(pinpad(), "GCD"));
        m_peer.play([](Peer &line) {
            line.expect(CAN);
            line.write(EOT);
            line.expectSilence(30ms);
        });
        const Outcome outcome =
            abortDuring(pinpad(), [&] { abecs_link_receive_response(pinpad(), packet()); });
        expectShared(outcome, failures::text(PCL_RESULT_PROTOCOL_ERROR,
                                             "Protocol error (expected SYN, read 0x4)"));
        EXPECT_STREQ(outcome.abort ? "GCD" : "", abecs_pinpad_get_pending(pinpad()).text);
        expectUsableAfterAbort();
    }
}

TEST_F(AbortThread, DuringAWaitForAnAcknowledgement) {
    for (int round = 0; round < 5; ++round) {
        m_peer.play([](Peer &line) {
            line.expect(COMMAND + CAN);
            line.write(EOT);
            line.expectSilence(30ms);
        });
        const Outcome outcome = abortDuring(pinpad(), [&] { send("DEX003000"); });
        expectShared(outcome, failures::text(PCL_RESULT_PROTOCOL_ERROR,
                                             "Protocol error (unknown packet response: 0x4)"));
        expectUsableAfterAbort();
    }
}

TEST_F(AbortThread, BothGetAnAnswerFromADeviceThatGivesTwo) {
    for (int round = 0; round < 5; ++round) {
        m_peer.play([](Peer &line) {
            line.expect(CAN);
            line.write(EOT + EOT);
        });
        const Outcome outcome =
            abortDuring(pinpad(), [&] { abecs_link_receive_response(pinpad(), packet()); });
        EXPECT_STREQ("", outcome.abort.message);
        EXPECT_EQ(
            failures::text(PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected SYN, read 0x4)"),
            outcome.wait.message);
        m_peer.finish();
        expectUsable();
    }
}

// A handler sees the failures of both threads, each whole.
TEST_F(AbortThread, EachFailureReachesTheHandler) {
    const ScopedHandler handler;
    m_peer.play([](Peer &line) { line.expect(CAN); });
    std::thread second([&] { abecs_link_abort(pinpad()); });
    abecs_link_receive_response(pinpad(), packet());
    second.join();
    m_peer.finish();
    ASSERT_EQ(2U, handler.count());
    for (const failures::Seen &seen : handler.all()) {
        EXPECT_EQ(failures::text(PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data"),
                  seen.message);
    }
}

TEST_F(AbortThread, EndsACaptureOnASecureSession) {
    sim::Simulator device("capture * live\n");
    AbecsPinpadPtr session;
    ASSERT_NO_FAILURE(session.reset(abecs_pinpad_create(device.port().c_str())));
    // The device's answer needs its time on a busy machine.
    pcl_serial_set_time_divisor(2);
    ASSERT_NO_FAILURE(ASSERT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(session.get(), 1)));
    for (int round = 0; round < 3; ++round) {
        ASSERT_NO_FAILURE(abecs_gcd_start(session.get(), 1, 1, 8, 0));
        ASSERT_TRUE(device.wait_pending("GCD"));
        std::int32_t status = 0;
        const Outcome outcome = abortDuring(session.get(), [&] {
            std::array<char, 1000> out{};
            status = abecs_gcd_response(session.get(), out.data(), nullptr);
        });
        EXPECT_TRUE(outcome.wait || status == -1) << status;
        EXPECT_TRUE(device.wait_for([](const sim::Snapshot &seen) { return !seen.waiting; }, 5s));
        EXPECT_NO_FAILURE(abecs_link_abort(session.get()));
        EXPECT_EQ(1, session->secure);
    }
}

} // namespace
