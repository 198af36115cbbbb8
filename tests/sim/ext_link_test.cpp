#include "sim/simulator.h"
#include "tests/sim/ext_host.h"

#include <gtest/gtest.h>

namespace {

using namespace sim_test;
using std::chrono::steady_clock;

const std::string activated = "MF010004A1B2C3";

// What comes after the acknowledgement of an activation.
Bytes answer_to_activation(const std::string &scenario) {
    sim::Simulator device(scenario + "\nmifare uid 04A1B2C3");
    Host host(device.port());
    EXPECT_TRUE(ext_start(host, "MF01"));
    return host.read_all();
}

Bytes part(const Bytes &bytes, std::size_t from, std::size_t to) {
    return {bytes.begin() + static_cast<std::ptrdiff_t>(from),
            bytes.begin() + static_cast<std::ptrdiff_t>(to)};
}

Bytes join(Bytes front, const Bytes &back) {
    front.insert(front.end(), back.begin(), back.end());
    return front;
}

TEST(ExtensionLink, AnswersInTheFrameOfTheCommand) {
    sim::Simulator device("mifare uid 04A1B2C3");
    Host host(device.port());
    host.write({0x02, 0x00, 0x09, 'M', 'F', '0', '1', 0x03, 0x02});
    EXPECT_EQ(host.read_byte(), ack);
    EXPECT_EQ(host.read_all(), ext_frame(activated));
    EXPECT_EQ(device.commands(), std::vector<Bytes>{bytes("MF01")});
}

TEST(ExtensionLink, SharesTheLineWithTheOtherFraming) {
    sim::Simulator device("mifare uid 04A1B2C3");
    Host host(device.port());
    EXPECT_EQ(host.ask("OPN"), "OPN000");
    EXPECT_EQ(ext_ask(host, "MF01"), activated);
    EXPECT_EQ(host.ask("DEX006003ABC"), "DEX000");
    EXPECT_EQ(ext_ask(host, "MF01"), activated);
}

TEST(ExtensionLink, StaysInClearInASecureSession) {
    sim::Simulator device("mifare uid 04A1B2C3\nrefuse-plain");
    Host host(device.port());
    const KeyPair pair;
    open_secure(host, pair);
    EXPECT_EQ(ext_ask(host, "MF01"), activated);
    EXPECT_EQ(host.ask_secure("DEX006003ABC"), "DEX000");
}

TEST(ExtensionLink, ASynInsideAFrameIsData) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(ext_ask(host, std::string("XX\x16\x18 \x02\x04\x15", 8)), "ERR 10");
    EXPECT_EQ(device.snapshot().aborts, 0U);
}

TEST(ExtensionLink, AnStxInsideAnAbecsFrameIsData) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask("XYZ\x02"), "ERR010");
}

TEST(ExtensionLink, RefusesAWrongCheckByteAndTakesTheNextFrame) {
    sim::Simulator device("mifare uid 04A1B2C3");
    Host host(device.port());
    Bytes damaged = ext_frame("MF01");
    damaged.back() ^= 0x40;
    host.write(damaged);
    EXPECT_EQ(host.read_byte(), nak);
    EXPECT_EQ(ext_ask(host, "MF01"), activated);
    EXPECT_EQ(device.snapshot().refused_frames, 1U);
}

TEST(ExtensionLink, AnswersAGapInsideAFrameWithNak) {
    sim::SimulatorOptions options;
    options.frame_gap = milliseconds(80);
    sim::Simulator device("mifare uid 04A1B2C3", options);
    Host host(device.port());
    host.write({0x02, 0x00, 0x09, 'M', 'F'});
    EXPECT_EQ(host.read_byte(), nak);
    EXPECT_EQ(ext_ask(host, "MF01"), activated);
}

