#include "abecs/response_parser.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>
#include <vector>

namespace {

class Parser : public testing::Test {
protected:
    void put(const std::string &body) {
        abecsPacketClear(m_packet.get());
        abecsFieldPutBytes(m_packet.get(), body.data(), body.size());
    }
    void parse(const std::string &body) {
        put(body);
        abecsParserParse(parser(), packet());
    }
    AbecsResponseParser *parser() { return m_parser.get(); }
    AbecsPacket *packet() { return m_packet.get(); }
    AbecsParam *param() { return m_param.get(); }

    std::string next() {
        if (abecsParserNextParam(parser(), param()) == nullptr) {
            return "(none)";
        }
        std::string value(abecsParamLength(param()), '\0');
        abecsFieldGetBytes(param(), value.data(), value.size(), value.size());
        return std::to_string(abecsParamGetId(param())) + "=" + value;
    }

    AbecsPacketPtr m_packet{abecsPacketCreate()};
    AbecsResponseParserPtr m_parser{abecsParserCreate()};
    AbecsParamPtr m_param{abecsParamCreate()};
};

// A parameter as it stands in a block.
std::string tagged(std::uint16_t id, const std::string &value) {
    return std::string{static_cast<char>(id >> 8), static_cast<char>(id & 0xFF),
                       static_cast<char>(value.size() >> 8),
                       static_cast<char>(value.size() & 0xFF)} +
           value;
}

TEST_F(Parser, ParsesABodyOfSixBytes) {
    EXPECT_NO_FAILURE(parse("CEX000"));
    EXPECT_STREQ("CEX", abecsParserGetRspId(parser()));
    EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecsParserGetRspStat(parser()));
    EXPECT_EQ("(none)", next());
}

TEST_F(Parser, NeedsSixBytes) {
    for (const char *body : {"", "CEX", "CEX00"}) {
        EXPECT_FAILURE(parse(body), PCL_RESULT_IO_ERROR, "Invalid packet (not enough data)");
    }
}

TEST_F(Parser, LooksAtNothingAfterARefusal) {
    EXPECT_NO_FAILURE(parse("CEX011garbage"));
    EXPECT_EQ(ABECS_RSP_STAT_ST_INVPARM, abecsParserGetRspStat(parser()));
    // Whoever walks the parameters all the same finds the garbage where a length should be.
    EXPECT_FAILURE(next(), PCL_RESULT_IO_ERROR, "Invalid char (0x67) at index 0");
}

TEST_F(Parser, ChecksIdentifierAndStatus) {
    EXPECT_FAILURE(parse("C\tX000"), PCL_RESULT_IO_ERROR, "Invalid character (0x09) at position 1");
    EXPECT_FAILURE(parse("CEX0A0"), PCL_RESULT_IO_ERROR, "Invalid char (0x41) at index 1");
    EXPECT_FAILURE(parse("CEX014"), PCL_RESULT_PROTOCOL_ERROR, "Unknown value for RSP_STAT: 014");
}

TEST_F(Parser, HandsOutTheParametersOfOneBlock) {
    EXPECT_NO_FAILURE(parse("CEX000010" + tagged(0x8040, "90") + tagged(0x8041, "")));
    EXPECT_EQ("32832=90", next());
    EXPECT_EQ("32833=", next());
    EXPECT_EQ("(none)", next());
    EXPECT_EQ("(none)", next());
}

TEST_F(Parser, HandsOutTheParametersOfTwoBlocks) {
    EXPECT_NO_FAILURE(
        parse("CEX000006" + tagged(1, "ab") + "011" + tagged(2, "cde") + tagged(3, "")));
    EXPECT_EQ("1=ab", next());
    EXPECT_EQ("2=cde", next());
    EXPECT_EQ("3=", next());
    EXPECT_EQ("(none)", next());
}

TEST_F(Parser, SkipsTheLengthOfAnEmptySecondBlock) {
    EXPECT_NO_FAILURE(parse("CEX000010" + tagged(1, "abcdef") + "000"));
    EXPECT_EQ("1=abcdef", next());
    EXPECT_EQ("(none)", next());
    EXPECT_EQ(0U, abecsPacketAvailable(packet()));
}

