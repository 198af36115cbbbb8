// The frames of this file are written out byte by byte. Their CRCs were worked out with
//   python3 -c "import binascii; print(hex(binascii.crc_hqx(BODY + b'\x17', 0)))"
// (with b'\x12' in front of the body of an encrypted frame).

#include "tests/link/session_fixture.h"

#include <cstring>

namespace {

using namespace line;

TEST_F(Link, StuffsThreeBytesAndNoOther) {
    m_peer.play([](Peer &line) {
        // python3: crc_hqx(b'ABC\x13\x16\x17\x12\x18\x04\x06\x15\x17', 0)
        line.expect(SYN + bytes("ABC") + Bytes{0x13, 0x33, 0x13, 0x36, 0x13, 0x37} +
                    Bytes{0x12, 0x18, 0x04, 0x06, 0x15} + ETB + Bytes{0x65, 0xCE});
        line.write(ACK);
    });
    put(bytes("ABC") + Bytes{0x13, 0x16, 0x17, 0x12, 0x18, 0x04, 0x06, 0x15});
    EXPECT_NO_FAILURE(abecs_link_send_command(pinpad(), packet()));
    m_peer.finish();
}

TEST_F(Link, ResendsTheSameBytesOnNak) {
    m_peer.play([](Peer &line) {
        line.expect(COMMAND);
        line.write(NAK);
        line.expect(COMMAND);
        line.write(NAK);
        line.expect(COMMAND);
        line.write(ACK);
        line.expectSilence(50ms);
    });
    EXPECT_NO_FAILURE(send("DEX003000"));
    m_peer.finish();
}

TEST_F(Link, GivesUpAfterThreeNaks) {
    m_peer.play([](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.expect(COMMAND);
            line.write(NAK);
        }
        line.expectSilence(50ms);
    });
    EXPECT_FAILURE(send("DEX003000"), PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected");
    expectUsable();
}

TEST_F(Link, RefusesAnotherAnswerThanAckAndNakAndDrainsTheLine) {
    m_peer.play([](Peer &line) {
        line.expect(COMMAND);
        line.write(bytes("Zgarbage"));
    });
    EXPECT_FAILURE(send("DEX003000"), PCL_RESULT_PROTOCOL_ERROR,
                   "Protocol error (unknown packet response: 0x5a)");
    EXPECT_EQ(0U, pcl_serial_bytes_available(pinpad()->port));
    expectUsable();
}

TEST_F(Link, DoesNotRepeatACommandThatIsMetWithSilence) {
    m_peer.play([](Peer &line) {
        line.expect(COMMAND);
        line.expectSilence(300ms);
    });
    const std::uint64_t before = pinpad()->lastCommandTime;
    EXPECT_FAILURE(send("DEX003000"), PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
    EXPECT_EQ(before, pinpad()->lastCommandTime);
    expectUsable();
}

TEST_F(Link, WaitsTwoSecondsForTheAcknowledgement) {
    pcl_serial_set_time_divisor(1);
    m_peer.play([](Peer &line) { line.expect(COMMAND); });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FAILURE(send("DEX003000"), PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, 2000ms);
    EXPECT_LE(waited, 2300ms);
    m_peer.finish();
}

TEST_F(Link, DoesNotTakeAStaleByteForTheAcknowledgement) {
    m_peer.play([](Peer &line) { line.write(ACK + NAK + bytes("late")); });
    m_peer.finish();
    pcl_sleep_millis(20);
    m_peer.play([](Peer &line) {
        line.expect(COMMAND);
        line.expectSilence(200ms);
    });
    EXPECT_FAILURE(send("DEX003000"), PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
    m_peer.finish();
}

TEST_F(Link, SendsNothingWhileAnotherCommandIsPending) {
    ASSERT_NO_FAILURE(abecs_pinpad_set_pending(pinpad(), "GCD"));
    m_peer.play([](Peer &line) { line.expectSilence(100ms); });
    EXPECT_FAILURE(send("DEX003000"), PCL_RESULT_ILLEGAL_STATE,
                   "Connection is blocked waiting for GCD response");
    m_peer.finish();
    EXPECT_NO_FAILURE(abecs_pinpad_clear_pending(pinpad()));
    expectUsable();
}

TEST_F(Link, PacesCommands) {
    EXPECT_EQ(0U, abecs_pinpad_get_min_interval(pinpad()));
    abecs_pinpad_set_min_interval(pinpad(), 500);
    EXPECT_EQ(500U, abecs_pinpad_get_min_interval(pinpad()));
    abecs_pinpad_mark_command_time(pinpad());
    pcl_sleep_millis(200);
    m_peer.play([](Peer &line) {
        line.expect(COMMAND);
        line.write(ACK);
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_NO_FAILURE(send("DEX003000"));
    const auto slept = std::chrono::steady_clock::now() - start;
    EXPECT_GE(slept, 285ms);
    EXPECT_LE(slept, 480ms);
    m_peer.finish();
}

TEST_F(Link, DoesNotWaitWithoutAnInterval) {
    m_peer.play([](Peer &line) {
        line.expect(COMMAND);
        line.write(ACK);
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_NO_FAILURE(send("DEX003000"));
    EXPECT_LE(std::chrono::steady_clock::now() - start, 200ms);
    m_peer.finish();
}

TEST_F(Link, ReadsAStuffedResponse) {
    m_peer.play([](Peer &line) {
        // python3: crc_hqx(b'ABC\x13\x16\x17\x12\x18\x04\x06\x15\x17', 0)
        line.write(SYN + bytes("ABC") + Bytes{0x13, 0x33, 0x13, 0x36, 0x13, 0x37} +
                   Bytes{0x12, 0x18, 0x04, 0x06, 0x15} + ETB + Bytes{0x65, 0xCE});
        line.expectSilence(50ms);
    });
    EXPECT_NO_FAILURE(abecs_link_receive_response(pinpad(), packet()));
    EXPECT_EQ(bytes("ABC") + Bytes({0x13, 0x16, 0x17, 0x12, 0x18, 0x04, 0x06, 0x15}), content());
    m_peer.finish();
}

TEST_F(Link, TakesAnyByteAfterTheEscapeMinus0x20) {
    m_peer.play([](Peer &line) {
        // 13 17 is F7, 13 00 is E0: crc_hqx(b'\xf7\xe0\x17', 0)
        line.write(SYN + Bytes{0x13, 0x17, 0x13, 0x00} + ETB + Bytes{0x14, 0xA6});
    });
    EXPECT_NO_FAILURE(abecs_link_receive_response(pinpad(), packet()));
    EXPECT_EQ((Bytes{0xF7, 0xE0}), content());
    m_peer.finish();
}

TEST_F(Link, TakesDc2LaterInTheFrameForData) {
    m_peer.play([](Peer &line) {
        line.write(SYN + Bytes{'A', 0x12, 'B'} + ETB + Bytes{0x3C, 0x53});
    });
    EXPECT_NO_FAILURE(abecs_link_receive_response(pinpad(), packet()));
    EXPECT_EQ((Bytes{'A', 0x12, 'B'}), content());
    m_peer.finish();
}

TEST_F(Link, AsksAgainForADamagedResponse) {
    m_peer.play([](Peer &line) {
        line.write(SYN + bytes("DEX000") + ETB + Bytes{0x00, 0x00});
        line.expect(NAK);
        line.write(SYN + bytes("DEX0"));
        line.expect(NAK);
        line.write(ANSWER);
        line.expectSilence(50ms);
    });
    EXPECT_NO_FAILURE(abecs_link_receive_response(pinpad(), packet()));
    EXPECT_EQ(bytes("DEX000"), content());
    m_peer.finish();
}

TEST_F(Link, GivesUpAfterThreeDamagedResponses) {
    m_peer.play([](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.write(SYN + bytes("DEX000") + ETB + Bytes{0x00, 0x00});
            line.expect(NAK);
        }
        line.expectSilence(50ms);
    });
    EXPECT_FAILURE(abecs_link_receive_response(pinpad(), packet()), PCL_RESULT_TIMEOUT_ERROR,
                   "No response in 3 attempts");
    expectUsable();
}

TEST_F(Link, DoesNotRetryOrDrainWhatDoesNotBeginWithSyn) {
    m_peer.play([](Peer &line) {
        line.write(bytes("xyz"));
        line.expectSilence(100ms);
    });
    EXPECT_FAILURE(abecs_link_receive_response(pinpad(), packet()), PCL_RESULT_PROTOCOL_ERROR,
                   "Protocol error (expected SYN, read 0x78)");
    EXPECT_EQ(2U, pcl_serial_bytes_available(pinpad()->port));
    expectUsable();
}

TEST_F(Link, WaitsTenSecondsForAResponseAndTwoWhileACommandIsPending) {
    const auto waitedFor = [&] {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FAILURE(abecs_link_receive_response(pinpad(), packet()), PCL_RESULT_TIMEOUT_ERROR,
                       "Timeout waiting for data");
        return std::chrono::steady_clock::now() - start;
    };
    const auto idle = waitedFor();
    EXPECT_GE(idle, 10000ms / TIME_DIVISOR);
    EXPECT_LE(idle, 10000ms / TIME_DIVISOR + 250ms);
    abecs_pinpad_set_pending(pinpad(), "GCD");
    const auto pending = waitedFor();
    EXPECT_GE(pending, 2000ms / TIME_DIVISOR);
    EXPECT_LE(pending, 2000ms / TIME_DIVISOR + 250ms);
}

TEST_F(Link, HoldsAResponseOf2044BytesAndRefusesALongerOne) {
    m_peer.play([](Peer &line) { line.write(SYN + Bytes(2044, 'X') + ETB + Bytes{0xFD, 0xEF}); });
    EXPECT_NO_FAILURE(abecs_link_receive_response(pinpad(), packet()));
    EXPECT_EQ(Bytes(2044, 'X'), content());
    m_peer.finish();
    m_peer.play([](Peer &line) { line.write(SYN + Bytes(2045, 'X') + ETB + Bytes{0xAE, 0x96}); });
    EXPECT_FAILURE(abecs_link_receive_response(pinpad(), packet()), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 0, requested: 1)");
    expectUsable();
}

TEST_F(Link, FailsAtOnceWhenTheLineHangsUp) {
    m_peer.play([](Peer &line) {
        line.expect(COMMAND);
        line.hangUp();
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FAILURE(send("DEX003000"), PCL_RESULT_IO_ERROR, "ReadFile() error: 5");
    EXPECT_LE(std::chrono::steady_clock::now() - start, 200ms);
    m_peer.finish();
}

TEST_F(Link, AbortsWithOneCanWhenEotComes) {
    abecs_pinpad_set_pending(pinpad(), "GCD");
    m_peer.play([](Peer &line) {
        line.expect(CAN);
        line.write(EOT);
        line.expectSilence(50ms);
    });
    EXPECT_NO_FAILURE(abecs_link_abort(pinpad()));
    EXPECT_STREQ("", abecs_pinpad_get_pending(pinpad()).text);
    m_peer.finish();
}

TEST_F(Link, AbortsAtMostThreeTimes) {
    abecs_pinpad_set_pending(pinpad(), "GCD");
    m_peer.play([](Peer &line) {
        for (const std::uint8_t answer : Bytes{0x15, 0x06, 0x3F}) {
            line.expect(CAN);
            line.write({answer});
        }
        line.expectSilence(50ms);
    });
    EXPECT_FAILURE(abecs_link_abort(pinpad()), PCL_RESULT_PROTOCOL_ERROR,
                   "Protocol error (expected EOT, read 0x3f)");
    EXPECT_STREQ("GCD", abecs_pinpad_get_pending(pinpad()).text);
    m_peer.finish();
}

TEST_F(Link, DoesNotRepeatAnAbortThatIsMetWithSilence) {
    m_peer.play([](Peer &line) {
        line.expect(CAN);
        line.expectSilence(200ms);
    });
    EXPECT_FAILURE(abecs_link_abort(pinpad()), PCL_RESULT_TIMEOUT_ERROR,
                   "Timeout waiting for data");
    m_peer.finish();
}

TEST_F(Link, DrainsUntilTheLineIsSilent) {
    m_peer.play([](Peer &line) {
        for (int i = 0; i < 10; ++i) {
            line.write(bytes("noise"));
            line.pause(10ms);
        }
    });
    EXPECT_NO_FAILURE(abecs_link_drain_input(pinpad()->port));
    m_peer.finish();
    EXPECT_EQ(0U, pcl_serial_bytes_available(pinpad()->port));
}

TEST_F(Link, ChecksItsArguments) {
    EXPECT_FAILURE(abecs_link_send_command(nullptr, packet()), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_link_send_command(pinpad(), nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'packet' is NULL");
    EXPECT_FAILURE(abecs_link_receive_response(pinpad(), nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'out' is NULL");
    EXPECT_FAILURE(abecs_link_receive_response(nullptr, packet()), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_link_abort(nullptr), PCL_RESULT_ILLEGAL_ARGUMENT, "pinpad is NULL");
}

TEST_F(Link, WritesNothingAfterAFailureThatAHandlerLetPass) {
    abecs_pinpad_set_pending(pinpad(), "GCD");
    m_peer.play([](Peer &line) { line.expectSilence(100ms); });
    const ScopedHandler handler;
    send("DEX003000");
    ASSERT_EQ(1U, handler.count());
    EXPECT_EQ(
        failures::text(PCL_RESULT_ILLEGAL_STATE, "Connection is blocked waiting for GCD response"),
        handler.message());
    m_peer.finish();
}

class Session : public Link {};

TEST_F(Session, StartsIdleAndPlain) {
    EXPECT_EQ(0, pinpad()->secure);
    EXPECT_STREQ("", abecs_pinpad_get_pending(pinpad()).text);
    EXPECT_EQ(0U, abecs_pinpad_get_min_interval(pinpad()));
}

TEST_F(Session, SetsThePendingCommandOfThreeCharacters) {
    EXPECT_FAILURE(abecs_pinpad_set_pending(pinpad(), nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "NULL/empty 'cmdId'");
    EXPECT_FAILURE(abecs_pinpad_set_pending(pinpad(), ""), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "NULL/empty 'cmdId'");
    EXPECT_FAILURE(abecs_pinpad_set_pending(pinpad(), "GC"), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'cmdId' is too long: GC");
    EXPECT_FAILURE(abecs_pinpad_set_pending(pinpad(), "GCDX"), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'cmdId' is too long: GCDX");
    EXPECT_NO_FAILURE(abecs_pinpad_set_pending(pinpad(), "GCD"));
    EXPECT_STREQ("GCD", abecs_pinpad_get_pending(pinpad()).text);
    EXPECT_FAILURE(abecs_pinpad_set_pending(pinpad(), "CEX"), PCL_RESULT_ILLEGAL_STATE,
                   "Connection is blocked waiting for GCD response");
    EXPECT_FAILURE(abecs_pinpad_set_pending(pinpad(), nullptr), PCL_RESULT_ILLEGAL_STATE,
                   "Connection is blocked waiting for GCD response");
}

TEST_F(Session, InstallsAndWipesTheKey) {
    const std::uint8_t key[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    abecs_pinpad_set_session_key(pinpad(), key);
    EXPECT_EQ(1, pinpad()->secure);
    EXPECT_EQ(0, std::memcmp(key, pinpad()->sessionKey.data(), sizeof key));
    abecs_pinpad_set_session_key(pinpad(), nullptr);
    EXPECT_EQ(0, pinpad()->secure);
    EXPECT_EQ((std::array<std::uint8_t, 16>{}), pinpad()->sessionKey);
}

TEST_F(Session, ChecksForANullSession) {
    EXPECT_FAILURE(abecs_pinpad_set_session_key(nullptr, nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "pinpad is NULL");
    EXPECT_FAILURE(abecs_pinpad_set_min_interval(nullptr, 1), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_pinpad_get_min_interval(nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_pinpad_check_not_blocked(nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_pinpad_set_pending(nullptr, "GCD"), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_pinpad_clear_pending(nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_pinpad_get_pending(nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'pinpad' is NULL");
    EXPECT_NO_FAILURE(abecs_pinpad_destroy(nullptr));
    AbecsPinpad *none = nullptr;
    EXPECT_NO_FAILURE(abecs_pinpad_destroy(&none));
}

TEST_F(Session, FreesThePortWhenItIsDestroyed) {
    AbecsPinpad *session = m_pinpad.release();
    EXPECT_NO_FAILURE(abecs_pinpad_destroy(&session));
    EXPECT_EQ(nullptr, session);
    m_peer.play([](Peer &line) {
        line.expect(CAN);
        line.write(EOT);
    });
    EXPECT_NO_FAILURE(m_pinpad.reset(abecs_pinpad_create(m_peer.port().c_str())));
    m_peer.finish();
}

TEST_F(Session, FreesThePortWhenItsCreationFails) {
    m_pinpad.reset();
    const auto create = [&] { m_pinpad.reset(abecs_pinpad_create(m_peer.port().c_str())); };
    m_peer.play([](Peer &line) { line.expect(CAN); });
    EXPECT_FAILURE(create(), PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
    m_peer.finish();
    m_peer.play([](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.expect(CAN);
            line.write(NAK);
        }
    });
    EXPECT_FAILURE(create(), PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected EOT, read 0x15)");
    m_peer.finish();
    m_peer.play([](Peer &line) {
        line.expect(CAN);
        line.write(EOT);
    });
    EXPECT_NO_FAILURE(create());
    m_peer.finish();
}

} // namespace
