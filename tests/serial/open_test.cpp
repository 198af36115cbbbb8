#include "serial/port_posix.h"
#include "serial/serial.h"
#include "tests/serial/child.h"
#include "tests/serial/line_calls.h"
#include "tests/serial/open_port.h"
#include "tests/serial/pty.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <iterator>
#include <string>

#include <sys/file.h>
#include <sys/stat.h>

namespace {

std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

/// An opening that fails and leaves no descriptor behind.
void expectRefused(const char *name, PclResult_e code, const std::string &detail) {
    const std::ptrdiff_t before = openDescriptors();
    PclSerialPort *port = nullptr;
    EXPECT_FAILURE(port = pcl_serial_open(name), code, detail);
    EXPECT_EQ(port, nullptr);
    EXPECT_EQ(openDescriptors(), before);
}

bool isExclusive(int fd) {
    int exclusive = -1;
    EXPECT_EQ(ioctl(fd, TIOCGEXCL, &exclusive), 0);
    return exclusive != 0;
}

/// A second look at the near end of a line, as the outside world has it.
class Outsider {
public:
    explicit Outsider(const Pty &pty) : m_fd(open(pty.name(), O_RDWR | O_NOCTTY | O_CLOEXEC)) {}
    ~Outsider() { close(m_fd); }
    Outsider(const Outsider &) = delete;
    Outsider &operator=(const Outsider &) = delete;

