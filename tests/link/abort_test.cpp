// The abort handshake: CAN answered by EOT.

#include "tests/link/session_fixture.h"

namespace {

using namespace line;

class Abort : public Link {
protected:
    void SetUp() override {
        Link::SetUp();
        abecs_pinpad_set_pending(pinpad(), "GCD");
    }
    std::string pending() { return abecs_pinpad_get_pending(pinpad()).text; }

    void expectFails(PclResult_e code, const char *detail) {
        EXPECT_FAILURE(abecs_link_abort(pinpad()), code, detail);
        m_peer.finish();
        EXPECT_EQ("GCD", pending());
        m_peer.play([](Peer &line) {
            line.expect(CAN);
            line.write(EOT);
        });
        EXPECT_NO_FAILURE(abecs_link_abort(pinpad()));
        EXPECT_EQ("", pending());
        expectUsable();
    }
};

TEST_F(Abort, SendsOneCanWhenEotComes) {
    m_peer.play([](Peer &line) {
        line.expect(CAN);
        line.write(EOT);
        line.expectSilence(50ms);
    });
    EXPECT_NO_FAILURE(abecs_link_abort(pinpad()));
    EXPECT_EQ("", pending());
    expectUsable();
}

TEST_F(Abort, DrainsAnotherAnswerAndTriesAgain) {
    m_peer.play([](Peer &line) {
        line.expect(CAN);
        // The EOT behind the noise is drained with it.
        line.write(NAK + bytes("noise") + EOT);
        line.expect(CAN);
        line.write(ACK + EOT);
        line.expect(CAN);
        line.write(EOT);
        line.expectSilence(50ms);
    });
    EXPECT_NO_FAILURE(abecs_link_abort(pinpad()));
    EXPECT_EQ("", pending());
    expectUsable();
}

TEST_F(Abort, GivesUpAfterThreeOtherAnswers) {
    m_peer.play([](Peer &line) {
        for (const std::uint8_t answer : Bytes{0x15, 0x06, 0x3F}) {
            line.expect(CAN);
            line.write({answer});
            line.write(bytes("noise"));
        }
        line.expectSilence(100ms);
    });
    EXPECT_FAILURE(abecs_link_abort(pinpad()), PCL_RESULT_PROTOCOL_ERROR,
                   "Protocol error (expected EOT, read 0x3f)");
    EXPECT_EQ(0U, pcl_serial_bytes_available(pinpad()->port));
    m_peer.finish();
    m_peer.play([](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.expect(CAN);
            line.write({0x00});
        }
    });
    expectFails(PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected EOT, read 0x0)");
}

TEST_F(Abort, DoesNotRepeatWhatIsMetWithSilence) {
    m_peer.play([](Peer &line) {
        line.expect(CAN);
        line.expectSilence(PAST_ANSWER);
    });
    expectFails(PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
}

TEST_F(Abort, DoesNotTryAgainAfterSilence) {
    m_peer.play([](Peer &line) {
        line.expect(CAN);
        line.write(NAK);
        line.expect(CAN);
        line.expectSilence(PAST_ANSWER);
    });
    expectFails(PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
}

TEST_F(Abort, WaitsTwoSecondsForTheAnswer) {
    pcl_serial_set_time_divisor(1);
    m_peer.play([](Peer &line) { line.expect(CAN); });
    const Elapsed waited = timeOf([&] {
        EXPECT_FAILURE(abecs_link_abort(pinpad()), PCL_RESULT_TIMEOUT_ERROR,
                       "Timeout waiting for data");
    });
    EXPECT_GE(waited, 2000ms);
    EXPECT_LT(waited, 2500ms);
    m_peer.finish();
}

TEST_F(Abort, WaitsTwoSecondsAgainAfterDraining) {
    pcl_serial_set_time_divisor(1);
    Elapsed between{};
    m_peer.play([&](Peer &line) {
        line.expect(CAN);
        line.write(NAK);
        between = timeOf([&] { line.expect(CAN); });
        line.pause(1000ms);
        line.write(EOT);
    });
    EXPECT_NO_FAILURE(abecs_link_abort(pinpad()));
    m_peer.finish();
    EXPECT_GE(between, 490ms);
    EXPECT_LT(between, 900ms);
}

TEST_F(Abort, LeavesKeyAndTimeAlone) {
    const std::uint8_t key[ABECS_SESSION_KEY_SIZE] = {1, 2, 3};
    abecs_pinpad_set_session_key(pinpad(), key);
    const std::uint64_t before = pinpad()->lastCommandTime;
    pcl_sleep_millis(5);
    m_peer.play([](Peer &line) {
        line.expect(CAN);
        line.write(EOT);
    });
    EXPECT_NO_FAILURE(abecs_link_abort(pinpad()));
    m_peer.finish();
    EXPECT_EQ(1, pinpad()->secure);
    EXPECT_EQ(before, pinpad()->lastCommandTime);
}

TEST_F(Abort, FailsAtOnceWhenTheLineHangsUp) {
    pcl_serial_set_time_divisor(1);
    m_peer.play([](Peer &line) {
        line.expect(CAN);
        line.hangUp();
    });
    const Elapsed waited = timeOf([&] {
        EXPECT_FAILURE(abecs_link_abort(pinpad()), PCL_RESULT_IO_ERROR, "ReadFile() error: 5");
    });
    EXPECT_LT(waited, 1000ms);
    m_peer.finish();
    EXPECT_FAILURE(abecs_link_abort(pinpad()), PCL_RESULT_IO_ERROR, "WriteFile() error: 5");
    EXPECT_EQ("GCD", pending());
}

TEST_F(Abort, ChecksForANullSession) {
    EXPECT_FAILURE(abecs_link_abort(nullptr), PCL_RESULT_ILLEGAL_ARGUMENT, "pinpad is NULL");
    const ScopedHandler handler;
    abecs_link_abort(nullptr);
    EXPECT_EQ(1U, handler.count());
    EXPECT_EQ(failures::text(PCL_RESULT_ILLEGAL_ARGUMENT, "pinpad is NULL"), handler.message());
    EXPECT_EQ(0U, m_peer.waiting());
}

TEST_F(Abort, StopsAfterTheThirdAnswerWithAHandlerThatReturns) {
    const ScopedHandler handler;
    m_peer.play([](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.expect(CAN);
            line.write(NAK);
        }
        line.expectSilence(100ms);
    });
    abecs_link_abort(pinpad());
    m_peer.finish();
    ASSERT_EQ(1U, handler.count());
    EXPECT_EQ(failures::text(PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected EOT, read 0x15)"),
              handler.message());
    EXPECT_EQ("GCD", pending());
}

} // namespace