TEST(ExtensionLink, SendsAnAnswerAtMostThreeTimes) {
    sim::Simulator device("mifare uid 04A1B2C3");
    Host host(device.port());
    EXPECT_EQ(ext_ask(host, "MF01"), activated);
    host.write_byte(nak);
    EXPECT_EQ(ext_answer(host), activated);
    host.write_byte(nak);
    EXPECT_EQ(ext_answer(host), activated);
    host.write_byte(nak);
    EXPECT_TRUE(host.read_all().empty());
    EXPECT_EQ(device.snapshot().resends, 2U);
}

TEST(ExtensionLink, RefusesUnknownAndShortCommands) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(ext_ask(host, "MF99"), "ERR 10");
    EXPECT_EQ(ext_ask(host, "MF"), "ERR 10");
    EXPECT_EQ(ext_ask(host, ""), "ERR 10");
}

TEST(ExtensionLink, CanEndsAWaitingCommand) {
    sim::Simulator device;
    Host host(device.port());
    ASSERT_TRUE(ext_start(host, "QR010000000004TEXT"));
    ASSERT_TRUE(device.wait_pending("QR01"));
    host.write_byte(can);
    EXPECT_EQ(host.read_byte(), eot);
    EXPECT_EQ(device.snapshot().pending_command, "");
    EXPECT_EQ(device.snapshot().qr_text, "");
    device.press_key(sim::Key::enter);
    EXPECT_TRUE(host.read_all().empty());
}

TEST(ExtensionLink, ACommandOfTheOtherFramingOvertakesAWaitingOne) {
    sim::Simulator device;
    Host host(device.port());
    ASSERT_TRUE(ext_start(host, "QR010000000004TEXT"));
    ASSERT_TRUE(device.wait_pending("QR01"));
    EXPECT_EQ(host.ask("OPN"), "OPN000");
    EXPECT_EQ(device.snapshot().overlaps, 1U);
}

TEST(ExtensionLink, AcknowledgementsAreStruckByTheirFaults) {
    sim::Simulator device("mifare uid 04A1B2C3\nfault ack MF01 nak times 2\n"
                          "fault ack MF01 nth 3 byte 5A\nfault ack MF01 nth 4 silent");
    Host host(device.port());
    EXPECT_EQ(host.ask("OPN"), "OPN000");
    for (const std::uint8_t expected : {nak, nak, std::uint8_t{0x5A}}) {
        host.write(ext_frame("MF01"));
        EXPECT_EQ(host.read_byte(), expected);
    }
    host.write(ext_frame("MF01"));
    EXPECT_TRUE(host.read_all().empty());
    EXPECT_EQ(ext_ask(host, "MF01"), activated);
    EXPECT_EQ(device.snapshot().faults_struck, 4U);
}

TEST(ExtensionLink, AcknowledgementsComeLateOrAreLostWhileTheCommandIsExecuted) {
    sim::Simulator device("mifare uid 04A1B2C3\nfault ack MF01 delay 120\n"
                          "fault ack MF01 nth 2 lost\nfault ack MF01 nth 3 garble 41");
    Host host(device.port());
    const auto start = steady_clock::now();
    EXPECT_EQ(ext_ask(host, "MF01"), activated);
    EXPECT_GE(steady_clock::now() - start, milliseconds(120));
    host.write(ext_frame("MF01"));
    EXPECT_EQ(host.read_all(), ext_frame(activated));
    host.write(ext_frame("MF01"));
    EXPECT_EQ(host.read_all(), join({0x41}, ext_frame(activated)));
}

TEST(ExtensionLink, AnswersAreDamagedByTheirFaults) {
    const Bytes whole = ext_frame(activated);
    Bytes wrong_check = whole;
    wrong_check.back() ^= 0xFF;
    Bytes corrupt = whole;
    corrupt[7] ^= 0xFF;
    const std::string fault = "fault response MF01 ";
    EXPECT_EQ(answer_to_activation(fault + "bad-crc"), wrong_check);
    EXPECT_EQ(answer_to_activation(fault + "cut 6"), part(whole, 0, 6));
    EXPECT_EQ(answer_to_activation(fault + "drop 5"), join(part(whole, 0, 5), part(whole, 6, 19)));
    EXPECT_EQ(answer_to_activation(fault + "duplicate 5"),
              join(part(whole, 0, 6), part(whole, 5, 19)));
    EXPECT_EQ(answer_to_activation(fault + "corrupt 7"), corrupt);
    EXPECT_EQ(answer_to_activation(fault + "prefix 55AA"), join({0x55, 0xAA}, whole));
    EXPECT_EQ(answer_to_activation(fault + "suffix 55AA"), join(whole, {0x55, 0xAA}));
    EXPECT_EQ(answer_to_activation(fault + "twice"), join(whole, whole));
    EXPECT_TRUE(answer_to_activation(fault + "silent").empty());
}

