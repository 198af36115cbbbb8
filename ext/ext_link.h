#pragma once

#include "abecs/packet.h"
#include "abecs/pinpad.h"

#include <cstdint>

/// The framing of the maker's extension commands, on the same session and port as the standard
/// ones: STX, length, raw data, ETX and an XOR check byte. Never encrypted. A response's data ends
/// at its first 0x03, and its length field is not compared with anything.
///
/// Failures of the port pass through unchanged; after any failure session and packet stay usable.

inline constexpr std::uint8_t ABECS_EXT_EOT = 0x04;
inline constexpr std::size_t ABECS_EXT_CMD_ID_LENGTH = 4;

/// Sends the unread bytes of the packet and waits up to 2 s for the acknowledgement; a rejected
/// frame is sent at most 3 times. Raises PCL_RESULT_ILLEGAL_ARGUMENT "'pinpad' is NULL",
/// "'packet' is NULL"; PCL_RESULT_ILLEGAL_STATE "Connection is blocked waiting for %s response";
/// PCL_RESULT_TIMEOUT_ERROR "Timeout waiting for data"; PCL_RESULT_PROTOCOL_ERROR
/// "Protocol error (unknown packet response: 0x%x)" and "Packet was rejected".
void abecs_ext_send_packet(AbecsPinpad *pinpad, AbecsPacket *packet);

/// Reads one response's data into `out` ("'out' is NULL") and returns it; waits 1.5 s for its
/// beginning. Raises PCL_RESULT_TIMEOUT_ERROR "Timeout waiting for data" and
/// "No response in %d attempts"; PCL_RESULT_PROTOCOL_ERROR
/// "Protocol error (expected STX, read 0x%x)".
AbecsPacket *abecs_ext_receive_packet(AbecsPinpad *pinpad, AbecsPacket *out);

/// Sends the packet and reads the answer into it.
void abecs_ext_exchange(AbecsPinpad *pinpad, AbecsPacket *packet);

/// Discards input until the line has been silent for 0.5 s, then purges both queues of the port.
void abecs_ext_drain_input(PclSerialPort *port);

/// Writes one byte without a frame.
void abecs_ext_send_control(AbecsPinpad *pinpad, std::uint8_t byte);

/// Marks a non-blocking command, named by 1 to 4 characters, as started. Raises
/// PCL_RESULT_ILLEGAL_STATE while another one is pending; PCL_RESULT_ILLEGAL_ARGUMENT
/// "NULL/empty 'cmdId'" and "'cmdId' is too long: %s".
void abecs_ext_set_pending(AbecsPinpad *pinpad, const char *cmdId);

/// Clears the mark. "'pinpad' is NULL".
void abecs_ext_clear_pending(AbecsPinpad *pinpad);
