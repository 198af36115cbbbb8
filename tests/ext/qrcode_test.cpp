#include "ext/qrcode.h"
#include "tests/ext/asynchronous_fixture.h"

namespace {

using namespace line;
using extension::frame;

class QrCode : public Asynchronous {
protected:
    void begin() { abecs_qr_start(pinpad(), 5, '1', 8, "PAY HERE", 11, "https://x.y"); }
    static constexpr char REQUEST[] = "QR010051080011PAY HEREhttps://x.y";

    void beginAcknowledged() {
        acknowledge(REQUEST);
        ASSERT_NO_FAILURE(begin());
        m_peer.finish();
    }
    std::int32_t poll() { return abecs_qr_response(pinpad(), &m_result); }

    std::uint8_t m_result = 0x77;
};

TEST_F(QrCode, IsShownAndAnswered) {
    for (const std::uint8_t result : Bytes{0x00, 0x30, 0x02, 0xFE}) {
        beginAcknowledged();
        EXPECT_EQ("QR01", pending());
        respond(frame(bytes("QR01") + Bytes{result}));
        EXPECT_NO_FAILURE(EXPECT_EQ(0, poll()));
        EXPECT_EQ(result, m_result);
        EXPECT_EQ("", pending());
    }
    expectExchangeWorks();
}

TEST_F(QrCode, BlocksTheSession) {
    beginAcknowledged();
    expectBlocks("QR01", [&] { begin(); });
}

TEST_F(QrCode, StaysPendingUntilAnAnswerComes) {
    beginAcknowledged();
    EXPECT_NO_FAILURE(EXPECT_EQ(-1, poll()));
    EXPECT_EQ("QR01", pending());
    expectNoAnswerFromDamagedFrames([&] { return poll(); });
    EXPECT_EQ(0x77, m_result);
    respond("QR011");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, poll()));
    EXPECT_EQ('1', m_result);
}

TEST_F(QrCode, IsNotPendingBeforeItsAcknowledgement) {
    expectPendingOnlyWhenAcknowledged(REQUEST, [&] { begin(); });
}

TEST_F(QrCode, IsNotPolledBeforeItsStartAndAfterItsEnd) {
    const auto call = [&] { return poll(); };
    expectRefused(call, PCL_RESULT_ILLEGAL_STATE, "QR01 was not sent yet");
    abecs_ext_set_pending(pinpad(), "EX08");
    expectRefused(call, PCL_RESULT_ILLEGAL_STATE, "QR01 was not sent yet");
    EXPECT_EQ("EX08", pending());
    abecs_ext_clear_pending(pinpad());
    beginAcknowledged();
    respond("QR011");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, poll()));
    expectRefused(call, PCL_RESULT_ILLEGAL_STATE, "QR01 was not sent yet");
}

TEST_F(QrCode, WritesItsFields) {
    const std::string longest(20, 'l');
    acknowledge("QR019990000000");
    EXPECT_NO_FAILURE(abecs_qr_start(pinpad(), 999, '0', 0, "", 0, ""));
    m_peer.finish();
    abecs_ext_clear_pending(pinpad());
    acknowledge("QR010002200001" + longest + "q");
    EXPECT_NO_FAILURE(abecs_qr_start(pinpad(), 0, '2', 20, longest.c_str(), 1, "q"));
    m_peer.finish();
    abecs_ext_clear_pending(pinpad());
    acknowledge("QR010001020002\x80\xFF\x20\x7F");
    EXPECT_NO_FAILURE(abecs_qr_start(pinpad(), 0, '1', 2, "\x80\xFF", 2, "\x20\x7F"));
    m_peer.finish();
}

TEST_F(QrCode, TakesNullTextsForEmptyOnes) {
    acknowledge("QR010050000000");
    EXPECT_NO_FAILURE(abecs_qr_start(pinpad(), 5, '0', 0, nullptr, 0, nullptr));
    m_peer.finish();
    EXPECT_EQ("QR01", pending());
}

