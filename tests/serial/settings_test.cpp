#include "serial/port.h"
#include "serial/serial.h"
#include "tests/serial/child.h"
#include "tests/serial/line_calls.h"
#include "tests/serial/open_port.h"
#include "tests/serial/pty.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

constexpr PclSerialSettings SESSION_SETTINGS{20, 19200, 8, 1, 0, 0};
constexpr std::int32_t LOWEST = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t HIGHEST = std::numeric_limits<std::int32_t>::max();

struct Value {
    std::int32_t value;
    tcflag_t flags;
};

class SerialSettings : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_NO_FAILURE(pcl_serial_configure(m_port.get(), &SESSION_SETTINGS));
    }

    static const termios &requested() { return line_calls::settings(); }

    Pty m_pty;
    PortPtr m_port = openPort(m_pty.name());
};

TEST_F(SerialSettings, SessionSettings) {
    const termios line = m_pty.settings();
    EXPECT_EQ(cfgetospeed(&line), speed_t{B19200});
    EXPECT_EQ(cfgetispeed(&line), speed_t{B19200});
    EXPECT_EQ(line.c_cflag & (CSIZE | CSTOPB | PARENB | CRTSCTS), tcflag_t{CS8});
    EXPECT_EQ(line.c_cflag & (CLOCAL | CREAD), tcflag_t{CLOCAL | CREAD});
    EXPECT_EQ(line.c_iflag & (IXON | IXOFF | IXANY | ISTRIP | INLCR | ICRNL | IGNCR), tcflag_t{0});
    EXPECT_EQ(line.c_oflag & OPOST, tcflag_t{0});
    EXPECT_EQ(line.c_lflag & (ECHO | ECHONL | ICANON | ISIG | IEXTEN), tcflag_t{0});
    EXPECT_EQ(m_port->timeout.load(), 20);
}

TEST_F(SerialSettings, BaudRates) {
    for (const Value &rate :
         {Value{110, B110}, Value{300, B300}, Value{600, B600}, Value{1200, B1200},
          Value{2400, B2400}, Value{4800, B4800}, Value{9600, B9600}, Value{19200, B19200},
          Value{38400, B38400}, Value{57600, B57600}, Value{115200, B115200}}) {
        EXPECT_NO_FAILURE(pcl_serial_set_baud_rate(m_port.get(), rate.value));
        const termios line = m_pty.settings();
        EXPECT_EQ(cfgetospeed(&line), rate.flags) << rate.value;
        EXPECT_EQ(cfgetispeed(&line), rate.flags) << rate.value;
    }
}

TEST_F(SerialSettings, UnsupportedBaudRates) {
    for (const std::int32_t rate :
         {0, 1, 75, 109, 14400, 19201, 28800, 115201, 230400, -9600, LOWEST, HIGHEST}) {
        EXPECT_FAILURE(pcl_serial_set_baud_rate(m_port.get(), rate), PCL_RESULT_RUNTIME_ERROR,
                       "Unsupported baudRate: " + std::to_string(rate));
    }
    const termios line = m_pty.settings();
    EXPECT_EQ(cfgetospeed(&line), speed_t{B19200});
}

TEST_F(SerialSettings, DataBits) {
    for (const Value &size : {Value{5, CS5}, Value{6, CS6}, Value{7, CS7}, Value{8, CS8}}) {
        EXPECT_NO_FAILURE(pcl_serial_set_data_bits(m_port.get(), size.value));
        EXPECT_EQ(requested().c_cflag & CSIZE, size.flags) << size.value;
    }
}

TEST_F(SerialSettings, UnsupportedDataBits) {
    for (const std::int32_t size : {0, 4, 9, 16, -8, LOWEST, HIGHEST}) {
        EXPECT_FAILURE(pcl_serial_set_data_bits(m_port.get(), size), PCL_RESULT_RUNTIME_ERROR,
                       "Unsupported dataBits: " + std::to_string(size));
    }
    EXPECT_EQ(requested().c_cflag & CSIZE, tcflag_t{CS8});
}

