#pragma once

#if defined(_WIN32)
#include "serial/port_win32.h"
#else
#include "serial/port_posix.h"
#endif
#include "serial/settings.h"

#include <cstddef>
#include <cstdint>

/// What the operations of serial.h need of the platform. Nothing here raises: an int result is 0
/// or the system's error number. Values and pointers were checked by the caller.

enum class PclPortOpening {
    DONE, ///< with or without a usable handle
    BUSY,
    MISSING,
    NOT_SERIAL,
    NOT_RAW ///< takes neither raw mode nor the initial timeouts
};

struct PclPortOpened {
    PclPortOpening outcome;
    int error; ///< of NOT_RAW
};

/// Gives the port its handle; on every outcome but DONE nothing stays open, locked or changed.
PclPortOpened pcl_port_open(PclSerialPort &port, const char *name);

/// Restores the line and releases the handle, which is gone even when this fails.
int pcl_port_close(PclSerialPort &port);

int pcl_port_get_line(const PclSerialPort &port, PclLine &line);
int pcl_port_set_line(PclSerialPort &port, const PclLine &line);

void pcl_line_set_baud_rate(PclLine &line, std::int32_t baudRate);
void pcl_line_set_data_bits(PclLine &line, std::int32_t dataBits);
void pcl_line_set_stop_bits(PclLine &line, std::int32_t stopBits);
void pcl_line_set_parity(PclLine &line, std::int32_t parity);
void pcl_line_set_flow_control(PclLine &line, std::int32_t flowControl);

int pcl_port_set_timeout(PclSerialPort &port, std::uint8_t tenths);
int pcl_port_purge(PclSerialPort &port, std::int32_t type);
int pcl_port_write(PclSerialPort &port, const void *data, std::size_t count);

/// Both may be non-zero: bytes that came before the failure.
struct PclPortRead {
    std::size_t count;
    int error;
};
PclPortRead pcl_port_read(PclSerialPort &port, void *buffer, std::size_t count);

/// Whether the line hung up or the handle is not usable.
bool pcl_port_is_gone(const PclSerialPort &port);

int pcl_port_bytes_available(const PclSerialPort &port, std::uint32_t &available);
