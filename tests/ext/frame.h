#pragma once

#include "tests/support/peer.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace extension {

/// STX, length, data, ETX and the XOR of them all.
inline peer::Bytes frame(const peer::Bytes &data) {
    using peer::operator+;
    const std::size_t length = data.size() + 5;
    peer::Bytes bytes = peer::Bytes{0x02, static_cast<std::uint8_t>(length >> 8),
                                    static_cast<std::uint8_t>(length & 0xFF)} +
                        data + peer::Bytes{0x03};
    std::uint8_t check = 0;
    for (const std::uint8_t byte : bytes) {
        check = static_cast<std::uint8_t>(check ^ byte);
    }
    bytes.push_back(check);
    return bytes;
}

inline peer::Bytes frame(const std::string &data) {
    return frame(peer::bytes(data));
}

} // namespace extension
