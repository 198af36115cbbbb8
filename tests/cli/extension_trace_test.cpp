#include "cli/trace/extension_frame.h"
#include "cli/trace/layout.h"
#include "cli/trace/trace.h"
#include "tests/cli/tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr bool REVEALED = true;
constexpr bool MASKED = false;

std::string frameOf(const std::string &body) {
    const std::size_t length = body.size() + 5;
    std::string wire = "\x02";
    wire += static_cast<char>(length >> 8U);
    wire += static_cast<char>(length & 0xFFU);
    wire += body + "\x03";
    char check = 0;
    for (const char byte : wire) {
        check = static_cast<char>(check ^ byte);
    }
    return wire + check;
}

std::string tellFrame(AbecsLinkDirection_e direction, const std::string &wire,
                      const std::string &body, bool reveal) {
    const AbecsLinkEvent event = {ABECS_LINK_FRAME,
                                  direction,
                                  ABECS_LINK_EXTENSION,
                                  false,
                                  reinterpret_cast<const std::uint8_t *>(wire.data()),
                                  wire.size(),
                                  reinterpret_cast<const std::uint8_t *>(body.data()),
                                  body.size()};
    return cli::layOut("", cli::tellExtensionFrame(event, reveal));
}

std::string tellRequest(const std::string &body, bool reveal = MASKED) {
    return tellFrame(ABECS_LINK_TO_DEVICE, frameOf(body), body, reveal);
}

std::string tellAnswer(const std::string &body, bool reveal = MASKED) {
    return tellFrame(ABECS_LINK_FROM_DEVICE, frameOf(body), body, reveal);
}

TEST(ExtensionTrace, ShowsEveryPartOfAFrame) {
    EXPECT_EQ(tellRequest("MF03000400R016"),
              "MF03 read a MIFARE block\n"
              "   STX                                      02\n"
              "   length 19                                00 13\n"
              "   CMD_ID MF03                              4D 46 30 33\n"
              "   block 0004                               30 30 30 34\n"
              "   first byte 00                            30 30\n"
              "   operation R                              52\n"
              "   count 016                                30 31 36\n"
              "   ETX                                      03\n"
              "   check                                    7B\n");
}

TEST(ExtensionTrace, MasksKeysAndTheCheckByte) {
    for (const char *body : {"MF020004AA1B2C3D4E5F6", "MF050004AA1B2C3D4E5F6BA1B2C3D4E5F6110",
                             "MF060004AA1B2C3D4E5F6BA1B2C3D4E5F6"}) {
        const std::string masked = tellRequest(body);
        EXPECT_THAT(masked, AllOf(HasSubstr("masked"), HasSubstr("** (12 bytes)"),
                                  HasSubstr("check masked"), Not(HasSubstr("A1B2")),
                                  Not(HasSubstr("41 31"))))
            << masked;
        EXPECT_THAT(
            tellRequest(body, REVEALED),
            AllOf(HasSubstr("A1B2C3D4E5F6"), HasSubstr("41 31 42 32"), Not(HasSubstr("masked"))));
    }
}

TEST(ExtensionTrace, NamesTheFieldsOfKeys) {
    EXPECT_THAT(tellRequest("MF020004BA1B2C3D4E5F604A1B2C3"),
                AllOf(HasSubstr("MF02 authenticate a MIFARE block"), HasSubstr("key letter B"),
                      HasSubstr("key masked"), HasSubstr("serial number masked")));
    EXPECT_THAT(tellRequest("MF050004AA1B2C3D4E5F6BA1B2C3D4E5F6110"),
                AllOf(HasSubstr("MF05 set the configuration"), HasSubstr("key A masked"),
                      HasSubstr("key B masked"), HasSubstr("flags 110")));
    EXPECT_THAT(tellRequest("MF050004R"), HasSubstr("MF05 get the configuration"));
    EXPECT_THAT(tellRequest("MF060004AA1B2C3D4E5F6BA1B2C3D4E5F6"),
                HasSubstr("MF06 change MIFARE keys"));
    EXPECT_THAT(tellRequest("MF01"), HasSubstr("MF01 activate a MIFARE card"));
}

TEST(ExtensionTrace, MasksWhatCardsHold) {
    EXPECT_THAT(tellRequest("MF03000402W4711"),
                AllOf(HasSubstr("MF03 write a MIFARE block"), HasSubstr("data masked"),
                      Not(HasSubstr("4711"))));
    EXPECT_THAT(tellAnswer("MF03004711"),
                AllOf(HasSubstr("MF03 answer, done"), HasSubstr("masked"), Not(HasSubstr("4711"))));
    EXPECT_THAT(tellAnswer("MF03004711", REVEALED), HasSubstr("data or count 4711"));
    EXPECT_THAT(tellAnswer("MF010004A1B2C3"), HasSubstr("serial number masked"));
    EXPECT_THAT(tellAnswer("MF0400-4711"), HasSubstr("value masked"));
}

