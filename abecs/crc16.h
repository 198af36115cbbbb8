#pragma once

#include "abecs/packet.h"

#include <cstddef>
#include <cstdint>

/// CRC-16 with polynomial 0x1021, initial value 0, most significant bit first, no reflection and no
/// final XOR.

/// Feeds `length` bytes into the running CRC.
void abecs_crc16_update(const void *data, std::size_t length, std::uint16_t *crc);

/// The CRC of an optional leading byte, the unread bytes of the packet and an optional trailing
/// byte. The packet's read position stays where it is.
std::uint16_t abecs_crc16(const std::uint8_t *leading, AbecsPacket *packet,
                          const std::uint8_t *trailing);
