#include "abecs/crc16.h"

#include <boost/crc.hpp>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

std::uint16_t crcOf(const void *data, std::size_t size) {
    std::uint16_t crc = 0;
    abecs_crc16_update(data, size, &crc);
    return crc;
}

TEST(Crc16, HasTheKnownValues) {
    // python3 -c "import binascii; print(hex(binascii.crc_hqx(b'...', 0)))"
    EXPECT_EQ(0x31C3, crcOf("123456789", 9));
    EXPECT_EQ(0x0000, crcOf("", 0));
    EXPECT_EQ(0x58E5, crcOf("A", 1));
    EXPECT_EQ(0xA8A9, crcOf("OPN\x17", 4));
}

TEST(Crc16, AgreesWithBoostAtEveryLengthAndInPieces) {
    std::mt19937 random(20261120);
    std::vector<std::uint8_t> data(3000);
    for (std::uint8_t &byte : data) {
        byte = static_cast<std::uint8_t>(random());
    }
    for (std::size_t size = 0; size < data.size(); size += size < 64 ? 1 : 97) {
        boost::crc_optimal<16, 0x1021, 0, 0, false, false> reference;
        reference.process_bytes(data.data(), size);
        EXPECT_EQ(reference.checksum(), crcOf(data.data(), size)) << size;
        std::uint16_t pieces = 0;
        for (std::size_t done = 0; done < size;) {
            const std::size_t piece = std::min<std::size_t>(size - done, 1 + random() % 20);
            abecs_crc16_update(data.data() + done, piece, &pieces);
            done += piece;
        }
        EXPECT_EQ(reference.checksum(), pieces) << size;
    }
}

TEST(Crc16, CoversTheBytesAroundAPacketAndLeavesItAsItIs) {
    const AbecsPacketPtr packet(abecsPacketCreate());
    abecsFieldPutBytes(packet.get(), "xDEX000", 7);
    abecsPacketReadByte(packet.get());
    const std::uint8_t dc2 = 0x12;
    const std::uint8_t etb = 0x17;
    // Of DEX000, of it and 17, of 12, it and 17.
    EXPECT_EQ(crcOf("DEX000", 6), abecs_crc16(nullptr, packet.get(), nullptr));
    EXPECT_EQ(0xAC2B, abecs_crc16(nullptr, packet.get(), &etb));
    EXPECT_EQ(crcOf("\x12"
                    "DEX000\x17",
                    8),
              abecs_crc16(&dc2, packet.get(), &etb));
    EXPECT_EQ(6U, abecsPacketAvailable(packet.get()));
}

TEST(Crc16, FollowsAPacketAroundTheEndOfItsRing) {
    const AbecsPacketPtr packet(abecsPacketCreate());
    const std::string filler(2000, 'f');
    const std::string body(1000, 'b');
    abecsFieldPutBytes(packet.get(), filler.data(), filler.size());
    abecsFieldGetBytes(packet.get(), nullptr, 0, filler.size());
    abecsFieldPutBytes(packet.get(), body.data(), body.size());
    EXPECT_EQ(crcOf(body.data(), body.size()), abecs_crc16(nullptr, packet.get(), nullptr));
}

} // namespace
