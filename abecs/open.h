#pragma once

#include "abecs/pinpad.h"
#include "abecs/rsp_stat.h"

#include <cstdint>

/// Creating a session, and opening it with the OPN command, plain or with the exchange of a session
/// key.

/// Opens the port at 19200 baud 8N1 without flow control and resets the PIN pad with CAN/EOT. The
/// caller owns the session. On a failure (those of the port, "Timeout waiting for data",
/// "Protocol error (expected EOT, read 0x%x)") the port is closed again. An interrupt, which has to
/// outlive the session unless the port is told of another one, ends it with a failure of the port.
AbecsPinpad *abecs_pinpad_create(const char *portName, const PclInterrupt *interrupt = nullptr);

/// Opens the session; secureFlag 1 sets up the secure channel, any other value does not. Returns
/// the status of the PIN pad's answer; a secure open that was answered with ABECS_RSP_STAT_ST_OK
/// but without a key gives ABECS_RSP_STAT_ST_INVCALL. A failure leaves the session's key as it was.
/// Raises PCL_RESULT_ILLEGAL_ARGUMENT "'pinpad' is NULL" for a null session.
AbecsRspStat_e abecs_open(AbecsPinpad *pinpad, std::uint8_t secureFlag);

AbecsRspStat_e abecs_open_plain(AbecsPinpad *pinpad);

/// Generates an RSA-2048 key pair for this one exchange, sends its public part and installs the
/// session key that comes back; `*keyInstalled` is then set to 1.
AbecsRspStat_e abecs_open_secure(AbecsPinpad *pinpad, std::uint8_t *keyInstalled);
