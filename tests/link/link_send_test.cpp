// Commands on their way to the device. The frames are written out byte by byte; their CRCs were
// worked out with
//   python3 -c "import binascii; print(hex(binascii.crc_hqx(BODY + b'\x17', 0)))"

#include "tests/link/session_fixture.h"
#include "tests/support/wall_clock.h"

#include <numeric>

namespace {

using namespace line;

class LinkSend : public Link {
protected:
    void expectFailureKeepsTime(PclResult_e code, const char *detail) {
        const std::uint64_t before = pinpad()->lastCommandTime;
        pcl_sleep_millis(5);
        EXPECT_FAILURE(send("DEX003000"), code, detail);
        EXPECT_EQ(before, pinpad()->lastCommandTime);
        m_peer.finish();
    }
};

TEST_F(LinkSend, FramesABodyBetweenSynAndEtb) {
    expectSent(bytes("DEX003000"),
               {0x16, 0x44, 0x45, 0x58, 0x30, 0x30, 0x33, 0x30, 0x30, 0x30, 0x17, 0x38, 0xB6});
}

TEST_F(LinkSend, StuffsThreeBytesAndNoOther) {
    // crc_hqx(b'ABC\x13\x16\x17\x12\x18\x04\x06\x15\x17', 0)
    expectSent(bytes("ABC") + Bytes{0x13, 0x16, 0x17, 0x12, 0x18, 0x04, 0x06, 0x15},
               SYN + bytes("ABC") + Bytes{0x13, 0x33, 0x13, 0x36, 0x13, 0x37} +
                   Bytes{0x12, 0x18, 0x04, 0x06, 0x15} + ETB + Bytes{0x65, 0xCE});
}

TEST_F(LinkSend, CarriesEveryByte) {
    Bytes values(256);
    std::iota(values.begin(), values.end(), std::uint8_t{0});
    const Bytes upTo12(values.begin(), values.begin() + 0x13);
    const Bytes from18(values.begin() + 0x18, values.end());
    // crc_hqx(b'ABC' + bytes(range(256)) + b'\x17', 0)
    expectSent(bytes("ABC") + values, SYN + bytes("ABC") + upTo12 +
                                          Bytes{0x13, 0x33, 0x14, 0x15, 0x13, 0x36, 0x13, 0x37} +
                                          from18 + ETB + Bytes{0x19, 0x39});
}

TEST_F(LinkSend, DoesNotStuffTheCrc) {
    expectSent(bytes("DEX0040282"), SYN + bytes("DEX0040282") + ETB + Bytes{0x16, 0x16});
    expectSent(bytes("DEX0041869"), SYN + bytes("DEX0041869") + ETB + Bytes{0x13, 0x17});
}

TEST_F(LinkSend, SendsAWholePacketOfStuffedBytes) {
    Bytes stuffed;
    for (int i = 0; i < 2041; ++i) {
        stuffed.insert(stuffed.end(), {0x13, 0x36});
    }
    // crc_hqx(b'ABC' + b'\x16' * 2041 + b'\x17', 0)
    expectSent(bytes("ABC") + Bytes(2041, 0x16),
               SYN + bytes("ABC") + stuffed + ETB + Bytes{0x3E, 0xD5});
}

TEST_F(LinkSend, ResendsTheSameBytesOnNak) {
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
    EXPECT_EQ(bytes("DEX003000"), content());
    m_peer.finish();
}

TEST_F(LinkSend, ResendsAStuffedBodyFromItsStart) {
    // crc_hqx(b'ABC\x13\x17', 0)
    const Bytes frame = SYN + bytes("ABC") + Bytes{0x13, 0x33} + ETB + Bytes{0x48, 0xC6};
    m_peer.play([frame](Peer &line) {
        line.expect(frame);
        line.write(NAK);
        line.expect(frame);
        line.write(ACK);
    });
    put(bytes("ABC\x13"));
    EXPECT_NO_FAILURE(abecs_link_send_command(pinpad(), packet()));
    m_peer.finish();
}

TEST_F(LinkSend, GivesUpAfterThreeNaks) {
    m_peer.play([](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.expect(COMMAND);
            line.write(NAK);
        }
        line.expectSilence(50ms);
    });
    expectFailureKeepsTime(PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected");
    expectUsable();
}

TEST_F(LinkSend, RefusesAnotherAnswerThanAckAndNakAndDrainsTheLine) {
    m_peer.play([](Peer &line) {
        line.expect(COMMAND);
        line.write(bytes("Zgarbage"));
        line.expectSilence(50ms);
    });
    expectFailureKeepsTime(PCL_RESULT_PROTOCOL_ERROR,
                           "Protocol error (unknown packet response: 0x5a)");
    EXPECT_EQ(0U, pcl_serial_bytes_available(pinpad()->port));
    expectUsable();
}

TEST_F(LinkSend, RefusesAnotherAnswerAfterANak) {
    m_peer.play([](Peer &line) {
        line.expect(COMMAND);
        line.write(NAK);
        line.expect(COMMAND);
        line.write({0x04});
        line.expectSilence(50ms);
    });
    expectFailureKeepsTime(PCL_RESULT_PROTOCOL_ERROR,
                           "Protocol error (unknown packet response: 0x4)");
    expectUsable();
}

TEST_F(LinkSend, DoesNotRepeatACommandThatIsMetWithSilence) {
    m_peer.play([](Peer &line) {
        line.expect(COMMAND);
        line.expectSilence(PAST_ANSWER);
    });
    expectFailureKeepsTime(PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
    expectUsable();
}

TEST_F(LinkSend, WaitsTwoSecondsForTheAcknowledgement) {
    pcl_serial_set_time_divisor(1);
    m_peer.play([](Peer &line) { line.expect(COMMAND); });
    const Elapsed waited = timeOf([&] {
        EXPECT_FAILURE(send("DEX003000"), PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
    });
    EXPECT_GE(waited, 2000ms);
    EXPECT_LT(waited, 2500ms);
    m_peer.finish();
}

TEST_F(LinkSend, SendsNothingWhileAnotherCommandIsPending) {
    ASSERT_NO_FAILURE(abecs_pinpad_set_pending(pinpad(), "GCD"));
    m_peer.play([](Peer &line) {
        line.write(ANSWER);
        line.expectSilence(100ms);
    });
    waitForInput(ANSWER.size());
    expectFailureKeepsTime(PCL_RESULT_ILLEGAL_STATE,
                           "Connection is blocked waiting for GCD response");
    // What came may be the answer that is awaited.
    EXPECT_NO_FAILURE(abecs_link_receive_response(pinpad(), packet()));
    EXPECT_EQ(bytes("DEX000"), content());
    EXPECT_NO_FAILURE(abecs_pinpad_clear_pending(pinpad()));
    expectUsable();
}

TEST_F(LinkSend, SendsNothingOfABodyWithoutIdentifier) {
    m_peer.play([](Peer &line) { line.expectSilence(100ms); });
    EXPECT_FAILURE(send("DE"), PCL_RESULT_IO_ERROR,
                   "Buffer does not have enough data (requested: 3, available: 2)");
    expectUsable();
}

TEST_F(LinkSend, FailsAtOnceWhenTheLineHangsUp) {
    pcl_serial_set_time_divisor(1);
    m_peer.play([](Peer &line) {
        line.expect(COMMAND);
        line.hangUp();
    });
    const Elapsed waited = timeOf(
        [&] { EXPECT_FAILURE(send("DEX003000"), PCL_RESULT_IO_ERROR, "ReadFile() error: 5"); });
    EXPECT_LT(waited, 1000ms);
    m_peer.finish();
}

TEST_F(LinkSend, FailsWithTheWriteOnALineThatIsGone) {
    m_peer.hangUp();
    EXPECT_FAILURE(send("DEX003000"), PCL_RESULT_IO_ERROR, "WriteFile() error: 5");
}

TEST_F(LinkSend, TakesTheTimeOfTheAcknowledgement) {
    m_peer.play([](Peer &line) {
        line.expect(COMMAND);
        line.pause(50ms);
        line.write(ACK);
    });
    const std::uint64_t start = pcl_monotonic_millis();
    EXPECT_NO_FAILURE(send("DEX003000"));
    EXPECT_GE(pinpad()->lastCommandTime, start + 50);
    EXPECT_LE(pinpad()->lastCommandTime, pcl_monotonic_millis());
    m_peer.finish();
}

class Pacing : public Link {
protected:
    Elapsed timeOfSend() {
        m_peer.play([](Peer &line) {
            line.expect(COMMAND);
            line.write(ACK);
        });
        const Elapsed taken = timeOf([&] { EXPECT_NO_FAILURE(send("DEX003000")); });
        m_peer.finish();
        return taken;
    }
};

TEST_F(Pacing, SleepsWhatIsLeftOfTheInterval) {
    EXPECT_EQ(0U, abecs_pinpad_get_min_interval(pinpad()));
    abecs_pinpad_set_min_interval(pinpad(), 500);
    EXPECT_EQ(500U, abecs_pinpad_get_min_interval(pinpad()));
    timeOfSend();
    pcl_sleep_millis(200);
    m_peer.play([](Peer &line) {
        line.expectSilence(200ms);
        line.expect(COMMAND);
        line.write(ACK);
    });
    const std::uint64_t acknowledged = pinpad()->lastCommandTime;
    const Elapsed taken = timeOf([&] { EXPECT_NO_FAILURE(send("DEX003000")); });
    m_peer.finish();
    EXPECT_GE(pinpad()->lastCommandTime, acknowledged + 500);
    EXPECT_LT(taken, 480ms);
}

TEST_F(Pacing, DoesNotWaitAfterTheInterval) {
    abecs_pinpad_set_min_interval(pinpad(), 2000);
    pinpad()->lastCommandTime = pcl_monotonic_millis() - 2000;
    EXPECT_LT(timeOfSend(), 1000ms);
}

TEST_F(Pacing, DoesNotWaitWithoutAnInterval) {
    pinpad()->lastCommandTime = pcl_monotonic_millis() + 2000;
    EXPECT_LT(timeOfSend(), 1000ms);
}

TEST_F(Pacing, ASettingOfTheClockChangesNothing) {
    abecs_pinpad_set_min_interval(pinpad(), 1000);
    for (const std::chrono::seconds shift : {-1h, 1h}) {
        abecs_pinpad_mark_command_time(pinpad());
        const std::uint64_t acknowledged = pinpad()->lastCommandTime;
        pcl_sleep_millis(600);
        const WallClockSet set(shift);
        EXPECT_LT(timeOfSend(), 900ms);
        EXPECT_GE(pinpad()->lastCommandTime, acknowledged + 1000);
    }
}

TEST_F(Pacing, ComesBeforeTheCheckForAPendingCommand) {
    abecs_pinpad_set_min_interval(pinpad(), 200);
    abecs_pinpad_mark_command_time(pinpad());
    abecs_pinpad_set_pending(pinpad(), "GCD");
    const Elapsed taken = timeOf([&] {
        EXPECT_FAILURE(send("DEX003000"), PCL_RESULT_ILLEGAL_STATE,
                       "Connection is blocked waiting for GCD response");
    });
    EXPECT_GE(taken, 190ms);
}

TEST_F(Pacing, DoesNotHoldUpARepetition) {
    abecs_pinpad_set_min_interval(pinpad(), 2000);
    pinpad()->lastCommandTime = pcl_monotonic_millis() - 2000;
    m_peer.play([](Peer &line) {
        line.expect(COMMAND);
        line.write(NAK);
        line.expect(COMMAND);
        line.write(ACK);
    });
    EXPECT_LT(timeOf([&] { EXPECT_NO_FAILURE(send("DEX003000")); }), 1000ms);
    m_peer.finish();
}

TEST_F(LinkSend, ChecksItsArguments) {
    EXPECT_FAILURE(abecs_link_send_command(nullptr, packet()), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_link_send_command(nullptr, nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_link_send_command(pinpad(), nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'packet' is NULL");
    EXPECT_FAILURE(abecs_link_send_frame(nullptr, packet(), nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_link_send_frame(pinpad(), nullptr, nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'packet' is NULL");
    EXPECT_EQ(0U, m_peer.waiting());
}

// With no frame open, each failure goes to the handler once, and after it nothing more happens on
// the line.
class LinkSendWithHandler : public LinkSend {
protected:
    void expectRaised(PclResult_e code, const char *detail) {
        ASSERT_EQ(1U, m_handler.count());
        EXPECT_EQ(code, m_handler.code());
        EXPECT_EQ(failures::text(code, detail), m_handler.message());
        m_peer.finish();
        m_handler.clear();
    }

    ScopedHandler m_handler;
};

TEST_F(LinkSendWithHandler, WritesNothingWithoutSessionOrPacket) {
    m_peer.play([](Peer &line) { line.expectSilence(100ms); });
    abecs_link_send_command(nullptr, packet());
    abecs_link_send_command(pinpad(), nullptr);
    abecs_link_send_frame(nullptr, packet(), nullptr);
    abecs_link_send_frame(pinpad(), nullptr, nullptr);
    m_peer.finish();
    ASSERT_EQ(4U, m_handler.count());
    const char *expected[] = {"'pinpad' is NULL", "'packet' is NULL", "'pinpad' is NULL",
                              "'packet' is NULL"};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(failures::text(PCL_RESULT_ILLEGAL_ARGUMENT, expected[i]),
                  m_handler.all()[i].message);
    }
}

TEST_F(LinkSendWithHandler, WritesNothingWhileACommandIsPending) {
    abecs_pinpad_set_pending(pinpad(), "GCD");
    m_peer.play([](Peer &line) { line.expectSilence(100ms); });
    send("DEX003000");
    expectRaised(PCL_RESULT_ILLEGAL_STATE, "Connection is blocked waiting for GCD response");
}

TEST_F(LinkSendWithHandler, StopsAfterTheLastNak) {
    m_peer.play([](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.expect(COMMAND);
            line.write(NAK);
        }
        line.expectSilence(100ms);
    });
    const std::uint64_t before = pinpad()->lastCommandTime;
    send("DEX003000");
    expectRaised(PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected");
    EXPECT_EQ(before, pinpad()->lastCommandTime);
}

TEST_F(LinkSendWithHandler, StopsAfterSilence) {
    m_peer.play([](Peer &line) {
        line.expect(COMMAND);
        line.expectSilence(PAST_ANSWER);
    });
    send("DEX003000");
    expectRaised(PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
}

TEST_F(LinkSendWithHandler, DoesNotReadAnAnswerToACommandThatWasNotSent) {
    abecs_pinpad_set_pending(pinpad(), "GCD");
    m_peer.play([](Peer &line) { line.expectSilence(100ms); });
    put(bytes("DEX003000"));
    abecs_link_exchange(pinpad(), packet());
    expectRaised(PCL_RESULT_ILLEGAL_STATE, "Connection is blocked waiting for GCD response");
}

} // namespace
