#pragma once

#include <bit>
#include <cstdint>

/// Byte order of numbers on the wire. Every supported host is little-endian, so the conversions to
/// and from big-endian reverse the bytes and those to and from little-endian change nothing.

static_assert(std::endian::native == std::endian::little);

/// Always 1.
constexpr std::uint8_t pcl_host_is_little_endian() {
    return 1;
}

constexpr std::uint16_t pcl_htobe16(std::uint16_t value) {
    return static_cast<std::uint16_t>((value << 8) | (value >> 8));
}
constexpr std::uint16_t pcl_be16toh(std::uint16_t value) {
    return pcl_htobe16(value);
}

constexpr std::uint16_t pcl_htole16(std::uint16_t value) {
    return value;
}
constexpr std::uint16_t pcl_le16toh(std::uint16_t value) {
    return pcl_htole16(value);
}

constexpr std::uint32_t pcl_htobe32(std::uint32_t value) {
    return (value << 24) | ((value & 0xFF00U) << 8) | ((value >> 8) & 0xFF00U) | (value >> 24);
}
constexpr std::uint32_t pcl_be32toh(std::uint32_t value) {
    return pcl_htobe32(value);
}

constexpr std::uint32_t pcl_htole32(std::uint32_t value) {
    return value;
}
constexpr std::uint32_t pcl_le32toh(std::uint32_t value) {
    return pcl_htole32(value);
}
