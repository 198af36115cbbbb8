// The exchange of keys against a device's side that is played with OpenSSL: any key block at all.

#include "abecs/open.h"
#include "tests/link/far_end.h"
#include "tests/link/session_fixture.h"
#include "tests/support/prepared_key.h"

#include <array>
#include <functional>
#include <string>

namespace {

using namespace line;

const std::array<std::uint8_t, 16> NO_KEY{};
const std::array<std::uint8_t, 16> OLD_KEY = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
const Bytes KEY = {0xF0, 0xE0, 0xD0, 0xC0, 0xB0, 0xA0, 0x90, 0x80,
                   0x70, 0x60, 0x50, 0x40, 0x30, 0x20, 0x10, 0x00};

// "DEX003000" and its answer "DEX000" under KEY:
//   openssl enc -aes-128-cbc -nopad -K f0e0d0c0b0a090807060504030201000 -iv 0
// over length, python3's binascii.crc_hqx(BODY, 0), body and padding.
const Bytes SECURE_COMMAND = {0x16, 0x12, 0x9F, 0xBE, 0x33, 0x62, 0x43, 0x0A, 0x75, 0x19, 0x19,
                              0x9E, 0xBC, 0x44, 0xE8, 0x9C, 0x8E, 0xC7, 0x17, 0xA0, 0x0A};
const Bytes SECURE_ANSWER = {0x16, 0x12, 0x99, 0x8C, 0x52, 0x74, 0x7B, 0xE9, 0x98, 0x2E, 0xDD,
                             0xBA, 0xF7, 0xA9, 0x77, 0xF4, 0xAE, 0x1E, 0x17, 0x0F, 0xDE};

class KeyExchange : public Link {
protected:
    // What the device answers to this public key.
    using Answer = std::function<Bytes(const far_end::PublicKey &key)>;

    static Answer withBlock(const Bytes &block) {
        return [block](const far_end::PublicKey &key) {
            return bytes("OPN000515256") + far_end::hexText(key.encrypt(block));
        };
    }

    void play(const Answer &answer) {
        m_peer.play([answer](Peer &line) {
            const far_end::PublicKey key = far_end::takeSecureOpen(line);
            line.write(ACK + far_end::frame(answer(key)));
            line.expectSilence(50ms);
        });
    }

    void expectOpens(const Answer &answer) {
        play(answer);
        EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), 1)));
        m_peer.finish();
        expectKeyInUse();
    }

    // With a block of which the encrypted form begins with this byte, found by changing the
    // padding. The search may take longer than the library waits, and is over before the exchange
    // begins.
    void expectOpensWithEncryptedBlockFrom(std::uint8_t first) {
        const PreparedKey prepared;
        const PclRsaPublicKey &numbers = PreparedKey::publicPart();
        const far_end::PublicKey key{Bytes(numbers.N, numbers.N + numbers.szN),
                                     Bytes(numbers.e, numbers.e + numbers.sze)};
        Bytes block = far_end::keyBlock(KEY);
        for (unsigned tried = 0; key.encrypt(block).front() != first; ++tried) {
            block[2] = static_cast<std::uint8_t>(1 + tried % 255);
            block[3] = static_cast<std::uint8_t>(1 + tried / 255);
        }
        expectOpens(withBlock(block));
    }

    void expectKeyInUse() {
        EXPECT_EQ(1, pinpad()->secure);
        EXPECT_EQ(KEY, Bytes(pinpad()->sessionKey.begin(), pinpad()->sessionKey.end()));
        m_peer.play([](Peer &line) {
            line.expect(SECURE_COMMAND);
            line.write(ACK + SECURE_ANSWER);
        });
        put(bytes("DEX003000"));
        EXPECT_NO_FAILURE(abecs_link_exchange(pinpad(), packet()));
        EXPECT_EQ(bytes("DEX000"), content());
        m_peer.finish();
    }

    // On a plain session and on one that is secure already: what was, stays.
    void expectFails(const Answer &answer, PclResult_e code, const char *detail) {
        const PreparedKey prepared;
        abecs_pinpad_set_session_key(pinpad(), nullptr);
        play(answer);
        EXPECT_FAILURE(abecs_open(pinpad(), 1), code, detail);
        m_peer.finish();
        EXPECT_EQ(0, pinpad()->secure);
        EXPECT_EQ(NO_KEY, pinpad()->sessionKey);
        expectUsable();

        abecs_pinpad_set_session_key(pinpad(), OLD_KEY.data());
        play(answer);
        EXPECT_FAILURE(abecs_open(pinpad(), 1), code, detail);
        m_peer.finish();
        EXPECT_EQ(1, pinpad()->secure);
        EXPECT_EQ(OLD_KEY, pinpad()->sessionKey);
        expectOpens(withBlock(far_end::keyBlock(KEY)));
    }
};

