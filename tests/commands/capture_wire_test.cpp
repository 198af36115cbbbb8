// The clear-data capture byte by byte, and answers that no device should give.

#include "abecs/commands/capture.h"
#include "abecs/link.h"
#include "tests/commands/wire_fixture.h"

#include <array>
#include <cstring>

namespace {

using namespace wire;

class CaptureWire : public Wire {
protected:
    // "GCD", prompt 7, 4 to 8 digits.
    const Bytes m_start = frame(text("GCD016\x00\x0B\x00\x02\x00\x07\x00\x0D\x00\x01\x04"
                                     "\x00\x0E\x00\x01\x08"));

    void start() { abecs_gcd_start(pinpad(), 7, 4, 8, 0); }
    void startTaken() {
        answer(m_start, ACK);
        ASSERT_NO_FAILURE(start());
        expectAllSaid();
        ASSERT_TRUE(isPending());
    }
    std::int32_t poll() {
        m_out.fill('#');
        m_notification.fill('#');
        return abecs_gcd_response(pinpad(), m_out.data(), m_notification.data());
    }
    std::int32_t pollAnswered(const std::string &body) {
        say(frame(body));
        return poll();
    }
    bool isPending() { return std::string("GCD") == abecs_pinpad_get_pending(pinpad()).text; }

    // The value, the NUL, and nothing behind it.
    void expectOut(const std::string &value) {
        EXPECT_EQ(value, std::string(m_out.data(), value.size()));
        EXPECT_EQ('\0', m_out.at(value.size()));
        EXPECT_EQ(std::string(m_out.size() - value.size() - 1, '#'),
                  std::string(m_out.data() + value.size() + 1, m_out.size() - value.size() - 1));
    }
    void expectOutUntouched() {
        EXPECT_EQ(std::string(m_out.size(), '#'), std::string(m_out.data(), m_out.size()));
    }
    void expectNotificationUntouched() {
        EXPECT_EQ(std::string(m_notification.size(), '#'),
                  std::string(m_notification.data(), m_notification.size()));
    }

    // The pending capture can still be read to its end.
    void expectStillGoingOn() {
        EXPECT_TRUE(isPending());
        EXPECT_NO_FAILURE(EXPECT_EQ(13, pollAnswered("GCD013")));
        EXPECT_FALSE(isPending());
        expectAllSaid();
    }

