#include "serial/port_posix.h"
#include "serial/serial.h"
#include "tests/serial/open_port.h"
#include "tests/serial/pty.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

namespace {

class SerialWrite : public testing::Test {
protected:
    Pty m_pty;
    PortPtr m_port = openPort(m_pty.name());
};

std::string pattern(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>(i * 7 + i / 251);
    }
    return bytes;
}

TEST_F(SerialWrite, Bytes) {
    pcl_serial_write(m_port.get(), "abc", 2);
    pcl_serial_write_byte(m_port.get(), 0xFE);
    EXPECT_EQ(m_pty.receive(3), "ab\xFE");
    EXPECT_TRUE(m_pty.silent());
}

TEST_F(SerialWrite, NothingOfNothing) {
    EXPECT_NO_FAILURE(pcl_serial_write(m_port.get(), nullptr, 0));
    EXPECT_NO_FAILURE(pcl_serial_write(m_port.get(), "abc", 0));
    EXPECT_NO_FAILURE(pcl_serial_write_string(m_port.get(), "", 0));
    EXPECT_TRUE(m_pty.silent());
}

TEST_F(SerialWrite, TextWithAndWithoutItsNul) {
    using namespace std::string_literals;
    pcl_serial_write_string(m_port.get(), "ab", 0);
    pcl_serial_write_string(m_port.get(), "cd", 1);
    pcl_serial_write_string(m_port.get(), "", 255);
    EXPECT_EQ(m_pty.receive(6), "abcd\0\0"s);
    EXPECT_TRUE(m_pty.silent());
}

TEST_F(SerialWrite, NumbersInEitherByteOrder) {
    pcl_serial_write_u16(m_port.get(), 0x12F4, 0);
    pcl_serial_write_u16(m_port.get(), 0x12F4, 1);
    pcl_serial_write_u32(m_port.get(), 0x92345678, 0);
    pcl_serial_write_u32(m_port.get(), 0x92345678, 2);
    EXPECT_EQ(m_pty.receive(12), "\x12\xF4\xF4\x12\x92\x34\x56\x78\x78\x56\x34\x92");
}

TEST_F(SerialWrite, WaitsForASlowReaderAndLosesNothing) {
    const std::string all = pattern(200'000);
    std::atomic<bool> written{false};
    std::thread writer([&] {
        EXPECT_NO_FAILURE(pcl_serial_write(m_port.get(), all.data(), all.size()));
        written = true;
    });
    usleep(300'000);
    EXPECT_FALSE(written) << "more than the line holds cannot be out yet";
    const std::string received = m_pty.receive(all.size());
    writer.join();
    EXPECT_TRUE(received == all);
    EXPECT_TRUE(m_pty.silent());
}

/// What has reached the far end's queue cannot be called back, but that one is small: once the line
/// is full, some bytes are still on the way.
class SerialPurgeOfOutput : public SerialWrite {
protected:
    void SetUp() override {
        const std::string chunk(1000, 'x');
        for (ssize_t count = 0; (count = write(m_port->handle, chunk.data(), chunk.size())) > 0;) {
            m_sent += static_cast<std::size_t>(count);
        }
        ASSERT_GT(m_sent, 0U);
    }

    std::size_t receivedAfterPurging(PclSerialPurge_e type) {
        pcl_serial_purge(m_port.get(), type);
        std::size_t count = 0;
        while (!m_pty.silent()) {
            count += m_pty.receive(1).size();
        }
        return count;
    }

    std::size_t m_sent = 0;
};

TEST_F(SerialPurgeOfOutput, OfReceivedBytesKeepsIt) {
    EXPECT_EQ(receivedAfterPurging(PCL_SERIAL_PURGE_RX), m_sent);
}

TEST_F(SerialPurgeOfOutput, OfWrittenBytesDropsIt) {
    EXPECT_LT(receivedAfterPurging(PCL_SERIAL_PURGE_TX), m_sent);
}

TEST_F(SerialPurgeOfOutput, OfBothDropsIt) {
    EXPECT_LT(receivedAfterPurging(PCL_SERIAL_PURGE_BOTH), m_sent);
}

TEST_F(SerialWrite, PurgedOutputIsNotWaitedFor) {
    pcl_serial_write_byte(m_port.get(), 'x');
    pcl_serial_purge(m_port.get(), PCL_SERIAL_PURGE_RX);
    EXPECT_TRUE(m_port->outputPending);
    pcl_serial_purge(m_port.get(), PCL_SERIAL_PURGE_TX);
    EXPECT_FALSE(m_port->outputPending);
}

TEST_F(SerialWrite, AHangUpEndsTheWaitForRoom) {
    const std::string all = pattern(200'000);
    std::thread device([&] {
        usleep(300'000);
        m_pty.hangUp();
    });
    const Stopwatch watch;
    EXPECT_FAILURE(pcl_serial_write(m_port.get(), all.data(), all.size()), PCL_RESULT_IO_ERROR,
                   "WriteFile() error: " + std::to_string(EIO));
    EXPECT_LT(watch.elapsed(), std::chrono::milliseconds(3000));
    device.join();
}

TEST_F(SerialWrite, IsOverBeforeTheTimeoutOfAReadBegins) {
    pcl_serial_set_timeout(m_port.get(), 0);
    pcl_serial_write_byte(m_port.get(), 'x');
    EXPECT_TRUE(m_port->outputPending);
    char byte = 0;
    pcl_serial_read(m_port.get(), &byte, 1);
    EXPECT_FALSE(m_port->outputPending);
}

/// An abort from a second thread: both threads write, read and set timeouts on one port.
TEST_F(SerialWrite, TwoThreadsMayUseThePort) {
    constexpr int ROUNDS = 200;
    constexpr char TO_FIRST = 'a';
    constexpr char TO_SECOND = 'b';
    pcl_serial_set_timeout(m_port.get(), 50);
    std::thread device([&] {
        for (int i = 0; i < 2 * ROUNDS; ++i) {
            ASSERT_EQ(m_pty.receive(1).size(), 1U);
            m_pty.send("!");
        }
    });
    std::atomic<int> answers{0};
    const auto converse = [&](char question) {
        for (int i = 0; i < ROUNDS; ++i) {
            pcl_serial_set_timeout(m_port.get(), 50);
            pcl_serial_write_byte(m_port.get(), static_cast<std::uint8_t>(question));
            answers += pcl_serial_read_byte(m_port.get()) == '!' ? 1 : 0;
        }
    };
    std::thread second([&] { converse(TO_SECOND); });
    converse(TO_FIRST);
    second.join();
    device.join();
    EXPECT_EQ(answers, 2 * ROUNDS);
}

} // namespace
