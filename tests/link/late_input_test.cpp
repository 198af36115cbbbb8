// Bytes that wait on the line before a command is sent: the answer on a healthy session, late ones
// after an exchange that failed.

#include "tests/link/session_fixture.h"

#include <thread>

namespace {

using namespace line;

class LateInput : public Link {
protected:
    // A command that is sent now is refused by what lies there, each time it is sent.
    void expectTakenForTheAnswer() {
        lieOnLine(NAK + NAK + NAK);
        m_peer.play([](Peer &line) {
            line.expect(COMMAND);
            line.expect(COMMAND);
            line.expect(COMMAND);
            line.expectSilence(50ms);
        });
        EXPECT_FAILURE(send("DEX003000"), PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected");
        m_peer.finish();
    }

    void expectDiscarded() {
        lieOnLine(NAK + NAK + NAK + bytes("late"));
        expectUsable();
    }

    void abort() {
        m_peer.play([](Peer &line) {
            line.expect(CAN);
            line.write(EOT);
        });
        EXPECT_NO_FAILURE(abecs_link_abort(pinpad()));
        m_peer.finish();
    }

    void failWithSilence() {
        m_peer.play([](Peer &line) {
            line.expect(COMMAND);
            line.expectSilence(PAST_ANSWER);
        });
        EXPECT_FAILURE(send("DEX003000"), PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
        m_peer.finish();
    }
};

TEST_F(LateInput, IsTheVerdictOnANewSession) {
    expectTakenForTheAnswer();
}

TEST_F(LateInput, IsTheVerdictAndTheAnswerAfterAGoodExchange) {
    expectUsable();
    lieOnLine(ACK + ANSWER);
    m_peer.play([](Peer &line) {
        line.expect(COMMAND);
        line.expectSilence(50ms);
    });
    put(bytes("DEX003000"));
    EXPECT_NO_FAILURE(abecs_link_exchange(pinpad(), packet()));
    EXPECT_EQ(bytes("DEX000"), content());
    abecs_pinpad_settle(pinpad());
    m_peer.finish();
    expectTakenForTheAnswer();
}

TEST_F(LateInput, IsDiscardedAfterACommandThatWasNotAcknowledged) {
    failWithSilence();
    expectDiscarded();
    expectTakenForTheAnswer();
}

TEST_F(LateInput, IsDiscardedAfterThreeRefusals) {
    expectTakenForTheAnswer();
    expectDiscarded();
}

TEST_F(LateInput, IsDiscardedAfterAnAnswerThatDoesNotBegin) {
    m_peer.play([](Peer &line) {
        line.expect(COMMAND);
        line.write(ACK + bytes("x"));
    });
    put(bytes("DEX003000"));
    EXPECT_FAILURE(abecs_link_exchange(pinpad(), packet()), PCL_RESULT_PROTOCOL_ERROR,
                   "Protocol error (expected SYN, read 0x78)");
    expectDiscarded();
}

TEST_F(LateInput, IsDiscardedAfterAnAnswerThatIsNotUnderstood) {
    m_peer.play([](Peer &line) {
        line.expect(COMMAND);
        line.write(ACK + ANSWER);
    });
    put(bytes("DEX003000"));
    EXPECT_NO_FAILURE(abecs_link_exchange(pinpad(), packet()));
    expectDiscarded();
}

TEST_F(LateInput, IsDiscardedAfterAnAnswerThatDoesNotCome) {
    m_peer.play([](Peer &line) {
        line.expect(COMMAND);
        line.write(ACK);
        line.expectSilence(PAST_RESPONSE);
    });
    put(bytes("DEX003000"));
    EXPECT_FAILURE(abecs_link_exchange(pinpad(), packet()), PCL_RESULT_TIMEOUT_ERROR,
                   "Timeout waiting for data");
    expectDiscarded();
}

TEST_F(LateInput, IsDiscardedAfterAnAbortThatFailed) {
    m_peer.play([](Peer &line) {
        line.expect(CAN);
        line.expectSilence(PAST_ANSWER);
    });
    EXPECT_FAILURE(abecs_link_abort(pinpad()), PCL_RESULT_TIMEOUT_ERROR,
                   "Timeout waiting for data");
    m_peer.finish();
    lieOnLine(EOT);
    expectUsable();
}

// The EOT of the abort that failed lies there, and the one of the next abort is still to come.
TEST_F(LateInput, IsDiscardedByTheAbortAfterAFailure) {
    failWithSilence();
    lieOnLine(EOT);
    m_peer.play([](Peer &line) {
        line.expect(CAN);
        std::this_thread::sleep_for(50ms);
        line.write(EOT);
    });
    EXPECT_NO_FAILURE(abecs_link_abort(pinpad()));
    m_peer.finish();
    EXPECT_EQ(0U, pcl_serial_bytes_available(pinpad()->port));
    expectUsable();
}

TEST_F(LateInput, IsTheVerdictAfterAnAbortThatWorked) {
    abort();
    expectTakenForTheAnswer();
}

// The answer of the command that failed may come after that of the abort.
TEST_F(LateInput, IsDiscardedAfterAFailureThatAnAbortFollowed) {
    failWithSilence();
    abort();
    expectDiscarded();
}

TEST_F(LateInput, IsTheVerdictAfterAPollInVain) {
    ASSERT_NO_FAILURE(abecs_pinpad_set_pending(pinpad(), "GCD"));
    m_peer.play([](Peer &line) { line.expectSilence(PAST_ANSWER); });
    EXPECT_FAILURE(abecs_link_receive_response(pinpad(), packet()), PCL_RESULT_TIMEOUT_ERROR,
                   "Timeout waiting for data");
    EXPECT_NO_FAILURE(abecs_pinpad_clear_pending(pinpad()));
    expectTakenForTheAnswer();
}

TEST_F(LateInput, IsTheVerdictAfterARefusedCall) {
    EXPECT_FAILURE(send("DE"), PCL_RESULT_IO_ERROR,
                   "Buffer does not have enough data (requested: 3, available: 2)");
    ASSERT_NO_FAILURE(abecs_pinpad_set_pending(pinpad(), "GCD"));
    EXPECT_FAILURE(send("DEX003000"), PCL_RESULT_ILLEGAL_STATE,
                   "Connection is blocked waiting for GCD response");
    EXPECT_NO_FAILURE(abecs_pinpad_clear_pending(pinpad()));
    expectTakenForTheAnswer();
}

} // namespace
