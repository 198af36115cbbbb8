#pragma once

#include "sim/types.h"

namespace sim {

// CRC-16 with polynomial 1021, initial value 0, most significant bit first, nothing reflected or
// inverted: the check of frames, of encrypted bodies and of media files.
std::uint16_t crc16(const Bytes &data);

} // namespace sim