TEST_F(KeyExchange, InstallsTheKeyOfTheBlock) {
    expectOpens(withBlock(far_end::keyBlock(KEY)));
}

TEST_F(KeyExchange, ReplacesTheKeyOfASecureSession) {
    abecs_pinpad_set_session_key(pinpad(), OLD_KEY.data());
    expectOpens(withBlock(far_end::keyBlock(KEY)));
}

TEST_F(KeyExchange, SendsAFreshPublicKeyEachTime) {
    std::array<Bytes, 2> moduli;
    for (Bytes &modulus : moduli) {
        m_peer.play([&](Peer &line) {
            const far_end::PublicKey key = far_end::takeSecureOpen(line);
            modulus = key.modulus;
            line.write(ACK + far_end::frame(withBlock(far_end::keyBlock(KEY))(key)));
        });
        EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), 1)));
        m_peer.finish();
    }
    EXPECT_NE(moduli[0], moduli[1]);
}

TEST_F(KeyExchange, SendsTheSamePublicKeyAgainOnNak) {
    m_peer.play([](Peer &line) {
        const far_end::PublicKey first = far_end::takeSecureOpen(line);
        line.write(NAK);
        const far_end::PublicKey again = far_end::takeSecureOpen(line);
        EXPECT_EQ(first.modulus, again.modulus);
        line.write(ACK + far_end::frame(withBlock(far_end::keyBlock(KEY))(again)));
    });
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), 1)));
    m_peer.finish();
    expectKeyInUse();
}

TEST_F(KeyExchange, DoesNotLookAtThePadding) {
    for (const std::uint8_t padding : Bytes{0x01, 0x02, 0x30}) {
        expectOpens(withBlock(far_end::keyBlock(KEY, padding)));
    }
}

// The hexadecimal reader takes leading pairs "30" for padding.
TEST_F(KeyExchange, TakesAnEncryptedBlockThatBeginsWith0x30) {
    expectOpensWithEncryptedBlockFrom(0x30);
}

TEST_F(KeyExchange, TakesAnEncryptedBlockThatBeginsWithZero) {
    expectOpensWithEncryptedBlockFrom(0x00);
}

TEST_F(KeyExchange, TakesLowerCaseDigits) {
    expectOpens([](const far_end::PublicKey &key) {
        Bytes text = far_end::hexText(key.encrypt(far_end::keyBlock(KEY)));
        for (std::uint8_t &digit : text) {
            digit = digit >= 'A' ? static_cast<std::uint8_t>(digit + 0x20) : digit;
        }
        return bytes("OPN000515256") + text;
    });
}

TEST_F(KeyExchange, TakesAKeyThatBeginsWithZero) {
    Bytes key = KEY;
    key.front() = 0x00;
    play(withBlock(far_end::keyBlock(key)));
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), 1)));
    m_peer.finish();
    EXPECT_EQ(key, Bytes(pinpad()->sessionKey.begin(), pinpad()->sessionKey.end()));
}

TEST_F(KeyExchange, IgnoresWhatFollowsTheBlock) {
    expectOpens([](const far_end::PublicKey &key) {
        return withBlock(far_end::keyBlock(KEY))(key) + bytes("more");
    });
}

TEST_F(KeyExchange, InstallsAKeyThatComesWithARefusal) {
    play([](const far_end::PublicKey &key) {
        return bytes("OPN011515256") + far_end::hexText(key.encrypt(far_end::keyBlock(KEY)));
    });
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_INVPARM, abecs_open(pinpad(), 1)));
    m_peer.finish();
    expectKeyInUse();
}

TEST_F(KeyExchange, TellsWhetherAKeyCame) {
    std::uint8_t installed = 0;
    play([](const far_end::PublicKey &) { return bytes("OPN000"); });
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open_secure(pinpad(), &installed)));
    m_peer.finish();
    EXPECT_EQ(0, installed);
    EXPECT_EQ(0, pinpad()->secure);
    play(withBlock(far_end::keyBlock(KEY)));
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open_secure(pinpad(), &installed)));
    m_peer.finish();
    EXPECT_EQ(1, installed);
}

