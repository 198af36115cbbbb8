// The close commands byte by byte, and answers that no device should give.

#include "abecs/commands/close.h"
#include "tests/commands/wire_fixture.h"

#include <cstdio>
#include <set>
#include <string>

namespace {

using namespace wire;

class CloseWire : public Wire {
protected:
    static std::string clo(std::string message) {
        message.resize(32, ' ');
        return "CLO032" + message;
    }

    // One CLO that is answered with this body.
    AbecsRspStat_e closeAnswered(const std::string &body) {
        answer(frame(clo("")), ACK + frame(body));
        return abecs_clo(pinpad(), nullptr);
    }
    AbecsRspStat_e closeExtendedAnswered(const std::string &body) {
        answer(frame("CLX"), ACK + frame(body));
        return abecs_clx(pinpad(), nullptr, nullptr);
    }

    void expectUsable() {
        EXPECT_NO_FAILURE(EXPECT_EQ(0, closeAnswered("CLO000")));
        expectAllSaid();
    }
};

TEST_F(CloseWire, CloIsOneFixedBlock) {
    const Bytes blank =
        Bytes{0x16} + bytes("CLO032                                ") + Bytes{0x17, 0xC9, 0xF9};
    for (const char *message : {static_cast<const char *>(nullptr), ""}) {
        answer(blank, Bytes{0x06, 0x16} + bytes("CLO000") + Bytes{0x17, 0x9E, 0x03});
        EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_clo(pinpad(), message)));
        expectAllSaid();
    }
    answer(Bytes{0x16} + bytes("CLO032GOOD BYE                        ") + Bytes{0x17, 0xE2, 0x93},
           ACK + frame("CLO000"));
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_clo(pinpad(), "GOOD BYE")));
    expectAllSaid();
}

TEST_F(CloseWire, CloTakesEveryCharacterFrom20ToFF) {
    for (unsigned first = 0x20; first <= 0xFF; first += 32) {
        std::string message;
        for (unsigned code = first; code < first + 32; ++code) {
            message += static_cast<char>(code);
        }
        answer(frame("CLO032" + message), ACK + frame("CLO000"));
        EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_clo(pinpad(), message.c_str())));
        expectAllSaid();
    }
}

TEST_F(CloseWire, CloRefusesEveryControlCharacter) {
    for (unsigned code = 1; code < 0x20; ++code) {
        const std::string message = {'a', 'b', static_cast<char>(code)};
        char detail[64];
        std::snprintf(detail, sizeof detail, "Invalid character (0x%02X) at position 2", code);
        expectRefused([&] { return abecs_clo(pinpad(), message.c_str()); },
                      PCL_RESULT_ILLEGAL_ARGUMENT, detail, ABECS_RSP_STAT_ST_INTERR);
    }
    expectUsable();
}

TEST_F(CloseWire, CloRefusesWhatIsTooLong) {
    const std::string tooLong(33, 'x');
    const char *detail = "'msg' it too long (maximum: 32, requested: 33)";
    for (AbecsPinpad *session : {pinpad(), static_cast<AbecsPinpad *>(nullptr)}) {
        expectRefused([&] { return abecs_clo(session, tooLong.c_str()); },
                      PCL_RESULT_ILLEGAL_ARGUMENT, detail, ABECS_RSP_STAT_ST_INTERR);
    }
    expectRefused([&] { return abecs_clo(pinpad(), std::string(100000, '\r').c_str()); },
                  PCL_RESULT_ILLEGAL_ARGUMENT, "'msg' it too long (maximum: 32, requested: 100000)",
                  ABECS_RSP_STAT_ST_INTERR);
    expectRefused([&] { return abecs_clo(nullptr, "x"); }, PCL_RESULT_ILLEGAL_ARGUMENT,
                  "'pinpad' is NULL", ABECS_RSP_STAT_ST_INTERR);
    expectUsable();
}

TEST_F(CloseWire, ClxIsABlockOfParameters) {
    answer(Bytes{0x16} + bytes("CLX") + Bytes{0x17, 0x78, 0x4C},
           Bytes{0x06, 0x16} + bytes("CLX000") + Bytes{0x17, 0xFD, 0x8D});
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_clx(pinpad(), nullptr, nullptr)));
    answer(Bytes{0x16} + bytes("CLX012") + Bytes{0x00, 0x1E, 0x00, 0x08} + bytes("LOGO    ") +
               Bytes{0x17, 0x03, 0x51},
           ACK + frame("CLX000"));
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_clx(pinpad(), "", "LOGO")));
    answer(Bytes{0x16} + bytes("CLX019") + Bytes{0x00, 0x1E, 0x00, 0x08} + bytes("LOGO    ") +
               Bytes{0x00, 0x1B, 0x00, 0x03} + bytes("A\rB") + Bytes{0x17, 0x77, 0xD0},
           ACK + frame("CLX000"));
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_clx(pinpad(), "A\rB", "LOGO")));
    expectAllSaid();
}

