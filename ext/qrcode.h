#pragma once

#include "abecs/pinpad.h"

#include <cstddef>
#include <cstdint>

/// QR01: shows a QR code and a line of text and waits for the customer or operator.

/// Starts the display and marks it as pending. usTimeout 0..999, bLineType '0'..'2', line of up to
/// 20 and QR code text of up to 9999 characters 0x20..0xFF; a null text is an empty one. Texts that
/// do not fit the packet raise the buffer's PCL_RESULT_IO_ERROR and send nothing. Raises
/// PCL_RESULT_ILLEGAL_ARGUMENT "'pinpad' is NULL", "Invalid value for usTimeout: %d (max: 999)",
/// "Invalid value for bLineType: %c", "Invalid value for iLineLen: %d (max: 20)",
/// "Invalid value for iQRCodeLen: %d (max: 9999)".
void abecs_qr_start(AbecsPinpad *pinpad, std::uint64_t usTimeout, char bLineType,
                    std::size_t iLineLen, const char *line, std::size_t iQRCodeLen,
                    const char *qrCode);

/// Returns 0 with the result byte in `result`, or -1 when none came in time; the display stays
/// pending then and after a failure. Raises PCL_RESULT_ILLEGAL_ARGUMENT "'pinpad' is NULL",
/// PCL_RESULT_ILLEGAL_STATE "%s was not sent yet", PCL_RESULT_ILLEGAL_ARGUMENT "'result' is NULL";
/// PCL_RESULT_PROTOCOL_ERROR "Unrecognized response", "(%s) Invalid RSP_ID: %s)".
std::int32_t abecs_qr_response(AbecsPinpad *pinpad, std::uint8_t *result);