TEST_F(KeyExchange, IsAnInvalidCallWhenNoKeyComes) {
    play([](const far_end::PublicKey &) { return bytes("OPN000"); });
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_INVCALL, abecs_open(pinpad(), 1)));
    m_peer.finish();
    EXPECT_EQ(0, pinpad()->secure);
    EXPECT_EQ(NO_KEY, pinpad()->sessionKey);
    expectUsable();
}

TEST_F(KeyExchange, ReturnsTheStatusOfARefusal) {
    play([](const far_end::PublicKey &) { return bytes("ERR010"); });
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_INVCALL, abecs_open(pinpad(), 1)));
    m_peer.finish();
    play([](const far_end::PublicKey &) { return bytes("OPN040"); });
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_INTERR, abecs_open(pinpad(), 1)));
    m_peer.finish();
    EXPECT_EQ(0, pinpad()->secure);
    expectUsable();
}

TEST_F(KeyExchange, RefusesAnotherBlockHeader) {
    const char *detail = "(OPN) Invalid PCKS#1 block header";
    Bytes block = far_end::keyBlock(KEY);
    block[1] = 0x01;
    expectFails(withBlock(block), PCL_RESULT_PROTOCOL_ERROR, detail);
    block = far_end::keyBlock(KEY);
    block[0] = 0x01;
    expectFails(withBlock(block), PCL_RESULT_PROTOCOL_ERROR, detail);
}

TEST_F(KeyExchange, NeedsASeparator) {
    expectFails(withBlock(Bytes{0x00, 0x02} + Bytes(254, 0xFF)), PCL_RESULT_IO_ERROR,
                "No enough space in buffer (available: 0, requested: 1)");
}

TEST_F(KeyExchange, RefusesAKeyOfAnotherLength) {
    const auto expectRefused = [&](std::size_t length, const char *detail) {
        SCOPED_TRACE(length);
        expectFails(withBlock(far_end::keyBlock(Bytes(length, 0xAA))), PCL_RESULT_PROTOCOL_ERROR,
                    detail);
    };
    expectRefused(15, "(OPN) Invalid Ksec length (expected: 16, read: 15)");
    expectRefused(17, "(OPN) Invalid Ksec length (expected: 16, read: 17)");
    expectRefused(0, "(OPN) Invalid Ksec length (expected: 16, read: 0)");
    expectRefused(253, "(OPN) Invalid Ksec length (expected: 16, read: 253)");
}

TEST_F(KeyExchange, TakesTheFirstZeroForTheSeparator) {
    Bytes block = far_end::keyBlock(KEY);
    block[100] = 0x00;
    expectFails(withBlock(block), PCL_RESULT_PROTOCOL_ERROR,
                "(OPN) Invalid Ksec length (expected: 16, read: 155)");
}