TEST_F(CloseWire, ClxTakesTextsUpToTheirLimits) {
    std::string longest;
    for (unsigned code = 0x80; code <= 0xFF; ++code) {
        longest += static_cast<char>(code);
    }
    answer(frame(text("CLX144\x00\x1E\x00\x08LONGNAME\x00\x1B\x00\x80") + longest),
           ACK + frame("CLX000"));
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_clx(pinpad(), longest.c_str(), "LONGNAME")));
    answer(frame(text("CLX005\x00\x1B\x00\x01\r")), ACK + frame("CLX000"));
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_clx(pinpad(), "\r", nullptr)));
    expectAllSaid();
}

TEST_F(CloseWire, ClxChecksItsArgumentsInOrder) {
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    const std::string tooLong(129, '\t');
    const auto refuses = [&](AbecsPinpad *session, const char *dspMsg, const char *mfName,
                             const char *detail) {
        expectRefused([&] { return abecs_clx(session, dspMsg, mfName); }, code, detail,
                      ABECS_RSP_STAT_ST_INTERR);
    };
    refuses(nullptr, tooLong.c_str(), "LONGNAME9", "'pinpad' is NULL");
    refuses(pinpad(), tooLong.c_str(), "LONGNAME9",
            "'dspMsg' length (129)  is greater than 128 characters");
    refuses(pinpad(), "\t", "LONGNAME9", "'mfName' length (9) is greater than 8 characters");
    refuses(pinpad(), "\t", "\r", "Invalid character (0x0D) at position 0");
    refuses(pinpad(), "a\rb\n", "LOGO", "Invalid character (0x0A) at position 3");
    expectUsable();
}

TEST_F(CloseWire, PassEveryKnownStatusAndNoOther) {
    const std::set<int> known = {0,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 19,  20,  21,
                                 40, 41, 42, 43, 44, 45, 46, 51, 60, 61, 67, 68, 69,  70,  71,
                                 76, 77, 78, 79, 80, 81, 82, 83, 84, 85, 86, 87, 100, 101, 102};
    for (int status = 0; status <= 999; ++status) {
        char digits[12];
        std::snprintf(digits, sizeof digits, "%03d", status);
        const std::string unknown = std::string("Unknown value for RSP_STAT: ") + digits;
        for (const char *id : {"CLO", "ERR"}) {
            if (known.count(status) != 0) {
                EXPECT_NO_FAILURE(EXPECT_EQ(status, closeAnswered(id + std::string(digits))));
            } else {
                EXPECT_FAILURE(closeAnswered(id + std::string(digits)), PCL_RESULT_PROTOCOL_ERROR,
                               unknown);
            }
        }
        if (known.count(status) != 0) {
            EXPECT_NO_FAILURE(
                EXPECT_EQ(status, closeExtendedAnswered("CLX" + std::string(digits))));
        }
    }
    expectAllSaid();
}

TEST_F(CloseWire, CloReadsOnlyIdentifierAndStatus) {
    EXPECT_NO_FAILURE(EXPECT_EQ(0, closeAnswered("CLO000")));
    EXPECT_NO_FAILURE(EXPECT_EQ(10, closeAnswered("ERR010")));
    EXPECT_NO_FAILURE(EXPECT_EQ(0, closeAnswered("CLO0009")));
    EXPECT_NO_FAILURE(EXPECT_EQ(0, closeAnswered("CLO000" + std::string(1000, '?'))));
    expectAllSaid();
}

