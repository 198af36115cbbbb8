// The encrypted frames of this file were made without the library, from the key 00 01 .. 0F, with
//   openssl enc -aes-128-cbc -nopad -K 000102030405060708090a0b0c0d0e0f -iv 0
// over length, python3's binascii.crc_hqx(BODY, 0), body and padding; the frame's CRC is
// crc_hqx(b'\x12' + PAYLOAD + b'\x17', 0).

#include "abecs/commands/close.h"
#include "abecs/commands/display.h"
#include "abecs/secure_channel.h"
#include "sim/simulator.h"
#include "tests/link/session_fixture.h"

#include <array>
#include <string>

namespace {

using namespace line;

constexpr std::array<std::uint8_t, 16> KEY = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

// Of "DEX000".
const Bytes SECURE_ANSWER = {0x16, 0x12, 0xE8, 0x13, 0x33, 0xAF, 0x2E, 0x57, 0xCB, 0x9D, 0xEA,
                             0xB5, 0x48, 0xCF, 0xF4, 0x52, 0xE5, 0xA7, 0x6E, 0x17, 0x96, 0xCB};

class Secure : public Link {
protected:
    void SetUp() override {
        Link::SetUp();
        abecs_pinpad_set_session_key(pinpad(), KEY.data());
    }

    void expectSent(const char *body, const Bytes &frame) {
        m_peer.play([frame](Peer &line) {
            line.expect(frame);
            line.write(ACK);
            line.expectSilence(50ms);
        });
        EXPECT_NO_FAILURE(send(body));
        EXPECT_EQ(bytes(body), content());
        m_peer.finish();
    }

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
        m_peer.play([](Peer &line) {
            line.read(21);
            line.write(ACK + SECURE_ANSWER);
        });
        put(bytes("DEX003000"));
        EXPECT_NO_FAILURE(abecs_link_exchange(pinpad(), packet()));
        EXPECT_EQ(bytes("DEX000"), content());
        m_peer.finish();
    }
};

TEST_F(Secure, PadsACommandOfNineBytesWithThreeZeros) {
    expectSent("DEX003000", {0x16, 0x12, 0x46, 0x40, 0x47, 0x28, 0x70, 0xE3, 0x30, 0x7E, 0xC7,
                             0x67, 0xDE, 0x3E, 0x91, 0x4C, 0x94, 0x2C, 0x17, 0x3B, 0x7E});
}

TEST_F(Secure, PadsACommandOfElevenBytesWithOneZero) {
    expectSent("DEX005002HI", {0x16, 0x12, 0xE5, 0x72, 0xE3, 0x76, 0x68, 0x72, 0x1F, 0x02, 0xF7,
                               0xF7, 0x5A, 0x13, 0x36, 0x1D, 0x38, 0x66, 0xE1, 0x17, 0x8C, 0x0E});
}

TEST_F(Secure, PadsACommandOfTwelveBytesWithSixteenZeros) {
    expectSent("DEX006003HEY",
               {0x16, 0x12, 0xCF, 0x20, 0x09, 0x2D, 0x01, 0x9D, 0xB8, 0x22, 0xDC, 0x39, 0x8D,
                0xDF, 0x25, 0x41, 0xB5, 0xA1, 0xAE, 0x2A, 0x47, 0x7F, 0x79, 0xAC, 0x0D, 0xAB,
                0xEB, 0xB9, 0xF8, 0x64, 0x88, 0xA0, 0xFE, 0x12, 0x17, 0x09, 0x1E});
}

TEST_F(Secure, SendsTheSameEncryptedFrameAgainOnNak) {
    const Bytes frame = {0x16, 0x12, 0x46, 0x40, 0x47, 0x28, 0x70, 0xE3, 0x30, 0x7E, 0xC7,
                         0x67, 0xDE, 0x3E, 0x91, 0x4C, 0x94, 0x2C, 0x17, 0x3B, 0x7E};
    m_peer.play([frame](Peer &line) {
        line.expect(frame);
        line.write(NAK);
        line.expect(frame);
        line.write(ACK);
    });
    EXPECT_NO_FAILURE(send("DEX003000"));
    m_peer.finish();
}

TEST_F(Secure, SendsOpnInClear) {
    m_peer.play([](Peer &line) {
        line.expect(SYN + bytes("OPN") + ETB + Bytes{0xA8, 0xA9});
        line.write(ACK);
    });
    EXPECT_NO_FAILURE(send("OPN"));
    m_peer.finish();
    EXPECT_EQ(1, pinpad()->secure);
}

