#include "sim/simulator.h"
#include "tests/sim/host.h"

#include <gtest/gtest.h>

namespace {

using namespace sim_test;

sim::SimulatorOptions quick_gap() {
    sim::SimulatorOptions options;
    options.frame_gap = milliseconds(80);
    return options;
}

TEST(Link, AcknowledgesAGoodFrameAndAnswers) {
    sim::Simulator device;
    Host host(device.port());
    host.write({0x16, 'O', 'P', 'N', 0x17, 0xA8, 0xA9});
    EXPECT_EQ(host.read_byte(), ack);
    EXPECT_EQ(host.answer(), "OPN000");
}

TEST(Link, RefusesAFrameWithABadCrcAndTakesTheNext) {
    sim::Simulator device;
    Host host(device.port());
    Bytes damaged = frame(bytes("OPN"));
    damaged[2] ^= 0x01;
    host.write(damaged);
    EXPECT_EQ(host.read_byte(), nak);
    EXPECT_EQ(host.ask("OPN"), "OPN000");
    EXPECT_EQ(device.snapshot().refused_frames, 1U);
    EXPECT_EQ(device.commands(), std::vector<Bytes>{bytes("OPN")});
}

TEST(Link, AnswersAGapInsideAFrameWithNak) {
    sim::Simulator device("", quick_gap());
    Host host(device.port());
    host.write({0x16, 'O', 'P'});
    EXPECT_EQ(host.read_byte(), nak);
    EXPECT_EQ(host.ask("OPN"), "OPN000");
}

TEST(Link, SlowBytesWithinTheGapAreOneFrame) {
    sim::Simulator device;
    Host host(device.port());
    for (std::uint8_t byte : frame(bytes("OPN")))
        host.write_byte(byte);
    EXPECT_EQ(host.read_byte(), ack);
    EXPECT_EQ(host.answer(), "OPN000");
}

TEST(Link, SendsAResponseAtMostThreeTimes) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask("OPN"), "OPN000");
    host.write_byte(nak);
    EXPECT_EQ(host.answer(), "OPN000");
    host.write_byte(nak);
    EXPECT_EQ(host.answer(), "OPN000");
    host.write_byte(nak);
    EXPECT_TRUE(host.read_all().empty());
    EXPECT_EQ(device.snapshot().resends, 2U);
}

TEST(Link, HasNothingToSendAgainAfterANewCommandOrCan) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask("OPN"), "OPN000");
    host.write_byte(can);
    EXPECT_EQ(host.read_byte(), eot);
    host.write_byte(nak);
    EXPECT_TRUE(host.read_all().empty());
}

TEST(Link, AnswersCanWithEotWhenIdle) {
    sim::Simulator device;
    Host host(device.port());
    host.write_byte(can);
    EXPECT_EQ(host.read_byte(), eot);
    EXPECT_EQ(device.snapshot().aborts, 1U);
}

TEST(Link, CanEndsAWaitingCommandWithoutAnAnswer) {
    sim::Simulator device;
    Host host(device.port());
    ASSERT_EQ(host.send(command("CEX", record(6, "100099"))), ack);
    ASSERT_TRUE(device.wait_pending("CEX"));
    host.write_byte(can);
    EXPECT_EQ(host.read_byte(), eot);
    EXPECT_EQ(device.snapshot().pending_command, "");
    device.press_key(sim::Key::enter);
    EXPECT_TRUE(host.read_all().empty());
}

TEST(Link, ACommandThatOvertakesAWaitingOneIsCounted) {
    sim::Simulator device;
    Host host(device.port());
    ASSERT_EQ(host.send(command("CEX", record(6, "100099"))), ack);
    ASSERT_TRUE(device.wait_pending("CEX"));
    EXPECT_EQ(host.ask("OPN"), "OPN000");
    EXPECT_EQ(device.snapshot().overlaps, 1U);
    EXPECT_EQ(device.snapshot().pending_command, "");
}

TEST(Link, CanInsideAFrameIsData) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask("XYZ\x18"), "ERR010");
    EXPECT_EQ(device.snapshot().aborts, 0U);
}

TEST(Link, UnknownAndMalformedCommandsAreRefused) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask("XYZ"), "ERR010");
    EXPECT_EQ(host.ask("AB"), "ERR011");
    EXPECT_EQ(host.ask(""), "ERR011");
    EXPECT_EQ(host.ask("GCD0"), "GCD011");
    EXPECT_EQ(host.ask("GCD000"), "GCD011");
    EXPECT_EQ(host.ask("GCD005\x01"), "GCD011");
    EXPECT_EQ(host.ask("GCD00x\x01"), "GCD011");
    EXPECT_EQ(host.ask(command("GCD", std::string("\x00\x0B\x00\x05", 4))), "GCD011");
}

TEST(Link, ParametersMayStandInTwoBlocksButNotInThree) {
    sim::Simulator device("capture keys 1 enter\ncapture keys 1 enter");
    Host host(device.port());
    const std::string first = record(11, std::string("\0\7", 2));
    const std::string second = record(13, std::string(1, '\1'));
    const std::string third = record(14, std::string(1, '\4'));
    const std::string two = "GCD" + number(first.size(), 3) + first +
                            number(second.size() + third.size(), 3) + second + third;
    EXPECT_EQ(host.ask(two), "GCD000005" + record(0x804D, "1"));
    const std::string three = "GCD" + number(first.size(), 3) + first + number(second.size(), 3) +
                              second + number(third.size(), 3) + third;
    EXPECT_EQ(host.ask(three), "GCD011");
}

TEST(Link, RequiresASessionOnlyWhenTold) {
    const std::string dex = "DEX003000";
    sim::Simulator easy;
    Host first(easy.port());
    EXPECT_EQ(first.ask(dex), "DEX000");
    sim::Simulator strict("require-open");
    Host second(strict.port());
    EXPECT_EQ(second.ask(dex), "DEX010");
    EXPECT_EQ(second.ask("OPN"), "OPN000");
    EXPECT_EQ(second.ask(dex), "DEX000");
}

} // namespace
