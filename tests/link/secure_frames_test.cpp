// Commands and responses on the secure channel. The encrypted frames were made without the library,
// from the key 00 01 .. 0F, with
//   openssl enc -aes-128-cbc -nopad -K 000102030405060708090a0b0c0d0e0f -iv 0
// over length, python3's binascii.crc_hqx(BODY, 0), body and padding; the frame's CRC is
// crc_hqx(b'\x12' + PAYLOAD + b'\x17', 0).

#include "abecs/secure_channel.h"
#include "tests/link/session_fixture.h"

#include <array>

namespace {

using namespace line;

constexpr std::array<std::uint8_t, 16> KEY = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
constexpr std::array<std::uint8_t, 16> NO_KEY{};

// Of "DEX003000" and of its answer "DEX000".
const Bytes SECURE_COMMAND = {0x16, 0x12, 0x46, 0x40, 0x47, 0x28, 0x70, 0xE3, 0x30, 0x7E, 0xC7,
                              0x67, 0xDE, 0x3E, 0x91, 0x4C, 0x94, 0x2C, 0x17, 0x3B, 0x7E};
const Bytes SECURE_ANSWER = {0x16, 0x12, 0xE8, 0x13, 0x33, 0xAF, 0x2E, 0x57, 0xCB, 0x9D, 0xEA,
                             0xB5, 0x48, 0xCF, 0xF4, 0x52, 0xE5, 0xA7, 0x6E, 0x17, 0x96, 0xCB};

class Secure : public Link {
protected:
    void SetUp() override {
        Link::SetUp();
        abecs_pinpad_set_session_key(pinpad(), KEY.data());
    }

    // Such a response is neither asked for again nor answered, and the session goes on.
    void expectRefused(const Bytes &frame, const char *detail) {
        m_peer.play([frame](Peer &line) {
            line.write(frame);
            line.expectSilence(50ms);
        });
        EXPECT_FAILURE(abecs_link_receive_response(pinpad(), packet()), PCL_RESULT_PROTOCOL_ERROR,
                       detail);
        m_peer.finish();
        expectSecureExchange();
    }

