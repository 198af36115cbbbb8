#include "cli/trace/abecs_frame.h"
#include "cli/trace/control.h"
#include "cli/trace/layout.h"
#include "cli/trace/opaque.h"
#include "cli/trace/trace.h"
#include "tests/cli/tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

using cli::layOut;
using cli::tellAbecsFrame;
using testing::HasSubstr;
using testing::Not;

constexpr bool REVEALED = true;
constexpr bool MASKED = false;

// A frame as on the line; the CRC plays no part here.
std::string frameOf(const std::string &body, bool encrypted = false) {
    std::string wire = encrypted ? "\x16\x12" : "\x16";
    for (const char byte : body) {
        if (byte == '\x13' || byte == '\x16' || byte == '\x17') {
            wire += '\x13';
            wire += static_cast<char>(byte + 0x20);
        } else {
            wire += byte;
        }
    }
    return wire + "\x17\xAB\xCD";
}

AbecsLinkEvent eventOf(AbecsLinkEvent_e kind, AbecsLinkDirection_e direction,
                       const std::string &wire, const std::string &body) {
    return {kind,
            direction,
            ABECS_LINK_STANDARD,
            false,
            reinterpret_cast<const std::uint8_t *>(wire.data()),
            wire.size(),
            reinterpret_cast<const std::uint8_t *>(body.data()),
            body.size()};
}

std::string tellResponse(const std::string &body, bool reveal) {
    const std::string wire = frameOf(body);
    return layOut(
        "", tellAbecsFrame(eventOf(ABECS_LINK_FRAME, ABECS_LINK_FROM_DEVICE, wire, body), reveal));
}

std::string tellCommand(const std::string &body) {
    const std::string wire = frameOf(body);
    return layOut(
        "", tellAbecsFrame(eventOf(ABECS_LINK_FRAME, ABECS_LINK_TO_DEVICE, wire, body), MASKED));
}

std::string param(unsigned id, const std::string &value) {
    const auto byte = [](std::size_t number) { return std::string(1, static_cast<char>(number)); };
    return byte(id >> 8U) + byte(id & 0xFFU) + byte(value.size() >> 8U) +
           byte(value.size() & 0xFFU) + value;
}

std::string block(const std::string &params) {
    char length[4];
    std::snprintf(length, sizeof length, "%03zu", params.size());
    return length + params;
}

TEST(Trace, MasksWhatWasTypedAndTheCrc) {
    const std::string body = "GCD000" + block(param(0x804D, "4711"));
    const std::string masked = tellResponse(body, MASKED);
    EXPECT_THAT(masked, HasSubstr("804D PP_VALUE masked"));
    EXPECT_THAT(masked, HasSubstr("80 4D 00 04 ** (4 bytes)"));
    EXPECT_THAT(masked, Not(HasSubstr("34 37")));
    EXPECT_THAT(masked, HasSubstr("CRC masked"));
    EXPECT_THAT(masked, Not(HasSubstr("AB CD")));

    const std::string revealed = tellResponse(body, REVEALED);
    EXPECT_THAT(revealed, HasSubstr("804D PP_VALUE \"4711\""));
    EXPECT_THAT(revealed, HasSubstr("80 4D 00 04 34 37 31 31"));
    EXPECT_THAT(revealed, HasSubstr("AB CD"));
}

TEST(Trace, MasksStuffedSecretsToo) {
    const std::string body =
        "CEX000" + block(param(0x8040, "90") + param(0x8045, "\x13\x16") + param(0x8041, "7"));
    const std::string masked = tellResponse(body, MASKED);
    EXPECT_THAT(masked, HasSubstr("8040 PP_EVENT \"90\""));
    EXPECT_THAT(masked, HasSubstr("80 45 00 02 ** (2 bytes)"));
    EXPECT_THAT(masked, HasSubstr("80 41 00 01 ** (1 byte)"));
    EXPECT_THAT(masked, Not(HasSubstr("13 3")));
    EXPECT_THAT(tellResponse(body, REVEALED), HasSubstr("80 45 00 02 13 33 13 36"));
}

TEST(Trace, ShowsBytesAsTheyWereStuffed) {
    const std::string shown = tellCommand("GCD" + block(param(0x000B, std::string("\x13\x17", 2))));
    EXPECT_THAT(shown, HasSubstr("000B prompt 4887"));
    EXPECT_THAT(shown, HasSubstr("00 0B 00 02 13 33 13 37"));
}

