// The serial port on Windows: what reaches the line's DCB and timeouts, the texts of the failures,
// the waits, and the ports that the registry lists.
// usage: windows_serial PORT, with a device at the port that keeps silent

#include "serial/serial.h"
#include "core/guard.h"
#include "core/list.h"
#include "core/owned.h"
#include "core/string_list.h"
#include "serial/port_win32.h"
#include "tests/windows/imports.h"

#include <cstring>
#include <functional>
#include <iostream>
#include <string>
#include <thread>

namespace {

using ListPtr = PclOwned<PclList, pcl_list_destroy>;

int cases = 0;
int mistakes = 0;

void expect(const std::string &what, bool right) {
    ++cases;
    if (!right) {
        std::cout << what << ": NOT AS EXPECTED" << std::endl;
        ++mistakes;
    }
}

void expectFailure(const std::function<void()> &call, const std::string &message) {
    const PclException failure = pcl_attempt(call);
    expect(message + ", not \"" + failure.message + "\"", message == failure.message);
}

void expectNone(const std::string &what, const std::function<void()> &call) {
    const PclException failure = pcl_attempt(call);
    expect(what + ": " + failure.message, failure.message[0] == '\0');
}

DCB stateOf(const PclSerialPort *port) {
    DCB state{};
    state.DCBlength = sizeof state;
    expect("the line's settings can be read", GetCommState(port->handle, &state) != FALSE);
    return state;
}

void checkNames() {
    PclSerialPort *port = nullptr;
    expectFailure([&] { port = pcl_serial_open("COM77"); },
                  "[PCL_RESULT_FILE_NOT_FOUND] No such port: COM77");
    expectFailure([&] { port = pcl_serial_open(""); },
                  "[PCL_RESULT_FILE_NOT_FOUND] No such port: ");
    expectFailure([&] { port = pcl_serial_open(nullptr); },
                  "[PCL_RESULT_ILLEGAL_ARGUMENT] 'name' is NULL");
    const std::string tooLong(200, 'C');
    expectFailure([&] { port = pcl_serial_open(tooLong.c_str()); },
                  "[PCL_RESULT_FILE_NOT_FOUND] No such port: " + tooLong);
    expectFailure([&] { port = pcl_serial_open("NUL"); },
                  "[PCL_RESULT_IO_ERROR] Invalid serial port: NUL");
    expect("nothing was opened", port == nullptr);
}

/// While it lives, a function of the system is another one for this program.
class Replaced {
public:
    template <typename Function>
    Replaced(const char *name, Function *other)
        : m_name(name),
          m_system(replace(reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(other)))) {
        expect(m_name + " is replaced", m_system != nullptr);
    }
    ~Replaced() { replace(m_system); }
    Replaced(const Replaced &) = delete;
    Replaced &operator=(const Replaced &) = delete;

private:
    FARPROC replace(FARPROC other) const {
        return replace_import(GetModuleHandleA(nullptr), m_name.c_str(), other);
    }

    std::string m_name;
    FARPROC m_system;
};

HANDLE WINAPI refuseToOpen(LPCSTR, DWORD, DWORD, SECURITY_ATTRIBUTES *, DWORD, DWORD, HANDLE) {
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
}

// Wine lets a second process open the port.
void checkBusyPort(const char *name) {
    PclSerialPort *port = nullptr;
    const Replaced open("CreateFileA", refuseToOpen);
    expectFailure([&] { port = pcl_serial_open(name); },
                  std::string("[PCL_RESULT_DEVICE_BUSY] Port is busy: ") + name);
    expect("nothing was opened", port == nullptr);
}

DCB asked{};

BOOL WINAPI getDirtyState(HANDLE, DCB *state) {
    std::memset(state, 0xFF, sizeof *state);
    return TRUE;
}

BOOL WINAPI keepState(HANDLE, DCB *state) {
    asked = *state;
    return TRUE;
}