TEST_F(QrCode, ChecksItsArgumentsInOrder) {
    const auto refused = [&](AbecsPinpad *p, std::uint64_t timeout, char type,
                             std::size_t lineLength, std::size_t codeLength, const char *detail) {
        expectRefused([&] { abecs_qr_start(p, timeout, type, lineLength, "", codeLength, ""); },
                      ILLEGAL, detail);
    };
    refused(nullptr, 1000, '3', 21, 10000, "'pinpad' is NULL");
    refused(pinpad(), 1000, '3', 21, 10000, "Invalid value for usTimeout: 1000 (max: 999)");
    refused(pinpad(), 0x100000001, '3', 21, 10000, "Invalid value for usTimeout: 1 (max: 999)");
    refused(pinpad(), 999, '3', 21, 10000, "Invalid value for bLineType: 3");
    refused(pinpad(), 999, '/', 21, 10000, "Invalid value for bLineType: /");
    refused(pinpad(), 999, '2', 21, 10000, "Invalid value for iLineLen: 21 (max: 20)");
    refused(pinpad(), 999, '2', 20, 10000, "Invalid value for iQRCodeLen: 10000 (max: 9999)");
    EXPECT_EQ("", pending());
    expectRefused([&] { return abecs_qr_response(nullptr, nullptr); }, ILLEGAL, "'pinpad' is NULL");
    expectRefused([&] { return abecs_qr_response(pinpad(), nullptr); }, PCL_RESULT_ILLEGAL_STATE,
                  "QR01 was not sent yet");
    ASSERT_NO_FAILURE(abecs_ext_set_pending(pinpad(), "QR01"));
    expectRefused([&] { return abecs_qr_response(pinpad(), nullptr); }, ILLEGAL,
                  "'result' is NULL");
    EXPECT_EQ("QR01", pending());
}

TEST_F(QrCode, IsNotSentWithCharactersItCannotHold) {
    expectRefused([&] { abecs_qr_start(pinpad(), 5, '0', 3, "a\rb", 0, ""); }, ILLEGAL,
                  "Invalid character (0x0D) at position 1");
    expectRefused([&] { abecs_qr_start(pinpad(), 5, '0', 0, "", 1, "\x1F"); }, ILLEGAL,
                  "Invalid character (0x1F) at position 0");
    EXPECT_EQ("", pending());
}

TEST_F(QrCode, IsNotSentWhenItDoesNotFit) {
    // 14 characters go before the texts.
    const std::string longest(ABECS_PACKET_CAPACITY - 14, 'q');
    acknowledge("QR010001002030" + longest);
    EXPECT_NO_FAILURE(abecs_qr_start(pinpad(), 0, '1', 0, "", longest.size(), longest.c_str()));
    m_peer.finish();
    abecs_ext_clear_pending(pinpad());
    for (const std::size_t length : {longest.size() + 1, std::size_t{9999}}) {
        const std::string tooLong(length, 'q');
        expectRefused([&] { abecs_qr_start(pinpad(), 0, '1', 0, "", length, tooLong.c_str()); },
                      PCL_RESULT_IO_ERROR,
                      "No enough space in buffer (available: 0, requested: 1)");
    }
    EXPECT_EQ("", pending());
    expectExchangeWorks();
}

TEST_F(QrCode, StaysPendingAfterAWrongAnswer) {
    beginAcknowledged();
    for (const char *response : {"", "QR01", "QR0112", "ERR 12"}) {
        respond(std::string(response));
        EXPECT_FAILURE(poll(), PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response");
    }
    respond("QR02x");
    EXPECT_FAILURE(poll(), PCL_RESULT_PROTOCOL_ERROR, "(QR01) Invalid RSP_ID: QR02)");
    respond(Bytes{0x15});
    EXPECT_FAILURE(poll(), PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected STX, read 0x15)");
    EXPECT_EQ("QR01", pending());
    EXPECT_EQ(0x77, m_result);
    respond("ERR 1");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, poll()));
    EXPECT_EQ('1', m_result);
    EXPECT_EQ("", pending());
    expectExchangeWorks();
}

} // namespace
