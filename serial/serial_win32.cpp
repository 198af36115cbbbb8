#include "serial/port.h"
#include "serial/time_divisor.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <utility>

namespace {

constexpr std::size_t PATH_SIZE = 128;
constexpr std::uint8_t INITIAL_TIMEOUT = 10;

int lastErrorUnless(BOOL good) {
    return good != FALSE ? 0 : static_cast<int>(GetLastError());
}

/// An open device that is closed unless it is released.
class Device {
public:
    explicit Device(HANDLE handle) : m_handle(handle) {}
    ~Device() {
        if (m_handle != INVALID_HANDLE_VALUE) {
            CloseHandle(m_handle);
        }
    }
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    HANDLE get() const { return m_handle; }
    HANDLE release() { return std::exchange(m_handle, INVALID_HANDLE_VALUE); }

private:
    HANDLE m_handle;
};

/// False when the path does not fit.
bool formPath(std::array<char, PATH_SIZE> &path, const char *name) {
    const int length = std::snprintf(path.data(), path.size(), "\\\\.\\%s", name);
    return length >= 0 && static_cast<std::size_t>(length) < path.size();
}

/// What the system's refusal to open a device means.
PclPortOpening refusal(DWORD error) {
    switch (error) {
    case ERROR_ACCESS_DENIED:
        return PclPortOpening::BUSY;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
        return PclPortOpening::MISSING;
    default:
        return PclPortOpening::DONE;
    }
}

int getState(HANDLE handle, DCB &state) {
    state.DCBlength = sizeof state;
    return lastErrorUnless(GetCommState(handle, &state));
}

/// The line's own settings; all else is set as for a plain line of bytes, whatever the port's last
/// user left there.
DCB wholeState(const DCB &line) {
    // The driver's buffer may be small, and takes no limit beyond its size.
    constexpr WORD QUEUE_LIMIT = 128;
    constexpr char XON = 0x11;
    constexpr char XOFF = 0x13;
    DCB state{};
    state.DCBlength = sizeof state;
    state.BaudRate = line.BaudRate;
    state.ByteSize = line.ByteSize;
    state.Parity = line.Parity;
    state.StopBits = line.StopBits;
    state.fBinary = 1;
    state.fParity = line.Parity != NOPARITY ? 1 : 0;
    state.fDtrControl = DTR_CONTROL_ENABLE;
    state.fRtsControl = line.fRtsControl;
    state.fOutxCtsFlow = line.fOutxCtsFlow;
    state.fOutX = line.fOutX;
    state.fInX = line.fInX;
    state.fTXContinueOnXoff = 1;
    state.XonLim = QUEUE_LIMIT;
    state.XoffLim = QUEUE_LIMIT;
    state.XonChar = XON;
    state.XoffChar = XOFF;
    return state;
}

int setTimeouts(HANDLE handle, std::uint8_t tenths) {
    const DWORD millis = tenths * DWORD{100} / pcl_serial_time_divisor();
    COMMTIMEOUTS timeouts{};
    // Zeros would wait for ever; the highest interval with zero totals does not wait at all.
    timeouts.ReadIntervalTimeout = millis != 0 ? millis : MAXDWORD;
    timeouts.ReadTotalTimeoutMultiplier = 0;
    timeouts.ReadTotalTimeoutConstant = millis;
    timeouts.WriteTotalTimeoutMultiplier = 0;
    timeouts.WriteTotalTimeoutConstant = 0xFFFFFFFF;
    return lastErrorUnless(SetCommTimeouts(handle, &timeouts));
}

/// An event of the system, or none when it has none to spare.
class Event {
public:
    Event() : m_handle(CreateEventA(nullptr, TRUE, FALSE, nullptr)) {}
    ~Event() {
        if (m_handle != nullptr) {
            CloseHandle(m_handle);
        }
    }
    Event(const Event &) = delete;
    Event &operator=(const Event &) = delete;

    HANDLE get() const { return m_handle; }

private:
    HANDLE m_handle;
};

struct Transfer {
    DWORD count;
    DWORD error; ///< of the system, or 0
};

/// Starts an operation and waits for its end. The event of an interrupt, if there is one, ends it
/// sooner, with ERROR_OPERATION_ABORTED; what was transferred until then counts.
template <typename Start>
Transfer transfer(HANDLE handle, HANDLE interrupt, Start start) {
    const Event event;
    if (event.get() == nullptr) {
        return {0, GetLastError()};
    }
    OVERLAPPED operation{};
    operation.hEvent = event.get();
    if (start(&operation) == FALSE && GetLastError() != ERROR_IO_PENDING) {
        return {0, GetLastError()};
    }
    const std::array<HANDLE, 2> ends = {event.get(), interrupt};
    if (interrupt != nullptr &&
        WaitForMultipleObjects(2, ends.data(), FALSE, INFINITE) != WAIT_OBJECT_0) {
        // This thread has no other operation on the handle.
        CancelIo(handle);
    }
    Transfer done{0, 0};
    if (GetOverlappedResult(handle, &operation, &done.count, TRUE) == FALSE) {
        done.error = GetLastError();
    }
    return done;
}

HANDLE signalOf(const PclInterrupt *interrupt) {
    return interrupt != nullptr ? reinterpret_cast<HANDLE>(interrupt->signal()) : nullptr;
}

/// As much of a count as one call of the system takes.
DWORD portion(std::size_t count) {
    constexpr std::size_t MOST = std::numeric_limits<DWORD>::max();
    return static_cast<DWORD>(std::min(count, MOST));
}

} // namespace