    int fd() const { return m_fd; }

private:
    int m_fd;
};

std::string busy(const Pty &pty) {
    return std::string("Port is busy: ") + pty.name();
}

TEST(SerialOpen, OpensAndCloses) {
    Pty pty;
    const std::ptrdiff_t before = openDescriptors();
    PclSerialPort *port = pcl_serial_open(pty.name());
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(openDescriptors(), before + 1);
    EXPECT_NO_FAILURE(pcl_serial_close(&port));
    EXPECT_EQ(port, nullptr);
    EXPECT_EQ(openDescriptors(), before);
}

TEST(SerialOpen, PutsTheDeviceFolderInFrontOfAName) {
    Pty pty;
    const PortPtr port = openPort(pty.name() + std::strlen("/dev/"));
    pcl_serial_write_byte(port.get(), 'x');
    EXPECT_EQ(pty.receive(1), "x");
}

TEST(SerialOpen, KeepsTheDescriptorFromOtherPrograms) {
    Pty pty;
    const PortPtr port = openPort(pty.name());
    EXPECT_NE(fcntl(port->handle, F_GETFD) & FD_CLOEXEC, 0);
}

TEST(SerialOpen, PassesBytesUnchangedFromTheStart) {
    Pty pty;
    const PortPtr port = openPort(pty.name());
    std::string every;
    for (int byte = 0; byte < 256; ++byte) {
        every.push_back(static_cast<char>(byte));
    }
    pcl_serial_write(port.get(), every.data(), every.size());
    EXPECT_EQ(pty.receive(every.size()), every);
    pty.send(every);
    std::string back(every.size(), '\0');
    EXPECT_EQ(pcl_serial_read(port.get(), back.data(), back.size()), every.size());
    EXPECT_EQ(back, every);
    EXPECT_TRUE(pty.silent()) << "nothing may be echoed";
}

TEST(SerialOpen, WaitsOneSecondUntilATimeoutIsSet) {
    Pty pty;
    const PortPtr port = openPort(pty.name());
    const Stopwatch watch;
    EXPECT_FAILURE(pcl_serial_read_byte(port.get()), PCL_RESULT_TIMEOUT_ERROR,
                   "Timeout waiting for data");
    EXPECT_GE(watch.elapsed(), std::chrono::milliseconds(1000));
    EXPECT_LT(watch.elapsed(), std::chrono::milliseconds(1300));
}

TEST(SerialOpen, RefusesANullName) {
    EXPECT_FAILURE(pcl_serial_open(nullptr), PCL_RESULT_ILLEGAL_ARGUMENT, "'name' is NULL");
}

TEST(SerialOpen, RefusesAMissingDevice) {
    expectRefused("ttyNoSuchPort7", PCL_RESULT_FILE_NOT_FOUND, "No such port: ttyNoSuchPort7");
    expectRefused("/no/such/port", PCL_RESULT_FILE_NOT_FOUND, "No such port: /no/such/port");
}

TEST(SerialOpen, RefusesTheEmptyName) {
    expectRefused("", PCL_RESULT_FILE_NOT_FOUND, "No such port: ");
}

TEST(SerialOpen, RefusesAPathThroughAFile) {
    expectRefused("/dev/null/tty", PCL_RESULT_FILE_NOT_FOUND, "No such port: /dev/null/tty");
}

// The system says the same of a socket as of a device file without a driver (ENXIO), and anybody
// may make one.
TEST(SerialOpen, RefusesWhatHasNoDeviceBehindIt) {
    const std::string path = testing::TempDir() + "serial_no_driver_" + std::to_string(getpid());
    ASSERT_EQ(mknod(path.c_str(), S_IFSOCK | 0600, 0), 0);
    EXPECT_EQ(open(path.c_str(), O_RDWR | O_CLOEXEC), -1);
    EXPECT_EQ(errno, ENXIO);
    expectRefused(path.c_str(), PCL_RESULT_FILE_NOT_FOUND, "No such port: " + path);
    unlink(path.c_str());
}

TEST(SerialOpen, RefusesATooLongNameAsMissing) {
    const std::string longName(123, 'x');
    expectRefused(longName.c_str(), PCL_RESULT_FILE_NOT_FOUND, "No such port: " + longName);
    const std::string hugeName(400, 'y');
    expectRefused(hugeName.c_str(), PCL_RESULT_FILE_NOT_FOUND, "No such port: " + hugeName);
}

TEST(SerialOpen, TakesAPathThatJustFits) {
    Pty pty;
    const std::size_t longest = 127;
    std::string path(longest - std::strlen(pty.name()), '/');
    path += pty.name();
    ASSERT_EQ(path.size(), longest);
    EXPECT_NO_FAILURE(openPort(path.c_str()));
    path.insert(0, "/");
    expectRefused(path.c_str(), PCL_RESULT_FILE_NOT_FOUND, "No such port: " + path);
}

TEST(SerialOpen, RefusesWhatIsNoTerminal) {
    const std::string path = testing::TempDir() + "serial_file_" + std::to_string(getpid());
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(file, 0);
    expectRefused(path.c_str(), PCL_RESULT_IO_ERROR, "Invalid serial port: " + path);
    EXPECT_EQ(flock(file, LOCK_EX | LOCK_NB), 0) << "the lock must be gone";
    close(file);
    unlink(path.c_str());
    expectRefused("null", PCL_RESULT_IO_ERROR, "Invalid serial port: null");
    expectRefused("/dev/null", PCL_RESULT_IO_ERROR, "Invalid serial port: /dev/null");
}

TEST(SerialOpen, IsBusyForASecondOpeningInTheSameProcess) {
    Pty pty;
    PclSerialPort *port = pcl_serial_open(pty.name());
    expectRefused(pty.name(), PCL_RESULT_DEVICE_BUSY, busy(pty));
    pcl_serial_write_byte(port, 'x');
    EXPECT_EQ(pty.receive(1), "x") << "the first one must go on working";
    pcl_serial_close(&port);
    EXPECT_NO_FAILURE(openPort(pty.name()));
}

TEST(SerialOpen, IsBusyWhileAnotherProcessHasIt) {
    Pty pty;
    {
        const child::Holder holder(
            [&] { return child::messageOf([&] { pcl_serial_open(pty.name()); }); });
        ASSERT_EQ(holder.said(), "nothing");
        expectRefused(pty.name(), PCL_RESULT_DEVICE_BUSY, busy(pty));
    }
}

TEST(SerialOpen, IsBusyForTheUnprivilegedToo) {
    Pty pty;
    const PortPtr port = openPort(pty.name());
    ASSERT_EQ(chmod(pty.name(), 0666), 0);
    EXPECT_EQ(child::unprivileged([&] { return child::messageOf([&] { openPort(pty.name()); }); }),
              "[PCL_RESULT_DEVICE_BUSY] " + busy(pty));
}

TEST(SerialOpen, IsBusyWhenAnOutsiderHasItExclusively) {
    Pty pty;
    const Outsider outsider(pty);
    const line_calls::ModemLines line(true);
    expectRefused(pty.name(), PCL_RESULT_DEVICE_BUSY, busy(pty));
    EXPECT_TRUE(line.exclusive()) << "the outsider's claim must stay";
    EXPECT_EQ(flock(outsider.fd(), LOCK_EX | LOCK_NB), 0) << "the lock must be gone";
}

TEST(SerialOpen, MarksALineWithModemLinesAsExclusiveWhileItIsOpen) {
    Pty pty;
    const line_calls::ModemLines line(false);
    PclSerialPort *port = pcl_serial_open(pty.name());
    EXPECT_TRUE(line.exclusive());
    pcl_serial_close(&port);
    EXPECT_FALSE(line.exclusive());
}

// The mark outlives the process that set it as long as the far end keeps the pseudo-terminal.
TEST(SerialOpen, NeitherSetsNorHeedsTheExclusiveMarkOfAPseudoTerminal) {
    Pty pty;
    const Outsider outsider(pty);
    PclSerialPort *port = pcl_serial_open(pty.name());
    EXPECT_FALSE(isExclusive(outsider.fd()));
    pcl_serial_close(&port);
    ASSERT_EQ(ioctl(outsider.fd(), TIOCEXCL), 0);
    EXPECT_NO_FAILURE(port = pcl_serial_open(pty.name()));
    pcl_serial_close(&port);
    EXPECT_TRUE(isExclusive(outsider.fd())) << "the outsider's mark must stay";
}

TEST(SerialOpen, IsFreeAtOnceAfterAProcessThatEndedWithoutClosing) {
    Pty pty;
    {
        const child::Holder holder(
            [&] { return child::messageOf([&] { pcl_serial_open(pty.name()); }); });
        ASSERT_EQ(holder.said(), "nothing");
    }
    EXPECT_NO_FAILURE(openPort(pty.name()));
}

TEST(SerialOpen, IsBusyWhenAnOutsiderHasItLocked) {
    Pty pty;
    const Outsider outsider(pty);
    ASSERT_EQ(flock(outsider.fd(), LOCK_EX | LOCK_NB), 0);
    expectRefused(pty.name(), PCL_RESULT_DEVICE_BUSY, busy(pty));
}

TEST(SerialOpen, LeavesTheLineFreeWhenClosed) {
    Pty pty;
    const Outsider outsider(pty);
    PclSerialPort *port = pcl_serial_open(pty.name());
    EXPECT_NE(flock(outsider.fd(), LOCK_EX | LOCK_NB), 0);
    pcl_serial_close(&port);
    EXPECT_EQ(flock(outsider.fd(), LOCK_EX | LOCK_NB), 0);
}

TEST(SerialOpen, UnlocksOnClosingEvenIfAForkedChildLivesOn) {
    Pty pty;
    PclSerialPort *port = pcl_serial_open(pty.name());
    const child::Holder heir([] { return std::string("alive"); });
    ASSERT_EQ(heir.said(), "alive");
    pcl_serial_close(&port);
    EXPECT_NO_FAILURE(openPort(pty.name()));
}

TEST(SerialOpen, RestoresTheLineSettingsOnClosing) {
    Pty pty;
    const Outsider outsider(pty);
    termios before{};
    ASSERT_EQ(tcgetattr(outsider.fd(), &before), 0);
    cfsetispeed(&before, B1200);
    cfsetospeed(&before, B1200);
    before.c_cflag |= CSTOPB;
    before.c_cc[VMIN] = 7;
    ASSERT_EQ(tcsetattr(outsider.fd(), TCSANOW, &before), 0);
    ASSERT_EQ(tcgetattr(outsider.fd(), &before), 0);
    PclSerialPort *port = pcl_serial_open(pty.name());
    const PclSerialSettings settings{20, 19200, 8, 1, 0, 1};
    pcl_serial_configure(port, &settings);
    termios during{};
    ASSERT_EQ(tcgetattr(outsider.fd(), &during), 0);
    EXPECT_NE(std::memcmp(&before, &during, sizeof before), 0);
    pcl_serial_close(&port);
    termios after{};
    ASSERT_EQ(tcgetattr(outsider.fd(), &after), 0);
    EXPECT_EQ(after.c_iflag, before.c_iflag);
    EXPECT_EQ(after.c_oflag, before.c_oflag);
    EXPECT_EQ(after.c_cflag, before.c_cflag);
    EXPECT_EQ(after.c_lflag, before.c_lflag);
    EXPECT_EQ(std::memcmp(after.c_cc, before.c_cc, sizeof after.c_cc), 0);
    EXPECT_EQ(cfgetospeed(&after), speed_t{B1200});
}

TEST(SerialOpen, RefusesALineThatTakesNoRawMode) {
    Pty pty;
    const Outsider outsider(pty);
    EXPECT_EQ(child::orphanedOn(outsider.fd(),
                                [&] { return child::messageOf([&] { openPort(pty.name()); }); }),
              "[PCL_RESULT_IO_ERROR] SetCommTimeouts() error: " + std::to_string(EIO));
    EXPECT_NO_FAILURE(openPort(pty.name()));
}

TEST(SerialClose, IgnoresNulls) {
    PclSerialPort *port = nullptr;
    EXPECT_NO_FAILURE(pcl_serial_close(nullptr));
    EXPECT_NO_FAILURE(pcl_serial_close(&port));
}

TEST(SerialClose, TellsOfAFailureWhenThePortIsGone) {
    Pty pty;
    PclSerialPort *port = pcl_serial_open(pty.name());
    close(port->handle);
    EXPECT_FAILURE(pcl_serial_close(&port), PCL_RESULT_IO_ERROR,
                   "CloseHandle() error: " + std::to_string(EBADF));
    EXPECT_EQ(port, nullptr);
}

TEST(SerialClose, ClosesALineThatHungUp) {
    Pty pty;
    PclSerialPort *port = pcl_serial_open(pty.name());
    pcl_serial_write_byte(port, 'x');
    pty.hangUp();
    EXPECT_NO_FAILURE(pcl_serial_close(&port));
}

/// A folder cannot be opened for writing: the port has no usable handle.
class SerialWithoutHandle : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_NO_FAILURE(m_port = pcl_serial_open("/dev"));
        ASSERT_NE(m_port, nullptr);
    }
    void TearDown() override {
        if (m_port != nullptr) {
            EXPECT_FAILURE(pcl_serial_close(&m_port), PCL_RESULT_IO_ERROR, error("CloseHandle"));
        }
    }

    static std::string error(const std::string &call) {
        return call + "() error: " + std::to_string(EBADF);
    }

    PclSerialPort *m_port = nullptr;
};

