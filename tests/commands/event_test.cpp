#include "abecs/commands/event.h"
#include "abecs/link.h"
#include "tests/commands/device_fixture.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <limits>

namespace {

class Event : public Device {
protected:
    std::int32_t poll() { return abecsCheckEventResponse(pinpad(), map(), m_notification.data()); }
    AbecsParamMap *map() { return m_map.get(); }
    void start() { abecsCheckEvent(pinpad(), "100099", nullptr, nullptr); }
    void put(const char *event) {
        const AbecsParamValue value{std::strlen(event),
                                    reinterpret_cast<std::uint8_t *>(const_cast<char *>(event)), 0};
        abecsParamMapPut(map(), 0x8040, &value, 0);
    }

    AbecsParamMapPtr m_map{abecsParamMapCreate()};
    std::array<char, 33> m_notification{};
};
INSTANTIATE_TEST_SUITE_P(Channel, Event, testing::Bool(), channelName);

TEST_P(Event, SendsItsParametersInOrder) {
    plugIn();
    EXPECT_NO_FAILURE(start());
    EXPECT_EQ("CEX010" + tagged(6, "100099"), sent());
    EXPECT_EQ(GetParam(), sentEncrypted());
    EXPECT_FAILURE(start(), PCL_RESULT_ILLEGAL_STATE,
                   "Connection is blocked waiting for CEX response");
    ASSERT_NO_FAILURE(abecs_link_abort(pinpad()));
    const std::uint32_t number = 255;
    const AbecsEventPair pair{7, 99};
    EXPECT_NO_FAILURE(abecsCheckEvent(pinpad(), "ABCDEF", &number, &pair));
    EXPECT_EQ("CEX023" + tagged(6, "ABCDEF") + tagged(12, "\xFF") + tagged(35, "0799"), sent());
}

TEST_P(Event, ChecksItsArgumentsUnsent) {
    plugIn();
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    EXPECT_FAILURE(abecsCheckEvent(nullptr, nullptr, nullptr, nullptr), code, "'pinpad' is NULL");
    for (const char *options : {static_cast<const char *>(nullptr), "", "12345", "1234567"}) {
        EXPECT_FAILURE(abecsCheckEvent(pinpad(), options, nullptr, nullptr), code,
                       "'cexOpt' is not valid!");
    }
    EXPECT_FAILURE(abecsCheckEvent(pinpad(), "12\t456", nullptr, nullptr), code,
                   "Invalid character (0x09) at position 2");
    const std::uint32_t tooLarge = 256;
    EXPECT_FAILURE(abecsCheckEvent(pinpad(), "100099", &tooLarge, nullptr), code,
                   "fieldLen (1) is not enough for data (256)");
    const AbecsEventPair wrong{100, 5};
    EXPECT_FAILURE(abecsCheckEvent(pinpad(), "100099", nullptr, &wrong), code,
                   "Number length (3) is greater than field length (2)");
    EXPECT_FAILURE(abecsCheckEventResponse(nullptr, nullptr, nullptr), code, "'pinpad' is NULL");
    EXPECT_FAILURE(abecsCheckEventResponse(pinpad(), nullptr, nullptr), code, "'out' is NULL");
    expectNothingSent();
    EXPECT_STREQ("", abecs_pinpad_get_pending(pinpad()).text);
}

TEST_P(Event, GivesNotificationsAndThenTheEvent) {
    plugIn("card gold track2 \"4111=2512\"\nevent notify \"ONE\" notify \"TWO\" swipe gold\n");
    ASSERT_NO_FAILURE(start());
    EXPECT_NO_FAILURE(EXPECT_EQ(-2, poll()));
    EXPECT_STREQ("ONE", m_notification.data());
    EXPECT_NO_FAILURE(EXPECT_EQ(-2, abecsCheckEventResponse(pinpad(), map(), nullptr)));
    EXPECT_NO_FAILURE(EXPECT_EQ(0, poll()));
    EXPECT_NO_FAILURE(EXPECT_EQ(90, abecsParamMapGetEvent(map())));
    EXPECT_EQ(nullptr, abecsParamMapGetTrk1Inc(map()));
    ASSERT_NE(nullptr, abecsParamMapGetTrk2Inc(map()));
    EXPECT_STREQ("4111=2512", abecsParamMapGetTrk2Inc(map()));
    EXPECT_EQ(nullptr, abecsParamMapGetTrk3Inc(map()));
    EXPECT_STREQ("", abecs_pinpad_get_pending(pinpad()).text);
}

TEST_P(Event, EmptiesTheMapFirst) {
    plugIn("event 1 key f1\nevent 2 timeout\n");
    ASSERT_NO_FAILURE(start());
    EXPECT_NO_FAILURE(EXPECT_EQ(0, poll()));
    EXPECT_NO_FAILURE(EXPECT_EQ(4, abecsParamMapGetEvent(map())));
    ASSERT_NO_FAILURE(start());
    EXPECT_NO_FAILURE(EXPECT_EQ(12, poll()));
    EXPECT_FAILURE(abecsParamMapGetEvent(map()), PCL_RESULT_PROTOCOL_ERROR,
                   "Mandatory PP_EVENT not found");
}

TEST_P(Event, SaysThatNoAnswerHasComeYet) {
    plugIn();
    ASSERT_NO_FAILURE(start());
    EXPECT_NO_FAILURE(EXPECT_EQ(-1, poll()));
    EXPECT_STREQ("CEX", abecs_pinpad_get_pending(pinpad()).text);
    device().press_key(sim::Key::enter);
    EXPECT_NO_FAILURE(EXPECT_EQ(0, poll()));
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecsParamMapGetEvent(map())));
}

