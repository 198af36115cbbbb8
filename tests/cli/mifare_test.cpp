#include "sim/simulator.h"
#include "tests/cli/tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using tool::Arguments;
using tool::Outcome;
using tool::run;

constexpr char CARD[] = "mifare uid 11223344 key A * A0A1A2A3A4A5 value 4 1000 "
                        "block 5 000102030405060708090A0B0C0D0E0F";
constexpr char KEY[] = "--key=A:A0A1A2A3A4A5";

Outcome onDevice(const sim::Simulator &device, Arguments arguments, const std::string &input = "") {
    arguments.insert(arguments.begin(), {"--port", device.port()});
    return run(arguments, input);
}

Outcome onCard(Arguments arguments) {
    const sim::Simulator device(CARD);
    return onDevice(device, std::move(arguments));
}

json jsonOf(const Outcome &outcome) {
    return json::parse(outcome.out);
}

std::vector<std::string> commandsOf(const sim::Simulator &device) {
    std::vector<std::string> bodies;
    for (const sim::Bytes &body : device.commands()) {
        bodies.emplace_back(body.begin(), body.end());
    }
    return bodies;
}

TEST(MifareCommand, ActivateTellsTheSerialNumber) {
    EXPECT_EQ(onCard({"mifare", "activate"}).out, "Card 11223344.\n");
    const json told = jsonOf(onCard({"mifare", "activate", "--json"}));
    EXPECT_EQ(told["command"], "mifare activate");
    EXPECT_EQ(told["serial"], "11223344");
    EXPECT_EQ(told["exit"], 0);
}

TEST(MifareCommand, NoCardIsARefusalUnlessToldToWait) {
    const sim::Simulator none("mifare away");
    const Outcome refused = onDevice(none, {"mifare", "activate"});
    EXPECT_EQ(refused.exit, 1);
    EXPECT_EQ(refused.err, "The PIN pad answered 01 to MF01: no card. Hold a MIFARE card to the "
                           "reader, keep it there and run it again.\n");
    EXPECT_EQ(onDevice(none, {"mifare", "activate", "--timeout", "0.1"}).exit, 5);

    const sim::Simulator late("mifare uid 11223344 missed 2");
    const Outcome found = onDevice(late, {"mifare", "activate", "--timeout", "20"});
    EXPECT_EQ(found.exit, 0) << found.err;
    EXPECT_EQ(found.out, "Card 11223344.\n");
}

