#include "sim/scenario.h"
#include "sim/simulator.h"
#include "tests/sim/host.h"
#include "tests/support/stopwatch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <system_error>

namespace {

using namespace sim_test;

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "sim-test-XXXXXX").string();
        path_ = ::mkdtemp(pattern.data());
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    std::string file(const std::string &name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

std::vector<std::string> kinds(const std::vector<sim::JournalEntry> &journal) {
    std::vector<std::string> words;
    for (const sim::JournalEntry &entry : journal)
        words.push_back(entry.kind);
    return words;
}

TEST(Simulator, EndsCleanlyInAllStates) {
    { const sim::Simulator idle; }
    {
        sim::Simulator waiting("capture wait 100000 enter");
        Host host(waiting.port());
        ASSERT_EQ(host.send(command("CEX", record(6, "100099"))), ack);
        ASSERT_TRUE(waiting.wait_pending("CEX"));
    }
    {
        sim::Simulator unplugged;
        unplugged.unplug();
        EXPECT_FALSE(unplugged.snapshot().plugged);
    }
    {
        sim::Simulator half;
        Host host(half.port());
        host.write({0x16, 'O'});
    }
    {
        sim::Simulator sending("fault response delay 60000");
        Host host(sending.port());
        ASSERT_EQ(host.send("OPN"), ack);
    }
}

TEST(Simulator, RefusesABadScenarioAndABadScale) {
    EXPECT_THROW(sim::Simulator("nonsense"), sim::ScenarioError);
    sim::SimulatorOptions options;
    options.time_scale = 0;
    EXPECT_THROW(sim::Simulator("", options), std::invalid_argument);
}

TEST(Simulator, LetsAHostOpenItsPortExclusively) {
    sim::Simulator device;
    for (int round = 0; round < 2; ++round) {
        const int fd = ::open(device.port().c_str(), O_RDWR | O_NOCTTY);
        ASSERT_GE(fd, 0);
        int exclusive = -1;
        EXPECT_EQ(::ioctl(fd, TIOCGEXCL, &exclusive), 0);
        EXPECT_EQ(exclusive, 0);
        EXPECT_EQ(::ioctl(fd, TIOCEXCL), 0);
        EXPECT_EQ(::flock(fd, LOCK_EX | LOCK_NB), 0);
        EXPECT_EQ(::ioctl(fd, TIOCNXCL), 0);
        ::close(fd);
    }
}

TEST(Simulator, SurvivesAHostThatComesAndGoes) {
    sim::Simulator device;
    for (int round = 0; round < 3; ++round) {
        Host host(device.port());
        EXPECT_EQ(host.ask("OPN"), "OPN000");
    }
    EXPECT_TRUE(device.snapshot().plugged);
}

TEST(Simulator, UnplugHangsUpAndReplugBringsAFreshLine) {
    sim::Simulator device("media LOGO size 3");
    {
        Host host(device.port());
        ASSERT_EQ(host.ask("OPN"), "OPN000");
        ASSERT_EQ(host.ask("DEX008005HELLO"), "DEX000");
        ASSERT_EQ(host.send(command("CEX", record(6, "100099"))), ack);
        ASSERT_TRUE(device.wait_pending("CEX"));
        device.unplug();
        EXPECT_TRUE(host.hung_up());
    }
    sim::Snapshot state = device.snapshot();
    EXPECT_FALSE(state.plugged);
    EXPECT_FALSE(state.open);
    EXPECT_FALSE(state.waiting);
    EXPECT_TRUE(state.display.empty());
    EXPECT_EQ(state.media.size(), 1U);
    EXPECT_EQ(device.port(), "");
    device.replug();
    device.replug();
    Host host(device.port());
    EXPECT_EQ(host.ask("OPN"), "OPN000");
}

TEST(Simulator, LogsTheLineByteByByteAndFrameByFrame) {
    sim::Simulator device;
    Host host(device.port());
    host.write_byte('?');
    host.write_byte(can);
    ASSERT_EQ(host.read_byte(), eot);
    ASSERT_EQ(host.ask("OPN"), "OPN000");
    const Bytes sent = frame(bytes("OPN"));
    Bytes expected{'?', can};
    expected.insert(expected.end(), sent.begin(), sent.end());
    EXPECT_EQ(device.host_bytes(), expected);
    const sim::WireLog wire = device.wire();
    Bytes received;
    for (const sim::WireChunk &chunk : wire.chunks) {
        if (chunk.direction == sim::Direction::to_host)
            received.insert(received.end(), chunk.bytes.begin(), chunk.bytes.end());
    }
    Bytes answers{eot, ack};
    const Bytes answer = frame(bytes("OPN000"));
    answers.insert(answers.end(), answer.begin(), answer.end());
    EXPECT_EQ(received, answers);
    std::vector<sim::FrameKind> order;
    for (const sim::WireFrame &entry : wire.frames)
        order.push_back(entry.kind);
    using Kind = sim::FrameKind;
    EXPECT_EQ(order, (std::vector<Kind>{Kind::noise, Kind::can, Kind::eot, Kind::command, Kind::ack,
                                        Kind::response}));
    EXPECT_EQ(wire.frames[3].raw, sent);
    device.clear_logs();
    EXPECT_TRUE(device.host_bytes().empty());
    EXPECT_TRUE(device.commands().empty());
    EXPECT_EQ(device.snapshot().commands, 1U);
}

TEST(Simulator, TellsItsListenersWhatHappens) {
    std::mutex mutex;
    std::vector<std::string> told;
    std::size_t frames = 0;
    sim::Simulator device;
    device.set_listener([&](const sim::JournalEntry &entry) {
        const std::lock_guard lock(mutex);
        told.push_back(entry.kind);
    });
    device.set_wire_listener([&](const sim::WireFrame &) {
        const std::lock_guard lock(mutex);
        ++frames;
    });
    Host host(device.port());
    ASSERT_EQ(host.ask("DEX008005HELLO"), "DEX000");
    device.set_listener({});
    device.set_wire_listener({});
    device.press("1");
    const auto journal = device.journal();
    const std::lock_guard lock(mutex);
    EXPECT_EQ(told, (std::vector<std::string>{"command", "display", "response"}));
    EXPECT_EQ(frames, 3U);
    EXPECT_EQ(kinds(journal),
              (std::vector<std::string>{"port", "command", "display", "response", "key"}));
    EXPECT_EQ(journal[2].field("line1"), "HELLO");
    EXPECT_EQ(journal[3].field("status"), "000");
}

TEST(Simulator, WaitForGivesUpInTime) {
    const sim::Simulator device;
    const Stopwatch watch;
    EXPECT_FALSE(device.wait_pending("GCD", milliseconds(50)));
    EXPECT_FALSE(device.wait_commands(1, milliseconds(50)));
    EXPECT_LT(watch.elapsed(), milliseconds(2000));
}

TEST(Simulator, SendsStrayBytes) {
    sim::Simulator device;
    Host host(device.port());
    device.send_raw({0x16, 0x00, 0xFF});
    EXPECT_EQ(host.read_all(), (Bytes{0x16, 0x00, 0xFF}));
    EXPECT_TRUE(device.wait_drained(milliseconds(60000)));
    device.send_raw({0x01});
    ASSERT_TRUE(host.has_input());
    EXPECT_FALSE(device.wait_drained(milliseconds(50)));
}

TEST(Simulator, PacesBothDirections) {
    sim::SimulatorOptions options;
    options.paced = true;
    sim::Simulator device("reply OPN body hex " + std::string(2 * 380, '4'), options);
    Host host(device.port());
    // 384 bytes out and 192 in at 1920 bytes a second.
    const Bytes long_command = frame(bytes("XYZ" + std::string(185, 'x')));
    const Elapsed taken = timeOf([&] {
        host.write(long_command);
        EXPECT_EQ(host.read_byte(), ack);
    });
    EXPECT_GE(taken, milliseconds(99));
    EXPECT_LT(taken, milliseconds(400));
    EXPECT_EQ(host.answer(), "ERR010");
    const Elapsed asked = timeOf([&] { EXPECT_EQ(host.ask("OPN").size(), 380U); });
    EXPECT_GE(asked, milliseconds(195));
    EXPECT_LT(asked, milliseconds(800));
}

TEST(Simulator, KeepsALinkToThePort) {
    const TemporaryFolder folder;
    sim::SimulatorOptions options;
    options.link = folder.file("pinpad");
    {
        sim::Simulator device("", options);
        EXPECT_EQ(device.port(), options.link);
        {
            Host host(device.port());
            EXPECT_EQ(host.ask("OPN"), "OPN000");
        }
        device.unplug();
        EXPECT_FALSE(std::filesystem::is_symlink(options.link));
        device.replug();
        Host host(options.link);
        EXPECT_EQ(host.ask("OPN"), "OPN000");
    }
    EXPECT_FALSE(std::filesystem::is_symlink(options.link));
}

TEST(Simulator, ReplacesALinkThatWasLeftBehind) {
    const TemporaryFolder folder;
    sim::SimulatorOptions options;
    options.link = folder.file("pinpad");
    // What a device that was killed leaves, whatever has its pseudo terminal now.
    const sim::Simulator other;
    const std::string number = std::filesystem::path(other.port()).filename();
    for (const std::string &target : {"/dev/pts/./" + number, std::string("/dev/pts/./99999")}) {
        std::filesystem::create_symlink(target, options.link);
        const sim::Simulator device("", options);
        Host host(options.link);
        EXPECT_EQ(host.ask("OPN"), "OPN000");
    }
}

TEST(Simulator, ReplacesNothingElseByItsLink) {
    const TemporaryFolder folder;
    sim::SimulatorOptions options;
    options.link = folder.file("pinpad");
    const auto refuses = [&options] {
        EXPECT_THAT(
            [&options] { sim::Simulator("", options); },
            testing::ThrowsMessage<std::runtime_error>("'" + options.link +
                                                       "' exists and is no link that a virtual PIN "
                                                       "pad of this user has left behind"));
    };
    const sim::Simulator other;
    for (const std::string &target :
         {std::string("/nowhere"), std::string("/dev/pts/99999"), other.port(),
          std::string("/dev/pts/./"), std::string("/dev/pts/./1x"),
          std::string("/dev/pts/./ptmx")}) {
        std::filesystem::create_symlink(target, options.link);
        refuses();
        EXPECT_EQ(std::filesystem::read_symlink(options.link), target);
        std::filesystem::remove(options.link);
    }
    std::ofstream(options.link) << "precious";
    refuses();
    EXPECT_TRUE(std::filesystem::is_regular_file(options.link));
    std::filesystem::remove(options.link);
    std::filesystem::create_directory(options.link);
    refuses();
    EXPECT_TRUE(std::filesystem::is_directory(options.link));
}

TEST(Simulator, ReplacesNoLinkOfAnotherUser) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "\nNot run: the link of another user: only root can give links away";
    }
    const TemporaryFolder folder;
    sim::SimulatorOptions options;
    options.link = folder.file("pinpad");
    std::filesystem::create_symlink("/dev/pts/./99999", options.link);
    ASSERT_EQ(::lchown(options.link.c_str(), 65534, 65534), 0);
    EXPECT_THROW(sim::Simulator("", options), std::runtime_error);
    EXPECT_TRUE(std::filesystem::is_symlink(options.link));
}

