#include "ext/cx_survey.h"
#include "ext/survey.h"
#include "tests/ext/asynchronous_fixture.h"

#include <cstring>

namespace {

using namespace line;
using extension::frame;

class CxSurvey : public Asynchronous {
protected:
    using Texts = std::array<const char *, ABECS_CX_SURVEY_MESSAGES>;

    void begin() {
        abecs_cx_survey_start(pinpad(), '0', '3', '5', "030", "000", {"one", "", "two", "", ""});
    }
    static constexpr char REQUEST[] = "EX10035030000onetwo";

    void beginAcknowledged() {
        acknowledge(REQUEST);
        ASSERT_NO_FAILURE(begin());
        m_peer.finish();
    }
    std::int32_t get() { return abecs_cx_survey_get(pinpad(), m_answer.data()); }
    std::int32_t stop() { return abecs_cx_survey_stop(pinpad()); }

    std::array<char, 5> m_answer{'?', '?', '?', '?', '?'};
};

TEST_F(CxSurvey, IsShownAndAnswered) {
    for (const auto &[response, expected] :
         {std::pair{"EX109", "9"}, std::pair{"EX10ABC", "ABC"}, std::pair{"ERR 1", "1"},
          std::pair{"ERR 12 ", "12 "}}) {
        SCOPED_TRACE(response);
        m_answer.fill('?');
        beginAcknowledged();
        respond(std::string(response));
        EXPECT_NO_FAILURE(EXPECT_EQ(0, get()));
        EXPECT_STREQ(expected, m_answer.data());
        EXPECT_EQ('?', m_answer[std::strlen(expected) + 1]);
        EXPECT_EQ("", pending());
    }
    expectExchangeWorks();
}

TEST_F(CxSurvey, WritesItsTextsOneAfterTheOther) {
    acknowledge("EX10330999123abbcc\x80\xFF");
    EXPECT_NO_FAILURE(abecs_cx_survey_start(pinpad(), '3', '3', '0', "999", "123",
                                            {"a", "bb", "c", "c", "\x80\xFF"}));
    m_peer.finish();
}

TEST_F(CxSurvey, EndsAfterTheIdleTimeoutWithoutTexts) {
    acknowledge("EX10330999000");
    EXPECT_NO_FAILURE(
        abecs_cx_survey_start(pinpad(), '3', '3', '0', "999", "000", {"", "", "", "", ""}));
    m_peer.finish();
}

TEST_F(CxSurvey, BlocksTheSession) {
    beginAcknowledged();
    expectBlocks("EX10", [&] { begin(); });
    expectRefused([&] { return abecs_survey_get(pinpad(), m_answer.data()); },
                  PCL_RESULT_ILLEGAL_STATE, "EX08 was not sent yet");
}

TEST_F(CxSurvey, StaysPendingUntilAnAnswerComes) {
    beginAcknowledged();
    EXPECT_NO_FAILURE(EXPECT_EQ(-1, get()));
    EXPECT_EQ("EX10", pending());
    expectNoAnswerFromDamagedFrames([&] { return get(); });
    EXPECT_EQ('?', m_answer[0]);
    respond("EX105");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, get()));
    EXPECT_STREQ("5", m_answer.data());
}

TEST_F(CxSurvey, IsNotPendingBeforeItsAcknowledgement) {
    expectPendingOnlyWhenAcknowledged(REQUEST, [&] { begin(); });
}

TEST_F(CxSurvey, ChecksItsArgumentsInOrder) {
    const Texts none{};
    const auto refused = [&](AbecsPinpad *p, char survey, char message, char score,
                             const char *timeout, const char *idle, const Texts &texts,
                             const std::string &detail) {
        expectRefused(
            [&] { abecs_cx_survey_start(p, survey, message, score, timeout, idle, texts); },
            ILLEGAL, detail);
    };
    refused(nullptr, '4', '4', '6', "12", "12", none, "'pinpad' is NULL");
    refused(pinpad(), '4', '4', '6', "12", "12", none, "Invalid value for bSurveyType: 4");
    refused(pinpad(), '/', '4', '6', "12", "12", none, "Invalid value for bSurveyType: /");
    refused(pinpad(), '3', '4', '6', "12", "12", none, "Invalid value for bMsgType: 4");
    refused(pinpad(), '3', '/', '6', "12", "12", none, "Invalid value for bMsgType: /");
    refused(pinpad(), '3', '3', '6', "12", "12", none, "Invalid value for bScoreType: 6");
    refused(pinpad(), '3', '3', '/', "12", "12", none, "Invalid value for bScoreType: /");
    refused(pinpad(), '3', '3', '5', "12", "12", none, "Invalid size for sTimeOut: 12 (exact: 3)");
    refused(pinpad(), '3', '3', '5', "0123", "12", none,
            "Invalid size for sTimeOut: 0123 (exact: 3)");
    refused(pinpad(), '3', '3', '5', nullptr, "12", none, "Invalid size for sTimeOut:  (exact: 3)");
    refused(pinpad(), '3', '3', '5', "1a2", "12", none,
            "Invalid value for sTimeOut: 1a2 (max: 999)");
    refused(pinpad(), '3', '3', '5', "000", "1234", none,
            "Invalid size for sTOutIdle: 1234 (exact: 3)");
    refused(pinpad(), '3', '3', '5', "000", nullptr, none,
            "Invalid size for sTOutIdle:  (exact: 3)");
    refused(pinpad(), '3', '3', '5', "000", "12 ", none,
            "Invalid value for sTOutIdle: 12  (max: 999)");
    Texts texts{};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        refused(pinpad(), '0', '0', '0', "000", "000", texts,
                "'sMsgData" + std::to_string(i + 1) + "' is NULL");
        texts[i] = "";
    }
    EXPECT_EQ("", pending());
}

