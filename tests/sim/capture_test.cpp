#include "sim/simulator.h"
#include "tests/sim/host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace sim_test;
using testing::ElementsAre;
using testing::IsEmpty;

std::string capture(unsigned prompt, unsigned minimum, unsigned maximum, unsigned seconds = 0) {
    std::string number;
    number.push_back(static_cast<char>(prompt >> 8));
    number.push_back(static_cast<char>(prompt));
    std::string records = record(11, number) +
                          record(13, std::string(1, static_cast<char>(minimum))) +
                          record(14, std::string(1, static_cast<char>(maximum)));
    if (seconds != 0)
        records += record(12, std::string(1, static_cast<char>(seconds)));
    return command("GCD", records);
}

std::string captured(const std::string &digits) {
    const std::string value = record(0x804D, digits);
    return "GCD000" + number(value.size(), 3) + value;
}

sim::SimulatorOptions faster(double scale) {
    sim::SimulatorOptions options;
    options.time_scale = scale;
    return options;
}

TEST(DeviceCapture, OfAScriptReturnsWhatIsTyped) {
    sim::Simulator device("capture keys 12345 enter");
    Host host(device.port());
    EXPECT_EQ(host.ask(capture(1, 1, 10)), captured("12345"));
    EXPECT_EQ(device.snapshot().last_captured, "12345");
    EXPECT_EQ(device.snapshot().screen, sim::ScreenKind::blank);
}

TEST(DeviceCapture, ScriptsFollowOneAnotherAndNumbersAndStarFillIn) {
    sim::Simulator device("capture keys 1 enter\ncapture 3 keys 3 enter\ncapture * keys 9 enter");
    Host host(device.port());
    EXPECT_EQ(host.ask(capture(1, 1, 1)), captured("1"));
    EXPECT_EQ(host.ask(capture(1, 1, 1)), captured("9"));
    EXPECT_EQ(host.ask(capture(1, 1, 1)), captured("3"));
    EXPECT_EQ(host.ask(capture(1, 1, 1)), captured("9"));
}

TEST(DeviceCapture, SendsNotificationsBeforeAndBetween) {
    sim::Simulator device("capture notify \"FIRST\" keys 12 notify \"SECOND\" keys 3 enter");
    Host host(device.port());
    EXPECT_EQ(host.ask(capture(1, 1, 4)), "NTM000005FIRST");
    EXPECT_EQ(host.answer(), "NTM000006SECOND");
    EXPECT_EQ(host.answer(), captured("123"));
}

TEST(DeviceCapture, SendsARawBodyAsItIs) {
    sim::Simulator device(R"(capture raw "NTM013" raw hex 00FF keys 1 enter)");
    Host host(device.port());
    EXPECT_EQ(host.ask(capture(1, 1, 4)), "NTM013");
    EXPECT_EQ(host.answer(), std::string("\x00\xFF", 2));
    EXPECT_EQ(host.answer(), captured("1"));
}

TEST(DeviceCapture, CancelGives13) {
    sim::Simulator device("capture keys 12 cancel");
    Host host(device.port());
    EXPECT_EQ(host.ask(capture(1, 1, 4)), "GCD013");
    EXPECT_FALSE(device.snapshot().last_captured.has_value());
}

TEST(DeviceCapture, TimeoutStepGives12AtOnce) {
    sim::Simulator device("capture keys 12 timeout");
    Host host(device.port());
    EXPECT_EQ(host.ask(capture(1, 1, 4)), "GCD012");
}

TEST(DeviceCapture, TimeLimitOfTheCommandStrikes) {
    sim::Simulator device("", faster(20));
    Host host(device.port());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(host.ask(capture(1, 1, 4, 4)), "GCD012");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(200));
}

TEST(DeviceCapture, TimeLimitIsOneMinuteWhenNotGiven) {
    sim::Simulator device("", faster(200));
    Host host(device.port());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(host.ask(capture(1, 1, 4)), "GCD012");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(300));
}

TEST(DeviceCapture, EachKeyRestartsTheTimeLimit) {
    sim::Simulator device("capture keys 1234 every 3000 enter", faster(20));
    Host host(device.port());
    EXPECT_EQ(host.ask(capture(1, 1, 4, 5)), captured("1234"));
}

