#include "bench/stats.h"

#include "abecs/crc16.h"
#include "abecs/param_map.h"
#include "abecs/response_parser.h"
#include "core/memory.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <string>
#include <unordered_map>

#include <boost/crc.hpp>

namespace bench {

namespace {

constexpr double NANO = 1e9;
constexpr std::size_t WORK = std::size_t{1} << 21U; // bytes per turn
volatile unsigned sink;

std::uint16_t bitwiseCrc(const std::uint8_t *data, std::size_t length) {
    unsigned crc = 0;
    for (std::size_t i = 0; i < length; ++i) {
        crc ^= static_cast<unsigned>(data[i]) << 8U;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 0x8000U) != 0 ? crc << 1U ^ 0x1021U : crc << 1U;
        }
    }
    return static_cast<std::uint16_t>(crc);
}

std::uint16_t ourCrc(const std::uint8_t *data, std::size_t length) {
    std::uint16_t crc = 0;
    abecs_crc16_update(data, length, &crc);
    return crc;
}

template <typename Result>
std::uint16_t boostCrc(const std::uint8_t *data, std::size_t length) {
    Result crc;
    crc.process_bytes(data, length);
    return static_cast<std::uint16_t>(crc.checksum());
}

// Nanoseconds per byte.
template <typename Body>
double perByte(std::size_t size, std::size_t work, Body body) {
    const std::size_t turns = work / size;
    const double time = seconds(Clock::CPU, [&] {
        for (std::size_t turn = 0; turn < turns; ++turn) {
            body();
        }
    });
    return time * NANO / static_cast<double>(turns * size);
}

void measureCrc(Table &table) {
    using Table8 = boost::crc_optimal<16, 0x1021, 0, 0, false, false>;
    std::vector<std::uint8_t> data(std::size_t{1} << 20U);
    for (std::size_t i = 0; i < data.size(); ++i) {
        data[i] = static_cast<std::uint8_t>(i * 2654435761U >> 13U);
    }
    for (const std::size_t size : {std::size_t{16}, std::size_t{256}, std::size_t{1024},
                                   std::size_t{65536}, std::size_t{1} << 20U}) {
        const std::string subject = "CRC-16 of " + std::to_string(size) + " B";
        const auto ours = [&] {
            return perByte(size, WORK, [&] { sink = ourCrc(data.data(), size); });
        };
        table.pair({"CRC-16", subject, "Boost crc_optimal", "ns/B", {}, {}, {}, 0, ""}, ours, [&] {
            return perByte(size, WORK, [&] { sink = boostCrc<Table8>(data.data(), size); });
        });
        table.pair({"CRC-16", subject, "bitwise loop", "ns/B", {}, {}, {}, 0, ""}, ours, [&] {
            return perByte(size, WORK, [&] { sink = bitwiseCrc(data.data(), size); });
        });
    }
}