TEST_F(SerialSettings, StopBits) {
    for (const Value &bits : {Value{2, CSTOPB}, Value{1, 0}, Value{3, CSTOPB}}) {
        EXPECT_NO_FAILURE(pcl_serial_set_stop_bits(m_port.get(), bits.value));
        EXPECT_EQ(m_pty.settings().c_cflag & CSTOPB, bits.flags) << bits.value;
    }
}

TEST_F(SerialSettings, UnsupportedStopBits) {
    for (const std::int32_t bits : {0, 4, 15, -1, LOWEST, HIGHEST}) {
        EXPECT_FAILURE(pcl_serial_set_stop_bits(m_port.get(), bits), PCL_RESULT_RUNTIME_ERROR,
                       "Unsupported stopBits: " + std::to_string(bits));
    }
    EXPECT_EQ(m_pty.settings().c_cflag & CSTOPB, tcflag_t{0});
}

TEST_F(SerialSettings, Parity) {
    for (const Value &parity : {Value{1, PARENB | PARODD}, Value{2, PARENB}, Value{0, 0},
                                Value{2, PARENB}, Value{1, PARENB | PARODD}}) {
        EXPECT_NO_FAILURE(pcl_serial_set_parity(m_port.get(), parity.value));
        EXPECT_EQ(requested().c_cflag & (PARENB | PARODD | CMSPAR), parity.flags) << parity.value;
    }
}

TEST_F(SerialSettings, UnsupportedParity) {
    for (const std::int32_t parity : {3, 4, -1, LOWEST, HIGHEST}) {
        EXPECT_FAILURE(pcl_serial_set_parity(m_port.get(), parity), PCL_RESULT_RUNTIME_ERROR,
                       "Unsupported parity: " + std::to_string(parity));
    }
    EXPECT_EQ(requested().c_cflag & (PARENB | PARODD), tcflag_t{0});
}

TEST_F(SerialSettings, FlowControl) {
    struct Flow {
        std::int32_t value;
        tcflag_t input;
        tcflag_t control;
    };
    for (const Flow &flow : {Flow{1, IXON | IXOFF, 0}, Flow{2, 0, CRTSCTS}, Flow{0, 0, 0},
                             Flow{2, 0, CRTSCTS}, Flow{1, IXON | IXOFF, 0}}) {
        EXPECT_NO_FAILURE(pcl_serial_set_flow_control(m_port.get(), flow.value));
        const termios line = m_pty.settings();
        EXPECT_EQ(line.c_iflag & (IXON | IXOFF | IXANY), flow.input) << flow.value;
        EXPECT_EQ(line.c_cflag & CRTSCTS, flow.control) << flow.value;
    }
}

TEST_F(SerialSettings, SoftwareFlowControlStopsAndResumesTheOutput) {
    pcl_serial_set_flow_control(m_port.get(), PCL_SERIAL_FLOW_CONTROL_SOFTWARE);
    m_pty.send("\x13");
    char byte = 0;
    pcl_serial_set_timeout(m_port.get(), 1);
    EXPECT_EQ(pcl_serial_read(m_port.get(), &byte, 1), 0U) << "XOFF is no data";
    ASSERT_LT(write(m_port->handle, "x", 1), 1) << "the output must stand still";
    m_pty.send("\x11");
    pcl_serial_write_byte(m_port.get(), 'y');
    EXPECT_EQ(m_pty.receive(1), "y");
}

TEST_F(SerialSettings, UnsupportedFlowControl) {
    for (const std::int32_t flow : {3, 4, -1, LOWEST, HIGHEST}) {
        EXPECT_FAILURE(pcl_serial_set_flow_control(m_port.get(), flow), PCL_RESULT_RUNTIME_ERROR,
                       "Unsupported flowControl: " + std::to_string(flow));
    }
    EXPECT_EQ(m_pty.settings().c_cflag & CRTSCTS, tcflag_t{0});
}