TEST(DeviceCapture, KeysTakeTheirTime) {
    sim::Simulator device("typing 400\ncapture keys 123 enter", faster(4));
    Host host(device.port());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(host.ask(capture(1, 1, 4)), captured("123"));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(400));
}

TEST(DeviceCapture, TakesLiveKeys) {
    sim::Simulator device("prompt 7 \"YOUR NUMBER\"");
    Host host(device.port());
    ASSERT_EQ(host.send(capture(7, 2, 4)), ack);
    ASSERT_TRUE(device.wait_pending("GCD"));
    EXPECT_THAT(device.snapshot().display, ElementsAre("YOUR NUMBER"));
    EXPECT_EQ(device.snapshot().screen, sim::ScreenKind::prompt);
    EXPECT_EQ(device.snapshot().last_prompt, 7);
    device.press("42");
    EXPECT_THAT(device.snapshot().display, ElementsAre("YOUR NUMBER", "42"));
    EXPECT_EQ(device.snapshot().typed, "42");
    device.press_key(sim::Key::enter);
    EXPECT_EQ(host.answer(), captured("42"));
    EXPECT_EQ(device.snapshot().typed, "");
    EXPECT_FALSE(device.snapshot().waiting);
}

TEST(DeviceCapture, KeepsToMinimumAndMaximum) {
    sim::Simulator device;
    Host host(device.port());
    ASSERT_EQ(host.send(capture(1, 2, 3)), ack);
    ASSERT_TRUE(device.wait_pending("GCD"));
    device.press("1");
    device.press_key(sim::Key::enter);
    EXPECT_EQ(device.snapshot().beeps, 1U);
    device.press("234");
    EXPECT_EQ(device.snapshot().beeps, 2U);
    EXPECT_EQ(device.snapshot().typed, "123");
    device.press_key(sim::Key::f1);
    EXPECT_EQ(device.snapshot().beeps, 3U);
    device.press_key(sim::Key::backspace);
    EXPECT_EQ(device.snapshot().typed, "12");
    device.press_key(sim::Key::clear);
    EXPECT_EQ(device.snapshot().typed, "");
    device.press_key(sim::Key::backspace);
    device.press("99");
    device.press_key(sim::Key::enter);
    EXPECT_EQ(host.answer(), captured("99"));
}

TEST(DeviceCapture, OfNoDigitsReturnsAnEmptyValue) {
    sim::Simulator device("capture enter");
    Host host(device.port());
    EXPECT_EQ(host.ask(capture(1, 0, 0)), captured(""));
}

TEST(DeviceCapture, RefusesLimitsThatMakeNoSense) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask(capture(1, 5, 4)), "GCD011");
    EXPECT_EQ(host.ask(capture(1, 1, 33)), "GCD011");
    EXPECT_EQ(host.ask("GCD"), "GCD019");
    EXPECT_EQ(host.ask(command("GCD", record(11, "\1\1") + record(13, "\1"))), "GCD019");
    EXPECT_EQ(host.ask(capture(1, 1, 4) + "x"), "GCD011");
    EXPECT_EQ(host.ask(command("GCD", record(11, "\1\1") + record(13, "\1") + record(14, "\1") +
                                          record(99, "x"))),
              "GCD011");
    EXPECT_EQ(host.ask(command("GCD", record(11, "\1\1") + record(13, "\1") + record(13, "\1") +
                                          record(14, "\1"))),
              "GCD011");
    EXPECT_EQ(host.ask(command("GCD", record(11, "\1") + record(13, "\1") + record(14, "\1"))),
              "GCD011");
    EXPECT_EQ(device.snapshot().pending_command, "");
}

TEST(DeviceCapture, KeysAreLostWhenNothingWaits) {
    sim::Simulator device;
    Host host(device.port());
    device.press("123");
    device.press_key(sim::Key::enter);
    EXPECT_THAT(host.read_all(), IsEmpty());
    EXPECT_THROW(device.press("12a"), std::invalid_argument);
}

} // namespace
