#pragma once

#include "serial/settings.h"

#include <cstddef>
#include <cstdint>

struct PclList;
class PclInterrupt;

/// A serial port: a pipe of bytes to the device at the other end of the line.
///
/// Results and failures. Every operation raises its failures; none has an error return. A null
/// port raises PCL_RESULT_ILLEGAL_ARGUMENT "'port' is NULL". %i in a text is the system's error
/// number, EBADF when the port never got a usable handle. Should the handler return, pointers are
/// null and numbers 0, and nothing has happened on the line beyond what the text says.
///
/// Time. A read timeout T, in tenths of a second, ends a read of n bytes when T has passed since
/// the read began, or T since its last byte; T = 0 takes what is there and waits for nothing. The
/// time is that of a clock that nobody sets. Writes have no timeout: a write returns when the
/// system has taken every byte, and whatever needs the bytes to have left the line - a read, a
/// change of the line settings, closing - first waits for that, so that a timeout begins when the
/// question is out and consecutive writes leave no gap between their bytes.
///
/// Hang-up. A line that is gone (unplugged, peer closed) makes reads and writes fail with the
/// system's number, EIO when it has none; bytes that came before are delivered first.
///
/// Signals. An interrupted call goes on: a signal never shortens a wait, never lengthens it, and
/// never cuts a transfer. The library changes no signal mask and no handler. The port never becomes
/// the controlling terminal, so that a hang-up sends no SIGHUP; terminals send no SIGPIPE.
///
/// Threads. On the same port, while another thread is inside any of these:
///   set_timeout, write*, read*, purge, bytes_available   may be called; two reads share the bytes
///                                                        in no particular order, and a read keeps
///                                                        the timeout with which it began
///   configure and the other set_* operations             must not overlap each other; they may
///                                                        overlap the above
///   close                                                must not overlap anything
/// open, list and operations on different ports may overlap anything.
struct PclSerialPort;

/// Opens a port for exclusive use, in raw mode, with a read timeout of one second; to be released
/// with pcl_serial_close. The name is that of a device ("ttyUSB0") or, starting with a slash, a
/// path. Raises, each time naming the port as given:
/// PCL_RESULT_ILLEGAL_ARGUMENT "'name' is NULL", PCL_RESULT_DEVICE_BUSY "Port is busy: %s",
/// PCL_RESULT_FILE_NOT_FOUND "No such port: %s" (also for a name that is too long),
/// PCL_RESULT_IO_ERROR "Invalid serial port: %s" when it is no terminal, PCL_RESULT_IO_ERROR
/// "SetCommTimeouts() error: %i" when it takes no raw mode, PCL_RESULT_MALLOC_ERROR.
/// When the system refuses to open it for any other reason, such as missing permission, nothing is
/// raised: a port without a usable handle is returned, and the first operation on it fails.
PclSerialPort *pcl_serial_open(const char *name);

/// Restores the line settings that the port had before it was opened, releases the port and sets
/// the caller's variable to null. Null is ignored on both levels. Raises PCL_RESULT_IO_ERROR
/// "CloseHandle() error: %i"; the port is gone then, too.
void pcl_serial_close(PclSerialPort **port);

/// Replaces the content of a list of texts by the names of the ports that have a device behind
/// them, in natural order ("ttyS2" before "ttyS10"). Raises PCL_RESULT_ILLEGAL_ARGUMENT
/// "'out' is NULL".
void pcl_serial_list(PclList *out);

/// Sets the read timeout and then all line settings at once; an unsupported value leaves the line
/// as it was. Raises what the setters raise, and PCL_RESULT_ILLEGAL_ARGUMENT "'settings' is NULL".
void pcl_serial_configure(PclSerialPort *port, const PclSerialSettings *settings);

/// Sets the timeout of the reads that begin from now on. Raises PCL_RESULT_IO_ERROR
/// "SetCommTimeouts() error: %i".
void pcl_serial_set_timeout(PclSerialPort *port, std::uint8_t tenths);

/// Each of these changes one line setting. A value that is not supported raises
/// PCL_RESULT_RUNTIME_ERROR with the text given; all raise PCL_RESULT_IO_ERROR
/// "GetCommState() error: %i" and "SetCommState() error: %i".

