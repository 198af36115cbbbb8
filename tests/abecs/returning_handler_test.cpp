// With no frame open, a failure goes to the host's handler and comes back when that returns.
// Nothing that was found missing or wrong is touched then, and the operation's result is harmless.

#include "abecs/cmd_builder.h"
#include "abecs/commands/display.h"
#include "abecs/commands/event.h"
#include "abecs/commands/media.h"
#include "abecs/commands/media_name.h"
#include "abecs/crypto/rsa.h"
#include "abecs/param_map.h"
#include "abecs/response_parser.h"
#include "abecs/rsp_datid.h"
#include "abecs/text_check.h"
#include "tests/support/failures.h"

#include <array>
#include <string>

namespace {

constexpr PclResult_e ILLEGAL = PCL_RESULT_ILLEGAL_ARGUMENT;
constexpr AbecsRspStat_e NONE = ABECS_RSP_STAT_ST_INTERR;
constexpr std::array<std::uint8_t, 4> UNTOUCHED{0xAA, 0xAA, 0xAA, 0xAA};

AbecsPacket *const NO_PACKET = nullptr;
AbecsParam *const NO_PARAM = nullptr;

class ReturningHandler : public testing::Test {
protected:
    // Runs the call, which must fail once, with this.
    template <typename Call>
    void expectRefused(Call call, PclResult_e code, const std::string &detail) {
        SCOPED_TRACE(detail);
        m_handler.clear();
        call();
        ASSERT_EQ(1U, m_handler.count());
        EXPECT_EQ(code, m_handler.code());
        EXPECT_EQ(failures::text(code, detail), m_handler.message());
    }

    AbecsPacket *packetOf(const std::string &content) {
        abecsPacketClear(m_packet.get());
        abecsFieldPutBytes(m_packet.get(), content.data(), content.size());
        return m_packet.get();
    }