TEST_F(KeyExchange, RefusesAResponseThatIsNotAsItMustBe) {
    const auto expectRefused = [&](const std::string &body, PclResult_e code, const char *detail) {
        SCOPED_TRACE(body.substr(0, 16));
        expectFails([body](const far_end::PublicKey &) { return bytes(body); }, code, detail);
    };
    expectRefused("OPN00", PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response");
    expectRefused("XYZ000", PCL_RESULT_PROTOCOL_ERROR, "(OPN) Invalid RSP_ID: XYZ");
    expectRefused("OPN000514256", PCL_RESULT_PROTOCOL_ERROR, "(OPN) Invalid RSP_LEN1: 514");
    expectRefused("OPN000000", PCL_RESULT_PROTOCOL_ERROR, "(OPN) Invalid RSP_LEN1: 0");
    expectRefused("OPN000515128", PCL_RESULT_PROTOCOL_ERROR, "(OPN) Invalid OPN_CRKSLEN: 128");
    expectRefused("OPN00051", PCL_RESULT_IO_ERROR,
                  "Buffer does not have enough data (requested: 3, available: 2)");
    expectRefused("OPN000515256" + std::string(511, 'A'), PCL_RESULT_IO_ERROR,
                  "Buffer does not have enough data (requested: 512, available: 511)");
    expectRefused("OPN000515256" + std::string(510, 'A') + "AG", PCL_RESULT_IO_ERROR,
                  "Invalid data: AG");
}

// Not a number below the modulus.
TEST_F(KeyExchange, RefusesABlockThatIsNoRsaBlock) {
    play([](const far_end::PublicKey &) { return bytes("OPN000515256" + std::string(512, 'F')); });
    const PclException failure = pcl_attempt([&] { abecs_open(pinpad(), 1); });
    m_peer.finish();
    EXPECT_EQ(PCL_RESULT_CRYPT_ERROR, failure.code);
    EXPECT_EQ(0, pinpad()->secure);
    expectUsable();
}

TEST_F(KeyExchange, IsStoppedByAPendingCommand) {
    abecs_pinpad_set_pending(pinpad(), "GCD");
    m_peer.play([](Peer &line) { line.expectSilence(100ms); });
    const char *blocked = "Connection is blocked waiting for GCD response";
    EXPECT_FAILURE(abecs_open(pinpad(), 1), PCL_RESULT_ILLEGAL_STATE, blocked);
    EXPECT_FAILURE(abecs_open(pinpad(), 0), PCL_RESULT_ILLEGAL_STATE, blocked);
    m_peer.finish();
}

TEST_F(KeyExchange, ChecksForANullSession) {
    std::uint8_t installed = 0;
    EXPECT_FAILURE(abecs_open(nullptr, 1), PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_open(nullptr, 0), PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_open_plain(nullptr), PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_open_secure(nullptr, &installed), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'pinpad' is NULL");
    const ScopedHandler handler;
    abecs_open(nullptr, 1);
    abecs_open_plain(nullptr);
    abecs_open_secure(nullptr, &installed);
    EXPECT_EQ(3U, handler.count());
    EXPECT_EQ(0, installed);
}

TEST_F(KeyExchange, IsHarmlessWithAHandlerThatReturns) {
    const ScopedHandler handler;
    play([](const far_end::PublicKey &) { return bytes("OPN000514256"); });
    abecs_open(pinpad(), 1);
    m_peer.finish();
    ASSERT_EQ(1U, handler.count());
    EXPECT_EQ(failures::text(PCL_RESULT_PROTOCOL_ERROR, "(OPN) Invalid RSP_LEN1: 514"),
              handler.message());
    EXPECT_EQ(0, pinpad()->secure);
    expectUsable();
}

class PlainOpen : public Link {
protected:
    // The frames of "OPN" and of its answer.
    void play(const Bytes &answer) {
        m_peer.play([answer](Peer &line) {
            line.expect({0x16, 0x4F, 0x50, 0x4E, 0x17, 0xA8, 0xA9});
            line.write(ACK + answer);
            line.expectSilence(50ms);
        });
    }
};

TEST_F(PlainOpen, SendsOpnAlone) {
    play({0x16, 0x4F, 0x50, 0x4E, 0x30, 0x30, 0x30, 0x17, 0x77, 0x5E});
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), 0)));
    m_peer.finish();
    EXPECT_EQ(0, pinpad()->secure);
    expectUsable();
}

TEST_F(PlainOpen, IsMeantByAnyFlagButOne) {
    for (const std::uint8_t flag : Bytes{2, 0x80, 0xFF}) {
        play({0x16, 0x4F, 0x50, 0x4E, 0x30, 0x30, 0x30, 0x17, 0x77, 0x5E});
        EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), flag)));
        m_peer.finish();
    }
}

TEST_F(PlainOpen, LeavesASecureSessionAsItWas) {
    abecs_pinpad_set_session_key(pinpad(), OLD_KEY.data());
    play({0x16, 0x4F, 0x50, 0x4E, 0x30, 0x30, 0x30, 0x17, 0x77, 0x5E});
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), 0)));
    m_peer.finish();
    EXPECT_EQ(1, pinpad()->secure);
    EXPECT_EQ(OLD_KEY, pinpad()->sessionKey);
}

TEST_F(PlainOpen, ChecksTheResponse) {
    play({0x16, 0x4F, 0x50, 0x4E, 0x30, 0x30, 0x17, 0xD4, 0x01});
    EXPECT_FAILURE(abecs_open(pinpad(), 0), PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response");
    m_peer.finish();
    play({0x16, 0x58, 0x59, 0x5A, 0x30, 0x30, 0x30, 0x17, 0x9C, 0xDF});
    EXPECT_FAILURE(abecs_open(pinpad(), 0), PCL_RESULT_PROTOCOL_ERROR, "(OPN) Invalid RSP_ID: XYZ");
    m_peer.finish();
    play({0x16, 0x45, 0x52, 0x52, 0x30, 0x31, 0x30, 0x17, 0xB7, 0x11});
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_INVCALL, abecs_open(pinpad(), 0)));
    m_peer.finish();
    play({0x16, 0x4F, 0x50, 0x4E, 0x30, 0x31, 0x31, 0x17, 0x73, 0x5F});
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_INVPARM, abecs_open(pinpad(), 0)));
    m_peer.finish();
    expectUsable();
}

} // namespace
