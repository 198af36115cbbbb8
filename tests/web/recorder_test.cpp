#include "sim/web/station.h"
#include "tests/sim/host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

namespace {

using namespace sim_test;
using sim::web::Station;
using testing::HasSubstr;

const std::string capture =
    command("GCD", record(11, std::string("\x00\x03", 2)) + record(13, std::string("\x01", 1)) +
                       record(14, std::string("\x08", 1)));
const std::string check_keys = command("CEX", record(6, "100000"));
const std::string show = command("DEX", "003BOM");

class RecorderTest : public testing::Test {
protected:
    std::unique_ptr<Station> make(const std::string &scenario = "") {
        return std::make_unique<Station>(
            scenario, sim::SimulatorOptions{}, [](const sim::JournalEntry &) {},
            [](const sim::WireFrame &) {});
    }
};

TEST_F(RecorderTest, ACaptureByHandIsReplayed) {
    const auto station = make("prompt 3 \"NUMBER\"\ncapture keys 9 enter\n");
    std::string answer;
    {
        Host host(station->device()->port());
        host.ask(capture);
        ASSERT_EQ(host.send(capture), ack);
        ASSERT_TRUE(station->device()->wait_pending("GCD"));
        station->device()->press("417");
        station->device()->press_key(sim::Key::enter);
        answer = host.answer();
    }
    const std::string scenario = station->recording();
    EXPECT_THAT(scenario, HasSubstr("prompt 3 \"NUMBER\""));
    station->replay(scenario);
    Host host(station->device()->port());
    host.ask(capture);
    EXPECT_EQ(host.ask(capture), answer) << scenario;
}

TEST_F(RecorderTest, AnEventByHandIsReplayed) {
    const auto station = make();
    std::string answer;
    {
        Host host(station->device()->port());
        ASSERT_EQ(host.send(check_keys), ack);
        ASSERT_TRUE(station->device()->wait_pending("CEX"));
        station->device()->press_key(sim::Key::f2);
        answer = host.answer();
    }
    station->replay(station->recording());
    Host host(station->device()->port());
    EXPECT_EQ(host.ask(check_keys), answer);
}

TEST_F(RecorderTest, AFaultStrikesTheSameCommandAgain) {
    const auto station = make();
    {
        Host host(station->device()->port());
        ASSERT_EQ(host.ask(show), "DEX000");
        station->arm("fault ack DEX times 1 nak");
        EXPECT_THAT(station->armed(), testing::SizeIs(1));
        EXPECT_EQ(host.send(show), nak);
        EXPECT_THAT(station->armed(), testing::IsEmpty());
        ASSERT_EQ(host.ask(show), "DEX000");
    }
    station->replay(station->recording());
    Host host(station->device()->port());
    EXPECT_EQ(host.ask(show), "DEX000");
    EXPECT_EQ(host.send(show), nak);
    EXPECT_EQ(host.ask(show), "DEX000");
}

TEST_F(RecorderTest, AStatusIsAnsweredAgain) {
    const auto station = make();
    {
        Host host(station->device()->port());
        ASSERT_EQ(host.ask(show), "DEX000");
        station->arm("reply any nth 1 times 1 skip status 042");
        EXPECT_EQ(host.ask(show), "DEX042");
        EXPECT_EQ(host.ask(show), "DEX000");
    }
    station->replay(station->recording());
    Host host(station->device()->port());
    EXPECT_EQ(host.ask(show), "DEX000");
    EXPECT_EQ(host.ask(show), "DEX042");
    EXPECT_EQ(host.ask(show), "DEX000");
}

TEST_F(RecorderTest, AFaultThatWasLaidDownDoesNotStrikeAgain) {
    const auto station = make();
    const std::string rule = "fault ack DEX always nak";
    {
        Host host(station->device()->port());
        station->arm(rule);
        EXPECT_EQ(host.send(show), nak);
        station->arm("fault ack CEX always nak");
        station->disarm(rule);
        EXPECT_EQ(host.ask(show), "DEX000");
        EXPECT_EQ(host.send(check_keys), nak);
        station->disarm_all();
    }
    station->replay(station->recording());
    Host host(station->device()->port());
    EXPECT_EQ(host.send(show), nak);
    EXPECT_EQ(host.ask(show), "DEX000");
    EXPECT_EQ(host.send(check_keys), nak);
}

TEST_F(RecorderTest, ARecordingDoesNotGrowForEver) {
    sim::web::Recorder recorder("");
    const sim::JournalEntry begun{{}, "command", {{"id", "CEX"}}};
    const sim::JournalEntry late{{}, "response", {{"id", "CEX"}, {"status", "012"}}};
    for (int i = 0; i < 5000; ++i) {
        recorder.entry(begun);
        recorder.entry(late);
    }
    const std::string full = recorder.scenario();
    EXPECT_THAT(full, HasSubstr("# The recording is full"));
    recorder.entry(begun);
    recorder.entry(late);
    EXPECT_EQ(recorder.scenario(), full);
    EXPECT_NO_THROW(sim::parse_scenario(full));
}

TEST_F(RecorderTest, AScenarioThatCannotBeReadLeavesTheDeviceAlone) {
    const auto station = make();
    const auto device = station->device();
    EXPECT_THROW(station->replay("no such word"), sim::ScenarioError);
    EXPECT_EQ(station->device(), device);
    EXPECT_THROW(station->arm("fault ack nonsense"), sim::ScenarioError);
    EXPECT_THROW(station->arm("reply any"), sim::ScenarioError);
    EXPECT_THAT(station->armed(), testing::IsEmpty());
}

} // namespace