TEST(Trace, MasksWhatItDoesNotUnderstand) {
    for (const std::string &body : {
             "GCD000999" + param(0x804D, "4711"),                    // the block is shorter
             "GCD000008" + param(0x804D, "4711") + "4711",           // a parameter too long
             "GCD013" + block(param(0x804D, "4711")),                // nothing belongs there
             "GCD000" + block(param(0x8FFF, "4711")),                // no such identifier
             "GCD000" + block(param(0x8040, "90")) + "004" + "4711", // rest of a block
             "XYZ000" + block(param(0x8040, "4711")),                // no such command
             std::string("471100"),                                  // no answer at all
             std::string("GCD4711"),                                 // no status
             "OPN000515256" + std::string("4711"),                   // the key
             std::string("NTM0009994711"),                           // shorter than it says
         }) {
        const std::string masked = tellResponse(body, MASKED);
        EXPECT_THAT(masked, Not(HasSubstr("4711"))) << body;
        EXPECT_THAT(masked, Not(HasSubstr("34 37 31"))) << body;
        EXPECT_THAT(masked, HasSubstr("CRC masked")) << body;
    }
}

TEST(Trace, ShowsNotifications) {
    const std::string shown = tellResponse("NTM000008SENHA\xE1\xE1 ", MASKED);
    EXPECT_THAT(shown, HasSubstr("NTM notification, ABECS_RSP_STAT_ST_OK"));
    EXPECT_THAT(shown, HasSubstr("text \"SENHA\xC3\xA1\xC3\xA1 \""));
    EXPECT_THAT(shown, HasSubstr("AB CD"));
}

TEST(Trace, NamesStatusesAndFamilies) {
    EXPECT_THAT(tellResponse("ERR011", MASKED), HasSubstr("ERR answer, ABECS_RSP_STAT_ST_INVPARM"));
    EXPECT_THAT(tellResponse("GCD001", MASKED), HasSubstr("GCD answer without a known status"));
    EXPECT_THAT(tellResponse("LMF000" + block(param(0x9305, "7")), MASKED),
                HasSubstr("9305 PP_TABVERnn[5] \"7\""));
}

TEST(Trace, TakesCommandsApartByTheirOwnTables) {
    EXPECT_THAT(
        tellCommand("CEX" + block(param(6, "100099") + param(12, "\x1E") + param(35, "0530"))),
        testing::AllOf(HasSubstr("0006 event options \"100099\""), HasSubstr("000C number 30"),
                       HasSubstr("0023 pair \"0530\"")));
    EXPECT_THAT(tellCommand("GCD" + block(param(12, "\x1E"))), HasSubstr("000C seconds 30"));
    EXPECT_THAT(
        tellCommand("MLI" + block(param(30, "LOGO    ") +
                                  param(31, std::string("\0\1\0\0\x12\x34\x02\0\0\0", 10)))),
        HasSubstr("001F media info 65536 bytes, CRC 1234, type 2"));
    EXPECT_THAT(tellCommand("ABC4711"),
                testing::AllOf(HasSubstr("ABC unknown command"), HasSubstr("** (4 bytes)")));
}

TEST(Trace, TellsOfSecondBlocks) {
    EXPECT_THAT(tellCommand("DMF" + block(param(30, "A       ")) + block(param(30, "B       "))),
                testing::AllOf(HasSubstr("CMD_LEN1 012"), HasSubstr("CMD_LEN2 012"),
                               HasSubstr("001E media name \"B\"")));
}

TEST(Trace, ShowsThePayloadOfAnEncryptedFrameAndMasksWhatIsInIt) {
    const std::string body = "GCD000" + block(param(0x804D, "4711"));
    const std::string wire = frameOf("0123456789abcde\x13", true);
    AbecsLinkEvent event = eventOf(ABECS_LINK_FRAME, ABECS_LINK_FROM_DEVICE, wire, body);
    event.encrypted = true;
    const std::string masked = layOut("", tellAbecsFrame(event, MASKED));
    EXPECT_THAT(masked, HasSubstr("GCD answer, ABECS_RSP_STAT_ST_OK, encrypted"));
    EXPECT_THAT(masked, HasSubstr("payload 17 bytes"));
    EXPECT_THAT(masked, HasSubstr("30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 13"));
    EXPECT_THAT(masked, HasSubstr("80 4D 00 04 ** (4 bytes)"));
    EXPECT_THAT(masked, Not(HasSubstr("34 37 31 31")));
}

TEST(Trace, MasksAFrameThatCouldNotBeDecrypted) {
    const std::string wire = frameOf("4711", true);
    AbecsLinkEvent event = eventOf(ABECS_LINK_FRAME, ABECS_LINK_FROM_DEVICE, wire, wire);
    event.encrypted = true;
    event.body = nullptr;
    const std::string masked = layOut("", tellAbecsFrame(event, MASKED));
    EXPECT_THAT(masked, HasSubstr("frame that could not be decrypted"));
    EXPECT_THAT(masked, HasSubstr("** (9 bytes)"));
    EXPECT_THAT(layOut("", tellAbecsFrame(event, REVEALED)), HasSubstr("34 37 31 31"));
}