TEST_F(CloseWire, CloRefusesMalformedAnswers) {
    struct Answer {
        const char *body;
        PclResult_e code;
        const char *detail;
    };
    for (const Answer &malformed : {
             Answer{"", PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response"},
             {"CLO0", PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response"},
             {"XYZ00", PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response"},
             {"XYZ000", PCL_RESULT_PROTOCOL_ERROR, "(CLO) Invalid RSP_ID: XYZ)"},
             {"CLX000", PCL_RESULT_PROTOCOL_ERROR, "(CLO) Invalid RSP_ID: CLX)"},
             {"clo000", PCL_RESULT_PROTOCOL_ERROR, "(CLO) Invalid RSP_ID: clo)"},
             {"CL 000", PCL_RESULT_PROTOCOL_ERROR, "(CLO) Invalid RSP_ID: CL)"},
             {"   000", PCL_RESULT_PROTOCOL_ERROR, "(CLO) Invalid RSP_ID: )"},
             {"NTM000002HI", PCL_RESULT_PROTOCOL_ERROR, "(CLO) Invalid RSP_ID: NTM)"},
             {"XYZ???", PCL_RESULT_PROTOCOL_ERROR, "(CLO) Invalid RSP_ID: XYZ)"},
             {"C\xC7O000", PCL_RESULT_IO_ERROR, "Invalid character (0xC7) at position 1"},
             {"CLO0A0", PCL_RESULT_IO_ERROR, "Invalid char (0x41) at index 1"},
             {"CLO  0", PCL_RESULT_IO_ERROR, "Invalid char (0x20) at index 0"},
             {"CLO-01", PCL_RESULT_IO_ERROR, "Invalid char (0x2D) at index 0"},
         }) {
        SCOPED_TRACE(malformed.body);
        EXPECT_FAILURE(closeAnswered(malformed.body), malformed.code, malformed.detail);
        expectUsable();
    }
}

TEST_F(CloseWire, ClxParsesItsAnswer) {
    EXPECT_NO_FAILURE(EXPECT_EQ(0, closeExtendedAnswered("CLX000")));
    EXPECT_NO_FAILURE(EXPECT_EQ(0, closeExtendedAnswered(text("CLX000006\x80\x01\x00\x02SN"))));
    EXPECT_NO_FAILURE(EXPECT_EQ(10, closeExtendedAnswered("ERR010")));
    EXPECT_NO_FAILURE(EXPECT_EQ(11, closeExtendedAnswered("CLX011ignored")));
    expectAllSaid();
}

TEST_F(CloseWire, ClxRefusesMalformedAnswers) {
    struct Answer {
        const char *body;
        PclResult_e code;
        const char *detail;
    };
    for (const Answer &malformed : {
             Answer{"", PCL_RESULT_IO_ERROR, "Invalid packet (not enough data)"},
             {"CLX00", PCL_RESULT_IO_ERROR, "Invalid packet (not enough data)"},
             {"CLO000", PCL_RESULT_PROTOCOL_ERROR, "(CLX) Invalid RSP_ID: CLO)"},
             {"NTM000002HI", PCL_RESULT_PROTOCOL_ERROR, "(CLX) Invalid RSP_ID: NTM)"},
             {"NTM013", PCL_RESULT_PROTOCOL_ERROR,
              "NTM with invalid RSP_STAT: ABECS_RSP_STAT_ST_CANCEL"},
             {"CLX014", PCL_RESULT_PROTOCOL_ERROR, "Unknown value for RSP_STAT: 014"},
             {"CLX0x0", PCL_RESULT_IO_ERROR, "Invalid char (0x78) at index 1"},
             {"CLX000005four", PCL_RESULT_IO_ERROR, "Invalid packet (malformed)"},
             {"CLX00000", PCL_RESULT_IO_ERROR,
              "Buffer does not have enough data (requested: 3, available: 2)"},
             {"CLX000000000!", PCL_RESULT_IO_ERROR, "Invalid packet (unsupported block)"},
         }) {
        SCOPED_TRACE(malformed.body);
        EXPECT_FAILURE(closeExtendedAnswered(malformed.body), malformed.code, malformed.detail);
        expectUsable();
    }
}

TEST_F(CloseWire, FailWhenTheFrameIsNotTaken) {
    const Bytes command = frame(clo(""));
    m_peer.play([&](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.expect(command);
            line.write(NAK);
        }
    });
    EXPECT_FAILURE(abecs_clo(pinpad(), nullptr), PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected");
    expectAllSaid();
    answer(command, {0x41});
    EXPECT_FAILURE(abecs_clo(pinpad(), nullptr), PCL_RESULT_PROTOCOL_ERROR,
                   "Protocol error (unknown packet response: 0x41)");
    expectAllSaid();
    hurry();
    answer(command, {});
    EXPECT_FAILURE(abecs_clo(pinpad(), nullptr), PCL_RESULT_TIMEOUT_ERROR,
                   "Timeout waiting for data");
    takeTime();
    expectUsable();
}

TEST_F(CloseWire, FailWhenNoAnswerComes) {
    hurry();
    answer(frame(clo("")), ACK);
    EXPECT_FAILURE(abecs_clo(pinpad(), nullptr), PCL_RESULT_TIMEOUT_ERROR,
                   "Timeout waiting for data");
    answer(frame("CLX"), ACK);
    EXPECT_FAILURE(abecs_clx(pinpad(), nullptr, nullptr), PCL_RESULT_TIMEOUT_ERROR,
                   "Timeout waiting for data");
    takeTime();
    expectUsable();
}

TEST_F(CloseWire, AreRefusedWhileAnAnswerIsPending) {
    ASSERT_NO_FAILURE(abecs_pinpad_set_pending(pinpad(), "CEX"));
    const char *detail = "Connection is blocked waiting for CEX response";
    expectRefused([&] { return abecs_clo(pinpad(), "BYE"); }, PCL_RESULT_ILLEGAL_STATE, detail,
                  ABECS_RSP_STAT_ST_INTERR);
    expectRefused([&] { return abecs_clx(pinpad(), "BYE", nullptr); }, PCL_RESULT_ILLEGAL_STATE,
                  detail, ABECS_RSP_STAT_ST_INTERR);
    EXPECT_STREQ("CEX", abecs_pinpad_get_pending(pinpad()).text);
    ASSERT_NO_FAILURE(abecs_pinpad_clear_pending(pinpad()));
    expectUsable();
}

} // namespace
