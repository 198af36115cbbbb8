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
        ASSERT_NO_FAILURE(pcl_serial_set_timeout(port_.get(), 100));
        pcl_serial_set_interrupt(port_.get(), &interrupt_);
    }

    PclInterrupt interrupt_;
    Pty pty_;
    PortPtr port_ = openPort(pty_.name());
};

TEST_F(SerialInterrupt, EndsAReadThatWaits) {
    std::thread other([&] {
        usleep(50'000);
        interrupt_.raise();
    });
    const Stopwatch watch;
    EXPECT_FAILURE(pcl_serial_read_byte(port_.get()), PCL_RESULT_IO_ERROR, CANCELLED);
    EXPECT_GE(watch.millis(), 45);
    EXPECT_LT(watch.millis(), 1000);
    other.join();
}

TEST_F(SerialInterrupt, EndsAReadThatFindsBytes) {
    pty_.send("bytes");
    ASSERT_TRUE(eventually([&] { return pcl_serial_bytes_available(port_.get()) == 5; }));
    EXPECT_EQ('b', pcl_serial_read_byte(port_.get()));
    interrupt_.raise();
    EXPECT_FAILURE(pcl_serial_read_byte(port_.get()), PCL_RESULT_IO_ERROR, CANCELLED);
    pcl_serial_set_interrupt(port_.get(), nullptr);
    EXPECT_EQ('y', pcl_serial_read_byte(port_.get()));
}

TEST_F(SerialInterrupt, LetsBytesThatCameBeforeItThrough) {
    std::thread other([&] {
        pty_.send("ab");
        usleep(50'000);
        interrupt_.raise();
    });
    std::array<char, 3> bytes{};
    std::size_t count = 0;
    EXPECT_NO_FAILURE(count = pcl_serial_read(port_.get(), bytes.data(), bytes.size()));
    EXPECT_EQ(2U, count);
    EXPECT_FAILURE(count = pcl_serial_read(port_.get(), bytes.data(), bytes.size()),
                   PCL_RESULT_IO_ERROR, CANCELLED);
    other.join();
}

TEST_F(SerialInterrupt, LeavesWritesAlone) {
    interrupt_.raise();
    EXPECT_TRUE(interrupt_.isRaised());
    EXPECT_NO_FAILURE(pcl_serial_write_byte(port_.get(), 'x'));
    EXPECT_EQ("x", pty_.receive(1));
}

} // namespace