TEST(Simulator, LeavesTheLinkOfALivingOneAlone) {
    const TemporaryFolder folder;
    sim::SimulatorOptions options;
    options.link = folder.file("pinpad");
    sim::Simulator device("", options);
    const std::filesystem::path target = std::filesystem::read_symlink(options.link);
    EXPECT_THAT([&] { sim::Simulator("", options); },
                testing::ThrowsMessage<std::runtime_error>(
                    "another virtual PIN pad keeps the link '" + options.link + "'"));
    EXPECT_EQ(std::filesystem::read_symlink(options.link), target);
    Host host(options.link);
    EXPECT_EQ(host.ask("OPN"), "OPN000");
    // Nor does it take away, when it ends, what somebody else has put there meanwhile.
    std::filesystem::remove(options.link);
    std::filesystem::create_symlink("/nowhere", options.link);
    device.unplug();
    EXPECT_TRUE(std::filesystem::is_symlink(options.link));
}

TEST(Simulator, KeepsNoLogsWhenTold) {
    sim::SimulatorOptions options;
    options.keep_logs = false;
    sim::Simulator device("", options);
    Host host(device.port());
    ASSERT_EQ(host.ask("OPN"), "OPN000");
    EXPECT_TRUE(device.host_bytes().empty());
    EXPECT_TRUE(device.commands().empty());
    EXPECT_TRUE(device.journal().empty());
    EXPECT_EQ(device.snapshot().commands, 1U);
}

TEST(Simulator, TakesALongConversation) {
    sim::Simulator device;
    Host host(device.port());
    for (int i = 0; i < 500; ++i)
        ASSERT_EQ(host.ask("DEX008005HELLO"), "DEX000");
    EXPECT_EQ(device.snapshot().commands, 500U);
}

} // namespace
