// Responses on their way from the device. The frames are written out byte by byte; their CRCs were
// worked out with
//   python3 -c "import binascii; print(hex(binascii.crc_hqx(BODY + b'\x17', 0)))"
// (with b'\x12' in front of the body of an encrypted frame).

#include "tests/link/session_fixture.h"

namespace {

using namespace line;

const Bytes BAD_CRC = SYN + bytes("DEX000") + ETB + Bytes{0xAC, 0x2A};

class LinkReceive : public Link {
protected:
    void receive() { abecs_link_receive_response(pinpad(), packet()); }

    void expectFails(PclResult_e code, const char *detail) {
        EXPECT_FAILURE(receive(), code, detail);
        m_peer.finish();
    }

    // The frame does not come whole: after a NAK it is taken.
    void expectAskedForAgain(const Bytes &broken) {
        m_peer.play([broken](Peer &line) {
            line.write(broken);
            line.expect(NAK);
            line.write(ANSWER);
            line.expectSilence(50ms);
        });
        EXPECT_NO_FAILURE(receive());
        EXPECT_EQ(bytes("DEX000"), content());
        m_peer.finish();
    }

    Elapsed timeOfSilence() {
        return timeOf([&] { expectFails(PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data"); });
    }
};

TEST_F(LinkReceive, TakesAGoodFrameAndDoesNotAcknowledgeIt) {
    expectReceived({0x16, 0x44, 0x45, 0x58, 0x30, 0x30, 0x30, 0x17, 0xAC, 0x2B}, bytes("DEX000"));
}

TEST_F(LinkReceive, ReplacesWhatThePacketHeld) {
    put(bytes("something longer than the answer"));
    expectReceived(ANSWER, bytes("DEX000"));
}

TEST_F(LinkReceive, ReadsAStuffedResponse) {
    // crc_hqx(b'ABC\x13\x16\x17\x12\x18\x04\x06\x15\x17', 0)
    expectReceived(SYN + bytes("ABC") + Bytes{0x13, 0x33, 0x13, 0x36, 0x13, 0x37} +
                       Bytes{0x12, 0x18, 0x04, 0x06, 0x15} + ETB + Bytes{0x65, 0xCE},
                   bytes("ABC") + Bytes{0x13, 0x16, 0x17, 0x12, 0x18, 0x04, 0x06, 0x15});
}

TEST_F(LinkReceive, TakesAnyByteAfterTheEscapeMinus0x20) {
    // 13 17 is F7, 13 00 is E0, 13 13 is F3, 13 16 is F6:
    // crc_hqx(b'\xf7\xe0\xf3\xf6\x17', 0)
    expectReceived(SYN + Bytes{0x13, 0x17, 0x13, 0x00, 0x13, 0x13, 0x13, 0x16} + ETB +
                       Bytes{0xBD, 0xDB},
                   {0xF7, 0xE0, 0xF3, 0xF6});
}

TEST_F(LinkReceive, TakesDc2LaterInTheFrameForData) {
    expectReceived(SYN + Bytes{'A', 0x12, 'B'} + ETB + Bytes{0x3C, 0x53}, {'A', 0x12, 'B'});
}

TEST_F(LinkReceive, TakesAStuffedDc2AtTheStartForData) {
    // crc_hqx(b'\x12A\x17', 0)
    expectReceived(SYN + Bytes{0x13, 0x32, 'A'} + ETB + Bytes{0x71, 0x28}, {0x12, 'A'});
}

TEST_F(LinkReceive, TakesDc2RightAfterSynForTheMarkOfEncryption) {
    // crc_hqx(b'\x12AB\x17', 0): a good frame, but two bytes are no encrypted payload.
    m_peer.play([](Peer &line) {
        line.write(SYN + Bytes{0x12, 'A', 'B'} + ETB + Bytes{0xD5, 0x2A});
        line.expectSilence(50ms);
    });
    expectFails(PCL_RESULT_PROTOCOL_ERROR, "Malformed encrypted response");
    expectUsable();
}

TEST_F(LinkReceive, TakesSynInsideAFrameForData) {
    expectReceived(SYN + Bytes{'A', 0x16, 'B'} + ETB + Bytes{0xE0, 0x93}, {'A', 0x16, 'B'});
}

TEST_F(LinkReceive, DoesNotUnstuffTheCrc) {
    expectReceived(SYN + bytes("DEX0040282") + ETB + Bytes{0x16, 0x16}, bytes("DEX0040282"));
    expectReceived(SYN + bytes("DEX0041869") + ETB + Bytes{0x13, 0x17}, bytes("DEX0041869"));
}

TEST_F(LinkReceive, TakesAnEmptyFrame) {
    expectReceived({0x16, 0x17, 0x62, 0xD6}, {});
}

TEST_F(LinkReceive, LeavesTheTimeOfTheLastCommand) {
    const std::uint64_t before = pinpad()->lastCommandTime;
    pcl_sleep_millis(5);
    expectReceived(ANSWER, bytes("DEX000"));
    EXPECT_EQ(before, pinpad()->lastCommandTime);
}

TEST_F(LinkReceive, AsksAgainAfterABadCrc) {
    expectAskedForAgain(BAD_CRC);
    expectAskedForAgain(SYN + bytes("DEX000") + ETB + Bytes{0xAD, 0x2B});
    expectAskedForAgain(SYN + bytes("DEX001") + ETB + Bytes{0xAC, 0x2B});
}

TEST_F(LinkReceive, AsksAgainWhenTheCrcLeavesOutTheMarkOfEncryption) {
    // crc_hqx(b'AB\x17', 0)
    expectAskedForAgain(SYN + Bytes{0x12, 'A', 'B'} + ETB + Bytes{0x23, 0xE5});
}

TEST_F(LinkReceive, AsksAgainWhenAFrameBreaksOff) {
    for (std::size_t length = 1; length < ANSWER.size(); ++length) {
        SCOPED_TRACE(length);
        expectAskedForAgain(Bytes(ANSWER.begin(), ANSWER.begin() + static_cast<int>(length)));
    }
}

TEST_F(LinkReceive, AsksAgainWhenAFrameBreaksOffAfterTheEscape) {
    expectAskedForAgain({0x16, 0x44, 0x13});
    expectAskedForAgain({0x16, 0x12});
}

TEST_F(LinkReceive, ForgetsTheMarkOfEncryptionOfABrokenFrame) {
    expectAskedForAgain({0x16, 0x12, 0x41, 0x42});
}

TEST_F(LinkReceive, DropsWhatFollowsADamagedFrame) {
    expectAskedForAgain(BAD_CRC + ANSWER + bytes("noise"));
}

TEST_F(LinkReceive, AsksTwiceAtMost) {
    m_peer.play([](Peer &line) {
        line.write(BAD_CRC);
        line.expect(NAK);
        line.write(SYN + bytes("DEX0"));
        line.expect(NAK);
        line.write(ANSWER);
        line.expectSilence(50ms);
    });
    EXPECT_NO_FAILURE(receive());
    EXPECT_EQ(bytes("DEX000"), content());
    expectUsable();
}

TEST_F(LinkReceive, GivesUpAfterThreeBadCrcs) {
    m_peer.play([](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.write(BAD_CRC);
            line.expect(NAK);
        }
        line.write(bytes("late"));
        line.expectSilence(100ms);
    });
    expectFails(PCL_RESULT_TIMEOUT_ERROR, "No response in 3 attempts");
    EXPECT_EQ(0U, pcl_serial_bytes_available(pinpad()->port));
    expectUsable();
}

TEST_F(LinkReceive, GivesUpAfterThreeBrokenFrames) {
    m_peer.play([](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.write(SYN + bytes("DEX"));
            line.expect(NAK);
        }
        line.expectSilence(100ms);
    });
    expectFails(PCL_RESULT_TIMEOUT_ERROR, "No response in 3 attempts");
    expectUsable();
}

TEST_F(LinkReceive, DoesNotAskAgainWhenNothingFollowsTheNak) {
    m_peer.play([](Peer &line) {
        line.write(BAD_CRC);
        line.expect(NAK);
        line.expectSilence(PAST_RESPONSE);
    });
    expectFails(PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
    expectUsable();
}

TEST_F(LinkReceive, DoesNotAskAgainWhenNoSynFollowsTheNak) {
    m_peer.play([](Peer &line) {
        line.write(BAD_CRC);
        line.expect(NAK);
        line.write(bytes("?"));
        line.expectSilence(100ms);
    });
    expectFails(PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected SYN, read 0x3f)");
    expectUsable();
}

TEST_F(LinkReceive, NeitherRepeatsNorDrainsWhatDoesNotBeginWithSyn) {
    m_peer.play([](Peer &line) {
        line.write(bytes("xyz"));
        line.expectSilence(100ms);
    });
    expectFails(PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected SYN, read 0x78)");
    EXPECT_EQ(2U, pcl_serial_bytes_available(pinpad()->port));
    expectUsable();
}

TEST_F(LinkReceive, WritesNothingWhenNoResponseComes) {
    m_peer.play([](Peer &line) { line.expectSilence(PAST_RESPONSE); });
    expectFails(PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
    expectUsable();
}

TEST_F(LinkReceive, WaitsTenSecondsForTheFirstByte) {
    pcl_serial_set_time_divisor(1);
    const Elapsed waited = timeOfSilence();
    EXPECT_GE(waited, 10000ms);
    EXPECT_LT(waited, 10500ms);
}

TEST_F(LinkReceive, WaitsTwoSecondsForTheFirstByteWhileACommandIsPending) {
    pcl_serial_set_time_divisor(1);
    abecs_pinpad_set_pending(pinpad(), "GCD");
    const Elapsed waited = timeOfSilence();
    EXPECT_GE(waited, 2000ms);
    EXPECT_LT(waited, 2500ms);
    EXPECT_STREQ("GCD", abecs_pinpad_get_pending(pinpad()).text);
}

// 2 s without the next byte, then 0.5 s of silence, then NAK.
TEST_F(LinkReceive, WaitsTwoSecondsForEachFurtherByte) {
    pcl_serial_set_time_divisor(1);
    Elapsed untilNak{};
    m_peer.play([&](Peer &line) {
        line.write(SYN);
        line.pause(1700ms);
        line.write(bytes("D"));
        line.pause(1700ms);
        line.write(bytes("E"));
        untilNak = timeOf([&] { line.expect(NAK); });
        line.write(ANSWER);
    });
    EXPECT_NO_FAILURE(receive());
    EXPECT_EQ(bytes("DEX000"), content());
    m_peer.finish();
    EXPECT_GE(untilNak, 2490ms);
    EXPECT_LT(untilNak, 3000ms);
}

TEST_F(LinkReceive, HoldsAResponseOf2044Bytes) {
    expectReceived(SYN + Bytes(2044, 'X') + ETB + Bytes{0xFD, 0xEF}, Bytes(2044, 'X'));
}

TEST_F(LinkReceive, RefusesAResponseOf2045Bytes) {
    m_peer.play([](Peer &line) {
        line.write(SYN + Bytes(2045, 'X') + ETB + Bytes{0xAE, 0x96});
        line.expectSilence(50ms);
    });
    expectFails(PCL_RESULT_IO_ERROR, "No enough space in buffer (available: 0, requested: 1)");
    expectUsable();
}

TEST_F(LinkReceive, RefusesAFrameWithoutEnd) {
    m_peer.play([](Peer &line) { line.write(SYN + Bytes(3500, 'X')); });
    expectFails(PCL_RESULT_IO_ERROR, "No enough space in buffer (available: 0, requested: 1)");
    EXPECT_EQ(2044U, abecsPacketAvailable(packet()));
    expectUsable();
}

TEST_F(LinkReceive, FailsAtOnceWhenTheLineHangsUp) {
    pcl_serial_set_time_divisor(1);
    m_peer.play([](Peer &line) {
        line.pause(50ms);
        line.hangUp();
    });
    EXPECT_LT(timeOf([&] { expectFails(PCL_RESULT_IO_ERROR, "ReadFile() error: 5"); }), 1500ms);
}

TEST_F(LinkReceive, FailsAtOnceWhenTheLineHangsUpInsideAFrame) {
    pcl_serial_set_time_divisor(1);
    m_peer.play([](Peer &line) {
        line.write(SYN + bytes("DEX"));
        line.pause(50ms);
        line.hangUp();
    });
    EXPECT_LT(timeOf([&] { expectFails(PCL_RESULT_IO_ERROR, "ReadFile() error: 5"); }), 1500ms);
}

TEST_F(LinkReceive, FailsWhenTheLineHangsUpWhileItIsDrained) {
    pcl_serial_set_time_divisor(1);
    m_peer.play([](Peer &line) {
        line.write(BAD_CRC);
        line.pause(100ms);
        line.hangUp();
    });
    expectFails(PCL_RESULT_IO_ERROR, "ReadFile() error: 5");
}

TEST_F(LinkReceive, ChecksItsArguments) {
    EXPECT_FAILURE(abecs_link_receive_response(pinpad(), nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'out' is NULL");
    EXPECT_FAILURE(abecs_link_receive_response(nullptr, nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'out' is NULL");
    EXPECT_FAILURE(abecs_link_receive_response(nullptr, packet()), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'pinpad' is NULL");
    EXPECT_EQ(0U, m_peer.waiting());
}

TEST_F(LinkReceive, IsHarmlessWithAHandlerThatReturns) {
    const ScopedHandler handler;
    EXPECT_EQ(nullptr, abecs_link_receive_response(pinpad(), nullptr));
    EXPECT_EQ(packet(), abecs_link_receive_response(nullptr, packet()));
    EXPECT_EQ(2U, handler.count());
    EXPECT_EQ(0U, m_peer.waiting());
    m_peer.play([](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.write(BAD_CRC);
            line.expect(NAK);
        }
        line.expectSilence(100ms);
    });
    EXPECT_EQ(packet(), abecs_link_receive_response(pinpad(), packet()));
    m_peer.finish();
    ASSERT_EQ(3U, handler.count());
    EXPECT_EQ(failures::text(PCL_RESULT_TIMEOUT_ERROR, "No response in 3 attempts"),
              handler.message());
}

} // namespace