TEST_F(Parser, RefusesBlocksThatDoNotAddUp) {
    EXPECT_FAILURE(parse("CEX000010"
                         "123456789"),
                   PCL_RESULT_IO_ERROR, "Invalid packet (malformed)");
    EXPECT_FAILURE(parse("CEX000010"
                         "123456789012"),
                   PCL_RESULT_IO_ERROR,
                   "Buffer does not have enough data (requested: 3, available: 2)");
    EXPECT_FAILURE(parse("CEX000002"
                         "12"
                         "005"
                         "1234"),
                   PCL_RESULT_IO_ERROR, "Invalid packet (malformed)");
    EXPECT_FAILURE(parse("CEX000002"
                         "12"
                         "004"
                         "1234"
                         "x"),
                   PCL_RESULT_IO_ERROR, "Invalid packet (unsupported block)");
    EXPECT_FAILURE(parse("CEX00001"), PCL_RESULT_IO_ERROR,
                   "Buffer does not have enough data (requested: 3, available: 2)");
}

TEST_F(Parser, RefusesBytesThatAreNoParameter) {
    EXPECT_NO_FAILURE(parse("CEX000007" + tagged(1, "ab") + "x"));
    EXPECT_EQ("1=ab", next());
    EXPECT_FAILURE(next(), PCL_RESULT_IO_ERROR,
                   "Malformed packet (remaining bytes on BLK1 cannot be used)");
    EXPECT_NO_FAILURE(parse("CEX000006" + tagged(1, "ab") + "007" + tagged(2, "c") + "xy"));
    EXPECT_EQ("1=ab", next());
    EXPECT_EQ("2=c", next());
    EXPECT_FAILURE(next(), PCL_RESULT_IO_ERROR,
                   "Malformed packet (remaining bytes on BLK2 cannot be used)");
}

TEST_F(Parser, DoesNotRunAwayWithAParameterThatOverrunsItsBlock) {
    // The first block is said to end within the parameter.
    EXPECT_NO_FAILURE(parse("CEX000005"
                            "\x01\x01" +
                            std::string("\x00\x04"
                                        "a",
                                        3) +
                            "003"
                            "bcd"));
    EXPECT_EQ("257=a003", next());
    const PclException failure = pcl_attempt([&] {
        for (int i = 0; i < 10; ++i) {
            next();
        }
    });
    EXPECT_EQ(PCL_RESULT_IO_ERROR, failure.code);
}

TEST_F(Parser, RecognisesANotification) {
    const std::string text(32, 'n');
    EXPECT_NO_FAILURE(parse("NTM000032" + text));
    EXPECT_EQ(ABECS_RSP_STAT_ST_NOTIFICATION, abecsParserGetRspStat(parser()));
    std::array<char, ABECS_NOTIFICATION_SIZE> out{};
    EXPECT_EQ(out.data(), abecsParserGetNotification(parser(), out.data()));
    EXPECT_EQ(text, out.data());
    EXPECT_NO_FAILURE(parse("NTM000004ab  "));
    abecsParserGetNotification(parser(), out.data());
    EXPECT_STREQ("ab", out.data());
    EXPECT_NO_FAILURE(parse("NTM000004ab\xE9 "));
    EXPECT_EQ(nullptr, abecsParserGetNotification(parser(), nullptr));
    EXPECT_EQ(0U, abecsPacketAvailable(packet()));
}

TEST_F(Parser, RefusesAWrongNotification) {
    EXPECT_FAILURE(parse("NTM000033" + std::string(33, 'n')), PCL_RESULT_PROTOCOL_ERROR,
                   "Malformed notification");
    EXPECT_FAILURE(parse("NTM000002ab001x"), PCL_RESULT_PROTOCOL_ERROR, "Malformed notification");
    // An empty second block is none.
    EXPECT_NO_FAILURE(parse("NTM000002ab000"));
}

TEST_F(Parser, RefusesANotificationWithAStatus) {
    EXPECT_FAILURE(parse("NTM013"), PCL_RESULT_PROTOCOL_ERROR,
                   "NTM with invalid RSP_STAT: ABECS_RSP_STAT_ST_CANCEL");
}

TEST_F(Parser, HasANotificationOnlyWhenItIsOne) {
    EXPECT_NO_FAILURE(parse("CEX000"));
    std::array<char, ABECS_NOTIFICATION_SIZE> out{};
    EXPECT_FAILURE(abecsParserGetNotification(parser(), out.data()), PCL_RESULT_ILLEGAL_STATE,
                   "Response is not a notification");
    EXPECT_NO_FAILURE(parse("NTM000003a\rb"));
    EXPECT_FAILURE(abecsParserGetNotification(parser(), out.data()), PCL_RESULT_IO_ERROR,
                   "Invalid character (0x0D) at position 1");
}