TEST_F(SerialSettings, OneSettingLeavesTheOthers) {
    const PclSerialSettings settings{7, 1200, 8, 2, 0, 1};
    pcl_serial_configure(m_port.get(), &settings);
    pcl_serial_set_baud_rate(m_port.get(), 2400);
    const termios line = m_pty.settings();
    EXPECT_EQ(cfgetospeed(&line), speed_t{B2400});
    EXPECT_NE(line.c_cflag & CSTOPB, tcflag_t{0});
    EXPECT_EQ(line.c_iflag & (IXON | IXOFF), tcflag_t{IXON | IXOFF});
    EXPECT_EQ(m_port->timeout.load(), 7);
}

TEST_F(SerialSettings, ConfiguringSetsEverything) {
    const PclSerialSettings settings{255, 115200, 7, 3, 2, 2};
    EXPECT_NO_FAILURE(pcl_serial_configure(m_port.get(), &settings));
    EXPECT_EQ(m_port->timeout.load(), 255);
    EXPECT_EQ(cfgetospeed(&requested()), speed_t{B115200});
    EXPECT_EQ(requested().c_cflag & (CSIZE | CSTOPB | PARENB | PARODD | CRTSCTS),
              tcflag_t{CS7 | CSTOPB | PARENB | CRTSCTS});
}

/// The first unsupported value counts, and the line stays as it was; the timeout comes first.
TEST_F(SerialSettings, ConfiguringChecksInOrder) {
    const termios before = m_pty.settings();
    PclSerialSettings settings{9, 14400, 9, 0, 3, 3};
    const auto refused = [&](const std::string &detail) {
        EXPECT_FAILURE(pcl_serial_configure(m_port.get(), &settings), PCL_RESULT_RUNTIME_ERROR,
                       detail);
    };
    refused("Unsupported baudRate: 14400");
    settings.baudRate = 9600;
    refused("Unsupported dataBits: 9");
    settings.dataBits = 7;
    refused("Unsupported stopBits: 0");
    settings.stopBits = 2;
    refused("Unsupported parity: 3");
    settings.parity = 1;
    refused("Unsupported flowControl: 3");
    const termios after = m_pty.settings();
    EXPECT_EQ(cfgetospeed(&after), cfgetospeed(&before));
    EXPECT_EQ(after.c_cflag, before.c_cflag);
    EXPECT_EQ(after.c_iflag, before.c_iflag);
    EXPECT_EQ(requested().c_cflag & CSIZE, tcflag_t{CS8});
    EXPECT_EQ(m_port->timeout.load(), 9);
}

TEST_F(SerialSettings, ALineThatHungUpHasNoSettings) {
    m_pty.hangUp();
    const std::string detail = "GetCommState() error: " + std::to_string(EIO);
    EXPECT_FAILURE(pcl_serial_configure(m_port.get(), &SESSION_SETTINGS), PCL_RESULT_IO_ERROR,
                   detail);
    EXPECT_FAILURE(pcl_serial_set_parity(m_port.get(), 0), PCL_RESULT_IO_ERROR, detail);
}

/// The settings are read before the value is looked at.
TEST_F(SerialSettings, ALineThatHungUpFailsBeforeTheValueIsChecked) {
    m_pty.hangUp();
    EXPECT_FAILURE(pcl_serial_set_stop_bits(m_port.get(), 0), PCL_RESULT_IO_ERROR,
                   "GetCommState() error: " + std::to_string(EIO));
}

TEST(SerialSettingsRefused, BySomeoneInTheBackground) {
    Pty pty;
    const PortPtr port = openPort(pty.name());
    const auto message = [&](auto change) {
        return child::orphanedOn(port->handle, [&] { return child::messageOf(change); });
    };
    const std::string detail = "[PCL_RESULT_IO_ERROR] SetCommState() error: " + std::to_string(EIO);
    EXPECT_EQ(message([&] { pcl_serial_configure(port.get(), &SESSION_SETTINGS); }), detail);
    EXPECT_EQ(message([&] { pcl_serial_set_baud_rate(port.get(), 1200); }), detail);
}

} // namespace