TEST_F(Secure, EndsWithTheAcknowledgementOfClo) {
    m_peer.play([](Peer &line) {
        line.expect({0x16, 0x12, 0xB6, 0xB3, 0xA2, 0xB0, 0x6F, 0x8C, 0xB3, 0x01, 0x84,
                     0x31, 0xF6, 0x71, 0x43, 0x03, 0x1F, 0x92, 0x17, 0x6F, 0x9D});
        line.write(ACK);
    });
    EXPECT_NO_FAILURE(send("CLO"));
    m_peer.finish();
    EXPECT_EQ(0, pinpad()->secure);
    EXPECT_EQ((std::array<std::uint8_t, 16>{}), pinpad()->sessionKey);
    expectUsable();
}

TEST_F(Secure, KeepsTheKeyWhenCloIsNotAcknowledged) {
    m_peer.play([](Peer &line) {
        line.read(21);
        line.write(bytes("?"));
    });
    EXPECT_FAILURE(send("CLO"), PCL_RESULT_PROTOCOL_ERROR,
                   "Protocol error (unknown packet response: 0x3f)");
    m_peer.finish();
    EXPECT_EQ(1, pinpad()->secure);
}

TEST_F(Secure, DecryptsAResponse) {
    m_peer.play([](Peer &line) { line.write(SECURE_ANSWER); });
    EXPECT_NO_FAILURE(abecs_link_receive_response(pinpad(), packet()));
    EXPECT_EQ(bytes("DEX000"), content());
    m_peer.finish();
}

TEST_F(Secure, TakesAPlainResponseToo) {
    m_peer.play([](Peer &line) { line.write(ANSWER); });
    EXPECT_NO_FAILURE(abecs_link_receive_response(pinpad(), packet()));
    EXPECT_EQ(bytes("DEX000"), content());
    m_peer.finish();
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
    expectRefused(Bytes{0x16, 0x12} + Bytes(33, 0) + Bytes{0x17, 0xBF, 0x2A},
                  "Malformed encrypted response");
    expectRefused({0x16, 0x12, 0x17, 0x07, 0xC7}, "Malformed encrypted response");
}

// The exchange of keys, with the virtual PIN pad.
class SecureOpen : public testing::Test {
protected:
    void SetUp() override { pcl_serial_set_time_divisor(TIME_DIVISOR); }

    void plugIn(const std::string &scenario) {
        m_device = std::make_unique<sim::Simulator>(scenario);
        ASSERT_NO_FAILURE(m_pinpad.reset(abecs_pinpad_create(m_device->port().c_str())));
    }
    AbecsPinpad *pinpad() { return m_pinpad.get(); }

    void expectOpens(const std::string &scenario) {
        plugIn(scenario);
        EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), 1)));
        EXPECT_EQ(1, pinpad()->secure);
        expectSecureDisplay();
    }
    void expectSecureDisplay() {
        EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_dex(pinpad(), "HELLO")));
        EXPECT_EQ(bytes("DEX008005HELLO"), m_device->commands().back());
        EXPECT_TRUE(lastFrameWasEncrypted());
    }
    bool lastFrameWasEncrypted() {
        const std::vector<sim::WireFrame> frames = m_device->wire().frames;
        return !frames.empty() && frames.back().kind == sim::FrameKind::response &&
               frames.back().encrypted;
    }
    void expectFails(const std::string &fault, PclResult_e code, const char *detail) {
        SCOPED_TRACE(fault);
        plugIn("fault opn " + fault + "\n");
        EXPECT_FAILURE(abecs_open(pinpad(), 1), code, detail);
        EXPECT_EQ(0, pinpad()->secure);
        // The fault struck once; the same session opens at the next try.
        EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), 1)));
        expectSecureDisplay();
    }

    std::unique_ptr<sim::Simulator> m_device;
    AbecsPinpadPtr m_pinpad;
};

TEST_F(SecureOpen, AgreesOnAKey) {
    expectOpens("session-key 30313233343536373839414243444546\n");
    EXPECT_EQ(0, std::memcmp("0123456789ABCDEF", pinpad()->sessionKey.data(), 16));
}

TEST_F(SecureOpen, SendsTheKeyAsTheProtocolWantsIt) {
    plugIn("");
    ASSERT_NO_FAILURE(abecs_open(pinpad(), 1));
    const Bytes sent = m_device->commands().back();
    const std::string body(sent.begin(), sent.end());
    ASSERT_EQ(3U + 3 + 523, body.size());
    EXPECT_EQ("OPN5230256", body.substr(0, 10));
    EXPECT_EQ(std::string::npos, body.substr(10, 512).find_first_not_of("0123456789ABCDEF"));
    EXPECT_EQ("3010001", body.substr(522));
}

TEST_F(SecureOpen, UsesAFreshKeyPairEachTime) {
    plugIn("");
    ASSERT_NO_FAILURE(abecs_open(pinpad(), 1));
    const Bytes first = m_device->commands().back();
    ASSERT_NO_FAILURE(abecs_open(pinpad(), 1));
    EXPECT_NE(first, m_device->commands().back());
}