TEST_F(Parser, ComparesTheIdentifier) {
    EXPECT_NO_FAILURE(parse("GCD000"));
    EXPECT_NO_FAILURE(abecsParserRequireRspId(parser(), "GCD"));
    EXPECT_FAILURE(abecsParserRequireRspId(parser(), "CEX"), PCL_RESULT_PROTOCOL_ERROR,
                   "(CEX) Invalid RSP_ID: GCD)");
    EXPECT_NO_FAILURE(parse("ERR010"));
    EXPECT_NO_FAILURE(abecsParserRequireRspId(parser(), "CEX"));
}

TEST_F(Parser, ReadsANotificationAfterItsIdentifier) {
    std::array<char, ABECS_NOTIFICATION_SIZE> out{};
    put("000005hello");
    EXPECT_NO_FAILURE(abecsPacketReadNotification(packet(), out.data()));
    EXPECT_STREQ("hello", out.data());
    put("012");
    EXPECT_FAILURE(abecsPacketReadNotification(packet(), out.data()), PCL_RESULT_PROTOCOL_ERROR,
                   "NTM with invalid RSP_STAT: ABECS_RSP_STAT_ST_TIMEOUT");
    EXPECT_FAILURE(abecsPacketReadNotification(nullptr, out.data()), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'packet' is NULL");
    EXPECT_FAILURE(abecsPacketReadNotification(packet(), nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'out' is NULL");
}

TEST_F(Parser, ChecksForNull) {
    const char *parserText = "'parser' is NULL";
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    EXPECT_FAILURE(abecsParserParse(nullptr, packet()), code, parserText);
    EXPECT_FAILURE(abecsParserParse(parser(), nullptr), code, "'responsePacket' is NULL");
    EXPECT_FAILURE(abecsParserGetRspId(nullptr), code, parserText);
    EXPECT_FAILURE(abecsParserGetRspStat(nullptr), code, parserText);
    EXPECT_FAILURE(abecsParserNextParam(nullptr, param()), code, parserText);
    EXPECT_FAILURE(abecsParserNextParam(parser(), nullptr), code, "'out' is NULL");
    EXPECT_FAILURE(abecsParserGetNotification(nullptr, nullptr), code, parserText);
}

TEST_F(Parser, OutlivesItsDestructionAndComesBackBlank) {
    EXPECT_NO_FAILURE(parse("CEX013"));
    AbecsResponseParser *handle = m_parser.release();
    AbecsResponseParser *alive = handle;
    abecsParserDestroy(&handle);
    EXPECT_EQ(nullptr, handle);
    EXPECT_EQ(ABECS_RSP_STAT_ST_CANCEL, abecsParserGetRspStat(alive));
    m_parser.reset(abecsParserCreate());
    EXPECT_STREQ("", abecsParserGetRspId(parser()));
    EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecsParserGetRspStat(parser()));
    const AbecsResponseParserPtr second(abecsParserCreate());
    EXPECT_NE(m_parser, second);
    EXPECT_NO_FAILURE(abecsParserDestroy(nullptr));
}

TEST_F(Parser, MayBeDestroyedAgainThroughAnotherVariable) {
    AbecsResponseParser *one = abecsParserCreate();
    AbecsResponseParser *another = abecsParserCreate();
    AbecsResponseParser *stale = one;
    abecsParserDestroy(&one);
    abecsParserDestroy(&stale);
    EXPECT_EQ(nullptr, stale);
    stale = another;
    abecsParserDestroy(&another);
    abecsParserDestroy(&stale);
    std::set<AbecsResponseParser *> different;
    std::vector<AbecsResponseParserPtr> parsers;
    for (int i = 0; i < 3; ++i) {
        parsers.emplace_back(abecsParserCreate());
        different.insert(parsers.back().get());
    }
    EXPECT_EQ(3U, different.size());
}

TEST_F(Parser, EachIdleOneIsHandedOutOnce) {
    constexpr std::size_t COUNT = 4;
    std::vector<AbecsResponseParserPtr> parsers;
    for (std::size_t i = 0; i < COUNT; ++i) {
        parsers.emplace_back(abecsParserCreate());
    }
    std::set<AbecsResponseParser *> idle;
    for (const AbecsResponseParserPtr &parser : parsers) {
        idle.insert(parser.get());
    }
    parsers.clear();
    std::set<AbecsResponseParser *> again;
    for (std::size_t i = 0; i < COUNT; ++i) {
        parsers.emplace_back(abecsParserCreate());
        again.insert(parsers.back().get());
    }
    EXPECT_EQ(COUNT, idle.size());
    EXPECT_EQ(idle, again);
}

} // namespace