TEST_P(Event, RefusesOtherAnswersAndStaysPending) {
    plugIn("reply CEX nth 1 id GCD\nevent * key f1\n");
    ASSERT_NO_FAILURE(start());
    EXPECT_FAILURE(poll(), PCL_RESULT_PROTOCOL_ERROR, "(CEX) Invalid RSP_ID: GCD)");
    EXPECT_STREQ("CEX", abecs_pinpad_get_pending(pinpad()).text);
    ASSERT_NO_FAILURE(abecs_link_abort(pinpad()));
    ASSERT_NO_FAILURE(start());
    EXPECT_NO_FAILURE(EXPECT_EQ(0, poll()));
}

TEST_P(Event, KnowsItsCodes) {
    for (const int code : {0, 2, 3, 4, 5, 6, 7, 8, 13, 90, 91, 92, 93, 94}) {
        char text[4];
        std::snprintf(text, sizeof text, "%02d", code);
        put(text);
        EXPECT_NO_FAILURE(EXPECT_EQ(code, abecsParamMapGetEvent(map())));
    }
    struct Text {
        const char *text;
        int code;
    };
    constexpr int LARGEST = std::numeric_limits<int>::max();
    constexpr int SMALLEST = std::numeric_limits<int>::min();
    for (const Text &bad : {Text{"01", 1}, Text{"09", 9}, Text{"12", 12}, Text{"89", 89},
                            Text{"95", 95}, Text{"-2", -2}, Text{"4294967300", LARGEST},
                            Text{"-4294967292", SMALLEST}, Text{"18446744073709551620", LARGEST}}) {
        put(bad.text);
        EXPECT_FAILURE(abecsParamMapGetEvent(map()), PCL_RESULT_PROTOCOL_ERROR,
                       "Invalid code for PP_EVENT: " + std::to_string(bad.code));
    }
    for (const Text &good : {Text{" 4", 4}, Text{"+5x", 5}, Text{"x", 0}}) {
        put(good.text);
        EXPECT_NO_FAILURE(EXPECT_EQ(good.code, abecsParamMapGetEvent(map())));
    }
    EXPECT_FAILURE(abecsParamMapGetEvent(nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'paramMap' is NULL");
    EXPECT_FAILURE(abecsParamMapGetTrk1Inc(nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'paramMap' is NULL");
}

} // namespace
