#include "tests/ext/ext_fixture.h"

namespace {

using namespace line;
using extension::frame;

class ExtLink : public Extension {
protected:
    void send(const Bytes &data) {
        put(data);
        abecs_ext_send_packet(pinpad(), packet());
    }
    void receive() { abecs_ext_receive_packet(pinpad(), packet()); }
    std::string pending() { return abecs_pinpad_get_pending(pinpad()).text; }
};

TEST_F(ExtLink, FramesAnEmptyPacket) {
    m_peer.play([](Peer &line) {
        line.expect({0x02, 0x00, 0x05, 0x03, 0x04});
        line.write(ACK);
    });
    EXPECT_NO_FAILURE(send({}));
    m_peer.finish();
}

TEST_F(ExtLink, SaysTheLengthBigEndian) {
    m_peer.play([](Peer &line) {
        EXPECT_EQ((Bytes{0x02, 0x01, 0x31}), line.read(3));
        line.read(302);
        line.write(ACK);
    });
    EXPECT_NO_FAILURE(send(Bytes(300, 'x')));
    m_peer.finish();
}

TEST_F(ExtLink, SendsRawBytes) {
    m_peer.play([](Peer &line) {
        // 02 ^ 00 ^ 0A ^ 16 ^ 13 ^ 17 ^ 02 ^ 03 ^ 03 is 18
        line.expect({0x02, 0x00, 0x0A, 0x16, 0x13, 0x17, 0x02, 0x03, 0x03, 0x18});
        line.write(ACK);
    });
    EXPECT_NO_FAILURE(send({0x16, 0x13, 0x17, 0x02, 0x03}));
    m_peer.finish();
}

TEST_F(ExtLink, IsNeverEncrypted) {
    const std::uint8_t key[16] = {1};
    abecs_pinpad_set_session_key(pinpad(), key);
    answer("MF01", "MF0100");
    put(bytes("MF01"));
    EXPECT_NO_FAILURE(abecs_ext_exchange(pinpad(), packet()));
    EXPECT_EQ(bytes("MF0100"), content());
    m_peer.finish();
}

TEST_F(ExtLink, SendsTheSameBytesAgainOnNak) {
    m_peer.play([](Peer &line) {
        for (const Bytes &verdict : {NAK, NAK, ACK}) {
            line.expect(frame("MF01"));
            line.write(verdict);
        }
        line.expectSilence(50ms);
    });
    EXPECT_NO_FAILURE(send(bytes("MF01")));
    m_peer.finish();
}

TEST_F(ExtLink, GivesUpAfterThreeNaks) {
    m_peer.play([](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.expect(frame("MF01"));
            line.write(NAK);
        }
        line.expectSilence(50ms);
    });
    EXPECT_FAILURE(send(bytes("MF01")), PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected");
    expectExchangeWorks();
}

TEST_F(ExtLink, SendsFromTheReadPositionAndReturnsToItOnNak) {
    put(bytes("xxMF01"));
    abecsPacketReadByte(packet());
    abecsPacketReadByte(packet());
    m_peer.play([](Peer &line) {
        for (const Bytes &verdict : {NAK, ACK}) {
            line.expect(frame("MF01"));
            line.write(verdict);
        }
    });
    EXPECT_NO_FAILURE(abecs_ext_send_packet(pinpad(), packet()));
    m_peer.finish();
}

TEST_F(ExtLink, KeepsTheTimeOfTheLastAcknowledgement) {
    pinpad()->lastCommandTime = 1;
    const std::uint64_t before = pcl_monotonic_millis();
    m_peer.play([](Peer &line) {
        line.expect(frame("MF01"));
        line.write(ACK);
    });
    EXPECT_NO_FAILURE(send(bytes("MF01")));
    m_peer.finish();
    EXPECT_GE(pinpad()->lastCommandTime, before);
    EXPECT_LE(pinpad()->lastCommandTime, pcl_monotonic_millis());
    pinpad()->lastCommandTime = 1;
    m_peer.play([](Peer &line) { line.write(frame("A")); });
    EXPECT_NO_FAILURE(receive());
    m_peer.finish();
    EXPECT_EQ(1U, pinpad()->lastCommandTime);
}

TEST_F(ExtLink, TakesWhatWaitsOnAHealthySessionForTheVerdict) {
    lieOnLine(NAK + NAK + NAK);
    m_peer.play([](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.expect(frame("MF01"));
        }
        line.expectSilence(50ms);
    });
    EXPECT_FAILURE(send(bytes("MF01")), PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected");
}

TEST_F(ExtLink, DiscardsWhatWaitsAfterAFailure) {
    m_peer.play([](Peer &line) { line.write(ACK); });
    EXPECT_FAILURE(receive(), PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected STX, read 0x6)");
    m_peer.finish();
    lieOnLine(NAK + ACK + bytes("late"));
    expectExchangeWorks();
}

TEST_F(ExtLink, TakesWhatWaitsAfterAPollInVainForTheVerdict) {
    ASSERT_NO_FAILURE(abecs_ext_set_pending(pinpad(), "QR01"));
    EXPECT_FAILURE(receive(), PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
    ASSERT_NO_FAILURE(abecs_ext_clear_pending(pinpad()));
    lieOnLine(ACK);
    m_peer.play([](Peer &line) {
        line.expect(frame("MF01"));
        line.expectSilence(50ms);
    });
    EXPECT_NO_FAILURE(send(bytes("MF01")));
    m_peer.finish();
}

TEST_F(ExtLink, RefusesAnotherVerdictAndDrains) {
    m_peer.play([](Peer &line) {
        line.expect(frame("MF01"));
        line.write(bytes("\x1F"
                         "noise"));
    });
    EXPECT_FAILURE(send(bytes("MF01")), PCL_RESULT_PROTOCOL_ERROR,
                   "Protocol error (unknown packet response: 0x1f)");
    EXPECT_EQ(0U, pcl_serial_bytes_available(pinpad()->port));
    expectExchangeWorks();
}

TEST_F(ExtLink, DoesNotRepeatWhatIsMetWithSilence) {
    m_peer.play([](Peer &line) {
        line.expect(frame("MF01"));
        line.expectSilence(250ms);
    });
    const std::uint64_t before = pinpad()->lastCommandTime;
    EXPECT_FAILURE(send(bytes("MF01")), PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
    EXPECT_EQ(before, pinpad()->lastCommandTime);
    expectExchangeWorks();
}

TEST_F(ExtLink, SendsNothingWhileACommandIsPending) {
    ASSERT_NO_FAILURE(abecs_ext_set_pending(pinpad(), "QR01"));
    m_peer.play([](Peer &line) { line.expectSilence(100ms); });
    EXPECT_FAILURE(send(bytes("MF01")), PCL_RESULT_ILLEGAL_STATE,
                   "Connection is blocked waiting for QR01 response");
    EXPECT_FAILURE(Link::send("DEX003000"), PCL_RESULT_ILLEGAL_STATE,
                   "Connection is blocked waiting for QR01 response");
    m_peer.finish();
    ASSERT_NO_FAILURE(abecs_ext_clear_pending(pinpad()));
    expectExchangeWorks();
}

TEST_F(ExtLink, SendsNothingWhileAStandardCommandIsPending) {
    ASSERT_NO_FAILURE(abecs_pinpad_set_pending(pinpad(), "CEX"));
    put(bytes("MF01"));
    expectRefused([&] { abecs_ext_send_packet(pinpad(), packet()); }, PCL_RESULT_ILLEGAL_STATE,
                  "Connection is blocked waiting for CEX response");
    EXPECT_EQ("CEX", pending());
}

TEST_F(ExtLink, PacesBeforeItLooksForAPendingCommand) {
    ASSERT_NO_FAILURE(abecs_ext_set_pending(pinpad(), "EX08"));
    abecs_pinpad_set_min_interval(pinpad(), 200);
    abecs_pinpad_mark_command_time(pinpad());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FAILURE(send(bytes("MF01")), PCL_RESULT_ILLEGAL_STATE,
                   "Connection is blocked waiting for EX08 response");
    EXPECT_GE(std::chrono::steady_clock::now() - start, 185ms);
    expectNothingSent();
}

TEST_F(ExtLink, DoesNotPaceWhenTheIntervalHasPassed) {
    abecs_pinpad_set_min_interval(pinpad(), 60000);
    pinpad()->lastCommandTime = pcl_monotonic_millis() - 60000;
    EXPECT_LT(timeOf([&] { expectExchangeWorks(); }), 5s);
}

TEST_F(ExtLink, Paces) {
    abecs_pinpad_set_min_interval(pinpad(), 300);
    abecs_pinpad_mark_command_time(pinpad());
    m_peer.play([](Peer &line) {
        line.expect(frame("MF01"));
        line.write(ACK);
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_NO_FAILURE(send(bytes("MF01")));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 285ms);
    m_peer.finish();
}

TEST_F(ExtLink, ReadsAnEmptyResponse) {
    put(bytes("old"));
    m_peer.play([](Peer &line) { line.write({0x02, 0x00, 0x05, 0x03, 0x04}); });
    EXPECT_NO_FAILURE(EXPECT_EQ(packet(), abecs_ext_receive_packet(pinpad(), packet())));
    EXPECT_EQ(Bytes{}, content());
    m_peer.finish();
}

TEST_F(ExtLink, EndsTheDataAtTheFirst03) {
    m_peer.play([](Peer &line) {
        // AB, then 03 as data: the C after it is taken for the check byte, which it is not.
        line.write(frame(Bytes{'A', 'B', 0x03, 'C'}));
        line.expect(NAK);
        line.write(frame("good"));
    });
    EXPECT_NO_FAILURE(receive());
    EXPECT_EQ(bytes("good"), content());
    m_peer.finish();
}

TEST_F(ExtLink, DoesNotCompareTheLength) {
    m_peer.play([](Peer &line) {
        // 02 ^ FF ^ FF ^ 41 ^ 03 is 40
        line.write({0x02, 0xFF, 0xFF, 'A', 0x03, 0x40});
        line.expectSilence(50ms);
    });
    EXPECT_NO_FAILURE(receive());
    EXPECT_EQ(bytes("A"), content());
    m_peer.finish();
}

TEST_F(ExtLink, AsksAgainForADamagedFrame) {
    m_peer.play([](Peer &line) {
        line.write({0x02, 0x00, 0x06, 'A', 0x03, 0x00});
        line.expect(NAK);
        line.write({0x02, 0x00, 0x06, 'A'});
        line.expect(NAK);
        line.write(frame("A"));
        line.expectSilence(50ms);
    });
    EXPECT_NO_FAILURE(receive());
    EXPECT_EQ(bytes("A"), content());
    m_peer.finish();
}

TEST_F(ExtLink, GivesUpAfterThreeDamagedFrames) {
    m_peer.play([](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.write({0x02, 0x00});
            line.expect(NAK);
        }
        line.expectSilence(50ms);
    });
    EXPECT_FAILURE(receive(), PCL_RESULT_TIMEOUT_ERROR, "No response in 3 attempts");
    expectExchangeWorks();
}

TEST_F(ExtLink, DrainsWhatFollowsABadCheckByte) {
    ASSERT_NO_FAILURE(abecs_ext_set_pending(pinpad(), "QR01"));
    m_peer.play([](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            // The check byte should be 46; what follows it would be a good frame by itself.
            line.write(Bytes{0x02, 0x00, 0x06, 'A', 0x03, 0x45} + frame("B"));
            line.expect(NAK);
        }
        line.expectSilence(100ms);
    });
    EXPECT_FAILURE(receive(), PCL_RESULT_TIMEOUT_ERROR, "No response in 3 attempts");
    EXPECT_EQ("QR01", pending());
    ASSERT_NO_FAILURE(abecs_ext_clear_pending(pinpad()));
    expectExchangeWorks();
}

TEST_F(ExtLink, AsksAgainWhereverAFrameBreaksOff) {
    const Bytes whole = frame("A");
    for (std::size_t length = 1; length < whole.size(); ++length) {
        SCOPED_TRACE(length);
        const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        m_peer.play([part, whole](Peer &line) {
            line.write(part);
            line.expect(NAK);
            line.write(whole);
            line.expectSilence(50ms);
        });
        EXPECT_NO_FAILURE(receive());
        EXPECT_EQ(bytes("A"), content());
        m_peer.finish();
    }
}

TEST_F(ExtLink, DoesNotAskAgainWhenNothingFollowsItsNak) {
    m_peer.play([](Peer &line) {
        line.write({0x02, 0x00, 0x06, 'A', 0x03, 0x00});
        line.expect(NAK);
        line.expectSilence(250ms);
    });
    EXPECT_FAILURE(receive(), PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
    expectExchangeWorks();
}

TEST_F(ExtLink, RefusesAResponseThatDoesNotFit) {
    const Bytes longest(ABECS_PACKET_CAPACITY, 'x');
    m_peer.play([&](Peer &line) { line.write(frame(longest)); });
    EXPECT_NO_FAILURE(receive());
    EXPECT_EQ(longest, content());
    m_peer.finish();
    m_peer.play([](Peer &line) {
        line.write(frame(Bytes(ABECS_PACKET_CAPACITY + 1, 'x')));
        line.expectSilence(100ms);
    });
    EXPECT_FAILURE(receive(), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 0, requested: 1)");
    expectExchangeWorks();
}

TEST_F(ExtLink, DoesNotRetryWhatDoesNotBeginWithStx) {
    m_peer.play([](Peer &line) {
        line.write({0x06});
        line.expectSilence(100ms);
    });
    EXPECT_FAILURE(receive(), PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected STX, read 0x6)");
    expectExchangeWorks();
}

TEST_F(ExtLink, WaitsOneAndAHalfSecondsForAResponse) {
    pcl_serial_set_time_divisor(1);
    const Elapsed waited = timeOf(
        [&] { EXPECT_FAILURE(receive(), PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data"); });
    EXPECT_GE(waited, 1500ms);
    EXPECT_LT(waited, 1800ms);
}

TEST_F(ExtLink, WaitsTwoSecondsForEachByteOfTheDataButNotOfTheLength) {
    pcl_serial_set_time_divisor(1);
    m_peer.play([](Peer &line) {
        line.write({0x02, 0x00, 0x06});
        line.pause(1750ms);
        line.write({'A', 0x03, 0x46});
    });
    EXPECT_NO_FAILURE(receive());
    EXPECT_EQ(bytes("A"), content());
    m_peer.finish();
    m_peer.play([](Peer &line) {
        line.write({0x02, 0x00});
        line.pause(1750ms);
        line.write({0x06, 'A', 0x03, 0x46});
        line.expect(NAK);
        line.write(frame("B"));
    });
    EXPECT_NO_FAILURE(receive());
    EXPECT_EQ(bytes("B"), content());
    m_peer.finish();
}

TEST_F(ExtLink, DrainsUntilTheLineIsSilent) {
    pcl_serial_set_time_divisor(1);
    m_peer.play([](Peer &line) {
        for (int chunk = 0; chunk < 3; ++chunk) {
            line.write(bytes("noise"));
            line.pause(250ms);
        }
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_NO_FAILURE(abecs_ext_drain_input(pinpad()->port));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 950ms);
    m_peer.finish();
    EXPECT_EQ(0U, pcl_serial_bytes_available(pinpad()->port));
}

TEST_F(ExtLink, DoesNotTakeAHangUpForSilence) {
    m_peer.hangUp();
    EXPECT_FAILURE(abecs_ext_drain_input(pinpad()->port), PCL_RESULT_IO_ERROR,
                   "ReadFile() error: 5");
    EXPECT_FAILURE(send(bytes("MF01")), PCL_RESULT_IO_ERROR, "WriteFile() error: 5");
    EXPECT_FAILURE(abecs_ext_send_control(pinpad(), 0x04), PCL_RESULT_IO_ERROR,
                   "WriteFile() error: 5");
    EXPECT_FAILURE(receive(), PCL_RESULT_IO_ERROR, "ReadFile() error: 5");
}

TEST_F(ExtLink, LeavesThePendingCommandAfterAFailedPoll) {
    ASSERT_NO_FAILURE(abecs_ext_set_pending(pinpad(), "EX10"));
    EXPECT_FAILURE(receive(), PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
    m_peer.play([](Peer &line) { line.write({0xFF}); });
    EXPECT_FAILURE(receive(), PCL_RESULT_PROTOCOL_ERROR,
                   "Protocol error (expected STX, read 0xff)");
    m_peer.finish();
    EXPECT_EQ("EX10", pending());
}

TEST_F(ExtLink, FailsOnALineThatHangsUp) {
    m_peer.play([](Peer &line) {
        line.expect(frame("MF01"));
        line.write(ACK + Bytes{0x02});
        line.pause(20ms);
        line.hangUp();
    });
    put(bytes("MF01"));
    const PclException failure = pcl_attempt([&] { abecs_ext_exchange(pinpad(), packet()); });
    EXPECT_STREQ("[PCL_RESULT_IO_ERROR] ReadFile() error: 5", failure.message);
    m_peer.finish();
}

TEST_F(ExtLink, WritesAControlByteBareWhateverIsPending) {
    ASSERT_NO_FAILURE(abecs_ext_set_pending(pinpad(), "EX08"));
    m_peer.play([](Peer &line) {
        line.expect(EOT);
        line.expectSilence(50ms);
    });
    EXPECT_NO_FAILURE(abecs_ext_send_control(pinpad(), 0x04));
    m_peer.finish();
}

TEST_F(ExtLink, SetsThePendingCommandOfUpToFourCharacters) {
    const auto set = [&](const char *cmdId) {
        return [this, cmdId] { abecs_ext_set_pending(pinpad(), cmdId); };
    };
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    expectRefused(set(""), code, "NULL/empty 'cmdId'");
    expectRefused(set(nullptr), code, "NULL/empty 'cmdId'");
    expectRefused(set("EX100"), code, "'cmdId' is too long: EX100");
    EXPECT_EQ("", pending());
    EXPECT_NO_FAILURE(set("EX10")());
    EXPECT_EQ("EX10", pending());
    for (const char *cmdId : {"EX08", "EX100", ""}) {
        expectRefused(set(cmdId), PCL_RESULT_ILLEGAL_STATE,
                      "Connection is blocked waiting for EX10 response");
    }
    EXPECT_NO_FAILURE(abecs_ext_clear_pending(pinpad()));
    EXPECT_EQ("", pending());
    EXPECT_NO_FAILURE(set("E")());
    EXPECT_EQ("E", pending());
}

TEST_F(ExtLink, ChecksForNull) {
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    expectRefused([&] { abecs_ext_send_packet(nullptr, nullptr); }, code, "'pinpad' is NULL");
    expectRefused([&] { abecs_ext_send_packet(pinpad(), nullptr); }, code, "'packet' is NULL");
    expectRefused([&] { abecs_ext_send_control(nullptr, 0x04); }, code, "'pinpad' is NULL");
    expectRefused([&] { abecs_ext_set_pending(nullptr, ""); }, code, "'pinpad' is NULL");
    expectRefused([&] { abecs_ext_clear_pending(nullptr); }, code, "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_ext_receive_packet(pinpad(), nullptr), code, "'out' is NULL");
    EXPECT_FAILURE(abecs_ext_receive_packet(nullptr, packet()), code, "'pinpad' is NULL");
}

} // namespace
