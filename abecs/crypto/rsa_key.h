#pragma once

#include <cstddef>
#include <cstdint>

/// RSA keys of 1024 and 2048 bits.
///
/// Numbers are big-endian byte strings. Whatever the cryptographic library reports is raised as
/// PCL_RESULT_CRYPT_ERROR with its own text. Where a host's handler returns, functions that yield a
/// key give null and those that yield a length 0.

inline constexpr std::size_t PCL_RSA_MAX_MODULUS_SIZE = 256;
inline constexpr std::size_t PCL_RSA_MAX_EXPONENT_SIZE = 4;

/// A public key, or a public key with its private part. Owned by whoever created it.
struct PclRsaKey;

struct PclRsaPublicKey {
    std::uint32_t szN;
    std::uint32_t sze;
    std::uint8_t N[PCL_RSA_MAX_MODULUS_SIZE];
    std::uint8_t e[PCL_RSA_MAX_EXPONENT_SIZE];
};

/// A new key pair with a modulus of `size` bytes. Raises PCL_RESULT_ILLEGAL_ARGUMENT
/// "Invalid key size: %d" for a size other than 128 or 256. Release with pcl_rsa_key_destroy.
PclRsaKey *pcl_rsa_key_generate(int size, std::int32_t exponent);

/// A key from its numbers; a null `d` gives a public key. Raises PCL_RESULT_ILLEGAL_ARGUMENT
/// "'N' is NULL", "'szN' is zero", "'e' is NULL", "'sze' is zero" and, for a modulus of other than
/// 128 or 256 bytes, "Invalid key size: %d". Release with pcl_rsa_key_destroy.
PclRsaKey *pcl_rsa_key_import(const std::uint8_t *N, std::size_t szN, const std::uint8_t *e,
                              std::size_t sze, const std::uint8_t *d, std::size_t szd);

/// The same for a key that must be private: also raises "'d' is NULL" and "'szd' is zero".
PclRsaKey *pcl_rsa_private_key_import(const std::uint8_t *N, std::size_t szN, const std::uint8_t *e,
                                      std::size_t sze, const std::uint8_t *d, std::size_t szd);

/// Wipes and frees the key and sets the caller's variable to null; null is ignored.
void pcl_rsa_key_destroy(PclRsaKey **key);

/// Writes the public part. Raises PCL_RESULT_ILLEGAL_ARGUMENT "'privKey' is NULL", "'out' is NULL"
/// and PCL_RESULT_RUNTIME_ERROR "Unsupported modulus size: %d" (other than 128 or 256 bytes) and
/// "Unsupported exponent size: %d" (longer than 4 bytes). `out` changes on success only.
void pcl_rsa_export_public(const PclRsaKey *privKey, PclRsaPublicKey *out);

/// The length of the modulus in bytes. Raises PCL_RESULT_ILLEGAL_ARGUMENT "'privKey' is NULL" and
/// PCL_RESULT_RUNTIME_ERROR "Unsupported key size: %d" when it is other than 128 or 256; gives 0
/// when the handler returns.
std::size_t pcl_rsa_key_size(const PclRsaKey *privKey);
