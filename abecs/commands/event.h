#pragma once

#include "abecs/param_map.h"
#include "abecs/pinpad.h"

#include <cstdint>

/// CEX: waits for the first of the events (keys, cards) that the option text selects.

/// Two numbers of 0..99 each, the device's parameter 35.
struct AbecsEventPair {
    std::uint32_t first;
    std::uint32_t second;
};

/// Starts the check and marks it as pending. `cexOpt` has exactly 6 characters; `number`, the
/// device's parameter 12 (0..255), and `pair` are left out when null. Raises
/// PCL_RESULT_ILLEGAL_ARGUMENT "'pinpad' is NULL", "'cexOpt' is not valid!" and what the field
/// codec refuses.
void abecsCheckEvent(AbecsPinpad *pinpad, const char *cexOpt, const std::uint32_t *number,
                     const AbecsEventPair *pair);

/// Reads the answer. Returns 0 with the event's parameters in `out`, the device's status, -2 for a
/// notification, whose text is copied into `notification` (33 bytes, may be null), or -1 when none
/// came in time; the check stays pending after -1 and -2. Raises PCL_RESULT_ILLEGAL_ARGUMENT
/// "'pinpad' is NULL", "'out' is NULL" and PCL_RESULT_PROTOCOL_ERROR "(%s) Invalid RSP_ID: %s)".
std::int32_t abecsCheckEventResponse(AbecsPinpad *pinpad, AbecsParamMap *out, char *notification);

/// The code of the event. Raises PCL_RESULT_ILLEGAL_ARGUMENT "'paramMap' is NULL",
/// PCL_RESULT_PROTOCOL_ERROR "Mandatory PP_EVENT not found" and "Invalid code for PP_EVENT: %d".
std::int32_t abecsParamMapGetEvent(AbecsParamMap *paramMap);

/// The indicator of a track's data as text, which stays the map's; null when the answer had none.
const char *abecsParamMapGetTrk1Inc(AbecsParamMap *paramMap);
const char *abecsParamMapGetTrk2Inc(AbecsParamMap *paramMap);
const char *abecsParamMapGetTrk3Inc(AbecsParamMap *paramMap);
