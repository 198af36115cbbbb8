// The commands that start, are polled, and block the session meanwhile: QR code and surveys.

#include "ext/cx_survey.h"
#include "ext/qrcode.h"
#include "ext/survey.h"
#include "tests/ext/ext_fixture.h"

#include <array>

namespace {

using namespace line;

constexpr auto ILLEGAL = PCL_RESULT_ILLEGAL_ARGUMENT;

class Asynchronous : public Extension {
protected:
    void acknowledge(const std::string &request) { answer(request, Bytes{}); }
    void respond(const Bytes &response) {
        m_peer.finish();
        m_peer.play([response](Peer &line) { line.write(response); });
        m_peer.finish();
    }
    void respond(const std::string &data) { respond(frame(data)); }
    std::string pending() { return abecs_pinpad_get_pending(pinpad()).text; }
    char *answerText() { return m_answer.data(); }

    void startQr() {
        acknowledge("QR010051080011PAY HEREhttps://x.y");
        EXPECT_NO_FAILURE(abecs_qr_start(pinpad(), 5, '1', 8, "PAY HERE", 11, "https://x.y"));
        m_peer.finish();
    }
    void startSurvey() {
        acknowledge("EX081A2B030C0003TOP1000");
        EXPECT_NO_FAILURE(abecs_survey_start(pinpad(), 0x1A2B, 30, 12, {0, "TOP", 3}, {1, "", 0}));
        m_peer.finish();
    }
    void startCxSurvey() {
        acknowledge("EX10035030000onetwo");
        EXPECT_NO_FAILURE(abecs_cx_survey_start(pinpad(), '0', '3', '5', "030", "000",
                                                {"one", "", "two", "", ""}));
        m_peer.finish();
    }

    std::array<char, 8> m_answer{};
    std::uint8_t m_result = 0x77;
};

TEST_F(Asynchronous, QrCodeIsShownAndAnswered) {
    startQr();
    EXPECT_EQ("QR01", pending());
    EXPECT_FAILURE(abecs_qr_start(pinpad(), 5, '1', 0, "", 0, ""), PCL_RESULT_ILLEGAL_STATE,
                   "Connection is blocked waiting for QR01 response");
    EXPECT_NO_FAILURE(EXPECT_EQ(-1, abecs_qr_response(pinpad(), &m_result)));
    EXPECT_EQ(0x77, m_result);
    EXPECT_EQ("QR01", pending());
    respond(frame(bytes("QR01") + Bytes{0xFE}));
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_qr_response(pinpad(), &m_result)));
    EXPECT_EQ(0xFE, m_result);
    EXPECT_EQ("", pending());
    EXPECT_FAILURE(abecs_qr_response(pinpad(), &m_result), PCL_RESULT_ILLEGAL_STATE,
                   "QR01 was not sent yet");
}

TEST_F(Asynchronous, QrCodeWritesItsFields) {
    acknowledge("QR019990000000");
    EXPECT_NO_FAILURE(abecs_qr_start(pinpad(), 999, '0', 0, nullptr, 0, nullptr));
    m_peer.finish();
    abecs_ext_clear_pending(pinpad());
    const std::string longest(20, 'l');
    acknowledge("QR010002200001" + longest + "q");
    EXPECT_NO_FAILURE(abecs_qr_start(pinpad(), 0, '2', 20, longest.c_str(), 1, "q"));
    m_peer.finish();
}

