#include "sim/crc16.h"

#include <boost/crc.hpp>

namespace sim {

std::uint16_t crc16(const Bytes &data) {
    boost::crc_optimal<16, 0x1021, 0, 0, false, false> crc;
    crc.process_bytes(data.data(), data.size());
    return static_cast<std::uint16_t>(crc.checksum());
}

} // namespace sim