TEST_F(SecureOpen, ReplacesTheKeyOfASecureSession) {
    plugIn("");
    ASSERT_NO_FAILURE(abecs_open(pinpad(), 1));
    const auto firstKey = pinpad()->sessionKey;
    ASSERT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), 1)));
    EXPECT_NE(firstKey, pinpad()->sessionKey);
    expectSecureDisplay();
}

TEST_F(SecureOpen, PutsBackALeadingByte0x30OfTheKeyBlock) {
    expectOpens("fault opn lead-30 1\n");
}

TEST_F(SecureOpen, PutsBackTwoLeadingBytes0x30OfTheKeyBlock) {
    plugIn("fault opn lead-30 2 always\n");
    // The device has to search for such a block, on a busy machine longer than the library waits.
    pcl_serial_set_time_divisor(1);
    PclFailure failure;
    for (int attempt = 0; attempt < 5; ++attempt) {
        failure = pcl_attempt([&] { EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), 1)); });
        if (failure.code != PCL_RESULT_TIMEOUT_ERROR) {
            break;
        }
    }
    ASSERT_STREQ("", failure.message);
    EXPECT_EQ(1, pinpad()->secure);
    expectSecureDisplay();
}

TEST_F(SecureOpen, IsAnInvalidCallWhenNoKeyComes) {
    plugIn("fault opn empty\n");
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_INVCALL, abecs_open(pinpad(), 1)));
    EXPECT_EQ(0, pinpad()->secure);
}

TEST_F(SecureOpen, RefusesAnotherBlockHeader) {
    expectFails("block-type 01", PCL_RESULT_PROTOCOL_ERROR, "(OPN) Invalid PCKS#1 block header");
}

TEST_F(SecureOpen, NeedsASeparatorAfterThePadding) {
    expectFails("no-separator", PCL_RESULT_IO_ERROR,
                "No enough space in buffer (available: 0, requested: 1)");
}

TEST_F(SecureOpen, RefusesAShorterKey) {
    expectFails("ksec-length 15", PCL_RESULT_PROTOCOL_ERROR,
                "(OPN) Invalid Ksec length (expected: 16, read: 15)");
}

TEST_F(SecureOpen, RefusesALongerKey) {
    expectFails("ksec-length 17", PCL_RESULT_PROTOCOL_ERROR,
                "(OPN) Invalid Ksec length (expected: 16, read: 17)");
}

TEST_F(SecureOpen, RefusesAnotherBlockLength) {
    expectFails("len1 514", PCL_RESULT_PROTOCOL_ERROR, "(OPN) Invalid RSP_LEN1: 514");
}

TEST_F(SecureOpen, RefusesAnotherKeyBlockLength) {
    expectFails("crkslen 255", PCL_RESULT_PROTOCOL_ERROR, "(OPN) Invalid OPN_CRKSLEN: 255");
}

TEST_F(SecureOpen, RefusesAKeyBlockThatIsNoHexadecimalText) {
    plugIn("fault opn bad-hex\n");
    const PclFailure failure = pcl_attempt([&] { abecs_open(pinpad(), 1); });
    EXPECT_EQ(PCL_RESULT_IO_ERROR, failure.code);
    EXPECT_EQ(0U, std::string(failure.message).find("[PCL_RESULT_IO_ERROR] Invalid data: "));
    EXPECT_EQ(0, pinpad()->secure);
}

TEST_F(SecureOpen, ReturnsTheStatusOfARefusal) {
    plugIn("status OPN 011\n");
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_INVPARM, abecs_open(pinpad(), 1)));
    EXPECT_EQ(0, pinpad()->secure);
}

TEST_F(SecureOpen, ChecksTheResponse) {
    plugIn("reply OPN nth 1 body \"OPN00\"\nreply OPN nth 2 id XYZ\nreply OPN nth 3 err\n");
    EXPECT_FAILURE(abecs_open(pinpad(), 0), PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response");
    EXPECT_FAILURE(abecs_open(pinpad(), 0), PCL_RESULT_PROTOCOL_ERROR, "(OPN) Invalid RSP_ID: XYZ");
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), 0)));
}

TEST_F(SecureOpen, OpensPlainForAnyOtherFlag) {
    plugIn("");
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), 2)));
    EXPECT_EQ(bytes("OPN"), m_device->commands().back());
    EXPECT_EQ(0, pinpad()->secure);
    EXPECT_FAILURE(abecs_open(nullptr, 1), PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
}

TEST_F(SecureOpen, EndsWithCloseAndTravelsInClearAfterwards) {
    expectOpens("");
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_clo(pinpad(), "BYE")));
    EXPECT_EQ(0, pinpad()->secure);
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_dex(pinpad(), "HELLO")));
    EXPECT_FALSE(lastFrameWasEncrypted());
}

} // namespace