    std::array<char, 1200> m_out{};
    std::array<char, 40> m_notification{};
};

TEST_F(CaptureWire, StartIsABlockOfParameters) {
    answer(Bytes{0x16} + bytes("GCD016") +
               Bytes{0x00, 0x0B, 0x00, 0x02, 0x00, 0x07, 0x00, 0x0D, 0x00, 0x01, 0x04, 0x00, 0x0E,
                     0x00, 0x01, 0x08, 0x17, 0xDB, 0x76},
           ACK);
    EXPECT_NO_FAILURE(start());
    expectAllSaid();
    expectStillGoingOn();
}

TEST_F(CaptureWire, StartStuffsItsNumbers) {
    answer(Bytes{0x16} + bytes("GCD021") + Bytes{0x00, 0x0B, 0x00, 0x02, 0x13, 0x33, 0x13, 0x36,
                                                 0x00, 0x0D, 0x00, 0x01, 0x13, 0x33, 0x00, 0x0E,
                                                 0x00, 0x01, 0x13, 0x37, 0x00, 0x0C, 0x00, 0x01,
                                                 0x13, 0x36, 0x17, 0x17, 0xDE},
           ACK);
    EXPECT_NO_FAILURE(abecs_gcd_start(pinpad(), 0x1316, 0x13, 0x17, 0x16));
    expectAllSaid();
    expectStillGoingOn();
}

TEST_F(CaptureWire, StartSendsEveryTimeoutButNone) {
    for (unsigned seconds = 0; seconds <= 255; seconds += 51) {
        std::string body = text("GCD016\x00\x0B\x00\x02\xFF\xFE\x00\x0D\x00\x01\x00"
                                "\x00\x0E\x00\x01\x20");
        if (seconds != 0) {
            body.replace(3, 3, "021");
            body += text("\x00\x0C\x00\x01") + static_cast<char>(seconds);
        }
        answer(frame(body), ACK);
        EXPECT_NO_FAILURE(
            abecs_gcd_start(pinpad(), 0xFFFE, 0, 32, static_cast<std::uint8_t>(seconds)));
        expectAllSaid();
        expectStillGoingOn();
    }
}

TEST_F(CaptureWire, StartTakesEveryPairOfDigitsThatMakesSense) {
    for (unsigned minDig = 0; minDig <= 33; ++minDig) {
        for (unsigned maxDig = 0; maxDig <= 33; ++maxDig) {
            std::string detail;
            if (minDig > 32) {
                detail = "Invalid value for minDig: 33 (max: 32)";
            } else if (maxDig > 32) {
                detail = "Invalid value for maxDig: 33 (max: 32)";
            } else if (minDig > maxDig) {
                detail = "minDig (" + std::to_string(minDig) + ") > maxDig (" +
                         std::to_string(maxDig) + ")";
            }
            const auto call = [&] {
                abecs_gcd_start(pinpad(), 1, static_cast<std::uint8_t>(minDig),
                                static_cast<std::uint8_t>(maxDig), 0);
            };
            if (detail.empty()) {
                answer(frame(text("GCD016\x00\x0B\x00\x02\x00\x01\x00\x0D\x00\x01") +
                             static_cast<char>(minDig) + text("\x00\x0E\x00\x01") +
                             static_cast<char>(maxDig)),
                       ACK);
                EXPECT_NO_FAILURE(call());
                EXPECT_TRUE(isPending());
                ASSERT_NO_FAILURE(abecs_pinpad_clear_pending(pinpad()));
            } else {
                EXPECT_FAILURE(call(), PCL_RESULT_ILLEGAL_ARGUMENT, detail);
                EXPECT_FALSE(isPending());
            }
            expectAllSaid();
        }
    }
}

TEST_F(CaptureWire, StartChecksItsArgumentsInOrder) {
    const auto refuses = [&](AbecsPinpad *session, std::uint8_t minDig, std::uint8_t maxDig,
                             const char *detail) {
        expectRefused([&] { abecs_gcd_start(session, 1, minDig, maxDig, 1); },
                      PCL_RESULT_ILLEGAL_ARGUMENT, detail);
    };
    refuses(pinpad(), 33, 33, "Invalid value for minDig: 33 (max: 32)");
    refuses(pinpad(), 255, 0, "Invalid value for minDig: 255 (max: 32)");
    refuses(pinpad(), 32, 33, "Invalid value for maxDig: 33 (max: 32)");
    refuses(pinpad(), 1, 0, "minDig (1) > maxDig (0)");
    refuses(nullptr, 4, 8, "'pinpad' is NULL");
    startTaken();
    refuses(pinpad(), 33, 33, "Invalid value for minDig: 33 (max: 32)");
    expectRefused([&] { start(); }, PCL_RESULT_ILLEGAL_STATE,
                  "Connection is blocked waiting for GCD response");
    expectStillGoingOn();
}

TEST_F(CaptureWire, StartThatIsNotTakenLeavesNothingPending) {
    m_peer.play([&](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.expect(m_start);
            line.write(NAK);
        }
    });
    EXPECT_FAILURE(start(), PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected");
    EXPECT_FALSE(isPending());
    expectAllSaid();
    answer(m_start, {0x04});
    EXPECT_FAILURE(start(), PCL_RESULT_PROTOCOL_ERROR,
                   "Protocol error (unknown packet response: 0x4)");
    EXPECT_FALSE(isPending());
    hurry();
    answer(m_start, {});
    EXPECT_FAILURE(start(), PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
    EXPECT_FALSE(isPending());
    takeTime();
    startTaken();
    expectStillGoingOn();
}

TEST_F(CaptureWire, PollChecksItsArgumentsInOrder) {
    expectRefused([&] { return abecs_gcd_response(nullptr, nullptr, nullptr); },
                  PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL", -1);
    expectRefused([&] { return abecs_gcd_response(pinpad(), nullptr, nullptr); },
                  PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL", -1);
    expectRefused([&] { return poll(); }, PCL_RESULT_ILLEGAL_STATE, "GCD was not sent yet", -1);
    ASSERT_NO_FAILURE(abecs_pinpad_set_pending(pinpad(), "CEX"));
    expectRefused([&] { return poll(); }, PCL_RESULT_ILLEGAL_STATE, "GCD was not sent yet", -1);
    EXPECT_STREQ("CEX", abecs_pinpad_get_pending(pinpad()).text);
    ASSERT_NO_FAILURE(abecs_pinpad_clear_pending(pinpad()));
    startTaken();
    expectRefused([&] { return abecs_gcd_response(pinpad(), nullptr, nullptr); },
                  PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL", -1);
    expectStillGoingOn();
}

TEST_F(CaptureWire, PollSendsNothing) {
    startTaken();
    EXPECT_NO_FAILURE(EXPECT_EQ(-2, pollAnswered("NTM000005GO ON")));
    hurry();
    EXPECT_NO_FAILURE(EXPECT_EQ(-1, poll()));
    EXPECT_NO_FAILURE(EXPECT_EQ(-1, poll()));
    expectOutUntouched();
    expectNotificationUntouched();
    takeTime();
    EXPECT_NO_FAILURE(EXPECT_EQ(0, pollAnswered(text("GCD000008\x80\x4D\x00\x04"
                                                     "1234"))));
    expectOut("1234");
    expectNotificationUntouched();
    EXPECT_FALSE(isPending());
    expectAllSaid();
}

TEST_F(CaptureWire, PollGivesTheTextOfANotification) {
    startTaken();
    const std::string longest(32, '\xE9');
    for (const auto &row : std::initializer_list<std::pair<std::string, std::string>>{
             {"NTM000002HI", "HI"},
             {"NTM000032" + longest, longest},
             {"NTM000004AB  ", "AB"},
             {"NTM000003   ", ""},
             {"NTM000000", ""},
             {"NTM000", ""},
         }) {
        const std::string &body = row.first;
        const std::string &expected = row.second;
        SCOPED_TRACE(body);
        EXPECT_NO_FAILURE(EXPECT_EQ(-2, pollAnswered(body)));
        EXPECT_EQ(expected, m_notification.data());
        EXPECT_EQ('#', m_notification[33]);
        expectOutUntouched();
        EXPECT_TRUE(isPending());
        say(frame(body));
        EXPECT_NO_FAILURE(EXPECT_EQ(-2, abecs_gcd_response(pinpad(), m_out.data(), nullptr)));
    }
    expectStillGoingOn();
}

TEST_F(CaptureWire, PollCopiesTheFirstValueWhole) {
    const std::string value = text("\x80\x4D\x00");
    const std::string digits = "01234567890123456789012345678901";
    std::string longest(987, '7');
    longest[0] = '\0';
    longest[986] = '\x13';
    for (const auto &row : std::initializer_list<std::pair<std::string, std::string>>{
             {"GCD000004" + value + text("\0"), ""},
             {"GCD000005" + value + "\x01" + "9", "9"},
             {"GCD000036" + value + "\x20" + digits, digits},
             {"GCD000037" + value + "\x21" + digits + "!", digits + "!"},
             {"GCD000991" + text("\x80\x4D\x03\xDB") + longest, longest},
             {"ERR000005" + value + "\x01" + "9", "9"},
             {"GCD000011" + text("\x80\x01\x00\x02SN") + value + "\x01" + "5", "5"},
             {"GCD000010" + value + "\x01" + "1" + value + "\x01" + "2", "1"},
             {"GCD000006" + text("\x80\x01\x00\x02SN") + "005" + value + "\x01" + "6", "6"},
             {"GCD000000005" + value + "\x01" + "3", "3"},
             // What follows the value is not looked at.
             {"GCD000007" + value + "\x01" + "4" + "??", "4"},
         }) {
        const std::string &body = row.first;
        const std::string &expected = row.second;
        SCOPED_TRACE(peer::hex(bytes(body)));
        startTaken();
        EXPECT_NO_FAILURE(EXPECT_EQ(0, pollAnswered(body)));
        expectOut(expected);
        expectNotificationUntouched();
        EXPECT_FALSE(isPending());
    }
    expectAllSaid();
}

TEST_F(CaptureWire, PollPassesTheStatusOnAndFreesTheSession) {
    for (const auto &row : std::initializer_list<std::pair<const char *, int>>{
             {"GCD013", 13},
             {"GCD012", 12},
             {"ERR011", 11},
             {"ERR010", 10},
             {"GCD102", 102},
             {"GCD003", 3},
             {"GCD013ignored", 13},
             {"GCD011005\x80\x4D", 11},
         }) {
        const char *const body = row.first;
        const int expected = row.second;
        SCOPED_TRACE(body);
        startTaken();
        EXPECT_NO_FAILURE(EXPECT_EQ(expected, pollAnswered(body)));
        expectOutUntouched();
        expectNotificationUntouched();
        EXPECT_FALSE(isPending());
        EXPECT_FAILURE(poll(), PCL_RESULT_ILLEGAL_STATE, "GCD was not sent yet");
    }
    expectAllSaid();
}

TEST_F(CaptureWire, PollRefusesMalformedAnswersAndStaysPending) {
    struct Answer {
        std::string body;
        PclResult_e code;
        const char *detail;
    };
    startTaken();
    for (const Answer &malformed : {
             Answer{"", PCL_RESULT_IO_ERROR, "Invalid packet (not enough data)"},
             {"GCD00", PCL_RESULT_IO_ERROR, "Invalid packet (not enough data)"},
             {"CEX000", PCL_RESULT_PROTOCOL_ERROR, "(GCD) Invalid RSP_ID: CEX)"},
             {"CEX013", PCL_RESULT_PROTOCOL_ERROR, "(GCD) Invalid RSP_ID: CEX)"},
             {"GC 013", PCL_RESULT_PROTOCOL_ERROR, "(GCD) Invalid RSP_ID: GC)"},
             {"GCD014", PCL_RESULT_PROTOCOL_ERROR, "Unknown value for RSP_STAT: 014"},
             {"GCD1.3", PCL_RESULT_IO_ERROR, "Invalid char (0x2E) at index 1"},
             {"\x07"
              "CD000",
              PCL_RESULT_IO_ERROR, "Invalid character (0x07) at position 0"},
             {"GCD000", PCL_RESULT_PROTOCOL_ERROR, "PP_VALUE not found on response"},
             {"ERR000", PCL_RESULT_PROTOCOL_ERROR, "PP_VALUE not found on response"},
             {"GCD000000", PCL_RESULT_PROTOCOL_ERROR, "PP_VALUE not found on response"},
             {"GCD000000000", PCL_RESULT_PROTOCOL_ERROR, "PP_VALUE not found on response"},
             {text("GCD000006\x80\x4E\x00\x02"
                   "12"),
              PCL_RESULT_PROTOCOL_ERROR, "PP_VALUE not found on response"},
             {text("GCD000006\x4D\x80\x00\x02"
                   "12"),
              PCL_RESULT_PROTOCOL_ERROR, "PP_VALUE not found on response"},
             {text("GCD000005\x80\x4D\x00\x02"
                   "1"),
              PCL_RESULT_PROTOCOL_ERROR,
              "Malformed parameter (expected data length: 2, available: 1)"},
             {text("GCD000003\x80\x4D\x00"), PCL_RESULT_IO_ERROR,
              "Malformed packet (remaining bytes on BLK1 cannot be used)"},
             {text("GCD000000003\x80\x4D\x00"), PCL_RESULT_IO_ERROR,
              "Malformed packet (remaining bytes on BLK2 cannot be used)"},
             {"GCD000007short", PCL_RESULT_IO_ERROR, "Invalid packet (malformed)"},
             {"GCD000000000?", PCL_RESULT_IO_ERROR, "Invalid packet (unsupported block)"},
             {"NTM013", PCL_RESULT_PROTOCOL_ERROR,
              "NTM with invalid RSP_STAT: ABECS_RSP_STAT_ST_CANCEL"},
             {"NTM000033" + std::string(33, 'n'), PCL_RESULT_PROTOCOL_ERROR,
              "Malformed notification"},
             {"NTM000001n001n", PCL_RESULT_PROTOCOL_ERROR, "Malformed notification"},
             {"NTM000003a\rb", PCL_RESULT_IO_ERROR, "Invalid character (0x0D) at position 1"},
         }) {
        SCOPED_TRACE(peer::hex(bytes(malformed.body)));
        EXPECT_FAILURE(pollAnswered(malformed.body), malformed.code, malformed.detail);
        expectOutUntouched();
        EXPECT_TRUE(isPending());
        expectAllSaid();
    }
    EXPECT_FAILURE(start(), PCL_RESULT_ILLEGAL_STATE,
                   "Connection is blocked waiting for GCD response");
    expectStillGoingOn();
}

TEST_F(CaptureWire, PollIsRefusedByALineOutOfStep) {
    startTaken();
    say({0x41});
    EXPECT_FAILURE(poll(), PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected SYN, read 0x41)");
    expectOutUntouched();
    expectStillGoingOn();
}

TEST_F(CaptureWire, PollAsksForADamagedAnswerAgain) {
    const std::string body = text("GCD000005\x80\x4D\x00\x01"
                                  "8");
    startTaken();
    m_peer.play([&](Peer &line) {
        line.write(damaged(body));
        line.expect(NAK);
        line.write(damaged(body));
        line.expect(NAK);
        line.write(frame(body));
    });
    EXPECT_NO_FAILURE(EXPECT_EQ(0, poll()));
    expectOut("8");
    expectAllSaid();
}

TEST_F(CaptureWire, PollFindsNoAnswerInThreeDamagedOnes) {
    startTaken();
    m_peer.play([&](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.write(damaged("GCD013"));
            line.expect(NAK);
        }
    });
    EXPECT_NO_FAILURE(EXPECT_EQ(-1, poll()));
    expectOutUntouched();
    expectAllSaid();
    expectStillGoingOn();
}

TEST_F(CaptureWire, AnAbortFreesTheSession) {
    startTaken();
    answer(CAN, EOT);
    EXPECT_NO_FAILURE(abecs_link_abort(pinpad()));
    EXPECT_FALSE(isPending());
    EXPECT_FAILURE(poll(), PCL_RESULT_ILLEGAL_STATE, "GCD was not sent yet");
    startTaken();
    expectStillGoingOn();
}

TEST_F(CaptureWire, ALineThatHangsUpFailsTheStartAndThePoll) {
    startTaken();
    m_peer.play([](Peer &line) { line.hangUp(); });
    m_peer.finish();
    EXPECT_FAILURE(poll(), PCL_RESULT_IO_ERROR, "ReadFile() error: 5");
    EXPECT_TRUE(isPending());
    ASSERT_NO_FAILURE(abecs_pinpad_clear_pending(pinpad()));
    EXPECT_FAILURE(start(), PCL_RESULT_IO_ERROR, "WriteFile() error: 5");
    EXPECT_FALSE(isPending());
}

} // namespace
