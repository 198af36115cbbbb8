// A device that wants to do harm: what it sends without end, out of turn or with lengths that lie
// costs neither memory nor more than the documented time, and the next command works.

#include "abecs/commands/capture.h"
#include "abecs/commands/display.h"
#include "abecs/open.h"
#include "sim/simulator.h"
#include "tests/link/session_fixture.h"

#include <malloc.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>

namespace {

using namespace line;

/// Sends as fast as the line takes it, until it is told to stop or the line is gone.
class Flood {
public:
    Flood(Peer &device, const Bytes &pattern) {
        device.play([this, pattern](Peer &line) {
            while (!m_over) {
                line.write(pattern);
                m_sent += pattern.size();
            }
        });
    }
    ~Flood() { stop(); }
    Flood(const Flood &) = delete;
    Flood &operator=(const Flood &) = delete;

    void stop() { m_over = true; }
    std::size_t sent() const { return m_sent; }
    /// This much has crossed the line.
    void waitFor(std::size_t bytes) const {
        for (int i = 0; i < 5000 && m_sent < bytes; ++i) {
            pcl_sleep_millis(1);
        }
        EXPECT_GE(m_sent, bytes);
    }

private:
    std::atomic<bool> m_over{false};
    std::atomic<std::size_t> m_sent{0};
};

constexpr std::size_t MUCH = 200'000;

class HostileDevice : public Link {
protected:
    static std::size_t heap() { return mallinfo2().uordblks; }