// What the last user of the port has set is not what a session gets.
void checkWholeState(PclSerialPort *port) {
    const Replaced get("GetCommState", getDirtyState);
    const Replaced set("SetCommState", keepState);
    DCB plain{};
    plain.DCBlength = sizeof plain;
    plain.BaudRate = 19200;
    plain.ByteSize = 8;
    plain.Parity = NOPARITY;
    plain.StopBits = ONESTOPBIT;
    plain.fBinary = 1;
    plain.fDtrControl = DTR_CONTROL_ENABLE;
    plain.fRtsControl = RTS_CONTROL_ENABLE;
    plain.fTXContinueOnXoff = 1;
    plain.XonLim = 128;
    plain.XoffLim = 128;
    plain.XonChar = 0x11;
    plain.XoffChar = 0x13;
    const auto expectState = [&](const char *what, const PclSerialSettings &settings, DCB state) {
        expectNone(what, [&] { pcl_serial_configure(port, &settings); });
        expect(std::string("nothing but ") + what, std::memcmp(&asked, &state, sizeof state) == 0);
    };
    expectState("a plain line", {20, 19200, 8, 1, 0, 0}, plain);

    DCB software = plain;
    software.fOutX = 1;
    software.fInX = 1;
    expectState("software flow control", {20, 19200, 8, 1, 0, 1}, software);

    DCB hardware = plain;
    hardware.fOutxCtsFlow = 1;
    hardware.fRtsControl = RTS_CONTROL_HANDSHAKE;
    expectState("hardware flow control", {20, 19200, 8, 1, 0, 2}, hardware);

    DCB even = plain;
    even.BaudRate = 9600;
    even.ByteSize = 7;
    even.Parity = EVENPARITY;
    even.fParity = 1;
    even.StopBits = ONE5STOPBITS;
    expectState("even parity", {20, 9600, 7, 3, 2, 0}, even);
}

void checkSettings(PclSerialPort *port) {
    const PclSerialSettings session{20, 19200, 8, 1, 0, 0};
    expectNone("the session's settings", [&] { pcl_serial_configure(port, &session); });
    const DCB state = stateOf(port);
    expect("19200 baud", state.BaudRate == 19200);
    expect("8 data bits", state.ByteSize == 8);
    expect("one stop bit", state.StopBits == ONESTOPBIT);
    expect("no parity", state.Parity == NOPARITY);
    expect("RTS on", state.fRtsControl == RTS_CONTROL_ENABLE);
    expect("CTS not watched", state.fOutxCtsFlow == 0);
    expect("no XON/XOFF", state.fOutX == 0 && state.fInX == 0);

    COMMTIMEOUTS timeouts{};
    expect("the timeouts can be read", GetCommTimeouts(port->handle, &timeouts) != FALSE);
    expect("2 s between bytes", timeouts.ReadIntervalTimeout == 2000);
    expect("2 s in all",
           timeouts.ReadTotalTimeoutConstant == 2000 && timeouts.ReadTotalTimeoutMultiplier == 0);
    expect("writes wait for ever", timeouts.WriteTotalTimeoutConstant == 0xFFFFFFFF &&
                                       timeouts.WriteTotalTimeoutMultiplier == 0);

    for (const std::int32_t rate :
         {110, 300, 600, 1200, 2400, 4800, 9600, 38400, 57600, 115200, 19200}) {
        expectNone(std::to_string(rate) + " baud", [&] { pcl_serial_set_baud_rate(port, rate); });
        expect(std::to_string(rate) + " baud arrive",
               stateOf(port).BaudRate == static_cast<DWORD>(rate));
    }
    expectFailure([&] { pcl_serial_set_baud_rate(port, 14400); },
                  "[PCL_RESULT_RUNTIME_ERROR] Unsupported baudRate: 14400");
    expectFailure([&] { pcl_serial_set_data_bits(port, 9); },
                  "[PCL_RESULT_RUNTIME_ERROR] Unsupported dataBits: 9");
    expectFailure([&] { pcl_serial_set_stop_bits(port, 0); },
                  "[PCL_RESULT_RUNTIME_ERROR] Unsupported stopBits: 0");
    expectFailure([&] { pcl_serial_set_parity(port, 3); },
                  "[PCL_RESULT_RUNTIME_ERROR] Unsupported parity: 3");
    expectFailure([&] { pcl_serial_set_flow_control(port, 3); },
                  "[PCL_RESULT_RUNTIME_ERROR] Unsupported flowControl: 3");
    expectFailure([&] { pcl_serial_purge(port, 3); },
                  "[PCL_RESULT_RUNTIME_ERROR] Unsupported purgeType: 3");

    // A pseudo terminal drops the parity and the size of a character, so that only what the system
    // was asked for can be told apart, not what it keeps.
    expectNone("two stop bits", [&] { pcl_serial_set_stop_bits(port, 2); });
    expect("two stop bits arrive", stateOf(port).StopBits == TWOSTOPBITS);
    expectNone("one stop bit", [&] { pcl_serial_set_stop_bits(port, 1); });
    expectNone("software flow control", [&] { pcl_serial_set_flow_control(port, 1); });
    expect("XON/XOFF both ways", stateOf(port).fOutX != 0 && stateOf(port).fInX != 0);
    expectNone("no flow control", [&] { pcl_serial_set_flow_control(port, 0); });
    expect("no XON/XOFF again", stateOf(port).fOutX == 0 && stateOf(port).fInX == 0);
}