void measureFields(Table &table) {
    constexpr std::size_t SIZE = 900;
    const std::string text(SIZE, 'A');
    std::array<char, SIZE + 1> out{};
    const AbecsPacketPtr packet(abecsPacketCreate());
    table.pair(
        {"Codec",
         "alphanumeric field of 900 B, there and back",
         "memcpy there and back",
         "ns/B",
         {},
         {},
         {},
         0,
         "every character is checked"},
        [&] {
            return perByte(SIZE, WORK, [&] {
                abecsFieldPutAlpha(packet.get(), text.c_str(), SIZE, 0);
                abecsFieldGetAlpha(packet.get(), out.data(), out.size(), SIZE, 0);
                sink = static_cast<unsigned>(out[SIZE - 1]);
            });
        },
        [&] {
            std::array<char, SIZE> ring{};
            return perByte(SIZE, WORK, [&] {
                std::memcpy(ring.data(), text.data(), SIZE);
                std::memcpy(out.data(), ring.data(), SIZE);
                sink = static_cast<unsigned>(out[SIZE - 1]);
            });
        });
    constexpr std::size_t DIGITS = 12;
    table.pair(
        {"Codec",
         "number of 12 digits, there and back",
         "to_chars and from_chars",
         "ns/B",
         {},
         {},
         {},
         0,
         ""},
        [&] {
            return perByte(DIGITS, WORK, [&] {
                abecsFieldPutNumber(packet.get(), 123456789012U, DIGITS);
                sink = static_cast<unsigned>(abecsFieldGetNumber(packet.get(), DIGITS));
            });
        },
        [&] {
            std::array<char, DIGITS> digits{};
            return perByte(DIGITS, WORK, [&] {
                std::to_chars(digits.data(), digits.data() + DIGITS, 123456789012U);
                std::uint64_t value = 0;
                std::from_chars(digits.data(), digits.data() + DIGITS, value);
                sink = static_cast<unsigned>(value);
            });
        });
    constexpr std::size_t HEX = 256;
    std::array<std::uint8_t, HEX> key{};
    key.fill(0xA5);
    table.pair(
        {"Codec",
         "hexadecimal field of 512 B, there and back",
         "table lookup",
         "ns/B",
         {},
         {},
         {},
         0,
         ""},
        [&] {
            return perByte(2 * HEX, WORK, [&] {
                abecsFieldPutHex(packet.get(), key.data(), HEX, 2 * HEX);
                sink =
                    static_cast<unsigned>(abecsFieldGetHex(packet.get(), key.data(), HEX, 2 * HEX));
            });
        },
        [&] {
            static constexpr char DIGIT[] = "0123456789ABCDEF";
            std::array<char, 2 * HEX> hex{};
            const auto value = [](char digit) {
                return static_cast<unsigned>(digit <= '9' ? digit - '0' : digit - 'A' + 10);
            };
            return perByte(2 * HEX, WORK, [&] {
                for (std::size_t i = 0; i < HEX; ++i) {
                    hex[2 * i] = DIGIT[key[i] >> 4U];
                    hex[2 * i + 1] = DIGIT[key[i] & 15U];
                }
                for (std::size_t i = 0; i < HEX; ++i) {
                    key[i] =
                        static_cast<std::uint8_t>(value(hex[2 * i]) << 4U | value(hex[2 * i + 1]));
                }
                sink = key[0];
            });
        });
}

// A response body with that many parameters of 8 bytes.
std::string responseBody(unsigned parameters) {
    std::string block;
    for (unsigned i = 0; i < parameters; ++i) {
        block += '\x80';
        block += static_cast<char>(1 + i);
        block += '\0';
        block += '\x08';
        block += "12345678";
    }
    const std::string digits = std::to_string(block.size());
    return "GIX000" + std::string(3 - digits.size(), '0') + digits + block;
}

void parse(AbecsPacket *packet, AbecsParamMap *map, const std::string &body) {
    abecsPacketClear(packet);
    abecsFieldPutBytes(packet, body.data(), body.size());
    AbecsResponseParserPtr parser(abecsParserCreate());
    abecsParserParse(parser.get(), packet);
    abecsParamMapClear(map);
    abecsParamMapCollect(map, parser.get());
    sink = pcl_map_count(map);
}

void measureParser(Table &table) {
    const std::string body = responseBody(40);
    const AbecsPacketPtr packet(abecsPacketCreate());
    const AbecsParamMapPtr map(abecsParamMapCreate());
    table.pair(
        {"Parser",
         "response of 40 parameters into the map",
         "std::unordered_map<uint16_t, std::string>, unchecked",
         "ns/B",
         {},
         {},
         {},
         0,
         "the model copies key, record and value: 4 allocations a parameter"},
        [&] {
            return perByte(body.size(), WORK / 8, [&] { parse(packet.get(), map.get(), body); });
        },
        [&] {
            std::unordered_map<std::uint16_t, std::string> values;
            return perByte(body.size(), WORK / 8, [&] {
                values.clear();
                for (std::size_t at = 9; at < body.size();) {
                    const auto *head = reinterpret_cast<const unsigned char *>(body.data() + at);
                    const std::size_t length = static_cast<unsigned>(head[2]) << 8U | head[3];
                    values[static_cast<std::uint16_t>(head[0] << 8U | head[1])] =
                        body.substr(at + 4, length);
                    at += 4 + length;
                }
                sink = static_cast<unsigned>(values.size());
            });
        });
}

} // namespace

void measureBytes(Table &table) {
    measureCrc(table);
    measureFields(table);
    measureParser(table);
}

} // namespace bench
