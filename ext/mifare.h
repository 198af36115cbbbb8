#pragma once

#include "abecs/pinpad.h"

#include <cstdint>

/// The commands for a MIFARE card held at the PIN pad. Each is one complete exchange.
///
/// They return 0 when an answer came, whatever the terminal's verdict in `pbStatus` (2 characters
/// and a NUL) says, and -1 when none came in time, the caller's buffers untouched. Argument faults
/// raise PCL_RESULT_ILLEGAL_ARGUMENT, checked in the order of the arguments with 'pinpad' first,
/// and send nothing. Answers that cannot be read raise PCL_RESULT_PROTOCOL_ERROR "Unrecognized
/// response" and "(%s) Invalid RSP_ID: %s". Result texts are copied whole: the library does not
/// know the size of the caller's buffers.

/// MF01: the serial number of the card.
std::int32_t abecs_mf_activate(AbecsPinpad *pinpad, char *szSerialNumber, char *pbStatus);

/// MF02: authenticates a block (0..9999) with key 'A' or 'B' of 12 characters.
std::int32_t abecs_mf_authenticate(AbecsPinpad *pinpad, std::uint16_t usBlockAddress, char cType,
                                   const char *szKey, const char *szSerialNumber, char *pbStatus);

/// MF03: reads ('R', `*pdwDataLen` bytes, at most 256) or writes ('W', hexadecimal text) a block
/// from the byte `bBlockByte` (0..15) on. `*pdwDataLen` becomes the number of bytes read or
/// written, `szData` the hexadecimal text read or empty.
std::int32_t abecs_mf_read_write(AbecsPinpad *pinpad, char cOperation, std::uint16_t usBlockAddress,
                                 std::uint8_t bBlockByte, std::uint32_t *pdwDataLen, char *szData,
                                 char *pbStatus);

/// MF04: value block: 'R' read, 'W' write, '+' increment, '-' decrement, '=' copy.
std::int32_t abecs_mf_value_command(AbecsPinpad *pinpad, std::uint16_t usBlockOrigin,
                                    std::uint16_t usBlockDestination, char cOperation,
                                    std::int32_t iValue, std::int32_t *piValueResult,
                                    char *pbStatus);

/// MF05: the configuration of a sector's block, read or set together with both keys.
std::int32_t abecs_mf_block_config_get(AbecsPinpad *pinpad, std::uint16_t usBlockAddress,
                                       char *pbConfigFlags, char *pbStatus);
std::int32_t abecs_mf_block_config_set(AbecsPinpad *pinpad, std::uint16_t usBlockAddress,
                                       const char *szKeyA, const char *szKeyB,
                                       const char *pbConfigFlags, char *pbStatus);

/// MF06: changes both keys of a sector.
std::int32_t abecs_mf_key_change(AbecsPinpad *pinpad, std::uint16_t usBlockAddress,
                                 const char *szKeyA, const char *szKeyB, char *pbStatus);