TEST(MifareCommand, ReadsInOneGo) {
    sim::Simulator device(CARD);
    const Outcome outcome = onDevice(device, {"mifare", "read", "5", KEY});
    EXPECT_EQ(outcome.exit, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F\n");
    EXPECT_FALSE(device.snapshot().open);
    EXPECT_THAT(commandsOf(device),
                testing::ElementsAre("OPN", "MF01", "MF020005AA0A1A2A3A4A511223344",
                                     "MF03000500R016", HasSubstr("CLO")));
}

TEST(MifareCommand, ReadsAPartAndMoreThanABlock) {
    const json part =
        jsonOf(onCard({"mifare", "read", "5", KEY, "--from", "14", "--count", "2", "--json"}));
    EXPECT_EQ(part["data"], "0E0F");
    EXPECT_EQ(part["bytes"], 2);
    const Outcome both = onCard({"mifare", "read", "4", KEY, "--count", "32"});
    EXPECT_EQ(both.out, "E8 03 00 00 17 FC FF FF E8 03 00 00 04 FB 04 FB\n"
                        "00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F\n");
}

TEST(MifareCommand, Writes) {
    const sim::Simulator device(CARD);
    const Outcome outcome =
        onDevice(device, {"mifare", "write", "5", "aabbCC", KEY, "--from", "3"});
    EXPECT_EQ(outcome.exit, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "Wrote 3 bytes into block 5.\n");
    EXPECT_EQ(onDevice(device, {"mifare", "read", "5", KEY}).out,
              "00 01 02 AA BB CC 06 07 08 09 0A 0B 0C 0D 0E 0F\n");
}

TEST(MifareCommand, WorksOnValues) {
    const sim::Simulator device(CARD);
    const Outcome outcome = onDevice(device, {"session"},
                                     "mifare auth 4 --key A:A0A1A2A3A4A5\n"
                                     "mifare value 4 get\n"
                                     "mifare value 4 add 5\n"
                                     "mifare value 4 subtract 1000 --to 6\n"
                                     "mifare value 4 get\n"
                                     "mifare value 4 copy --to 5\n"
                                     "mifare value 6 set -2147483647\n");
    EXPECT_EQ(outcome.exit, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "Block 4 is open to key A.\n"
                           "Block 4 holds 1000.\n"
                           "Block 4 holds 1005.\n"
                           "Block 6 holds 5.\n"
                           "Block 4 holds 1005.\n"
                           "Block 5 holds 1005.\n"
                           "Block 6 holds -2147483647.\n");
    const json told = jsonOf(onDevice(device, {"mifare", "value", "5", "get", KEY, "--json"}));
    EXPECT_EQ(told["value"], 1005);
    EXPECT_EQ(told["operation"], "get");
}

TEST(MifareCommand, SetsAccessBitsAndKeys) {
    const sim::Simulator device(CARD);
    const Outcome outcome =
        onDevice(device, {"session", "--keep-going"},
                 "mifare config 4 --key A:A0A1A2A3A4A5\n"
                 "mifare config 4 --set 110 --key-a A0A1A2A3A4A5 --key-b B0B1B2B3B4B5\n"
                 "mifare config 4 --key A:A0A1A2A3A4A5\n"
                 "mifare keys 4 --key-a c0c1c2c3c4c5 --key-b B0B1B2B3B4B5\n"
                 "mifare auth 4 --key A:A0A1A2A3A4A5\n"
                 "mifare auth 4 --key a:C0C1C2C3C4C5\n");
    EXPECT_EQ(outcome.exit, 1);
    EXPECT_EQ(outcome.out, "Block 4 has the access bits 000.\n"
                           "Block 4 now has the access bits 110, and its sector the new keys.\n"
                           "Block 4 has the access bits 110.\n"
                           "The sector of block 4 has the new keys.\n"
                           "Block 4 is open to key A.\n");
    EXPECT_EQ(outcome.err, "-:5: The PIN pad answered 03 to MF02: authentication failed. The key "
                           "is not the one of this sector.\n");
}

TEST(MifareCommand, RefusalsAreToldInWords) {
    const sim::Simulator device(CARD);
    const Outcome outcome = onDevice(device, {"session", "--keep-going", "--json"},
                                     "mifare read 4\n"
                                     "mifare read 4 --key A:FFFFFFFFFFFF\n"
                                     "mifare value 5 get --key A:A0A1A2A3A4A5\n"
                                     "mifare value 4 add 2147483647\n"
                                     "mifare read 64\n"
                                     "mifare write 0 00 --key A:A0A1A2A3A4A5\n");
    EXPECT_EQ(outcome.exit, 1);
    const std::vector<std::string> lines = tool::linesOf(outcome.out);
    const std::pair<const char *, const char *> refusals[] = {
        {"02", "not authenticated"}, {"03", "authentication failed"}, {"05", "not a value block"},
        {"07", "value overflow"},    {"06", "bad parameter"},         {"04", "access denied"}};
    ASSERT_EQ(lines.size(), std::size(refusals)) << outcome.out;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const json told = json::parse(lines[i]);
        EXPECT_EQ(told["exit"], 1);
        EXPECT_EQ(told["problem"], "refused");
        EXPECT_EQ(told["status"], refusals[i].first);
        EXPECT_EQ(told["name"], refusals[i].second);
        EXPECT_THAT(told["text"], HasSubstr(refusals[i].second));
    }
}

TEST(MifareCommand, UnknownStatusesAreShownAsTheyAre) {
    const sim::Simulator device("reply MF01 body \"MF01Z\x07\"");
    const Outcome outcome = onDevice(device, {"mifare", "activate"});
    EXPECT_EQ(outcome.exit, 1);
    EXPECT_EQ(outcome.err, "The PIN pad answered Z\\x07 to MF01, which this tool does not know.\n");
}

TEST(MifareCommand, SilenceIsAFailure) {
    const sim::Simulator device("fault response MF01 silent times 3");
    const Outcome outcome = onDevice(device, {"mifare", "activate", "--json"});
    EXPECT_EQ(outcome.exit, 3);
    const json told = jsonOf(outcome);
    EXPECT_EQ(told["problem"], "failure");
    EXPECT_THAT(told["text"], HasSubstr("did not answer in time"));
    EXPECT_FALSE(device.snapshot().open);
}

