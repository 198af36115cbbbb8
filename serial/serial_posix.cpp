#include "serial/port.h"
#include "serial/time_divisor.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr std::size_t PATH_SIZE = 128;
constexpr cc_t XON = 0x11;
constexpr cc_t XOFF = 0x13;

int errnoUnless(bool good) {
    return good ? 0 : errno;
}

/// An open descriptor that is closed, and so unlocked, unless it is released.
class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd != PCL_PORT_NO_HANDLE) {
            ::close(m_fd);
        }
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    int get() const { return m_fd; }
    int release() { return std::exchange(m_fd, PCL_PORT_NO_HANDLE); }

private:
    int m_fd;
};

/// False when the path does not fit.
bool formPath(std::array<char, PATH_SIZE> &path, const char *name) {
    const char *folder = name[0] == '/' ? "" : "/dev/";
    const int length = std::snprintf(path.data(), path.size(), "%s%s", folder, name);
    return length >= 0 && static_cast<std::size_t>(length) < path.size();
}

/// Runs the call until it comes to its end without a signal in between.
template <typename Call>
int uninterrupted(Call call) {
    int result = 0;
    do {
        result = call();
    } while (result < 0 && errno == EINTR);
    return result;
}

int openDevice(const char *path) {
    return uninterrupted([&] { return ::open(path, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC); });
}

/// What the system's refusal to open a device means.
PclPortOpening refusal(int error) {
    switch (error) {
    case EBUSY:
        return PclPortOpening::BUSY;
    case ENOENT:
    case ENODEV:
    case ENXIO:
    case ENOTDIR:
        return PclPortOpening::MISSING;
    default:
        return PclPortOpening::DONE;
    }
}

/// Pseudo-terminals have no modem lines.
bool hasModemLines(int fd) {
    int lines = 0;
    return ioctl(fd, TIOCMGET, &lines) == 0;
}

/// True when the line is now ours alone. The lock decides between two that take it. The exclusive
/// mark keeps everybody else out, except the privileged, who have to look for it. It is cleared by
/// the last one that closes the line: on a pseudo-terminal, whose other side keeps it open, it
/// would outlive a process that ends without closing.
bool claim(int fd) {
    if (uninterrupted([&] { return flock(fd, LOCK_EX | LOCK_NB); }) != 0 && errno == EWOULDBLOCK) {
        return false;
    }
    if (!hasModemLines(fd)) {
        return true;
    }
    int exclusive = 0;
    if (ioctl(fd, TIOCGEXCL, &exclusive) == 0 && exclusive != 0) {
        return false;
    }
    ioctl(fd, TIOCEXCL);
    return true;
}

/// The mark outlives the descriptor as long as anybody has the line open, and the lock as long as
/// a forked child has.
void disclaim(int fd) {
    if (hasModemLines(fd)) {
        ioctl(fd, TIOCNXCL);
    }
    flock(fd, LOCK_UN);
}

/// Bytes pass unchanged both ways. VMIN is 1 so that an empty queue can be told from a line that
/// hung up: the first is EAGAIN, the second reads as 0 bytes.
termios rawMode(termios attributes) {
    cfmakeraw(&attributes);
    attributes.c_iflag &= ~static_cast<tcflag_t>(INPCK | IXOFF | IXANY);
    attributes.c_cflag |= CLOCAL | CREAD;
    attributes.c_cc[VMIN] = 1;
    attributes.c_cc[VTIME] = 0;
    return attributes;
}

/// A line without modem lines has no character frame either: it drops size and parity, which
/// counts as an invalid argument although everything else was set.
int setAttributes(int fd, const termios &attributes) {
    if (uninterrupted([&] { return tcsetattr(fd, TCSANOW, &attributes); }) == 0) {
        return 0;
    }
    const int error = errno;
    return error == EINVAL && !hasModemLines(fd) ? 0 : error;
}

int holdRts(int fd) {
    const int rts = TIOCM_RTS;
    return errnoUnless(!hasModemLines(fd) || ioctl(fd, TIOCMBIS, &rts) == 0);
}

/// Waits until everything written has left the line. A line that fails shows it at the next
/// transfer.
void waitForOutput(PclSerialPort &port) {
    if (port.outputPending.exchange(false)) {
        uninterrupted([&] { return tcdrain(port.handle); });
    }
}