/// 110, 300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200; "Unsupported baudRate: %d".
void pcl_serial_set_baud_rate(PclSerialPort *port, std::int32_t baudRate);
/// 5 to 8; "Unsupported dataBits: %d".
void pcl_serial_set_data_bits(PclSerialPort *port, std::int32_t dataBits);
/// PclSerialStopBits_e; "Unsupported stopBits: %d".
void pcl_serial_set_stop_bits(PclSerialPort *port, std::int32_t stopBits);
/// PclSerialParity_e; "Unsupported parity: %d".
void pcl_serial_set_parity(PclSerialPort *port, std::int32_t parity);
/// PclSerialFlowControl_e; "Unsupported flowControl: %d". Unless RTS is the handshake line it is
/// held on, on lines that have it.
void pcl_serial_set_flow_control(PclSerialPort *port, std::int32_t flowControl);

/// Discards what was received and not read, what was written and has not left, or both
/// (PclSerialPurge_e). Raises PCL_RESULT_RUNTIME_ERROR "Unsupported purgeType: %d" and
/// PCL_RESULT_IO_ERROR "PurgeComm() error: %i".
void pcl_serial_purge(PclSerialPort *port, std::int32_t type);

/// Each of these blocks until every byte is written and raises PCL_RESULT_IO_ERROR
/// "WriteFile() error: %i". `littleEndian`: 0 sends the high byte first, anything else the low one.
/// A null `data` with a count, or a null text, raises PCL_RESULT_ILLEGAL_ARGUMENT "'data' is NULL",
/// "'text' is NULL".
void pcl_serial_write(PclSerialPort *port, const void *data, std::size_t count);
void pcl_serial_write_byte(PclSerialPort *port, std::uint8_t byte);
/// Writes the text, and its NUL too when the flag is set.
void pcl_serial_write_string(PclSerialPort *port, const char *text, std::uint8_t includeTerminator);
void pcl_serial_write_u16(PclSerialPort *port, std::uint16_t value, std::uint8_t littleEndian);
void pcl_serial_write_u32(PclSerialPort *port, std::uint32_t value, std::uint8_t littleEndian);

/// Reads up to `count` bytes and returns how many came before the timeout, possibly none. Raises
/// PCL_RESULT_IO_ERROR "ReadFile() error: %i" and PCL_RESULT_ILLEGAL_ARGUMENT "'buffer' is NULL".
std::size_t pcl_serial_read(PclSerialPort *port, void *buffer, std::size_t count);

/// Each of these raises PCL_RESULT_TIMEOUT_ERROR "Timeout waiting for data" when not enough bytes
/// come in time, those that came being lost, and PCL_RESULT_IO_ERROR "ReadFile() error: %i".
std::uint8_t pcl_serial_read_byte(PclSerialPort *port);
std::uint16_t pcl_serial_read_u16(PclSerialPort *port, std::uint8_t littleEndian);
std::uint32_t pcl_serial_read_u32(PclSerialPort *port, std::uint8_t littleEndian);
/// Reads up to a NUL, the timeout running anew for each byte, and returns the buffer. Of a text
/// that does not fit, each further byte overwrites the last position, so that the NUL ends there.
/// Raises PCL_RESULT_ILLEGAL_ARGUMENT "'buffer' is NULL" and "'size' is 0".
char *pcl_serial_read_string(PclSerialPort *port, char *buffer, std::size_t size);

/// How many received bytes wait to be read. Raises PCL_RESULT_IO_ERROR
/// "ClearCommError() error: %i".
std::uint32_t pcl_serial_bytes_available(PclSerialPort *port);

/// Makes the reads of the port listen to the interrupt, which has to outlive them; null, as after
/// opening, to none. A read that it ends raises PCL_RESULT_IO_ERROR "ReadFile() error: %i".
void pcl_serial_set_interrupt(PclSerialPort *port, const PclInterrupt *interrupt);

/// Whether the line hung up (unplugged, peer gone) or never had a usable handle. Raises nothing;
/// true for null.
bool pcl_serial_is_gone(const PclSerialPort *port);
