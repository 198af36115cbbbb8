#pragma once

#include "abecs/pinpad.h"

#include <cstdint>

/// GCD: lets the customer type a number in the clear, never a PIN.

/// Starts the capture and marks it as pending. `promptId` and `timeoutSeconds` are the device's
/// parameters 11 and 12 (12 is left out when 0); minDig <= maxDig <= 32. Raises
/// PCL_RESULT_ILLEGAL_ARGUMENT "Invalid value for minDig: %d (max: 32)",
/// "Invalid value for maxDig: %d (max: 32)", "minDig (%d) > maxDig (%d)" and, from the sending,
/// "'pinpad' is NULL".
void abecs_gcd_start(AbecsPinpad *pinpad, std::uint16_t promptId, std::uint8_t minDig,
                     std::uint8_t maxDig, std::uint8_t timeoutSeconds);

/// Reads the answer. Returns its status (0: the typed text is in `out`), -2 for a notification,
/// whose text is copied into `notification` (33 bytes, may be null), or -1 when none came within
/// 2 s; the capture stays pending after -1 and -2.
///
/// The copy into `out` is as long as the value in the answer, which the caller cannot limit. Raises
/// PCL_RESULT_ILLEGAL_STATE "%s was not sent yet", PCL_RESULT_PROTOCOL_ERROR
/// "(%s) Invalid RSP_ID: %s)" and "PP_VALUE not found on response".
std::int32_t abecs_gcd_response(AbecsPinpad *pinpad, char *out, char *notification);