    AbecsPacket *packet() { return m_packet.get(); }

private:
    AbecsPacketPtr m_packet{abecsPacketCreate()};
    ScopedHandler m_handler;
};

TEST_F(ReturningHandler, NothingIsWrittenToAMissingField) {
    constexpr char MISSING[] = "'packet' is NULL";
    expectRefused([] { abecsFieldPutAlpha(NO_PACKET, "A", 1, 0); }, ILLEGAL, MISSING);
    expectRefused([] { abecsFieldPutNumber(NO_PACKET, 1, 1); }, ILLEGAL, MISSING);
    expectRefused([] { abecsFieldPutHex(NO_PACKET, "A", 1, 2); }, ILLEGAL, MISSING);
    expectRefused([] { abecsFieldPutHexText(NO_PACKET, "41", 2); }, ILLEGAL, MISSING);
    expectRefused([] { abecsFieldPutBinary(NO_PACKET, 1, 1); }, ILLEGAL, MISSING);
    expectRefused([] { abecsFieldPutBytes(NO_PARAM, "A", 1); }, ILLEGAL, "'param' is NULL");
    expectRefused([] { abecsFieldPutBytes(static_cast<PclBuffer *>(nullptr), "A", 1); }, ILLEGAL,
                  "buffer is NULL");
}

TEST_F(ReturningHandler, NothingIsReadFromAMissingField) {
    constexpr char MISSING[] = "'packet' is NULL";
    std::array<char, 4> to{'x', 'x', 'x', 'x'};
    expectRefused([&] { EXPECT_EQ(to.data(), abecsFieldGetAlpha(NO_PACKET, to.data(), 4, 1, 0)); },
                  ILLEGAL, MISSING);
    expectRefused([&] { EXPECT_EQ(0U, abecsFieldGetHex(NO_PACKET, to.data(), 4, 2)); }, ILLEGAL,
                  MISSING);
    expectRefused([&] { EXPECT_EQ(to.data(), abecsFieldGetHexText(NO_PACKET, to.data(), 4, 2)); },
                  ILLEGAL, MISSING);
    expectRefused([] { EXPECT_EQ(0U, abecsFieldGetBinary(NO_PACKET, 2)); }, ILLEGAL, MISSING);
    expectRefused([&] { EXPECT_EQ(0U, abecsFieldGetBytes(NO_PACKET, to.data(), 4, 2)); }, ILLEGAL,
                  MISSING);
    EXPECT_EQ((std::array<char, 4>{'x', 'x', 'x', 'x'}), to);
}

TEST_F(ReturningHandler, NothingWrongIsWritten) {
    packetOf("");
    expectRefused([&] { abecsFieldPutAlpha(packet(), nullptr, 1, 0); }, ILLEGAL, "'text' is NULL");
    expectRefused([&] { abecsFieldPutAlpha(packet(), "\x01", 1, 0); }, ILLEGAL,
                  "Invalid character (0x01) at position 0");
    expectRefused([&] { abecsFieldPutNumber(packet(), 10000000000000U, 20); }, ILLEGAL,
                  "'i' (10000000000000) is too long (maximum: 9999999999999");
    expectRefused([&] { abecsFieldPutNumber(packet(), 100, 2); }, ILLEGAL,
                  "Number length (3) is greater than field length (2)");
    expectRefused([&] { abecsFieldPutHex(packet(), nullptr, 1, 2); }, ILLEGAL, "'data' is NULL");
    expectRefused([&] { abecsFieldPutHex(packet(), "A", 1, 3); }, ILLEGAL,
                  "fieldLen (3) must be even");
    expectRefused([&] { abecsFieldPutHex(packet(), "AB", 2, 2); }, ILLEGAL,
                  "fieldLen < (dataLen * 2) ==> (2 < (2 * 2))");
    expectRefused([&] { abecsFieldPutHexText(packet(), nullptr, 2); }, ILLEGAL, "'text' is NULL");
    expectRefused([&] { abecsFieldPutHexText(packet(), "41", 3); }, ILLEGAL,
                  "fieldLen (3) is not even");
    expectRefused([&] { abecsFieldPutHexText(packet(), "4", 2); }, ILLEGAL,
                  "data length (1) is not even");
    expectRefused([&] { abecsFieldPutHexText(packet(), "4142", 2); }, ILLEGAL,
                  "fieldLen (2) is not enough for data length (4)");
    expectRefused([&] { abecsFieldPutHexText(packet(), "4G", 2); }, ILLEGAL,
                  "Invalid character (0x47) at position 1");
    expectRefused([&] { abecsFieldPutBinary(packet(), 0x100, 1); }, ILLEGAL,
                  "fieldLen (1) is not enough for data (256)");
    expectRefused([&] { abecsFieldPutBinary(packet(), 0x10000, 2); }, ILLEGAL,
                  "fieldLen (2) is not enough for data (65536)");
    EXPECT_EQ(0U, abecsPacketAvailable(packet()));
}

TEST_F(ReturningHandler, NothingWrongIsRead) {
    std::array<char, 4> to{'x', 'x', 'x', 'x'};
    packetOf("4142");
    expectRefused([&] { abecsFieldGetAlpha(packet(), to.data(), 2, 2, 0); }, ILLEGAL,
                  "sizeTo (2) is not enough to store field data");
    expectRefused([&] { abecsFieldGetHex(packet(), to.data(), 4, 3); }, ILLEGAL,
                  "fieldLen (3) must be even");
    expectRefused([&] { abecsFieldGetHex(packet(), to.data(), 1, 4); }, ILLEGAL,
                  "sizeTo (1) < (fieldLen / 2) (2)");
    expectRefused([&] { abecsFieldGetHexText(packet(), to.data(), 4, 3); }, ILLEGAL,
                  "fieldLen (3) is not an even number");
    expectRefused([&] { abecsFieldGetHexText(packet(), to.data(), 4, 4); }, ILLEGAL,
                  "sizeTo (4) is not enough to store field (length: 4)");
    expectRefused([&] { EXPECT_EQ(0U, abecsFieldGetBinary(packet(), 3)); }, ILLEGAL,
                  "Unsupported fieldLen: 3 (accepted values are 1, 2, or 4)");
    expectRefused([&] { EXPECT_EQ(0U, abecsFieldGetBytes(packet(), to.data(), 2, 3)); }, ILLEGAL,
                  "Destination array does not have enough size to store all data (requested: 3, "
                  "available: 2)");
    EXPECT_EQ(4U, abecsPacketAvailable(packet()));
    EXPECT_EQ((std::array<char, 4>{'x', 'x', 'x', 'x'}), to);
    packetOf("00000000000001");
    expectRefused([&] { EXPECT_EQ(0U, abecsFieldGetNumber(packet(), 14)); }, ILLEGAL,
                  "field length (14) is too big (maximum: 13)");
    EXPECT_EQ(14U, abecsPacketAvailable(packet()));
}

TEST_F(ReturningHandler, ShortDataStayUnread) {
    constexpr PclResult_e IO = PCL_RESULT_IO_ERROR;
    constexpr char SHORT[] = "Buffer does not have enough data (requested: 4, available: 2)";
    std::array<char, 8> to{};
    packetOf("41");
    expectRefused([&] { abecsFieldGetAlpha(packet(), to.data(), 8, 4, 0); }, IO, SHORT);
    expectRefused([&] { EXPECT_EQ(0U, abecsFieldGetNumber(packet(), 4)); }, IO, SHORT);
    expectRefused([&] { EXPECT_EQ(0U, abecsFieldGetHex(packet(), to.data(), 8, 4)); }, IO, SHORT);
    expectRefused([&] { abecsFieldGetHexText(packet(), to.data(), 8, 4); }, IO, SHORT);
    expectRefused([&] { EXPECT_EQ(0U, abecsFieldGetBinary(packet(), 4)); }, IO, SHORT);
    expectRefused([&] { EXPECT_EQ(0U, abecsFieldGetBytes(packet(), to.data(), 8, 4)); }, IO, SHORT);
    EXPECT_EQ(2U, abecsPacketAvailable(packet()));
}

TEST_F(ReturningHandler, WrongCharactersOfAFieldAreReported) {
    constexpr PclResult_e IO = PCL_RESULT_IO_ERROR;
    std::array<char, 8> to{};
    packetOf("\x01"
             "A1Xzz");
    expectRefused([&] { abecsFieldGetAlpha(packet(), to.data(), 8, 1, 0); }, IO,
                  "Invalid character (0x01) at position 0");
    expectRefused([&] { EXPECT_EQ(0U, abecsFieldGetNumber(packet(), 1)); }, IO,
                  "Invalid char (0x41) at index 0");
    expectRefused([&] { abecsFieldGetHex(packet(), to.data(), 8, 2); }, IO, "Invalid data: 1X");
}

TEST_F(ReturningHandler, PacketsAndParametersAreChecked) {
    PclBufferState mark{};
    expectRefused([&] { abecsPacketMark(NO_PACKET, &mark); }, ILLEGAL, "'packet' is NULL");
    expectRefused([&] { abecsPacketMark(packet(), nullptr); }, ILLEGAL, "'out' is NULL");
    expectRefused([] { EXPECT_EQ(0U, abecsParamGetId(NO_PARAM)); }, ILLEGAL, "'param' is NULL");
    expectRefused([] { abecsParamSetId(NO_PARAM, 1); }, ILLEGAL, "'param' is NULL");
}

TEST_F(ReturningHandler, ABuilderIsChecked) {
    const AbecsCmdBuilderPtr builder(abecs_cmd_builder_create());
    constexpr char MISSING[] = "'builder' is NULL";
    packetOf("as it was");
    expectRefused([] { abecs_cmd_builder_reset(nullptr); }, ILLEGAL, MISSING);
    expectRefused([] { abecs_cmd_builder_set_cmd_id(nullptr, "ABC"); }, ILLEGAL, MISSING);
    expectRefused([] { abecs_cmd_builder_add_param(nullptr, nullptr); }, ILLEGAL, MISSING);
    expectRefused([&] { EXPECT_EQ(packet(), abecs_cmd_builder_build(nullptr, packet())); }, ILLEGAL,
                  MISSING);
    expectRefused([&] { abecs_cmd_builder_set_cmd_id(builder.get(), nullptr); }, ILLEGAL,
                  "'cmdId' is NULL");
    expectRefused([&] { abecs_cmd_builder_set_cmd_id(builder.get(), "ABCD"); }, ILLEGAL,
                  "Invalid 'cmdId': ABCD");
    expectRefused([&] { EXPECT_EQ(nullptr, abecs_cmd_builder_build(builder.get(), nullptr)); },
                  ILLEGAL, "'out' is NULL");
    expectRefused([&] { EXPECT_EQ(packet(), abecs_cmd_builder_build(builder.get(), packet())); },
                  PCL_RESULT_ILLEGAL_STATE, "Builder does not have assigned a command id");
    std::array<char, 4> id{'x', 'x', 'x', '\0'};
    expectRefused([&] { abecs_packet_get_cmd_id(NO_PACKET, id.data(), id.size()); }, ILLEGAL,
                  "'packet' is NULL");
    expectRefused([&] { EXPECT_EQ(nullptr, abecs_packet_get_cmd_id(packet(), nullptr, 4)); },
                  ILLEGAL, "'out' is NULL");
    EXPECT_STREQ("xxx", id.data());
    EXPECT_EQ(9U, abecsPacketAvailable(packet()));
}

TEST_F(ReturningHandler, AParserIsChecked) {
    const AbecsResponseParserPtr parser(abecsParserCreate());
    const AbecsParamPtr param(abecsParamCreate());
    std::array<char, ABECS_NOTIFICATION_SIZE> text{"as it was"};
    constexpr char MISSING[] = "'parser' is NULL";
    expectRefused([&] { abecsParserParse(nullptr, packet()); }, ILLEGAL, MISSING);
    expectRefused([&] { abecsParserParse(parser.get(), nullptr); }, ILLEGAL,
                  "'responsePacket' is NULL");
    expectRefused([&] { EXPECT_EQ(nullptr, abecsParserNextParam(nullptr, param.get())); }, ILLEGAL,
                  MISSING);
    expectRefused([&] { EXPECT_EQ(nullptr, abecsParserNextParam(parser.get(), nullptr)); }, ILLEGAL,
                  "'out' is NULL");
    expectRefused([&] { EXPECT_EQ(text.data(), abecsParserGetNotification(nullptr, text.data())); },
                  ILLEGAL, MISSING);
    ASSERT_NO_FAILURE(abecsParserParse(parser.get(), packetOf("DEX000")));
    expectRefused([&] { abecsParserGetNotification(parser.get(), text.data()); },
                  PCL_RESULT_ILLEGAL_STATE, "Response is not a notification");
    expectRefused([&] { abecsPacketReadNotification(nullptr, text.data()); }, ILLEGAL,
                  "'packet' is NULL");
    expectRefused([&] { abecsPacketReadNotification(packet(), nullptr); }, ILLEGAL,
                  "'out' is NULL");
    EXPECT_STREQ("as it was", text.data());
}

TEST_F(ReturningHandler, AParamMapIsChecked) {
    const AbecsParamMapPtr map(abecsParamMapCreate());
    AbecsParamMapIterator position{};
    constexpr char MISSING[] = "'map' is NULL";
    expectRefused([] { EXPECT_EQ(nullptr, abecsParamMapPut(nullptr, 1, nullptr, 0)); }, ILLEGAL,
                  MISSING);
    const AbecsParamValue noData{1, nullptr, 0};
    expectRefused([&] { EXPECT_EQ(nullptr, abecsParamMapPut(map.get(), 1, &noData, 0)); }, ILLEGAL,
                  "invalid 'data' x 'szData'");
    expectRefused([&] { EXPECT_EQ(nullptr, abecsParamMapFirst(nullptr, &position)); }, ILLEGAL,
                  MISSING);
    expectRefused([&] { EXPECT_EQ(nullptr, abecsParamMapFirst(map.get(), nullptr)); }, ILLEGAL,
                  "'out' is NULL");
    expectRefused([] { EXPECT_EQ(nullptr, abecsParamMapNext(nullptr)); }, ILLEGAL, "'it' is NULL");
    EXPECT_EQ(nullptr, abecsParamMapFirst(map.get(), &position));
}

TEST_F(ReturningHandler, TextsAreChecked) {
    expectRefused([] { EXPECT_EQ(0U, abecsCheckDigitString(nullptr, "text", 4, 2)); }, ILLEGAL,
                  "'text' is NULL");
    expectRefused([] { EXPECT_EQ(5U, abecsCheckDigitString("12345", "text", 4, 2)); }, ILLEGAL,
                  "'text' is too long (maximum: 4, requested: 5)");
    expectRefused([] { EXPECT_EQ(1U, abecsCheckDigitString("1", "text", 4, 2)); }, ILLEGAL,
                  "'text' is too short (minimum: 2, requested: 1)");
    expectRefused([] { EXPECT_FALSE(abecs_is_media_name(nullptr)); }, ILLEGAL,
                  "'filename' is NULL");
    expectRefused([] { EXPECT_FALSE(abecs_is_media_name("")); }, ILLEGAL, "'filename' is empty");
    expectRefused([] { EXPECT_FALSE(abecs_is_media_name("123456789")); }, ILLEGAL,
                  "'filename' is too long (max: 8, requested: 9)");
}

TEST_F(ReturningHandler, UnknownNumbersHaveNoName) {
    expectRefused([] { EXPECT_STREQ("", abecsRspStatName(static_cast<AbecsRspStat_e>(9999))); },
                  PCL_RESULT_RUNTIME_ERROR, "Unhandled AbecsRspStat_e: 9999\n");
    expectRefused([] { EXPECT_STREQ("", abecsRspDatIdName(0xFFFF)); }, PCL_RESULT_RUNTIME_ERROR,
                  "Unhandled id: 65535\n");
    expectRefused([&] { EXPECT_EQ(ABECS_RSP_STAT_ST_INTERR, abecsReadRspStat(packetOf("999"))); },
                  PCL_RESULT_PROTOCOL_ERROR, "Unknown value for RSP_STAT: 999");
}

TEST_F(ReturningHandler, CommandsNeedASession) {
    constexpr char MISSING[] = "'pinpad' is NULL";
    const AbecsParamMapPtr map(abecsParamMapCreate());
    expectRefused([] { EXPECT_EQ(NONE, abecs_dex(nullptr, "TEXT")); }, ILLEGAL, MISSING);
    expectRefused([] { EXPECT_EQ(NONE, abecs_dsi(nullptr, "LOGO")); }, ILLEGAL, MISSING);
    expectRefused([] { EXPECT_EQ(NONE, abecs_dmf(nullptr, nullptr)); }, ILLEGAL, MISSING);
    expectRefused([] { EXPECT_EQ(NONE, abecs_lmf(nullptr, nullptr)); }, ILLEGAL, MISSING);
    expectRefused([] { EXPECT_EQ(NONE, abecsMediaLoadInit(nullptr, "LOGO", 1, 1, 1)); }, ILLEGAL,
                  MISSING);
    expectRefused([] { EXPECT_EQ(NONE, abecsMediaLoadRecord(nullptr, "A", 1)); }, ILLEGAL, MISSING);
    expectRefused([] { EXPECT_EQ(NONE, abecsMediaLoadEnd(nullptr)); }, ILLEGAL, MISSING);
    expectRefused([] { abecsCheckEvent(nullptr, "110000", nullptr, nullptr); }, ILLEGAL, MISSING);
    expectRefused([&] { EXPECT_EQ(-1, abecsCheckEventResponse(nullptr, map.get(), nullptr)); },
                  ILLEGAL, MISSING);
    expectRefused([] { EXPECT_EQ(0, abecsParamMapGetEvent(nullptr)); }, ILLEGAL,
                  "'paramMap' is NULL");
    expectRefused([] { EXPECT_EQ(nullptr, abecsParamMapGetTrk1Inc(nullptr)); }, ILLEGAL,
                  "'paramMap' is NULL");
    expectRefused([&] { EXPECT_EQ(0, abecsParamMapGetEvent(map.get())); },
                  PCL_RESULT_PROTOCOL_ERROR, "Mandatory PP_EVENT not found");
}

TEST_F(ReturningHandler, CommandsCheckTheirArguments) {
    // Nothing of it is looked at before the arguments are.
    AbecsPinpad pinpad;
    const std::string tooLong(161, 'A');
    expectRefused([&] { EXPECT_EQ(NONE, abecs_dex(&pinpad, nullptr)); }, ILLEGAL, "'msg' is NULL");
    expectRefused([&] { EXPECT_EQ(NONE, abecs_dex(&pinpad, tooLong.c_str())); }, ILLEGAL,
                  "'msg' it too long (maximum: 160, requested: 161)");
    expectRefused([&] { EXPECT_EQ(NONE, abecs_dmf(&pinpad, nullptr)); }, ILLEGAL,
                  "'files' is NULL");
    expectRefused([&] { EXPECT_EQ(NONE, abecs_lmf(&pinpad, nullptr)); }, ILLEGAL, "'out' is NULL");
    expectRefused([&] { EXPECT_EQ(NONE, abecsMediaLoadInit(&pinpad, nullptr, 1, 1, 1)); }, ILLEGAL,
                  "'filename' is NULL");
    expectRefused([&] { EXPECT_EQ(NONE, abecsMediaLoadRecord(&pinpad, nullptr, 1)); }, ILLEGAL,
                  "'data' is NULL");
    expectRefused([&] { EXPECT_EQ(NONE, abecsMediaLoadRecord(&pinpad, "A", 996)); }, ILLEGAL,
                  "'szData' is too big (max: 995, req: 996)");
    expectRefused([&] { EXPECT_EQ(NONE, abecsMediaLoadRecord(&pinpad, "A", 0)); }, ILLEGAL,
                  "'szData' is zero");
    expectRefused([&] { abecsCheckEvent(&pinpad, "1", nullptr, nullptr); }, ILLEGAL,
                  "'cexOpt' is not valid!");
    expectRefused([&] { EXPECT_EQ(-1, abecsCheckEventResponse(&pinpad, nullptr, nullptr)); },
                  ILLEGAL, "'out' is NULL");
}

TEST_F(ReturningHandler, RsaRecordsAreChecked) {
    PclRsaPublicKey record{};
    record.szN = 128;
    record.sze = 5;
    std::array<std::uint8_t, 4> out = UNTOUCHED;
    expectRefused([&] { EXPECT_EQ(0U, pcl_rsa_public_raw(&record, out.data(), 4, out.data(), 4)); },
                  ILLEGAL, "Unsupported exponent size: 5");
    expectRefused([&] { EXPECT_EQ(0U, pcl_rsa_public_raw(nullptr, out.data(), 4, out.data(), 4)); },
                  ILLEGAL, "'pubKey' is NULL");
    expectRefused(
        [&] { EXPECT_EQ(0U, pcl_rsa_oaep_encrypt(nullptr, out.data(), 4, out.data(), 4)); },
        ILLEGAL, "'pubKey' is NULL");
    expectRefused(
        [&] { EXPECT_EQ(0U, pcl_rsa_oaep_decrypt(nullptr, out.data(), 4, out.data(), 4)); },
        ILLEGAL, "'privKey' is NULL");
    const std::uint8_t one = 1;
    expectRefused(
        [&] { EXPECT_EQ(nullptr, pcl_rsa_private_key_import(&one, 1, &one, 1, &one, 0)); }, ILLEGAL,
        "'szd' is zero");
    EXPECT_EQ(UNTOUCHED, out);
}

} // namespace
