#pragma once

#include <cstddef>
#include <cstdint>

/// AES in the ECB and CBC modes, without padding.
///
/// The four cipher operations raise PCL_RESULT_ILLEGAL_ARGUMENT "'cipher' is NULL", "'in' is NULL",
/// "'out' is NULL", "'len' is zero" and "'len' must be a multiple of 16", checked in that order,
/// and PCL_RESULT_CRYPT_ERROR with the cryptographic library's text when it reports an error. `in`
/// and `out` may be the same array. The expanded key is wiped before they return.

inline constexpr std::size_t PCL_AES_BLOCK_SIZE = 16;
inline constexpr std::size_t PCL_AES_MAX_KEY_SIZE = 32;

struct PclAesKey {
    std::uint8_t key[PCL_AES_MAX_KEY_SIZE];
    std::uint32_t keySize;
};

/// A copy of the key, owned by the caller and to be released with pcl_aes_key_destroy. Raises
/// PCL_RESULT_ILLEGAL_ARGUMENT "'key' is NULL" and, for a size other than 16, 24 or 32,
/// "Unsupported key size: %zu". Null when the handler returns.
PclAesKey *pcl_aes_key_create(const std::uint8_t *key, std::size_t size);

/// Wipes and frees the key and sets the caller's variable to null; null is ignored.
void pcl_aes_key_destroy(PclAesKey **key);

void pcl_aes_ecb_encrypt(const PclAesKey *cipher, const std::uint8_t *in, std::uint8_t *out,
                         std::size_t len);
void pcl_aes_ecb_decrypt(const PclAesKey *cipher, const std::uint8_t *in, std::uint8_t *out,
                         std::size_t len);

/// `iv` holds 16 bytes; null stands for sixteen zeros. It is not changed.
void pcl_aes_cbc_encrypt(const PclAesKey *cipher, const std::uint8_t *iv, const std::uint8_t *in,
                         std::uint8_t *out, std::size_t len);
void pcl_aes_cbc_decrypt(const PclAesKey *cipher, const std::uint8_t *iv, const std::uint8_t *in,
                         std::uint8_t *out, std::size_t len);