std::chrono::nanoseconds readTimeout(const PclSerialPort &port) {
    return std::chrono::nanoseconds(std::chrono::milliseconds(port.timeout.load() * 100)) /
           pcl_serial_time_divisor();
}

} // namespace

PclPortOpened pcl_port_open(PclSerialPort &port, const char *name) {
    std::array<char, PATH_SIZE> path;
    if (!formPath(path, name)) {
        return {PclPortOpening::MISSING, 0};
    }
    Descriptor device(openDevice(path.data()));
    if (device.get() < 0) {
        return {refusal(errno), 0};
    }
    if (isatty(device.get()) == 0) {
        return {PclPortOpening::NOT_SERIAL, 0};
    }
    if (!claim(device.get())) {
        return {PclPortOpening::BUSY, 0};
    }
    if (uninterrupted([&] { return tcgetattr(device.get(), &port.previous); }) != 0) {
        disclaim(device.get());
        return {PclPortOpening::NOT_SERIAL, 0};
    }
    const int error = setAttributes(device.get(), rawMode(port.previous));
    if (error != 0) {
        disclaim(device.get());
        return {PclPortOpening::NOT_RAW, error};
    }
    port.handle = device.release();
    return {PclPortOpening::DONE, 0};
}

int pcl_port_close(PclSerialPort &port) {
    waitForOutput(port);
    setAttributes(port.handle, port.previous);
    disclaim(port.handle);
    const int fd = std::exchange(port.handle, PCL_PORT_NO_HANDLE);
    // The descriptor is gone after an interruption, too.
    return errnoUnless(::close(fd) == 0 || errno == EINTR);
}

int pcl_port_get_line(const PclSerialPort &port, PclLine &line) {
    return errnoUnless(uninterrupted([&] { return tcgetattr(port.handle, &line.attributes); }) ==
                       0);
}

int pcl_port_set_line(PclSerialPort &port, const PclLine &line) {
    waitForOutput(port);
    const int error = setAttributes(port.handle, line.attributes);
    if (error != 0 || (line.attributes.c_cflag & CRTSCTS) != 0) {
        return error;
    }
    return holdRts(port.handle);
}

void pcl_line_set_baud_rate(PclLine &line, std::int32_t baudRate) {
    static constexpr std::array<std::pair<std::int32_t, speed_t>, 11> SPEEDS = {
        {{110, B110},
         {300, B300},
         {600, B600},
         {1200, B1200},
         {2400, B2400},
         {4800, B4800},
         {9600, B9600},
         {19200, B19200},
         {38400, B38400},
         {57600, B57600},
         {115200, B115200}}};
    for (const auto &[rate, speed] : SPEEDS) {
        if (rate == baudRate) {
            cfsetispeed(&line.attributes, speed);
            cfsetospeed(&line.attributes, speed);
        }
    }
}

void pcl_line_set_data_bits(PclLine &line, std::int32_t dataBits) {
    static constexpr std::array<tcflag_t, 4> SIZES = {CS5, CS6, CS7, CS8};
    line.attributes.c_cflag &= ~static_cast<tcflag_t>(CSIZE);
    line.attributes.c_cflag |= SIZES[static_cast<std::size_t>(dataBits - 5)];
}

/// There is no flag for one and a half stop bits: UARTs make them of two with 5 data bits, the only
/// size they are used with.
void pcl_line_set_stop_bits(PclLine &line, std::int32_t stopBits) {
    line.attributes.c_cflag &= ~static_cast<tcflag_t>(CSTOPB);
    if (stopBits != PCL_SERIAL_STOP_BITS_ONE) {
        line.attributes.c_cflag |= CSTOPB;
    }
}

/// Parity is sent but not checked on input: a damaged byte is passed on for the check of the
/// protocol to find.
void pcl_line_set_parity(PclLine &line, std::int32_t parity) {
    line.attributes.c_cflag &= ~static_cast<tcflag_t>(PARENB | PARODD | CMSPAR);
    if (parity != PCL_SERIAL_PARITY_NONE) {
        line.attributes.c_cflag |= PARENB;
    }
    if (parity == PCL_SERIAL_PARITY_ODD) {
        line.attributes.c_cflag |= PARODD;
    }
}

