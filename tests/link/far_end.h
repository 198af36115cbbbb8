#pragma once

#include "tests/support/peer.h"

#include <cstdint>

/// The device's side of the exchange of keys, made with OpenSSL and a CRC worked out bit by bit, so
/// that a test can send any key block.
namespace far_end {

using peer::Bytes;

/// The public key in an OPN command.
struct PublicKey {
    Bytes modulus;
    Bytes exponent;

    /// block ^ exponent mod modulus, as many bytes as the modulus.
    Bytes encrypt(const Bytes &block) const;
};

/// Reads a secure OPN frame; throws unless every byte of it is as it must be.
PublicKey takeSecureOpen(peer::Peer &line);

/// The frame around a body that needs no stuffing.
Bytes frame(const Bytes &body);

/// Two upper-case digits for each byte.
Bytes hexText(const Bytes &bytes);

/// 00, block type, padding, 00 and the key: 256 bytes.
Bytes keyBlock(const Bytes &key, std::uint8_t padding = 0xFF);

} // namespace far_end
