#pragma once

#include "abecs/crypto/rsa_key.h"

#include <cstddef>
#include <cstdint>

/// RSA, raw and with OAEP (SHA-1, no label).
///
/// Failures as those of abecs/crypto/rsa_key.h; an output that does not fit is one of the
/// cryptographic library's.

/// Raw exponentiation. Both raise PCL_RESULT_ILLEGAL_ARGUMENT for a null key ("'privKey' is NULL",
/// "'pubKey' is NULL"), "'in' is NULL" and "'out' is NULL". They write the result at the full
/// length of the modulus, leading zeros included, and return that length. `in` and `out` may be the
/// same array. A public key record is checked as by pcl_rsa_key_import, and an exponent longer than
/// 4 bytes raises PCL_RESULT_ILLEGAL_ARGUMENT "Unsupported exponent size: %d".
std::size_t pcl_rsa_private_raw(const PclRsaKey *privKey, const std::uint8_t *in,
                                std::size_t length, std::uint8_t *out, std::size_t capacity);
std::size_t pcl_rsa_public_raw(const PclRsaPublicKey *pubKey, const std::uint8_t *in,
                               std::size_t length, std::uint8_t *out, std::size_t capacity);

/// OAEP; the same checks as the raw operations. Encryption writes one block of the modulus's
/// length, decryption the message. A block that is no OAEP packet of the key raises
/// PCL_RESULT_CRYPT_ERROR "Invalid OAEP packet".
std::size_t pcl_rsa_oaep_encrypt(const PclRsaPublicKey *pubKey, const std::uint8_t *in,
                                 std::size_t length, std::uint8_t *out, std::size_t capacity);
std::size_t pcl_rsa_oaep_decrypt(const PclRsaKey *privKey, const std::uint8_t *in,
                                 std::size_t length, std::uint8_t *out, std::size_t capacity);