TEST(ExtensionLink, AnswersStallAndComeLate) {
    sim::Simulator device("mifare uid 04A1B2C3\nfault response MF01 stall 4 150\n"
                          "fault response MF01 nth 2 delay 150");
    Host host(device.port());
    ASSERT_TRUE(ext_start(host, "MF01"));
    EXPECT_EQ(host.read_all(milliseconds(60)), part(ext_frame(activated), 0, 4));
    EXPECT_EQ(host.read_all(milliseconds(300)), part(ext_frame(activated), 4, 19));
    ASSERT_TRUE(ext_start(host, "MF01"));
    EXPECT_TRUE(host.read_all(milliseconds(60)).empty());
    EXPECT_EQ(ext_answer(host), activated);
}

TEST(ExtensionLink, TheCableIsPulledWithinAnAnswer) {
    sim::Simulator device("mifare uid 04A1B2C3\nfault response MF01 unplug 6");
    Host host(device.port());
    ASSERT_TRUE(ext_start(host, "MF01"));
    EXPECT_TRUE(host.hung_up());
    EXPECT_FALSE(device.snapshot().plugged);
}

TEST(ExtensionLink, RepliesAreChangedByTheirRules) {
    sim::Simulator device("mifare uid 04A1B2C3\nstatus MF01 044\nreply MF01 nth 2 id MF09\n"
                          "reply MF01 nth 3 body \"\"\nreply MF01 nth 4 append \"x\"");
    Host host(device.port());
    EXPECT_EQ(ext_ask(host, "MF01"), "MF0144");
    EXPECT_EQ(ext_ask(host, "MF01"), "MF0144");
}

TEST(ExtensionLink, TheFirstRuleThatAppliesChangesTheReply) {
    sim::Simulator device("mifare uid 04A1B2C3\nreply MF01 nth 1 id MF09\n"
                          "reply MF01 nth 2 body \"\"\nreply MF01 nth 3 append \"x\"\n"
                          "reply MF01 nth 4 err");
    Host host(device.port());
    EXPECT_EQ(ext_ask(host, "MF01"), "MF090004A1B2C3");
    EXPECT_EQ(ext_ask(host, "MF01"), "");
    EXPECT_EQ(ext_ask(host, "MF01"), activated + "x");
    EXPECT_EQ(ext_ask(host, "MF01").substr(0, 3), "ERR");
    EXPECT_EQ(ext_ask(host, "MF01"), activated);
}

TEST(ExtensionLink, WritesBothFramingsIntoTheWireLog) {
    sim::Simulator device("mifare uid 04A1B2C3");
    Host host(device.port());
    EXPECT_EQ(host.ask("OPN"), "OPN000");
    EXPECT_EQ(ext_ask(host, "MF01"), activated);
    const sim::WireLog wire = device.wire();
    ASSERT_EQ(wire.frames.size(), 6U);
    EXPECT_EQ(wire.frames[0].framing, sim::Framing::abecs);
    EXPECT_EQ(wire.frames[3].framing, sim::Framing::extension);
    EXPECT_EQ(wire.frames[3].kind, sim::FrameKind::command);
    EXPECT_EQ(wire.frames[3].raw, ext_frame("MF01"));
    EXPECT_EQ(wire.frames[5].framing, sim::Framing::extension);
    EXPECT_EQ(wire.frames[5].body, bytes(activated));
}

} // namespace
