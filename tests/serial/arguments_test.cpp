#include "serial/serial.h"
#include "tests/serial/open_port.h"
#include "tests/serial/pty.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

constexpr PclSerialSettings SETTINGS{20, 19200, 8, 1, 0, 0};

TEST(SerialArguments, ANullPortIsNamed) {
    char bytes[4] = {};
    const std::vector<std::function<void()>> operations = {
        [] { pcl_serial_configure(nullptr, &SETTINGS); },
        [] { pcl_serial_set_timeout(nullptr, 20); },
        [] { pcl_serial_set_baud_rate(nullptr, 1); },
        [] { pcl_serial_set_data_bits(nullptr, 1); },
        [] { pcl_serial_set_stop_bits(nullptr, 0); },
        [] { pcl_serial_set_parity(nullptr, 9); },
        [] { pcl_serial_set_flow_control(nullptr, 9); },
        [] { pcl_serial_purge(nullptr, 9); },
        [] { pcl_serial_write(nullptr, nullptr, 1); },
        [] { pcl_serial_write_byte(nullptr, 1); },
        [] { pcl_serial_write_string(nullptr, nullptr, 1); },
        [] { pcl_serial_write_u16(nullptr, 1, 0); },
        [] { pcl_serial_write_u32(nullptr, 1, 0); },
        [&] { pcl_serial_read(nullptr, bytes, 1); },
        [] { pcl_serial_read_byte(nullptr); },
        [] { pcl_serial_read_u16(nullptr, 0); },
        [] { pcl_serial_read_u32(nullptr, 0); },
        [&] { pcl_serial_read_string(nullptr, bytes, 1); },
        [] { pcl_serial_bytes_available(nullptr); }};
    for (std::size_t i = 0; i < operations.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_FAILURE(operations[i](), PCL_RESULT_ILLEGAL_ARGUMENT, "'port' is NULL");
        const ScopedHandler handler;
        operations[i]();
        EXPECT_EQ(handler.count(), 1U) << "a failure is raised once, handler or not";
        EXPECT_EQ(handler.message(), "[PCL_RESULT_ILLEGAL_ARGUMENT] 'port' is NULL");
    }
}

TEST(SerialArguments, NullDataIsNamed) {
    Pty pty;
    const PortPtr port = openPort(pty.name());
    char byte = 0;
    EXPECT_FAILURE(pcl_serial_configure(port.get(), nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'settings' is NULL");
    EXPECT_FAILURE(pcl_serial_write(port.get(), nullptr, 1), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'data' is NULL");
    EXPECT_FAILURE(pcl_serial_write_string(port.get(), nullptr, 1), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'text' is NULL");
    EXPECT_FAILURE(pcl_serial_read(port.get(), nullptr, 1), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'buffer' is NULL");
    EXPECT_FAILURE(pcl_serial_read_string(port.get(), nullptr, 1), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'buffer' is NULL");
    EXPECT_FAILURE(pcl_serial_read_string(port.get(), &byte, 0), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'size' is 0");
    EXPECT_TRUE(pty.silent());
}

/// With a handler that returns, each failure is told once and the results are harmless.
class SerialReturningHandler : public testing::Test {
protected:
    void expectTold(const std::string &message) {
        EXPECT_EQ(m_handler.count(), 1U);
        EXPECT_EQ(m_handler.message(), message);
        m_handler.clear();
    }

    ScopedHandler m_handler;
};

TEST_F(SerialReturningHandler, OpeningGivesNull) {
    EXPECT_EQ(pcl_serial_open(nullptr), nullptr);
    expectTold("[PCL_RESULT_ILLEGAL_ARGUMENT] 'name' is NULL");
    EXPECT_EQ(pcl_serial_open("/no/such/port"), nullptr);
    expectTold("[PCL_RESULT_FILE_NOT_FOUND] No such port: /no/such/port");
    EXPECT_EQ(pcl_serial_open("null"), nullptr);
    expectTold("[PCL_RESULT_IO_ERROR] Invalid serial port: null");
    pcl_serial_list(nullptr);
    expectTold("[PCL_RESULT_ILLEGAL_ARGUMENT] 'out' is NULL");
}

TEST_F(SerialReturningHandler, TimeoutsGiveZero) {
    Pty pty;
    const PortPtr port = openPort(pty.name());
    pcl_serial_set_timeout(port.get(), 0);
    const std::string timeout = "[PCL_RESULT_TIMEOUT_ERROR] Timeout waiting for data";
    char text[4] = "###";
    EXPECT_EQ(pcl_serial_read_byte(port.get()), 0);
    expectTold(timeout);
    EXPECT_EQ(pcl_serial_read_u16(port.get(), 0), 0);
    expectTold(timeout);
    EXPECT_EQ(pcl_serial_read_u32(port.get(), 0), 0U);
    expectTold(timeout);
    EXPECT_EQ(pcl_serial_read_string(port.get(), text, sizeof text), nullptr);
    expectTold(timeout);
}

TEST_F(SerialReturningHandler, AnUnsupportedValueChangesNothing) {
    Pty pty;
    const PortPtr port = openPort(pty.name());
    pcl_serial_configure(port.get(), &SETTINGS);
    const PclSerialSettings unsupported{20, 1200, 8, 1, 7, 9};
    pcl_serial_configure(port.get(), &unsupported);
    expectTold("[PCL_RESULT_RUNTIME_ERROR] Unsupported parity: 7");
    pcl_serial_set_baud_rate(port.get(), 14400);
    expectTold("[PCL_RESULT_RUNTIME_ERROR] Unsupported baudRate: 14400");
    pcl_serial_purge(port.get(), 3);
    expectTold("[PCL_RESULT_RUNTIME_ERROR] Unsupported purgeType: 3");
    const termios line = pty.settings();
    EXPECT_EQ(cfgetospeed(&line), speed_t{B19200});
}

TEST_F(SerialReturningHandler, AHangUpIsToldOnce) {
    Pty pty;
    PclSerialPort *port = pcl_serial_open(pty.name());
    pty.hangUp();
    const std::string error = "() error: " + std::to_string(EIO);
    EXPECT_EQ(pcl_serial_read_byte(port), 0);
    expectTold("[PCL_RESULT_IO_ERROR] ReadFile" + error);
    pcl_serial_write_u16(port, 1, 0);
    expectTold("[PCL_RESULT_IO_ERROR] WriteFile" + error);
    EXPECT_EQ(pcl_serial_bytes_available(port), 0U);
    expectTold("[PCL_RESULT_IO_ERROR] ClearCommError" + error);
    pcl_serial_configure(port, &SETTINGS);
    expectTold("[PCL_RESULT_IO_ERROR] GetCommState" + error);
    pcl_serial_close(&port);
    EXPECT_EQ(m_handler.count(), 0U);
}

} // namespace
