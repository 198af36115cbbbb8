#include "sim/faults.h"
#include "sim/scenario.h"
#include "sim/simulator.h"
#include "tests/sim/host.h"
#include "tests/support/stopwatch.h"

#include <gtest/gtest.h>

namespace {

using namespace sim_test;
using std::chrono::steady_clock;

const Bytes open_answer = frame(bytes("OPN000"));

// What comes after the acknowledgement of a plain OPN.
Bytes answer_to_open(const std::string &scenario) {
    sim::Simulator device(scenario);
    Host host(device.port());
    EXPECT_EQ(host.send("OPN"), ack);
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

TEST(Occasions, CountFromTheNthAndOnlySoMany) {
    sim::Occasions occasions({"", 2, 2});
    EXPECT_FALSE(occasions.strike("A"));
    EXPECT_TRUE(occasions.strike("B"));
    EXPECT_TRUE(occasions.strike("C"));
    EXPECT_FALSE(occasions.strike("D"));
}

TEST(Occasions, CountOnlyTheirCommand) {
    sim::Occasions occasions({"GCD", 2, sim::Target::always});
    EXPECT_FALSE(occasions.strike("GCD"));
    EXPECT_FALSE(occasions.strike("CEX"));
    EXPECT_TRUE(occasions.strike("GCD"));
    EXPECT_FALSE(occasions.strike("CEX"));
    EXPECT_TRUE(occasions.strike("GCD"));
}

TEST(AckFault, NaksAsOftenAsTold) {
    sim::Simulator device("fault ack nak times 2");
    Host host(device.port());
    EXPECT_EQ(host.send("OPN"), nak);
    EXPECT_EQ(host.send("OPN"), nak);
    EXPECT_EQ(host.ask("OPN"), "OPN000");
    EXPECT_EQ(device.commands().size(), 1U);
    EXPECT_EQ(device.snapshot().faults_struck, 2U);
    EXPECT_EQ(device.snapshot().refused_frames, 0U);
}

TEST(AckFault, StrikesTheNthFrameOfItsCommand) {
    sim::Simulator device("fault ack DEX nth 2 nak");
    Host host(device.port());
    EXPECT_EQ(host.ask("OPN"), "OPN000");
    EXPECT_EQ(host.ask("DEX003000"), "DEX000");
    EXPECT_EQ(host.send("DEX003000"), nak);
    EXPECT_EQ(host.ask("DEX003000"), "DEX000");
}

TEST(AckFault, ByteIsSentInsteadAndTheCommandIsNotExecuted) {
    sim::Simulator device("fault ack byte 5A");
    Host host(device.port());
    EXPECT_EQ(host.send("OPN"), 0x5A);
    EXPECT_TRUE(host.read_all().empty());
    EXPECT_TRUE(device.commands().empty());
    EXPECT_FALSE(device.snapshot().open);
}

TEST(AckFault, GarbleIsSentInsteadAndTheCommandIsExecuted) {
    sim::Simulator device("fault ack garble 7F");
    Host host(device.port());
    EXPECT_EQ(host.send("OPN"), 0x7F);
    EXPECT_EQ(host.answer(), "OPN000");
}

TEST(AckFault, SilentExecutesNothingAndLostDoes) {
    sim::Simulator device("fault ack silent\nfault ack nth 2 lost");
    Host host(device.port());
    host.write(frame(bytes("OPN")));
    EXPECT_TRUE(host.read_all().empty());
    EXPECT_FALSE(device.snapshot().open);
    host.write(frame(bytes("OPN")));
    EXPECT_EQ(host.answer(), "OPN000");
}

TEST(AckFault, DelayHoldsBackTheAcknowledgementAndWhatFollows) {
    sim::Simulator device("fault ack delay 200");
    Host host(device.port());
    const auto begin = steady_clock::now();
    EXPECT_EQ(host.ask("OPN"), "OPN000");
    EXPECT_GE(steady_clock::now() - begin, milliseconds(200));
}

TEST(AckFault, UnplugComesInsteadOfTheAcknowledgement) {
    sim::Simulator device("fault ack unplug");
    Host host(device.port());
    host.write(frame(bytes("OPN")));
    EXPECT_TRUE(host.hung_up());
    EXPECT_FALSE(host.read_byte().has_value());
    EXPECT_TRUE(device.port().empty());
    EXPECT_TRUE(device.commands().empty());
}

TEST(AckFault, UnplugAfterLetsTheAcknowledgementThrough) {
    sim::Simulator device("fault ack unplug-after");
    Host host(device.port());
    EXPECT_EQ(host.send("OPN"), ack);
    EXPECT_TRUE(host.hung_up());
    EXPECT_TRUE(host.read_all().empty());
}

TEST(ResponseFault, BadCrcIsMendedByEnoughResends) {
    sim::Simulator device("fault response bad-crc times 2");
    Host host(device.port());
    EXPECT_EQ(host.ask("OPN"), "<bad crc>");
    host.write_byte(nak);
    EXPECT_EQ(host.answer(), "<bad crc>");
    host.write_byte(nak);
    EXPECT_EQ(host.answer(), "OPN000");
}

TEST(ResponseFault, CutDropDuplicateAndCorrupt) {
    EXPECT_EQ(answer_to_open("fault response cut 4"), part(open_answer, 0, 4));
    EXPECT_EQ(answer_to_open("fault response cut 0"), Bytes{});
    Bytes expected = open_answer;
    expected.erase(expected.begin() + 2);
    EXPECT_EQ(answer_to_open("fault response drop 2"), expected);
    expected = open_answer;
    expected.insert(expected.begin() + 2, expected[2]);
    EXPECT_EQ(answer_to_open("fault response duplicate 2"), expected);
    expected = open_answer;
    expected[2] ^= 0xFF;
    EXPECT_EQ(answer_to_open("fault response corrupt 2"), expected);
}

TEST(ResponseFault, PrefixSuffixTwiceAndSilent) {
    EXPECT_EQ(answer_to_open("fault response prefix 00FF"), join({0x00, 0xFF}, open_answer));
    EXPECT_EQ(answer_to_open("fault response suffix 5A"), join(open_answer, {0x5A}));
    EXPECT_EQ(answer_to_open("fault response twice"), join(open_answer, open_answer));
    EXPECT_EQ(answer_to_open("fault response silent"), Bytes{});
}

TEST(ResponseFault, DelayAndStallTakeTheirTime) {
    sim::Simulator device("fault response delay 150\nfault response nth 2 stall 3 150");
    Host host(device.port());
    auto begin = steady_clock::now();
    EXPECT_LT(timeOf([&] { EXPECT_EQ(host.send("OPN"), ack); }), milliseconds(150));
    EXPECT_EQ(host.answer(), "OPN000");
    EXPECT_GE(steady_clock::now() - begin, milliseconds(150));
    EXPECT_EQ(host.send("OPN"), ack);
    begin = steady_clock::now();
    EXPECT_EQ(host.read_all(milliseconds(100)), part(open_answer, 0, 3));
    EXPECT_EQ(host.read_all(milliseconds(200)), part(open_answer, 3, open_answer.size()));
}

TEST(ResponseFault, FaultDelaysAreNotScaled) {
    sim::SimulatorOptions options;
    options.time_scale = 1000;
    sim::Simulator device("fault response delay 150", options);
    Host host(device.port());
    const auto begin = steady_clock::now();
    EXPECT_EQ(host.ask("OPN"), "OPN000");
    EXPECT_GE(steady_clock::now() - begin, milliseconds(150));
}

TEST(ResponseFault, UnplugLetsTheFirstBytesThrough) {
    sim::Simulator device("fault response unplug 4");
    Host host(device.port());
    EXPECT_EQ(host.send("OPN"), ack);
    Bytes received;
    for (int i = 0; i < 4; ++i)
        received.push_back(host.read_byte().value_or(0));
    EXPECT_EQ(received, part(open_answer, 0, 4));
    EXPECT_TRUE(host.hung_up());
}

TEST(ResponseFault, NotificationsAreResponsesToo) {
    sim::Simulator device("event notify \"A\" key f1\nfault response CEX bad-crc");
    Host host(device.port());
    EXPECT_EQ(host.ask(command("CEX", record(6, "100099"))), "<bad crc>");
    EXPECT_EQ(host.answer(), "CEX000006" + record(0x8040, "04"));
}

TEST(CanFault, OtherBytesSilenceAndDelay) {
    sim::Simulator device("fault can byte 15 times 2\nfault can nth 3 silent\n"
                          "fault can nth 4 delay 150");
    Host host(device.port());
    for (int i = 0; i < 2; ++i) {
        host.write_byte(can);
        EXPECT_EQ(host.read_byte(), 0x15);
    }
    host.write_byte(can);
    EXPECT_FALSE(host.read_byte(milliseconds(60)).has_value());
    const auto begin = steady_clock::now();
    host.write_byte(can);
    EXPECT_EQ(host.read_byte(), eot);
    EXPECT_GE(steady_clock::now() - begin, milliseconds(150));
}

TEST(CanFault, Unplug) {
    sim::Simulator device("fault can unplug");
    Host host(device.port());
    host.write_byte(can);
    EXPECT_TRUE(host.hung_up());
}

TEST(Replug, BringsTheCableBack) {
    sim::Simulator device("replug 50\nfault ack unplug");
    {
        Host host(device.port());
        host.write(frame(bytes("OPN")));
        ASSERT_TRUE(host.hung_up());
    }
    ASSERT_TRUE(device.wait_for([](const sim::Snapshot &state) { return state.plugged; },
                                milliseconds(2000)));
    Host host(device.port());
    EXPECT_EQ(host.ask("OPN"), "OPN000");
}

TEST(Reply, StatusOfACommandIsForcedForGood) {
    sim::Simulator device("status DEX 11\nstatus GCD 001");
    Host host(device.port());
    EXPECT_EQ(host.ask("DEX003000"), "DEX011");
    EXPECT_EQ(host.ask("DEX003000"), "DEX011");
    EXPECT_EQ(host.ask("GCD"), "GCD001");
    EXPECT_EQ(host.ask("OPN"), "OPN000");
}

TEST(Reply, StrikesTheNthOnceAndSoManyTimes) {
    sim::Simulator device("status DEX 11 nth 2\nreply OPN times 2 err status 010");
    Host host(device.port());
    EXPECT_EQ(host.ask("DEX003000"), "DEX000");
    EXPECT_EQ(host.ask("DEX003000"), "DEX011");
    EXPECT_EQ(host.ask("DEX003000"), "DEX000");
    EXPECT_EQ(host.ask("OPN"), "ERR010");
    EXPECT_EQ(host.ask("OPN"), "ERR010");
    EXPECT_EQ(host.ask("OPN"), "OPN000");
}

TEST(Reply, IdentifierParametersAndBodyAreChanged) {
    sim::Simulator device("event * key f1\n"
                          "reply CEX nth 1 id XYZ\n"
                          "reply CEX nth 2 omit 8040\n"
                          "reply CEX nth 3 param 8050 \"ok\" param 8051 hex 0001\n"
                          "reply CEX nth 4 append \"!\"\n"
                          "reply CEX nth 5 body \"CE\"\n"
                          "reply CEX nth 6 status 999 append hex 00\n"
                          "reply CEX nth 7 skip\n");
    Host host(device.port());
    const std::string ask = command("CEX", record(6, "100099"));
    const std::string event = record(0x8040, "04");
    EXPECT_EQ(host.ask(ask), "XYZ000006" + event);
    EXPECT_EQ(host.ask(ask), "CEX000");
    EXPECT_EQ(host.ask(ask),
              "CEX000018" + event + record(0x8050, "ok") + record(0x8051, std::string("\0\1", 2)));
    EXPECT_EQ(host.ask(ask), "CEX000006" + event + "!");
    EXPECT_EQ(host.ask(ask), "CE");
    EXPECT_EQ(host.ask(ask), std::string("CEX999\0", 7));
    EXPECT_EQ(host.ask(ask), "CEX000");
}

TEST(Reply, OfASkippedCommandChangesNothingElse) {
    sim::Simulator device("reply DEX skip status 012");
    Host host(device.port());
    EXPECT_EQ(host.ask("DEX008005HELLO"), "DEX012");
    EXPECT_TRUE(device.snapshot().display.empty());
}

TEST(Reply, OfAnyCommand) {
    sim::Simulator device("reply any status 040 times 2");
    Host host(device.port());
    EXPECT_EQ(host.ask("OPN"), "OPN040");
    EXPECT_EQ(host.ask("XYZ"), "ERR040");
    EXPECT_EQ(host.ask("OPN"), "OPN000");
}

TEST(ArmedFault, StrikesARunningDeviceAndCountsFromNowOn) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask("OPN"), "OPN000");
    device.arm_fault("fault ack nth 2 nak");
    EXPECT_EQ(host.ask("OPN"), "OPN000");
    EXPECT_EQ(host.send("OPN"), nak);
    EXPECT_EQ(host.ask("OPN"), "OPN000");
}

