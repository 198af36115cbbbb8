#include "serial/port_posix.h"
#include "serial/serial.h"
#include "serial/time_divisor.h"
#include "tests/serial/open_port.h"
#include "tests/serial/pty.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include <signal.h>
#include <sys/time.h>

namespace {

constexpr const char *TIMEOUT = "Timeout waiting for data";

class SerialRead : public testing::Test {
protected:
    std::string read(std::size_t count) {
        std::string bytes(count, '\0');
        bytes.resize(pcl_serial_read(m_port.get(), bytes.data(), count));
        return bytes;
    }

    bool hasArrived(std::uint32_t count) {
        return eventually([&] { return pcl_serial_bytes_available(m_port.get()) == count; });
    }

    Pty m_pty;
    PortPtr m_port = openPort(m_pty.name());
};

TEST_F(SerialRead, ReturnsAsSoonAsTheCountHasArrived) {
    pcl_serial_set_timeout(m_port.get(), 255);
    m_pty.send("abcdef");
    const Stopwatch watch;
    EXPECT_EQ(read(4), "abcd");
    EXPECT_EQ(read(2), "ef");
    EXPECT_LT(watch.elapsed(), std::chrono::milliseconds(2000));
}

TEST_F(SerialRead, OneByteOnASilentLineTakesTwoSeconds) {
    pcl_serial_set_timeout(m_port.get(), 20);
    const Stopwatch watch;
    EXPECT_FAILURE(pcl_serial_read_byte(m_port.get()), PCL_RESULT_TIMEOUT_ERROR, TIMEOUT);
    EXPECT_GE(watch.elapsed(), std::chrono::milliseconds(2000));
    EXPECT_LT(watch.elapsed(), std::chrono::milliseconds(2200));
}

TEST_F(SerialRead, ReturnsWhatCameInTime) {
    pcl_serial_set_timeout(m_port.get(), 5);
    m_pty.send("ab");
    const Stopwatch watch;
    EXPECT_EQ(read(3), "ab");
    EXPECT_GE(watch.elapsed(), std::chrono::milliseconds(500));
    EXPECT_LT(watch.elapsed(), std::chrono::milliseconds(750));
}

TEST_F(SerialRead, ReturnsNothingFromASilentLine) {
    pcl_serial_set_timeout(m_port.get(), 3);
    EXPECT_EQ(read(3), "");
}

TEST_F(SerialRead, ATrickleDoesNotProlongTheWait) {
    pcl_serial_set_timeout(m_port.get(), 10);
    std::atomic<bool> stop{false};
    std::thread device([&] {
        while (!stop) {
            m_pty.send("x");
            usleep(100'000);
        }
    });
    const Stopwatch watch;
    const std::size_t count = read(1000).size();
    const Elapsed taken = watch.elapsed();
    stop = true;
    device.join();
    EXPECT_GE(taken, std::chrono::seconds(1));
    EXPECT_LT(taken, std::chrono::milliseconds(1250));
    EXPECT_GE(count, 5U);
    EXPECT_LE(count, 12U);
}

TEST_F(SerialRead, TimeoutZeroTakesWhatIsThere) {
    pcl_serial_set_timeout(m_port.get(), 0);
    const Stopwatch watch;
    EXPECT_EQ(read(4), "");
    m_pty.send("abc");
    ASSERT_TRUE(hasArrived(3));
    EXPECT_EQ(read(4), "abc");
    EXPECT_FAILURE(pcl_serial_read_byte(m_port.get()), PCL_RESULT_TIMEOUT_ERROR, TIMEOUT);
    EXPECT_LT(watch.elapsed(), std::chrono::milliseconds(500));
}

TEST_F(SerialRead, NothingOfNothing) {
    m_pty.send("a");
    EXPECT_EQ(pcl_serial_read(m_port.get(), nullptr, 0), 0U);
    EXPECT_EQ(read(1), "a");
}

TEST_F(SerialRead, BytesInOrder) {
    m_pty.send("\x01\xFF");
    EXPECT_EQ(pcl_serial_read_byte(m_port.get()), 0x01);
    EXPECT_EQ(pcl_serial_read_byte(m_port.get()), 0xFF);
}

TEST_F(SerialRead, NumbersInEitherByteOrder) {
    m_pty.send("\x12\xF4\x12\xF4\x12\xF4");
    EXPECT_EQ(pcl_serial_read_u16(m_port.get(), 0), 0x12F4);
    EXPECT_EQ(pcl_serial_read_u16(m_port.get(), 1), 0xF412);
    EXPECT_EQ(pcl_serial_read_u16(m_port.get(), 255), 0xF412);
    m_pty.send("\x92\x34\x56\x78\x92\x34\x56\x78");
    EXPECT_EQ(pcl_serial_read_u32(m_port.get(), 0), 0x92345678U);
    EXPECT_EQ(pcl_serial_read_u32(m_port.get(), 2), 0x78563492U);
}

TEST_F(SerialRead, HalfANumberIsLost) {
    pcl_serial_set_timeout(m_port.get(), 2);
    m_pty.send("a");
    EXPECT_FAILURE(pcl_serial_read_u16(m_port.get(), 0), PCL_RESULT_TIMEOUT_ERROR, TIMEOUT);
    EXPECT_EQ(read(1), "");
}

TEST_F(SerialRead, ThreeQuartersOfANumberAreLost) {
    pcl_serial_set_timeout(m_port.get(), 2);
    m_pty.send("abc");
    EXPECT_FAILURE(pcl_serial_read_u32(m_port.get(), 1), PCL_RESULT_TIMEOUT_ERROR, TIMEOUT);
    EXPECT_EQ(read(1), "");
}

TEST_F(SerialRead, TextUpToItsNul) {
    using namespace std::string_literals;
    m_pty.send("hello\0x"s);
    char text[8] = "#######";
    EXPECT_EQ(pcl_serial_read_string(m_port.get(), text, sizeof text), text);
    EXPECT_EQ(std::string(text, sizeof text), "hello\0#\0"s);
    EXPECT_EQ(read(1), "x");
}

TEST_F(SerialRead, TextThatJustFits) {
    using namespace std::string_literals;
    m_pty.send("abc\0"s);
    char text[5] = "####";
    pcl_serial_read_string(m_port.get(), text, 4);
    EXPECT_EQ(std::string(text, sizeof text), "abc\0\0"s);
}

TEST_F(SerialRead, TextThatDoesNotFitOverwritesTheLastPosition) {
    using namespace std::string_literals;
    m_pty.send("abcdefgh\0x"s);
    char text[5] = "####";
    pcl_serial_read_string(m_port.get(), text, 4);
    EXPECT_EQ(std::string(text, sizeof text), "abc\0\0"s);
    EXPECT_EQ(read(1), "x");
    m_pty.send("abc\0"s);
    pcl_serial_read_string(m_port.get(), text, 1);
    EXPECT_EQ(std::string(text, sizeof text), "\0bc\0\0"s);
}

TEST_F(SerialRead, TextWithoutItsNulTimesOut) {
    pcl_serial_set_timeout(m_port.get(), 2);
    m_pty.send("abc");
    char text[8];
    EXPECT_FAILURE(pcl_serial_read_string(m_port.get(), text, sizeof text),
                   PCL_RESULT_TIMEOUT_ERROR, TIMEOUT);
}

TEST_F(SerialRead, EachByteOfATextHasTheWholeTimeout) {
    using namespace std::string_literals;
    pcl_serial_set_timeout(m_port.get(), 5);
    std::thread device([&] {
        for (const char byte : "abcd\0"s) {
            usleep(200'000);
            m_pty.send(std::string_view(&byte, 1));
        }
    });
    char text[8];
    EXPECT_NO_FAILURE(pcl_serial_read_string(m_port.get(), text, sizeof text));
    device.join();
    EXPECT_STREQ(text, "abcd");
}

TEST_F(SerialRead, CountsTheBytesThatWait) {
    EXPECT_EQ(pcl_serial_bytes_available(m_port.get()), 0U);
    m_pty.send("abc");
    EXPECT_TRUE(hasArrived(3));
    pcl_serial_read_byte(m_port.get());
    EXPECT_EQ(pcl_serial_bytes_available(m_port.get()), 2U);
}

TEST_F(SerialRead, PurgingDropsWhatWasReceived) {
    pcl_serial_set_timeout(m_port.get(), 1);
    m_pty.send("abc");
    ASSERT_TRUE(hasArrived(3));
    pcl_serial_purge(m_port.get(), PCL_SERIAL_PURGE_TX);
    EXPECT_EQ(pcl_serial_bytes_available(m_port.get()), 3U);
    pcl_serial_purge(m_port.get(), PCL_SERIAL_PURGE_RX);
    EXPECT_EQ(read(4), "");
    m_pty.send("def");
    ASSERT_TRUE(hasArrived(3));
    pcl_serial_purge(m_port.get(), PCL_SERIAL_PURGE_BOTH);
    EXPECT_EQ(read(4), "");
    m_pty.send("g");
    EXPECT_EQ(read(1), "g");
}

TEST_F(SerialRead, PurgingDropsMoreThanTheQueueHolds) {
    ASSERT_EQ(fcntl(m_pty.master(), F_SETFL, O_NONBLOCK), 0);
    const std::string chunk(1000, 'x');
    std::size_t sent = 0;
    for (ssize_t count = 0; (count = write(m_pty.master(), chunk.data(), chunk.size())) > 0;) {
        sent += static_cast<std::size_t>(count);
    }
    ASSERT_GT(sent, 8192U);
    pcl_serial_purge(m_port.get(), PCL_SERIAL_PURGE_RX);
    pcl_serial_set_timeout(m_port.get(), 3);
    EXPECT_EQ(read(30'000).size(), 0U);
}

TEST_F(SerialRead, UnsupportedPurgeTypes) {
    m_pty.send("a");
    ASSERT_TRUE(hasArrived(1));
    for (const std::int32_t type : {-1, 3, 12}) {
        EXPECT_FAILURE(pcl_serial_purge(m_port.get(), type), PCL_RESULT_RUNTIME_ERROR,
                       "Unsupported purgeType: " + std::to_string(type));
    }
    EXPECT_EQ(pcl_serial_bytes_available(m_port.get()), 1U);
}

TEST_F(SerialRead, ANewTimeoutCountsFromTheNextReadOn) {
    pcl_serial_set_timeout(m_port.get(), 5);
    std::thread other([&] {
        usleep(100'000);
        pcl_serial_set_timeout(m_port.get(), 100);
    });
    const Stopwatch watch;
    EXPECT_EQ(read(1), "");
    EXPECT_LT(watch.elapsed(), std::chrono::milliseconds(900));
    other.join();
    EXPECT_EQ(m_port->timeout.load(), 100);
}

/// The divisor is the process's: set for the length of a test only.
class SerialTimeDivisor : public SerialRead {
protected:
    void TearDown() override { pcl_serial_set_time_divisor(1); }
};

TEST_F(SerialTimeDivisor, DividesTheWaits) {
    EXPECT_EQ(pcl_serial_time_divisor(), 1U);
    pcl_serial_set_time_divisor(20);
    pcl_serial_set_timeout(m_port.get(), 100);
    const Stopwatch watch;
    EXPECT_EQ(read(1), "");
    EXPECT_GE(watch.elapsed(), std::chrono::milliseconds(500));
    EXPECT_LT(watch.elapsed(), std::chrono::milliseconds(750));
}

TEST_F(SerialTimeDivisor, IsNeverZero) {
    EXPECT_FAILURE(pcl_serial_set_time_divisor(0), PCL_RESULT_ILLEGAL_ARGUMENT, "'divisor' is 0");
    EXPECT_EQ(pcl_serial_time_divisor(), 1U);
}

void ignoreAlarm(int) {}

/// An alarm every millisecond, in this thread.
class AlarmStorm {
public:
    AlarmStorm() {
        struct sigaction action {};
        action.sa_handler = ignoreAlarm;
        sigaction(SIGALRM, &action, &m_previous);
        const itimerval often{{0, 1000}, {0, 1000}};
        setitimer(ITIMER_REAL, &often, nullptr);
    }
    ~AlarmStorm() {
        const itimerval never{};
        setitimer(ITIMER_REAL, &never, nullptr);
        sigaction(SIGALRM, &m_previous, nullptr);
    }
    AlarmStorm(const AlarmStorm &) = delete;
    AlarmStorm &operator=(const AlarmStorm &) = delete;

private:
    struct sigaction m_previous {};
};

TEST_F(SerialRead, SignalsChangeNoWait) {
    pcl_serial_set_timeout(m_port.get(), 20);
    const AlarmStorm storm;
    const Stopwatch watch;
    EXPECT_EQ(read(1), "");
    EXPECT_GE(watch.elapsed(), std::chrono::milliseconds(2000));
    EXPECT_LT(watch.elapsed(), std::chrono::milliseconds(2100));
}

TEST_F(SerialRead, SignalsCutNoTransfer) {
    const std::string all(300'000, 'x');
    std::thread device([&] {
        EXPECT_EQ(m_pty.receive(all.size()), all);
        m_pty.send(all);
    });
    {
        const AlarmStorm storm;
        pcl_serial_set_timeout(m_port.get(), 200);
        EXPECT_NO_FAILURE(pcl_serial_write(m_port.get(), all.data(), all.size()));
        EXPECT_EQ(read(all.size()), all);
    }
    device.join();
}

TEST_F(SerialRead, AHangUpEndsTheWait) {
    pcl_serial_set_timeout(m_port.get(), 100);
    std::thread device([&] {
        usleep(300'000);
        m_pty.hangUp();
    });
    const Stopwatch watch;
    EXPECT_FAILURE(pcl_serial_read_byte(m_port.get()), PCL_RESULT_IO_ERROR,
                   "ReadFile() error: " + std::to_string(EIO));
    EXPECT_GE(watch.elapsed(), std::chrono::milliseconds(250));
    EXPECT_LT(watch.elapsed(), std::chrono::milliseconds(2000));
    device.join();
}

TEST_F(SerialRead, BytesBeforeAHangUpAreDelivered) {
    pcl_serial_set_timeout(m_port.get(), 100);
    m_pty.send("abc");
    ASSERT_TRUE(hasArrived(3));
    std::thread device([&] {
        while (pcl_serial_bytes_available(m_port.get()) != 0) {
            usleep(1000);
        }
        m_pty.hangUp();
    });
    EXPECT_EQ(read(8), "abc");
    device.join();
    EXPECT_FAILURE(read(8), PCL_RESULT_IO_ERROR, "ReadFile() error: " + std::to_string(EIO));
}

TEST_F(SerialRead, AHangUpInsideANumberIsNoTimeout) {
    pcl_serial_set_timeout(m_port.get(), 100);
    m_pty.send("a");
    ASSERT_TRUE(hasArrived(1));
    std::thread device([&] {
        while (pcl_serial_bytes_available(m_port.get()) != 0) {
            usleep(1000);
        }
        m_pty.hangUp();
    });
    EXPECT_FAILURE(pcl_serial_read_u16(m_port.get(), 0), PCL_RESULT_IO_ERROR,
                   "ReadFile() error: " + std::to_string(EIO));
    device.join();
}

TEST_F(SerialRead, ALineThatHungUpFailsEveryOperation) {
    m_pty.hangUp();
    const std::string error = "() error: " + std::to_string(EIO);
    char text[4];
    EXPECT_FAILURE(pcl_serial_read_byte(m_port.get()), PCL_RESULT_IO_ERROR, "ReadFile" + error);
    EXPECT_FAILURE(pcl_serial_read_u32(m_port.get(), 0), PCL_RESULT_IO_ERROR, "ReadFile" + error);
    EXPECT_FAILURE(pcl_serial_read_string(m_port.get(), text, sizeof text), PCL_RESULT_IO_ERROR,
                   "ReadFile" + error);
    EXPECT_FAILURE(pcl_serial_write_byte(m_port.get(), 'x'), PCL_RESULT_IO_ERROR,
                   "WriteFile" + error);
    EXPECT_FAILURE(pcl_serial_purge(m_port.get(), PCL_SERIAL_PURGE_RX), PCL_RESULT_IO_ERROR,
                   "PurgeComm" + error);
    EXPECT_FAILURE(pcl_serial_bytes_available(m_port.get()), PCL_RESULT_IO_ERROR,
                   "ClearCommError" + error);
}

} // namespace