TEST(ExtensionTrace, TellsTheValueOperationsApart) {
    EXPECT_THAT(tellRequest("MF040004R"), HasSubstr("MF04 get a MIFARE value"));
    EXPECT_THAT(tellRequest("MF040004W-15"),
                AllOf(HasSubstr("MF04 set a MIFARE value"), HasSubstr("** (3 bytes)")));
    EXPECT_THAT(tellRequest("MF0400040005=4711").substr(0, 40), HasSubstr("copy a MIFARE value"));
    EXPECT_THAT(tellRequest("MF0400040005+10"),
                AllOf(HasSubstr("MF04 change a MIFARE value"), HasSubstr("block 0004"),
                      HasSubstr("target block 0005"), HasSubstr("operation +"),
                      HasSubstr("amount masked")));
}

TEST(ExtensionTrace, NamesStatuses) {
    EXPECT_THAT(tellAnswer("MF0203"),
                AllOf(HasSubstr("MF02 answer, authentication failed"), HasSubstr("status 03")));
    EXPECT_THAT(tellAnswer("MF0242"), HasSubstr("MF02 answer, status 42"));
    EXPECT_THAT(tellAnswer(std::string("MF06\0\1", 6)), HasSubstr("status \\x00\\x01"));
    EXPECT_THAT(tellAnswer("MF0500110"), HasSubstr("flags 110"));
    EXPECT_THAT(tellAnswer("ERR 10"), AllOf(HasSubstr("ERR answer"), HasSubstr("answer 10")));
}

TEST(ExtensionTrace, TakesTextsByTheirLengths) {
    EXPECT_THAT(tellRequest("QR0106010200 05OI"), HasSubstr("not understood"));
    EXPECT_THAT(tellRequest("QR010601020005OIHELLO"),
                AllOf(HasSubstr("QR01 display a QR code"), HasSubstr("seconds 060"),
                      HasSubstr("line type 1"), HasSubstr("line \"OI\""),
                      HasSubstr("QR code \"HELLO\"")));
    EXPECT_THAT(tellRequest("QR010601000000"),
                AllOf(HasSubstr("line \"\""), HasSubstr("QR code \"\"")));
    EXPECT_THAT(tellRequest("EX081A2B06080002OI1003BYE"),
                AllOf(HasSubstr("EX08 start a survey"), HasSubstr("code 1A2B"),
                      HasSubstr("seconds 060"), HasSubstr("style 8"), HasSubstr("top \"OI\""),
                      HasSubstr("bottom type 1"), HasSubstr("bottom \"BYE\"")));
    EXPECT_THAT(tellRequest("EX10123060010NOTA?"),
                AllOf(HasSubstr("survey type 1"), HasSubstr("score type 3"),
                      HasSubstr("idle seconds 010"), HasSubstr("messages \"NOTA?\"")));
    EXPECT_THAT(tellAnswer("QR010"), AllOf(HasSubstr("QR01 answer"), HasSubstr("result 0")));
    EXPECT_THAT(tellAnswer("EX0807"), AllOf(HasSubstr("EX08 answer"), HasSubstr("answer 07")));
    EXPECT_THAT(tellAnswer("EX10105"), HasSubstr("answer 105"));
}

TEST(ExtensionTrace, MasksWhatItDoesNotUnderstand) {
    for (const std::string &body : {
             std::string("XY994711"),           // no such command
             std::string("MF03000400X4711"),    // no such operation
             std::string("MF0200044711"),       // shorter than a key
             std::string("QR01060102999947 11") // shorter than it says
         }) {
        EXPECT_THAT(tellRequest(body), AllOf(HasSubstr("not understood"), Not(HasSubstr("4711")),
                                             HasSubstr("check masked")))
            << body;
    }
    for (const std::string &body : {
             std::string("XY994711"),   // no such command
             std::string("47"),         // no identifier
             std::string("MF02004711"), // nothing belongs there
             std::string("QR014711"),   // more than a byte
             std::string("ERR 4711")    // what is this?
         }) {
        EXPECT_THAT(tellAnswer(body), AllOf(HasSubstr("not understood"), Not(HasSubstr("4711")),
                                            Not(HasSubstr("34 37")), HasSubstr("check masked")))
            << body;
    }
}

TEST(ExtensionTrace, TellsAWrongLength) {
    std::string wire = frameOf("QR010");
    wire[2] = 0x2A;
    EXPECT_THAT(tellFrame(ABECS_LINK_FROM_DEVICE, wire, "QR010", MASKED),
                HasSubstr("length 42, the frame has 10"));
}

TEST(ExtensionTrace, MasksAFrameThatDoesNotCarryItsBody) {
    const std::string masked =
        tellFrame(ABECS_LINK_FROM_DEVICE, frameOf("QR014711"), "QR010", MASKED);
    EXPECT_THAT(masked, AllOf(HasSubstr("frame that does not carry its body"),
                              HasSubstr("** (13 bytes)"), Not(HasSubstr("34 37"))));
}

} // namespace