TEST_F(Asynchronous, QrCodeChecksItsArgumentsInOrder) {
    const auto start = [&](AbecsPinpad *p, std::uint64_t timeout, char type, std::size_t lineLength,
                           std::size_t codeLength) {
        abecs_qr_start(p, timeout, type, lineLength, "", codeLength, "");
    };
    EXPECT_FAILURE(start(nullptr, 1000, '3', 21, 10000), ILLEGAL, "'pinpad' is NULL");
    EXPECT_FAILURE(start(pinpad(), 1000, '3', 21, 10000), ILLEGAL,
                   "Invalid value for usTimeout: 1000 (max: 999)");
    EXPECT_FAILURE(start(pinpad(), 4294967297, '3', 21, 10000), ILLEGAL,
                   "Invalid value for usTimeout: 1 (max: 999)");
    EXPECT_FAILURE(start(pinpad(), 999, '3', 21, 10000), ILLEGAL, "Invalid value for bLineType: 3");
    EXPECT_FAILURE(start(pinpad(), 999, '/', 21, 10000), ILLEGAL, "Invalid value for bLineType: /");
    EXPECT_FAILURE(start(pinpad(), 999, '2', 21, 10000), ILLEGAL,
                   "Invalid value for iLineLen: 21 (max: 20)");
    EXPECT_FAILURE(start(pinpad(), 999, '2', 20, 10000), ILLEGAL,
                   "Invalid value for iQRCodeLen: 10000 (max: 9999)");
    EXPECT_FAILURE(abecs_qr_response(nullptr, &m_result), ILLEGAL, "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_qr_response(pinpad(), &m_result), PCL_RESULT_ILLEGAL_STATE,
                   "QR01 was not sent yet");
    expectNothingSent();
}

TEST_F(Asynchronous, QrCodeThatDoesNotFitIsNotSent) {
    const std::string longest(2030, 'q');
    acknowledge("QR010001002030" + longest);
    EXPECT_NO_FAILURE(abecs_qr_start(pinpad(), 0, '1', 0, "", longest.size(), longest.c_str()));
    m_peer.finish();
    abecs_ext_clear_pending(pinpad());
    const std::string tooLong(2031, 'q');
    EXPECT_FAILURE(abecs_qr_start(pinpad(), 0, '1', 0, "", tooLong.size(), tooLong.c_str()),
                   PCL_RESULT_IO_ERROR, "No enough space in buffer (available: 0, requested: 1)");
    expectNothingSent();
    EXPECT_EQ("", pending());
}

TEST_F(Asynchronous, QrCodeStaysPendingAfterAWrongAnswer) {
    startQr();
    const auto poll = [&] { return abecs_qr_response(pinpad(), &m_result); };
    respond("QR0112");
    EXPECT_FAILURE(poll(), PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response");
    respond("QR02x");
    EXPECT_FAILURE(poll(), PCL_RESULT_PROTOCOL_ERROR, "(QR01) Invalid RSP_ID: QR02)");
    respond(Bytes{0x15});
    EXPECT_FAILURE(poll(), PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected STX, read 0x15)");
    EXPECT_EQ("QR01", pending());
    EXPECT_EQ(0x77, m_result);
    respond("ERR 1");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, poll()));
    EXPECT_EQ('1', m_result);
}

TEST_F(Asynchronous, SurveyIsShownAndAnswered) {
    for (const auto &[response, expected] : {std::pair{"EX0807", "7"}, std::pair{"EX0837", "3"},
                                             std::pair{"EX0800", "0"}, std::pair{"ERR 0A", "A"}}) {
        startSurvey();
        EXPECT_EQ("EX08", pending());
        EXPECT_FAILURE(abecs_cx_survey_get(pinpad(), answerText()), PCL_RESULT_ILLEGAL_STATE,
                       "EX10 was not sent yet");
        respond(std::string(response));
        EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_survey_get(pinpad(), answerText())));
        EXPECT_STREQ(expected, answerText());
        EXPECT_EQ("", pending());
    }
}

