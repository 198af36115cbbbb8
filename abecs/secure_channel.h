#pragma once

#include "abecs/packet.h"
#include "abecs/pinpad.h"

/// The encrypted form in which packets travel on the secure channel. Both operations raise
/// PCL_RESULT_ILLEGAL_ARGUMENT "'pinpad' is NULL" for a null session.

/// Wraps the body of the packet, which itself stays as it is, in length, CRC and padding, and puts
/// it into `out`, encrypted under the session key. Raises PCL_RESULT_IO_ERROR
/// "No enough space in buffer (available: %zu, requested: %zu)" when it does not fit.
void abecs_secure_wrap(AbecsPinpad *pinpad, AbecsPacket *packet, AbecsPacket *out);

/// Replaces the payload of a received encrypted frame by the plain body. Raises
/// PCL_RESULT_PROTOCOL_ERROR "Malformed encrypted response", with the cause where there is one.
void abecs_decrypt_response(AbecsPinpad *pinpad, AbecsPacket *packet);