TEST(Trace, MasksAFrameThatDoesNotCarryItsBody) {
    const std::string wire = frameOf("GCD0004711");
    const std::string body = "GCD000";
    const AbecsLinkEvent event = eventOf(ABECS_LINK_FRAME, ABECS_LINK_FROM_DEVICE, wire, body);
    const std::string masked = layOut("", tellAbecsFrame(event, MASKED));
    EXPECT_THAT(masked, HasSubstr("frame that does not carry its body"));
    EXPECT_THAT(masked, Not(HasSubstr("34 37 31 31")));
}

TEST(Trace, NamesControlBytesAndMasksStrayCharacters) {
    const auto tell = [](const std::string &byte, bool reveal) {
        return layOut(
            "", cli::tellByte(eventOf(ABECS_LINK_BYTE, ABECS_LINK_FROM_DEVICE, byte, ""), reveal));
    };
    EXPECT_THAT(tell("\x15", MASKED), testing::MatchesRegex("NAK +15\n"));
    EXPECT_THAT(tell("\x05", MASKED), testing::MatchesRegex("stray byte +05\n"));
    EXPECT_THAT(tell("7", MASKED), testing::MatchesRegex("stray byte +\\*\\* \\(1 byte\\)\n"));
    EXPECT_THAT(tell("7", REVEALED), testing::MatchesRegex("stray byte +37\n"));
}

class TraceFile : public testing::Test {
protected:
    ~TraceFile() override { std::fclose(m_out); }

    // What a trace writes of an event that the library reports.
    std::string written() {
        std::fflush(m_out);
        return m_file.content();
    }

    tool::TemporaryFile m_file;
    std::FILE *m_out = std::fopen(m_file.path().c_str(), "w");
};

TEST_F(TraceFile, KnowsEveryKindOfEvent) {
    const cli::Trace trace(m_out, {false, false});
    AbecsWireRecord record;
    for (const char byte : std::string("\x16GCD4711")) {
        record.add(static_cast<std::uint8_t>(byte));
    }
    abecs_observe_byte(ABECS_LINK_TO_DEVICE, ABECS_LINK_STANDARD, 0x18);
    abecs_observe_silence(ABECS_LINK_STANDARD);
    abecs_observe_discarded(ABECS_LINK_STANDARD, record);
    abecs_observe_frame(ABECS_LINK_DAMAGED, ABECS_LINK_FROM_DEVICE, ABECS_LINK_STANDARD, false,
                        record, nullptr);
    abecs_observe_frame(ABECS_LINK_FRAME, ABECS_LINK_TO_DEVICE, ABECS_LINK_EXTENSION, false, record,
                        nullptr);
    EXPECT_EQ(written(), "-> CAN                                      18\n"
                         "<- nothing came in time\n"
                         "<- thrown away\n"
                         "   8 bytes                                  ** (8 bytes)\n"
                         "<- damaged frame\n"
                         "   8 bytes                                  ** (8 bytes)\n"
                         "-> frame that does not carry its body\n"
                         "   8 bytes                                  ** (8 bytes)\n");
}

TEST_F(TraceFile, RaisesNothingOverWhatHasNoName) {
    static_cast<void>(pcl_attempt([] {})); // clears the record
    const cli::Trace trace(m_out, {false, false});
    for (const std::string &body : {std::string("GCD001"), "GCD000" + block(param(0x9364, "7"))}) {
        const AbecsPacketPtr packet(abecsPacketCreate());
        abecsFieldPutBytes(packet.get(), body.data(), body.size());
        AbecsWireRecord record;
        for (const char byte : frameOf(body)) {
            record.add(static_cast<std::uint8_t>(byte));
        }
        abecs_observe_frame(ABECS_LINK_FRAME, ABECS_LINK_FROM_DEVICE, ABECS_LINK_STANDARD, false,
                            record, packet.get());
    }
    EXPECT_THAT(written(), HasSubstr("GCD answer without a known status"));
    EXPECT_THAT(written(), HasSubstr("9364 unknown masked"));
    EXPECT_EQ(pcl_exception_code(), PCL_RESULT_OK);
}

TEST_F(TraceFile, StampsTheTime) {
    const cli::Trace trace(m_out, {true, false});
    abecs_observe_byte(ABECS_LINK_TO_DEVICE, ABECS_LINK_STANDARD, 0x18);
    EXPECT_THAT(written(),
                testing::ContainsRegex("^[0-9]{4}-[0-9]{2}-[0-9]{2} "
                                       "[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} -> CAN +18\n$"));
}

TEST_F(TraceFile, EndsWithTheTrace) {
    { const cli::Trace trace(m_out, {false, false}); }
    EXPECT_FALSE(abecs_link_is_observed());
    abecs_observe_byte(ABECS_LINK_TO_DEVICE, ABECS_LINK_STANDARD, 0x18);
    EXPECT_EQ(written(), "");
}

} // namespace
