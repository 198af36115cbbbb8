// Ending the waits of a port from outside.

#include "serial/interrupt.h"
#include "serial/serial.h"
#include "tests/serial/open_port.h"
#include "tests/serial/pty.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <array>
#include <thread>

namespace {

constexpr char CANCELLED[] = "ReadFile() error: 125";

class SerialInterrupt : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_NO_FAILURE(pcl_serial_set_timeout(m_port.get(), 100));
        pcl_serial_set_interrupt(m_port.get(), &m_interrupt);
    }

    PclInterrupt m_interrupt;
    Pty m_pty;
    PortPtr m_port = openPort(m_pty.name());
};

TEST_F(SerialInterrupt, EndsAReadThatWaits) {
    const Stopwatch watch;
    std::thread other([&] {
        usleep(50'000);
        m_interrupt.raise();
    });
    EXPECT_FAILURE(pcl_serial_read_byte(m_port.get()), PCL_RESULT_IO_ERROR, CANCELLED);
    EXPECT_GE(watch.elapsed(), std::chrono::milliseconds(45));
    EXPECT_LT(watch.elapsed(), std::chrono::milliseconds(1000));
    other.join();
}

TEST_F(SerialInterrupt, EndsAReadThatFindsBytes) {
    m_pty.send("bytes");
    ASSERT_TRUE(eventually([&] { return pcl_serial_bytes_available(m_port.get()) == 5; }));
    EXPECT_EQ('b', pcl_serial_read_byte(m_port.get()));
    m_interrupt.raise();
    EXPECT_FAILURE(pcl_serial_read_byte(m_port.get()), PCL_RESULT_IO_ERROR, CANCELLED);
    pcl_serial_set_interrupt(m_port.get(), nullptr);
    EXPECT_EQ('y', pcl_serial_read_byte(m_port.get()));
}

TEST_F(SerialInterrupt, LetsBytesThatCameBeforeItThrough) {
    std::thread other([&] {
        m_pty.send("ab");
        usleep(50'000);
        m_interrupt.raise();
    });
    std::array<char, 3> bytes{};
    std::size_t count = 0;
    EXPECT_NO_FAILURE(count = pcl_serial_read(m_port.get(), bytes.data(), bytes.size()));
    EXPECT_EQ(2U, count);
    EXPECT_FAILURE(count = pcl_serial_read(m_port.get(), bytes.data(), bytes.size()),
                   PCL_RESULT_IO_ERROR, CANCELLED);
    other.join();
}

TEST_F(SerialInterrupt, LeavesWritesAlone) {
    m_interrupt.raise();
    EXPECT_TRUE(m_interrupt.isRaised());
    EXPECT_NO_FAILURE(pcl_serial_write_byte(m_port.get(), 'x'));
    EXPECT_EQ("x", m_pty.receive(1));
}

} // namespace