TEST(ArmedFault, IsClearedWithAllOthers) {
    sim::Simulator device("fault ack always nak");
    Host host(device.port());
    device.arm_fault("fault response always silent");
    EXPECT_EQ(host.send("OPN"), nak);
    device.clear_faults();
    EXPECT_EQ(host.ask("OPN"), "OPN000");
}

TEST(ArmedReply, EndsTheSessionAndTheChannelAsTheScenariosDoes) {
    const std::string rule = "reply CLO skip status 040";
    const auto close = [](sim::Simulator &device) {
        Host host(device.port());
        open_secure(host, KeyPair());
        EXPECT_TRUE(host.send_secure("CLO032" + std::string(32, ' ')));
        const std::string answer = host.answer();
        const sim::Snapshot state = device.snapshot();
        EXPECT_FALSE(state.open);
        EXPECT_FALSE(state.secure);
        return answer;
    };
    sim::Simulator scripted(rule);
    EXPECT_EQ(close(scripted), "CLO040");
    sim::Simulator armed;
    armed.arm_fault(rule);
    EXPECT_EQ(close(armed), "CLO040");
    EXPECT_EQ(armed.snapshot().faults_struck, 1U);
}

TEST(ArmedReply, EndsTheCommandThatWaits) {
    sim::Simulator device;
    device.arm_fault("reply DEX skip status 012");
    Host host(device.port());
    ASSERT_EQ(host.send(command("CEX", record(6, "100099"))), ack);
    ASSERT_TRUE(device.wait_pending("CEX"));
    EXPECT_EQ(host.ask("DEX003000"), "DEX012");
    EXPECT_FALSE(device.snapshot().waiting);
    EXPECT_EQ(device.snapshot().overlaps, 1U);
}