    void expectSecureExchange() {
        EXPECT_EQ(1, pinpad()->secure);
        m_peer.play([](Peer &line) {
            line.expect(SECURE_COMMAND);
            line.write(ACK + SECURE_ANSWER);
        });
        put(bytes("DEX003000"));
        EXPECT_NO_FAILURE(abecs_link_exchange(pinpad(), packet()));
        EXPECT_EQ(bytes("DEX000"), content());
        m_peer.finish();
    }
};

TEST_F(Secure, PadsACommandOfNineBytesWithThreeZeros) {
    expectSent(bytes("DEX003000"), SECURE_COMMAND);
}

TEST_F(Secure, PadsACommandOfElevenBytesWithOneZero) {
    expectSent(bytes("DEX005002HI"),
               {0x16, 0x12, 0xE5, 0x72, 0xE3, 0x76, 0x68, 0x72, 0x1F, 0x02, 0xF7,
                0xF7, 0x5A, 0x13, 0x36, 0x1D, 0x38, 0x66, 0xE1, 0x17, 0x8C, 0x0E});
}

TEST_F(Secure, PadsACommandOfTwelveBytesWithSixteenZeros) {
    expectSent(bytes("DEX006003HEY"),
               {0x16, 0x12, 0xCF, 0x20, 0x09, 0x2D, 0x01, 0x9D, 0xB8, 0x22, 0xDC, 0x39, 0x8D,
                0xDF, 0x25, 0x41, 0xB5, 0xA1, 0xAE, 0x2A, 0x47, 0x7F, 0x79, 0xAC, 0x0D, 0xAB,
                0xEB, 0xB9, 0xF8, 0x64, 0x88, 0xA0, 0xFE, 0x12, 0x17, 0x09, 0x1E});
}

TEST_F(Secure, SendsTheSameEncryptedFrameAgainOnNak) {
    m_peer.play([](Peer &line) {
        line.expect(SECURE_COMMAND);
        line.write(NAK);
        line.expect(SECURE_COMMAND);
        line.write(NAK);
        line.expect(SECURE_COMMAND);
        line.write(ACK);
    });
    EXPECT_NO_FAILURE(send("DEX003000"));
    EXPECT_EQ(bytes("DEX003000"), content());
    m_peer.finish();
}

TEST_F(Secure, StaysSecureAfterThreeNaks) {
    m_peer.play([](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.expect(SECURE_COMMAND);
            line.write(NAK);
        }
        line.expectSilence(50ms);
    });
    EXPECT_FAILURE(send("DEX003000"), PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected");
    EXPECT_EQ(bytes("DEX003000"), content());
    m_peer.finish();
    expectSecureExchange();
}

TEST_F(Secure, SendsNothingWhileAnotherCommandIsPending) {
    abecs_pinpad_set_pending(pinpad(), "GCD");
    m_peer.play([](Peer &line) { line.expectSilence(100ms); });
    EXPECT_FAILURE(send("DEX003000"), PCL_RESULT_ILLEGAL_STATE,
                   "Connection is blocked waiting for GCD response");
    m_peer.finish();
}

// 2027 bytes are the most that fit: 4 + 2027 and one zero are 127 blocks.
TEST_F(Secure, EncryptsAtMost2027Bytes) {
    m_peer.play([](Peer &line) {
        line.expect({0x16, 0x12});
        Bytes last = line.read(2032);
        while (last.back() != 0x17) {
            last = line.read(1);
        }
        // crc_hqx(b'\x12' + PAYLOAD + b'\x17', 0)
        line.expect({0x9B, 0xB0});
        line.write(ACK);
    });
    put(bytes("DEX") + Bytes(2024, 'X'));
    EXPECT_NO_FAILURE(abecs_link_send_command(pinpad(), packet()));
    EXPECT_EQ(2027U, content().size());
    m_peer.finish();

    m_peer.play([](Peer &line) { line.expectSilence(100ms); });
    put(bytes("DEX") + Bytes(2025, 'X'));
    EXPECT_FAILURE(abecs_link_send_command(pinpad(), packet()), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 2044, requested: 2048)");
    EXPECT_EQ(2028U, content().size());
    m_peer.finish();
    expectSecureExchange();
}

TEST_F(Secure, SendsOpnInClear) {
    expectSent(bytes("OPN"), {0x16, 0x4F, 0x50, 0x4E, 0x17, 0xA8, 0xA9});
    EXPECT_EQ(1, pinpad()->secure);
    expectSecureExchange();
}

TEST_F(Secure, EndsWithTheAcknowledgementOfClo) {
    expectSent(bytes("CLO"), {0x16, 0x12, 0xB6, 0xB3, 0xA2, 0xB0, 0x6F, 0x8C, 0xB3, 0x01, 0x84,
                              0x31, 0xF6, 0x71, 0x43, 0x03, 0x1F, 0x92, 0x17, 0x6F, 0x9D});
    EXPECT_EQ(0, pinpad()->secure);
    EXPECT_EQ(NO_KEY, pinpad()->sessionKey);
    expectUsable();
}

TEST_F(Secure, EndsWithTheAcknowledgementOfClx) {
    expectSent(bytes("CLX"), {0x16, 0x12, 0xBA, 0x22, 0x24, 0xB6, 0x78, 0xE4, 0xC7, 0xD6, 0xF5,
                              0x1B, 0x20, 0x5D, 0x3A, 0xF7, 0xC0, 0x2F, 0x17, 0x94, 0xD9});
    EXPECT_EQ(0, pinpad()->secure);
    EXPECT_EQ(NO_KEY, pinpad()->sessionKey);
    expectUsable();
}

TEST_F(Secure, KeepsTheKeyWhenCloIsNotAcknowledged) {
    m_peer.play([](Peer &line) {
        line.read(21);
        line.write(bytes("?"));
        line.read(21);
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.read(21);
            line.write(NAK);
        }
    });
    EXPECT_FAILURE(send("CLO"), PCL_RESULT_PROTOCOL_ERROR,
                   "Protocol error (unknown packet response: 0x3f)");
    EXPECT_FAILURE(send("CLX"), PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
    EXPECT_FAILURE(send("CLO"), PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected");
    m_peer.finish();
    EXPECT_EQ(KEY, pinpad()->sessionKey);
    expectSecureExchange();
}

TEST_F(Secure, DecryptsAResponse) {
    expectReceived(SECURE_ANSWER, bytes("DEX000"));
}

TEST_F(Secure, TakesAPlainResponseToo) {
    expectReceived(ANSWER, bytes("DEX000"));
}

TEST_F(Secure, TakesASecondDc2ForTheFirstByteOfThePayload) {
    expectReceived({0x16, 0x12, 0x12, 0x5A, 0x38, 0xB1, 0xEF, 0x7F, 0x78, 0x4F, 0x23,
                    0x77, 0x89, 0x51, 0xB5, 0x42, 0xBD, 0xFF, 0x17, 0xF2, 0x52},
                   bytes("DEX000228"));
}

TEST_F(Secure, AsksAgainForADamagedResponse) {
    m_peer.play([](Peer &line) {
        // Right but for DC2, which its CRC leaves out: crc_hqx(PAYLOAD + b'\x17', 0).
        line.write({0x16, 0x12, 0xE8, 0x13, 0x33, 0xAF, 0x2E, 0x57, 0xCB, 0x9D, 0xEA,
                    0xB5, 0x48, 0xCF, 0xF4, 0x52, 0xE5, 0xA7, 0x6E, 0x17, 0x94, 0x77});
        line.expect(NAK);
        line.write({0x16, 0x12, 0xE8, 0x13});
        line.expect(NAK);
        line.write(SECURE_ANSWER);
        line.expectSilence(50ms);
    });
    EXPECT_NO_FAILURE(abecs_link_receive_response(pinpad(), packet()));
    EXPECT_EQ(bytes("DEX000"), content());
    m_peer.finish();
}

TEST_F(Secure, TakesAnEmptyBody) {
    expectReceived({0x16, 0x12, 0xC6, 0xA1, 0x3B, 0x37, 0x87, 0x8F, 0x5B, 0x82, 0x6F,
                    0x4F, 0x81, 0x62, 0xA1, 0xC8, 0xD8, 0x79, 0x17, 0x27, 0x66},
                   {});
}

TEST_F(Secure, TakesABodyWithoutPadding) {
    expectReceived({0x16, 0x12, 0x25, 0x9E, 0xDE, 0x0F, 0xA6, 0xF5, 0xBD, 0x6E, 0xF4,
                    0xE3, 0x34, 0x54, 0x8D, 0x47, 0xED, 0xF0, 0x17, 0xA4, 0x06},
                   bytes("DEX000006ABC"));
}

TEST_F(Secure, CutsOffMorePaddingThanABlock) {
    expectReceived({0x16, 0x12, 0xE8, 0x13, 0x33, 0xAF, 0x2E, 0x57, 0xCB, 0x9D, 0xEA,
                    0xB5, 0x48, 0xCF, 0xF4, 0x52, 0xE5, 0xA7, 0x6E, 0xA6, 0x86, 0xB5,
                    0x05, 0x08, 0xD6, 0x6A, 0x79, 0xED, 0xBE, 0xDF, 0x12, 0xA2, 0xF8,
                    0x0D, 0x67, 0x65, 0x34, 0x74, 0xA4, 0xF9, 0xC2, 0xAD, 0x6F, 0x3D,
                    0x89, 0x4B, 0x13, 0x33, 0xD8, 0x23, 0x78, 0x35, 0x17, 0xA3, 0xF8},
                   bytes("DEX000"));
}

TEST_F(Secure, DoesNotLookAtThePadding) {
    // Padded with AA.
    expectReceived({0x16, 0x12, 0xEB, 0x9B, 0x60, 0xF3, 0x9C, 0xCA, 0x0E, 0x0B, 0x83,
                    0xF0, 0x33, 0xA4, 0x12, 0x1F, 0x7E, 0x86, 0x17, 0x86, 0x42},
                   bytes("DEX000"));
}

TEST_F(Secure, RefusesALengthBeyondThePayload) {
    expectRefused({0x16, 0x12, 0xBA, 0xAF, 0xF2, 0xC1, 0x50, 0x7D, 0xB7, 0x39, 0xF0,
                   0xD5, 0xA9, 0xAB, 0x53, 0xD0, 0x8B, 0x53, 0x17, 0xAB, 0xF1},
                  "Malformed encrypted response (caused by Encrypted packet is not complete)");
}

TEST_F(Secure, RefusesABodyThatDoesNotMatchItsCrc) {
    const char *detail = "Malformed encrypted response (caused by Invalid DATACRC)";
    // A wrong CRC; and a length that takes the padding for data.
    expectRefused({0x16, 0x12, 0x6F, 0x0C, 0xD5, 0x8F, 0x43, 0x77, 0xB0, 0x2C, 0xA6,
                   0x3F, 0xFD, 0x93, 0x1E, 0x71, 0x98, 0x9C, 0x17, 0x53, 0x7A},
                  detail);
    expectRefused({0x16, 0x12, 0xF9, 0xC5, 0x4F, 0x22, 0xAD, 0x45, 0xD0, 0xDF, 0x60,
                   0x08, 0xE7, 0xAF, 0xCC, 0x7C, 0x25, 0xE5, 0x17, 0xD7, 0xCE},
                  detail);
}

TEST_F(Secure, RefusesAPayloadThatIsNoWholeNumberOfBlocks) {
    const char *detail = "Malformed encrypted response";
    expectRefused({0x16, 0x12, 0x17, 0x07, 0xC7}, detail);
    expectRefused(Bytes{0x16, 0x12} + Bytes(15, 0) + Bytes{0x17, 0x5D, 0x13}, detail);
    expectRefused(Bytes{0x16, 0x12} + Bytes(17, 0) + Bytes{0x17, 0xFE, 0x94}, detail);
    expectRefused(Bytes{0x16, 0x12} + Bytes(33, 0) + Bytes{0x17, 0xBF, 0x2A}, detail);
}

// openssl enc -d ... -K 0: the length would be 85D7.
TEST_F(Secure, DecryptsWithAKeyOfZerosWhenThereIsNone) {
    abecs_pinpad_set_session_key(pinpad(), nullptr);
    m_peer.play([](Peer &line) {
        line.write(SECURE_ANSWER);
        line.expectSilence(50ms);
    });
    EXPECT_FAILURE(abecs_link_receive_response(pinpad(), packet()), PCL_RESULT_PROTOCOL_ERROR,
                   "Malformed encrypted response (caused by Encrypted packet is not complete)");
    expectUsable();
}

TEST_F(Secure, ChecksForANullSession) {
    EXPECT_FAILURE(abecs_secure_send(nullptr, packet()), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_decrypt_response(nullptr, packet()), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_secure_send(pinpad(), nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'packet' is NULL");
    EXPECT_FAILURE(abecs_decrypt_response(pinpad(), nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'packet' is NULL");
    const ScopedHandler handler;
    abecs_secure_send(nullptr, packet());
    abecs_decrypt_response(nullptr, packet());
    EXPECT_EQ(2U, handler.count());
    EXPECT_EQ(0U, m_peer.waiting());
}

TEST_F(Secure, IsHarmlessWithAHandlerThatReturns) {
    const ScopedHandler handler;
    m_peer.play([](Peer &line) {
        line.write(Bytes{0x16, 0x12} + Bytes(33, 0) + Bytes{0x17, 0xBF, 0x2A});
        line.expectSilence(100ms);
    });
    EXPECT_EQ(packet(), abecs_link_receive_response(pinpad(), packet()));
    m_peer.finish();
    ASSERT_EQ(1U, handler.count());
    EXPECT_EQ(failures::text(PCL_RESULT_PROTOCOL_ERROR, "Malformed encrypted response"),
              handler.message());
    expectSecureExchange();
}

} // namespace