    // Drains on a thread of its own, so that the test can watch it.
    template <typename Meanwhile>
    PclException drainDuring(Meanwhile meanwhile) {
        PclException failure;
        std::atomic<bool> over{false};
        std::thread drain([&] {
            failure = pcl_attempt([&] { abecs_link_drain_input(pinpad()->port); });
            over = true;
        });
        meanwhile(over);
        drain.join();
        return failure;
    }
};

// The documented end of a drain is silence, so that a flood has no bound in time. What holds is
// that it costs no memory, that nothing but the drain is held up, and that it is over as soon as
// the flood is.
TEST_F(HostileDevice, AFloodIsDrainedInConstantMemoryAndEndsWithIt) {
    Flood flood(m_peer, Bytes(64, 'X'));
    flood.waitFor(1000);
    const PclException failure = drainDuring([&](const std::atomic<bool> &over) {
        const std::size_t before = heap();
        flood.waitFor(MUCH);
        EXPECT_FALSE(over);
        EXPECT_LE(heap(), before + 4096);
        flood.stop();
        const Elapsed rest = timeOf([&] {
            while (!over) {
                pcl_sleep_millis(1);
            }
        });
        EXPECT_LT(rest, 2000ms);
    });
    EXPECT_STREQ("", failure.message);
    expectUsable();
}

TEST_F(HostileDevice, AFloodEndsWhenTheCableIsPulled) {
    m_peer.play([](Peer &line) {
        for (int i = 0; i < 2000; ++i) {
            line.write(Bytes(64, 'X'));
        }
        line.hangUp();
    });
    const PclException failure = drainDuring([](const std::atomic<bool> &) {});
    EXPECT_EQ(failures::text(PCL_RESULT_IO_ERROR, "ReadFile() error: 5"),
              std::string(failure.message));
    EXPECT_TRUE(pcl_serial_is_gone(pinpad()->port));
}

// A device that heeds the abort ends its own flood with it.
TEST_F(HostileDevice, AFloodEndsWithAnAbortThatTheDeviceHeeds) {
    m_peer.play([](Peer &line) {
        while (line.waiting() == 0) {
            line.write(Bytes(64, 'X'));
        }
        line.expect(CAN);
        line.pause(2000ms / TIME_DIVISOR / 8);
        line.write(EOT);
        // The abort may have met the flood first and ask again.
        for (int i = 0; i < 50; ++i) {
            if (line.waiting() != 0) {
                line.expect(CAN);
                line.write(EOT);
            }
            line.pause(10ms);
        }
    });
    PclException aborted;
    const PclException drained = drainDuring([&](const std::atomic<bool> &over) {
        pcl_sleep_millis(50);
        EXPECT_FALSE(over);
        aborted = pcl_attempt([&] { abecs_link_abort(pinpad()); });
        for (int i = 0; i < 3000 && !over; ++i) {
            pcl_sleep_millis(1);
        }
        EXPECT_TRUE(over);
    });
    EXPECT_STREQ("", drained.message);
    const std::string message = aborted.message;
    EXPECT_TRUE(message.empty() ||
                message == failures::text(PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data"))
        << message;
    expectUsable();
}

// No answer is as long as this, and none is waited for longer than its bytes take.
TEST_F(HostileDevice, AFrameWithoutEndIsRefusedWhenThePacketIsFull) {
    for (const Bytes &pattern : {Bytes(64, 'X'), Bytes(64, 0x13), SYN + SYN}) {
        const std::size_t before = heap();
        {
            Flood flood(m_peer, SYN + pattern);
            EXPECT_FAILURE(abecs_link_receive_response(pinpad(), packet()), PCL_RESULT_IO_ERROR,
                           "No enough space in buffer (available: 0, requested: 1)");
            EXPECT_LE(heap(), before + 65536);
            flood.stop();
            EXPECT_NO_FAILURE(abecs_link_drain_input(pinpad()->port));
            m_peer.finish();
        }
        expectUsable();
    }
}

TEST_F(HostileDevice, EndlessNaksEndWithTheThirdFrame) {
    std::size_t frames = 0;
    m_peer.play([&frames](Peer &line) {
        for (; frames < 3; ++frames) {
            line.expect(COMMAND);
            line.write(NAK);
        }
        line.expectSilence(100ms);
    });
    EXPECT_LT(timeOf([&] {
                  EXPECT_FAILURE(send("DEX003000"), PCL_RESULT_PROTOCOL_ERROR,
                                 "Packet was rejected");
              }),
              1000ms);
    m_peer.finish();
    EXPECT_EQ(3U, frames);
    expectUsable();
}

TEST_F(HostileDevice, NaksAheadOfACommandAreItsVerdictAndNotThatOfTheNext) {
    lieOnLine(Bytes(3000, 0x15));
    EXPECT_FAILURE(send("DEX003000"), PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected");
    m_peer.play([](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.expect(COMMAND);
        }
    });
    expectUsable();
}

TEST_F(HostileDevice, AnAbortThatIsNeverAnsweredWithEotAsksThreeTimes) {
    m_peer.play([](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.expect(CAN);
            line.write(SYN + bytes("GARBAGE"));
        }
        line.expectSilence(100ms);
    });
    EXPECT_FAILURE(abecs_link_abort(pinpad()), PCL_RESULT_PROTOCOL_ERROR,
                   "Protocol error (expected EOT, read 0x16)");
    m_peer.finish();
    expectUsable();
}

/// The same through the virtual PIN pad, whose answers are what its scenario makes of them.
class HostileAnswers : public testing::Test {
protected:
    void SetUp() override { pcl_serial_set_time_divisor(TIME_DIVISOR); }
    void TearDown() override {
        m_pinpad.reset();
        pcl_serial_set_time_divisor(1);
    }

    void open(const std::string &scenario, std::uint8_t secure = 0) {
        m_device = std::make_unique<sim::Simulator>(scenario);
        EXPECT_NO_FAILURE(m_pinpad.reset(abecs_pinpad_create(m_device->port().c_str())));
        EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(m_pinpad.get(), secure)));
    }
    AbecsPinpad *pinpad() { return m_pinpad.get(); }

    // A capture that the device answers with just this body.
    void expectCaptureFails(const std::string &change, PclResult_e code,
                            const std::string &message) {
        open("capture * keys 12345 enter\nreply GCD " + change + "\n");
        m_out.fill('#');
        EXPECT_NO_FAILURE(abecs_gcd_start(pinpad(), 1, 1, 8, 0));
        EXPECT_FAILURE(abecs_gcd_response(pinpad(), m_out.data(), nullptr), code, message);
        EXPECT_EQ(std::string(m_out.size(), '#'), std::string(m_out.data(), m_out.size()));
        expectUsable();
    }

    void expectUsable() {
        EXPECT_NO_FAILURE(abecs_link_abort(pinpad()));
        EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_dex(pinpad(), "STILL HERE")));
        EXPECT_EQ(std::vector<std::string>{"STILL HERE"}, m_device->snapshot().display);
    }

    std::unique_ptr<sim::Simulator> m_device;
    AbecsPinpadPtr m_pinpad;
    std::array<char, 1000> m_out{};
};

TEST_F(HostileAnswers, AnAnswerToAnotherCommandIsRefused) {
    expectCaptureFails("id DEX", PCL_RESULT_PROTOCOL_ERROR, "(GCD) Invalid RSP_ID: DEX)");
}