DWORD timeOf(const std::function<void()> &call) {
    const DWORD begin = GetTickCount();
    call();
    return GetTickCount() - begin;
}

// The device answers CAN with EOT.
void checkEot(PclSerialPort *port) {
    std::uint8_t answer = 0;
    expectNone("a byte", [&] { pcl_serial_write_byte(port, 0x18); });
    expectNone("its answer", [&] { answer = pcl_serial_read_byte(port); });
    expect("EOT", answer == 0x04);
}

void checkWaits(PclSerialPort *port) {
    expectNone("half a second", [&] { pcl_serial_set_timeout(port, 5); });
    expectNone("purge", [&] { pcl_serial_purge(port, PCL_SERIAL_PURGE_BOTH); });
    const DWORD waited = timeOf([&] {
        expectFailure([&] { pcl_serial_read_byte(port); },
                      "[PCL_RESULT_TIMEOUT_ERROR] Timeout waiting for data");
    });
    expect("waited " + std::to_string(waited) + " ms", waited >= 450 && waited < 2000);
    expectFailure([&] { pcl_serial_read_u16(port, 0); },
                  "[PCL_RESULT_TIMEOUT_ERROR] Timeout waiting for data");
    std::uint8_t nothing = 0;
    std::size_t got = 1;
    expectNone("a read that times out", [&] { got = pcl_serial_read(port, &nothing, 1); });
    expect("reads nothing", got == 0);
    std::uint32_t available = 1;
    expectNone("bytes available", [&] { available = pcl_serial_bytes_available(port); });
    expect("no bytes", available == 0);
    checkEot(port);
    expectNone("another byte", [&] { pcl_serial_write_byte(port, 0x18); });
    const DWORD took = timeOf([&] {
        expectFailure([&] { pcl_serial_read_u16(port, 0); },
                      "[PCL_RESULT_TIMEOUT_ERROR] Timeout waiting for data");
    });
    expect("two bytes of which one comes: waited " + std::to_string(took) + " ms",
           took >= 450 && took < 900);
}

void checkInterrupt(PclSerialPort *port) {
    const std::string ended =
        "[PCL_RESULT_IO_ERROR] ReadFile() error: " + std::to_string(ERROR_OPERATION_ABORTED);
    PclInterrupt interrupt;
    expectNone("five seconds", [&] { pcl_serial_set_timeout(port, 50); });
    expectNone("an interrupt", [&] { pcl_serial_set_interrupt(port, &interrupt); });
    checkEot(port);
    std::thread other([&] {
        Sleep(300);
        interrupt.raise();
    });
    const DWORD waited = timeOf([&] { expectFailure([&] { pcl_serial_read_byte(port); }, ended); });
    other.join();
    expect("ends a wait after " + std::to_string(waited) + " ms", waited >= 250 && waited < 1500);
    const DWORD again = timeOf([&] { expectFailure([&] { pcl_serial_read_byte(port); }, ended); });
    expect("and the next at once, " + std::to_string(again) + " ms", again < 100);
    expectNone("no interrupt", [&] { pcl_serial_set_interrupt(port, nullptr); });
    checkEot(port);
}

void checkList(const char *name) {
    const ListPtr names(pcl_string_list_create());
    expectNone("the list", [&] { pcl_serial_list(names.get()); });
    expect(std::string(name) + " is listed",
           pcl_list_find_first(names.get(), name, nullptr) != nullptr);
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::cerr << "usage: " << argv[0] << " PORT" << std::endl;
        return 2;
    }
    checkNames();
    checkBusyPort(argv[1]);
    PclSerialPort *port = nullptr;
    expectNone("open", [&] { port = pcl_serial_open(argv[1]); });
    if (port == nullptr) {
        return 1;
    }
    checkWholeState(port);
    checkSettings(port);
    checkWaits(port);
    checkInterrupt(port);
    checkList(argv[1]);
    expectNone("close", [&] { pcl_serial_close(&port); });
    expect("the port is null", port == nullptr);
    std::cout << cases << " cases, ";
    if (mistakes != 0) {
        std::cout << mistakes << " not as expected" << std::endl;
        return 1;
    }
    std::cout << "all as expected" << std::endl;
    return 0;
}
