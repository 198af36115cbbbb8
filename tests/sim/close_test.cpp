#include "sim/simulator.h"
#include "tests/sim/host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace sim_test;
using testing::ElementsAre;

std::string blanks(std::size_t count) {
    return std::string(count, ' ');
}

TEST(DeviceClose, LeavesTheIdleMessageOnTwoLines) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask("OPN"), "OPN000");
    EXPECT_TRUE(device.snapshot().open);
    EXPECT_EQ(host.ask("CLO032COME BACK SOON  THANK YOU" + blanks(7)), "CLO000");
    const sim::Snapshot state = device.snapshot();
    EXPECT_FALSE(state.open);
    EXPECT_EQ(state.idle_message, "COME BACK SOON  THANK YOU");
    EXPECT_THAT(state.display, ElementsAre("COME BACK SOON", "THANK YOU"));
}

TEST(DeviceClose, WithBlanksLeavesTheScreenBlank) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask("CLO032" + blanks(32)), "CLO000");
    EXPECT_EQ(device.snapshot().screen, sim::ScreenKind::blank);
    EXPECT_EQ(device.snapshot().idle_message, "");
}

TEST(DeviceClose, RefusesMalformedBodies) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask("CLO"), "CLO011");
    EXPECT_EQ(host.ask("CLO031" + blanks(31)), "CLO011");
    EXPECT_EQ(host.ask("CLO032" + blanks(31)), "CLO011");
    EXPECT_EQ(host.ask("CLO032" + blanks(31) + "\r"), "CLO011");
    EXPECT_EQ(host.ask("CLO032" + blanks(31) + "\xE9"), "CLO000");
}

TEST(CloseExtended, LeavesAMessageOrAnImage) {
    sim::Simulator device("media LOGO size 4");
    Host host(device.port());
    EXPECT_EQ(host.ask("CLX"), "CLX000");
    EXPECT_EQ(device.snapshot().screen, sim::ScreenKind::blank);
    EXPECT_EQ(host.ask(command("CLX", record(0x1B, "GOOD\rBYE"))), "CLX000");
    EXPECT_THAT(device.snapshot().display, ElementsAre("GOOD", "BYE"));
    EXPECT_EQ(device.snapshot().idle_message, "GOOD\rBYE");
    EXPECT_EQ(host.ask(command("CLX", record(0x1E, "LOGO    "))), "CLX000");
    EXPECT_THAT(device.snapshot().shown_media, ElementsAre("LOGO"));
    EXPECT_EQ(device.snapshot().idle_media, "LOGO");
}

TEST(CloseExtended, RefusesWhatItCannotShow) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask(command("CLX", record(0x1E, "LOGO    "))), "CLX100");
    EXPECT_EQ(host.ask(command("CLX", record(0x1E, "LOGO"))), "CLX011");
    EXPECT_EQ(host.ask(command("CLX", record(0x1B, std::string(128, 'x')))), "CLX000");
    EXPECT_EQ(host.ask(command("CLX", record(0x1B, std::string(129, 'x')))), "CLX011");
    EXPECT_EQ(host.ask(command("CLX", record(0x1B, "a\nb"))), "CLX011");
    EXPECT_EQ(host.ask(command("CLX", record(0x1C, "a"))), "CLX011");
}

} // namespace
