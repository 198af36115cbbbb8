#include "abecs/crc16.h"

#include "core/memory.h"

#include <algorithm>
#include <array>

namespace {

using Table = std::array<std::uint16_t, 256>;

// Table k advances a byte through k + 1 byte times, so that eight bytes are fed in one step.
constexpr std::size_t STRIDE = 8;

constexpr std::uint16_t advanceByte(std::uint16_t crc) {
    for (int bit = 0; bit < 8; ++bit) {
        const bool top = (crc & 0x8000U) != 0;
        crc = static_cast<std::uint16_t>(crc << 1U);
        if (top) {
            crc ^= 0x1021U;
        }
    }
    return crc;
}

constexpr std::array<Table, STRIDE> makeTables() {
    std::array<Table, STRIDE> tables{};
    for (std::size_t byte = 0; byte < 256; ++byte) {
        auto crc = static_cast<std::uint16_t>(byte << 8U);
        for (Table &table : tables) {
            crc = advanceByte(crc);
            table[byte] = crc;
        }
    }
    return tables;
}

constexpr std::array<Table, STRIDE> TABLES = makeTables();

} // namespace

void abecs_crc16_update(const void *data, std::size_t length, std::uint16_t *crc) {
    const auto *byte = static_cast<const std::uint8_t *>(data);
    unsigned value = *crc;
    for (; length >= STRIDE; length -= STRIDE, byte += STRIDE) {
        value = static_cast<unsigned>(TABLES[7][byte[0] ^ (value >> 8U)] ^
                                      TABLES[6][byte[1] ^ (value & 0xFFU)] ^ TABLES[5][byte[2]] ^
                                      TABLES[4][byte[3]] ^ TABLES[3][byte[4]] ^ TABLES[2][byte[5]] ^
                                      TABLES[1][byte[6]] ^ TABLES[0][byte[7]]);
    }
    for (; length > 0; --length, ++byte) {
        value = ((value << 8U) ^ TABLES[0][(value >> 8U) ^ *byte]) & 0xFFFFU;
    }
    *crc = static_cast<std::uint16_t>(value);
}

std::uint16_t abecs_crc16(const std::uint8_t *leading, AbecsPacket *packet,
                          const std::uint8_t *trailing) {
    std::uint16_t crc = 0;
    if (leading != nullptr) {
        abecs_crc16_update(leading, 1, &crc);
    }
    AbecsPacketMark start;
    abecsPacketMark(packet, &start);
    std::array<std::uint8_t, 256> chunk;
    for (std::size_t left = abecsPacketAvailable(packet); left > 0;) {
        const std::size_t size = std::min(left, chunk.size());
        abecsFieldGetBytes(packet, chunk.data(), chunk.size(), size);
        abecs_crc16_update(chunk.data(), size, &crc);
        left -= size;
    }
    // The packet is wiped when it goes, and may hold what a customer typed.
    pcl_wipe(chunk.data(), chunk.size());
    abecsPacketRestore(packet, &start);
    if (trailing != nullptr) {
        abecs_crc16_update(trailing, 1, &crc);
    }
    return crc;
}
