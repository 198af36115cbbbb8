#pragma once

#include "abecs/packet.h"
#include "abecs/pinpad.h"
#include "abecs/rsp_stat.h"

#include <cstdint>

/// Opening a session (OPN), plain or with the exchange of a session key, and the encrypted form in
/// which packets travel on the secure channel. Every operation raises PCL_RESULT_ILLEGAL_ARGUMENT
/// "'pinpad' is NULL" for a null session.

/// Opens the session; secureFlag 1 sets up the secure channel, any other value does not. Returns
/// the status of the PIN pad's answer; a secure open that was answered with ABECS_RSP_STAT_ST_OK
/// but without a key gives ABECS_RSP_STAT_ST_INVCALL. A failure leaves the session's key as it was.
AbecsRspStat_e abecs_open(AbecsPinpad *pinpad, std::uint8_t secureFlag);

AbecsRspStat_e abecs_open_plain(AbecsPinpad *pinpad);

/// Generates an RSA-2048 key pair for this one exchange, sends its public part and installs the
/// session key that comes back; `*keyInstalled` is then set to 1.
AbecsRspStat_e abecs_open_secure(AbecsPinpad *pinpad, std::uint8_t *keyInstalled);

/// Wraps the packet in length, CRC and padding, encrypts it under the session key and sends it. The
/// packet itself stays as it is.
void abecs_secure_send(AbecsPinpad *pinpad, AbecsPacket *packet);

/// Replaces the payload of a received encrypted frame by the plain body. Raises
/// PCL_RESULT_PROTOCOL_ERROR "Malformed encrypted response", with the cause where there is one.
void abecs_decrypt_response(AbecsPinpad *pinpad, AbecsPacket *packet);
