#include "ext/cx_survey.h"
#include "ext/survey.h"
#include "tests/ext/asynchronous_fixture.h"

namespace {

using namespace line;
using extension::frame;

class Survey : public Asynchronous {
protected:
    void begin() { abecs_survey_start(pinpad(), 0x1A2B, 30, 12, {0, "TOP", 3}, {1, "", 0}); }
    static constexpr char REQUEST[] = "EX081A2B030C0003TOP1000";

    void beginAcknowledged() {
        acknowledge(REQUEST);
        ASSERT_NO_FAILURE(begin());
        m_peer.finish();
    }
    std::int32_t get() { return abecs_survey_get(pinpad(), m_answer.data()); }
    std::int32_t stop() { return abecs_survey_stop(pinpad()); }

    std::array<char, 3> m_answer{'?', '?', '?'};
};

TEST_F(Survey, IsShownAndAnswered) {
    for (const auto &[response, expected] :
         {std::pair{"EX0807", "7"}, std::pair{"EX0837", "3"}, std::pair{"EX0800", "0"},
          std::pair{"EX08 7", " "}, std::pair{"ERR 0A", "A"}}) {
        SCOPED_TRACE(response);
        beginAcknowledged();
        respond(std::string(response));
        EXPECT_NO_FAILURE(EXPECT_EQ(0, get()));
        EXPECT_STREQ(expected, m_answer.data());
        EXPECT_EQ('?', m_answer[2]);
        EXPECT_EQ("", pending());
    }
    expectExchangeWorks();
}

TEST_F(Survey, WritesItsFields) {
    const std::string longest(999, 't');
    acknowledge("EX08000099941999" + longest + "2002\x80\xFF");
    EXPECT_NO_FAILURE(
        abecs_survey_start(pinpad(), 0, 999, 4, {1, longest.c_str(), 999}, {2, "\x80\xFF", 2}));
    m_peer.finish();
    abecs_ext_clear_pending(pinpad());
    acknowledge("EX08"
                "FFFF"
                "000"
                "8"
                "0"
                "000"
                "0"
                "006"
                "bottom");
    EXPECT_NO_FAILURE(abecs_survey_start(pinpad(), 0xFFFF, 0, 8, {0, "", 0}, {0, "bottom", 6}));
    m_peer.finish();
}

TEST_F(Survey, BlocksTheSession) {
    beginAcknowledged();
    expectBlocks("EX08", [&] { begin(); });
    expectRefused([&] { return abecs_cx_survey_get(pinpad(), m_answer.data()); },
                  PCL_RESULT_ILLEGAL_STATE, "EX10 was not sent yet");
}

TEST_F(Survey, StaysPendingUntilAnAnswerComes) {
    beginAcknowledged();
    EXPECT_NO_FAILURE(EXPECT_EQ(-1, get()));
    EXPECT_EQ("EX08", pending());
    expectNoAnswerFromDamagedFrames([&] { return get(); });
    EXPECT_EQ('?', m_answer[0]);
    respond("EX0807");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, get()));
    EXPECT_STREQ("7", m_answer.data());
}

TEST_F(Survey, IsNotPendingBeforeItsAcknowledgement) {
    expectPendingOnlyWhenAcknowledged(REQUEST, [&] { begin(); });
}

TEST_F(Survey, ChecksItsArgumentsInOrder) {
    const auto refused = [&](AbecsPinpad *p, int timeout, int style, int topType, const char *top,
                             int bottomType, const char *bottom, const char *detail) {
        expectRefused(
            [&] {
                abecs_survey_start(p, 1, static_cast<std::uint16_t>(timeout),
                                   static_cast<std::uint8_t>(style),
                                   {static_cast<std::uint8_t>(topType), top, 0},
                                   {static_cast<std::uint8_t>(bottomType), bottom, 0});
            },
            ILLEGAL, detail);
    };
    refused(nullptr, 1000, 10, 3, nullptr, 3, nullptr, "'pinpad' is NULL");
    refused(pinpad(), 1000, 10, 3, nullptr, 3, nullptr,
            "Invalid value for usTimeout: 1000 (max: 999)");
    for (const int style : {0, 5, 10, 16}) {
        const std::string detail = "Invalid value for bScreenStyle: " + std::to_string(style);
        refused(pinpad(), 999, style, 3, nullptr, 3, nullptr, detail.c_str());
    }
    refused(pinpad(), 999, 4, 3, nullptr, 3, nullptr, "Invalid value for bDisplayTopType: 3");
    refused(pinpad(), 999, 8, 2, nullptr, 3, nullptr, "'sDisplayTopData' is NULL");
    refused(pinpad(), 999, 12, 2, "", 3, nullptr, "Invalid value for bDisplayBottomType: 3");
    refused(pinpad(), 999, 12, 2, "", 2, nullptr, "'sDisplayBottomData' is NULL");
    EXPECT_EQ("", pending());
}

