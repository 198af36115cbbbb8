#pragma once

#include <cstdint>

// The control bytes of both framings.
namespace sim::control {

constexpr std::uint8_t stx = 0x02;
constexpr std::uint8_t etx = 0x03;
constexpr std::uint8_t eot = 0x04;
constexpr std::uint8_t ack = 0x06;
constexpr std::uint8_t dc2 = 0x12;
constexpr std::uint8_t dc3 = 0x13;
constexpr std::uint8_t nak = 0x15;
constexpr std::uint8_t syn = 0x16;
constexpr std::uint8_t etb = 0x17;
constexpr std::uint8_t can = 0x18;

} // namespace sim::control
