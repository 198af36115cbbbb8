#pragma once

#include "abecs/packet.h"
#include "abecs/pinpad.h"

#include <cstdint>

/// The link layer: moves packet bodies over the line between control bytes, stuffed and guarded by
/// a CRC, and sees to acknowledgement, retries, abort and draining.
///
/// Failures of the port pass through unchanged.

/// Sends a command and waits up to 2 s for its acknowledgement; a rejected frame is sent at most 3
/// times. Encrypted when the secure channel is on, save OPN.
///
/// Raises PCL_RESULT_ILLEGAL_ARGUMENT "'pinpad' is NULL", "'packet' is NULL";
/// PCL_RESULT_ILLEGAL_STATE "Connection is blocked waiting for %s response" (nothing is sent);
/// PCL_RESULT_TIMEOUT_ERROR "Timeout waiting for data"; PCL_RESULT_PROTOCOL_ERROR
/// "Protocol error (unknown packet response: 0x%x)" and "Packet was rejected".
void abecs_link_send_command(AbecsPinpad *pinpad, AbecsPacket *packet);

/// Sends the packet in the form of the secure channel. Raises "'pinpad' is NULL", too.
void abecs_secure_send(AbecsPinpad *pinpad, AbecsPacket *packet);

/// Sends one frame. `encrypted` is what goes on the wire in place of `packet`, or null. After the
/// acknowledgement of CLO or CLX the secure channel is off.
void abecs_link_send_frame(AbecsPinpad *pinpad, AbecsPacket *packet, AbecsPacket *encrypted);

/// Reads one response into `out` ("'out' is NULL"), decrypted when it came encrypted, and returns
/// it; the caller settles the session (abecs_pinpad_settle) once it has understood it. Waits 2 s
/// for its first byte while a command is pending, else 10 s. A damaged frame is asked for again, at
/// most 3 times in all.
///
/// Raises PCL_RESULT_TIMEOUT_ERROR "Timeout waiting for data" (no response at all) and
/// "No response in %d attempts"; PCL_RESULT_PROTOCOL_ERROR
/// "Protocol error (expected SYN, read 0x%x)"; and what the decryption raises.
AbecsPacket *abecs_link_receive_response(AbecsPinpad *pinpad, AbecsPacket *out);

/// Sends the command and reads the answer into the same packet.
void abecs_link_exchange(AbecsPinpad *pinpad, AbecsPacket *packet);

/// Sends CAN and expects EOT, at most 3 times; EOT clears the pending command. May be called from a
/// second thread. Raises PCL_RESULT_ILLEGAL_ARGUMENT "pinpad is NULL", PCL_RESULT_TIMEOUT_ERROR
/// "Timeout waiting for data", PCL_RESULT_PROTOCOL_ERROR "Protocol error (expected EOT, read
/// 0x%x)".
void abecs_link_abort(AbecsPinpad *pinpad);

/// Discards input until the line has been silent for 0.5 s, then purges both queues of the port.
void abecs_link_drain_input(PclSerialPort *port);