PclPortOpened pcl_port_open(PclSerialPort &port, const char *name) {
    std::array<char, PATH_SIZE> path;
    if (!formPath(path, name)) {
        return {PclPortOpening::MISSING, 0};
    }
    // The system runs one operation at a time on a handle that is not overlapped: the byte of an
    // abort would wait behind the read that it is to end.
    Device device(CreateFileA(path.data(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OVERLAPPED, nullptr));
    if (device.get() == INVALID_HANDLE_VALUE) {
        return {refusal(GetLastError()), 0};
    }
    DCB state{};
    if (getState(device.get(), state) != 0) {
        return {PclPortOpening::NOT_SERIAL, 0};
    }
    const int error = setTimeouts(device.get(), INITIAL_TIMEOUT);
    if (error != 0) {
        return {PclPortOpening::NOT_RAW, error};
    }
    port.handle = device.release();
    return {PclPortOpening::DONE, 0};
}

int pcl_port_close(PclSerialPort &port) {
    return lastErrorUnless(CloseHandle(std::exchange(port.handle, INVALID_HANDLE_VALUE)));
}

int pcl_port_get_line(const PclSerialPort &port, PclLine &line) {
    return getState(port.handle, line.state);
}

int pcl_port_set_line(PclSerialPort &port, const PclLine &line) {
    DCB state = wholeState(line.state);
    return lastErrorUnless(SetCommState(port.handle, &state));
}

void pcl_line_set_baud_rate(PclLine &line, std::int32_t baudRate) {
    line.state.BaudRate = static_cast<DWORD>(baudRate);
}

void pcl_line_set_data_bits(PclLine &line, std::int32_t dataBits) {
    line.state.ByteSize = static_cast<BYTE>(dataBits);
}

void pcl_line_set_stop_bits(PclLine &line, std::int32_t stopBits) {
    static constexpr std::array<BYTE, 3> STOP_BITS = {ONESTOPBIT, TWOSTOPBITS, ONE5STOPBITS};
    line.state.StopBits = STOP_BITS[static_cast<std::size_t>(stopBits - 1)];
}

void pcl_line_set_parity(PclLine &line, std::int32_t parity) {
    static constexpr std::array<BYTE, 3> PARITIES = {NOPARITY, ODDPARITY, EVENPARITY};
    line.state.Parity = PARITIES[static_cast<std::size_t>(parity)];
}

void pcl_line_set_flow_control(PclLine &line, std::int32_t flowControl) {
    const bool software = flowControl == PCL_SERIAL_FLOW_CONTROL_SOFTWARE;
    const bool hardware = flowControl == PCL_SERIAL_FLOW_CONTROL_HARDWARE;
    line.state.fRtsControl = hardware ? RTS_CONTROL_HANDSHAKE : RTS_CONTROL_ENABLE;
    line.state.fOutxCtsFlow = hardware ? 1 : 0;
    line.state.fOutX = software ? 1 : 0;
    line.state.fInX = software ? 1 : 0;
}

int pcl_port_set_timeout(PclSerialPort &port, std::uint8_t tenths) {
    return setTimeouts(port.handle, tenths);
}

int pcl_port_purge(PclSerialPort &port, std::int32_t type) {
    static constexpr std::array<DWORD, 3> QUEUES = {PURGE_RXCLEAR, PURGE_TXCLEAR,
                                                    PURGE_RXCLEAR | PURGE_TXCLEAR};
    return lastErrorUnless(PurgeComm(port.handle, QUEUES[static_cast<std::size_t>(type)]));
}

int pcl_port_write(PclSerialPort &port, const void *data, std::size_t count) {
    const auto *next = static_cast<const std::uint8_t *>(data);
    while (count > 0) {
        const Transfer written = transfer(port.handle, nullptr, [&](OVERLAPPED *operation) {
            return WriteFile(port.handle, next, portion(count), nullptr, operation);
        });
        if (written.error != 0) {
            return static_cast<int>(written.error);
        }
        // A driver that waits for ever and still takes nothing never will take more.
        if (written.count == 0) {
            return ERROR_WRITE_FAULT;
        }
        next += written.count;
        count -= written.count;
    }
    return 0;
}

/// One operation of the system for the whole read, so that it has one deadline: it ends when the
/// count is there or the time is over.
PclPortRead pcl_port_read(PclSerialPort &port, void *buffer, std::size_t count) {
    if (port.interrupt != nullptr && port.interrupt->isRaised()) {
        return {0, ERROR_OPERATION_ABORTED};
    }
    const Transfer got =
        transfer(port.handle, signalOf(port.interrupt), [&](OVERLAPPED *operation) {
            return ReadFile(port.handle, buffer, portion(count), nullptr, operation);
        });
    // Some systems report the end of the waiting as an error, others as success.
    return {got.count, got.error == ERROR_TIMEOUT ? 0 : static_cast<int>(got.error)};
}

int pcl_port_bytes_available(const PclSerialPort &port, std::uint32_t &available) {
    DWORD errors = 0;
    COMSTAT status{};
    if (ClearCommError(port.handle, &errors, &status) == FALSE) {
        return static_cast<int>(GetLastError());
    }
    available = status.cbInQue;
    return 0;
}

bool pcl_port_is_gone(const PclSerialPort &port) {
    std::uint32_t available = 0;
    return pcl_port_bytes_available(port, available) != 0;
}