TEST_F(Asynchronous, SurveyChecksItsArgumentsInOrder) {
    const auto start = [&](AbecsPinpad *p, int timeout, int style, int topType, const char *top,
                           int bottomType, const char *bottom) {
        abecs_survey_start(p, 1, static_cast<std::uint16_t>(timeout),
                           static_cast<std::uint8_t>(style),
                           {static_cast<std::uint8_t>(topType), top, 0},
                           {static_cast<std::uint8_t>(bottomType), bottom, 0});
    };
    EXPECT_FAILURE(start(nullptr, 1000, 10, 3, nullptr, 3, nullptr), ILLEGAL, "'pinpad' is NULL");
    EXPECT_FAILURE(start(pinpad(), 1000, 10, 3, nullptr, 3, nullptr), ILLEGAL,
                   "Invalid value for usTimeout: 1000 (max: 999)");
    EXPECT_FAILURE(start(pinpad(), 999, 10, 3, nullptr, 3, nullptr), ILLEGAL,
                   "Invalid value for bScreenStyle: 10");
    EXPECT_FAILURE(start(pinpad(), 999, 4, 3, nullptr, 3, nullptr), ILLEGAL,
                   "Invalid value for bDisplayTopType: 3");
    EXPECT_FAILURE(start(pinpad(), 999, 8, 2, nullptr, 3, nullptr), ILLEGAL,
                   "'sDisplayTopData' is NULL");
    EXPECT_FAILURE(start(pinpad(), 999, 12, 2, "", 3, nullptr), ILLEGAL,
                   "Invalid value for bDisplayBottomType: 3");
    EXPECT_FAILURE(start(pinpad(), 999, 12, 2, "", 2, nullptr), ILLEGAL,
                   "'sDisplayBottomData' is NULL");
    EXPECT_FAILURE(abecs_survey_get(nullptr, nullptr), ILLEGAL, "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_survey_get(pinpad(), nullptr), ILLEGAL, "'cResp' is NULL");
    EXPECT_FAILURE(abecs_survey_get(pinpad(), answerText()), PCL_RESULT_ILLEGAL_STATE,
                   "EX08 was not sent yet");
    const std::string tooLong(1000, 't');
    EXPECT_FAILURE(abecs_survey_start(pinpad(), 1, 1, 4, {0, tooLong.c_str(), 1000}, {0, "", 0}),
                   ILLEGAL, "Number length (4) is greater than field length (3)");
    expectNothingSent();
    EXPECT_EQ("", pending());
}

TEST_F(Asynchronous, SurveyRefusesOtherLengths) {
    startSurvey();
    for (const char *response : {"EX080", "EX08000"}) {
        respond(std::string(response));
        EXPECT_FAILURE(abecs_survey_get(pinpad(), answerText()), PCL_RESULT_PROTOCOL_ERROR,
                       "Unrecognized response");
    }
    respond("EX1000");
    EXPECT_FAILURE(abecs_survey_get(pinpad(), answerText()), PCL_RESULT_PROTOCOL_ERROR,
                   "(EX08) Invalid RSP_ID: EX10)");
    EXPECT_EQ("EX08", pending());
}

TEST_F(Asynchronous, StopWritesEotAndCollectsTheAnswer) {
    startSurvey();
    m_peer.play([](Peer &line) {
        line.expect(EOT);
        line.write(frame("EX0805"));
    });
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_survey_stop(pinpad())));
    m_peer.finish();
    EXPECT_EQ("", pending());
    startCxSurvey();
    m_peer.play([](Peer &line) {
        line.expect(EOT);
        line.write(frame("EX10ABC"));
    });
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_cx_survey_stop(pinpad())));
    m_peer.finish();
    EXPECT_EQ("", pending());
}

TEST_F(Asynchronous, StopWritesEotEvenWithoutASurvey) {
    m_peer.play([](Peer &line) {
        line.expect(EOT + EOT);
        line.expectSilence(50ms);
    });
    EXPECT_FAILURE(abecs_survey_stop(nullptr), ILLEGAL, "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_survey_stop(pinpad()), PCL_RESULT_ILLEGAL_STATE, "EX08 was not sent yet");
    EXPECT_FAILURE(abecs_cx_survey_stop(pinpad()), PCL_RESULT_ILLEGAL_STATE,
                   "EX10 was not sent yet");
    m_peer.finish();
}

TEST_F(Asynchronous, StopWithoutAnAnswerLeavesTheSurveyPending) {
    startSurvey();
    EXPECT_NO_FAILURE(EXPECT_EQ(-1, abecs_survey_stop(pinpad())));
    EXPECT_EQ("EX08", pending());
    respond("EX0801");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_survey_get(pinpad(), answerText())));
    EXPECT_STREQ("1", answerText());
}

