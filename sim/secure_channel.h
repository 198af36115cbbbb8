#pragma once

#include "sim/types.h"

#include <array>
#include <optional>

namespace sim {

// Damage done to an encrypted payload while it is made.
struct PayloadDamage {
    std::optional<std::uint16_t> length_field;
    bool wrong_crc = false;
    std::optional<std::size_t> payload_size;
};

// The device's end of the encrypted channel.
class SecureChannel {
public:
    static constexpr std::size_t key_size = 16;

    SecureChannel() = default;
    ~SecureChannel() { wipe(); }
    SecureChannel(const SecureChannel &) = delete;
    SecureChannel &operator=(const SecureChannel &) = delete;

    // Installs a key of 16 bytes and turns the channel on.
    void set_key(const Bytes &key);
    // Turns the channel off and overwrites the key with zeros.
    void wipe();
    bool on() const { return on_; }

    // The payload for a body: LEN, DATACRC, body and padding, encrypted. Works under a key of
    // zeros when the channel is off.
    Bytes wrap(const Bytes &body, const PayloadDamage &damage = {}) const;

    // The body within a payload; nothing when it is not a whole number of blocks, when LEN does not
    // fit, or when DATACRC or the amount of padding is wrong.
    std::optional<Bytes> unwrap(const Bytes &payload) const;

private:
    bool on_ = false;
    std::array<std::uint8_t, key_size> key_{};
};

} // namespace sim