TEST_F(CxSurvey, ChecksItsAnswersBufferBeforeTheState) {
    expectRefused([&] { return abecs_cx_survey_get(nullptr, nullptr); }, ILLEGAL,
                  "'pinpad' is NULL");
    expectRefused([&] { return abecs_cx_survey_get(pinpad(), nullptr); }, ILLEGAL,
                  "'cResp' is NULL");
    expectRefused([&] { return get(); }, PCL_RESULT_ILLEGAL_STATE, "EX10 was not sent yet");
}

TEST_F(CxSurvey, IsNotSentWithTextsItCannotHold) {
    const auto start = [&](const std::string &last) {
        abecs_cx_survey_start(pinpad(), '0', '0', '0', "000", "000",
                              {"", "", "", "x", last.c_str()});
    };
    // 13 characters and the x go before the last text.
    const std::string longest(ABECS_PACKET_CAPACITY - 14, 't');
    acknowledge("EX10000000000x" + longest);
    EXPECT_NO_FAILURE(start(longest));
    m_peer.finish();
    abecs_ext_clear_pending(pinpad());
    expectRefused([&] { start(longest + "t"); }, PCL_RESULT_IO_ERROR,
                  "No enough space in buffer (available: 0, requested: 1)");
    expectRefused([&] { start("\n"); }, ILLEGAL, "Invalid character (0x0A) at position 0");
    EXPECT_EQ("", pending());
    expectExchangeWorks();
}

TEST_F(CxSurvey, StaysPendingAfterAWrongAnswer) {
    beginAcknowledged();
    for (const char *response : {"EX10", "EX1012", "EX101234", "ERR 12"}) {
        respond(std::string(response));
        EXPECT_FAILURE(get(), PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response");
    }
    respond("EX081");
    EXPECT_FAILURE(get(), PCL_RESULT_PROTOCOL_ERROR, "(EX10) Invalid RSP_ID: EX08)");
    EXPECT_EQ("EX10", pending());
    EXPECT_EQ('?', m_answer[0]);
    respond("EX10321");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, get()));
    EXPECT_STREQ("321", m_answer.data());
    EXPECT_EQ("", pending());
    expectExchangeWorks();
}

TEST_F(CxSurvey, StopWritesEotAndCollectsTheAnswer) {
    for (const char *response : {"EX10ABC", "EX101"}) {
        beginAcknowledged();
        m_peer.play([response](Peer &line) {
            line.expect(EOT);
            line.write(frame(std::string(response)));
            line.expectSilence(50ms);
        });
        EXPECT_NO_FAILURE(EXPECT_EQ(0, stop()));
        m_peer.finish();
        EXPECT_EQ("", pending());
    }
    expectExchangeWorks();
}

TEST_F(CxSurvey, StopWritesEotEvenWithoutASurvey) {
    expectRefused([] { return abecs_cx_survey_stop(nullptr); }, ILLEGAL, "'pinpad' is NULL");
    ASSERT_NO_FAILURE(abecs_ext_set_pending(pinpad(), "EX08"));
    m_peer.play([](Peer &line) {
        line.expect(EOT);
        line.expectSilence(50ms);
    });
    EXPECT_FAILURE(stop(), PCL_RESULT_ILLEGAL_STATE, "EX10 was not sent yet");
    m_peer.finish();
    EXPECT_EQ("EX08", pending());
}

TEST_F(CxSurvey, StopWithoutAnAnswerLeavesItPending) {
    beginAcknowledged();
    m_peer.play([](Peer &line) { line.expect(EOT); });
    EXPECT_NO_FAILURE(EXPECT_EQ(-1, stop()));
    m_peer.finish();
    EXPECT_EQ("EX10", pending());
    respond("EX101");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, get()));
    EXPECT_STREQ("1", m_answer.data());
}

} // namespace