void pcl_line_set_flow_control(PclLine &line, std::int32_t flowControl) {
    line.attributes.c_cflag &= ~static_cast<tcflag_t>(CRTSCTS);
    line.attributes.c_iflag &= ~static_cast<tcflag_t>(IXON | IXOFF | IXANY);
    if (flowControl == PCL_SERIAL_FLOW_CONTROL_HARDWARE) {
        line.attributes.c_cflag |= CRTSCTS;
    }
    if (flowControl == PCL_SERIAL_FLOW_CONTROL_SOFTWARE) {
        line.attributes.c_iflag |= IXON | IXOFF;
        line.attributes.c_cc[VSTART] = XON;
        line.attributes.c_cc[VSTOP] = XOFF;
    }
}

int pcl_port_set_timeout(PclSerialPort &port, std::uint8_t tenths) {
    if (port.handle == PCL_PORT_NO_HANDLE) {
        return EBADF;
    }
    port.timeout.store(tenths);
    return 0;
}

int pcl_port_purge(PclSerialPort &port, std::int32_t type) {
    static constexpr std::array<int, 3> QUEUES = {TCIFLUSH, TCOFLUSH, TCIOFLUSH};
    if (type != PCL_SERIAL_PURGE_RX) {
        port.outputPending.store(false);
    }
    const int queue = QUEUES[static_cast<std::size_t>(type)];
    return errnoUnless(uninterrupted([&] { return tcflush(port.handle, queue); }) == 0);
}

int pcl_port_write(PclSerialPort &port, const void *data, std::size_t count) {
    const auto *next = static_cast<const std::uint8_t *>(data);
    const PclDeadline never(*port.waits);
    bool gone = false;
    while (count > 0) {
        const ssize_t written = ::write(port.handle, next, count);
        if (written > 0) {
            port.outputPending.store(true);
            next += written;
            count -= static_cast<std::size_t>(written);
            continue;
        }
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0 && errno != EAGAIN) {
            return errno;
        }
        if (gone) {
            return EIO;
        }
        const PclWaitResult room = never.wait(port.handle, POLLOUT);
        if (room.outcome == PclWaitOutcome::FAILED) {
            return room.error;
        }
        gone = room.outcome == PclWaitOutcome::HUNG_UP;
    }
    return 0;
}

/// Only the time since the beginning is watched: the wait after a byte is as long and begins later,
/// so that it never ends first.
PclPortRead pcl_port_read(PclSerialPort &port, void *buffer, std::size_t count) {
    auto *next = static_cast<std::uint8_t *>(buffer);
    std::size_t total = 0;
    waitForOutput(port);
    const PclDeadline deadline(*port.waits, readTimeout(port));
    const int interrupt = port.interrupt == nullptr ? PclDeadline::NO_INTERRUPT
                                                    : static_cast<int>(port.interrupt->signal());
    bool gone = false;
    while (total < count) {
        if (port.interrupt != nullptr && port.interrupt->isRaised()) {
            return {total, ECANCELED};
        }
        const ssize_t got = ::read(port.handle, next + total, count - total);
        if (got > 0) {
            total += static_cast<std::size_t>(got);
            continue;
        }
        if (got == 0) {
            return {total, EIO};
        }
        if (errno == EINTR) {
            continue;
        }
        if (errno != EAGAIN) {
            return {total, errno};
        }
        if (gone) {
            return {total, EIO};
        }
        const PclWaitResult input = deadline.wait(port.handle, POLLIN, interrupt);
        if (input.outcome == PclWaitOutcome::TIMED_OUT) {
            return {total, 0};
        }
        if (input.outcome == PclWaitOutcome::FAILED) {
            return {total, input.error};
        }
        gone = input.outcome == PclWaitOutcome::HUNG_UP;
    }
    return {total, 0};
}

int pcl_port_bytes_available(const PclSerialPort &port, std::uint32_t &available) {
    int count = 0;
    if (ioctl(port.handle, FIONREAD, &count) != 0) {
        return errno;
    }
    available = static_cast<std::uint32_t>(count);
    return 0;
}

bool pcl_port_is_gone(const PclSerialPort &port) {
    if (port.handle == PCL_PORT_NO_HANDLE) {
        return true;
    }
    pollfd line{port.handle, 0, 0};
    return ::poll(&line, 1, 0) > 0;
}
