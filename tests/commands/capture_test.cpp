#include "abecs/commands/capture.h"
#include "abecs/commands/display.h"
#include "abecs/link.h"
#include "tests/commands/device_fixture.h"

#include <array>

namespace {

class Capture : public Device {
protected:
    void start() { abecs_gcd_start(pinpad(), 0x0102, 3, 8, 0); }
    std::int32_t poll() {
        return abecs_gcd_response(pinpad(), m_out.data(), m_notification.data());
    }
    bool isPending() { return abecs_pinpad_get_pending(pinpad()).text[0] != '\0'; }

    std::array<char, 1000> m_out{};
    std::array<char, 33> m_notification{};
};
INSTANTIATE_TEST_SUITE_P(Channel, Capture, testing::Bool(), channelName);

TEST_P(Capture, SendsItsParametersInOrder) {
    plugIn();
    EXPECT_NO_FAILURE(start());
    EXPECT_EQ("GCD016" + tagged(11, "\x01\x02") + tagged(13, "\x03") + tagged(14, "\x08"), sent());
    EXPECT_EQ(GetParam(), sentEncrypted());
    EXPECT_STREQ("GCD", abecs_pinpad_get_pending(pinpad()).text);
    ASSERT_NO_FAILURE(abecs_link_abort(pinpad()));
    EXPECT_NO_FAILURE(abecs_gcd_start(pinpad(), 65535, 32, 32, 1));
    EXPECT_EQ("GCD021" + tagged(11, "\xFF\xFF") + tagged(13, "\x20") + tagged(14, "\x20") +
                  tagged(12, "\x01"),
              sent());
    ASSERT_NO_FAILURE(abecs_link_abort(pinpad()));
    EXPECT_NO_FAILURE(abecs_gcd_start(pinpad(), 0, 0, 0, 0));
}

TEST_P(Capture, ChecksItsArgumentsInOrderUnsent) {
    plugIn();
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    // A missing session is only found when the command is sent.
    for (AbecsPinpad *session : {pinpad(), static_cast<AbecsPinpad *>(nullptr)}) {
        EXPECT_FAILURE(abecs_gcd_start(session, 1, 33, 40, 0), code,
                       "Invalid value for minDig: 33 (max: 32)");
        EXPECT_FAILURE(abecs_gcd_start(session, 1, 32, 255, 0), code,
                       "Invalid value for maxDig: 255 (max: 32)");
        EXPECT_FAILURE(abecs_gcd_start(session, 1, 5, 4, 0), code, "minDig (5) > maxDig (4)");
    }
    EXPECT_FAILURE(abecs_gcd_start(nullptr, 1, 4, 5, 0), code, "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_gcd_response(nullptr, nullptr, nullptr), code, "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_gcd_response(pinpad(), nullptr, nullptr), code, "'out' is NULL");
    EXPECT_FAILURE(poll(), PCL_RESULT_ILLEGAL_STATE, "GCD was not sent yet");
    expectNothingSent();
}

TEST_P(Capture, GivesNotificationsAndThenTheDigits) {
    plugIn("capture notify \"GO ON\" notify \"\" keys 1234 enter\n");
    ASSERT_NO_FAILURE(start());
    EXPECT_NO_FAILURE(EXPECT_EQ(-2, poll()));
    EXPECT_STREQ("GO ON", m_notification.data());
    EXPECT_TRUE(isPending());
    EXPECT_FAILURE(start(), PCL_RESULT_ILLEGAL_STATE,
                   "Connection is blocked waiting for GCD response");
    EXPECT_NO_FAILURE(EXPECT_EQ(-2, abecs_gcd_response(pinpad(), m_out.data(), nullptr)));
    EXPECT_NO_FAILURE(EXPECT_EQ(0, poll()));
    EXPECT_STREQ("1234", m_out.data());
    EXPECT_FALSE(isPending());
    EXPECT_FAILURE(poll(), PCL_RESULT_ILLEGAL_STATE, "GCD was not sent yet");
}

TEST_P(Capture, SaysThatNoAnswerHasComeYet) {
    plugIn();
    ASSERT_NO_FAILURE(start());
    m_out[0] = '?';
    EXPECT_NO_FAILURE(EXPECT_EQ(-1, poll()));
    EXPECT_EQ('?', m_out[0]);
    EXPECT_TRUE(isPending());
    device().press("123");
    device().press_key(sim::Key::enter);
    EXPECT_NO_FAILURE(EXPECT_EQ(0, poll()));
    EXPECT_STREQ("123", m_out.data());
}

TEST_P(Capture, PassesStatusesOnAndFreesTheSession) {
    plugIn("capture 1 cancel\ncapture 2 timeout\nreply GCD nth 3 body \"ERR011\"\n"
           "capture 3 keys 123 enter\n");
    for (const int status : {13, 12, 11}) {
        ASSERT_NO_FAILURE(start());
        EXPECT_NO_FAILURE(EXPECT_EQ(status, poll()));
        EXPECT_FALSE(isPending());
    }
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_dex(pinpad(), "STILL HERE")));
}

TEST_P(Capture, NeedsAValueAndStaysPendingWithoutOne) {
    plugIn("reply GCD nth 1 omit 804D\ncapture * keys 123 enter\n");
    ASSERT_NO_FAILURE(start());
    EXPECT_FAILURE(poll(), PCL_RESULT_PROTOCOL_ERROR, "PP_VALUE not found on response");
    EXPECT_TRUE(isPending());
    ASSERT_NO_FAILURE(abecs_link_abort(pinpad()));
    ASSERT_NO_FAILURE(start());
    EXPECT_NO_FAILURE(EXPECT_EQ(0, poll()));
}

TEST_P(Capture, RefusesOtherAnswersAndStaysPending) {
    plugIn("reply GCD nth 1 id CEX\nreply GCD nth 2 body \"GCD00\"\ncapture * keys 123 enter\n");
    ASSERT_NO_FAILURE(start());
    EXPECT_FAILURE(poll(), PCL_RESULT_PROTOCOL_ERROR, "(GCD) Invalid RSP_ID: CEX)");
    EXPECT_TRUE(isPending());
    ASSERT_NO_FAILURE(abecs_link_abort(pinpad()));
    ASSERT_NO_FAILURE(start());
    EXPECT_FAILURE(poll(), PCL_RESULT_IO_ERROR, "Invalid packet (not enough data)");
    EXPECT_TRUE(isPending());
    ASSERT_NO_FAILURE(abecs_link_abort(pinpad()));
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_dex(pinpad(), "STILL HERE")));
}

TEST_P(Capture, CopiesTheFirstValueWhole) {
    const std::string longest(400, '7');
    plugIn("reply GCD nth 1 omit 804D param 8001 \"SN\" param 804D \"" + longest +
           "\" param 804D \"2\"\nreply GCD nth 2 omit 804D param 804D \"\"\n"
           "capture * keys 123 enter\n");
    ASSERT_NO_FAILURE(start());
    EXPECT_NO_FAILURE(EXPECT_EQ(0, poll()));
    EXPECT_EQ(longest, m_out.data());
    ASSERT_NO_FAILURE(start());
    EXPECT_NO_FAILURE(EXPECT_EQ(0, poll()));
    EXPECT_STREQ("", m_out.data());
}

} // namespace