TEST_F(Asynchronous, CxSurveyIsShownAndAnswered) {
    for (const char *expected : {"9", "ABC"}) {
        startCxSurvey();
        EXPECT_EQ("EX10", pending());
        respond(std::string("EX10") + expected);
        EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_cx_survey_get(pinpad(), answerText())));
        EXPECT_STREQ(expected, answerText());
    }
    startCxSurvey();
    for (const char *response : {"EX10", "EX1012", "EX101234"}) {
        respond(std::string(response));
        EXPECT_FAILURE(abecs_cx_survey_get(pinpad(), answerText()), PCL_RESULT_PROTOCOL_ERROR,
                       "Unrecognized response");
    }
    EXPECT_NO_FAILURE(EXPECT_EQ(-1, abecs_cx_survey_get(pinpad(), answerText())));
    EXPECT_EQ("EX10", pending());
}

TEST_F(Asynchronous, CxSurveyEndsAfterTheIdleTimeoutWithoutTexts) {
    acknowledge("EX10330999000");
    EXPECT_NO_FAILURE(
        abecs_cx_survey_start(pinpad(), '3', '3', '0', "999", "000", {"", "", "", "", ""}));
    m_peer.finish();
}

TEST_F(Asynchronous, CxSurveyChecksItsArgumentsInOrder) {
    using Texts = std::array<const char *, 5>;
    const Texts none{};
    const auto start = [&](AbecsPinpad *p, char survey, char message, char score,
                           const char *timeout, const char *idle, const Texts &texts) {
        abecs_cx_survey_start(p, survey, message, score, timeout, idle, texts);
    };
    EXPECT_FAILURE(start(nullptr, '4', '4', '6', "12", "12", none), ILLEGAL, "'pinpad' is NULL");
    EXPECT_FAILURE(start(pinpad(), '4', '4', '6', "12", "12", none), ILLEGAL,
                   "Invalid value for bSurveyType: 4");
    EXPECT_FAILURE(start(pinpad(), '3', '4', '6', "12", "12", none), ILLEGAL,
                   "Invalid value for bMsgType: 4");
    EXPECT_FAILURE(start(pinpad(), '3', '3', '6', "12", "12", none), ILLEGAL,
                   "Invalid value for bScoreType: 6");
    EXPECT_FAILURE(start(pinpad(), '3', '3', '5', "12", "12", none), ILLEGAL,
                   "Invalid size for sTimeOut: 12 (exact: 3)");
    EXPECT_FAILURE(start(pinpad(), '3', '3', '5', nullptr, "12", none), ILLEGAL,
                   "Invalid size for sTimeOut:  (exact: 3)");
    EXPECT_FAILURE(start(pinpad(), '3', '3', '5', "1a2", "12", none), ILLEGAL,
                   "Invalid value for sTimeOut: 1a2 (max: 999)");
    EXPECT_FAILURE(start(pinpad(), '3', '3', '5', "000", "1234", none), ILLEGAL,
                   "Invalid size for sTOutIdle: 1234 (exact: 3)");
    EXPECT_FAILURE(start(pinpad(), '3', '3', '5', "000", "12 ", none), ILLEGAL,
                   "Invalid value for sTOutIdle: 12  (max: 999)");
    Texts texts{};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_FAILURE(start(pinpad(), '0', '0', '0', "000", "000", texts), ILLEGAL,
                       "'sMsgData" + std::to_string(i + 1) + "' is NULL");
        texts[i] = "";
    }
    expectNothingSent();
}

} // namespace