TEST_F(HostileAnswers, ABlockThatIsLongerThanTheFrameIsRefused) {
    expectCaptureFails("body \"GCD000999\"", PCL_RESULT_IO_ERROR, "Invalid packet (malformed)");
}

TEST_F(HostileAnswers, AParameterThatClaimsToBeLongerThanTheFrameIsRefused) {
    // "GCD000", a block of 9 bytes, parameter 804D of 65535 bytes.
    expectCaptureFails("body hex 474344303030303039804DFFFF3132333435", PCL_RESULT_PROTOCOL_ERROR,
                       "Malformed parameter (expected data length: 65535, available: 5)");
}

TEST_F(HostileAnswers, AParameterThatEndsInTheMiddleOfItsHeaderIsRefused) {
    expectCaptureFails("body hex 474344303030303033804D00", PCL_RESULT_IO_ERROR,
                       "Malformed packet (remaining bytes on BLK1 cannot be used)");
}

// What an answer says after its block stays what it is: the value is at most the frame long.
TEST_F(HostileAnswers, TheLongestValueOfAFrameFitsTheRecommendedBuffer) {
    std::string value;
    for (int i = 0; i < 990; ++i) {
        value += "41";
    }
    open("capture * keys 12345 enter\nreply GCD body hex 474344303030393934804D03DE" + value +
         "\n");
    m_out.fill('#');
    EXPECT_NO_FAILURE(abecs_gcd_start(pinpad(), 1, 1, 8, 0));
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_gcd_response(pinpad(), m_out.data(), nullptr)));
    EXPECT_EQ(std::string(990, 'A'), std::string(m_out.data()));
    expectUsable();
}

TEST_F(HostileAnswers, NotificationsWithoutEndAreOneAPollAndEndWithAnAbort) {
    std::string scenario = "capture";
    for (int i = 0; i < 300; ++i) {
        scenario += " notify \"AGAIN\"";
    }
    open(scenario + " live\n");
    EXPECT_NO_FAILURE(abecs_gcd_start(pinpad(), 1, 1, 8, 0));
    std::size_t heapAfterFirst = 0;
    for (int i = 0; i < 250; ++i) {
        std::array<char, 33> text{};
        std::int32_t status = 0;
        EXPECT_NO_FAILURE(status = abecs_gcd_response(pinpad(), m_out.data(), text.data()));
        ASSERT_EQ(ABECS_RSP_STAT_ST_NOTIFICATION, status) << i;
        EXPECT_STREQ("AGAIN", text.data());
        if (i == 0) {
            heapAfterFirst = mallinfo2().uordblks;
        }
    }
    // The device's account of what it sent is in the same heap.
    EXPECT_LE(mallinfo2().uordblks, heapAfterFirst + (std::size_t{1} << 20));
    expectUsable();
}

TEST_F(HostileAnswers, AnEncryptedAnswerWithoutAKeyLeavesTheSessionUsable) {
    open("fault secure DEX bad-datacrc\n");
    EXPECT_FAILURE(abecs_dex(pinpad(), "HELLO"), PCL_RESULT_PROTOCOL_ERROR,
                   "Malformed encrypted response (caused by Invalid DATACRC)");
    EXPECT_EQ(0, pinpad()->secure);
    expectUsable();
}

TEST_F(HostileAnswers, GarbageBetweenFramesCostsOneCommand) {
    open("");
    const std::pair<const char *, const char *> cases[] = {
        {"\x06", "Protocol error (expected SYN, read 0x6)"},
        {"\x15\x15\x15", "Packet was rejected"},
        {"\x16"
         "DEX000\x17",
         "Protocol error (unknown packet response: 0x16)"},
        {"\x12\x12", "Protocol error (unknown packet response: 0x12)"},
        {"noise", "Protocol error (unknown packet response: 0x6e)"}};
    for (const auto &[garbage, detail] : cases) {
        SCOPED_TRACE(detail);
        const std::string text = garbage;
        m_device->send_raw(sim::Bytes(text.begin(), text.end()));
        while (pcl_serial_bytes_available(pinpad()->port) < text.size()) {
            pcl_sleep_millis(1);
        }
        EXPECT_FAILURE(abecs_dex(pinpad(), "HELLO"), PCL_RESULT_PROTOCOL_ERROR, detail);
        // The device has answered what the host took for refused.
        pcl_sleep_millis(100);
        EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_dex(pinpad(), "HELLO")));
    }
    expectUsable();
}

} // namespace