TEST_F(Survey, ChecksItsAnswersBufferBeforeTheState) {
    expectRefused([&] { return abecs_survey_get(nullptr, nullptr); }, ILLEGAL, "'pinpad' is NULL");
    expectRefused([&] { return abecs_survey_get(pinpad(), nullptr); }, ILLEGAL, "'cResp' is NULL");
    expectRefused([&] { return get(); }, PCL_RESULT_ILLEGAL_STATE, "EX08 was not sent yet");
}

TEST_F(Survey, IsNotSentWithATextItCannotHold) {
    const auto refused = [&](const std::string &top, PclResult_e code, const char *detail) {
        expectRefused(
            [&] {
                abecs_survey_start(pinpad(), 1, 1, 4,
                                   {0, top.c_str(), static_cast<std::uint16_t>(top.size())},
                                   {0, "", 0});
            },
            code, detail);
        EXPECT_EQ("", pending());
    };
    refused("a\rb", ILLEGAL, "Invalid character (0x0D) at position 1");
    refused(std::string(1000, 't'), ILLEGAL, "Number length (4) is greater than field length (3)");
    // 65536 and 5 characters measure as 5.
    refused(std::string(65541, 't'), PCL_RESULT_IO_ERROR,
            "No enough space in buffer (available: 0, requested: 1)");
    expectExchangeWorks();
}

TEST_F(Survey, StaysPendingAfterAWrongAnswer) {
    beginAcknowledged();
    for (const char *response : {"EX08", "EX080", "EX08000", "ERR 0"}) {
        respond(std::string(response));
        EXPECT_FAILURE(get(), PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response");
    }
    respond("EX1000");
    EXPECT_FAILURE(get(), PCL_RESULT_PROTOCOL_ERROR, "(EX08) Invalid RSP_ID: EX10)");
    respond(Bytes{0x04});
    EXPECT_FAILURE(get(), PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected STX, read 0x4)");
    EXPECT_EQ("EX08", pending());
    EXPECT_EQ('?', m_answer[0]);
    respond("EX0805");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, get()));
    EXPECT_STREQ("5", m_answer.data());
    EXPECT_EQ("", pending());
    expectExchangeWorks();
}

TEST_F(Survey, StopWritesEotAndCollectsTheAnswer) {
    beginAcknowledged();
    m_peer.play([](Peer &line) {
        line.expect(EOT);
        line.write(frame("EX0805"));
        line.expectSilence(50ms);
    });
    EXPECT_NO_FAILURE(EXPECT_EQ(0, stop()));
    m_peer.finish();
    EXPECT_EQ("", pending());
    expectExchangeWorks();
}

TEST_F(Survey, StopWritesEotEvenWithoutASurvey) {
    expectRefused([] { return abecs_survey_stop(nullptr); }, ILLEGAL, "'pinpad' is NULL");
    m_peer.play([](Peer &line) {
        line.expect(EOT);
        line.expectSilence(50ms);
    });
    EXPECT_FAILURE(stop(), PCL_RESULT_ILLEGAL_STATE, "EX08 was not sent yet");
    m_peer.finish();
    ASSERT_NO_FAILURE(abecs_ext_set_pending(pinpad(), "EX10"));
    m_peer.play([](Peer &line) {
        line.expect(EOT);
        line.expectSilence(50ms);
    });
    const ScopedHandler handler;
    EXPECT_EQ(-1, stop());
    EXPECT_EQ(1U, handler.count());
    EXPECT_EQ("[PCL_RESULT_ILLEGAL_STATE] EX08 was not sent yet", handler.message());
    m_peer.finish();
    EXPECT_EQ("EX10", pending());
}

TEST_F(Survey, StopWithoutAnAnswerLeavesItPending) {
    beginAcknowledged();
    m_peer.play([](Peer &line) { line.expect(EOT); });
    EXPECT_NO_FAILURE(EXPECT_EQ(-1, stop()));
    m_peer.finish();
    EXPECT_EQ("EX08", pending());
    m_peer.play([](Peer &line) {
        line.expect(EOT);
        line.write(frame("EX080"));
    });
    EXPECT_FAILURE(stop(), PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response");
    EXPECT_EQ("EX08", pending());
    respond("EX0801");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, get()));
    EXPECT_STREQ("1", m_answer.data());
}

} // namespace
