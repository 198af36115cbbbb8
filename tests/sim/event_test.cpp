#include "sim/simulator.h"
#include "tests/sim/host.h"

#include <gtest/gtest.h>

namespace {

using namespace sim_test;

std::string check(const std::string &options) {
    return command("CEX", record(6, options));
}

std::string event(const std::string &code, const std::string &more = "") {
    const std::string records = record(0x8040, code) + more;
    return "CEX000" + number(records.size(), 3) + records;
}

struct KeyCase {
    const char *name;
    sim::Key key;
    const char *code;
};

class EventKeys : public testing::TestWithParam<KeyCase> {};

TEST_P(EventKeys, ReportsScriptedAndLiveKeysAlike) {
    sim::Simulator device(std::string("event key ") + GetParam().name);
    Host host(device.port());
    EXPECT_EQ(host.ask(check("100000")), event(GetParam().code));
    EXPECT_EQ(device.snapshot().last_event, GetParam().code);
    ASSERT_EQ(host.send(check("100000")), ack);
    ASSERT_TRUE(device.wait_pending("CEX"));
    device.press_key(GetParam().key);
    EXPECT_EQ(host.answer(), event(GetParam().code));
}

INSTANTIATE_TEST_SUITE_P(
    All, EventKeys,
    testing::Values(KeyCase{"enter", sim::Key::enter, "00"}, KeyCase{"up", sim::Key::up, "02"},
                    KeyCase{"down", sim::Key::down, "03"}, KeyCase{"f1", sim::Key::f1, "04"},
                    KeyCase{"f2", sim::Key::f2, "05"}, KeyCase{"f3", sim::Key::f3, "06"},
                    KeyCase{"f4", sim::Key::f4, "07"}, KeyCase{"clear", sim::Key::clear, "08"},
                    KeyCase{"cancel", sim::Key::cancel, "13"}),
    [](const auto &key_case) { return key_case.param.name; });

TEST(DeviceEvent, ReportsAScriptedSwipeWithTheTracksOfTheCard) {
    sim::Simulator device("card gold track1 \"T1\" track2 \"T2=22\"\nevent wait 5 swipe gold");
    Host host(device.port());
    EXPECT_EQ(host.ask(check("010000")),
              event("90", record(0x8041, "T1") + record(0x8042, "T2=22")));
}

TEST(DeviceEvent, ReportsALiveSwipeWhenAskedFor) {
    sim::Simulator device;
    Host host(device.port());
    ASSERT_EQ(host.send(check("110000")), ack);
    ASSERT_TRUE(device.wait_pending("CEX"));
    device.swipe({"", "", "T3"});
    EXPECT_EQ(host.answer(), event("90", record(0x8043, "T3")));
}

TEST(DeviceEvent, IgnoresWhatTheOptionsLeaveOut) {
    sim::Simulator device;
    Host host(device.port());
    ASSERT_EQ(host.send(check("000000")), ack);
    ASSERT_TRUE(device.wait_pending("CEX"));
    device.press_key(sim::Key::enter);
    device.swipe({"1", "2", "3"});
    device.insert_card();
    device.remove_card();
    device.tap_card();
    EXPECT_TRUE(host.read_all().empty());
    EXPECT_EQ(device.snapshot().pending_command, "CEX");
    EXPECT_EQ(device.snapshot().beeps, 1U);
}

TEST(DeviceEvent, ReportsCardsAtTheReaders) {
    sim::Simulator device;
    Host host(device.port());
    ASSERT_EQ(host.send(check("001000")), ack);
    ASSERT_TRUE(device.wait_pending("CEX"));
    device.insert_card();
    EXPECT_EQ(host.answer(), event("92"));
    EXPECT_EQ(device.snapshot().chip_slot, sim::ChipSlot::card_inserted);
    ASSERT_EQ(host.send(check("002100")), ack);
    ASSERT_TRUE(device.wait_pending("CEX"));
    device.remove_card();
    EXPECT_EQ(host.answer(), event("91"));
    EXPECT_EQ(device.snapshot().chip_slot, sim::ChipSlot::empty);
    ASSERT_EQ(host.send(check("000100")), ack);
    ASSERT_TRUE(device.wait_pending("CEX"));
    device.tap_card();
    EXPECT_EQ(host.answer(), event("94"));
}

TEST(DeviceEvent, ReportsAnyCodeThatAScriptGives) {
    sim::Simulator device("event code \"95\"\nevent no-tap\nevent timeout");
    Host host(device.port());
    EXPECT_EQ(host.ask(check("000000")), event("95"));
    EXPECT_EQ(host.ask(check("000000")), event("93"));
    EXPECT_EQ(host.ask(check("000000")), "CEX012");
}

TEST(DeviceEvent, SendsNotificationsFirst) {
    sim::Simulator device("event notify \"ONE\" notify \"TWO\" key f1");
    Host host(device.port());
    EXPECT_EQ(host.ask(check("100000")), "NTM000003ONE");
    EXPECT_EQ(host.answer(), "NTM000003TWO");
    EXPECT_EQ(host.answer(), event("04"));
}

TEST(DeviceEvent, TimeLimitOfTheCommandStrikes) {
    sim::SimulatorOptions options;
    options.time_scale = 20;
    sim::Simulator device("", options);
    Host host(device.port());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(host.ask(command("CEX", record(6, "100099") + record(12, "\x04"))), "CEX012");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(200));
}

TEST(DeviceEvent, TakesAllItsParametersAndRefusesMalformedOnes) {
    sim::Simulator device("event key enter");
    Host host(device.port());
    EXPECT_EQ(
        host.ask(command("CEX", record(6, "100099") + record(12, "\xFF") + record(35, "0599"))),
        event("00"));
    EXPECT_EQ(host.ask("CEX"), "CEX019");
    EXPECT_EQ(host.ask(check("10009")), "CEX011");
    EXPECT_EQ(host.ask(check("1000\t9")), "CEX011");
    EXPECT_EQ(host.ask(command("CEX", record(6, "100099") + record(35, "05x9"))), "CEX011");
    EXPECT_EQ(host.ask(command("CEX", record(6, "100099") + record(12, "\1\1"))), "CEX011");
}

} // namespace