TEST(MifareCommand, OneKeyServesAWholeSession) {
    const sim::Simulator device(CARD);
    const Outcome outcome = onDevice(device, {"session"},
                                     "mifare auth 4 --key A:A0A1A2A3A4A5\n"
                                     "mifare value 4 subtract 250\n"
                                     "mifare value 4 set -3\n"
                                     "mifare read 8\n");
    EXPECT_EQ(outcome.out, "Block 4 is open to key A.\nBlock 4 holds 750.\nBlock 4 holds -3.\n");
    EXPECT_THAT(outcome.err, HasSubstr("-:4: The PIN pad answered 02 to MF03"));
    EXPECT_EQ(outcome.exit, 1);
}

TEST(MifareCommand, ARefusalKeepsTheSession) {
    const sim::Simulator device(CARD);
    const Outcome outcome =
        onDevice(device, {"session", "--keep-going"}, "mifare read 4\nmifare activate\n");
    EXPECT_EQ(outcome.out, "Card 11223344.\n");
    EXPECT_EQ(outcome.exit, 1);
    EXPECT_THAT(commandsOf(device),
                testing::ElementsAre("OPN", HasSubstr("MF03"), "MF01", HasSubstr("CLO")));
}

TEST(MifareCommand, WrongArgumentsSendNothing) {
    for (const Arguments &arguments : {
             Arguments{"mifare"},
             Arguments{"mifare", "read"},
             Arguments{"mifare", "read", "10000"},
             Arguments{"mifare", "read", "4", "--from", "16"},
             Arguments{"mifare", "read", "4", "--count", "0"},
             Arguments{"mifare", "read", "4", "--count", "257"},
             Arguments{"mifare", "auth", "4"},
             Arguments{"mifare", "write", "4", "123"},
             Arguments{"mifare", "write", "4", "12XY"},
             Arguments{"mifare", "write", "4", ""},
             Arguments{"mifare", "write", "4", std::string(514, '0')},
             Arguments{"mifare", "value", "4", "double"},
             Arguments{"mifare", "value", "4", "get", "1"},
             Arguments{"mifare", "value", "4", "set"},
             Arguments{"mifare", "value", "4", "set", "1x"},
             Arguments{"mifare", "value", "4", "set", "-2147483648"},
             Arguments{"mifare", "value", "4", "set", "1", "--to", "5"},
             Arguments{"mifare", "value", "4", "add", "-1"},
             Arguments{"mifare", "value", "4", "copy"},
             Arguments{"mifare", "config", "4", "--set", "102"},
             Arguments{"mifare", "config", "4", "--set", "110"},
             Arguments{"mifare", "config", "4", "--key-a", "FFFFFFFFFFFF"},
             Arguments{"mifare", "keys", "4", "--key-a", "FFFFFFFFFFFF"},
         }) {
        const Outcome outcome = onCard(arguments);
        EXPECT_EQ(outcome.exit, 2) << arguments.back();
        EXPECT_NE(outcome.err, "");
    }
}

TEST(MifareCommand, WrongKeysAreNotRepeated) {
    for (const Arguments &arguments : {
             Arguments{"mifare", "auth", "4", "--key", "A0A1A2A3A4A5"},
             Arguments{"mifare", "auth", "4", "--key", "C:A0A1A2A3A4A5"},
             Arguments{"mifare", "auth", "4", "--key", "A:A0A1A2A3A4A5F"},
             Arguments{"mifare", "keys", "4", "--key-a", "A0A1A2A3A4AX", "--key-b", "1"},
         }) {
        const Outcome outcome = onCard(arguments);
        EXPECT_EQ(outcome.exit, 2);
        EXPECT_THAT(outcome.err, AllOf(HasSubstr("--key"), HasSubstr("12 hexadecimal digits"),
                                       Not(HasSubstr("A0A1A2A3A4A5F")), Not(HasSubstr("C:A0A1")),
                                       Not(HasSubstr("A4AX"))));
    }
}

TEST(MifareCommand, TracesMaskKeysUnlessToldOtherwise) {
    for (const bool reveal : {false, true}) {
        const tool::TemporaryFile trace;
        Arguments arguments = {"mifare", "read", "5", KEY, "--trace=" + trace.path()};
        if (reveal) {
            arguments.emplace_back("--trace-secrets");
        }
        EXPECT_EQ(onCard(arguments).exit, 0);
        const std::string text = trace.content();
        EXPECT_THAT(text, HasSubstr("MF02 authenticate a MIFARE block"));
        EXPECT_EQ(text.find("A0A1A2A3A4A5") != std::string::npos, reveal);
        EXPECT_EQ(text.find("41 30 41 31 41 32") != std::string::npos, reveal);
        EXPECT_EQ(text.find("30 30 30 31 30 32") != std::string::npos, reveal);
    }
}

} // namespace