TEST_F(SerialWithoutHandle, FailsToBeConfigured) {
    const PclSerialSettings settings{20, 19200, 8, 1, 0, 0};
    EXPECT_FAILURE(pcl_serial_configure(m_port, &settings), PCL_RESULT_IO_ERROR,
                   error("GetCommState"));
    EXPECT_FAILURE(pcl_serial_set_baud_rate(m_port, 9600), PCL_RESULT_IO_ERROR,
                   error("GetCommState"));
    EXPECT_FAILURE(pcl_serial_set_timeout(m_port, 20), PCL_RESULT_IO_ERROR,
                   error("SetCommTimeouts"));
}

TEST_F(SerialWithoutHandle, FailsToTransfer) {
    char byte = 0;
    EXPECT_FAILURE(pcl_serial_write_byte(m_port, 'x'), PCL_RESULT_IO_ERROR, error("WriteFile"));
    EXPECT_FAILURE(pcl_serial_read(m_port, &byte, 1), PCL_RESULT_IO_ERROR, error("ReadFile"));
    EXPECT_FAILURE(pcl_serial_read_byte(m_port), PCL_RESULT_IO_ERROR, error("ReadFile"));
    EXPECT_FAILURE(pcl_serial_purge(m_port, PCL_SERIAL_PURGE_BOTH), PCL_RESULT_IO_ERROR,
                   error("PurgeComm"));
    EXPECT_FAILURE(pcl_serial_bytes_available(m_port), PCL_RESULT_IO_ERROR,
                   error("ClearCommError"));
}

TEST_F(SerialWithoutHandle, IsALineThatIsGone) {
    EXPECT_TRUE(pcl_serial_is_gone(m_port));
}

TEST_F(SerialWithoutHandle, FailsToClose) {
    EXPECT_FAILURE(pcl_serial_close(&m_port), PCL_RESULT_IO_ERROR, error("CloseHandle"));
    EXPECT_EQ(m_port, nullptr);
}

TEST(SerialOpen, WithoutPermissionGivesAPortWithoutHandle) {
    Pty pty;
    ASSERT_EQ(chmod(pty.name(), 0), 0);
    EXPECT_EQ(child::unprivileged([&] {
                  return child::messageOf([&] {
                      const PclSerialSettings settings{20, 19200, 8, 1, 0, 0};
                      const PortPtr port = openPort(pty.name());
                      pcl_serial_configure(port.get(), &settings);
                  });
              }),
              "[PCL_RESULT_IO_ERROR] GetCommState() error: " + std::to_string(EBADF));
}

} // namespace
