#pragma once

#include "sim/types.h"

#include <memory>
#include <optional>

namespace sim {

// A block of random bytes. Throws std::runtime_error when there is no randomness.
Bytes random_bytes(std::size_t count);

// The host's public key.
class RsaPublicKey {
public:
    // Both numbers big-endian. Throws std::invalid_argument for a modulus that is even or too
    // small for its size, or for an exponent of 0.
    RsaPublicKey(const Bytes &modulus, const Bytes &exponent);
    ~RsaPublicKey();
    RsaPublicKey(const RsaPublicKey &) = delete;
    RsaPublicKey &operator=(const RsaPublicKey &) = delete;

    std::size_t size() const { return size_; }

    // The block raised to the public exponent, as many bytes as the modulus has.
    Bytes encrypt(const Bytes &block) const;

private:
    struct Numbers;
    std::size_t size_;
    std::unique_ptr<Numbers> numbers_;
};

// The layout of the block that carries a session key.
struct KeyBlockShape {
    std::uint8_t head = 0x00;
    std::uint8_t type = 0x02;
    bool separator = true;
};

// A block of the given size: head, type, random padding without zeros, a zero byte, the key.
Bytes make_key_block(std::size_t size, const Bytes &key, const KeyBlockShape &shape = {});

// Looks for padding under which the encrypted block begins with some bytes 30. It searches in
// slices, so that the device still notices a CAN.
class LeadingByteSearch {
public:
    static constexpr unsigned max_tries = 4 * 65536;

    LeadingByteSearch(std::shared_ptr<const RsaPublicKey> host_key, Bytes session_key,
                      KeyBlockShape shape, std::size_t lead);

    // Tries some more blocks. Returns the encrypted block once there is one.
    std::optional<Bytes> search_slice();
    bool exhausted() const { return tries_ >= max_tries; }
    unsigned tries() const { return tries_; }

private:
    std::shared_ptr<const RsaPublicKey> host_key_;
    Bytes session_key_;
    KeyBlockShape shape_;
    std::size_t lead_;
    unsigned tries_ = 0;
};

} // namespace sim