TEST(ArmedReply, ChangesWhateverAScenarioCanChange) {
    sim::Simulator device("event * key f1");
    device.arm_fault("reply CEX nth 2 omit 8040 append \"!\"");
    device.arm_fault("status DEX 011");
    Host host(device.port());
    const std::string ask = command("CEX", record(6, "100099"));
    EXPECT_EQ(host.ask(ask), "CEX000006" + record(0x8040, "04"));
    EXPECT_EQ(host.ask(ask), "CEX000!");
    EXPECT_EQ(host.ask("DEX003000"), "DEX011");
}

TEST(ArmedReply, StandsBehindTheScenariosAndGoesAlone) {
    sim::Simulator device("status DEX 011 nth 2");
    device.arm_fault("status DEX 012");
    Host host(device.port());
    EXPECT_EQ(host.ask("DEX003000"), "DEX012");
    EXPECT_EQ(host.ask("DEX003000"), "DEX011");
    EXPECT_EQ(host.ask("DEX003000"), "DEX012");
    EXPECT_EQ(device.snapshot().faults_struck, 2U);
    device.clear_faults();
    EXPECT_EQ(host.ask("DEX003000"), "DEX000");
    sim::Simulator other("status DEX 011");
    other.clear_faults();
    EXPECT_EQ(Host(other.port()).ask("DEX003000"), "DEX011");
}

TEST(ArmedFault, MustBeUnderstood) {
    sim::Simulator device;
    EXPECT_THROW(device.arm_fault("fault ack explode"), sim::ScenarioError);
    Host host(device.port());
    EXPECT_EQ(host.ask("OPN"), "OPN000");
}

} // namespace
