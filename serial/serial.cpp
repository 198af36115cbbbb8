#include "serial/serial.h"

#include "core/byteorder.h"
#include "core/guard.h"
#include "serial/port.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

namespace {

constexpr std::array<std::int32_t, 11> BAUD_RATES = {110,  300,   600,   1200,  2400,  4800,
                                                     9600, 19200, 38400, 57600, 115200};

/// One line setting: which values it has, what to say of others, and how it is put into a line.
struct Setting {
    bool (*supported)(std::int32_t value);
    const char *name;
    void (*apply)(PclLine &line, std::int32_t value);
};

constexpr Setting BAUD_RATE = {[](std::int32_t value) {
                                   return std::find(BAUD_RATES.begin(), BAUD_RATES.end(), value) !=
                                          BAUD_RATES.end();
                               },
                               "baudRate", pcl_line_set_baud_rate};
constexpr Setting DATA_BITS = {[](std::int32_t value) { return value >= 5 && value <= 8; },
                               "dataBits", pcl_line_set_data_bits};
constexpr Setting STOP_BITS = {[](std::int32_t value) {
                                   return value >= PCL_SERIAL_STOP_BITS_ONE &&
                                          value <= PCL_SERIAL_STOP_BITS_ONE_AND_A_HALF;
                               },
                               "stopBits", pcl_line_set_stop_bits};
constexpr Setting PARITY = {[](std::int32_t value) {
                                return value >= PCL_SERIAL_PARITY_NONE &&
                                       value <= PCL_SERIAL_PARITY_EVEN;
                            },
                            "parity", pcl_line_set_parity};
constexpr Setting FLOW_CONTROL = {[](std::int32_t value) {
                                      return value >= PCL_SERIAL_FLOW_CONTROL_NONE &&
                                             value <= PCL_SERIAL_FLOW_CONTROL_HARDWARE;
                                  },
                                  "flowControl", pcl_line_set_flow_control};

bool isPort(const PclSerialPort *port) {
    if (port == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'port' is NULL");
        return false;
    }
    return true;
}

bool isPointer(const void *pointer, const char *name) {
    if (pointer == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'%s' is NULL", name);
        return false;
    }
    return true;
}

/// Raises the failure of a call of the platform, if it failed; true when it did not.
bool succeeded(const char *call, int error) {
    if (error != 0) {
        pcl_raise(PCL_RESULT_IO_ERROR, "%s() error: %i", call, error);
        return false;
    }
    return true;
}

bool put(PclLine &line, const Setting &setting, std::int32_t value) {
    if (!setting.supported(value)) {
        pcl_raise(PCL_RESULT_RUNTIME_ERROR, "Unsupported %s: %d", setting.name, value);
        return false;
    }
    setting.apply(line, value);
    return true;
}

bool getLine(const PclSerialPort &port, PclLine &line) {
    return succeeded("GetCommState", pcl_port_get_line(port, line));
}

void setLine(PclSerialPort &port, const PclLine &line) {
    succeeded("SetCommState", pcl_port_set_line(port, line));
}

bool setTimeout(PclSerialPort &port, std::uint8_t tenths) {
    return succeeded("SetCommTimeouts", pcl_port_set_timeout(port, tenths));
}

void change(PclSerialPort *port, const Setting &setting, std::int32_t value) {
    PclLine line;
    if (isPort(port) && getLine(*port, line) && put(line, setting, value)) {
        setLine(*port, line);
    }
}

void raiseNotOpened(const PclPortOpened &opened, const char *name) {
    switch (opened.outcome) {
    case PclPortOpening::DONE:
        return;
    case PclPortOpening::BUSY:
        pcl_raise(PCL_RESULT_DEVICE_BUSY, "Port is busy: %s", name);
        return;
    case PclPortOpening::MISSING:
        pcl_raise(PCL_RESULT_FILE_NOT_FOUND, "No such port: %s", name);
        return;
    case PclPortOpening::NOT_SERIAL:
        pcl_raise(PCL_RESULT_IO_ERROR, "Invalid serial port: %s", name);
        return;
    case PclPortOpening::NOT_RAW:
        succeeded("SetCommTimeouts", opened.error);
        return;
    }
}

/// Fills the whole buffer or raises; true when it is filled.
bool readAll(PclSerialPort *port, void *buffer, std::size_t count) {
    if (!isPort(port)) {
        return false;
    }
    const PclPortRead read = pcl_port_read(*port, buffer, count);
    if (read.count == count) {
        return true;
    }
    if (succeeded("ReadFile", read.error)) {
        pcl_raise(PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
    }
    return false;
}

} // namespace

PclSerialPort *pcl_serial_open(const char *name) {
    return pcl_guarded<PclSerialPort *>(nullptr, [&]() -> PclSerialPort * {
        if (!isPointer(name, "name")) {
            return nullptr;
        }
        auto port = std::make_unique<PclSerialPort>();
        // The empty name would be that of the devices' folder.
        const PclPortOpened opened = name[0] == '\0' ? PclPortOpened{PclPortOpening::MISSING, 0}
                                                     : pcl_port_open(*port, name);
        raiseNotOpened(opened, name);
        return port.release();
    });
}

void pcl_serial_close(PclSerialPort **port) {
    if (port == nullptr || *port == nullptr) {
        return;
    }
    std::unique_ptr<PclSerialPort> closing(*port);
    *port = nullptr;
    const int error = pcl_port_close(*closing);
    closing.reset();
    succeeded("CloseHandle", error);
}

void pcl_serial_configure(PclSerialPort *port, const PclSerialSettings *settings) {
    PclLine line;
    if (isPort(port) && isPointer(settings, "settings") && getLine(*port, line) &&
        setTimeout(*port, settings->timeout) && put(line, BAUD_RATE, settings->baudRate) &&
        put(line, DATA_BITS, settings->dataBits) && put(line, STOP_BITS, settings->stopBits) &&
        put(line, PARITY, settings->parity) && put(line, FLOW_CONTROL, settings->flowControl)) {
        setLine(*port, line);
    }
}

void pcl_serial_set_timeout(PclSerialPort *port, std::uint8_t tenths) {
    if (isPort(port)) {
        setTimeout(*port, tenths);
    }
}

void pcl_serial_set_baud_rate(PclSerialPort *port, std::int32_t baudRate) {
    change(port, BAUD_RATE, baudRate);
}

void pcl_serial_set_data_bits(PclSerialPort *port, std::int32_t dataBits) {
    change(port, DATA_BITS, dataBits);
}

void pcl_serial_set_stop_bits(PclSerialPort *port, std::int32_t stopBits) {
    change(port, STOP_BITS, stopBits);
}

void pcl_serial_set_parity(PclSerialPort *port, std::int32_t parity) {
    change(port, PARITY, parity);
}

void pcl_serial_set_flow_control(PclSerialPort *port, std::int32_t flowControl) {
    change(port, FLOW_CONTROL, flowControl);
}

void pcl_serial_purge(PclSerialPort *port, std::int32_t type) {
    if (!isPort(port)) {
        return;
    }
    if (type < PCL_SERIAL_PURGE_RX || type > PCL_SERIAL_PURGE_BOTH) {
        pcl_raise(PCL_RESULT_RUNTIME_ERROR, "Unsupported purgeType: %d", type);
        return;
    }
    succeeded("PurgeComm", pcl_port_purge(*port, type));
}

void pcl_serial_write(PclSerialPort *port, const void *data, std::size_t count) {
    if (isPort(port) && (count == 0 || isPointer(data, "data"))) {
        succeeded("WriteFile", pcl_port_write(*port, data, count));
    }
}

void pcl_serial_write_byte(PclSerialPort *port, std::uint8_t byte) {
    pcl_serial_write(port, &byte, sizeof byte);
}

void pcl_serial_write_string(PclSerialPort *port, const char *text,
                             std::uint8_t includeTerminator) {
    if (isPort(port) && isPointer(text, "text")) {
        pcl_serial_write(port, text, std::strlen(text) + (includeTerminator != 0 ? 1 : 0));
    }
}

void pcl_serial_write_u16(PclSerialPort *port, std::uint16_t value, std::uint8_t littleEndian) {
    const std::uint16_t wire = littleEndian != 0 ? pcl_htole16(value) : pcl_htobe16(value);
    pcl_serial_write(port, &wire, sizeof wire);
}

void pcl_serial_write_u32(PclSerialPort *port, std::uint32_t value, std::uint8_t littleEndian) {
    const std::uint32_t wire = littleEndian != 0 ? pcl_htole32(value) : pcl_htobe32(value);
    pcl_serial_write(port, &wire, sizeof wire);
}

std::size_t pcl_serial_read(PclSerialPort *port, void *buffer, std::size_t count) {
    if (!isPort(port) || (count != 0 && !isPointer(buffer, "buffer"))) {
        return 0;
    }
    const PclPortRead read = pcl_port_read(*port, buffer, count);
    if (read.count == 0) {
        succeeded("ReadFile", read.error);
    }
    return read.count;
}

std::uint8_t pcl_serial_read_byte(PclSerialPort *port) {
    std::uint8_t byte = 0;
    return readAll(port, &byte, sizeof byte) ? byte : std::uint8_t{0};
}

std::uint16_t pcl_serial_read_u16(PclSerialPort *port, std::uint8_t littleEndian) {
    std::uint16_t wire = 0;
    if (!readAll(port, &wire, sizeof wire)) {
        return 0;
    }
    return littleEndian != 0 ? pcl_le16toh(wire) : pcl_be16toh(wire);
}

std::uint32_t pcl_serial_read_u32(PclSerialPort *port, std::uint8_t littleEndian) {
    std::uint32_t wire = 0;
    if (!readAll(port, &wire, sizeof wire)) {
        return 0;
    }
    return littleEndian != 0 ? pcl_le32toh(wire) : pcl_be32toh(wire);
}

char *pcl_serial_read_string(PclSerialPort *port, char *buffer, std::size_t size) {
    if (!isPort(port) || !isPointer(buffer, "buffer")) {
        return nullptr;
    }
    if (size == 0) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'size' is 0");
        return nullptr;
    }
    char byte = 0;
    std::size_t position = 0;
    do {
        if (!readAll(port, &byte, sizeof byte)) {
            return nullptr;
        }
        buffer[position] = byte;
        position = std::min(position + 1, size - 1);
    } while (byte != '\0');
    return buffer;
}

std::uint32_t pcl_serial_bytes_available(PclSerialPort *port) {
    std::uint32_t available = 0;
    if (!isPort(port) || !succeeded("ClearCommError", pcl_port_bytes_available(*port, available))) {
        return 0;
    }
    return available;
}

void pcl_serial_set_interrupt(PclSerialPort *port, const PclInterrupt *interrupt) {
    if (isPort(port)) {
        port->interrupt = interrupt;
    }
}

bool pcl_serial_is_gone(const PclSerialPort *port) {
    return port == nullptr || pcl_port_is_gone(*port);
}
